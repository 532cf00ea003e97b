// Options that the host sets over the library's own.
#include "server/option_overrides.h"

#include <string>

#include "library_fixture.h"
#include "sdkapi/extension.h"
#include "server/options.h"

namespace {

using sdktest::Strings;

class OptionOverridesTest : public sdktest::LibraryTest {
 protected:
  OptionOverridesTest() { SdkAPISer_Port_Set(8080, 0); }
  ~OptionOverridesTest() override {
    sdktest::ResetServer();
    sdktest::SetNeutralExtensions();
    SdkAPISer_Init();
  }

  static std::string Value(const char* key) { return sdkapi::OptionValue(key); }

  static int Pairs() {
    int pairs = 0;
    for (const char** option = sdkapi::GetOptionsParam(); *option != nullptr; option += 2) ++pairs;
    return pairs;
  }
};

TEST_F(OptionOverridesTest, TheLastWordIsTheHosts) {
  ASSERT_EQ(SdkAPIExt_Option_Set("listening_ports", "[::1]:99"), 0);
  ASSERT_EQ(SdkAPIExt_Option_Set("num_threads", "7"), 0);
  EXPECT_EQ(SdkAPISer_Init(), 0);
  EXPECT_EQ(Value("listening_ports"), "[::1]:99");
  EXPECT_EQ(Value("num_threads"), "7");
  EXPECT_EQ(Value("document_root"), ".");
  EXPECT_EQ(Pairs(), 14);
}

TEST_F(OptionOverridesTest, ValuesAreCopiedAndTakeEffectAtTheNextInit) {
  std::string value = "7";
  ASSERT_EQ(SdkAPIExt_Option_Set(std::string("num_threads").c_str(), value.c_str()), 0);
  EXPECT_EQ(Value("num_threads"), "");
  value = "9";
  SdkAPISer_Init();
  EXPECT_EQ(Value("num_threads"), "7");
  ASSERT_EQ(SdkAPIExt_Option_Set("num_threads", "11"), 0);
  ASSERT_EQ(SdkAPIExt_Option_Set("num_threads", "12"), 0);
  EXPECT_EQ(Value("num_threads"), "7") << "what the web server may still read stays";
  SdkAPISer_Init();
  EXPECT_EQ(Value("num_threads"), "12");
  SdkAPISer_Init();
  EXPECT_EQ(Value("num_threads"), "12");
}

TEST_F(OptionOverridesTest, NullTakesTheSettingBack) {
  ASSERT_EQ(SdkAPIExt_Option_Set("listening_ports", nullptr), 0);
  ASSERT_EQ(SdkAPIExt_Option_Set("listening_ports", "1"), 0);
  SdkAPISer_Init();
  ASSERT_EQ(SdkAPIExt_Option_Set("listening_ports", nullptr), 0);
  EXPECT_EQ(Value("listening_ports"), "1");
  SdkAPISer_Init();
  EXPECT_EQ(Value("listening_ports"), "8080");
  EXPECT_EQ(Pairs(), 13);
}

TEST_F(OptionOverridesTest, UnknownNamesAreRefused) {
  for (const char* const key : {"no_such_option", "", "num_thread", "NUM_THREADS"}) {
    EXPECT_EQ(SdkAPIExt_Option_Set(key, "1"), -1) << key;
    EXPECT_EQ(SdkAPIExt_Option_Set(key, nullptr), -1) << key;
  }
  EXPECT_EQ(SdkAPIExt_Option_Set(nullptr, "1"), -1);
  EXPECT_EQ(Log(), Strings(9, "4 sdkapiext SdkAPIExt_Option_Set: option unknown!!!!"));
  SdkAPISer_Init();
  EXPECT_EQ(Pairs(), 13);
}

TEST_F(OptionOverridesTest, NothingIsSetWhileTheServerRuns) {
  SdkAPISer_Init();
  const SdkAPISerHandle table = sdktest::TestHost::Table();
  ASSERT_EQ(SdkAPISer_Start(&table), 0);
  sdktest::LogCapture::Clear();
  EXPECT_EQ(SdkAPIExt_Option_Set("num_threads", "7"), -1);
  EXPECT_EQ(Log(), Strings{"4 sdkapiext SdkAPIExt_Option_Set: the server runs!!!!"});
  SdkAPISer_Stop(nullptr);
  SdkAPISer_Init();
  EXPECT_EQ(Value("num_threads"), "");
  EXPECT_EQ(SdkAPIExt_Option_Set("num_threads", "7"), 0);
}

TEST_F(OptionOverridesTest, ThePlacesAreBounded) {
  std::vector<std::string> names;
  for (int i = 0; i < 60; ++i) names.push_back("option_" + std::to_string(i));
  std::vector<mg_option>& options = sdktest::Server().validOptions;
  options.clear();
  for (const std::string& name : names) options.push_back({name.c_str(), MG_CONFIG_TYPE_STRING, nullptr});
  options.push_back({nullptr, MG_CONFIG_TYPE_UNKNOWN, nullptr});
  for (std::size_t i = 0; i < names.size(); ++i) {
    EXPECT_EQ(SdkAPIExt_Option_Set(names[i].c_str(), "x"), i < sdkapi::kMostOverrides ? 0 : -1) << i;
  }
  EXPECT_EQ(Log(), Strings(12, "4 sdkapiext SdkAPIExt_Option_Set: no room for another option!!!!"));
  SdkAPISer_Init();
  EXPECT_EQ(Pairs(), 13 + 48);
  for (const std::string& name : names) EXPECT_EQ(SdkAPIExt_Option_Set(name.c_str(), nullptr), 0);
  SdkAPISer_Init();
  EXPECT_EQ(Pairs(), 13);
}

}  // namespace
