// The routes that take uploads, and the bookkeeping of what a host received through them.
#pragma once

#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "shared.h"

namespace integration {

// How a route answers an upload that it refuses.
enum class Refusal { kPlain, kCertificate, kInvalidFileCertificate, kFirmware, kCustom };

struct UploadRoute {
  const char* target;
  const char* slot;
  int funcId;  // custom uploads have none
  Refusal refusal;
};

inline const std::vector<UploadRoute>& UploadRoutes() {
  static const std::vector<UploadRoute> routes{
      {"/upload/logo", "UploadImageFileCb", 1, Refusal::kPlain},
      {"/upload/bg", "UploadImageFileCb", 2, Refusal::kPlain},
      {"/upload/sub/bg", "UploadImageFileCb", 3, Refusal::kPlain},
      {"/upload/sub/logo", "UploadImageFileCb", 4, Refusal::kPlain},
      {"/upload/sub/png", "UploadImageFileCb", 5, Refusal::kPlain},
      {"/upload/sub/setbgimage", "UploadImageFileCb", 6, Refusal::kPlain},
      {"/upload/sub/setbaseimage", "UploadImageFileCb", 7, Refusal::kPlain},
      {"/upload/priv", "UploadImageFileCb", 8, Refusal::kPlain},
      {"/upload/xyte", "UploadTxtFileCb", 1, Refusal::kPlain},
      {"/upload/scene", "UploadTxtFileCb", 2, Refusal::kPlain},
      {"/upload/edid", "UploadTxtFileCb", 3, Refusal::kPlain},
      {"/upload/sub/upgrade", "UploadZipFileCb", 1, Refusal::kPlain},
      {"/api/v1/settings/import", "UploadZipFileCb", 2, Refusal::kPlain},
      {"/upload/setting", "UploadZipFileCb", -1, Refusal::kPlain},
      {"/api/v1/security/https_setting", "UploadCertFileCb", 0, Refusal::kInvalidFileCertificate},
      {"/api/v1/security/ieee802_1x_setting", "UploadCertFileCb", 1, Refusal::kInvalidFileCertificate},
      {"/upload/security", "UploadCertFileCb", 2, Refusal::kCertificate},
      {"/upload/sub/security", "UploadCertFileCb", 3, Refusal::kCertificate},
      {"/api/v1/fw_upload", "UpgradeCb", -1, Refusal::kFirmware},
      {"/custom/upload", "CustomUpload", 0, Refusal::kCustom},
  };
  return routes;
}

struct ReceivedField {
  std::string name;
  std::string fileName;
  std::string data;
  std::vector<int> states;
};

struct ReceivedUpload {
  std::vector<ReceivedField> fields;
  int finalCalls = 0;
};

// Puts the steps of uploads together; for use as the host's upload hook.
class Receiver {
 public:
  int Take(const UploadStep& step) {
    const std::lock_guard lock(mutex_);
    ReceivedUpload& upload = running_[step.record];
    if (step.endFlag == 1) {
      ++upload.finalCalls;
      finished_.push_back(std::move(upload));
      running_.erase(step.record);
    } else if (step.pieceState == 0) {
      upload.fields.push_back({step.name, step.fileName, "", {}});
    } else if (!upload.fields.empty()) {
      upload.fields.back().data += step.data;
      upload.fields.back().states.push_back(step.pieceState);
    }
    return 0;
  }

  std::vector<ReceivedUpload> Finished() const {
    const std::lock_guard lock(mutex_);
    return finished_;
  }

  void Clear() {
    const std::lock_guard lock(mutex_);
    running_.clear();
    finished_.clear();
  }

 private:
  mutable std::mutex mutex_;
  std::map<const void*, ReceivedUpload> running_;
  std::vector<ReceivedUpload> finished_;
};

}  // namespace integration
