// The uploads that run now: one call after the other finds its upload here.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "upload/rows.h"
#include "upload/upload.h"

namespace sdkkit {

// What one call of an upload says, whichever record it came in.
struct UploadStep {
  const void* record;  // the same in all calls of an upload
  int family;
  int funcId;
  std::string_view piece;
  bool isFile;
  bool isFound;
  bool isFinal;
};

class UploadStore {
 public:
  // Throws std::invalid_argument, in words for a log, when the options cannot be used.
  explicit UploadStore(const SdkKitUploadOptions& options);

  // Carries out one step and gives the slot's answer. The first field with a file name is the file; plain
  // values are passed over, another file is refused. `requestOf()` is called at the beginning of a file.
  template <class RequestOf>
  int Run(const UploadStep& step, RequestOf requestOf) {
    const std::shared_ptr<Upload> upload = Find(step.record);
    if (step.isFinal) return upload ? upload->Finish() : RefuseForm();
    if (!step.isFile) return 0;
    if (!step.isFound) return upload ? upload->Write(step.piece) : -1;
    return upload ? upload->Refuse("it came with another file") : Begin(step, requestOf());
  }

  // The end of an upload, however it ended.
  void End(const void* record);

  const UploadRows& rows() const { return rows_; }
  const std::string& root() const { return place_->root; }
  void Fill(SdkKitUploadUsage& usage);

 private:
  struct Running {
    std::shared_ptr<Upload> upload;
    std::string client;
    bool hasPlace = false;
  };

  std::shared_ptr<Upload> Find(const void* record);
  int Begin(const UploadStep& step, const UploadRequest& request);
  std::shared_ptr<Upload> Add(const UploadStep& step, const UploadRequest& request,
                              const SdkKitUploadRow& row, std::string& fault);
  // Those of all clients without one; under the mutex.
  uint32_t CountPlaces(const std::string* client = nullptr) const;
  static int RefuseForm();

  UploadRows rows_;
  std::shared_ptr<UploadPlace> place_;
  const uint32_t mostAtOnce_;
  std::mutex mutex_;  // guards the uploads
  std::map<const void*, Running> uploads_;
};

}  // namespace sdkkit
