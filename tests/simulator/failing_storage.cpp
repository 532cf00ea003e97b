// Preloaded into the simulated device: on command the Nth write of a file, flush, rename or removal fails, or
// ends the process.
#include <dlfcn.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

// Shared with the test through the file that FAILING_STORAGE names.
struct Command {
  std::atomic<int32_t> left;   // the call that fails, counted from here; 0: none
  std::atomic<int32_t> fault;  // its errno; -1: the process is killed in its place
  std::atomic<int32_t> lasts;  // whether all calls behind it fail, too
  std::atomic<int32_t> hits;   // calls that failed
};

Command* MapCommand() {
  const char* const path = std::getenv("FAILING_STORAGE");
  const int file = path != nullptr ? open(path, O_RDWR | O_CLOEXEC) : -1;
  if (file < 0) std::abort();
  void* const mapped = mmap(nullptr, sizeof(Command), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
  if (mapped == MAP_FAILED) std::abort();
  close(file);
  return static_cast<Command*>(mapped);
}

bool Fails() {
  static Command* const command = MapCommand();
  const int32_t left = command->left;
  if (left <= 0) return false;
  if (left > 1 || command->lasts == 0) command->left = left - 1;
  if (left > 1) return false;
  ++command->hits;
  if (command->fault < 0) kill(getpid(), SIGKILL);
  errno = command->fault;
  return true;
}

// Sockets and pipes are not storage.
bool FileFails(int file) {
  struct stat status {};
  return fstat(file, &status) == 0 && (S_ISREG(status.st_mode) || S_ISDIR(status.st_mode)) && Fails();
}

template <class Function>
Function* Next(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {

ssize_t write(int file, const void* bytes, size_t length) {
  static auto* const next = Next<ssize_t(int, const void*, size_t)>("write");
  return FileFails(file) ? -1 : next(file, bytes, length);
}

ssize_t pwrite64(int file, const void* bytes, size_t length, off64_t at) {
  static auto* const next = Next<ssize_t(int, const void*, size_t, off64_t)>("pwrite64");
  return FileFails(file) ? -1 : next(file, bytes, length, at);
}

int ftruncate64(int file, off64_t length) noexcept {
  static auto* const next = Next<int(int, off64_t)>("ftruncate64");
  return FileFails(file) ? -1 : next(file, length);
}

int fsync(int file) {
  static auto* const next = Next<int(int)>("fsync");
  return FileFails(file) ? -1 : next(file);
}

int fdatasync(int file) {
  static auto* const next = Next<int(int)>("fdatasync");
  return FileFails(file) ? -1 : next(file);
}

int rename(const char* from, const char* to) noexcept {
  static auto* const next = Next<int(const char*, const char*)>("rename");
  return Fails() ? -1 : next(from, to);
}

int unlink(const char* path) noexcept {
  static auto* const next = Next<int(const char*)>("unlink");
  return Fails() ? -1 : next(path);
}

}  // extern "C"
