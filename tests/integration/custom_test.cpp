// Routes that the host adds while the server runs.
#include <atomic>
#include <cstring>
#include <thread>

#include "server_test_base.h"

namespace integration {
namespace {

// What the custom functions do and saw; one test runs at a time.
struct Custom {
  Hook<int(mg_connection*, CustomReqInfo*)> getPost;
  Hook<int(UploadCustomCtx*)> upload;
  Hook<int(CustomDownloadInfo*)> download;
  std::mutex mutex;
  std::vector<std::string> calls;

  void Note(const std::string& call) {
    const std::lock_guard lock(mutex);
    calls.push_back(call);
  }
  std::vector<std::string> Calls() {
    const std::lock_guard lock(mutex);
    return calls;
  }
};
Custom custom;

int ServeGetPost(mg_connection* conn, CustomReqInfo* request) {
  const std::string body =
      request->body == nullptr
          ? "null"
          : std::string(request->body, static_cast<std::size_t>(std::max<int64_t>(request->bodyLength, 0)));
  custom.Note(std::to_string(request->method) + " " + std::to_string(request->bodyLength) + " " +
              body.substr(0, 40));
  return custom.getPost(conn, request);
}

int TakeUpload(mg_connection* conn, UploadCustomCtx* ctx) {
  EXPECT_EQ(ctx->conn, conn);
  EXPECT_EQ(ctx->hostFunction, &TakeUpload);
  EXPECT_EQ(ctx->extra, nullptr);
  custom.Note(std::string(ctx->name) + " " + ctx->fileName + " " + std::to_string(ctx->noFileName) + " " +
              std::to_string(ctx->pieceState) + " " + std::to_string(ctx->endFlag) + " " +
              std::string(ctx->data, static_cast<std::size_t>(ctx->length)).substr(0, 40));
  return custom.upload(ctx);
}

int NameDownload(mg_connection* /*conn*/, CustomDownloadInfo* info) {
  custom.Note("download");
  return custom.download(info);
}

int Ok(mg_connection* conn, CustomReqInfo* /*request*/) {
  return SendReponseInfo(conn, 201, 1, "{\"a\":1}", 7);
}

class CustomTest : public ModeTest {
 protected:
  void SetUp() override {
    ModeTest::SetUp();
    custom.getPost = Ok;
    custom.upload = nullptr;
    custom.download = nullptr;
    custom.calls.clear();
    EXPECT_EQ(SdkAPISer_Custom_Get_Post_Api_Add("/own/api$", ServeGetPost), 0);
    EXPECT_EQ(SdkAPISer_Custom_Upload_Api_Add("/own/upload$", TakeUpload), 0);
    EXPECT_EQ(SdkAPISer_Custom_Download_Api_Add("/own/download$", NameDownload), 0);
  }

  static std::string Created() {
    return "HTTP/1.1 201 Created\r\nDate: <date>\r\nContent-Type: application/json; charset=utf-8;\r\n"
           "Cache-Control: no-cache,no-store,must-revalidate,max-age=0\r\n"
           "Content-Security-Policy: frame-ancestors *;\r\nX-Content-Type-Options:nosniff\r\n"
           "Strict-Transport-Security: max-age=63072000; includeSubdomains; preload\r\n"
           "Content-Length: 7\r\nConnection: close\r\n\r\n{\"a\":1}";
  }
};

TEST_P(CustomTest, MethodAndBodyReachTheFunction) {
  EXPECT_EQ(WithoutDate(Get("/own/api").raw), Created());
  Post("/own/api", "hello");
  Send(HttpRequest{"PUT", "/own/api", {}, "data"});
  Send(HttpRequest{"DELETE", "/own/api", {}, ""});
  EXPECT_EQ(custom.Calls(), (std::vector<std::string>{"0 0 null", "1 5 hello", "2 4 data", "2 0 null"}));
}

TEST_P(CustomTest, ABodyOfUnknownLengthIsNotRead) {
  ServerTest::Send("POST /own/api HTTP/1.1\r\nHost: x\r\n" + Authorization() +
                   "\r\nTransfer-Encoding: chunked\r\n\r\n3\r\nabc\r\n0\r\n\r\n");
  EXPECT_EQ(custom.Calls(), (std::vector<std::string>{"1 0 null"}));
}

TEST_P(CustomTest, AFalseLengthGivesWhatArrived) {
  Connection connection(Server::Get().port(mode().https), mode().https);
  connection.Send("POST /own/api HTTP/1.1\r\nHost: x\r\n" + Authorization() +
                  "\r\nContent-Length: 2000000000\r\n\r\nabc");
  connection.Abort();
  EXPECT_TRUE(Eventually([] { return custom.Calls().size() == 1; }));
}

TEST_P(CustomTest, ALengthBeyond32BitsIsCut) {
  Connection connection(Server::Get().port(mode().https), mode().https);
  connection.Send("POST /own/api HTTP/1.1\r\nHost: x\r\n" + Authorization() +
                  "\r\nContent-Length: 4294967297\r\n\r\na");
  EXPECT_TRUE(Eventually([] { return custom.Calls() == std::vector<std::string>{"1 1 a"}; }));
  connection.Abort();
}

TEST_P(CustomTest, MinusTwoSendsNothingAndEndsTheConnection) {
  custom.getPost = [](mg_connection*, CustomReqInfo*) { return -2; };
  EXPECT_EQ(Get("/own/api").raw, "");
  EXPECT_EQ(Post("/own/api", std::string(100000, 'x')).raw, "");
}

TEST_P(CustomTest, AnUnknownTokenReachesNoFunction) {
  if (!mode().auth) return;
  ExpectReply(SendBare(HttpRequest{"GET", "/own/api", {}, ""}), 401);
  EXPECT_TRUE(LogLines::Wait(4, "token err!!!!", "sdkapicustom"));
  ExpectReply(SendBare(HttpRequest{"GET", "/own/upload", {}, ""}), 401);
  EXPECT_TRUE(LogLines::Wait(4, "GetLoginHandle err !!!!", "sdkapicustom"));
  ExpectReply(SendBare(HttpRequest{"GET", "/own/download", {}, ""}), 401);
  EXPECT_TRUE(LogLines::Wait(4, "GetLoginHandle err!!!!", "sdkapicustom"));
  EXPECT_TRUE(custom.Calls().empty());
}

TEST_P(CustomTest, NullFunctionsAreRefusedPerRequest) {
  SdkAPISer_Custom_Get_Post_Api_Add("/null/api$", nullptr);
  SdkAPISer_Custom_Upload_Api_Add("/null/upload$", nullptr);
  SdkAPISer_Custom_Download_Api_Add("/null/download$", nullptr);
  ExpectReply(Get("/null/api"), 500);
  EXPECT_TRUE(LogLines::Wait(4, "no server func", "sdkapicustom"));
  ExpectReply(Send(UploadRequest("/null/upload", MultipartBody({{"f", "x", "n"}}))), 500);
  EXPECT_TRUE(LogLines::Wait(4, "FuncUploadCustomFoundCb not registered!!!!", "sdkapicustom"));
  ExpectReply(Send(UploadRequest("/null/upload", "--BOUNDARYxyz--\r\n")), 500);
  ExpectNotFound(Get("/null/download"));
  EXPECT_TRUE(LogLines::Wait(4, "FuncDownloadCustomHandle not registered!!!!", "sdkapicustom"));
}

TEST_P(CustomTest, AnUploadIsHandedOverInSteps) {
  ExpectReply(
      Send(UploadRequest("/own/upload", MultipartBody({{"f", "data", "my file.bin"}, {"n", "v", ""}}))), 200);
  EXPECT_EQ(custom.Calls(), (std::vector<std::string>{"f my file.bin 0 0 0 ", "f my file.bin 0 1 0 data",
                                                      "n my file.bin 1 0 0 ", "n my file.bin 1 1 0 v",
                                                      "n my file.bin 1 1 1 "}));
}

TEST_P(CustomTest, AnEmptyFormGetsItsFinalCall) {
  ExpectReply(Send(UploadRequest("/own/upload", "--BOUNDARYxyz--\r\n")), 200);
  EXPECT_EQ(custom.Calls(), (std::vector<std::string>{"  0 0 1 "}));
}

TEST_P(CustomTest, UploadResultsBecomeStatuses) {
  struct Row {
    int result;
    bool inFinalCall;
    int status;
  };
  for (const Row& row : {Row{-2, false, 401}, Row{3, false, 500}, Row{-1, false, 500}, Row{3, true, 500},
                         Row{-2, true, 500}}) {
    SCOPED_TRACE(row.result);
    custom.upload = [&](UploadCustomCtx* ctx) {
      return (ctx->endFlag == 1) == row.inFinalCall ? row.result : 0;
    };
    ExpectReply(Send(UploadRequest("/own/upload", MultipartBody({{"f", "data", "n"}}))), row.status);
  }
}

TEST_P(CustomTest, FormsThatCannotBeParsedAreRefused) {
  ExpectReply(
      Send(HttpRequest{"POST", "/own/upload", {"Content-Type: application/x-www-form-urlencoded"}, "a=%"}),
      500);
  ExpectReply(Send(HttpRequest{"POST", "/own/upload", {}, "a=%"}), 500);
  ExpectReply(Send(UploadRequest(
                  "/own/upload",
                  "--BOUNDARYxyz\r\nContent-Disposition: form-data; name=\"x\"\r\n\r\n--BOUNDARYxyz--")),
              500);
}

TEST_P(CustomTest, DownloadsAreServed) {
  const std::string path = Workspace::Get().WriteFile("own.bin", std::string(2000, 'd'));
  custom.download = [&](CustomDownloadInfo* info) {
    std::strcpy(info->downloadName, "shown.bin");
    std::strcpy(info->filePath, path.c_str());
    return 0;
  };
  const Response reply = Send(HttpRequest{"GET", "/own/download", {"Connection: close"}, ""});
  EXPECT_EQ(reply.head, DownloadHead("shown.bin"));
  const ChunkedBody body = ParseChunks(reply.body);
  EXPECT_EQ(body.sizes, (std::vector<std::size_t>{1500, 500}));
  EXPECT_TRUE(body.terminated);
  custom.download = [](CustomDownloadInfo*) { return -2; };
  ExpectReply(Get("/own/download"), 401);
  custom.download = [](CustomDownloadInfo*) { return 9; };
  ExpectReply(Get("/own/download"), 500);
}

TEST_P(CustomTest, AMissingFileGivesTheHeadAlone) {
  custom.download = [](CustomDownloadInfo* info) { return std::strcpy(info->filePath, "/no/such/file"), 0; };
  const Response reply = Get("/own/download");
  EXPECT_EQ(reply.raw, DownloadHead(""));
  EXPECT_TRUE(LogLines::Wait(4, "open file error", "sdkapidownload"));
}

TEST_P(CustomTest, ALaterBindingReplacesTheEarlier) {
  SdkAPISer_Custom_Get_Post_Api_Add("/own/again$", nullptr);
  SdkAPISer_Custom_Get_Post_Api_Add("/own/again$", Ok);
  EXPECT_EQ(WithoutDate(Get("/own/again").raw), Created());
}

TEST_P(CustomTest, RoutesAreAddedFromManyThreads) {
  std::vector<std::thread> threads;
  std::atomic<int> failures{0};
  for (int thread = 0; thread < 8; ++thread) {
    threads.emplace_back([thread, &failures] {
      for (int i = 0; i < 20; ++i) {
        const std::string uri = "/many/" + std::to_string(thread) + "/" + std::to_string(i) + "$";
        failures += SdkAPISer_Custom_Get_Post_Api_Add(uri.c_str(), Ok) != 0;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(failures, 0);
  EXPECT_EQ(WithoutDate(Get("/many/7/19").raw), Created());
}

INSTANTIATE_TEST_SUITE_P(Modes, CustomTest, AllModes(), ModeName);

TEST(CustomRegistrationTest, IsRefusedWithoutARunningServer) {
  Server::Get().Ensure();
  Server::Get().Stop();
  LogLines::Clear();
  EXPECT_EQ(SdkAPISer_Custom_Get_Post_Api_Add("/late$", Ok), -1);
  EXPECT_EQ(SdkAPISer_Custom_Upload_Api_Add("/late$", TakeUpload), -1);
  EXPECT_EQ(SdkAPISer_Custom_Download_Api_Add("/late$", NameDownload), -1);
  EXPECT_EQ(LogLines::Count(4, "ctx error..", "sdkapi"), 3);
}

}  // namespace
}  // namespace integration
