// The file of a download: whether it may keep a reader waiting, and reading it.
#pragma once

#include <sys/uio.h>

#include <cstddef>
#include <span>

#include "base/owned.h"

namespace sdkapi {

class FileSource {
 public:
  // Looks at the path, which may be null and must outlive the source.
  explicit FileSource(const char* path);

  // True for all that is no file on a disk: pipes, devices, files that the kernel writes when they are read.
  bool MayWait() const { return mayWait_; }

  // False for what does not exist or cannot be opened. Does not wait for the writer of a pipe.
  bool Open();

  // Reads into the places in turn, waiting for the first byte. Returns what was read: 0 at the end, at an
  // error, and when the wait was given up.
  std::size_t Read(std::span<const iovec> places);

  // The server was stopped during a wait; the file has not ended.
  bool GivenUp() const { return givenUp_; }

 private:
  const char* path_;
  bool exists_;
  bool mayWait_;
  bool givenUp_ = false;
  FileDescriptor file_;
};

}  // namespace sdkapi
