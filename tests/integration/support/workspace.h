// The temporary folder that a test program runs in.
#pragma once

#include <string>

namespace integration {

// Makes a fresh folder and moves the process into it; Remove() deletes it with everything inside.
class Workspace {
 public:
  static Workspace& Get();

  void Enter();
  void Remove();

  std::string Path(const std::string& name) const { return path_ + "/" + name; }
  std::string WriteFile(const std::string& name, const std::string& content) const;

 private:
  std::string path_;
};

}  // namespace integration
