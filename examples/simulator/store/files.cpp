// The device's stored files: their kinds, and temporary files that replace them in one step.
#include "store/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <utility>

namespace sim {
namespace {

constexpr std::array kKinds{kLogo, kBackground, kSetBackground, kSetBase, kPng, kScene, kEdid, kXyte};

bool IsSafe(char c) {
  const bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
  const bool digit = c >= '0' && c <= '9';
  return letter || digit || c == '.' || c == '_' || c == '-' || c == ' ';
}

}  // namespace

bool SyncFolder(const std::string& folder) {
  const int descriptor = open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor < 0) return false;
  const bool synced = fsync(descriptor) == 0;
  close(descriptor);
  return synced;
}

std::span<const FileKind> FileKinds() { return kKinds; }

const FileKind* FindFileKind(std::string_view kind) {
  const auto* found =
      std::find_if(kKinds.begin(), kKinds.end(), [&](const FileKind& row) { return row.kind == kind; });
  return found == kKinds.end() ? nullptr : found;
}

std::optional<FileStatus> StatusOf(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
  return FileStatus{.size = status.st_size, .modified = status.st_mtime};
}

std::vector<std::string> NamesIn(const char* folder) {
  std::vector<std::string> names;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
    names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::optional<std::string> ReadFile(const std::string& path, size_t limit) {
  const auto status = StatusOf(path);
  if (!status || static_cast<uint64_t>(status->size) > limit) return std::nullopt;
  std::ifstream file(path, std::ios::binary);
  std::string bytes(static_cast<size_t>(status->size), '\0');
  file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  if (!file) return std::nullopt;
  return bytes;
}

std::string SafeFileName(std::string_view name) {
  std::string safe(name);
  std::replace_if(
      safe.begin(), safe.end(), [](char c) { return !IsSafe(c); }, '_');
  // A leading dot would hide the file or name a folder.
  if (!safe.empty() && safe.front() == '.') safe.front() = '_';
  return safe;
}

std::optional<TempFile> TempFile::Create() {
  std::string path = kTempFile;
  const int descriptor = mkostemp(path.data(), O_CLOEXEC);
  if (descriptor < 0) return std::nullopt;
  return TempFile(descriptor, std::move(path));
}

TempFile::TempFile(TempFile&& other) noexcept
    : descriptor_(std::exchange(other.descriptor_, -1)), path_(std::exchange(other.path_, {})) {}

TempFile::~TempFile() {
  if (descriptor_ >= 0) close(descriptor_);
  if (!path_.empty()) unlink(path_.c_str());
}

bool TempFile::Write(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = write(descriptor_, bytes.data(), bytes.size());
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    bytes.remove_prefix(static_cast<size_t>(written));
  }
  return true;
}

bool TempFile::CommitTo(const std::string& target) {
  if (fsync(descriptor_) != 0 || rename(path_.c_str(), target.c_str()) != 0) return false;
  path_.clear();
  SyncFolder(std::filesystem::path(target).parent_path().string());
  return true;
}

bool ReplaceFile(const std::string& target, std::string_view text) {
  auto file = TempFile::Create();
  return file && file->Write(text) && file->CommitTo(target);
}

void PrepareFolders() {
  for (const char* folder : {kTempDir, kFileDir, kPrivDir, kExportDir, kTlsDir, kFirmwareDir}) {
    std::filesystem::create_directories(folder);
  }
  EmptyFolder(kTempDir);
  EmptyFolder(kExportDir);
}

void EmptyFolder(const char* folder) {
  std::error_code ignored;
  for (const std::string& name : NamesIn(folder)) {
    std::filesystem::remove_all(std::filesystem::path(folder) / name, ignored);
  }
}

}  // namespace sim
