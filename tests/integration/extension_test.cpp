// The extension interface: what its functions have in common, and answers for functions that gave none.
#include "sdkapi/extension.h"

#include <civetweb.h>

#include <atomic>
#include <deque>
#include <functional>

#include "server_test_base.h"

namespace integration {
namespace {

Hook<int(mg_connection*, CustomReqInfo*)> serve;

int Serve(mg_connection* conn, CustomReqInfo* request) { return serve(conn, request); }

class SilentFailureTest : public ModeTest {
 protected:
  void SetUp() override {
    ModeTest::SetUp();
    ASSERT_EQ(SdkAPISer_Custom_Get_Post_Api_Add("/own/api", Serve), 0);
    ASSERT_EQ(SdkAPIExt_SilentFailure_Set(500), 0);
  }

  void TearDown() override {
    serve = nullptr;
    EXPECT_EQ(SdkAPIExt_SilentFailure_Set(0), 0);
    ModeTest::TearDown();
  }

  // Nothing came, and the server waits for the next request.
  void ExpectSilence() {
    Connection client(Server::Get().port(mode().https), mode().https);
    ASSERT_TRUE(client.Send(HttpRequest{"GET", "/own/api", {Authorization()}, ""}.Bytes()));
    EXPECT_TRUE(client.StaysOpen(std::chrono::milliseconds(100)));
    EXPECT_EQ(client.received(), "");
  }

  Response Closing(const std::string& target) {
    return Send(HttpRequest{"GET", target, {"Connection: close"}, ""});
  }
};

INSTANTIATE_TEST_SUITE_P(Modes, SilentFailureTest, AllModes(), ModeName);

TEST_P(SilentFailureTest, IsAnsweredWithTheStatus) {
  for (const int result : {-1, 1, 2, 500, -3}) {
    SCOPED_TRACE(result);
    serve = [result](mg_connection*, CustomReqInfo*) { return result; };
    ExpectReply(Get("/own/api"), 500);
    ExpectReply(Post("/own/api/below?x=1", "{}"), 500);
  }
  for (const int status : {200, 400, 401, 403, 404, 405, 406, 503}) {
    ASSERT_EQ(SdkAPIExt_SilentFailure_Set(status), 0);
    ExpectReply(Get("/own/api"), status);
  }
}

TEST_P(SilentFailureTest, ABodyIsReadAwayAndFreed) {
  serve = [](mg_connection*, CustomReqInfo*) { return -1; };
  ExpectReply(Post("/own/api", std::string(300000, 'b')), 500);
  ExpectReply(Send("POST /own/api HTTP/1.1\r\nHost: a\r\n" + Authorization() +
                   "\r\nTransfer-Encoding: chunked\r\n\r\n5\r\nhello\r\n0\r\n\r\n"),
              500);
}

TEST_P(SilentFailureTest, WhateverSenderWasUsedIsAnAnswer) {
  const std::string file = Workspace::Get().WriteFile("own.txt", "content of the file");
  struct Row {
    const char* what;
    std::function<void(mg_connection*)> send;
  };
  const Row rows[] = {
      {"SendReponseInfo", [](mg_connection* conn) { SendReponseInfo(conn, 409, 1, "{}", 2); }},
      {"SendHttpBuff", [](mg_connection* conn) { SendHttpBuff(conn, "HTTP/1.1 200 OK\r\n\r\nx", 0); }},
      {"SendHttpDownLoadFile", [&](mg_connection* conn) { SendHttpDownLoadFile(conn, file.c_str(), "a"); }},
      {"SendHttpDownLoadFile, no file", [](mg_connection* conn) { SendHttpDownLoadFile(conn, "/no", "a"); }},
      {"SendHttpDownLoadFile_S",
       [&](mg_connection* conn) { SendHttpDownLoadFile_S(conn, file.c_str(), "a"); }},
      {"SendHttpMjpegHead", [](mg_connection* conn) { SendHttpMjpegHead(conn); }},
      {"mg_write", [](mg_connection* conn) { mg_write(conn, "HTTP/1.1 200 OK\r\n\r\n", 19); }},
      {"mg_printf", [](mg_connection* conn) { mg_printf(conn, "HTTP/1.1 %d OK\r\n\r\n", 200); }},
      {"mg_send_chunk", [](mg_connection* conn) { mg_send_chunk(conn, "x", 1); }},
      {"mg_send_http_error", [](mg_connection* conn) { mg_send_http_error(conn, 404, "%s", "gone"); }},
      {"mg_send_file", [&](mg_connection* conn) { mg_send_mime_file(conn, file.c_str(), "text/plain"); }},
      {"mg_response_header_send",
       [](mg_connection* conn) {
         mg_response_header_start(conn, 200);
         mg_response_header_add(conn, "Content-Length", "0", -1);
         mg_response_header_send(conn);
       }},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    const auto answer = [&](int result) {
      serve = [&row, result](mg_connection* conn, CustomReqInfo*) {
        row.send(conn);
        mg_disable_connection_keep_alive(conn);
        return result;
      };
      return WithoutDate(Closing("/own/api").raw);
    };
    const std::string expected = answer(0);
    EXPECT_NE(expected, "");
    EXPECT_EQ(answer(-1), expected);
    EXPECT_EQ(answer(500), expected);
  }
}

TEST_P(SilentFailureTest, EveryRequestOfAConnectionCountsForItself) {
  Connection client(Server::Get().port(mode().https), mode().https);
  serve = [](mg_connection* conn, CustomReqInfo*) {
    const char reply[] = "HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\nhi";
    return mg_write(conn, reply, sizeof reply - 1);
  };
  ASSERT_TRUE(client.Send(HttpRequest{"GET", "/own/api", {Authorization()}, ""}.Bytes()));
  ASSERT_TRUE(client.ReadUntil([](const std::string& text) { return text.ends_with("\r\n\r\nhi"); }));
  client.DropReceived();
  serve = [](mg_connection*, CustomReqInfo*) { return -1; };
  ASSERT_TRUE(client.Send(HttpRequest{"GET", "/own/api", {Authorization()}, ""}.Bytes()));
  ExpectReply(ParseResponse(client.ReadToEnd()), 500);
  EXPECT_EQ(client.end(), Connection::End::kEof);
}

TEST_P(SilentFailureTest, AHeadThatWasBegunAndNotSentIsNoAnswer) {
  serve = [](mg_connection* conn, CustomReqInfo*) { return mg_response_header_start(conn, 204) - 1; };
  ExpectReply(Get("/own/api"), 500);
}

TEST_P(SilentFailureTest, ZeroAndMinusTwoStayWhatTheyAre) {
  serve = [](mg_connection*, CustomReqInfo*) { return 0; };
  ExpectSilence();
  serve = [](mg_connection*, CustomReqInfo*) { return -2; };
  const Response refused = Get("/own/api");
  EXPECT_EQ(refused.raw, "");
}

TEST_P(SilentFailureTest, NothingIsSentWhereItWasTakenBack) {
  serve = [](mg_connection*, CustomReqInfo*) { return -1; };
  ASSERT_EQ(SdkAPIExt_SilentFailure_Set(0), 0);
  ExpectSilence();
}

TEST_P(SilentFailureTest, WithoutItClientsWaitAndNoWorkerDoes) {
  std::atomic<int> served{0};
  serve = [&served](mg_connection*, CustomReqInfo*) {
    ++served;
    return -1;
  };
  ASSERT_EQ(SdkAPIExt_SilentFailure_Set(0), 0);
  std::deque<Connection> clients;
  for (int i = 0; i < 5; ++i) {
    Connection& client = clients.emplace_back(Server::Get().port(mode().https), mode().https);
    ASSERT_TRUE(client.Send(HttpRequest{"GET", "/own/api", {Authorization()}, ""}.Bytes()));
  }
  SdkAPIExtStatistics now{};
  now.size = sizeof now;
  EXPECT_TRUE(Eventually([&] { return served == 5; }));
  EXPECT_TRUE(Eventually([&now] {
    return SdkAPIExt_Statistics_Get(&now) == 0 && now.idleConnections == 5 && now.busyWorkers == 0;
  })) << now.idleConnections
      << " wait, " << now.busyWorkers << " workers are busy";
  for (Connection& client : clients) EXPECT_TRUE(client.StaysOpen(std::chrono::milliseconds(0)));
}

TEST_P(SilentFailureTest, AnUnknownStatusIsRefused) {
  serve = [](mg_connection*, CustomReqInfo*) { return -1; };
  for (const int status : {-1, 1, 100, 201, 204, 413, 500000}) {
    SCOPED_TRACE(status);
    LogCapture::Clear();
    EXPECT_EQ(SdkAPIExt_SilentFailure_Set(status), -1);
    EXPECT_EQ(LogCapture::Count(4, "SdkAPIExt_SilentFailure_Set: status unknown!!!!", "sdkapiext"), 1);
    ExpectReply(Get("/own/api"), 500);
  }
}

}  // namespace
}  // namespace integration
