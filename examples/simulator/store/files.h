// The device's stored files: their kinds, and what is asked of them.
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
inline constexpr size_t kCertificateLimit = size_t{256} << 10;
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

// Is this the name of a file that a client uploaded, and none with a path in it?
bool IsStoredName(const std::string& name);

// Replaces target in one step.
bool ReplaceFile(const std::string& target, std::string_view bytes);

// Makes the folders, and empties those of what no start takes over.
void PrepareFolders();

}  // namespace sim
