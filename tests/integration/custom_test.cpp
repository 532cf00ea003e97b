// Routes that the host adds while the server runs.
#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <thread>
#include <utility>

#include "server_test_base.h"

namespace integration {
namespace {

Hook<int(mg_connection*, CustomReqInfo*)> serve;
Hook<int(mg_connection*, CustomDownloadInfo*)> findFile;

int Serve(mg_connection* conn, CustomReqInfo* request) { return serve(conn, request); }
int FindFile(mg_connection* conn, CustomDownloadInfo* info) { return findFile(conn, info); }

int SayHello(mg_connection* conn, CustomReqInfo*) { return SendReponseInfo(conn, 200, 0, "hello", 5); }
int SayGoodbye(mg_connection* conn, CustomReqInfo*) { return SendReponseInfo(conn, 200, 0, "goodbye", 7); }

// What a get/post function saw of its request.
struct Seen {
  bool hasBody;
  std::string body;
  int64_t bodyLength;
  int32_t method;

  bool operator==(const Seen&) const = default;
};

class CustomTest : public ModeTest {
 protected:
  void SetUp() override {
    ModeTest::SetUp();
    ASSERT_EQ(SdkAPISer_Custom_Get_Post_Api_Add("/own/api", Serve), 0);
    ASSERT_EQ(SdkAPISer_Custom_Download_Api_Add("/own/file$", FindFile), 0);
    serve = [this](mg_connection* conn, CustomReqInfo* request) {
      const std::string body(request->body != nullptr ? request->body : "",
                             static_cast<std::size_t>(std::max<int64_t>(request->bodyLength, 0)));
      seen_.push_back({request->body != nullptr, body, request->bodyLength, request->method});
      return SendReponseInfo(conn, 200, 1, "{}", 2);
    };
  }

  void TearDown() override {
    serve = nullptr;
    findFile = nullptr;
    ModeTest::TearDown();
  }

  void ExpectServed(const Response& response) {
    EXPECT_EQ(WithoutDate(response.raw),
              "HTTP/1.1 200 OK\r\nDate: <date>\r\nContent-Type: application/json; charset=utf-8;\r\n"
              "Cache-Control: no-cache,no-store,must-revalidate,max-age=0\r\n"
              "Content-Security-Policy: frame-ancestors *;\r\nX-Content-Type-Options:nosniff\r\n"
              "Strict-Transport-Security: max-age=63072000; includeSubdomains; preload\r\n"
              "Content-Length: 2\r\nConnection: close\r\n\r\n{}");
  }

  std::vector<Seen> seen_;
};

INSTANTIATE_TEST_SUITE_P(Modes, CustomTest, AllModes(), ModeName);

TEST_P(CustomTest, TheFunctionSeesMethodAndBody) {
  const std::string large = SampleBytes(100000);
  struct Row {
    HttpRequest request;
    Seen seen;
  };
  const Row rows[] = {
      {{"GET", "/own/api", {}, ""}, {false, "", 0, 0}},
      {{"GET", "/own/api/below", {}, ""}, {false, "", 0, 0}},
      {{"GET", "/own/apiary?x=1", {}, ""}, {false, "", 0, 0}},
      {{"GET", "/own/api", {}, "body"}, {true, "body", 4, 0}},
      {{"POST", "/own/api", {}, ""}, {false, "", 0, 1}},
      {{"POST", "/own/api", {}, large}, {true, large, 100000, 1}},
      {{"PUT", "/own/api", {}, "x"}, {true, "x", 1, 2}},
      {{"DELETE", "/own/api", {}, ""}, {false, "", 0, 2}},
      {{"OPTIONS", "/own/api", {}, ""}, {false, "", 0, 2}},
      {{"PATCH", "/own/api", {}, "yy"}, {true, "yy", 2, 2}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.request.method + " " + row.request.target);
    seen_.clear();
    ExpectServed(Send(row.request));
    EXPECT_EQ(seen_, std::vector<Seen>{row.seen});
  }
}

TEST_P(CustomTest, LengthsThatLieDoNoHarm) {
  struct Row {
    const char* what;
    std::string header;
    std::string body;
    Seen seen;
  };
  const Row rows[] = {
      {"longer than what comes", "Content-Length: 1000", "0123456789", {true, "0123456789", 10, 1}},
      {"two thousand million", "Content-Length: 2000000000", "abc", {true, "abc", 3, 1}},
      {"over 32 bits: cut to one byte", "Content-Length: 4294967297", "xyz", {true, "x", 1, 1}},
      {"negative when cut to 32 bits", "Content-Length: 2147483648", "xyz", {false, "", 0, 1}},
      {"chunked", "Transfer-Encoding: chunked", "3\r\nabc\r\n0\r\n\r\n", {false, "", 0, 1}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    seen_.clear();
    Connection client(Server::Get().port(mode().https), mode().https);
    ASSERT_TRUE(client.Send("POST /own/api HTTP/1.1\r\nHost: a\r\n" + Authorization() + "\r\n" + row.header +
                            "\r\n\r\n" + row.body));
    client.FinishSending();
    ExpectServed(ParseResponse(client.ReadToEnd()));
    EXPECT_EQ(seen_, std::vector<Seen>{row.seen});
  }
}

TEST_P(CustomTest, TheBodyIsTheFunctionsToTakeOrToReplace) {
  char* taken = nullptr;
  serve = [&taken](mg_connection* conn, CustomReqInfo* request) {
    taken = std::exchange(request->body, nullptr);
    return SendReponseInfo(conn, 200, 1, "{}", 2);
  };
  ExpectServed(Post("/own/api", "kept"));
  ASSERT_NE(taken, nullptr);
  EXPECT_EQ(std::string(taken, 4), "kept");
  std::free(taken);
  serve = [](mg_connection* conn, CustomReqInfo* request) {
    std::free(std::exchange(request->body, static_cast<char*>(std::malloc(100))));
    return SendReponseInfo(conn, 200, 1, "{}", 2);
  };
  ExpectServed(Post("/own/api", "replaced"));
}

TEST_P(CustomTest, TheFunctionReadsHeadersAndParameters) {
  serve = [](mg_connection* conn, CustomReqInfo*) {
    char value[8] = {};
    char token[1032] = {};
    std::string text;
    text +=
        std::string(GetHttpRepMethod(conn)) + "|" + GetHttpUrl(conn) + "|" + std::to_string(GetHttpLen(conn));
    text += "|" + std::to_string(GetHttpUrlParam(conn, "short", value, sizeof value)) + value;
    text += "|" + std::to_string(SdkAPISer_Get_Url_Param(conn, "long", value, sizeof value));
    text += "|" + std::to_string(GetHttpUrlParam(conn, "none", value, sizeof value));
    text += std::string("|") + SdkAPISer_Get_Head_Param(conn, "x-my-head");
    text += GetHttpHeadValue(conn, "X-None") == nullptr ? "|none" : "|some";
    text += "|" + std::to_string(GetHttpToken(conn, token)) + token;
    text += "|" + std::to_string(GetHttpBody(conn, nullptr, 5));
    return SendReponseInfo(conn, 299, 7, text.c_str(), static_cast<int>(text.size()));
  };
  const Response response =
      Send(HttpRequest{"GET", "/own/api/path?short=a%20b&long=123456789", {"X-My-Head: value"}, ""});
  const std::string body = "GET|/own/api/path|-1|3a b|-2|-1|value|none|0" + token() + "|-1";
  EXPECT_EQ(WithoutDate(response.raw),
            "HTTP/1.1 299 Server Error\r\nDate: <date>\r\nContent-Length: " + std::to_string(body.size()) +
                "\r\nConnection: close\r\n\r\n" + body);
}

TEST_P(CustomTest, TheFunctionRepliesInItsOwnWay) {
  const std::string large(200000, 'L');
  serve = [&](mg_connection* conn, CustomReqInfo*) {
    std::vector<char> reply(381 + large.size());
    EXPECT_EQ(GroupRespHttpMsg(503, large.c_str(), static_cast<int>(large.size()), reply.data(), 1), 0);
    EXPECT_EQ(SendHttpBuff(conn, reply.data(), 0), 0);
    return 0;
  };
  ExpectReply(Get("/own/api"), 503, large);
  serve = [&](mg_connection* conn, CustomReqInfo*) { return SendReponseInfo(conn, 204, 0, nullptr, 0); };
  EXPECT_EQ(WithoutDate(Get("/own/api").raw),
            "HTTP/1.1 204 No Content\r\nDate: <date>\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
}

TEST_P(CustomTest, AResultOfMinusTwoEndsTheConnectionWithoutAReply) {
  serve = [](mg_connection*, CustomReqInfo*) { return -2; };
  for (const HttpRequest& request :
       {HttpRequest{"GET", "/own/api", {Authorization()}, ""},
        HttpRequest{"POST", "/own/api", {Authorization()}, std::string(200000, 'b')}}) {
    Connection client(Server::Get().port(mode().https), mode().https);
    EXPECT_TRUE(client.Send(request.Bytes()));
    EXPECT_EQ(client.ReadToEnd(), "");
    EXPECT_EQ(client.end(), Connection::End::kEof);
  }
}

TEST_P(CustomTest, AnUnknownTokenReachesNoFunction) {
  if (!mode().auth) return;
  struct Row {
    const char* target;
    const char* log;
  };
  int uploads = 0;
  host().customUpload = [&](const UploadStep&, UploadCustomCtx&) { return ++uploads, 0; };
  ASSERT_EQ(SdkAPISer_Custom_Upload_Api_Add("/own/upload$", TestHost::CustomUpload), 0);
  for (const Row& row : {Row{"/own/api", "token err!!!!"}, Row{"/own/file", "GetLoginHandle err!!!!"},
                         Row{"/own/upload", "GetLoginHandle err stranger!!!!"}}) {
    SCOPED_TRACE(row.target);
    LogCapture::Clear();
    ExpectReply(SendBare({"GET", row.target, {"Authorization: Bearer stranger"}, ""}), 401);
    EXPECT_EQ(LogCapture::Count(4, row.log, "sdkapicustom"), 1);
  }
  EXPECT_TRUE(seen_.empty());
  EXPECT_EQ(uploads, 0);
}

TEST_P(CustomTest, MissingFunctionsAreAnswered) {
  ASSERT_EQ(SdkAPISer_Custom_Get_Post_Api_Add("/null/api$", nullptr), 0);
  ASSERT_EQ(SdkAPISer_Custom_Upload_Api_Add("/null/upload$", nullptr), 0);
  ASSERT_EQ(SdkAPISer_Custom_Download_Api_Add("/null/file$", nullptr), 0);
  ExpectReply(Get("/null/api"), 500);
  EXPECT_EQ(LogCapture::Count(4, "no server func", "sdkapicustom"), 1);
  ExpectReply(Send(UploadRequest("/null/upload", MultipartBody({{"f", "x", "f"}}))), 500);
  EXPECT_EQ(LogCapture::Count(4, "FuncUploadCustomFoundCb not registered!!!!", "sdkapicustom"), 1);
  ExpectReply(Send(UploadRequest("/null/upload", "--BOUNDARYxyz--\r\n")), 500);
  ExpectNotFound(Get("/null/file"));
  EXPECT_EQ(LogCapture::Count(4, "FuncDownloadCustomHandle not registered!!!!", "sdkapicustom"), 1);
}

TEST_P(CustomTest, DownloadsAreSentAndRefused) {
  const std::string content = SampleBytes(3001);
  const std::string path = Workspace::Get().WriteFile("own.bin", content);
  findFile = [&](mg_connection* conn, CustomDownloadInfo* info) {
    EXPECT_STREQ(GetHttpUrl(conn), "/own/file");
    path.copy(info->filePath, sizeof info->filePath);
    std::strcpy(info->downloadName, "shown.bin");
    return 0;
  };
  const Response sent = Send(HttpRequest{"GET", "/own/file", {"Connection: close"}, ""});
  EXPECT_EQ(sent.head, DownloadHead("shown.bin"));
  const ChunkedBody chunks = ParseChunks(sent.body);
  EXPECT_EQ(chunks.sizes, (std::vector<std::size_t>{1500, 1500, 1}));
  EXPECT_TRUE(chunks.terminated);
  EXPECT_TRUE(chunks.data == content);

  for (const int result : {-2, -1, 4}) {
    findFile = [&](mg_connection*, CustomDownloadInfo*) { return result; };
    ExpectReply(Get("/own/file"), result == -2 ? 401 : 500);
  }
  findFile = [&](mg_connection*, CustomDownloadInfo* info) {
    std::strcpy(info->filePath, "/nowhere/at/all");
    std::memset(info->downloadName, 'd', sizeof info->downloadName);
    return 0;
  };
  EXPECT_EQ(Get("/own/file").raw, DownloadHead(std::string(255, 'd')));
  EXPECT_TRUE(LogCapture::Wait(4, "open file error", "sdkapidownload"));
}

TEST_P(CustomTest, RegisteringAgainReplacesTheFunction) {
  ASSERT_EQ(SdkAPISer_Custom_Get_Post_Api_Add("/changing$", SayHello), 0);
  EXPECT_TRUE(Get("/changing").raw.ends_with("\r\n\r\nhello"));
  ASSERT_EQ(SdkAPISer_Custom_Get_Post_Api_Add("/changing$", SayGoodbye), 0);
  EXPECT_TRUE(Get("/changing").raw.ends_with("\r\n\r\ngoodbye"));
}

TEST_P(CustomTest, AFunctionMayAddOtherRoutes) {
  serve = [](mg_connection* conn, CustomReqInfo*) {
    EXPECT_EQ(SdkAPISer_Custom_Get_Post_Api_Add("/added/inside$", SayHello), 0);
    return SendReponseInfo(conn, 200, 1, "{}", 2);
  };
  ExpectServed(Get("/own/api"));
  EXPECT_TRUE(Get("/added/inside").raw.ends_with("\r\n\r\nhello"));
}

TEST_P(CustomTest, RoutesAreAddedFromManyThreadsUnderLoad) {
  std::atomic<int> good{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&, i] {
      for (int n = 0; n < 10; ++n) {
        const std::string target = "/added/" + std::to_string(i) + "/" + std::to_string(n);
        if (SdkAPISer_Custom_Get_Post_Api_Add((target + "$").c_str(), SayHello) != 0) continue;
        if (Get(target).raw.ends_with("\r\n\r\nhello")) ++good;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(good.load(), 80);
}

TEST_P(CustomTest, TheFunctionCanUseTheCallersTable) {
  serve = [](mg_connection* conn, CustomReqInfo*) {
    char token[1032] = {};
    GetHttpToken(conn, token);
    const SdkAPISerHandle* const table = GetLoginHandle(token);
    const bool good = table != nullptr && table->DeviceInfoCb == TestHost::Table().DeviceInfoCb;
    return SendReponseInfo(conn, good ? 200 : 500, 1, "{}", 2);
  };
  ExpectServed(Get("/own/api"));
}

class RegistrationTest : public ServerTest {};

TEST_F(RegistrationTest, IsRefusedUnlessTheServerRuns) {
  LogCapture::Install();
  Server::Get().Stop();
  LogCapture::Clear();
  const auto refused = [](const char* uri) {
    return SdkAPISer_Custom_Get_Post_Api_Add(uri, SayHello) == -1 &&
           SdkAPISer_Custom_Upload_Api_Add(uri, TestHost::CustomUpload) == -1 &&
           SdkAPISer_Custom_Download_Api_Add(uri, FindFile) == -1;
  };
  EXPECT_TRUE(refused("/early$"));
  EXPECT_EQ(LogCapture::Count(4, "ctx error..", "sdkapi"), 3);
  EXPECT_TRUE(refused(nullptr));
  EXPECT_EQ(LogCapture::Count(4, "ctx error..", "sdkapi"), 6);
  Prepare({false, false});
  EXPECT_TRUE(refused(nullptr));
  EXPECT_EQ(LogCapture::Count(4, "ctx error..", "sdkapi"), 0);
  ExpectNotFound(Get("/early"));
  ASSERT_EQ(SdkAPISer_Custom_Get_Post_Api_Add("/early$", SayHello), 0);
  EXPECT_TRUE(Get("/early").raw.ends_with("hello"));
  Server::Get().Stop();
  LogCapture::Clear();
  EXPECT_TRUE(refused("/late$"));
  EXPECT_EQ(LogCapture::Count(4, "ctx error..", "sdkapi"), 3);
  Prepare({false, false});
  ExpectNotFound(Get("/early"));  // registrations are lost at stop
}

TEST_F(RegistrationTest, ACustomPatternCanHideABuiltInRoute) {
  Prepare({false, false});
  ASSERT_EQ(SdkAPISer_Custom_Get_Post_Api_Add("/api/v1", SayHello), 0);
  EXPECT_TRUE(Get("/api/v1/log").raw.ends_with("hello"));
  EXPECT_EQ(host().Count("DownloadLogFileCb"), 0);
  Server::Get().Stop();
  Prepare({false, false});
  host().download = [](DownloadFileInfo&) { return -1; };
  ExpectReply(Get("/api/v1/log"), 500);
}

}  // namespace
}  // namespace integration
