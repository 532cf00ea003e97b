// The device's own file routes: a list, thumbnails, and a note that clients leave and fetch.
#include "slots/file_routes.h"

#include <sdkapi/kit_accounts.h>
#include <sdkapi/kit_storage.h>
#include <sdkapi/kit_upload.h>

#include <array>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "slots/replies.h"
#include "slots/slot_guard.h"
#include "store/files.h"

namespace sim {
namespace {

using nlohmann::json;

constexpr std::string_view kPicturePrefix = "/sim/picture/";

json FileList() {
  json files = json::array();
  for (const FileKind& kind : FileKinds()) {
    const auto status = StatusOf(kind.path);
    if (status) files.push_back({{"kind", kind.kind}, {"size", status->size}, {"mtime", status->modified}});
  }
  return {{"files", files}};
}

int ServeFileList(mg_connection* conn, CustomReqInfo* req) {
  return Guarded([&] {
    if (req->method != kGet) return AnswerError(conn, 405, "method not allowed");
    return Answer(conn, 200, FileList());
  });
}

int Offer(CustomDownloadInfo* info, const std::string& name, const std::string& path) {
  if (!StatusOf(path)) return kRefused;
  std::snprintf(info->downloadName, sizeof(info->downloadName), "%s", name.c_str());
  std::snprintf(info->filePath, sizeof(info->filePath), "%s", path.c_str());
  return 0;
}

// The one that "?file=NAME" names.
int OfferPrivilege(mg_connection* conn, CustomDownloadInfo* info) {
  std::array<char, kKitStorageNameSize> name{};
  const bool isNamed = GetHttpUrlParam(conn, "file", name.data(), name.size()) > 0;
  return isNamed && IsStoredName(name.data()) ? Offer(info, name.data(), std::string(kPrivDir) + name.data())
                                              : kRefused;
}

int OfferPicture(mg_connection* conn, CustomDownloadInfo* info) {
  return Guarded([&] {
    const std::string_view url = GetHttpUrl(conn);
    if (!url.starts_with(kPicturePrefix)) return kRefused;
    const std::string_view word = url.substr(kPicturePrefix.size());
    if (word == kPriv.kind) return OfferPrivilege(conn, info);
    const FileKind* kind = FindFileKind(word);
    return kind == nullptr ? kRefused : Offer(info, kind->kind, kind->path);
  });
}

}  // namespace

void RegisterFileRoutes() {
  SdkKitAccounts_Get_Post_Add("/sim/files$", ServeFileList);
  SdkKitAccounts_Download_Add("/sim/picture/", OfferPicture);
  SdkKitAccounts_Upload_Add("/sim/upload$", SdkKitUpload_Custom);
  SdkKitAccounts_Download_Add("/sim/download$", SdkKitUpload_Custom_Download);
}

}  // namespace sim
