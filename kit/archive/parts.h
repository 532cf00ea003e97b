// What the settings are made of: the host's rows, copied.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "sdkapi/kit_archive.h"

// The text that a host's function makes.
struct SdkKitArchiveText {
  std::string bytes;
  std::size_t most;
  bool failed;  // also when the host did not look at the result
};

namespace sdkkit::archive {

// No archive has more entries.
inline constexpr std::size_t kMostEntries = 4096;
inline constexpr const char* kManifest = "manifest.json";

struct Document {
  std::string name;
  uint32_t methods;
  std::size_t most;
  decltype(SdkKitArchiveDocument::make) make;
  decltype(SdkKitArchiveDocument::factory) factory;
  decltype(SdkKitArchiveDocument::check) check;
  decltype(SdkKitArchiveDocument::apply) apply;
};

struct StoredFiles {
  std::string path;  // with "/" at its end: a folder
  uint32_t methods;
  std::size_t mostFiles;
  uint64_t most;
  SdkKitCheck check;
  bool keep;

  bool IsFolder() const { return path.ends_with('/'); }
};

struct Method {
  std::string name;
  uint32_t bit;
};

struct Parts {
  std::string format;
  std::string root;
  std::string staging;  // below the root
  uint64_t most;
  std::vector<Method> methods;
  std::vector<Document> documents;
  std::vector<StoredFiles> files;
  decltype(SdkKitArchiveOptions::begin) begin;
  decltype(SdkKitArchiveOptions::end) end;
  decltype(SdkKitArchiveOptions::may) may;
  decltype(SdkKitArchiveOptions::done) done;

  // The first method for an empty name; nullptr for an unknown one.
  const Method* FindMethod(std::string_view name) const;
  const Document* FindDocument(std::string_view entry) const;
  // The row of a file's entry; nullptr for a name that no export writes.
  const StoredFiles* FindFiles(std::string_view entry) const;
  // The entries that are there now.
  std::vector<std::string> EntriesOf(const StoredFiles& row) const;
  std::string PathOf(const std::string& entry) const { return root + "/" + entry; }
  std::string ChangeFolder() const { return PathOf(staging) + "/change"; }
  std::string ExportFolder() const { return PathOf(staging) + "/export"; }
};

// Throws std::invalid_argument, in words for a log, when the options cannot be used.
Parts CopyParts(const SdkKitArchiveOptions& options);

// A text by one of a document's functions; nothing when it fails or makes too much.
std::optional<std::string> MakeText(const Document& document, int (*make)(SdkKitArchiveText*));

// Both judge as an import does; an empty text for what is good, else why it is not.
std::string FaultOf(const Document& document, const std::string& text);
std::string FaultOf(const StoredFiles& row, const std::string& path);

}  // namespace sdkkit::archive
