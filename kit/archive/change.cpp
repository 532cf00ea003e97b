// A change of the settings on the disk: staged, written down in a journal, carried out.
#include "archive/change.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <set>
#include <utility>

#include "base/json.h"
#include "base/log.h"

namespace sdkkit::archive {
namespace {

using nlohmann::json;

constexpr Log kLog{"archive"};
constexpr const char* kJournal = "/journal";
constexpr std::size_t kJournalBytes = std::size_t{4} << 20;
constexpr std::array<const char*, 3> kKinds{"document", "file", "remove"};

std::string JournalOf(const Parts& parts) { return parts.ChangeFolder() + kJournal; }

json ToJson(const Change& change) {
  json steps = json::array();
  for (const Step& step : change.steps) {
    steps.push_back({{"do", kKinds[static_cast<std::size_t>(step.kind)]},
                     {"entry", step.entry},
                     {"staged", step.staged}});
  }
  return {{"act", change.act}, {"steps", std::move(steps)}};
}

Step StepFrom(const json& step) {
  const auto* const kind = std::find(kKinds.begin(), kKinds.end(), step.at("do").get<std::string>());
  if (kind == kKinds.end()) throw std::out_of_range("an unknown step");
  return {static_cast<Step::Kind>(kind - kKinds.begin()), step.at("entry"), step.at("staged")};
}

std::string StagedPath(const Parts& parts, const Step& step) {
  return parts.ChangeFolder() + "/" + step.staged;
}

// A document to be applied.
struct Pending {
  const Document* row;
  std::string path;
};

bool Apply(const Pending& document) {
  const auto text = ReadFile(document.path, document.row->most);
  if (text && document.row->apply(text->c_str(), text->size()) == 0) return true;
  kLog.Error("%s could not be applied", document.row->name.c_str());
  return false;
}

Outcome ApplyTogether(const Parts& parts, const std::vector<Pending>& documents) {
  if (parts.begin() != 0) return Outcome::kUnchanged;
  const bool applied = std::ranges::all_of(documents, Apply);
  const int ended = parts.end(applied ? 1 : 0);
  if (!applied) return Outcome::kUnchanged;
  return ended == 0 ? Outcome::kDone : Outcome::kPending;
}

Outcome ApplyEach(const std::vector<Pending>& documents) {
  for (const Pending& document : documents) {
    if (!Apply(document)) return &document == &documents.front() ? Outcome::kUnchanged : Outcome::kPending;
  }
  return Outcome::kDone;
}

// In the order of the rows, whatever the archive's order is. A row is missing only where the program has
// changed between the journal and this start.
Outcome ApplyDocuments(const Parts& parts, const Change& change) {
  std::vector<Pending> documents;
  for (const Step& step : change.steps) {
    if (step.kind != Step::Kind::kDocument) continue;
    const Document* const row = parts.FindDocument(step.entry);
    if (row == nullptr) {
      kLog.Warning("nobody takes the document %s any more", step.entry.c_str());
    } else {
      documents.push_back({row, StagedPath(parts, step)});
    }
  }
  if (documents.empty()) return Outcome::kDone;
  std::ranges::sort(documents, {}, &Pending::row);
  return parts.begin == nullptr ? ApplyEach(documents) : ApplyTogether(parts, documents);
}

bool Exists(const std::string& path) {
  struct stat status {};
  return lstat(path.c_str(), &status) == 0;
}

// A file that is not staged any more was moved before the power went.
bool Move(const std::string& staged, const std::string& target) {
  if (!Exists(staged)) return true;
  return MakeFolder(FolderOf(target)) && std::rename(staged.c_str(), target.c_str()) == 0;
}

bool CarryOutFile(const Parts& parts, const Step& step) {
  if (parts.FindFiles(step.entry) == nullptr) return true;
  const std::string target = parts.PathOf(step.entry);
  if (step.kind == Step::Kind::kFile) return Move(StagedPath(parts, step), target);
  return unlink(target.c_str()) == 0 || errno == ENOENT;
}

bool CarryOutFiles(const Parts& parts, const Change& change) {
  std::set<std::string> folders{parts.ChangeFolder()};
  for (const Step& step : change.steps) {
    if (step.kind == Step::Kind::kDocument) continue;
    if (!CarryOutFile(parts, step)) return false;
    folders.insert(FolderOf(parts.PathOf(step.entry)));
  }
  return std::ranges::all_of(folders,
                             [](const std::string& folder) { return !Exists(folder) || SyncFolder(folder); });
}

}  // namespace

std::optional<Staging> Staging::Begin(const Parts& parts, int act) {
  Staging staging(parts.ChangeFolder());
  staging.change_.act = act;
  if (!MakeFolder(staging.folder_)) return std::nullopt;
  RemoveTempFiles(staging.folder_);
  for (const std::string& name : NamesIn(staging.folder_)) {
    if (unlink((staging.folder_ + "/" + name).c_str()) != 0) return std::nullopt;
  }
  return staging;
}

bool Staging::Stage(Step::Kind kind, const std::string& entry, TempFile file) {
  const std::string name = "part-" + std::to_string(change_.steps.size());
  if (!file.CommitTo(folder_ + "/" + name)) return false;
  change_.steps.push_back({kind, entry, name});
  return true;
}

bool Staging::StageText(const std::string& entry, std::string_view text) {
  auto file = NewFile();
  return file && file->Write(text) && Stage(Step::Kind::kDocument, entry, std::move(*file));
}

bool Staging::Holds(std::string_view entry) const {
  return std::ranges::any_of(change_.steps, [&](const Step& step) { return step.entry == entry; });
}

bool Staging::Commit() const {
  const std::string journal = folder_ + kJournal;
  if (ReplaceFile(journal, ToText(ToJson(change_)))) return true;
  RemoveFile(journal);
  // What could not be taken back holds.
  return Exists(journal);
}

bool HasJournal(const Parts& parts) { return Exists(JournalOf(parts)); }

std::optional<Change> ReadJournal(const Parts& parts) {
  const auto text = ReadFile(JournalOf(parts), kJournalBytes);
  const auto journal = text ? ParseJson(*text, {.bytes = kJournalBytes}) : std::nullopt;
  if (!journal) return std::nullopt;
  try {
    Change change{.act = journal->at("act"), .steps = {}};
    for (const json& step : journal->at("steps")) change.steps.push_back(StepFrom(step));
    return change;
  } catch (const std::exception& error) {
    kLog.Error("the journal cannot be read: %s", error.what());
    return std::nullopt;
  }
}

bool DropJournal(const Parts& parts) { return RemoveFile(JournalOf(parts)); }

Outcome CarryOut(const Parts& parts, const Change& change) {
  const Outcome documents = ApplyDocuments(parts, change);
  if (documents != Outcome::kDone) return documents;
  return CarryOutFiles(parts, change) && DropJournal(parts) ? Outcome::kDone : Outcome::kPending;
}

bool IsStillGood(const Parts& parts, const Change& change, std::string& why) {
  for (const Step& step : change.steps) {
    const Document* const row = step.kind == Step::Kind::kDocument ? parts.FindDocument(step.entry) : nullptr;
    const auto text = row != nullptr ? ReadFile(StagedPath(parts, step), row->most) : std::nullopt;
    if (!text) continue;
    if (const std::string fault = FaultOf(*row, *text); !fault.empty()) {
      why = step.entry + ": " + fault;
      return false;
    }
  }
  return true;
}

}  // namespace sdkkit::archive
