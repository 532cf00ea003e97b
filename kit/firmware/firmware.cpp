// Firmware: what the kit exports of it, and the slot.
#include <cstdio>
#include <memory>
#include <mutex>
#include <optional>

#include "base/file.h"
#include "base/guarded.h"
#include "base/log.h"
#include "base/record.h"
#include "base/request.h"
#include "base/upload_end.h"
#include "firmware/install.h"
#include "firmware/options.h"
#include "firmware/trial.h"
#include "sdkapi/extension.h"
#include "sdkapi/kit_firmware.h"

namespace sdkkit::firmware {
namespace {

constexpr Log kLog{"firmware"};
constexpr std::size_t kKeyFileBytes = 256;

// The slot's answers beside 0 and -2.
constexpr int kFailed = -1;      // 500
constexpr int kInvalidFile = 1;  // 406 as long as the file arrives

struct Client {
  std::string address = "?";
  bool asksForOlder = false;
};

Client CurrentClient() {
  const SdkAPIExtRequest request = CurrentRequest();
  Client client;
  if (request.size == 0) return client;
  client.address = request.address;
  client.asksForOlder = ("&" + std::string(request.query) + "&").find("&downgrade=1&") != std::string::npos;
  return client;
}

// An upload that has the device to itself until its end is told.
struct Upload {
  const UploadFileCtx* record;
  std::string address;
  Install install;
  bool refused = false;
};

std::mutex g_mutex;  // guards the four below; no function of the host's is called under it
std::shared_ptr<const Firmware> g_firmware;
std::shared_ptr<Upload> g_upload;
bool g_trial = false;
bool g_restartIsDue = false;

std::shared_ptr<const Firmware> Current() {
  const std::lock_guard lock(g_mutex);
  return g_firmware;
}

std::shared_ptr<Upload> UploadOf(const UploadFileCtx* record) {
  const std::lock_guard lock(g_mutex);
  return g_upload != nullptr && g_upload->record == record ? g_upload : nullptr;
}

// The device is free for the next one.
void Release(const UploadFileCtx* record) {
  std::shared_ptr<Upload> ended;
  const std::lock_guard lock(g_mutex);
  if (g_upload != nullptr && g_upload->record == record) ended.swap(g_upload);
}

// The trial is of another version: its start never came, or it has been taken back.
bool EndOthersTrial(const Firmware& firmware, const Trial& trial) {
  const char* const version = trial.version.c_str();
  if (trial.starts > 0) {
    kLog.Error("version %s did not confirm itself; version %s runs again", version, firmware.version.c_str());
    firmware.device.Tell(kKitFirmwareRolledBack, 0, trial.version, "it did not confirm itself", "");
  } else {
    kLog.Warning("the installation of version %s was interrupted", version);
  }
  return RemoveFile(firmware.device.state);
}

// Whether the process may go on.
bool CountStart(const Firmware& firmware, bool& onTrial) {
  auto trial = ReadTrial(firmware.device.state);
  onTrial = trial && trial->version == firmware.version;
  if (!trial) return true;
  if (!onTrial) return EndOthersTrial(firmware, *trial);
  if (trial->starts >= firmware.mostStarts) {
    const bool back = firmware.rollBack() == 0;
    kLog.Error("version %s has not confirmed itself in %u starts; going back %s", trial->version.c_str(),
               trial->starts, back ? "with the next start" : "has failed");
    return false;
  }
  ++trial->starts;
  kLog.Info("start %u of version %s on trial", trial->starts, trial->version.c_str());
  return WriteTrial(firmware.device.state, *trial);
}

void TellEnd(const SdkAPIExtUpload* upload) { Release(upload->file); }

const char* StartFault(const std::optional<SdkKitFirmwareOptions>& options) {
  if (!options) return "the options have an unknown size";
  if (const char* const fault = FaultOf(*options)) return fault;
  if (Current() != nullptr) return "it has been started before";
  return sodium_init() < 0 ? "there are no random numbers" : nullptr;
}

int Start(const SdkKitFirmwareOptions* given) {
  const auto options = ReadRecord(given);
  if (const char* const fault = StartFault(options)) {
    kLog.Error("no start: %s", fault);
    return -1;
  }
  const auto firmware = Copy(*options);
  bool onTrial = false;
  if (!CountStart(*firmware, onTrial)) return -1;
  OnUploadEnd(kExtUploadFirmware, TellEnd);
  const std::lock_guard lock(g_mutex);
  g_firmware = firmware;
  g_trial = onTrial;
  g_restartIsDue = false;
  return 0;
}

int Refuse(const std::string& address, const std::string& why, int answer) {
  kLog.Audit(
      {.action = "install", .outcome = kKitAuditRefused, .reason = why.c_str(), .address = address.c_str()},
      "firmware from %s refused: %s", address.c_str(), why.c_str());
  return answer;
}

// The device to itself for this upload; an empty text, or why not.
std::string Claim(const UploadFileCtx* record, const Firmware& firmware, const Client& client,
                  const char* token) {
  Rules rules = firmware.rules;
  rules.mayBeOlder = firmware.mayDowngrade && client.asksForOlder;
  const std::lock_guard lock(g_mutex);
  if (g_upload != nullptr) return g_upload->record == record ? "a second file" : "another one is under way";
  if (g_restartIsDue) return "an installed one waits for the restart";
  if (g_trial) return "the running firmware is still on trial";
  g_upload.reset(new Upload{record, client.address, {firmware.device, std::move(rules), token}});
  return "";
}

// A field of the form begins: the file, or a value that nobody wants.
int BeginField(const char* token, const UploadFileCtx* record, const Firmware& firmware) {
  const Client client = CurrentClient();
  if (firmware.may != nullptr) {
    if (const int answer = firmware.may(token); answer != 0)
      return Refuse(client.address, "not allowed", answer);
  }
  if (record->noFileName != 0) return 0;
  const std::string fault = Claim(record, firmware, client, token);
  if (fault.empty()) return 0;
  firmware.device.Tell(kKitFirmwareRefused, 0, "", fault, token);
  return Refuse(client.address, fault, kFailed);
}

int TakePiece(Upload& upload, const UploadFileCtx& record) {
  if (record.noFileName != 0) return 0;
  if (upload.refused) return kInvalidFile;
  const std::string fault = upload.install.Feed({record.data, static_cast<std::size_t>(record.length)});
  upload.refused = !fault.empty();
  if (!upload.refused) return 0;
  return Refuse(upload.address, fault, upload.install.IsDevicesFault() ? kFailed : kInvalidFile);
}

int Finish(Upload& upload) {
  const std::string fault = upload.refused ? "it was refused before" : upload.install.Finish();
  if (!fault.empty()) return Refuse(upload.address, fault, kFailed);
  kLog.Audit(
      {.action = "install", .object = upload.install.version().c_str(), .address = upload.address.c_str()},
      "firmware %s from %s installed", upload.install.version().c_str(), upload.address.c_str());
  const std::lock_guard lock(g_mutex);
  g_restartIsDue = true;
  return 0;
}

int TakeUpgrade(const char* token, UploadFileCtx* record) {
  return Guarded(kLog, [&] {
    const auto firmware = Current();
    if (firmware == nullptr) return kFailed;
    if (record->endFlag == 0 && record->pieceState == 0) return BeginField(token, record, *firmware);
    const auto upload = UploadOf(record);
    if (record->endFlag == 0) return upload != nullptr ? TakePiece(*upload, *record) : 0;
    if (upload == nullptr) return kFailed;
    Release(record);
    return Finish(*upload);
  });
}

int ReadKey(const char* path, unsigned char* key) {
  const auto text = ReadFile(path, kKeyFileBytes);
  std::size_t length = 0;
  const char* end = nullptr;
  if (!text ||
      sodium_hex2bin(key, kKitFirmwareKeySize, text->data(), text->size(), nullptr, &length, &end) != 0)
    return -1;
  return length == kKitFirmwareKeySize && text->find_first_not_of("\r\n", 2 * length) == std::string::npos
             ? 0
             : -1;
}

int Confirm(const Firmware& firmware) {
  const std::lock_guard lock(g_mutex);
  if (!g_trial) return 0;
  if (!RemoveFile(firmware.device.state)) {
    kLog.Error("the trial of version %s cannot be ended", firmware.version.c_str());
    return -1;
  }
  g_trial = false;
  kLog.Audit({.action = "confirm", .object = firmware.version.c_str()}, "version %s has confirmed itself",
             firmware.version.c_str());
  return 0;
}

}  // namespace
}  // namespace sdkkit::firmware

using sdkkit::Guarded;
namespace kit = sdkkit::firmware;

int SdkKitFirmware_Start(const SdkKitFirmwareOptions* options) {
  return Guarded(kit::kLog, [&] { return kit::Start(options); });
}

void SdkKitFirmware_Fill(SdkAPISerHandle* table) {
  if (table != nullptr) table->UpgradeCb = kit::TakeUpgrade;
}

int SdkKitFirmware_Trial(void) {
  const std::lock_guard lock(kit::g_mutex);
  return kit::g_trial ? 1 : 0;
}

int SdkKitFirmware_Confirm(void) {
  return Guarded(kit::kLog, [] {
    const auto firmware = kit::Current();
    return firmware != nullptr ? kit::Confirm(*firmware) : -1;
  });
}

int SdkKitFirmware_Key_Read(const char* path, unsigned char key[kKitFirmwareKeySize]) {
  if (path == nullptr || key == nullptr) return -1;
  return Guarded(kit::kLog, [&] { return kit::ReadKey(path, key); });
}

void SdkKitFirmware_Stop(void) {
  std::shared_ptr<kit::Upload> upload;
  std::shared_ptr<const kit::Firmware> firmware;
  const std::lock_guard lock(kit::g_mutex);
  upload.swap(kit::g_upload);
  firmware.swap(kit::g_firmware);
  kit::g_trial = false;
}
