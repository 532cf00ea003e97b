// What a host takes: its rows, copied and found sound.
#include "upload/rows.h"

#include <algorithm>

#include "base/record.h"
#include "sdkapi/extension.h"

namespace sdkkit {
namespace {

constexpr uint64_t kMostBytes = uint64_t{1} << 20;
constexpr uint32_t kMostFiles = 100;

bool HasKinds(int family) { return family != kExtUploadFirmware && family != kExtUploadCustom; }

// A path of names below a folder, with or without "/" at its end.
bool StaysBelow(std::string_view path) {
  if (path.empty() || path.front() == '/' || path.front() == '.') return false;
  return path.find("//") == std::string_view::npos && path.find("/.") == std::string_view::npos;
}

std::string FaultOf(const SdkKitUploadRow& row) {
  if (row.family < kExtUploadImage || row.family > kExtUploadCustom) return "an unknown family";
  const bool needsRoute =
      row.family == kExtUploadCustom || (HasKinds(row.family) && row.funcId == kUploadUnnamed);
  if (needsRoute && row.route == nullptr) return "no route";
  if (row.file == nullptr && row.accept == nullptr) return "neither a file nor a function that takes it";
  if (row.file != nullptr && !StaysBelow(row.file)) return "a file that is not below the root";
  if (row.download < kKitDownloadNone || row.download > kKitDownloadCustom) return "an unknown download slot";
  const bool gives = row.download != kKitDownloadNone || row.downloadRoute != nullptr;
  return gives && (row.file == nullptr || IsFolder(row)) ? "a download without a file" : "";
}

bool Matches(const SdkKitUploadRow& row, int family, int funcId, std::string_view route) {
  return row.family == family && (!HasKinds(family) || row.funcId == funcId) &&
         (row.route == nullptr || row.route == route);
}

template <class Test>
const SdkKitUploadRow* FindIf(const std::vector<SdkKitUploadRow>& rows, Test test) {
  const auto found = std::find_if(rows.begin(), rows.end(), test);
  return found == rows.end() ? nullptr : &*found;
}

}  // namespace

const char* UploadRows::Keep(const char* text) {
  return text == nullptr ? nullptr : texts_.emplace_back(text).c_str();
}

std::string UploadRows::Take(const SdkKitUploadOptions& options) {
  auto rows = ReadRows(options.rows, options.rowCount, options.rowSize);
  if (!rows) return "there are no rows, or rowSize is unknown";
  rows_ = std::move(*rows);
  for (SdkKitUploadRow& row : rows_) {
    const std::string fault = FaultOf(row);
    if (!fault.empty()) return "row " + std::to_string(&row - rows_.data()) + " has " + fault;
    for (const char** text :
         {&row.route, &row.file, &row.downloadRoute, &row.downloadName, &row.downloadOtherwise}) {
      *text = Keep(*text);
    }
    if (row.mostBytes == 0) row.mostBytes = kMostBytes;
    if (row.mostFiles == 0) row.mostFiles = kMostFiles;
  }
  return "";
}

const SdkKitUploadRow* UploadRows::Find(int family, int funcId, std::string_view route) const {
  return FindIf(rows_, [&](const SdkKitUploadRow& row) { return Matches(row, family, funcId, route); });
}

const SdkKitUploadRow* UploadRows::FindDownload(int slot) const {
  return FindIf(rows_, [&](const SdkKitUploadRow& row) { return row.download == slot; });
}

const SdkKitUploadRow* UploadRows::FindDownloadRoute(std::string_view route) const {
  return FindIf(rows_, [&](const SdkKitUploadRow& row) {
    return row.downloadRoute != nullptr && row.downloadRoute == route;
  });
}

uint64_t UploadRows::MostBytesOf(int family) const {
  uint64_t most = 0;
  for (const SdkKitUploadRow& row : rows_) {
    if (row.family == family) most = std::max(most, row.mostBytes);
  }
  return most;
}

uint64_t UploadRows::MostPassing() const {
  uint64_t most = 0;
  for (const SdkKitUploadRow& row : rows_) {
    if (row.file == nullptr) most = std::max(most, row.mostBytes);
  }
  return most;
}

bool IsFolder(const SdkKitUploadRow& row) {
  return row.file != nullptr && std::string_view(row.file).ends_with('/');
}

}  // namespace sdkkit
