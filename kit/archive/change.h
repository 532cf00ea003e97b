// A change of the settings on the disk: staged, written down in a journal, carried out.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "archive/parts.h"
#include "base/file.h"

namespace sdkkit::archive {

struct Step {
  enum class Kind { kDocument, kFile, kRemove };

  Kind kind;
  std::string entry;
  std::string staged;  // the name of what was staged; empty for kRemove

  bool operator==(const Step&) const = default;
};

// The steps of a change, in their order.
struct Change {
  int act = 0;
  std::vector<Step> steps;

  bool operator==(const Change&) const = default;
};

// How a change that was written down went on.
enum class Outcome {
  kDone,
  kUnchanged,  // nothing of it was done
  kPending     // it has begun, or may have, and has to be done again
};

// The folder of a change that is being prepared; whatever an earlier one left there goes.
class Staging {
 public:
  // Nothing when the disk refuses it.
  static std::optional<Staging> Begin(const Parts& parts, int act);

  // A file to be staged.
  std::optional<TempFile> NewFile() const { return TempFile::Create(folder_); }
  bool Stage(Step::Kind kind, const std::string& entry, TempFile file);
  bool StageText(const std::string& entry, std::string_view text);
  void Remove(const std::string& entry) { change_.steps.push_back({Step::Kind::kRemove, entry, ""}); }

  bool Holds(std::string_view entry) const;
  const Change& change() const { return change_; }

  // The point of no return: from here on the change is carried out, if need be after the next start. False:
  // it is not.
  bool Commit() const;

 private:
  explicit Staging(std::string folder) : folder_(std::move(folder)) {}

  std::string folder_;
  Change change_;
};

// The change that is written down; nothing when there is none, or none that can be read.
std::optional<Change> ReadJournal(const Parts& parts);
bool HasJournal(const Parts& parts);

// Takes back what was written down; false when the disk refuses it.
bool DropJournal(const Parts& parts);

// Carries a change out, the journal last. May be called again until it is done.
Outcome CarryOut(const Parts& parts, const Change& change);

// Whether each document of a change is still judged good; `why` says which is not.
bool IsStillGood(const Parts& parts, const Change& change, std::string& why);

}  // namespace sdkkit::archive
