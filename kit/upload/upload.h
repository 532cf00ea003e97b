// One upload: a temporary file that grows with the pieces and takes its place at the end.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "base/file.h"
#include "sdkapi/kit_upload.h"
#include "upload/budget.h"
#include "upload/digest.h"

namespace sdkkit {

// What all uploads share.
struct UploadPlace {
  UploadPlace(std::string rootFolder, std::string temporaryFolder, uint64_t limit, uint64_t passing,
              void (*told)(const SdkKitUpload* upload))
      : root(std::move(rootFolder)),
        temporary(std::move(temporaryFolder)),
        budget(root, limit, passing),
        progress(told) {}

  const std::string root;
  const std::string temporary;
  Budget budget;
  std::mutex taking;  // held while a file takes its place
  void (*const progress)(const SdkKitUpload* upload);
};

// Who asks, and for what.
struct UploadRequest {
  std::string url;
  std::string route;
  std::string token;
  std::string address;
  std::string client;    // whose share of the places it takes
  std::string fileName;  // as the client sent it
  std::optional<std::string> extra;
  int64_t announced = -1;  // bytes of the whole form; below 0: unknown
};

class Upload {
 public:
  Upload(std::shared_ptr<UploadPlace> place, const SdkKitUploadRow& row, const UploadRequest& request);
  ~Upload();
  Upload(const Upload&) = delete;
  Upload& operator=(const Upload&) = delete;

  // The slot's answers: 0, or that of the refusal. What comes behind a refusal gets the same answer.
  int Begin();
  int Write(std::string_view piece);
  int Finish();

  // Refuses it for a reason that lies outside of it.
  int Refuse(const std::string& why, int answer = -1);
  // Tells its end: exactly once, behind everything else.
  void Tell();

 private:
  using Clock = std::chrono::steady_clock;
  struct EndPieces {
    void (*end)(void* state);
    void operator()(void* state) const { end(state); }
  };

  SdkKitUpload Told(const std::string& path) const;
  void Report();
  bool Ask(int (*function)(const SdkKitUpload*, char*, size_t), const std::string& path);
  bool OpenFile();
  bool Fail(const std::string& why, int answer = -1);
  bool FailForStorage();
  bool JudgePiece(std::string_view piece);
  bool Judge();
  bool TakePlace();
  bool HasRoomInFolder() const;
  std::string Target() const;

  const std::shared_ptr<UploadPlace> place_;
  const SdkKitUploadRow& row_;
  const UploadRequest request_;
  const std::string fileName_;
  std::optional<Budget::Share> share_;
  std::optional<TempFile> file_;
  std::unique_ptr<void, EndPieces> pieces_{nullptr, EndPieces{nullptr}};
  Digest digest_;
  std::string sha256_;
  std::string why_;
  int answer_ = 0;
  uint64_t bytes_ = 0;
  bool ended_ = false;
  bool stored_ = false;
  Clock::time_point reported_ = Clock::now();
};

}  // namespace sdkkit
