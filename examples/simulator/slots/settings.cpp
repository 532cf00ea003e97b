// The settings as one archive: which documents and files they are made of.
#include "slots/settings.h"

#include <sdkapi/kit_archive.h>

#include <array>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "bus/events.h"
#include "model/presets.h"
#include "model/privileges.h"
#include "model/unit_document.h"
#include "model/units.h"
#include "model/users.h"
#include "slots/slot_guard.h"
#include "store/database.h"
#include "store/files.h"

namespace sim {
namespace {

using nlohmann::json;

enum Method : uint32_t { kFull = 1, kUsers = 2, kUnits = 4 };

// The first one is meant when a client names none.
constexpr std::array<SdkKitArchiveMethod, 3> kMethods{
    {{"full", kFull, 0}, {"users", kUsers, 0}, {"units", kUnits, 0}}};

// A part of the database as one JSON document.
struct Section {
  json (*make)();
  json (*factory)();
  std::string (*fault)(const json& document);
  bool (*store)(const json& document);
};

// Told before, at once: with the users all logins end, and nobody would hear it.
json RestoredUsers() {
  PublishNow({{"type", "restored"}});
  return FactoryUsers();
}

constexpr Section kUnitSection{ExportUnits, FactoryUnits, UnitsFault, StoreUnits};
constexpr Section kUserSection{ExportUsers, RestoredUsers, UsersFault, StoreUsers};

constexpr Section kPresetSection{ListPresets, NoPresets, PresetsFault, ReplacePresets};

json NoBindings() { return json::object(); }

constexpr Section kBindingSection{ExportBindings, NoBindings, BindingsFault, StoreBindings};

int Write(SdkKitArchiveText* text, const json& document) {
  const std::string bytes = document.dump(2);
  return SdkKitArchive_Text_Add(text, bytes.data(), bytes.size());
}

template <const Section& kSection>
int Make(SdkKitArchiveText* text) {
  return Guarded([&] { return Write(text, kSection.make()); });
}

template <const Section& kSection>
int MakeFactory(SdkKitArchiveText* text) {
  return Guarded([&] { return Write(text, kSection.factory()); });
}

// The kit has found the text to be JSON of a bounded depth.
template <const Section& kSection>
int Check(const char* text, size_t length, char* why, size_t whySize) {
  return Guarded([&] {
    const std::string fault = kSection.fault(json::parse(text, text + length));
    std::snprintf(why, whySize, "%s", fault.c_str());
    return fault.empty() ? 0 : kRefused;
  });
}

template <const Section& kSection>
int Apply(const char* text, size_t length) {
  return Guarded([&] { return kSection.store(json::parse(text, text + length)) ? 0 : kRefused; });
}

template <const Section& kSection>
SdkKitArchiveDocument Document(const char* name, uint32_t methods) {
  return {name, methods, 0, Make<kSection>, MakeFactory<kSection>, Check<kSection>, Apply<kSection>};
}

// All documents are one change of the database.
struct WholeChange {
  std::unique_lock<std::recursive_mutex> lock = OneChange();
  Transaction transaction{TheDatabase()};
};

std::optional<WholeChange> change;

int BeginChange() {
  return Guarded([] {
    change.emplace();
    return 0;
  });
}

int EndChange(int commit) {
  const int result = Guarded([&] {
    if (commit != 0) change->transaction.Commit();
    return 0;
  });
  change.reset();
  return result;
}

std::vector<SdkKitArchiveFile> Files() {
  std::vector<SdkKitArchiveFile> files;
  for (const FileKind& kind : FileKinds())
    files.push_back({kind.path, kFull, 0, kind.limit, kind.check, 0, 0});
  files.push_back({kPriv.path, kFull, kMostPrivPictures, kPriv.limit, kPriv.check, 0, 0});
  files.push_back({kNote.path, 0, 0, 0, nullptr, 0, 0});  // in no export, but gone after a restore
  return files;
}

// The rows of rights cannot know which export is meant: those with password hashes are the administrators'.
int May(const char* token, int act, const char* method) {
  return Guarded([&] {
    const bool isForAll = act != kKitArchiveExport || std::string_view(method) == "units";
    return isForAll || MayAdminister(token) ? 0 : kNotAuthorised;
  });
}

void Done(int act) {
  Guarded([&] {
    if (act != kKitArchiveRestore) {
      PublishUnits();
      PublishUnitList();
      PublishPresets();
    }
    return 0;
  });
}

}  // namespace

void StartSettings() {
  // In the order in which they are applied: pictures are bound to units.
  const std::array documents{Document<kUnitSection>("units.json", kFull | kUnits),
                             Document<kPresetSection>("presets.json", kFull | kUnits),
                             Document<kUserSection>("users.json", kFull | kUsers),
                             Document<kBindingSection>("privileges.json", kFull)};
  const std::vector<SdkKitArchiveFile> files = Files();
  SdkKitArchiveOptions options{};
  options.size = sizeof options;
  options.format = "sim-settings-1";
  options.methods = kMethods.data();
  options.methodCount = kMethods.size();
  options.methodSize = sizeof(SdkKitArchiveMethod);
  options.documentSize = sizeof(SdkKitArchiveDocument);
  options.fileSize = sizeof(SdkKitArchiveFile);
  options.documents = documents.data();
  options.documentCount = documents.size();
  options.files = files.data();
  options.fileCount = files.size();
  options.begin = BeginChange;
  options.end = EndChange;
  options.may = May;
  options.done = Done;
  if (SdkKitArchive_Start(&options) != 0) throw std::runtime_error("the settings cannot be made whole");
}

void StopSettings() { SdkKitArchive_Stop(); }

void FillSettings(SdkAPISerHandle& table) { SdkKitArchive_Fill(&table); }

}  // namespace sim
