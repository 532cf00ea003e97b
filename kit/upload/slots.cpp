// The exported functions: the life of the uploads, their slots and routes.
#include <array>
#include <iterator>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>

#include "base/audit.h"
#include "base/file.h"
#include "base/guarded.h"
#include "base/record.h"
#include "base/request.h"
#include "base/text.h"
#include "base/upload_end.h"
#include "sdkapi/extension.h"
#include "sdkapi/http.h"
#include "sdkapi/kit_upload.h"
#include "sdkapi/server.h"
#include "upload/store.h"

namespace sdkkit {
namespace {

constexpr Log kLog{"upload"};
constexpr int64_t kFormOverhead = 65536;

// The store that is in use. Slots hold it while they run, so that a stop can come at any time.
class InUse {
 public:
  std::shared_ptr<UploadStore> Get() {
    const std::lock_guard lock(mutex_);
    return store_;
  }
  std::shared_ptr<UploadStore> Exchange(std::shared_ptr<UploadStore> store) {
    const std::lock_guard lock(mutex_);
    return std::exchange(store_, std::move(store));
  }

 private:
  std::mutex mutex_;
  std::shared_ptr<UploadStore> store_;
};

InUse& TheStore() {
  static InUse store;
  return store;
}

template <class Record>
UploadStep StepOf(const Record& record, int family, int funcId) {
  return {.record = &record,
          .family = family,
          .funcId = funcId,
          .piece = {record.data, static_cast<size_t>(record.length)},
          .isFile = record.noFileName == 0,
          .isFound = record.pieceState == 0,
          .isFinal = record.endFlag != 0};
}

// A user, whatever the number of logins; where nobody has to log in, an address. Without the kit's accounts a
// login stands for its user.
std::string ClientOf(const SdkAPIExtRequest& asked, const char* token) {
  if (SdkAPISer_AuthenticationSwitch_Get() == 1) return asked.address;
  std::string user = RequesterOf(asked);
  return user.empty() ? token : user;
}

template <class Record>
UploadRequest RequestOf(const Record& record, const char* token) {
  const SdkAPIExtRequest asked = CurrentRequest();
  UploadRequest request;
  request.token = token;
  request.fileName = record.fileName;
  if constexpr (std::is_same_v<Record, UploadFileCtx>) {
    if (record.extra != nullptr) request.extra = record.extra;
  }
  if (asked.size == 0) return request;
  request.url = asked.path;
  request.route = asked.route;
  request.address = asked.address;
  request.client = ClientOf(asked, token);
  request.announced = asked.contentLength;
  return request;
}

template <class Record>
int Run(const Record& record, int family, int funcId, const char* token) {
  return Guarded(kLog, [&] {
    const auto store = TheStore().Get();
    if (!store) return -1;
    return store->Run(StepOf(record, family, funcId), [&] { return RequestOf(record, token); });
  });
}

template <int kFamily>
int Take(const char* token, int funcId, UploadFileCtx* ctx) {
  return Run(*ctx, kFamily, funcId, token);
}

int TakeFirmware(const char* token, UploadFileCtx* ctx) {
  return Run(*ctx, kExtUploadFirmware, kUploadUnnamed, token);
}

void OnEnd(const SdkAPIExtUpload* end) {
  Guarded(kLog, [&] {
    const void* const record = end->file != nullptr ? static_cast<const void*>(end->file) : end->custom;
    if (const auto store = TheStore().Get()) store->End(record);
    return 0;
  });
}

// Names the file of a row: the stored one, or what stands in for it.
std::string GivenBy(const UploadStore& store, const SdkKitUploadRow& row) {
  std::string path = store.root() + "/" + row.file;
  if (StatusOf(path)) return path;
  return row.downloadOtherwise != nullptr && StatusOf(row.downloadOtherwise) ? row.downloadOtherwise : "";
}

std::string NameFor(const SdkKitUploadRow& row, const std::string& path) {
  std::string name = row.downloadName != nullptr ? row.downloadName : path.substr(path.rfind('/') + 1);
  if (name.find('.') == std::string::npos) name += SdkKitContent_Picture_Suffix(path.c_str());
  return name;
}

template <size_t kNameSize, size_t kFileSize>
int Give(const UploadStore& store, const SdkKitUploadRow* row, char (&name)[kNameSize],
         char (&file)[kFileSize]) {
  const std::string path = row == nullptr ? "" : GivenBy(store, *row);
  if (path.empty() || path.size() >= kFileSize) return -1;
  CopyText(name, NameFor(*row, path));
  CopyText(file, path);
  return 0;
}

template <int kSlot>
int GiveBySlot(const char* /*token*/, DownloadFileInfo* info) {
  return Guarded(kLog, [&] {
    const auto store = TheStore().Get();
    return store ? Give(*store, store->rows().FindDownload(kSlot), info->name, info->path) : -1;
  });
}

struct SlotOfFamily {
  UploadSlot SdkAPISerHandle::*slot;
  UploadSlot function;
};

// In the order of SdkAPIExtFamily.
constexpr SlotOfFamily kUploadSlots[] = {
    {&SdkAPISerHandle::UploadImageFileCb, Take<kExtUploadImage>},
    {&SdkAPISerHandle::UploadTxtFileCb, Take<kExtUploadText>},
    {&SdkAPISerHandle::UploadZipFileCb, Take<kExtUploadArchive>},
    {&SdkAPISerHandle::UploadCertFileCb, Take<kExtUploadCertificate>},
};

struct SlotOfDownload {
  int download;
  DownloadSlot SdkAPISerHandle::*slot;
  DownloadSlot function;
};

constexpr SlotOfDownload kDownloadSlots[] = {
    {kKitDownloadScene, &SdkAPISerHandle::DownloadSceneFileCb, GiveBySlot<kKitDownloadScene>},
    {kKitDownloadEdid, &SdkAPISerHandle::DownloadEdidFileCb, GiveBySlot<kKitDownloadEdid>},
    {kKitDownloadLogo, &SdkAPISerHandle::DownloadImageFileCb, GiveBySlot<kKitDownloadLogo>},
    {kKitDownloadCustom, &SdkAPISerHandle::DownloadCustomCb, GiveBySlot<kKitDownloadCustom>},
};

// The library's limit keeps a client from sending what no row would take.
void LimitFamilies(const UploadRows& rows) {
  for (int family = kExtUploadImage; family < kExtUploadCustom; ++family) {
    const uint64_t most = rows.MostBytesOf(family);
    if (most != 0) SdkAPIExt_Upload_Limit_Set(family, static_cast<int64_t>(most) + kFormOverhead);
  }
}

void ListenToEnds(const UploadRows& rows, SdkAPIExtUploadEndHook hook) {
  for (int family = kExtUploadImage; family <= kExtUploadCustom; ++family) {
    if (rows.MostBytesOf(family) != 0) OnUploadEnd(static_cast<SdkAPIExtFamily>(family), hook);
  }
}

bool AddRoutes(const SdkKitUploadRow& row) {
  const bool upload = row.family == kExtUploadCustom;
  return (!upload || SdkAPISer_Custom_Upload_Api_Add(row.route, SdkKitUpload_Custom) == 0) &&
         (row.downloadRoute == nullptr ||
          SdkAPISer_Custom_Download_Api_Add(row.downloadRoute, SdkKitUpload_Custom_Download) == 0);
}

}  // namespace
}  // namespace sdkkit

int SdkKitUpload_Start(const SdkKitUploadOptions* options) {
  using namespace sdkkit;
  return Guarded(kLog, [&] {
    const auto known = ReadRecord(options);
    if (!known) throw std::invalid_argument("no start: the options have an unknown size");
    if (TheStore().Get()) throw std::invalid_argument("no start: it has been started before");
    const auto store = std::make_shared<UploadStore>(*known);
    LimitFamilies(store->rows());
    ListenToEnds(store->rows(), OnEnd);
    TheStore().Exchange(store);
    return 0;
  });
}

void SdkKitUpload_Fill(SdkAPISerHandle* table) {
  using namespace sdkkit;
  const auto store = TheStore().Get();
  if (!store) kLog.Error("no slot is filled: it has not been started");
  if (!store || table == nullptr) return;
  const UploadRows& rows = store->rows();
  for (size_t family = 0; family < std::size(kUploadSlots); ++family) {
    if (rows.MostBytesOf(static_cast<int>(family)) != 0)
      table->*kUploadSlots[family].slot = kUploadSlots[family].function;
  }
  if (rows.MostBytesOf(kExtUploadFirmware) != 0) table->UpgradeCb = TakeFirmware;
  for (const SlotOfDownload& row : kDownloadSlots) {
    if (rows.FindDownload(row.download) != nullptr) table->*row.slot = row.function;
  }
}

int SdkKitUpload_Routes_Add(void) {
  using namespace sdkkit;
  const auto store = TheStore().Get();
  if (!store) kLog.Error("no route is added: it has not been started");
  if (!store) return -1;
  bool good = true;
  for (const SdkKitUploadRow& row : store->rows().all()) good = AddRoutes(row) && good;
  return good ? 0 : -1;
}

int SdkKitUpload_Custom(mg_connection* conn, UploadCustomCtx* ctx) {
  using namespace sdkkit;
  // 1024 characters and no NUL are the most that are written.
  std::array<char, 1025> token{};
  GetHttpToken(conn, token.data());
  return Run(*ctx, kExtUploadCustom, kUploadUnnamed, token.data());
}

int SdkKitUpload_Custom_Download(mg_connection* /*conn*/, CustomDownloadInfo* info) {
  using namespace sdkkit;
  return Guarded(kLog, [&] {
    const auto store = TheStore().Get();
    if (!store) return -1;
    return Give(*store, store->rows().FindDownloadRoute(CurrentRequest().route), info->downloadName,
                info->filePath);
  });
}

int SdkKitUpload_Usage(SdkKitUploadUsage* usage) {
  using namespace sdkkit;
  return Guarded(kLog, [&] {
    const auto store = TheStore().Get();
    if (!store || !IsKnown(usage)) return -1;
    SdkKitUploadUsage told{};
    store->Fill(told);
    WriteRecord(told, usage);
    return 0;
  });
}

void SdkKitUpload_Stop(void) {
  using namespace sdkkit;
  const auto store = TheStore().Exchange(nullptr);
  if (!store) return;
  ListenToEnds(store->rows(), nullptr);
  for (int family = kExtUploadImage; family < kExtUploadCustom; ++family) {
    if (store->rows().MostBytesOf(family) != 0) SdkAPIExt_Upload_Limit_Set(family, 0);
  }
}
