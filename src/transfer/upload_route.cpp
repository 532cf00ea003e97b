// Which kind of file an upload URL stands for.
#include <cstring>

#include "sdkapi/transfer.h"

namespace {

struct UploadUrl {
  const char* url;
  int funcId;
};

// The numbers start again in every family; the family's slot knows what they mean. URLs without a built-in
// route stay: a host's own route may lead here with them.
constexpr UploadUrl kUploadUrls[] = {
    // images
    {"/upload/sleepimage", 0},
    {"/upload/logo", 1},
    {"/upload/bg", 2},
    {"/upload/sub/bg", 3},
    {"/upload/sub/logo", 4},
    {"/upload/sub/png", 5},
    {"/upload/sub/setbgimage", 6},
    {"/upload/sub/setbaseimage", 7},
    {"/upload/priv", 8},
    // certificates
    {"/api/v1/security/https_setting", 0},
    {"/api/v1/security/ieee802_1x_setting", 1},
    {"/upload/security", 2},
    {"/upload/sub/security", 3},
    // archives
    {"/settings/import", 0},
    {"/upload/sub/upgrade", 1},
    {"/api/v1/settings/import", 2},
    // texts
    {"/upload/channel", 0},
    {"/upload/xyte", 1},
    {"/upload/scene", 2},
    {"/upload/edid", 3},
};

}  // namespace

int UploadUrlConversionFuncID(const char* url) {
  if (url == nullptr) return -1;
  for (const UploadUrl& row : kUploadUrls) {
    if (std::strcmp(row.url, url) == 0) return row.funcId;
  }
  return -1;
}
