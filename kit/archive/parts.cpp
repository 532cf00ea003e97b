// What the settings are made of: the host's rows, copied.
#include "archive/parts.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <stdexcept>

#include "base/file.h"
#include "base/guarded.h"
#include "base/json.h"
#include "base/record.h"

namespace sdkkit::archive {
namespace {

constexpr uint64_t kMostBytes = uint64_t{512} << 20;
constexpr uint32_t kDocumentBytes = uint32_t{1} << 20;
constexpr uint64_t kFileBytes = uint64_t{8} << 20;
constexpr uint32_t kFolderFiles = 256;
constexpr std::size_t kMostMethods = 32;

template <class Number>
Number OrDefault(Number value, Number byDefault) {
  return value == 0 ? byDefault : value;
}

std::string OrDefault(const char* text, const char* byDefault) { return text == nullptr ? byDefault : text; }

// A path that stays below the root.
bool IsInside(const char* path) {
  if (path == nullptr || path[0] == '\0' || path[0] == '/') return false;
  return ("/" + std::string(path) + "/").find("/../") == std::string::npos;
}

bool IsGood(const SdkKitArchiveDocument& row) {
  return IsInside(row.name) && std::string_view(row.name) != kManifest && row.make != nullptr &&
         row.apply != nullptr;
}

bool IsGood(const SdkKitArchiveFile& row) { return IsInside(row.path) && row.reserved == 0; }

bool IsGood(const SdkKitArchiveMethod& row) {
  return row.name != nullptr && row.bit != 0 && row.reserved == 0;
}

Document Copy(const SdkKitArchiveDocument& row) {
  return {row.name,  row.methods, OrDefault(row.most, kDocumentBytes), row.make, row.factory,
          row.check, row.apply};
}

StoredFiles Copy(const SdkKitArchiveFile& row) {
  return {row.path,  row.methods,  OrDefault(row.mostFiles, kFolderFiles), OrDefault(row.most, kFileBytes),
          row.check, row.keep != 0};
}

Method Copy(const SdkKitArchiveMethod& row) { return {row.name, row.bit}; }

[[noreturn]] void Refuse(const std::string& why) { throw std::invalid_argument("no start: " + why); }

// `what` names the rows for the log, such as "document".
template <class Row>
auto CopyAll(const Row* rows, std::size_t count, uint32_t size, const std::string& what) {
  const auto known = ReadRows(rows, count, size);
  if (!known) Refuse("there are no " + what + "s, or " + what + "Size is unknown");
  const auto bad = std::find_if(known->begin(), known->end(), [](const Row& row) { return !IsGood(row); });
  if (bad != known->end()) Refuse(what + " " + std::to_string(bad - known->begin()) + " is not in order");
  std::vector<decltype(Copy(*rows))> copies;
  std::transform(known->begin(), known->end(), std::back_inserter(copies),
                 [](const Row& row) { return Copy(row); });
  return copies;
}

void CheckRest(const SdkKitArchiveOptions& options) {
  if (options.methodCount < 1 || options.methodCount > kMostMethods) Refuse("it needs 1 to 32 methods");
  if (options.staging != nullptr && !IsInside(options.staging)) Refuse("staging is not below the root");
  if ((options.begin == nullptr) != (options.end == nullptr)) Refuse("of begin and end one is missing");
}

}  // namespace

const Method* Parts::FindMethod(std::string_view name) const {
  if (name.empty()) return &methods.front();
  const auto found =
      std::find_if(methods.begin(), methods.end(), [&](const Method& row) { return row.name == name; });
  return found == methods.end() ? nullptr : &*found;
}

const Document* Parts::FindDocument(std::string_view entry) const {
  const auto found = std::find_if(documents.begin(), documents.end(),
                                  [&](const Document& row) { return row.name == entry; });
  return found == documents.end() ? nullptr : &*found;
}

const StoredFiles* Parts::FindFiles(std::string_view entry) const {
  const auto isIn = [&](const StoredFiles& row) {
    if (!row.IsFolder()) return row.path == entry;
    if (!entry.starts_with(row.path)) return false;
    const std::string_view name = entry.substr(row.path.size());
    return !name.empty() && name == SafeName(name);
  };
  const auto found = std::find_if(files.begin(), files.end(), isIn);
  return found == files.end() ? nullptr : &*found;
}

std::vector<std::string> Parts::EntriesOf(const StoredFiles& row) const {
  std::vector<std::string> entries;
  if (!row.IsFolder()) {
    if (StatusOf(PathOf(row.path))) entries.push_back(row.path);
    return entries;
  }
  for (const std::string& name : NamesIn(PathOf(row.path))) {
    if (StatusOf(PathOf(row.path + name))) entries.push_back(row.path + name);
  }
  return entries;
}

Parts CopyParts(const SdkKitArchiveOptions& options) {
  CheckRest(options);
  return Parts{
      .format = OrDefault(options.format, "settings-1"),
      .root = OrDefault(options.root, "."),
      .staging = OrDefault(options.staging, "staging"),
      .most = OrDefault(options.most, kMostBytes),
      .methods = CopyAll(options.methods, options.methodCount, options.methodSize, "method"),
      .documents = CopyAll(options.documents, options.documentCount, options.documentSize, "document"),
      .files = CopyAll(options.files, options.fileCount, options.fileSize, "file"),
      .begin = options.begin,
      .end = options.end,
      .may = options.may,
      .done = options.done};
}

std::optional<std::string> MakeText(const Document& document, int (*make)(SdkKitArchiveText*)) {
  SdkKitArchiveText text{.bytes = {}, .most = document.most, .failed = false};
  if (make(&text) != 0 || text.failed) return std::nullopt;
  return std::move(text.bytes);
}

std::string FaultOf(const Document& document, const std::string& text) {
  if (text.size() > document.most) return "more than " + std::to_string(document.most) + " bytes";
  if (document.name.ends_with(".json")) {
    if (std::string fault = JsonFault(text, {.bytes = document.most}); !fault.empty()) return fault;
  }
  std::array<char, 256> why{};
  if (document.check == nullptr || document.check(text.c_str(), text.size(), why.data(), why.size()) == 0)
    return "";
  return why[0] != '\0' ? why.data() : "refused";
}

std::string FaultOf(const StoredFiles& row, const std::string& path) {
  const auto status = StatusOf(path);
  if (!status) return "no file";
  if (status->size > row.most) return "more than " + std::to_string(row.most) + " bytes";
  std::array<char, 256> why{};
  if (row.check == nullptr || row.check(path.c_str(), why.data(), why.size()) == 0) return "";
  return why[0] != '\0' ? why.data() : "refused";
}

}  // namespace sdkkit::archive

int SdkKitArchive_Text_Add(SdkKitArchiveText* text, const char* bytes, size_t length) {
  constexpr sdkkit::Log kLog{"archive"};
  if (text == nullptr || (bytes == nullptr && length != 0)) return -1;
  text->failed = text->failed || length > text->most - text->bytes.size();
  if (text->failed) {
    kLog.Error("a document is longer than its %zu bytes", text->most);
    return -1;
  }
  return sdkkit::Guarded(kLog, [&] {
    text->failed = true;
    text->bytes.append(bytes, length);
    text->failed = false;
    return 0;
  });
}
