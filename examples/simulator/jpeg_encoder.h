// Makes JPEG pictures of test patterns.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "test_pattern.h"

namespace sim {

using Jpeg = std::vector<unsigned char>;

class JpegEncoder {
 public:
  JpegEncoder();

  // A picture of at most `room` bytes; null when that cannot be had.
  std::shared_ptr<const Jpeg> Encode(const TestPattern& pattern, size_t room);

 private:
  struct HandleDeleter {
    void operator()(void* handle) const;
  };

  // The length of the picture in buffer_, 0 on failure.
  size_t EncodeAt(const TestPattern& pattern, int quality);

  std::unique_ptr<void, HandleDeleter> handle_;
  Jpeg buffer_;
};

}  // namespace sim
