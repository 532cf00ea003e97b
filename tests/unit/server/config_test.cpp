// The setters and the texts they leave.
#include "server/config.h"

#include "library_fixture.h"

namespace {

struct PortCase {
  int http;
  int https;
  const char* ports;
};
class PortTest : public testing::TestWithParam<PortCase> {};

TEST_P(PortTest, ComposesTheListeningPorts) {
  EXPECT_EQ(SdkAPISer_Port_Set(GetParam().http, GetParam().https), 0);
  EXPECT_STREQ(sdkapi::ListeningPorts(), GetParam().ports);
}

INSTANTIATE_TEST_SUITE_P(Ports, PortTest,
                         testing::Values(PortCase{0, 0, "80"}, PortCase{8080, 0, "8080"},
                                         PortCase{0, 443, "443s"}, PortCase{80, 443, "80,443s"},
                                         PortCase{-1, -1, "80"}, PortCase{-5, 443, "443s"},
                                         PortCase{8080, -7, "8080"}, PortCase{1, 1, "1,1s"},
                                         PortCase{1, 0, "1"}, PortCase{0, 1, "1s"},
                                         PortCase{99999, 0, "99999"},
                                         PortCase{2147483647, 2147483647, "2147483647,2147483647s"}));

struct TextSetter {
  const char* name;
  int (*set)(const char*);
  const char* (*get)();
};
class TextSetterTest : public testing::TestWithParam<TextSetter> {};

TEST_P(TextSetterTest, StoresTheText) {
  EXPECT_EQ(GetParam().set("/some/text"), 0);
  EXPECT_STREQ(GetParam().get(), "/some/text");
  EXPECT_EQ(GetParam().set("s"), 0);
  EXPECT_STREQ(GetParam().get(), "s");
  EXPECT_EQ(GetParam().set(""), 0);
  EXPECT_STREQ(GetParam().get(), "");
}

TEST_P(TextSetterTest, CutsTo127Characters) {
  EXPECT_EQ(GetParam().set(std::string(200, 'a').c_str()), 0);
  EXPECT_EQ(std::string(GetParam().get()), std::string(127, 'a'));
  EXPECT_EQ(GetParam().set(std::string(127, 'b').c_str()), 0);
  EXPECT_EQ(std::string(GetParam().get()), std::string(127, 'b'));
  GetParam().set("");
}

TEST_P(TextSetterTest, RefusesNullAndKeepsTheText) {
  GetParam().set("kept");
  EXPECT_EQ(GetParam().set(nullptr), -1);
  EXPECT_STREQ(GetParam().get(), "kept");
  GetParam().set("");
}

INSTANTIATE_TEST_SUITE_P(
    Setters, TextSetterTest,
    testing::Values(TextSetter{"Certificate", SdkAPiSer_Cert_Set, sdkapi::CertificatePath},
                    TextSetter{"PassPhrase", SdkAPiSer_CertPassword_Set,
                               [] { return static_cast<const char*>(sdkapi::GetCertPassword()); }},
                    TextSetter{"DocumentRoot", SdkAPiSer_DocumentRoot_Set, sdkapi::DocumentRootPath},
                    TextSetter{"WebsocketUrl", SdkAPISer_WebsocketUrl_Set, sdkapi::WebsocketUrl}),
    sdktest::ByName{});

TEST(BindNetworkcard, DoesNothing) {
  EXPECT_EQ(SdkAPISer_Bind_Networkcard_Set("eth0"), 0);
  EXPECT_EQ(SdkAPISer_Bind_Networkcard_Set(nullptr), 0);
}

}  // namespace
