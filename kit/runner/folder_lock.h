// One process at a time in a data folder.
#pragma once

#include <string>

#include "base/file.h"

namespace sdkkit {

class FolderLock {
 public:
  // Makes the folder when it is missing. Throws std::system_error when it cannot be made or written.
  explicit FolderLock(const std::string& folder);

  bool held() const { return held_; }
  // The process that holds it, as it told; 0 when unknown.
  long owner() const { return owner_; }

 private:
  FileDescriptor file_;
  bool held_ = false;
  long owner_ = 0;
};

}  // namespace sdkkit
