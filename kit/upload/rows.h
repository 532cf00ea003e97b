// What a host takes: its rows, copied and found sound.
#pragma once

#include <cstdint>
#include <list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "sdkapi/kit_upload.h"

namespace sdkkit {

class UploadRows {
 public:
  // Copies the rows with their texts; why one cannot be used, else an empty text.
  std::string Take(const SdkKitUploadOptions& options);

  // nullptr when nothing of that kind is taken.
  const SdkKitUploadRow* Find(int family, int funcId, std::string_view route) const;
  const SdkKitUploadRow* FindDownload(int slot) const;
  const SdkKitUploadRow* FindDownloadRoute(std::string_view route) const;

  const std::vector<SdkKitUploadRow>& all() const { return rows_; }
  // The most bytes of a file of this family; 0 without a row for it.
  uint64_t MostBytesOf(int family) const;
  // The most bytes of a file that is not kept.
  uint64_t MostPassing() const;

 private:
  const char* Keep(const char* text);

  std::vector<SdkKitUploadRow> rows_;
  std::list<std::string> texts_;
};

// Whether each file of this row has a name that its client chose.
bool IsFolder(const SdkKitUploadRow& row);

}  // namespace sdkkit
