// One upload: a temporary file that grows with the pieces and replaces the old file at the end.
#include "upload.h"

#include <nlohmann/json.hpp>
#include <utility>

#include "events.h"

namespace sim {
namespace {

constexpr std::chrono::milliseconds kReportInterval{250};

}  // namespace

std::unique_ptr<Upload> Upload::Begin(const UploadKind& kind, std::string_view fileName,
                                      std::string_view extra) {
  auto file = TempFile::Create();
  if (!file) return nullptr;
  return std::unique_ptr<Upload>(new Upload(kind, std::move(*file), fileName, extra));
}

Upload::Upload(const UploadKind& kind, TempFile file, std::string_view fileName, std::string_view extra)
    : kind_(kind),
      file_(std::move(file)),
      fileName_(SafeFileName(fileName)),
      extra_(extra),
      pieceCheck_(kind.makePieceCheck == nullptr ? PieceCheck() : kind.makePieceCheck()) {}

Upload::~Upload() {
  try {
    Report(true);
    if (!stored_ && kind_.reportFailure != nullptr) kind_.reportFailure();
  } catch (...) {  // Clients miss an event; the temporary file goes all the same.
  }
}

int Upload::Write(std::string_view piece) {
  if (piece.size() > kind_.limit - bytes_) return -1;
  if (pieceCheck_) {
    const int answer = pieceCheck_(piece);
    if (answer != 0) return answer;
  }
  if (!file_.Write(piece)) return -1;
  bytes_ += piece.size();
  if (Clock::now() - reported_ >= kReportInterval) Report(false);
  return 0;
}

int Upload::Finish() {
  stored_ = kind_.isAcceptable(file_.path()) && kind_.store(*this, kind_);
  return stored_ ? 0 : -1;
}

void Upload::Report(bool done) {
  reported_ = Clock::now();
  Publish({{"type", "upload"},
           {"route", kind_.route},
           {"file", fileName_},
           {"bytes", bytes_},
           {"done", done},
           {"ok", done && stored_}});
}

bool ReplaceTarget(Upload& upload, const UploadKind& kind) { return upload.file().CommitTo(kind.target); }

}  // namespace sim
