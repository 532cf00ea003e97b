// An archive taken apart into a staging folder, everything in it judged.
#include "archive/unpack.h"

#include <algorithm>
#include <set>

#include "archive/zip.h"
#include "base/json.h"
#include "base/log.h"

namespace sdkkit::archive {
namespace {

constexpr std::size_t kManifestBytes = 4096;

// One run through an archive. The sizes that an archive states may be wrong: only bytes that arrived count.
class Unpacking {
 public:
  Unpacking(const Parts& parts, ZipReader& reader, Staging& staging)
      : parts_(parts), reader_(reader), staging_(staging) {}

  // An empty text, or what is wrong.
  std::string Run() {
    while (true) {
      const ZipReader::Found found = reader_.Next();
      if (found == ZipReader::Found::kFault) return "a broken archive, or something else than files in it";
      if (found == ZipReader::Found::kEnd) break;
      if (const std::string fault = Take(); !fault.empty()) return reader_.name() + ": " + fault;
    }
    return hasManifest_ ? FaultBesideTheRest() : "no manifest";
  }

 private:
  std::string Take() {
    const std::string& name = reader_.name();
    if (!names_.insert(name).second) return "twice in the archive";
    if (name == kManifest) return TakeManifest();
    if (const Document* row = parts_.FindDocument(name); row != nullptr) return TakeDocument(*row);
    const StoredFiles* const row = parts_.FindFiles(name);
    return row != nullptr && row->methods != 0 ? TakeFile(*row) : "unknown";
  }

  // An empty text; else why not.
  std::string Read(uint64_t most, const std::function<bool(std::string_view)>& take) {
    uint64_t length = 0;
    std::string fault;
    const bool whole = reader_.Read([&](std::string_view bytes) {
      length += bytes.size();
      total_ += bytes.size();
      if (length > most) fault = "more than " + std::to_string(most) + " bytes";
      if (total_ > parts_.most) fault = "more than " + std::to_string(parts_.most) + " bytes in all";
      if (fault.empty() && !take(bytes)) fault = "no room";
      return fault.empty();
    });
    return whole || !fault.empty() ? fault : "broken";
  }

  std::string ReadText(uint64_t most, std::string& text) {
    return Read(most, [&](std::string_view bytes) {
      text.append(bytes);
      return true;
    });
  }

  std::string TakeManifest() {
    std::string text;
    if (std::string fault = ReadText(kManifestBytes, text); !fault.empty()) return fault;
    total_ -= text.size();  // it is none of the settings
    const auto manifest = ParseJson(text);
    if (!manifest || !manifest->is_object()) return "no JSON object";
    const auto format = manifest->find("format");
    hasManifest_ = format != manifest->end() && *format == parts_.format;
    return hasManifest_ ? "" : "of another device or format";
  }

  std::string TakeDocument(const Document& row) {
    std::string text;
    if (std::string fault = ReadText(row.most, text); !fault.empty()) return fault;
    if (std::string fault = FaultOf(row, text); !fault.empty()) return fault;
    return staging_.StageText(row.name, text) ? "" : "no room";
  }

  std::string TakeFile(const StoredFiles& row) {
    auto file = staging_.NewFile();
    if (!file) return "no room";
    if (std::string fault = Read(row.most, [&](std::string_view bytes) { return file->Write(bytes); });
        !fault.empty()) {
      return fault;
    }
    if (std::string fault = FaultOf(row, file->path()); !fault.empty()) return fault;
    return staging_.Stage(Step::Kind::kFile, reader_.name(), std::move(*file)) ? "" : "no room";
  }

  // What the archive does not hold stays: both together must not break the bounds of the next export.
  std::string FaultBesideTheRest() const {
    uint64_t bytes = total_;
    for (const StoredFiles& row : parts_.files) {
      if (row.methods == 0) continue;
      std::size_t files = static_cast<std::size_t>(std::ranges::count_if(
          names_, [&](const std::string& name) { return parts_.FindFiles(name) == &row; }));
      for (const std::string& entry : parts_.EntriesOf(row)) {
        if (names_.contains(entry)) continue;
        ++files;
        bytes += StatusOf(parts_.PathOf(entry)).value_or(FileStatus{}).size;
      }
      if (row.IsFolder() && files > row.mostFiles)
        return row.path + ": more than " + std::to_string(row.mostFiles) + " files";
    }
    return bytes <= parts_.most ? ""
                                : "with what is stored more than " + std::to_string(parts_.most) + " bytes";
  }

  const Parts& parts_;
  ZipReader& reader_;
  Staging& staging_;
  std::set<std::string> names_;
  uint64_t total_ = 0;
  bool hasManifest_ = false;
};

// One run of an export, within the bounds of an import.
class Packing {
 public:
  Packing(const Parts& parts, const Method& method, ZipWriter& writer)
      : parts_(parts), method_(method), writer_(writer) {}

  std::string Run() {
    const std::string manifest = ToText({{"format", parts_.format}, {"method", method_.name}});
    if (!writer_.Add(kManifest, manifest)) return "no room";
    for (const Document& row : parts_.documents) {
      if ((row.methods & method_.bit) == 0) continue;
      if (const std::string fault = Add(row); !fault.empty()) return row.name + ": " + fault;
    }
    for (const StoredFiles& row : parts_.files) {
      if ((row.methods & method_.bit) == 0) continue;
      if (const std::string fault = Add(row); !fault.empty()) return row.path + ": " + fault;
    }
    return writer_.Close() ? "" : "no room";
  }

 private:
  std::string Count(uint64_t bytes) {
    bytes_ += bytes;
    if (++entries_ >= kMostEntries) return "more than " + std::to_string(kMostEntries) + " entries";
    return bytes_ <= parts_.most ? "" : "more than " + std::to_string(parts_.most) + " bytes in all";
  }

  std::string Add(const Document& row) {
    const auto text = MakeText(row, row.make);
    if (!text) return "it cannot be made";
    if (std::string fault = FaultOf(row, *text); !fault.empty()) return fault;
    if (std::string fault = Count(text->size()); !fault.empty()) return fault;
    return writer_.Add(row.name, *text) ? "" : "no room";
  }

  std::string Add(const StoredFiles& row) {
    const std::vector<std::string> entries = parts_.EntriesOf(row);
    if (row.IsFolder() && entries.size() > row.mostFiles)
      return "more than " + std::to_string(row.mostFiles) + " files";
    for (const std::string& entry : entries) {
      if (std::string fault = AddFile(row, entry); !fault.empty()) return fault;
    }
    return "";
  }

  // A stored file that an import would refuse is of no use in a backup, and must not prevent the rest of it.
  std::string AddFile(const StoredFiles& row, const std::string& entry) {
    const std::string path = parts_.PathOf(entry);
    const std::string unfit =
        parts_.FindFiles(entry) == &row ? FaultOf(row, path) : "a name that no import takes";
    if (!unfit.empty()) {
      kLog.Warning("%s is left out of an export: %s", entry.c_str(), unfit.c_str());
      return "";
    }
    if (std::string fault = Count(StatusOf(path).value_or(FileStatus{}).size); !fault.empty()) return fault;
    return writer_.AddFile(entry, path, row.most) ? "" : entry + " cannot be copied";
  }

  static constexpr Log kLog{"archive"};
  const Parts& parts_;
  const Method& method_;
  ZipWriter& writer_;
  std::size_t entries_ = 0;
  uint64_t bytes_ = 0;
};

}  // namespace

bool Unpack(const Parts& parts, const std::string& path, Staging& staging, std::string& why) {
  auto reader = ZipReader::Open(path, kMostEntries);
  why = reader ? Unpacking(parts, *reader, staging).Run() : "no whole zip archive, or too many entries";
  return why.empty();
}

bool Pack(const Parts& parts, const Method& method, TempFile& file, std::string& why) {
  auto writer = ZipWriter::Open(file.descriptor());
  why = writer ? Packing(parts, method, *writer).Run() : "no room";
  return why.empty();
}

}  // namespace sdkkit::archive
