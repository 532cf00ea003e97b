// One upload: a temporary file that grows with the pieces and replaces the old file at the end.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "files.h"

namespace sim {

class Upload;

// Looks at the pieces on their way to the disk; a result other than 0 is the slot's answer and ends the
// upload.
using PieceCheck = std::function<int(std::string_view piece)>;

enum class Access { kWrite, kAdministrator };

// What differs between the files that can be uploaded.
struct UploadKind {
  int funcId;
  const char* route;
  Access access;
  size_t limit;
  PieceCheck (*makePieceCheck)();                 // May be null: the content is looked at when it is whole.
  bool (*isAcceptable)(const std::string& path);  // The whole file, before it is stored.
  bool (*store)(Upload& upload, const UploadKind& kind);
  const char* target;       // Where ReplaceTarget puts the file; null for kinds with a store of their own.
  void (*reportFailure)();  // May be null: tells the clients more than the upload event does.
};

class Upload {
 public:
  // Empty pointer when no temporary file can be made. `extra` is kept for the kind's store function.
  static std::unique_ptr<Upload> Begin(const UploadKind& kind, std::string_view fileName,
                                       std::string_view extra);

  // An upload that did not finish takes its temporary file with it and is reported as failed.
  ~Upload();
  Upload(const Upload&) = delete;
  Upload& operator=(const Upload&) = delete;

  // The slot's answer: 0, -1 when the file is too long or cannot be written, or that of the piece check.
  int Write(std::string_view piece);
  // Checks and stores the whole file: 0 or -1. The old file stays when it is not 0.
  int Finish();

  TempFile& file() { return file_; }
  const std::string& fileName() const { return fileName_; }
  const std::string& extra() const { return extra_; }

 private:
  using Clock = std::chrono::steady_clock;

  Upload(const UploadKind& kind, TempFile file, std::string_view fileName, std::string_view extra);
  void Report(bool done);

  const UploadKind& kind_;
  TempFile file_;
  std::string fileName_;
  std::string extra_;
  PieceCheck pieceCheck_;
  uint64_t bytes_ = 0;
  bool stored_ = false;
  Clock::time_point reported_ = Clock::now();
};

// The usual way to store: rename over kind.target.
bool ReplaceTarget(Upload& upload, const UploadKind& kind);

}  // namespace sim
