// The text of a log line: nothing in it can be taken for another line, and no secret of the library is kept.
#include "runner/log_text.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>

namespace sdkkit {
namespace {

TEST(AsOneLine, ShowsWhatCouldMislead) {
  const std::map<std::string, std::string> expected = {
      {"user kim", "user kim"},
      {"a\nb\r\t", "a\\x0ab\\x0d\\x09"},
      {"C:\\x0a", "C:\\\\x0a"},
      {"gr\xc3\xbc\xc3\x9f \xf0\x9f\x93\xb7", "gr\xc3\xbc\xc3\x9f \xf0\x9f\x93\xb7"},
      {"\x1b[31m\x7f", "\\x1b[31m\\x7f"},
      {"\xc2\x85|\xe2\x80\xa8|\xe2\x80\xae|\xe2\x81\xa6",
       "\\xc2\\x85|\\xe2\\x80\\xa8|\\xe2\\x80\\xae|\\xe2\\x81\\xa6"},
      {"\xff|\xc3|\xc0\xaf|\xed\xa0\x80|\xf4\x90\x80\x80",
       "\\xff|\\xc3|\\xc0\\xaf|\\xed\\xa0\\x80|\\xf4\\x90\\x80\\x80"},
      {"end\xe2\x80", "end\\xe2\\x80"},
      {std::string("a\0b", 3), "a\\x00b"},
  };
  for (const auto& [text, line] : expected) EXPECT_EQ(AsOneLine(text), line);
}

TEST(AsOneLine, IsBounded) {
  EXPECT_EQ(AsOneLine(std::string(5000, 'x')), std::string(kMostLineBytes, 'x'));
  EXPECT_LE(AsOneLine(std::string(5000, '\n')).size(), kMostLineBytes + 3);
}

TEST(WithoutSecrets, MasksMembersOfJson) {
  EXPECT_EQ(WithoutSecrets(R"({"code":"0","token":"abc\"def","name":"kim"})"),
            R"({"code":"0","token":"***","name":"kim"})");
  EXPECT_EQ(WithoutSecrets(R"({"username":"kim", "Password" : "x", "newpassword":"y"})"),
            R"({"username":"kim", "Password" : "***", "newpassword":"***"})");
  EXPECT_EQ(WithoutSecrets(R"("token":"never ends)"), R"("token":"***)");
  EXPECT_EQ(WithoutSecrets(R"({"type":"unit","was":"token"})"), R"({"type":"unit","was":"token"})");
}

TEST(WithoutSecrets, ATokenThatHoldsTheTextBehindItIsMaskedWhole) {
  EXPECT_EQ(WithoutSecrets("req http token a [b [sdkapi,83]"), "req http token *** [sdkapi,83]");
  EXPECT_EQ(WithoutSecrets("GetLoginHandle err a!!!!b!!!! [sdkapi,1]"),
            "GetLoginHandle err ***!!!! [sdkapi,1]");
}

TEST(WithoutSecrets, AWholeLineWithoutItsEndIsMaskedToTheEnd) {
  EXPECT_EQ(WithoutSecrets("userid [abc"), "userid [***");
}

// The formats of all lines of the library that hold a text.
std::set<std::string> FormatsWithTexts() {
  std::set<std::string> formats;
  const std::regex line(R"((?:\(\)|\blog)\(\"([^\"]*%[.*]*s[^\"]*)\")");
  for (const auto& entry : std::filesystem::recursive_directory_iterator(SDKAPI_SOURCES "/src")) {
    if (!entry.is_regular_file()) continue;
    std::ostringstream source;
    source << std::ifstream(entry.path()).rdbuf();
    const std::string text = source.str();
    for (std::sregex_iterator found(text.begin(), text.end(), line), end; found != end; ++found) {
      formats.insert((*found)[1]);
    }
  }
  return formats;
}

// What stands in a line's text: one that may be a token, a password or a body, or one that never is.
const std::map<std::string, bool>& HoldsASecret() {
  static const std::map<std::string, bool> formats = {
      {"%s not registered!!!!", false},
      {"%s: %s!!!!", false},
      {"FuncPreview hostname is [%s]", false},
      {"GetLoginHandle err %s!!!!", true},
      {"KEY = %s start.", false},
      {"data = %s dataLen = %d", true},
      {"https cert passwd is [%s]", true},
      {"req http token %.*s", true},
      {"sdk api ser version %s", false},
      {"send =>%s", true},
      {"send =>%s%s", true},
      {"token = %s and g_NoLogin = [%d]", true},
      {"userid [%s] login time out.. ", true},
  };
  return formats;
}

// The line with a secret in place of its texts; in a body the secret stands where JSON has it.
std::string Example(const std::string& format) {
  const bool body = format.starts_with("send") || format.starts_with("data");
  const std::string secret = body ? R"({"token":"S3cret"})" : "S3cret";
  std::string line = std::regex_replace(format, std::regex("%[.*]*s"), secret);
  line = std::regex_replace(line, std::regex("%d"), "1");
  return line + " [sdkapi,1]";
}

TEST(WithoutSecrets, KnowsEveryLineOfTheLibraryThatHoldsAText) {
  std::set<std::string> known;
  for (const auto& [format, secret] : HoldsASecret()) {
    known.insert(format);
    EXPECT_EQ(WithoutSecrets(Example(format)).find("S3cret") == std::string::npos, secret) << format;
  }
  EXPECT_EQ(FormatsWithTexts(), known);
}

}  // namespace
}  // namespace sdkkit
