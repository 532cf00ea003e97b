// Which kind of file an upload URL stands for.
#include <cstring>

#include "sdkapi/host.h"
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
    {"/upload/sleepimage", kImageSleep},
    {"/upload/logo", kImageLogo},
    {"/upload/bg", kImageBackground},
    {"/upload/sub/bg", kImageSubBackground},
    {"/upload/sub/logo", kImageSubLogo},
    {"/upload/sub/png", kImageSubPng},
    {"/upload/sub/setbgimage", kImageSubSetBackground},
    {"/upload/sub/setbaseimage", kImageSubSetBase},
    {"/upload/priv", kImagePrivilege},
    // certificates
    {"/api/v1/security/https_setting", kCertificateHttps},
    {"/api/v1/security/ieee802_1x_setting", kCertificate8021x},
    {"/upload/security", kCertificateSecurity},
    {"/upload/sub/security", kCertificateSubSecurity},
    // archives
    {"/settings/import", kArchiveSettings},
    {"/upload/sub/upgrade", kArchiveSubUpgrade},
    {"/api/v1/settings/import", kArchiveSettingsImport},
    // texts
    {"/upload/channel", kTextChannel},
    {"/upload/xyte", kTextXyte},
    {"/upload/scene", kTextScene},
    {"/upload/edid", kTextEdid},
};

}  // namespace

int UploadUrlConversionFuncID(const char* url) {
  if (url == nullptr) return kUploadUnnamed;
  for (const UploadUrl& row : kUploadUrls) {
    if (std::strcmp(row.url, url) == 0) return row.funcId;
  }
  return kUploadUnnamed;
}
