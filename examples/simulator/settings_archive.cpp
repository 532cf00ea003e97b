// The settings as one zip archive: export, test and import.
#include "settings_archive.h"

#include <archive.h>
#include <archive_entry.h>

#include <array>
#include <ctime>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <utility>
#include <vector>

#include "database.h"
#include "device.h"
#include "files.h"
#include "privileges.h"
#include "units.h"
#include "upload_checks.h"
#include "users.h"

namespace sim {
namespace {

using nlohmann::json;

constexpr const char* kManifest = "manifest.json";
constexpr const char* kUsers = "users.json";
constexpr const char* kUnits = "units.json";
constexpr const char* kBindings = "privileges.json";
constexpr const char* kFormat = "sim-settings-1";
constexpr std::array<std::string_view, 4> kDocuments{kManifest, kUsers, kUnits, kBindings};

constexpr size_t kMaxEntries = 1000;
constexpr size_t kBlock = 65536;

// What a method exports.
struct Method {
  std::string_view name;
  bool users;
  bool units;
  bool files;
};

constexpr std::array<Method, 3> kMethods{{
    {"full", true, true, true},
    {"users", true, false, false},
    {"units", false, true, false},
}};

const Method* FindMethod(std::string_view name) {
  for (const Method& method : kMethods) {
    if (method.name == (name.empty() ? "full" : name)) return &method;
  }
  return nullptr;
}

struct WriterDeleter {
  void operator()(archive* writer) const { archive_write_free(writer); }
};
struct ReaderDeleter {
  void operator()(archive* reader) const { archive_read_free(reader); }
};
struct EntryDeleter {
  void operator()(archive_entry* entry) const { archive_entry_free(entry); }
};
using Writer = std::unique_ptr<archive, WriterDeleter>;
using Reader = std::unique_ptr<archive, ReaderDeleter>;

bool AddEntry(archive* writer, const std::string& name, std::string_view bytes) {
  const std::unique_ptr<archive_entry, EntryDeleter> entry(archive_entry_new());
  archive_entry_set_pathname(entry.get(), name.c_str());
  archive_entry_set_size(entry.get(), static_cast<int64_t>(bytes.size()));
  archive_entry_set_filetype(entry.get(), AE_IFREG);
  archive_entry_set_perm(entry.get(), 0600);
  archive_entry_set_mtime(entry.get(), std::time(nullptr), 0);
  return archive_write_header(writer, entry.get()) == ARCHIVE_OK &&
         archive_write_data(writer, bytes.data(), bytes.size()) == static_cast<la_ssize_t>(bytes.size());
}

bool AddDocument(archive* writer, const char* name, const json& document) {
  return AddEntry(writer, name, document.dump(2));
}

// A file that is not there is no failure: it was never uploaded.
bool AddFile(archive* writer, const std::string& path, size_t limit) {
  const auto bytes = ReadFile(path, limit);
  return !bytes || AddEntry(writer, path, *bytes);
}

bool AddFiles(archive* writer) {
  for (const FileKind& kind : FileKinds()) {
    if (!AddFile(writer, kind.path, kind.limit)) return false;
  }
  for (const std::string& name : NamesIn(kPrivDir)) {
    if (!AddFile(writer, PrivilegePath(name), kPictureLimit)) return false;
  }
  return AddDocument(writer, kBindings, ExportBindings());
}

bool WriteArchive(const Method& method, const std::string& path) {
  const Writer writer(archive_write_new());
  if (archive_write_set_format_zip(writer.get()) != ARCHIVE_OK) return false;
  if (archive_write_open_filename(writer.get(), path.c_str()) != ARCHIVE_OK) return false;
  const json manifest = {{"format", kFormat}, {"method", method.name}, {"version", SoftwareVersion()}};
  bool good = AddDocument(writer.get(), kManifest, manifest);
  if (method.users) good = good && AddDocument(writer.get(), kUsers, ExportUsers());
  if (method.units) good = good && AddDocument(writer.get(), kUnits, ExportUnits());
  if (method.files) good = good && AddFiles(writer.get());
  return good && archive_write_close(writer.get()) == ARCHIVE_OK;
}

// An archive taken apart: everything in it is known and sound, nothing is stored yet.
struct Content {
  std::map<std::string, json> documents;
  std::map<std::string, TempFile> files;
  size_t entries = 0;
  size_t bytes = 0;
};

// The limit and the test for a file of the archive; an empty optional for a name that no export writes.
std::optional<FileKind> KindOfEntry(const std::string& name) {
  for (const FileKind& kind : FileKinds()) {
    if (name == kind.path) return kind;
  }
  const std::string folder = std::string(kPrivDir) + "/";
  if (!name.starts_with(folder)) return std::nullopt;
  const std::string picture = name.substr(folder.size());
  if (picture.empty() || picture != SafeFileName(picture)) return std::nullopt;
  return FileKind{.kind = "priv", .path = kPrivDir, .limit = kPictureLimit, .isAcceptable = IsPicture};
}

// Hands the bytes of the current entry to sink. The sizes that an archive states may be wrong: only arrived
// bytes count.
template <typename Sink>
bool ReadEntry(archive* reader, size_t limit, Content& content, Sink sink) {
  std::vector<char> block(kBlock);
  size_t length = 0;
  while (true) {
    const la_ssize_t got = archive_read_data(reader, block.data(), block.size());
    if (got <= 0) return got == 0;
    length += static_cast<size_t>(got);
    content.bytes += static_cast<size_t>(got);
    if (length > limit || content.bytes > kSettingsLimit) return false;
    if (!sink(std::string_view(block.data(), static_cast<size_t>(got)))) return false;
  }
}

bool ReadDocument(archive* reader, const std::string& name, Content& content) {
  std::string text;
  const auto append = [&](std::string_view bytes) {
    text.append(bytes);
    return true;
  };
  if (!ReadEntry(reader, kTextLimit, content, append)) return false;
  json document = json::parse(text, nullptr, false);
  return !document.is_discarded() && content.documents.emplace(name, std::move(document)).second;
}

bool ReadStoredFile(archive* reader, const std::string& name, Content& content) {
  const auto kind = KindOfEntry(name);
  auto file = TempFile::Create();
  if (!kind || !file) return false;
  if (!ReadEntry(reader, kind->limit, content, [&](std::string_view bytes) { return file->Write(bytes); }))
    return false;
  return kind->isAcceptable(file->path()) && content.files.emplace(name, std::move(*file)).second;
}

bool TakeEntry(archive* reader, archive_entry* entry, Content& content) {
  const char* pathname = archive_entry_pathname(entry);
  if (++content.entries > kMaxEntries || pathname == nullptr) return false;
  if (archive_entry_filetype(entry) != AE_IFREG || archive_entry_is_encrypted(entry) != 0) return false;
  const std::string name = pathname;
  for (const std::string_view document : kDocuments) {
    if (name == document) return ReadDocument(reader, name, content);
  }
  return ReadStoredFile(reader, name, content);
}

bool IsManifest(const Content& content) {
  const auto manifest = content.documents.find(kManifest);
  return manifest != content.documents.end() && manifest->second.is_object() &&
         manifest->second.value("format", json()) == kFormat;
}

std::optional<Content> TakeApart(const std::string& path) {
  const Reader reader(archive_read_new());
  // Only with the directory at the archive's end: an archive that was cut off must not pass.
  archive_read_support_format_zip_seekable(reader.get());
  if (archive_read_open_filename(reader.get(), path.c_str(), kBlock) != ARCHIVE_OK) return std::nullopt;
  Content content;
  archive_entry* entry = nullptr;
  int result = ARCHIVE_OK;
  while ((result = archive_read_next_header(reader.get(), &entry)) == ARCHIVE_OK) {
    if (!TakeEntry(reader.get(), entry, content)) return std::nullopt;
  }
  if (result != ARCHIVE_EOF || !IsManifest(content)) return std::nullopt;
  return content;
}

struct Section {
  const char* name;
  bool (*load)(const json& document);
};

constexpr std::array<Section, 3> kSections{{
    {kUnits, ImportUnits},
    {kUsers, ImportUsers},
    {kBindings, ImportBindings},
}};

// All documents or none.
bool LoadDocuments(const Content& content) {
  const auto change = OneChange();
  Transaction transaction(TheDatabase());
  for (const Section& section : kSections) {
    const auto document = content.documents.find(section.name);
    if (document != content.documents.end() && !section.load(document->second)) return false;
  }
  transaction.Commit();
  return true;
}

}  // namespace

std::optional<std::string> ExportSettings(std::string_view methodName) {
  const Method* method = FindMethod(methodName);
  auto file = TempFile::Create();
  if (method == nullptr || !file || !WriteArchive(*method, file->path())) return std::nullopt;
  const std::string target = std::string(kExportDir) + "/settings-" + std::string(method->name) + ".zip";
  if (!file->CommitTo(target)) return std::nullopt;
  return target;
}

bool HoldsUsers(std::string_view methodName) {
  const Method* method = FindMethod(methodName);
  return method != nullptr && method->users;
}

bool ImportSettings(const std::string& path) {
  auto content = TakeApart(path);
  if (!content || !LoadDocuments(*content)) return false;
  if (content->documents.contains(kUnits)) PublishUnits();
  bool good = true;
  for (auto& [target, file] : content->files) good = file.CommitTo(target) && good;
  return good;
}

}  // namespace sim
