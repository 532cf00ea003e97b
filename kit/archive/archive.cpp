// The settings as one archive: what the kit exports of it, and the slots.
#include <condition_variable>
#include <cstdio>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <stop_token>
#include <thread>

#include "archive/change.h"
#include "archive/parts.h"
#include "archive/unpack.h"
#include "base/file.h"
#include "base/guarded.h"
#include "base/in_use.h"
#include "base/inside.h"
#include "base/log.h"
#include "base/record.h"
#include "base/request.h"
#include "sdkapi/extension.h"
#include "sdkapi/kit_archive.h"

namespace sdkkit::archive {
namespace {

constexpr Log kLog{"archive"};
constexpr const char* kCalledInside = "it was called by one of its own functions";
constexpr int kAttempts = 3;
constexpr std::chrono::seconds kNextAttempt{1};
// What a zip archive is longer than its content can be: heads, names, and blocks that cannot be compressed.
constexpr uint64_t kZipOverhead = uint64_t{4} << 20;

std::string ClientAddress() {
  const SdkAPIExtRequest request = CurrentRequest();
  return request.size != 0 ? request.address : "the device itself";
}

int Refuse(const std::string& reason, char* why, size_t whySize) {
  if (why != nullptr && whySize > 0) std::snprintf(why, whySize, "%s", reason.c_str());
  return -1;
}

// The settings of this process. One change, export or late attempt at a time.
class Settings {
 public:
  explicit Settings(Parts parts) : parts_(std::move(parts)) {}

  const Parts& parts() const { return parts_; }

  bool PrepareFolders() const;
  // Finishes what was written down before this start; false when it cannot be finished now.
  bool Recover();
  // Both: an empty text, or why it is not done.
  std::string Import(const std::string& path);
  std::string Restore();
  std::optional<std::string> Export(const Method& method);

 private:
  std::string WriteDown(Staging& staging);
  std::string Tidied(std::string fault) const;
  std::string Finish(const Change& change);
  void Done(const Change& change);
  bool TryAgain();
  void KeepTrying(const std::stop_token& stop);

  const Parts parts_;
  std::mutex mutex_;
  bool pending_ = false;                // guarded by mutex_
  std::condition_variable_any wakeUp_;  // of the late attempts
  std::jthread lateAttempts_;           // started by the first pending change
};

bool Settings::PrepareFolders() const {
  if (!MakeFolder(parts_.ChangeFolder()) || !MakeFolder(parts_.ExportFolder())) return false;
  RemoveTempFiles(parts_.ExportFolder());
  for (const std::string& name : NamesIn(parts_.ExportFolder()))
    RemoveFile(parts_.ExportFolder() + "/" + name);
  return true;
}

bool Settings::Recover() {
  const Inside<Settings> inside;
  const std::lock_guard lock(mutex_);
  if (!HasJournal(parts_)) return Staging::Begin(parts_, 0).has_value();
  const auto change = ReadJournal(parts_);
  std::string why = "its journal cannot be read";
  // What this program would refuse can never be finished, and was not begun by it.
  if (!change || !IsStillGood(parts_, *change, why)) {
    kLog.Error("an interrupted change is dropped: %s", why.c_str());
    return DropJournal(parts_) && Staging::Begin(parts_, 0);
  }
  if (CarryOut(parts_, *change) != Outcome::kDone) return false;
  Tidied("");
  kLog.Audit({.action = "finish"}, "an interrupted change of the settings was finished");
  Done(*change);
  return true;
}

std::string Settings::Import(const std::string& path) {
  const Inside<Settings> inside;
  const std::lock_guard lock(mutex_);
  if (pending_) return "an earlier change is not finished yet";
  auto staging = Staging::Begin(parts_, kKitArchiveImport);
  if (!staging) return "no room";
  std::string why;
  return Tidied(Unpack(parts_, path, *staging, why) ? WriteDown(*staging) : why);
}

std::string Settings::Restore() {
  const Inside<Settings> inside;
  const std::lock_guard lock(mutex_);
  if (pending_) return "an earlier change is not finished yet";
  auto staging = Staging::Begin(parts_, kKitArchiveRestore);
  if (!staging) return "no room";
  for (const Document& row : parts_.documents) {
    if (row.factory == nullptr) continue;
    const auto text = MakeText(row, row.factory);
    if (!text || !staging->StageText(row.name, *text)) return Tidied(row.name + " cannot be made");
  }
  for (const StoredFiles& row : parts_.files) {
    if (row.keep) continue;
    for (const std::string& entry : parts_.EntriesOf(row)) staging->Remove(entry);
  }
  return Tidied(WriteDown(*staging));
}

// What was staged takes room, and holds secrets.
std::string Settings::Tidied(std::string fault) const {
  if (!HasJournal(parts_)) Staging::Begin(parts_, 0);
  return fault;
}

std::string Settings::WriteDown(Staging& staging) {
  return staging.Commit() ? Finish(staging.change()) : "no room";
}

// A change of which nothing was done is given up; any other has to be finished, now or later.
std::string Settings::Finish(const Change& change) {
  Outcome outcome = CarryOut(parts_, change);
  if (outcome == Outcome::kUnchanged && DropJournal(parts_)) return "it could not be applied";
  for (int attempt = 1; attempt < kAttempts && outcome != Outcome::kDone; ++attempt)
    outcome = CarryOut(parts_, change);
  if (outcome == Outcome::kDone) {
    Done(change);
    return "";
  }
  pending_ = true;
  kLog.Error("a change of the settings waits for the storage to work again");
  if (!lateAttempts_.joinable())
    lateAttempts_ = std::jthread([this](const std::stop_token& stop) { KeepTrying(stop); });
  return "it is begun, and goes on when the storage works again";
}

void Settings::Done(const Change& change) {
  pending_ = false;
  if (parts_.done != nullptr) parts_.done(change.act);
}

// True when nothing is pending any more.
bool Settings::TryAgain() {
  const auto change = ReadJournal(parts_);
  if (!change || CarryOut(parts_, *change) != Outcome::kDone) return false;
  Tidied("");
  kLog.Audit({.action = "finish"}, "a change of the settings was finished late");
  Done(*change);
  return true;
}

void Settings::KeepTrying(const std::stop_token& stop) {
  const Inside<Settings> inside;
  std::unique_lock lock(mutex_);
  while (!stop.stop_requested()) {
    wakeUp_.wait_for(lock, stop, kNextAttempt, [] { return false; });
    if (pending_ && !stop.stop_requested()) Guarded(kLog, [this] { return TryAgain() ? 0 : -1; });
  }
}

std::optional<std::string> Settings::Export(const Method& method) {
  const Inside<Settings> inside;
  const std::lock_guard lock(mutex_);
  auto file = TempFile::Create(parts_.ExportFolder());
  std::string why = "no room";
  const std::string path = parts_.ExportFolder() + "/" + method.name + ".zip";
  if (file && Pack(parts_, method, *file, why) && file->CommitTo(path)) return path;
  kLog.Error("the export failed: %s", why.empty() ? "no room" : why.c_str());
  return std::nullopt;
}

InUse<Settings> g_settings;

int Start(const SdkKitArchiveOptions* given) {
  const auto options = ReadRecord(given);
  if (!options) throw std::invalid_argument("no start: the options have an unknown size");
  auto settings = std::make_unique<Settings>(CopyParts(*options));
  if (g_settings.IsStarted()) throw std::invalid_argument("no start: it has been started before");
  if (!settings->PrepareFolders() || !settings->Recover()) {
    kLog.Error("the staging folder cannot be used, or an interrupted change cannot be finished");
    return -1;
  }
  return g_settings.Start(std::move(settings)) ? 0 : -1;
}

// What a change does, and its line.
template <class Work>
int Run(const char* name, char* why, size_t whySize, Work work) {
  return Guarded(kLog, [&] {
    const auto settings = g_settings.Get();
    const std::string fault = !settings                ? "it has not been started"
                              : Inside<Settings>::Is() ? kCalledInside
                                                       : work(*settings);
    const std::string address = ClientAddress();
    if (fault.empty()) {
      kLog.Audit({.action = name}, "%s by %s", name, address.c_str());
      return 0;
    }
    kLog.Audit({.action = name, .outcome = kKitAuditRefused, .reason = fault.c_str()}, "%s by %s refused: %s",
               name, address.c_str(), fault.c_str());
    return Refuse(fault, why, whySize);
  });
}

int Export(std::string_view name, char* path, size_t pathSize) {
  if (Inside<Settings>::Is()) throw std::logic_error(std::string("no export: ") + kCalledInside);
  const auto settings = g_settings.Get();
  const Method* const method = settings ? settings->parts().FindMethod(name) : nullptr;
  const auto written = method != nullptr ? settings->Export(*method) : std::nullopt;
  if (!written || written->size() >= pathSize) return -1;
  std::snprintf(path, pathSize, "%s", written->c_str());
  kLog.Audit({.action = "export", .object = method->name.c_str()}, "export %s by %s", method->name.c_str(),
             ClientAddress().c_str());
  return 0;
}

int May(const char* token, int act, const char* method) {
  const auto settings = g_settings.Get();
  if (!settings) return -1;
  const int answer = settings->parts().may != nullptr ? settings->parts().may(token, act, method) : 0;
  if (answer != 0) {
    kLog.Audit({.action = act == kKitArchiveExport ? "export" : "restore",
                .outcome = kKitAuditRefused,
                .reason = "the role has no right to it"},
               "%s may not change or export the settings", ClientAddress().c_str());
  }
  return answer;
}

int DownloadSettings(const char* token, DownloadSettingInfo* info) {
  return Guarded(kLog, [&] {
    if (const int answer = May(token, kKitArchiveExport, info->method); answer != 0) return answer;
    std::snprintf(info->name, sizeof info->name, "%s", "settings.zip");
    return Export(info->method, info->path, sizeof info->path);
  });
}

int RestoreSettings(const char* token, CustomRestoreArg* /*arg*/) {
  return Guarded(kLog, [&] {
    const int answer = May(token, kKitArchiveRestore, "");
    return answer != 0 ? answer : SdkKitArchive_Restore();
  });
}

}  // namespace
}  // namespace sdkkit::archive

using sdkkit::Guarded;
namespace kit = sdkkit::archive;

int SdkKitArchive_Start(const SdkKitArchiveOptions* options) {
  return Guarded(kit::kLog, [&] { return kit::Start(options); });
}

void SdkKitArchive_Fill(SdkAPISerHandle* table) {
  if (table == nullptr) return;
  table->DownloadSettingFileCb = kit::DownloadSettings;
  table->CustomRestoreCb = kit::RestoreSettings;
}

int SdkKitArchive_Import(const char* path, char* why, size_t whySize) {
  return kit::Run("import", why, whySize, [&](kit::Settings& settings) -> std::string {
    return path != nullptr ? settings.Import(path) : "there is no path";
  });
}

int SdkKitArchive_Restore(void) {
  return kit::Run("restore", nullptr, 0, [](kit::Settings& settings) { return settings.Restore(); });
}

int SdkKitArchive_Export(const char* method, char* path, size_t pathSize) {
  if (path == nullptr || pathSize == 0) return -1;
  return Guarded(kit::kLog, [&] { return kit::Export(method != nullptr ? method : "", path, pathSize); });
}

uint64_t SdkKitArchive_Most(void) {
  const auto settings = kit::g_settings.Get();
  return settings ? settings->parts().most + kit::kZipOverhead : 0;
}

void SdkKitArchive_Stop(void) {
  if (sdkkit::Inside<kit::Settings>::Is() || !kit::g_settings.Stop())
    kit::kLog.Error("no stop: %s", kit::kCalledInside);
}
