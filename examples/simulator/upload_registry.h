// The uploads that run now: one host call after the other finds its upload here.
#pragma once

#include <cstdint>
#include <string_view>

#include "upload.h"

namespace sim {

// What one call of an upload slot says, whichever record it came in.
struct UploadStep {
  const void* record;  // The record's address: one upload at a time uses it.
  int32_t* mark;  // A place in the record that is 0 in an upload's first call and kept during the upload.
  std::string_view fileName;
  std::string_view extra;
  std::string_view piece;
  bool isFile;
  bool isFound;
  bool isFinal;
};

template <typename Record>
UploadStep StepOf(Record& record) {
  return UploadStep{.record = &record,
                    .mark = &record.reserved,
                    .fileName = record.fileName,
                    .extra = record.extra == nullptr ? std::string_view() : std::string_view(record.extra),
                    .piece = std::string_view(record.data, static_cast<size_t>(record.length)),
                    .isFile = record.noFileName == 0,
                    .isFound = record.pieceState == 0,
                    .isFinal = record.endFlag != 0};
}

// Carries out one step and gives the slot's answer.
//
// The first field with a file name is the file; plain values are passed over, further files are refused.
// pieceState 1 is not used: CR LF inside a file sets it, too. An upload that ends without a final call is
// discarded when another one uses its record, at the latest when it has been silent for 60 seconds.
int RunUploadStep(const UploadKind& kind, const UploadStep& step);

// Starts and ends the watch over silent uploads. After the end every upload is refused.
void StartUploads();
void StopUploads();

}  // namespace sim
