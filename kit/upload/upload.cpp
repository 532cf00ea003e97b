// One upload: a temporary file that grows with the pieces and takes its place at the end.
#include "upload/upload.h"

#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

#include "base/log.h"
#include "sdkapi/extension.h"
#include "upload/rows.h"

namespace sdkkit {
namespace {

constexpr Log kLog{"upload"};
constexpr std::chrono::milliseconds kReportInterval{250};
constexpr int kRefused = -1;
constexpr int kNotAuthorised = -2;
// What a form adds to its file, by far.
constexpr uint64_t kFormOverhead = uint64_t{64} << 10;

using Reason = std::array<char, 256>;

// What content that is wrong gets while it arrives: firmware has a status of its own for it.
int AnswerToContent(const SdkKitUploadRow& row) { return row.family == kExtUploadFirmware ? 1 : kRefused; }

}  // namespace

Upload::Upload(std::shared_ptr<UploadPlace> place, const SdkKitUploadRow& row, const UploadRequest& request)
    : place_(std::move(place)), row_(row), request_(request), fileName_(SafeName(request.fileName)) {}

Upload::~Upload() = default;

int Upload::Begin() {
  if (!Ask(row_.begin, "")) return answer_;
  if (IsFolder(row_) && fileName_.empty()) return Refuse("it has no name");
  if (request_.announced > 0 && static_cast<uint64_t>(request_.announced) > row_.mostBytes + kFormOverhead) {
    return Refuse("it is too large");
  }
  if (!HasRoomInFolder()) return Refuse("the folder is full");
  if (!OpenFile()) return answer_;
  return 0;
}

bool Upload::OpenFile() {
  if (row_.pieces != nullptr) {
    pieces_ = {row_.pieces->begin(), EndPieces{row_.pieces->end}};
    if (!pieces_) return Fail("memory is short");
  }
  share_.emplace(place_->budget, row_.file == nullptr ? "" : Target());
  file_ = TempFile::Create(place_->temporary);
  return file_ || FailForStorage();
}

int Upload::Write(std::string_view piece) {
  if (answer_ != 0) return answer_;
  if (piece.size() > row_.mostBytes - bytes_) return Refuse("it is too large");
  if (!JudgePiece(piece)) return answer_;
  if (!share_->Grow(piece.size())) return Refuse("there is no room within the budget");
  if (!file_->Write(piece) && !FailForStorage()) return answer_;
  digest_.Add(piece);
  bytes_ += piece.size();
  if (Clock::now() - reported_ >= kReportInterval) Report();
  return 0;
}

int Upload::Finish() {
  if (answer_ != 0) return answer_;
  if (bytes_ < row_.leastBytes) return Refuse("it is too short");
  sha256_ = digest_.Finish();
  if (!Judge() || !Ask(row_.accept, file_->path())) return answer_;
  if (row_.file != nullptr && !TakePlace()) return answer_;
  stored_ = true;
  kLog.Audit({.action = "upload",
              .object = fileName_.c_str(),
              .target = request_.url.c_str(),
              .address = request_.address.c_str()},
             "%s uploaded \"%s\" (%s), %llu bytes, SHA-256 %s", request_.address.c_str(), fileName_.c_str(),
             request_.url.c_str(), static_cast<unsigned long long>(bytes_), sha256_.c_str());
  if (row_.stored != nullptr) {
    const std::string path = row_.file == nullptr ? file_->path() : Target();
    const SdkKitUpload told = Told(path);
    row_.stored(&told);
  }
  return 0;
}

int Upload::Refuse(const std::string& why, int answer) {
  if (answer_ != 0) return answer_;
  why_ = why;
  answer_ = answer;
  kLog.Audit({.action = "upload",
              .outcome = kKitAuditRefused,
              .object = fileName_.c_str(),
              .target = request_.url.c_str(),
              .reason = why_.c_str(),
              .address = request_.address.c_str()},
             "%s was refused \"%s\" (%s): %s", request_.address.c_str(), fileName_.c_str(),
             request_.url.c_str(), why_.c_str());
  // Its bytes are of no use any more, and its client may send on for long.
  file_.reset();
  share_.reset();
  pieces_.reset();
  return answer_;
}

void Upload::Tell() {
  if (!stored_) Refuse("it broke off");
  ended_ = true;
  Report();
}

SdkKitUpload Upload::Told(const std::string& path) const {
  return {.size = sizeof(SdkKitUpload),
          .ended = ended_ ? 1 : 0,
          .stored = stored_ ? 1 : 0,
          .reserved = 0,
          .row = &row_,
          .url = request_.url.c_str(),
          .token = request_.token.c_str(),
          .fileName = fileName_.c_str(),
          .extra = request_.extra ? request_.extra->c_str() : nullptr,
          .path = path.c_str(),
          .sha256 = sha256_.c_str(),
          .why = why_.c_str(),
          .bytes = bytes_};
}

void Upload::Report() {
  reported_ = Clock::now();
  if (place_->progress == nullptr) return;
  const std::string none;
  const SdkKitUpload told = Told(none);
  place_->progress(&told);
}

bool Upload::Ask(int (*function)(const SdkKitUpload*, char*, size_t), const std::string& path) {
  if (function == nullptr) return true;
  Reason why{};
  const SdkKitUpload told = Told(path);
  const int answer = function(&told, why.data(), why.size());
  if (answer == 0) return true;
  if (why[0] != '\0') return Fail(why.data(), answer);
  return Fail(answer == kNotAuthorised ? "not authorised" : "it is not wanted", answer);
}

bool Upload::Fail(const std::string& why, int answer) {
  Refuse(why, answer);
  return false;
}

bool Upload::FailForStorage() {
  const std::string reason = std::generic_category().message(errno);
  kLog.Error("an upload cannot be stored: %s", reason.c_str());
  return Fail("it cannot be stored: " + reason);
}

bool Upload::JudgePiece(std::string_view piece) {
  if (!pieces_) return true;
  Reason why{};
  if (row_.pieces->piece(pieces_.get(), piece.data(), piece.size(), why.data(), why.size()) == 0) return true;
  return Fail(why.data(), AnswerToContent(row_));
}

bool Upload::Judge() {
  Reason why{};
  if (row_.check == nullptr || row_.check(file_->path().c_str(), why.data(), why.size()) == 0) return true;
  return Fail(why.data());
}

// The bytes go to the disk before the lock is taken: that takes long, and others need not wait for it.
bool Upload::TakePlace() {
  if (!file_->Sync()) return FailForStorage();
  const std::lock_guard lock(place_->taking);
  if (!HasRoomInFolder()) return Fail("the folder is full");
  return file_->CommitTo(Target()) || FailForStorage();
}

bool Upload::HasRoomInFolder() const {
  if (!IsFolder(row_) || StatusOf(Target())) return true;
  return NamesIn(place_->root + "/" + row_.file).size() < row_.mostFiles;
}

std::string Upload::Target() const {
  return place_->root + "/" + row_.file + (IsFolder(row_) ? fileName_ : "");
}

}  // namespace sdkkit
