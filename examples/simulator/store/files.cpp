// The device's stored files: their kinds, and what is asked of them.
#include "store/files.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <system_error>

#include "sdkapi/kit_storage.h"

namespace sim {
namespace {

constexpr std::array kKinds{kLogo, kBackground, kSetBackground, kSetBase, kPng, kScene, kEdid, kXyte};

void EmptyFolder(const char* folder) {
  std::error_code ignored;
  for (const std::string& name : NamesIn(folder)) {
    std::filesystem::remove_all(std::filesystem::path(folder) / name, ignored);
  }
}

}  // namespace

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

bool IsStoredName(const std::string& name) {
  std::array<char, kKitStorageNameSize> safe{};
  return SdkKitStorage_Name(name.c_str(), safe.data(), safe.size()) == 0 && name == safe.data();
}

bool ReplaceFile(const std::string& target, std::string_view bytes) {
  return SdkKitStorage_Replace(target.c_str(), bytes.data(), bytes.size()) == 0;
}

void PrepareFolders() {
  for (const char* const folder :
       {kDataDir, kTempDir, kFileDir, kPrivDir, kExportDir, kTlsDir, kFirmwareDir}) {
    if (SdkKitStorage_Folder_Make(folder) != 0) throw std::runtime_error("a folder cannot be made");
  }
  EmptyFolder(kTempDir);
  EmptyFolder(kExportDir);
}

}  // namespace sim
