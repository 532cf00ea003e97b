// The temporary folder that a test program runs in.
#include "workspace.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace integration {

Workspace& Workspace::Get() {
  static Workspace workspace;
  return workspace;
}

void Workspace::Enter() {
  std::string pattern = (std::filesystem::temp_directory_path() / "sdkapi-test-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary folder");
  path_ = pattern;
  std::filesystem::current_path(path_);
}

void Workspace::Remove() {
  std::filesystem::current_path("/");
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::string Workspace::WriteFile(const std::string& name, const std::string& content) const {
  const std::string path = Path(name);
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  std::ofstream file(path, std::ios::binary);
  file << content;
  if (!file.flush()) throw std::runtime_error("cannot write " + path);
  return path;
}

}  // namespace integration
