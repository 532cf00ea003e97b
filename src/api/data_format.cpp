// The password's strength rule and the words of the device's settings.
#include <cstdio>
#include <cstring>

#include "sdkapi/values.h"

namespace {

constexpr const char* kSpecialCharacters = R"(!@#$%^&*()-_=+[]{}\|;:'",.<>/?)";

struct Word {
  int value;
  const char* text;
};

constexpr Word kEnable[] = {{1, "Enable"}, {0, "Disable"}};
constexpr Word kSinkPowerMode[] = {{1, "both"}, {2, "rs232"}, {3, "cec"}};
constexpr Word kOnOff[] = {{0, "off"}, {1, "on"}};
constexpr Word kYesNo[] = {{1, "y"}, {0, "n"}};
constexpr Word kDhcp[] = {{1, "dhcp"}, {0, "static"}};

constexpr std::size_t kLongestWord = 8;  // with its NUL; the room that callers promise

// An unknown value leaves dst untouched and is no failure.
template <std::size_t kWords>
int WriteWord(const Word (&words)[kWords], int value, char* dst) {
  if (dst == nullptr) return -1;
  for (const Word& word : words) {
    if (word.value == value) std::snprintf(dst, kLongestWord, "%s", word.text);
  }
  return 0;
}

template <std::size_t kWords>
int ReadWord(const Word (&words)[kWords], const char* text) {
  if (text == nullptr) return -1;
  for (const Word& word : words) {
    if (std::strcmp(word.text, text) == 0) return word.value;
  }
  return -1;
}

bool IsLower(char c) { return c >= 'a' && c <= 'z'; }
bool IsUpper(char c) { return c >= 'A' && c <= 'Z'; }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsSpecial(char c) { return std::strchr(kSpecialCharacters, c) != nullptr; }

bool IsOneOf(const char* text, const char* a, const char* b, const char* c) {
  return std::strcmp(text, a) == 0 || std::strcmp(text, b) == 0 || std::strcmp(text, c) == 0;
}

}  // namespace

int DataFormatverification(const char* text) {
  bool lower = false;
  bool upper = false;
  bool digit = false;
  bool special = false;
  for (; *text != '\0'; ++text) {
    lower = lower || IsLower(*text);
    upper = upper || IsUpper(*text);
    digit = digit || IsDigit(*text);
    special = special || IsSpecial(*text);
  }
  return lower && upper && digit && special ? 0 : -1;
}

int DataFormatStringToBool(const char* text) {
  if (IsOneOf(text, "y", "on", "Enable")) return 1;
  if (!IsOneOf(text, "n", "off", "Disable")) std::puts("Invalid Input ");
  return 0;
}

// Every value but 1 reads "Disable", unlike the other pairs, which leave an unknown value's buffer alone.
int EnableEnumToString(int value, char* dst) { return WriteWord(kEnable, value == 1 ? 1 : 0, dst); }
int SinkPowerModeEnumToString(int value, char* dst) { return WriteWord(kSinkPowerMode, value, dst); }
int OnOffEnumToString(int value, char* dst) { return WriteWord(kOnOff, value, dst); }
int YesNoEnumToString(int value, char* dst) { return WriteWord(kYesNo, value, dst); }
int DhcpEnumToString(int value, char* dst) { return WriteWord(kDhcp, value, dst); }

int EnableStringToEnum(const char* text) { return ReadWord(kEnable, text); }
int SinkPowerModeStringToEnum(const char* text) { return ReadWord(kSinkPowerMode, text); }
int OnOffStringToEnum(const char* text) { return ReadWord(kOnOff, text); }
int YesNoStringToEnum(const char* text) { return ReadWord(kYesNo, text); }
int DhcpStringToEnum(const char* text) { return ReadWord(kDhcp, text); }
