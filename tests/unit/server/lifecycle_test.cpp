// Start and stop against the in-memory web server, and the two callbacks that it gets.
#include "server/lifecycle.h"

#include <openssl/ssl.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <memory>
#include <mutex>
#include <thread>

#include "library_fixture.h"
#include "sdkapi/extension.h"
#include "server/config.h"
#include "server/host_table.h"
#include "websocket/connections.h"

namespace {

using sdktest::Server;
using sdktest::Strings;
using sdktest::TestHost;

class LifecycleTest : public sdktest::LibraryTest {
 protected:
  LifecycleTest() {
    SdkAPISer_Port_Set(8080, 0);
    SdkAPISer_WebsocketUrl_Set("");
    SdkAPiSer_CertPassword_Set("");
    SdkAPISer_Init();
  }
  ~LifecycleTest() override {
    SdkAPISer_Stop(nullptr);
    SdkAPISer_WebsocketUrl_Set("");
    SdkAPiSer_CertPassword_Set("");
  }

  static std::string StartFailure() {
    char text[2048];
    EXPECT_EQ(SdkAPIExt_StartFailure_Get(text, sizeof text), 0);
    return text;
  }

  SdkAPISerHandle table_ = TestHost::Table();
};

TEST_F(LifecycleTest, StartHandsOptionsAndCallbacksToTheWebServer) {
  SdkAPiSer_CertPassword_Set("secret");
  EXPECT_EQ(SdkAPISer_Start(&table_), 0);
  EXPECT_EQ(Server().starts, 1);
  ASSERT_EQ(Server().options.size(), 26U);
  EXPECT_EQ(Server().options[2], "listening_ports");
  EXPECT_EQ(Server().options[3], "8080");
  EXPECT_EQ(Server().callbacks.log_message, &sdkapi::log_message);
  EXPECT_EQ(Server().callbacks.init_ssl, &sdkapi::init_ssl);
  EXPECT_TRUE(Server().otherCallbacksAreNull);
  EXPECT_STREQ(static_cast<const char*>(Server().userData), "secret");
  EXPECT_EQ(sdkapi::GetMgContext(), &Server().context);
  EXPECT_TRUE(sdkapi::ServerIsRunning());
}

TEST_F(LifecycleTest, StartCopiesTheTable) {
  TestHost::Get().deviceInfo = [](DeviceInfo&) { return 0; };
  EXPECT_EQ(SdkAPISer_Start(&table_), 0);
  EXPECT_EQ(sdkapi::GetSerHandle()->DeviceInfoCb, table_.DeviceInfoCb);
  const auto deviceInfo = table_.DeviceInfoCb;
  table_.DeviceInfoCb = nullptr;
  EXPECT_EQ(sdkapi::GetSerHandle()->DeviceInfoCb, deviceInfo);
}

TEST_F(LifecycleTest, RoutesComeBeforeTheWebSocketEndpoint) {
  EXPECT_EQ(SdkAPISer_Start(&table_), 0);
  ASSERT_EQ(Server().journal.size(), 45U);
  EXPECT_EQ(Server().journal.front(), "start");
  EXPECT_EQ(Server().journal[1], "route /iplogin$");
  EXPECT_EQ(Server().journal[43], "route /stream");
  EXPECT_EQ(Server().journal.back(), "websocket /websocket");
}

struct UrlCase {
  const char* name;
  std::string url;
  std::string pattern;
};
class WebSocketUrlTest : public LifecycleTest, public testing::WithParamInterface<UrlCase> {};

TEST_P(WebSocketUrlTest, GivesThePattern) {
  SdkAPISer_WebsocketUrl_Set(GetParam().url.c_str());
  EXPECT_EQ(SdkAPISer_Start(&table_), 0);
  ASSERT_EQ(Server().endpoints.size(), 1U);
  const sdktest::WebSocketEndpoint& endpoint = Server().endpoints[0];
  EXPECT_EQ(endpoint.uri, GetParam().pattern);
  EXPECT_EQ(endpoint.connect, &WebSocketConnectHandler);
  EXPECT_EQ(endpoint.ready, &WebSocketReadyHandler);
  EXPECT_EQ(endpoint.data, &WebsocketDataHandler);
  EXPECT_EQ(endpoint.close, &WebSocketCloseHandler);
  EXPECT_EQ(endpoint.cbdata, nullptr);
}

INSTANTIATE_TEST_SUITE_P(Urls, WebSocketUrlTest,
                         testing::Values(UrlCase{"None", "", "/websocket"}, UrlCase{"Root", "/", "/$"},
                                         UrlCase{"Short", "/ws", "/ws$"},
                                         UrlCase{"Longest", "/" + std::string(126, 'w'),
                                                 "/" + std::string(126, 'w') + "$"}),
                         sdktest::ByName{});

TEST_F(LifecycleTest, AFailedStartGivesMinusOneAndCountsAsRunningUntilTheStop) {
  Server().failStart = true;
  EXPECT_EQ(SdkAPISer_Start(&table_), -1);
  EXPECT_EQ(Server().journal, Strings{"start"});
  EXPECT_TRUE(sdkapi::ServerIsRunning());
  EXPECT_EQ(sdkapi::GetMgContext(), nullptr);
  Server().failStart = false;
  EXPECT_EQ(SdkAPISer_Start(&table_), 0);
}

TEST_F(LifecycleTest, StopAfterAFailedStartStopsNothing) {
  Server().failStart = true;
  SdkAPISer_Start(&table_);
  EXPECT_EQ(SdkAPISer_Stop(nullptr), 0);
  EXPECT_EQ(Server().stops, 0);
  EXPECT_FALSE(sdkapi::ServerIsRunning());
}

TEST_F(LifecycleTest, ANullTableIsRefused) {
  EXPECT_EQ(SdkAPISer_Start(nullptr), -1);
  EXPECT_EQ(Server().starts, 0);
  EXPECT_EQ(Log(), Strings{});
}

TEST_F(LifecycleTest, StartWhileRunningIsRefused) {
  EXPECT_EQ(SdkAPISer_Start(&table_), 0);
  EXPECT_EQ(SdkAPISer_Start(&table_), -1);
  EXPECT_EQ(Server().starts, 1);
}

TEST_F(LifecycleTest, AStartBesideAnotherIsRefusedAndLeavesItsReason) {
  Server().failStart = true;
  Server().onStart = [&] {
    sdkapi::log_message(nullptr, "first");
    EXPECT_EQ(std::async(std::launch::async, [&] { return SdkAPISer_Start(&table_); }).get(), -1);
    EXPECT_EQ(std::async(std::launch::async, [] { return SdkAPISer_Start(nullptr); }).get(), -1);
    sdkapi::log_message(nullptr, "second");
  };
  EXPECT_EQ(SdkAPISer_Start(&table_), -1);
  EXPECT_EQ(StartFailure(), "first; second");
}

TEST_F(LifecycleTest, ARefusedStartSaysWhy) {
  EXPECT_EQ(SdkAPISer_Start(&table_), 0);
  EXPECT_EQ(StartFailure(), "");
  EXPECT_EQ(SdkAPISer_Start(nullptr), -1);
  EXPECT_EQ(StartFailure(), "there is no table of functions");
  EXPECT_EQ(SdkAPISer_Start(&table_), -1);
  EXPECT_EQ(StartFailure(), "the server runs, or is being stopped");
}

TEST_F(LifecycleTest, TheReasonIsCutToItsRoom) {
  EXPECT_EQ(SdkAPISer_Start(nullptr), -1);
  char text[6] = "xxxxx";
  EXPECT_EQ(SdkAPIExt_StartFailure_Get(text, 0), -1);
  EXPECT_EQ(SdkAPIExt_StartFailure_Get(nullptr, 6), -1);
  EXPECT_STREQ(text, "xxxxx");
  EXPECT_EQ(SdkAPIExt_StartFailure_Get(text, 1), 0);
  EXPECT_STREQ(text, "");
  EXPECT_EQ(SdkAPIExt_StartFailure_Get(text, sizeof text), 0);
  EXPECT_STREQ(text, "there");
}

TEST_F(LifecycleTest, AStartThatFailsWithoutAWordSaysSo) {
  Server().failStart = true;
  EXPECT_EQ(SdkAPISer_Start(&table_), -1);
  EXPECT_EQ(StartFailure(), "the web server gave no reason");
}

TEST_F(LifecycleTest, StopLogsAndStopsTheWebServer) {
  SdkAPISer_Start(&table_);
  int anything = 0;
  EXPECT_EQ(SdkAPISer_Stop(&anything), 0);
  EXPECT_EQ(Log(), Strings{"1 sdkapi SdkAPISer_Stop .."});
  EXPECT_FALSE(sdkapi::ServerIsRunning());
  EXPECT_EQ(Server().journal.back(), "stop");
  EXPECT_EQ(Server().stops, 1);
  EXPECT_EQ(sdkapi::GetMgContext(), &Server().context) << "the context keeps its value";
}

TEST_F(LifecycleTest, StopTwiceStopsTheWebServerOnce) {
  SdkAPISer_Start(&table_);
  SdkAPISer_Stop(nullptr);
  EXPECT_EQ(SdkAPISer_Stop(nullptr), 0);
  EXPECT_EQ(Server().stops, 1);
  EXPECT_EQ(Server().stopsOfDeadContext, 0);
  EXPECT_EQ(Log(), (Strings{"1 sdkapi SdkAPISer_Stop ..", "1 sdkapi SdkAPISer_Stop .."}));
}

TEST_F(LifecycleTest, StopWithoutStartIsHarmless) {
  EXPECT_EQ(SdkAPISer_Stop(nullptr), 0);
  EXPECT_EQ(Server().stops, 0);
}

TEST_F(LifecycleTest, AStopIsAnnouncedBeforeItWaitsForRegistrations) {
  SdkAPISer_Start(&table_);
  std::atomic<int> waiting{0};
  std::atomic<bool> abandoned{false};
  std::mutex inside;  // the in-memory server keeps its routes without a lock
  Server().onRoute = [&] {
    const std::lock_guard lock(inside);
    ++waiting;
    while (!Server().context.stopping && !abandoned) std::this_thread::yield();
  };
  std::future<int> registration = std::async(
      std::launch::async, [] { return SdkAPISer_Custom_Get_Post_Api_Add("/own", TestHost::CustomGetPost); });
  while (waiting == 0) std::this_thread::yield();
  std::future<int> stop = std::async(std::launch::async, [] { return SdkAPISer_Stop(nullptr); });
  const bool ended = stop.wait_for(std::chrono::seconds(20)) == std::future_status::ready;
  abandoned = true;
  EXPECT_TRUE(ended);
  EXPECT_EQ(registration.get(), 0);
  EXPECT_EQ(stop.get(), 0);
  EXPECT_EQ(Server().journal.back(), "stop")
      << "the context is not freed before the registration has left it";
}

TEST_F(LifecycleTest, AStopWaitsForEachOfTwoRegistrations) {
  SdkAPISer_Start(&table_);
  std::atomic<int> inside{0};
  std::atomic<int> mayLeave{0};
  std::atomic<bool> stopped{false};
  Server().onRoute = [&] {
    const int number = ++inside;
    EXPECT_TRUE(sdktest::Eventually([&] { return mayLeave >= number; }));
  };
  Server().onStop = [&] {
    EXPECT_EQ(mayLeave, 2) << "the web server is stopped beside a registration";
    stopped = true;
  };
  const auto add = [] { return SdkAPISer_Custom_Get_Post_Api_Add("/own", TestHost::CustomGetPost); };
  std::future<int> first = std::async(std::launch::async, add);
  EXPECT_TRUE(sdktest::Eventually([&] { return inside == 1; }));
  std::future<int> second = std::async(std::launch::async, add);
  EXPECT_TRUE(sdktest::Eventually([&] { return inside == 2; }));
  std::future<int> stop = std::async(std::launch::async, [] { return SdkAPISer_Stop(nullptr); });
  mayLeave = 1;
  EXPECT_EQ(first.get(), 0);
  EXPECT_FALSE(sdktest::Eventually([&] { return stopped.load(); }, std::chrono::milliseconds(200)));
  mayLeave = 2;
  EXPECT_EQ(second.get(), 0);
  EXPECT_EQ(stop.get(), 0);
  EXPECT_TRUE(stopped);
}

TEST_F(LifecycleTest, DuringAStopNothingIsRegisteredOrStartedAndASecondStopWaits) {
  SdkAPISer_Start(&table_);
  std::future<int> second;
  Server().onStop = [&] {
    EXPECT_FALSE(sdkapi::ServerIsRunning());
    EXPECT_EQ(SdkAPISer_Custom_Get_Post_Api_Add("/own", TestHost::CustomGetPost), -1);
    EXPECT_EQ(SdkAPISer_Start(&table_), -1);
    second = std::async(std::launch::async, [] { return SdkAPISer_Stop(nullptr); });
    EXPECT_EQ(second.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
  };
  EXPECT_EQ(SdkAPISer_Stop(nullptr), 0);
  EXPECT_EQ(second.get(), 0);
  EXPECT_EQ(Server().stops, 1);
  Server().onStop = nullptr;
  EXPECT_EQ(SdkAPISer_Start(&table_), 0);
}

TEST_F(LifecycleTest, ARequestThatComesDuringTheStartWaitsForTheRoutes) {
  std::future<size_t> request;
  Server().onStart = [&] {
    request = std::async(std::launch::async, [] {
      Server().callbacks.begin_request(nullptr);
      return Server().routes.size();
    });
    request.wait_for(std::chrono::milliseconds(100));  // one that does not wait is back by now
  };
  EXPECT_EQ(SdkAPISer_Start(&table_), 0);
  EXPECT_EQ(request.get(), Server().routes.size());
  Server().callbacks.end_request(nullptr, 200);
}

TEST_F(LifecycleTest, StartsAgainAfterAStop) {
  for (int round = 1; round <= 3; ++round) {
    EXPECT_EQ(SdkAPISer_Start(&table_), 0);
    EXPECT_EQ(Server().starts, round);
    EXPECT_EQ(Server().endpoints.size(), static_cast<std::size_t>(round));
    SdkAPISer_Stop(nullptr);
    EXPECT_EQ(Server().stops, round);
  }
}

TEST_F(LifecycleTest, StartForgetsEarlierLoginsAndSessions) {
  SdkAPISer_Start(&table_);
  RequireLogin();
  LogIn("one");
  EXPECT_NE(GetLoginHandle("one"), nullptr);
  SdkAPISer_Stop(nullptr);
  SdkAPISer_Start(&table_);
  EXPECT_EQ(GetLoginHandle("one"), nullptr);
}

TEST_F(LifecycleTest, StartForgetsEarlierWebSockets) {
  int entry = 0;
  ASSERT_EQ(HandleManageAddHandle(sdkapi::WebSocketLink(), &entry), 0);
  HandleManage* const node = sdkapi::WebSocketLink()->next;
  SdkAPISer_Start(&table_);
  EXPECT_EQ(HandleManageGetUsrCount(sdkapi::WebSocketLink()), 0);
  std::free(node);
}

TEST_F(LifecycleTest, LogMessageLeavesCivetWebsOwnLoggingInForce) {
  const mg_connection conn;
  EXPECT_EQ(sdkapi::log_message(&conn, "anything"), 0);
  EXPECT_EQ(sdkapi::log_message(nullptr, nullptr), 0);
  EXPECT_EQ(Log(), Strings{});
}

class InitSslTest : public LifecycleTest {
 protected:
  std::string ContextLine() const {
    char text[64];
    std::snprintf(text, sizeof text, "1 sdkapi ssl_ctx_st = [%p]", static_cast<void*>(ssl_.get()));
    return text;
  }

  std::unique_ptr<SSL_CTX, decltype(&SSL_CTX_free)> ssl_{SSL_CTX_new(TLS_server_method()), SSL_CTX_free};
};

TEST_F(InitSslTest, InstallsThePassPhrase) {
  char passPhrase[] = "secret";
  EXPECT_EQ(sdkapi::init_ssl(ssl_.get(), passPhrase), 0);
  EXPECT_EQ(SSL_CTX_get_default_passwd_cb_userdata(ssl_.get()), passPhrase);
  EXPECT_EQ(Log(), (Strings{"1 sdkapi https cert passwd is [secret]", ContextLine()}));
}

TEST_F(InitSslTest, AnEmptyPassPhraseInstallsNoUserData) {
  char passPhrase[] = "";
  EXPECT_EQ(sdkapi::init_ssl(ssl_.get(), passPhrase), 0);
  EXPECT_EQ(SSL_CTX_get_default_passwd_cb_userdata(ssl_.get()), nullptr);
  EXPECT_EQ(Log(), Strings{ContextLine()});
}

TEST_F(InitSslTest, NoPassPhraseInstallsNoUserData) {
  EXPECT_EQ(sdkapi::init_ssl(ssl_.get(), nullptr), 0);
  EXPECT_EQ(SSL_CTX_get_default_passwd_cb_userdata(ssl_.get()), nullptr);
  EXPECT_EQ(Log(), Strings{ContextLine()});
}

// OpenSSL would otherwise ask on the terminal and block the start.
TEST_F(InitSslTest, WithoutAPassPhraseAnEncryptedKeyIsRefusedWithoutAQuestion) {
  char passPhrase[] = "";
  sdkapi::init_ssl(ssl_.get(), passPhrase);
  pem_password_cb* const ask = SSL_CTX_get_default_passwd_cb(ssl_.get());
  ASSERT_NE(ask, nullptr);
  char room[8];
  EXPECT_LE(ask(room, sizeof room, 0, nullptr), 0);
}

}  // namespace
