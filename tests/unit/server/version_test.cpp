// The version query and the reader of whole files.
#include "server/version.h"

#include <unistd.h>

#include <array>
#include <cstdio>
#include <fstream>

#include "library_fixture.h"

namespace {

using sdktest::Strings;

// Works in a folder of its own: the query reads a relative path.
class VersionTest : public sdktest::LibraryTest {
 protected:
  VersionTest() {
    char pattern[] = "/tmp/sdkapi-version-XXXXXX";
    folder_ = mkdtemp(pattern);
    std::array<char, 4096> here{};
    home_ = getcwd(here.data(), here.size());
    EXPECT_EQ(chdir(folder_.c_str()), 0);
  }
  ~VersionTest() override {
    std::remove("build.config");
    EXPECT_EQ(chdir(home_.c_str()), 0);
    rmdir(folder_.c_str());
  }

  static void WriteConfig(const std::string& text) {
    std::ofstream("build.config", std::ios::binary) << text;
  }

 private:
  std::string folder_;
  std::string home_;
};

TEST_F(VersionTest, IsReadFromTheFile) {
  WriteConfig(R"({"SoftwareVersion":"1.2.3","Other":1})");
  EXPECT_STREQ(SdkAPiSer_Version_Get(), "1.2.3");
  EXPECT_EQ(Log(), Strings{"1 sdkapimain sdk api ser version 1.2.3"});
}

TEST_F(VersionTest, IsCutTo15Characters) {
  WriteConfig(R"({"SoftwareVersion":"0123456789abcdefgh"})");
  EXPECT_STREQ(SdkAPiSer_Version_Get(), "0123456789abcde");
}

TEST_F(VersionTest, StaysWhenTheFileIsMissing) {
  WriteConfig(R"({"SoftwareVersion":"4.5.6"})");
  SdkAPiSer_Version_Get();
  std::remove("build.config");
  sdktest::LogCapture::Clear();
  EXPECT_STREQ(SdkAPiSer_Version_Get(), "4.5.6");
  EXPECT_EQ(Log(), Strings{"4 sdkapimain fopen:"});
}

struct BadConfig {
  const char* name;
  const char* text;
};
class BadConfigTest : public VersionTest, public testing::WithParamInterface<BadConfig> {};

TEST_P(BadConfigTest, LeavesTheLastGoodVersion) {
  WriteConfig(R"({"SoftwareVersion":"7.8.9"})");
  SdkAPiSer_Version_Get();
  WriteConfig(GetParam().text);
  EXPECT_STREQ(SdkAPiSer_Version_Get(), "7.8.9");
}

INSTANTIATE_TEST_SUITE_P(Texts, BadConfigTest,
                         testing::Values(BadConfig{"Empty", ""}, BadConfig{"NotJson", "version 1"},
                                         BadConfig{"NoMember", R"({"Version":"1"})"},
                                         BadConfig{"NotAString", R"({"SoftwareVersion":5})"},
                                         BadConfig{"Array", R"(["SoftwareVersion"])"}),
                         sdktest::ByName{});

TEST_F(VersionTest, AFileLargerThanTheBufferIsReadUpToItsEnd) {
  WriteConfig(R"({"SoftwareVersion":"9.9","Rest":")" + std::string(5200, 'r') + "\"}");
  std::array<char, 5120> room{};
  room.back() = 'x';
  EXPECT_EQ(sdkapi::LoadConfig("build.config", room.data()), 5119);
  EXPECT_EQ(room.back(), 'x');
}

TEST_F(VersionTest, LoadConfigReturnsTheSize) {
  WriteConfig(std::string("a\0b\r\n", 5));
  std::array<char, 5120> room{};
  EXPECT_EQ(sdkapi::LoadConfig("build.config", room.data()), 5);
  EXPECT_EQ(std::string(room.data(), 6), std::string("a\0b\r\n\0", 6));
  WriteConfig("");
  EXPECT_EQ(sdkapi::LoadConfig("build.config", room.data()), 0);
}

TEST_F(VersionTest, LoadConfigRefusesNull) {
  std::array<char, 5120> room{};
  EXPECT_EQ(sdkapi::LoadConfig(nullptr, room.data()), -1);
  EXPECT_EQ(sdkapi::LoadConfig("build.config", nullptr), -1);
  EXPECT_EQ(Log(), Strings{});
}

TEST_F(VersionTest, LoadConfigLogsAMissingFile) {
  std::array<char, 5120> room{};
  EXPECT_EQ(sdkapi::LoadConfig("no-such-file", room.data()), -1);
  EXPECT_EQ(Log(), Strings{"4 sdkapimain fopen:"});
}

}  // namespace
