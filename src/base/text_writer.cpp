// Numbers in composed text; here once, as the conversion is long code.
#include "base/text_writer.h"

#include <charconv>

namespace sdkapi {
namespace {

constexpr std::size_t kLongestNumber = 20;

}  // namespace

TextWriter& TextWriter::AddNumber(int64_t number) {
  char digits[kLongestNumber];
  const std::to_chars_result result = std::to_chars(digits, digits + sizeof digits, number);
  return Add({digits, static_cast<std::size_t>(result.ptr - digits)});
}

TextWriter& TextWriter::AddUnsigned(uint64_t number, int base) {
  char digits[kLongestNumber];
  const std::to_chars_result result = std::to_chars(digits, digits + sizeof digits, number, base);
  return Add({digits, static_cast<std::size_t>(result.ptr - digits)});
}

}  // namespace sdkapi
