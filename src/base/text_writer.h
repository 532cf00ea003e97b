// Composes text in a fixed array without a format: cheaper than printf for what every reply needs.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace sdkapi {

// What does not fit is cut; one place is kept for the NUL.
class TextWriter {
 public:
  template <std::size_t kSize>
  explicit TextWriter(char (&array)[kSize]) : begin_(array), at_(array), last_(array + kSize - 1) {}

  TextWriter& Add(std::string_view text) {
    const std::size_t length = std::min(text.size(), static_cast<std::size_t>(last_ - at_));
    at_ = std::copy_n(text.data(), length, at_);
    return *this;
  }

  TextWriter& AddNumber(int64_t number);
  TextWriter& AddUnsigned(uint64_t number, int base = 10);

  // A number below 100 with its leading zero.
  TextWriter& AddTwoDigits(int number) {
    const char digits[] = {static_cast<char>('0' + number / 10), static_cast<char>('0' + number % 10)};
    return Add({digits, sizeof digits});
  }

  // Ends the text and returns its length.
  std::size_t Finish() {
    *at_ = '\0';
    return static_cast<std::size_t>(at_ - begin_);
  }

 private:
  char* begin_;
  char* at_;
  char* last_;
};

}  // namespace sdkapi
