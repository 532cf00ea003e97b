// The option vector of the web server.
#include "server/options.h"

#include "library_fixture.h"

namespace {

using sdktest::Strings;

Strings Options() {
  Strings options;
  for (const char** option = sdkapi::GetOptionsParam(); *option != nullptr; ++option)
    options.emplace_back(*option);
  return options;
}

class OptionsTest : public testing::Test {
 protected:
  OptionsTest() { Clear(); }
  ~OptionsTest() override { Clear(); }

  static void Clear() {
    SdkAPiSer_DocumentRoot_Set("");
    SdkAPiSer_Cert_Set("");
    SdkAPISer_Port_Set(0, 0);
  }
};

constexpr const char* kHeaders =
    "Content-Security-Policy: frame-ancestors *;\r\nX-Content-Type-Options: nosniff\r\n"
    "Strict-Transport-Security: max-age=63072000; includeSubdomains; preload";

TEST_F(OptionsTest, WithoutACertificateThereAreThirteenPairs) {
  SdkAPISer_Port_Set(8080, 0);
  EXPECT_EQ(SdkAPISer_Init(), 0);
  EXPECT_EQ(Options(), (Strings{"document_root",
                                ".",
                                "listening_ports",
                                "8080",
                                "request_timeout_ms",
                                "10000",
                                "error_log_file",
                                "error.log",
                                "enable_websocket_ping_pong",
                                "yes",
                                "websocket_timeout_ms",
                                "60000",
                                "enable_keep_alive",
                                "yes",
                                "keep_alive_timeout_ms",
                                "60000",
                                "ssl_protocol_version",
                                "4",
                                "ssl_cipher_list",
                                "DES-CBC3-SHA:AES128-GCM-SHA256",
                                "enable_auth_domain_check",
                                "no",
                                "additional_header",
                                kHeaders,
                                "access_control_allow_origin",
                                ""}));
}

TEST_F(OptionsTest, WithACertificateThereAreFourteenPairs) {
  SdkAPISer_Port_Set(80, 443);
  SdkAPiSer_Cert_Set("/etc/device.pem");
  SdkAPiSer_DocumentRoot_Set("/var/www");
  EXPECT_EQ(SdkAPISer_Init(), 0);
  EXPECT_EQ(Options(), (Strings{"document_root",
                                "/var/www",
                                "listening_ports",
                                "80,443s",
                                "request_timeout_ms",
                                "10000",
                                "error_log_file",
                                "error.log",
                                "enable_websocket_ping_pong",
                                "yes",
                                "websocket_timeout_ms",
                                "60000",
                                "enable_keep_alive",
                                "yes",
                                "keep_alive_timeout_ms",
                                "60000",
                                "ssl_certificate",
                                "/etc/device.pem",
                                "ssl_protocol_version",
                                "4",
                                "ssl_cipher_list",
                                "DES-CBC3-SHA:AES128-GCM-SHA256",
                                "enable_auth_domain_check",
                                "no",
                                "additional_header",
                                kHeaders,
                                "access_control_allow_origin",
                                ""}));
}

TEST_F(OptionsTest, ALaterPortSetterStillCountsTheOtherSettersDoNot) {
  SdkAPISer_Port_Set(8080, 0);
  SdkAPiSer_DocumentRoot_Set("/one");
  SdkAPISer_Init();
  SdkAPISer_Port_Set(9090, 0);
  SdkAPiSer_DocumentRoot_Set("/two");
  const Strings options = Options();
  EXPECT_EQ(options[1], "/one");
  EXPECT_EQ(options[3], "9090");
}

TEST_F(OptionsTest, InitAgainRefillsTheVector) {
  SdkAPiSer_Cert_Set("/etc/device.pem");
  SdkAPISer_Init();
  EXPECT_EQ(Options().size(), 28U);
  SdkAPiSer_Cert_Set("");
  SdkAPiSer_DocumentRoot_Set(std::string(200, 'd').c_str());
  SdkAPISer_Init();
  EXPECT_EQ(Options().size(), 26U);
  EXPECT_EQ(Options()[1], std::string(127, 'd'));
}

}  // namespace
