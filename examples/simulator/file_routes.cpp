// The device's own file routes: a list, thumbnails, and a note that clients leave and fetch.
#include <array>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "files.h"
#include "media.h"
#include "slot_guard.h"
#include "upload_checks.h"
#include "upload_registry.h"
#include "users.h"

namespace sim {
namespace {

using nlohmann::json;

constexpr std::string_view kPicturePrefix = "/sim/picture/";

constexpr UploadKind kNote = {0,          "/sim/upload", Access::kWrite, size_t{32} << 20, nullptr,
                              IsAnything, ReplaceTarget, kNotePath,      nullptr};

// GetHttpToken writes up to 1024 characters and no NUL.
using TokenBuffer = std::array<char, 1025>;

TokenBuffer TokenOf(mg_connection* conn) {
  TokenBuffer token{};
  GetHttpToken(conn, token.data());
  return token;
}

json FileList() {
  json files = json::array();
  for (const FileKind& kind : FileKinds()) {
    const auto status = StatusOf(kind.path);
    if (status) files.push_back({{"kind", kind.kind}, {"size", status->size}, {"mtime", status->modified}});
  }
  return {{"files", files}};
}

void SendJson(mg_connection* conn, int status, const json& body) {
  constexpr size_t kHeadRoom = 381;  // As GroupRespHttpMsg states it.
  constexpr int kJsonType = 1;
  const std::string text = body.dump();
  std::string reply(kHeadRoom + text.size(), '\0');
  const int length = static_cast<int>(text.size());
  if (GroupRespHttpMsg(status, text.c_str(), length, reply.data(), kJsonType) != 0) return;
  SendHttpBuff(conn, reply.c_str(), 0);
}

int ServeFileList(mg_connection* conn, CustomReqInfo* req) {
  constexpr int kGet = 0;
  return Guarded([&] {
    if (req->method == kGet) SendJson(conn, 200, FileList());
    if (req->method != kGet) SendJson(conn, 405, {{"error", "method not allowed"}});
    return 0;
  });
}

int Offer(CustomDownloadInfo* info, const std::string& name, const std::string& path) {
  if (!StatusOf(path)) return kRefused;
  std::snprintf(info->downloadName, sizeof(info->downloadName), "%s", name.c_str());
  std::snprintf(info->filePath, sizeof(info->filePath), "%s", path.c_str());
  return 0;
}

int OfferPicture(mg_connection* conn, CustomDownloadInfo* info) {
  return Guarded([&] {
    const std::string_view url = GetHttpUrl(conn);
    const FileKind* kind =
        url.starts_with(kPicturePrefix) ? FindFileKind(url.substr(kPicturePrefix.size())) : nullptr;
    return kind == nullptr ? kRefused : Offer(info, kind->kind, kind->path);
  });
}

int TakeNote(mg_connection* conn, UploadCustomCtx* ctx) {
  return Guarded([&] {
    const UploadStep step = StepOf(*ctx);
    if (step.isFound && !step.isFinal && !MayWrite(TokenOf(conn).data())) return kNotAuthorised;
    return RunUploadStep(kNote, step);
  });
}

int OfferNote(mg_connection*, CustomDownloadInfo* info) {
  return Guarded([&] { return Offer(info, "note", kNotePath); });
}

}  // namespace

void RegisterFileRoutes() {
  SdkAPISer_Custom_Get_Post_Api_Add("/sim/files$", ServeFileList);
  SdkAPISer_Custom_Download_Api_Add("/sim/picture/", OfferPicture);
  SdkAPISer_Custom_Upload_Api_Add("/sim/upload$", TakeNote);
  SdkAPISer_Custom_Download_Api_Add("/sim/download$", OfferNote);
}

}  // namespace sim
