// JPEG pictures: checking them, and making them of raw ones.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "sdkapi/host.h"
#include "sdkapi/kit_preview.h"

namespace sdkkit {

inline constexpr std::size_t kMostPictureBytes = sizeof PreviewFrame::frame;

// One picture that is shared by all who show it.
using Jpeg = std::shared_ptr<const std::string>;

bool IsJpeg(std::string_view bytes);

struct RawShape {
  int format;
  uint32_t width;
  uint32_t height;

  bool operator==(const RawShape&) const = default;
  bool IsGood() const;
  std::size_t Bytes() const;
};

class Encoder {
 public:
  Encoder();

  // A picture that a stream can carry, of this quality or less; null when that cannot be had.
  Jpeg Encode(const RawShape& shape, const unsigned char* pixels, int quality);

 private:
  struct HandleDeleter {
    void operator()(void* handle) const;
  };

  // The length of the picture in buffer_, 0 on failure.
  std::size_t EncodeAt(const RawShape& shape, const unsigned char* pixels, int quality);

  std::unique_ptr<void, HandleDeleter> handle_;
  std::string buffer_;
};

}  // namespace sdkkit
