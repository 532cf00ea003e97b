// One process at a time in a data folder.
#include "runner/folder_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <system_error>

namespace sdkkit {
namespace {

[[noreturn]] void Fail(const std::string& path) {
  throw std::system_error(errno, std::generic_category(), path);
}

long ReadOwner(int file) {
  std::array<char, 32> text{};
  return pread(file, text.data(), text.size() - 1, 0) > 0 ? std::strtol(text.data(), nullptr, 10) : 0;
}

}  // namespace

FolderLock::FolderLock(const std::string& folder) {
  const std::string path = folder + "/lock";
  if (!MakeFolder(folder)) Fail(folder);
  file_ = FileDescriptor(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
  if (!file_) Fail(path);
  held_ = flock(file_.get(), LOCK_EX | LOCK_NB) == 0;
  if (!held_ && errno != EWOULDBLOCK) Fail(path);
  if (!held_) {
    owner_ = ReadOwner(file_.get());
    return;
  }
  const std::string owner = std::to_string(getpid()) + "\n";
  if (ftruncate(file_.get(), 0) != 0 || pwrite(file_.get(), owner.data(), owner.size(), 0) < 0) Fail(path);
}

}  // namespace sdkkit
