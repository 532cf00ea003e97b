// Fuzzes the password rule and the word conversions.
#include <cstring>
#include <string>

#include "support/fuzz_host.h"

namespace {

// The promise of every writer: at most 8 bytes, terminated, or nothing.
void CheckWriter(int (*write)(int, char*), int (*read)(const char*), int value) {
  char word[8];
  std::memset(word, '#', sizeof word);
  FUZZ_CHECK(write(value, word) == 0);
  if (word[0] == '#') return;
  FUZZ_CHECK(std::memchr(word, '\0', sizeof word) != nullptr);
  FUZZ_CHECK(read(word) >= 0);
}

bool HasOneOf(const std::string& text, const char* set) {
  return text.find_first_of(set) != std::string::npos;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(std::string(fuzz::View(data, size)).c_str());
  const bool strong = HasOneOf(text, "abcdefghijklmnopqrstuvwxyz") &&
                      HasOneOf(text, "ABCDEFGHIJKLMNOPQRSTUVWXYZ") && HasOneOf(text, "0123456789") &&
                      HasOneOf(text, "!@#$%^&*()-_=+[]{}\\|;:'\",.<>/?");
  FUZZ_CHECK(DataFormatverification(text.c_str()) == (strong ? 0 : -1));
  for (auto* const read : {EnableStringToEnum, OnOffStringToEnum, YesNoStringToEnum, DhcpStringToEnum}) {
    const int value = read(text.c_str());
    FUZZ_CHECK(value >= -1 && value <= 1);
  }
  const int mode = SinkPowerModeStringToEnum(text.c_str());
  FUZZ_CHECK(mode == -1 || (mode >= 1 && mode <= 3));
  int value = 0;
  std::memcpy(&value, data, size < sizeof value ? size : sizeof value);
  CheckWriter(EnableEnumToString, EnableStringToEnum, value);
  CheckWriter(OnOffEnumToString, OnOffStringToEnum, value);
  CheckWriter(YesNoEnumToString, YesNoStringToEnum, value);
  CheckWriter(DhcpEnumToString, DhcpStringToEnum, value);
  CheckWriter(SinkPowerModeEnumToString, SinkPowerModeStringToEnum, value);
  return 0;
}
