// The uploads that the device takes: their kinds, limits and content. Who may was judged before, by the kit's
// rows of rights.
#include "slots/uploads.h"

#include <iterator>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <string_view>

#include "bus/events.h"
#include "model/refusals.h"
#include "sdkapi/extension.h"
#include "sdkapi/kit_archive.h"
#include "sdkapi/kit_upload.h"
#include "slots/certificates.h"
#include "slots/settings.h"
#include "slots/slot_guard.h"
#include "store/files.h"
#include "store/paths.h"

namespace sim {
namespace {

using nlohmann::json;

constexpr uint64_t kFilesBudget = uint64_t{256} << 20;

int StoreSettings(const SdkKitUpload* upload, char* why, size_t whySize) {
  return SdkKitArchive_Import(upload->path, why, whySize);
}

constexpr SdkKitUploadRow Row(int family, int funcId, uint64_t limit) {
  SdkKitUploadRow row{};
  row.family = family;
  row.funcId = funcId;
  row.mostBytes = limit;
  return row;
}

// The kit wants a place below its root.
constexpr const char* BelowFiles(const char* path) { return path + std::string_view(kFileDir).size() + 1; }

constexpr SdkKitUploadRow Kept(int family, int funcId, const FileKind& kind) {
  SdkKitUploadRow row = Row(family, funcId, kind.limit);
  row.file = BelowFiles(kind.path);
  row.check = kind.check;
  return row;
}

constexpr SdkKitUploadRow Picture(int funcId, const FileKind& kind) {
  return Kept(kExtUploadImage, funcId, kind);
}

constexpr SdkKitUploadRow Text(int funcId, const FileKind& kind) {
  return Kept(kExtUploadText, funcId, kind);
}

constexpr SdkKitUploadRow GivenBack(SdkKitUploadRow row, int download) {
  row.download = download;
  return row;
}

constexpr SdkKitUploadRow Logo() {
  SdkKitUploadRow row = GivenBack(Picture(kImageLogo, kLogo), kKitDownloadLogo);
  row.downloadOtherwise = kBuiltInLogo;
  row.downloadName = kLogo.kind;
  return row;
}

constexpr SdkKitUploadRow Settings(int funcId, const char* route) {
  SdkKitUploadRow row = Row(kExtUploadArchive, funcId, kSettingsLimit);
  row.route = route;
  row.accept = StoreSettings;
  return row;
}

constexpr SdkKitUploadRow Note() {
  SdkKitUploadRow row = Kept(kExtUploadCustom, 0, kNote);
  row.route = "/sim/upload$";
  row.downloadRoute = "/sim/download$";
  return row;
}

void KeepReason(const SdkKitUpload& upload) {
  if (upload.stored != 0) return ForgetRefusal(upload.token, upload.url);
  NoteRefusal(upload.token, upload.url, upload.why);
}

void PublishProgress(const SdkKitUpload* upload) {
  Guarded([&] {
    json event{{"type", "upload"},       {"route", upload->url},       {"file", upload->fileName},
               {"bytes", upload->bytes}, {"done", upload->ended != 0}, {"ok", upload->stored != 0}};
    if (upload->why[0] != '\0') event["reason"] = upload->why;
    if (upload->ended != 0) KeepReason(*upload);
    Publish(event);
    return 0;
  });
}

}  // namespace

void StartUploads() {
  const SdkKitUploadRow rows[] = {
      Logo(),
      Picture(kImageBackground, kBackground),
      Picture(kImageSubBackground, kBackground),
      Picture(kImageSubLogo, kLogo),
      Picture(kImageSubPng, kPng),
      Picture(kImageSubSetBackground, kSetBackground),
      Picture(kImageSubSetBase, kSetBase),
      Picture(kImagePrivilege, kPriv),
      Text(kTextXyte, kXyte),
      GivenBack(Text(kTextScene, kScene), kKitDownloadScene),
      GivenBack(Text(kTextEdid, kEdid), kKitDownloadEdid),
      Settings(kUploadUnnamed, "/upload/setting$"),
      Settings(kArchiveSubUpgrade, nullptr),
      Settings(kArchiveSettingsImport, nullptr),
      CertificateUpload(kCertificateHttps),
      PortCertificateUpload(),
      CertificateUpload(kCertificateSecurity),
      CertificateUpload(kCertificateSubSecurity),
      Note(),
  };
  SdkKitUploadOptions options{};
  options.size = sizeof options;
  options.rowSize = sizeof rows[0];
  options.rows = rows;
  options.rowCount = static_cast<uint32_t>(std::size(rows));
  options.root = kFileDir;
  options.temporary = kTempDir;
  options.budget = kFilesBudget;
  options.progress = PublishProgress;
  if (SdkKitUpload_Start(&options) != 0) throw std::runtime_error("uploads cannot be started");
}

void StopUploads() { SdkKitUpload_Stop(); }

void FillUploads(SdkAPISerHandle& table) { SdkKitUpload_Fill(&table); }

}  // namespace sim
