// Which handler serves which URL.
#include "http/routes.h"

#include <civetweb.h>

#include "http/handlers.h"
#include "sdkapi/transfer.h"

namespace sdkapi {
namespace {

// Exact and prefix patterns, old and "/api/v1/" spellings stand side by side: clients use them all.
constexpr RouteRow cmdList[] = {
    {"/iplogin$", FuncNoLogin, nullptr},
    {"/logout$", FuncLogOut, nullptr},
    {"/change/password$", FuncChangeUserInfo, nullptr},
    {"/change/usrorpasswd$", FuncChangeUserInfo, nullptr},
    {"/createuser$", FuncManageUser, nullptr},
    {"/deleteuser$", FuncManageUser, nullptr},
    {"/upload/sub/upgrade", FuncUploadZipFile, nullptr},
    {"/upload/sub/bg", FuncUploadImageFile, nullptr},
    {"/upload/sub/logo", FuncUploadImageFile, nullptr},
    {"/upload/sub/png", FuncUploadImageFile, nullptr},
    {"/upload/sub/setbgimage", FuncUploadImageFile, nullptr},
    {"/upload/sub/setbaseimage", FuncUploadImageFile, nullptr},
    {"/upload/priv$", FuncUploadImageFile, nullptr},
    {"/upload/scene", FuncUploadTxtFile, nullptr},
    {"/upload/security", FuncUploadCertFile, nullptr},
    {"/upload/sub/security", FuncUploadCertFile, nullptr},
    {"/upload/xyte$", FuncUploadTxtFile, nullptr},
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
    {"/upload/edid$", FuncUploadTxtFile, nullptr},
    {"/upload/setting$", FuncUploadZipFile, nullptr},
    {"/download/edid$", FuncDownloadEdidFile, nullptr},
    {"/download/setting$", FuncDownloadSettingFile, nullptr},
    {"/download/logo$", FuncDownloadImageFile, nullptr},
    {"/api/v1/auth/login$", FuncLogin, nullptr},
    {"/dev_info$", FuncDeviceInfo, nullptr},
    {"/api/v1/fw_upload$", FuncUpgrade, nullptr},
    {"/upload/bg$", FuncUploadImageFile, nullptr},
    {"/upload/logo$", FuncUploadImageFile, nullptr},
    {"/api/v1/security/https_setting$", FuncUploadCertFile, nullptr},
    {"/api/v1/security/ieee802_1x_setting$", FuncUploadCertFile, nullptr},
    {"/api/v1/settings/import$", FuncUploadZipFile, nullptr},
    {"/api/v1/log$", FuncDownloadLogFile, nullptr},
    {"/api/v1/settings/export$", FuncDownloadSettingFile, nullptr},
    {"/stream", FuncPreview, nullptr},
    {nullptr, FuncNoMethod, nullptr},
};

}  // namespace

std::span<const RouteRow> RouteTable() { return cmdList; }

int JsonSwitch(mg_context* ctx) {
  if (ctx == nullptr) return -1;
  for (const RouteRow* row = cmdList; row->pattern != nullptr; ++row) {
    mg_set_request_handler(ctx, row->pattern, row->handler, row->cbdata);
  }
  return 0;
}

}  // namespace sdkapi

extern "C" int FuncNoMethod(mg_connection* /*conn*/, void* /*cbdata*/) { return 0; }
