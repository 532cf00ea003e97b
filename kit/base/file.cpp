// Files that a loss of power leaves whole: temporary files that replace others in one step, and safe names.
#include "base/file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <utility>

namespace sdkkit {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kTempPrefix = ".new-";
constexpr mode_t kOwnerOnly = 0700;

bool IsSafe(char c) {
  const bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
  const bool digit = c >= '0' && c <= '9';
  return letter || digit || c == '.' || c == '_' || c == '-' || c == ' ';
}

bool IsTemporary(const fs::path& path) { return path.filename().string().starts_with(kTempPrefix); }

}  // namespace

FileDescriptor::FileDescriptor(FileDescriptor&& other) noexcept
    : descriptor_(std::exchange(other.descriptor_, -1)) {}

FileDescriptor& FileDescriptor::operator=(FileDescriptor&& other) noexcept {
  std::swap(descriptor_, other.descriptor_);
  return *this;
}

FileDescriptor::~FileDescriptor() {
  if (descriptor_ >= 0) close(descriptor_);
}

std::optional<FileStatus> StatusOf(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
  return FileStatus{.size = static_cast<uint64_t>(status.st_size), .modified = status.st_mtime};
}

FileDescriptor OpenToRead(const std::string& path) {
  FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  struct stat status {};
  if (!file || fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) return FileDescriptor();
  return file;
}

size_t ReadUpTo(const FileDescriptor& file, std::string& bytes) {
  size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t got = read(file.get(), bytes.data() + done, bytes.size() - done);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    done += static_cast<size_t>(got);
  }
  return done;
}

std::optional<std::string> ReadFile(const std::string& path, uint64_t limit) {
  const FileDescriptor file = OpenToRead(path);
  struct stat status {};
  if (!file || fstat(file.get(), &status) != 0) return std::nullopt;
  if (static_cast<uint64_t>(status.st_size) > limit) return std::nullopt;
  std::string bytes(static_cast<size_t>(status.st_size), '\0');
  if (ReadUpTo(file, bytes) != bytes.size()) return std::nullopt;
  return bytes;
}

std::vector<std::string> NamesIn(const std::string& folder) {
  std::vector<std::string> names;
  std::error_code error;
  for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
    std::string name = entry->path().filename().string();
    if (!name.starts_with('.')) names.push_back(std::move(name));
  }
  std::sort(names.begin(), names.end());
  return names;
}

uint64_t BytesBelow(const std::string& folder) {
  uint64_t bytes = 0;
  std::error_code error;
  for (fs::recursive_directory_iterator entry(folder, error), end; !error && entry != end;
       entry.increment(error)) {
    std::error_code gone;  // a file that is removed meanwhile counts nothing
    if (IsTemporary(entry->path()) || !fs::is_regular_file(entry->symlink_status(gone))) continue;
    const uint64_t size = entry->file_size(gone);
    if (!gone) bytes += size;
  }
  return bytes;
}

std::string SafeName(std::string_view name) {
  std::string safe(name.substr(0, kMostNameBytes));
  std::replace_if(
      safe.begin(), safe.end(), [](char c) { return !IsSafe(c); }, '_');
  // A leading dot would hide the file or name a folder.
  if (safe.starts_with('.')) safe.front() = '_';
  return safe;
}

bool MakeFolder(const std::string& folder) {
  struct stat status {};
  if (stat(folder.c_str(), &status) == 0) return S_ISDIR(status.st_mode);
  const std::string above = FolderOf(folder);
  if (above != folder && !MakeFolder(above)) return false;
  return (mkdir(folder.c_str(), kOwnerOnly) == 0 || errno == EEXIST) && SyncFolder(above);
}

bool SyncFolder(const std::string& folder) {
  const FileDescriptor opened(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  return opened && fsync(opened.get()) == 0;
}

std::string FolderOf(const std::string& path) {
  const size_t end = path.find_last_not_of('/');
  const size_t slash = end == std::string::npos ? end : path.rfind('/', end);
  if (slash == std::string::npos) return path.starts_with('/') ? "/" : ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

bool RemoveFile(const std::string& path) {
  if (unlink(path.c_str()) != 0) return errno == ENOENT;
  return SyncFolder(FolderOf(path));
}

TempFile::TempFile(FileDescriptor descriptor, std::string path)
    : descriptor_(std::move(descriptor)), path_(std::move(path)) {}

std::optional<TempFile> TempFile::Create(const std::string& folder) {
  std::string path = folder + "/" + std::string(kTempPrefix) + "XXXXXX";
  FileDescriptor descriptor(mkostemp(path.data(), O_CLOEXEC));
  if (!descriptor) return std::nullopt;
  return TempFile(std::move(descriptor), std::move(path));
}

TempFile::TempFile(TempFile&& other) noexcept
    : descriptor_(std::move(other.descriptor_)), path_(std::exchange(other.path_, {})) {}

TempFile& TempFile::operator=(TempFile&& other) noexcept {
  std::swap(descriptor_, other.descriptor_);
  std::swap(path_, other.path_);
  return *this;
}

TempFile::~TempFile() { Remove(); }

void TempFile::Remove() {
  if (path_.empty()) return;
  const int reason = errno;
  unlink(path_.c_str());
  errno = reason;
}

bool TempFile::Write(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = write(descriptor_.get(), bytes.data(), bytes.size());
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    bytes.remove_prefix(static_cast<size_t>(written));
  }
  return true;
}

bool TempFile::Sync() { return fsync(descriptor_.get()) == 0; }

bool TempFile::CommitTo(const std::string& target) {
  if (!Sync() || rename(path_.c_str(), target.c_str()) != 0) return false;
  path_.clear();
  return SyncFolder(FolderOf(target));
}

bool ReplaceFile(const std::string& target, std::string_view bytes) {
  auto file = TempFile::Create(FolderOf(target));
  return file && file->Write(bytes) && file->CommitTo(target);
}

void RemoveTempFiles(const std::string& folder) {
  std::error_code error;
  std::vector<fs::path> left;
  for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
    if (IsTemporary(entry->path())) left.push_back(entry->path());
  }
  for (const fs::path& path : left) fs::remove(path, error);
}

}  // namespace sdkkit
