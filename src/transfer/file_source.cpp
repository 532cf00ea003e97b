// The file of a download: whether it may keep a reader waiting, and reading it.
#include "transfer/file_source.h"

#include <fcntl.h>
#include <linux/magic.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/statfs.h>

#include <algorithm>
#include <cerrno>

#include "server/lifecycle.h"

namespace sdkapi {
namespace {

constexpr int kStopCheckMilliseconds = 100;

// File systems whose files look regular, and are made by the kernel while they are read.
constexpr decltype(statfs::f_type) kKernelsOwn[] = {PROC_SUPER_MAGIC, SYSFS_MAGIC, DEBUGFS_MAGIC,
                                                    TRACEFS_MAGIC};

bool IsKernelsOwn(const char* path) {
  struct statfs system {};  // of nobody's type, should the file be gone by now
  statfs(path, &system);
  return std::ranges::find(kKernelsOwn, system.f_type) != std::end(kKernelsOwn);
}

// Only a file without a block on a disk can be the kernel's own: the others need not be asked for.
bool IsOnDisk(const char* path, const struct stat& status) {
  return S_ISREG(status.st_mode) && (status.st_blocks > 0 || !IsKernelsOwn(path));
}

// False when the server is stopped meanwhile. A pipe whose writer is yet to come is waited for, too.
bool WaitForData(int file) {
  pollfd waited{file, POLLIN, 0};
  while (poll(&waited, 1, kStopCheckMilliseconds) <= 0) {
    if (!ServerIsRunning()) return false;
  }
  return true;
}

}  // namespace

FileSource::FileSource(const char* path) : path_(path) {
  struct stat status {};
  exists_ = path != nullptr && stat(path, &status) == 0;
  mayWait_ = exists_ && !IsOnDisk(path, status);
}

bool FileSource::Open() {
  if (exists_) file_ = FileDescriptor(open(path_, O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
  return file_.get() >= 0;
}

std::size_t FileSource::Read(std::span<const iovec> places) {
  ssize_t got = 0;
  do {
    givenUp_ = mayWait_ && !WaitForData(file_.get());
    if (givenUp_) return 0;
    got = readv(file_.get(), places.data(), static_cast<int>(places.size()));
    // Another reader of the pipe may have been faster.
  } while (got < 0 && (errno == EINTR || (errno == EAGAIN && mayWait_)));
  return got > 0 ? static_cast<std::size_t>(got) : 0;
}

}  // namespace sdkapi
