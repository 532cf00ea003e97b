// Which handler serves which URL, and what kind of file an upload's URL stands for.
#include "http/routes.h"

#include <civetweb.h>

#include <algorithm>
#include <iterator>
#include <string_view>

#include "http/cross_origin.h"
#include "http/handlers.h"
#include "sdkapi/host.h"
#include "sdkapi/transfer.h"

namespace sdkapi {
namespace {

// Exact and prefix patterns, old and "/api/v1/" spellings stand side by side: clients use them all.
// The kinds' numbers start again in every family of uploads; its slot knows what they mean.
constexpr RouteRow cmdList[] = {
    {"/iplogin$", FuncNoLogin, nullptr},
    {"/logout$", FuncLogOut, nullptr},
    {"/change/password$", FuncChangeUserInfo, nullptr},
    {"/change/usrorpasswd$", FuncChangeUserInfo, nullptr},
    {"/createuser$", FuncManageUser, nullptr},
    {"/deleteuser$", FuncManageUser, nullptr},
    {"/upload/sub/upgrade", FuncUploadZipFile, nullptr, kArchiveSubUpgrade},
    {"/upload/sub/bg", FuncUploadImageFile, nullptr, kImageSubBackground},
    {"/upload/sub/logo", FuncUploadImageFile, nullptr, kImageSubLogo},
    {"/upload/sub/png", FuncUploadImageFile, nullptr, kImageSubPng},
    {"/upload/sub/setbgimage", FuncUploadImageFile, nullptr, kImageSubSetBackground},
    {"/upload/sub/setbaseimage", FuncUploadImageFile, nullptr, kImageSubSetBase},
    {"/upload/priv$", FuncUploadImageFile, nullptr, kImagePrivilege},
    {"/upload/scene", FuncUploadTxtFile, nullptr, kTextScene},
    {"/upload/security", FuncUploadCertFile, nullptr, kCertificateSecurity},
    {"/upload/sub/security", FuncUploadCertFile, nullptr, kCertificateSubSecurity},
    {"/upload/xyte$", FuncUploadTxtFile, nullptr, kTextXyte},
    {"/log$", FuncDownloadLogFile, nullptr},
    {"/download/custom", FuncDownloadCustom, nullptr},
    {"/download/scene", FuncDownloadSceneFile, nullptr},
    {"/getdevicetime$", FuncDeviceInfo, nullptr},
    {"/custom_restore", FuncCustomRestore, nullptr},
    {"/getTxRxList", FuncGetTxRxList, nullptr},
    {"/getprivjson$", FuncGetPrivJson, nullptr},
    {"/specifypriv$", FunSpecityPriv, nullptr},
    {"/delete_priv$", FunDeletePriv, nullptr},
    {"/preview", FuncPreview, nullptr},
    {"/upload/edid$", FuncUploadTxtFile, nullptr, kTextEdid},
    {"/upload/setting$", FuncUploadZipFile, nullptr, kUploadUnnamed},
    {"/download/edid$", FuncDownloadEdidFile, nullptr},
    {"/download/setting$", FuncDownloadSettingFile, nullptr},
    {"/download/logo$", FuncDownloadImageFile, nullptr},
    {"/api/v1/auth/login$", FuncLogin, nullptr},
    {"/dev_info$", FuncDeviceInfo, nullptr},
    {"/api/v1/fw_upload$", FuncUpgrade, nullptr, kUploadUnnamed},
    {"/upload/bg$", FuncUploadImageFile, nullptr, kImageBackground},
    {"/upload/logo$", FuncUploadImageFile, nullptr, kImageLogo},
    {"/api/v1/security/https_setting$", FuncUploadCertFile, nullptr, kCertificateHttps},
    {"/api/v1/security/ieee802_1x_setting$", FuncUploadCertFile, nullptr, kCertificate8021x},
    {"/api/v1/settings/import$", FuncUploadZipFile, nullptr, kArchiveSettingsImport},
    {"/api/v1/log$", FuncDownloadLogFile, nullptr},
    {"/api/v1/settings/export$", FuncDownloadSettingFile, nullptr},
    {"/stream", FuncPreview, nullptr},
    {nullptr, FuncNoMethod, nullptr},
};

constexpr RequestHandler kUploadHandlers[] = {
    FuncUploadImageFile, FuncUploadTxtFile, FuncUploadZipFile, FuncUploadCertFile, FuncUpgrade,
};

// A forgotten kind would reach the host as one that the URL does not name.
constexpr bool SaysItsKind(const RouteRow& row) {
  return (std::ranges::find(kUploadHandlers, row.handler) != std::end(kUploadHandlers)) ==
         (row.uploadKind != kNoUpload);
}
// Under its sanitizers GCC does not tell two functions apart while it compiles; all other builds do.
constexpr bool kCanCompare = __builtin_constant_p(FuncUpgrade == FuncNoMethod);
static_assert(!kCanCompare || std::ranges::all_of(cmdList, SaysItsKind),
              "the rows of uploads, and no others, have a kind");

struct UploadUrl {
  std::string_view url;
  int kind;
};

// A host's own route may lead to an upload's handler with these.
constexpr UploadUrl kWithoutRoute[] = {
    {"/upload/sleepimage", kImageSleep},
    {"/settings/import", kArchiveSettings},
    {"/upload/channel", kTextChannel},
};

bool IsFor(const RouteRow& row, std::string_view url) {
  std::string_view pattern = row.pattern;
  if (pattern.ends_with('$')) pattern.remove_suffix(1);
  return pattern == url;
}

}  // namespace

std::span<const RouteRow> RouteTable() { return cmdList; }

int JsonSwitch(mg_context* ctx) {
  if (ctx == nullptr) return -1;
  AllowOrigin(mg_get_option(ctx, "access_control_allow_origin"));
  for (const RouteRow* row = cmdList; row->pattern != nullptr; ++row) {
    mg_set_request_handler(ctx, row->pattern, row->handler, row->cbdata);
  }
  return 0;
}

}  // namespace sdkapi

extern "C" int FuncNoMethod(mg_connection* /*conn*/, void* /*cbdata*/) { return 0; }

int UploadUrlConversionFuncID(const char* url) {
  if (url == nullptr) return kUploadUnnamed;
  for (const sdkapi::RouteRow& row : sdkapi::cmdList) {
    if (row.uploadKind != sdkapi::kNoUpload && sdkapi::IsFor(row, url)) return row.uploadKind;
  }
  for (const sdkapi::UploadUrl& row : sdkapi::kWithoutRoute) {
    if (row.url == url) return row.kind;
  }
  return kUploadUnnamed;
}
