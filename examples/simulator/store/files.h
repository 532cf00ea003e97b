// The device's stored files: their kinds, and temporary files that replace them in one step.
#pragma once

#include <cstdint>
#include <ctime>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "sdkapi/kit_content.h"
#include "store/paths.h"

namespace sim {

inline constexpr size_t kMostPrivPictures = 100;
inline constexpr size_t kPictureLimit = size_t{8} << 20;
inline constexpr size_t kTextLimit = size_t{1} << 20;
inline constexpr size_t kEdidLimit = 256;
inline constexpr size_t kNoteLimit = size_t{32} << 20;

// One kind of file that clients upload.
struct FileKind {
  const char* kind;
  const char* path;
  size_t limit;       // bytes
  SdkKitCheck check;  // looks at the content
};

inline constexpr FileKind kLogo{"logo", kLogoPath, kPictureLimit, SdkKitContent_Picture};
inline constexpr FileKind kBackground{"bg", kBackgroundPath, kPictureLimit, SdkKitContent_Picture};
inline constexpr FileKind kSetBackground{"setbgimage", kSetBackgroundPath, kPictureLimit,
                                         SdkKitContent_Picture};
inline constexpr FileKind kSetBase{"setbaseimage", kSetBasePath, kPictureLimit, SdkKitContent_Picture};
inline constexpr FileKind kPng{"png", kPngPath, kPictureLimit, SdkKitContent_Picture};
inline constexpr FileKind kScene{"scene", kScenePath, kTextLimit, SdkKitContent_Json};
inline constexpr FileKind kEdid{"edid", kEdidPath, kEdidLimit, SdkKitContent_Edid};
inline constexpr FileKind kXyte{"xyte", kXytePath, kTextLimit, SdkKitContent_Json};
inline constexpr FileKind kPriv{"priv", kPrivDir, kPictureLimit, SdkKitContent_Picture};
inline constexpr FileKind kNote{"note", kNotePath, kNoteLimit, nullptr};

// Those that the device lists.
std::span<const FileKind> FileKinds();

// nullptr for a word that names none.
const FileKind* FindFileKind(std::string_view kind);

struct FileStatus {
  int64_t size;
  time_t modified;
};

std::optional<FileStatus> StatusOf(const std::string& path);

// The names in a folder, sorted; empty when there is no such folder.
std::vector<std::string> NamesIn(const char* folder);

// A whole file's content; empty optional when it cannot be read or holds more than limit bytes.
std::optional<std::string> ReadFile(const std::string& path, size_t limit);

// A client's file name as the device stores it: letters, digits, "._-" and blanks stay, others become "_".
std::string SafeFileName(std::string_view name);

// A file in the temporary folder that either replaces another file whole or disappears.
class TempFile {
 public:
  // Empty optional when the disk refuses it.
  static std::optional<TempFile> Create();

  TempFile(TempFile&& other) noexcept;
  TempFile& operator=(TempFile&&) = delete;
  ~TempFile();

  bool Write(std::string_view bytes);
  // Brings the bytes to the disk and renames the file over target; on failure target stays as it was.
  bool CommitTo(const std::string& target);

  const std::string& path() const { return path_; }

 private:
  TempFile(int descriptor, std::string path) : descriptor_(descriptor), path_(std::move(path)) {}

  int descriptor_;
  std::string path_;
};

// Replaces target with text in one step.
bool ReplaceFile(const std::string& target, std::string_view text);

// Makes the folders and empties the temporary one.
void PrepareFolders();

void EmptyFolder(const char* folder);

// Brings to the disk which names a folder holds.
bool SyncFolder(const std::string& folder);

}  // namespace sim
