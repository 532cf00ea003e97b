// The upload slots: which routes take which files, and what becomes of them.
#include <algorithm>
#include <filesystem>
#include <memory>
#include <span>
#include <string>

#include "certificates.h"
#include "media.h"
#include "privileges.h"
#include "sdkapi/kit_archive.h"
#include "settings_archive.h"
#include "slot_guard.h"
#include "units.h"
#include "upload_checks.h"
#include "upload_registry.h"
#include "users.h"

namespace sim {
namespace {

PieceCheck CheckPem() {
  return [reader = std::make_shared<PemReader>()](std::string_view piece) {
    return reader->Feed(piece) ? 0 : kRefused;
  };
}

bool StorePrivilegePicture(Upload& upload, const UploadKind&) {
  const std::string path = PrivilegePath(upload.fileName());
  const bool hasRoom = StatusOf(path) || NamesIn(kPrivDir).size() < kMostPrivPictures;
  return !upload.fileName().empty() && hasRoom && upload.file().CommitTo(path);
}

bool StorePortCertificate(Upload& upload, const UploadKind& kind) {
  if (upload.extra().empty()) std::filesystem::remove(kPortNumberFile);
  if (!upload.extra().empty() && !ReplaceFile(kPortNumberFile, upload.extra())) return false;
  return ReplaceTarget(upload, kind);
}

bool StoreSettings(Upload& upload, const UploadKind&) {
  return SdkKitArchive_Import(upload.file().path().c_str(), nullptr, 0) == 0;
}

constexpr UploadKind Picture(int funcId, const char* route, const char* target) {
  return {funcId, route, Access::kWrite, kPictureLimit, nullptr, IsPicture, ReplaceTarget, target, nullptr};
}

constexpr UploadKind Text(int funcId, const char* route, const char* target) {
  return {funcId, route, Access::kWrite, kTextLimit, nullptr, IsJsonText, ReplaceTarget, target, nullptr};
}

constexpr UploadKind Settings(int funcId, const char* route) {
  return {funcId,  route,  Access::kAdministrator, kSettingsLimit, nullptr, IsAnything, StoreSettings,
          nullptr, nullptr};
}

constexpr UploadKind Certificate(int funcId, const char* route) {
  return {funcId,         route,
          Access::kWrite, kCertificateLimit,
          CheckPem,       IsCertificateWithKey,
          ReplaceTarget,  kServerCertificate,
          nullptr};
}

constexpr UploadKind kPictures[] = {
    Picture(kImageLogo, "/upload/logo", "files/logo"),
    Picture(kImageBackground, "/upload/bg", "files/bg"),
    Picture(kImageSubBackground, "/upload/sub/bg", "files/bg"),
    Picture(kImageSubLogo, "/upload/sub/logo", "files/logo"),
    Picture(kImageSubPng, "/upload/sub/png", "files/png"),
    Picture(kImageSubSetBackground, "/upload/sub/setbgimage", "files/setbgimage"),
    Picture(kImageSubSetBase, "/upload/sub/setbaseimage", "files/setbaseimage"),
    {kImagePrivilege, "/upload/priv", Access::kWrite, kPictureLimit, nullptr, IsPicture,
     StorePrivilegePicture, nullptr, nullptr},
};

constexpr UploadKind kTexts[] = {
    Text(kTextXyte, "/upload/xyte", "files/xyte.json"),
    Text(kTextScene, "/upload/scene", "files/scene.json"),
    {kTextEdid, "/upload/edid", Access::kWrite, kEdidLimit, nullptr, IsEdid, ReplaceTarget, "files/edid.bin",
     nullptr},
};

constexpr UploadKind kCertificates[] = {
    Certificate(kCertificateHttps, "/api/v1/security/https_setting"),
    {kCertificate8021x, "/api/v1/security/ieee802_1x_setting", Access::kWrite, kCertificateLimit, CheckPem,
     IsCertificateWithKey, StorePortCertificate, kPortCertificate, nullptr},
    Certificate(kCertificateSecurity, "/upload/security"),
    Certificate(kCertificateSubSecurity, "/upload/sub/security"),
};

constexpr UploadKind kArchives[] = {
    Settings(kUploadUnnamed, "/upload/setting"),
    Settings(kArchiveSubUpgrade, "/upload/sub/upgrade"),
    Settings(kArchiveSettingsImport, "/api/v1/settings/import"),
};

bool MayUpload(const UploadKind& kind, const char* token) {
  return kind.access == Access::kAdministrator ? IsAdministrator(token) : MayWrite(token);
}

int RunStep(const UploadKind& kind, const char* token, UploadFileCtx* ctx) {
  const UploadStep step = StepOf(*ctx);
  if (step.isFound && !step.isFinal && !MayUpload(kind, token)) return kNotAuthorised;
  return RunUploadStep(kind, step);
}

int RunFamily(std::span<const UploadKind> kinds, const char* token, int funcId, UploadFileCtx* ctx) {
  const auto kind = std::ranges::find(kinds, funcId, &UploadKind::funcId);
  // Some patterns of the routes take longer URIs, too: those name no file of ours.
  if (kind == kinds.end()) return kRefused;
  return RunStep(*kind, token, ctx);
}

}  // namespace

int UploadImage(const char* token, int funcId, UploadFileCtx* ctx) {
  return Guarded([&] { return RunFamily(kPictures, token, funcId, ctx); });
}

int UploadText(const char* token, int funcId, UploadFileCtx* ctx) {
  return Guarded([&] { return RunFamily(kTexts, token, funcId, ctx); });
}

int UploadCertificate(const char* token, int funcId, UploadFileCtx* ctx) {
  return Guarded([&] {
    // Said now, the client gets 406; after the form it would be 500.
    if (ctx->extra != nullptr && !IsPortNumber(ctx->extra)) return kRefused;
    return RunFamily(kCertificates, token, funcId, ctx);
  });
}

int UploadArchive(const char* token, int funcId, UploadFileCtx* ctx) {
  return Guarded([&] { return RunFamily(kArchives, token, funcId, ctx); });
}

}  // namespace sim
