// Options of the web server that the host sets itself: the recipes of the guide over real sockets.
#include <civetweb.h>
#include <curl/curl.h>
#include <sys/stat.h>
#include <utime.h>

#include <cstdio>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <optional>

#include "certificate.h"
#include "raw_websocket.h"
#include "sdkapi/extension.h"
#include "server_test_base.h"

namespace integration {
namespace {

std::size_t Append(char* data, std::size_t size, std::size_t count, void* text) {
  static_cast<std::string*>(text)->append(data, size * count);
  return size * count;
}

// One GET; nothing when there was no answer.
std::optional<Response> Fetch(const std::string& url, const std::function<void(CURL*)>& with = nullptr) {
  const std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> curl(curl_easy_init(), curl_easy_cleanup);
  std::string text;
  curl_easy_setopt(curl.get(), CURLOPT_URL, url.c_str());
  curl_easy_setopt(curl.get(), CURLOPT_PROXY, "");
  curl_easy_setopt(curl.get(), CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(curl.get(), CURLOPT_TIMEOUT, static_cast<long>(kPatience.count()));
  curl_easy_setopt(curl.get(), CURLOPT_SSL_VERIFYPEER, 0L);
  curl_easy_setopt(curl.get(), CURLOPT_SSL_VERIFYHOST, 0L);
  curl_easy_setopt(curl.get(), CURLOPT_HEADER, 1L);
  curl_easy_setopt(curl.get(), CURLOPT_WRITEFUNCTION, Append);
  curl_easy_setopt(curl.get(), CURLOPT_WRITEDATA, &text);
  if (with != nullptr) with(curl.get());
  if (curl_easy_perform(curl.get()) != CURLE_OK) return std::nullopt;
  return ParseResponse(text);
}

// What a handshake came to; an empty version when it failed.
struct Handshake {
  std::string version;
  std::string cipher;
  std::string subject;
};

Handshake ShakeHands(int port, const std::function<void(SSL_CTX*)>& with = nullptr) {
  const std::unique_ptr<SSL_CTX, decltype(&SSL_CTX_free)> context(SSL_CTX_new(TLS_client_method()),
                                                                  SSL_CTX_free);
  if (with != nullptr) with(context.get());
  BIO* const transport = BIO_new_connect(("127.0.0.1:" + std::to_string(port)).c_str());
  const std::unique_ptr<SSL, decltype(&SSL_free)> ssl(SSL_new(context.get()), SSL_free);
  SSL_set_bio(ssl.get(), transport, transport);
  if (SSL_connect(ssl.get()) != 1) return {};
  const std::unique_ptr<X509, decltype(&X509_free)> peer(SSL_get1_peer_certificate(ssl.get()), X509_free);
  char subject[256] = {};
  X509_NAME_oneline(X509_get_subject_name(peer.get()), subject, sizeof subject);
  Handshake result{SSL_get_version(ssl.get()), SSL_get_cipher_name(ssl.get()), subject};
  SSL_shutdown(ssl.get());
  return result;
}

void OnlyTls12(SSL_CTX* context) { SSL_CTX_set_max_proto_version(context, TLS1_2_VERSION); }

class ServerOptionsTest : public ServerTest {
 protected:
  void SetUp() override {
    Server::Get().Stop();
    LogCapture::Install();
  }

  void TearDown() override {
    Server::Get().Stop();
    for (const mg_option* option = mg_get_valid_options(); option->name != nullptr; ++option) {
      EXPECT_EQ(SdkAPIExt_Option_Set(option->name, nullptr), 0);
    }
    ServerTest::TearDown();
  }

  static void Set(const char* key, const std::string& value) {
    ASSERT_EQ(SdkAPIExt_Option_Set(key, value.c_str()), 0) << key;
  }

  // Starts with the options that were set; no login is needed.
  void Start() {
    Prepare({false, false});
    host().deviceInfo = [](DeviceInfo& info) {
      info.timeout = 300;
      return 0;
    };
  }

  static std::string Origin(bool https) {
    return (https ? "https://127.0.0.1:" : "http://127.0.0.1:") + std::to_string(Server::Get().port(https));
  }

  static void ExpectServed(const std::string& url, const std::function<void(CURL*)>& with = nullptr) {
    const auto response = Fetch(url + "/dev_info", with);
    ASSERT_TRUE(response.has_value()) << url;
    EXPECT_EQ(response->status(), 200) << url;
    EXPECT_EQ(response->body, R"({"timeout":"300"})") << url;
  }
};

TEST_F(ServerOptionsTest, ListensOnOneAddress) {
  const std::string plain = std::to_string(FreePort());
  const std::string secure = std::to_string(FreePort());
  Set("listening_ports", "127.0.0.1:" + plain + ",127.0.0.1:" + secure + "s");
  Start();
  ExpectServed("http://127.0.0.1:" + plain);
  ExpectServed("https://127.0.0.1:" + secure);
  EXPECT_FALSE(Fetch("http://127.0.0.2:" + plain + "/dev_info").has_value());
  EXPECT_FALSE(Fetch(Origin(false) + "/dev_info").has_value()) << "the ports that were set are not used";
}

TEST_F(ServerOptionsTest, ListensOnIPv6) {
  if (!std::filesystem::exists("/proc/net/if_inet6")) GTEST_SKIP() << "no IPv6 here";
  const std::string plain = std::to_string(FreePort());
  const std::string secure = std::to_string(FreePort());
  const std::string both = std::to_string(FreePort());
  Set("listening_ports", "[::1]:" + plain + ",[::]:" + secure + "s,+" + both);
  Start();
  ExpectServed("http://[::1]:" + plain);
  ExpectServed("https://[::1]:" + secure);
  ExpectServed("http://[::1]:" + both);
  ExpectServed("http://127.0.0.1:" + both);
}

TEST_F(ServerOptionsTest, FewWorkersServeStreamsAndRequests) {
  Set("num_threads", "4");
  const int before = Threads();
  Start();
  RawWebSocket first({false, false});
  RawWebSocket second({false, false});
  ASSERT_TRUE(first.Open("a"));
  ASSERT_TRUE(second.Open("b"));
  RawWebSocket third({false, false});
  EXPECT_EQ(third.Shake("/websocket", "c"), "");
  ExpectServed(Origin(false));
  ExpectServed(Origin(true));
  EXPECT_LE(Threads() - before, 5);  // the workers, and the one that watches
}

TEST_F(ServerOptionsTest, OneWorkerIsEnough) {
  Set("num_threads", "1");
  Start();
  for (int i = 0; i < 5; ++i) {
    ExpectServed(Origin(false));
    ExpectServed(Origin(true));
  }
}

TEST_F(ServerOptionsTest, ForwardSecrecyWithTls12) {
  const auto ephemeral = [](SSL_CTX* context) {
    OnlyTls12(context);
    SSL_CTX_set_cipher_list(context, "ECDHE+AESGCM");
  };
  Start();
  EXPECT_EQ(ShakeHands(Server::Get().port(true), ephemeral).version, "") << "without the option";
  Server::Get().Stop();
  Set("ssl_cipher_list", "ECDHE+AESGCM:ECDHE+CHACHA20");
  Start();
  EXPECT_EQ(ShakeHands(Server::Get().port(true), ephemeral).cipher.substr(0, 10), "ECDHE-RSA-");
  const auto plainRsa = [](SSL_CTX* context) {
    OnlyTls12(context);
    SSL_CTX_set_cipher_list(context, "AES128-GCM-SHA256");
  };
  EXPECT_EQ(ShakeHands(Server::Get().port(true), plainRsa).version, "");
  ExpectServed(Origin(true));
}

TEST_F(ServerOptionsTest, Tls13Only) {
  Set("ssl_protocol_version", "5");
  Start();
  EXPECT_EQ(ShakeHands(Server::Get().port(true)).version, "TLSv1.3");
  EXPECT_EQ(ShakeHands(Server::Get().port(true), OnlyTls12).version, "");
  ExpectServed(Origin(true));
}

TEST_F(ServerOptionsTest, ACertificateWithAnEllipticKey) {
  const Certificate made = MakeCertificate(Server::PassPhrase(), "elliptic", KeyKind::kElliptic);
  Set("ssl_certificate", Workspace::Get().WriteFile("elliptic.pem", made.certificate + made.key));
  Set("ssl_cipher_list", "ECDHE+AESGCM");
  Start();
  EXPECT_EQ(ShakeHands(Server::Get().port(true)).subject, "/CN=elliptic");
  EXPECT_EQ(ShakeHands(Server::Get().port(true), OnlyTls12).cipher.substr(0, 12), "ECDHE-ECDSA-");
  ExpectServed(Origin(true));
}

TEST_F(ServerOptionsTest, ClientCertificates) {
  const Certificate known = MakeCertificate("", "known client");
  const Certificate stranger = MakeCertificate("", "stranger");
  const std::string knownFile = Workspace::Get().WriteFile("known.pem", known.certificate + known.key);
  const std::string strangerFile =
      Workspace::Get().WriteFile("strange.pem", stranger.certificate + stranger.key);
  Set("ssl_verify_peer", "yes");
  Set("ssl_ca_file", Workspace::Get().WriteFile("clients.pem", known.certificate));
  Set("ssl_default_verify_paths", "no");
  Start();
  const auto with = [](const std::string& file) {
    return [file](CURL* curl) {
      curl_easy_setopt(curl, CURLOPT_SSLCERT, file.c_str());
      curl_easy_setopt(curl, CURLOPT_SSLKEY, file.c_str());
    };
  };
  ExpectServed(Origin(true), with(knownFile));
  EXPECT_FALSE(Fetch(Origin(true) + "/dev_info", with(strangerFile)).has_value());
  EXPECT_FALSE(Fetch(Origin(true) + "/dev_info").has_value());
  ExpectServed(Origin(false));
}

// As a host renews it: written beside the old one, then moved into its place.
void Renew(const std::string& path, const std::string& text, int age) {
  std::ofstream(path + ".new") << text;
  const utimbuf times{std::time(nullptr) - age, std::time(nullptr) - age};
  utime((path + ".new").c_str(), &times);
  std::rename((path + ".new").c_str(), path.c_str());
}

TEST_F(ServerOptionsTest, ACertificateIsRenewedWithoutARestart) {
  const Certificate first = MakeCertificate(Server::PassPhrase(), "first");
  const Certificate second = MakeCertificate(Server::PassPhrase(), "second");
  const std::string path = Workspace::Get().Path("renewed.pem");
  Renew(path, first.certificate + first.key, 300);
  Set("ssl_certificate", path);
  Set("ssl_short_trust", "yes");
  Start();
  EXPECT_EQ(ShakeHands(Server::Get().port(true)).subject, "/CN=first");
  Renew(path, second.certificate + second.key, 200);
  EXPECT_EQ(ShakeHands(Server::Get().port(true)).subject, "/CN=second");
  int age = 190;
  for (const std::string& bad :
       {std::string("half a file"), first.certificate, first.key, first.certificate + second.key}) {
    Renew(path, bad, --age);
    EXPECT_EQ(ShakeHands(Server::Get().port(true)).subject, "/CN=second") << "the one in force stays";
    EXPECT_EQ(ShakeHands(Server::Get().port(true), OnlyTls12).subject, "/CN=second");
  }
  Renew(path, first.certificate + first.key, 50);
  EXPECT_EQ(ShakeHands(Server::Get().port(true)).subject, "/CN=first");
  ExpectServed(Origin(true));
}

TEST_F(ServerOptionsTest, TheErrorLogStandsWhereTheHostWantsIt) {
  const std::string path = Workspace::Get().Path("elsewhere.log");
  Set("error_log_file", path);
  Start();
  EXPECT_EQ(ShakeHands(Server::Get().port(true),
                       [](SSL_CTX* context) {
                         OnlyTls12(context);
                         SSL_CTX_set_cipher_list(context, "CAMELLIA");
                       })
                .version,
            "");
  // The file stands before its first line does.
  EXPECT_TRUE(Eventually([&] {
    std::error_code not_there;
    const auto size = std::filesystem::file_size(path, not_there);
    return !not_there && size > 0U;
  }));
}

TEST_F(ServerOptionsTest, NoErrorLogAtAll) {
  std::filesystem::remove("error.log");
  Set("error_log_file", "");
  Start();
  EXPECT_EQ(ShakeHands(Server::Get().port(true),
                       [](SSL_CTX* context) {
                         OnlyTls12(context);
                         SSL_CTX_set_cipher_list(context, "CAMELLIA");
                       })
                .version,
            "");
  ExpectServed(Origin(true));
  Server::Get().Stop();
  EXPECT_FALSE(std::filesystem::exists("error.log"));
}

TEST_F(ServerOptionsTest, AConsoleServedElsewhere) {
  Set("access_control_allow_origin", "https://console.example");
  Start();
  host().download = [](DownloadFileInfo& info) {
    std::snprintf(info.path, sizeof info.path, "%s/index.html", Server::DocumentRoot().c_str());
    return 0;
  };
  const auto fromThere = [](CURL* curl) {
    static curl_slist* const headers = curl_slist_append(nullptr, "Origin: https://console.example");
    curl_easy_setopt(curl, CURLOPT_HTTPHEADER, headers);
  };
  for (const bool https : {false, true}) {
    SCOPED_TRACE(https);
    const auto preflight = Fetch(Origin(https) + "/dev_info", [](CURL* curl) {
      static curl_slist* const headers = [] {
        curl_slist* list = curl_slist_append(nullptr, "Origin: https://console.example");
        list = curl_slist_append(list, "Access-Control-Request-Method: GET");
        return curl_slist_append(list, "Access-Control-Request-Headers: authorization");
      }();
      curl_easy_setopt(curl, CURLOPT_HTTPHEADER, headers);
      curl_easy_setopt(curl, CURLOPT_CUSTOMREQUEST, "OPTIONS");
    });
    ASSERT_TRUE(preflight.has_value());
    EXPECT_EQ(preflight->status(), 200);
    EXPECT_EQ(preflight->Header("Access-Control-Allow-Origin"), "https://console.example");
    EXPECT_EQ(preflight->Header("Access-Control-Allow-Headers"), "authorization");
    for (const char* const target : {"/index.html", "/dev_info", "/custom_restore", "/log"}) {
      SCOPED_TRACE(target);
      const auto answer = Fetch(Origin(https) + target, fromThere);
      ASSERT_TRUE(answer.has_value());
      EXPECT_EQ(answer->Header("Access-Control-Allow-Origin"), "https://console.example");
      EXPECT_EQ(Fetch(Origin(https) + target)->Header("Access-Control-Allow-Origin"), "");
    }
  }
}

TEST_F(ServerOptionsTest, HowLongFilesMayBeKept) {
  Set("static_file_max_age", "60");
  Start();
  const auto page = Fetch(Origin(false) + "/index.html");
  ASSERT_TRUE(page.has_value());
  EXPECT_EQ(page->Header("Cache-Control"), "max-age=60");
}

TEST_F(ServerOptionsTest, NoIndexAndNoListing) {
  Workspace::Get().WriteFile("www/sub/file.txt", "a file");
  Start();
  EXPECT_EQ(Fetch(Origin(false) + "/")->body, "front page");
  EXPECT_EQ(Fetch(Origin(false) + "/sub/")->status(), 200);
  Server::Get().Stop();
  Set("enable_directory_listing", "no");
  Set("index_files", "");
  Start();
  for (const char* const folder : {"/", "/sub/"}) {
    const auto answer = Fetch(Origin(false) + folder);
    ASSERT_TRUE(answer.has_value());
    EXPECT_EQ(answer->status(), 403) << folder;
  }
  EXPECT_EQ(Fetch(Origin(false) + "/sub/file.txt")->body, "a file");
}

TEST_F(ServerOptionsTest, NothingIsSetWhileTheServerRuns) {
  Start();
  LogCapture::Clear();
  EXPECT_EQ(SdkAPIExt_Option_Set("num_threads", "4"), -1);
  EXPECT_EQ(LogCapture::Count(4, "SdkAPIExt_Option_Set: the server runs!!!!", "sdkapiext"), 1);
  EXPECT_EQ(SdkAPIExt_Option_Set("no_such_option", "4"), -1);
  EXPECT_EQ(LogCapture::Count(4, "SdkAPIExt_Option_Set: option unknown!!!!", "sdkapiext"), 1);
  ExpectServed(Origin(false));
}

TEST_F(ServerOptionsTest, TheLibrarysOwnValuesReturn) {
  Set("static_file_max_age", "60");
  Set("listening_ports", "127.0.0.1:" + std::to_string(FreePort()));
  Start();
  Server::Get().Stop();
  EXPECT_EQ(SdkAPIExt_Option_Set("static_file_max_age", nullptr), 0);
  EXPECT_EQ(SdkAPIExt_Option_Set("listening_ports", nullptr), 0);
  Start();
  ExpectServed(Origin(false));
  ExpectServed(Origin(true));
  EXPECT_EQ(Fetch(Origin(false) + "/index.html")->Header("Cache-Control"), "max-age=3600");
}

}  // namespace
}  // namespace integration
