// Downloads: exact bytes of head and chunks, failures of host and file, clients that leave.
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <cstring>
#include <thread>

#include "curl_client.h"
#include "server_test_base.h"

namespace integration {
namespace {

struct Route {
  const char* target;
  const char* slot;
  const char* source;  // of its log lines
  bool optional;       // failures are left to the web server
};

constexpr Route kRoutes[] = {
    {"/log", "DownloadLogFileCb", "sdkapidownload", false},
    {"/api/v1/log", "DownloadLogFileCb", "sdkapidownload", false},
    {"/download/custom", "DownloadCustomCb", "sdkapidownload", false},
    {"/download/custom/any", "DownloadCustomCb", "sdkapidownload", false},
    {"/download/scene", "DownloadSceneFileCb", "sdkapidownload", false},
    {"/download/edid", "DownloadEdidFileCb", "sdkapidownload", false},
    {"/download/setting", "DownloadSettingFileCb", "sdkapidownload", true},
    {"/api/v1/settings/export", "DownloadSettingFileCb", "sdkapidownload", true},
    {"/download/logo", "DownloadImageFileCb", "sdkapi", true},
};

bool IsLogo(const Route& route) { return std::strcmp(route.target, "/download/logo") == 0; }

// A path that exists and cannot be opened, whoever runs the test.
std::string UnopenablePath() {
  const std::string path = Workspace::Get().Path("socket");
  const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  unlink(path.c_str());
  EXPECT_EQ(bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  close(fd);
  return path;
}

class DownloadTest : public ModeTest {
 protected:
  void Offer(const std::string& path, const std::string& name) {
    host().download = [path, name](DownloadFileInfo& info) {
      path.copy(info.path, sizeof info.path);
      name.copy(info.name, sizeof info.name);
      return 0;
    };
    host().downloadSetting = [path, name](DownloadSettingInfo& info) {
      path.copy(info.path, sizeof info.path);
      name.copy(info.name, sizeof info.name);
      return 0;
    };
  }

  void Fail(int result) {
    host().download = [result](DownloadFileInfo&) { return result; };
    host().downloadSetting = [result](DownloadSettingInfo&) { return result; };
  }

  Response Fetch(const std::string& target) {
    return Send(HttpRequest{"GET", target, {"Connection: close"}, ""});
  }

  void ExpectFile(const Response& response, const std::string& name, const std::string& content) {
    EXPECT_EQ(response.head, DownloadHead(name));
    const ChunkedBody chunks = ParseChunks(response.body);
    std::vector<std::size_t> sizes(content.size() / 1500, 1500);
    if (content.size() % 1500 != 0) sizes.push_back(content.size() % 1500);
    EXPECT_EQ(chunks.sizes, sizes);
    EXPECT_TRUE(chunks.terminated);
    EXPECT_TRUE(chunks.wellFormed);
    EXPECT_TRUE(chunks.data == content);
  }
};

INSTANTIATE_TEST_SUITE_P(Modes, DownloadTest, AllModes(), ModeName);

TEST_P(DownloadTest, FilesLeaveInChunksOf1500Bytes) {
  for (const std::size_t size : {0U, 1U, 1499U, 1500U, 1501U, 3000U, 3001U, 100000U}) {
    const std::string content = SampleBytes(size);
    Offer(Workspace::Get().WriteFile("file.bin", content), "file.bin");
    for (const Route& route : kRoutes) {
      SCOPED_TRACE(std::string(route.target) + " " + std::to_string(size));
      ExpectFile(Fetch(route.target), "file.bin", content);
      EXPECT_EQ(host().Calls(route.slot).back().token, IsLogo(route) ? "" : token());
    }
  }
}

TEST_P(DownloadTest, SmallFilesAreTheseBytes) {
  Offer(Workspace::Get().WriteFile("empty", ""), "e.txt");
  EXPECT_EQ(Fetch("/log").raw,
            "HTTP/1.1 200 OK\r\nContent-Disposition: attachment;filename=\"e.txt\"\r\nContent-Type: "
            "application/octet-stream\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n");
  Offer(Workspace::Get().WriteFile("ten", "0123456789"), "t.txt");
  EXPECT_EQ(Fetch("/download/logo").raw,
            "HTTP/1.1 200 OK\r\nContent-Disposition: attachment;filename=\"t.txt\"\r\nContent-Type: "
            "application/octet-stream\r\nTransfer-Encoding: chunked\r\n\r\na\r\n0123456789\r\n0\r\n\r\n");
}

class LargeDownloadTest : public DownloadTest {};
INSTANTIATE_TEST_SUITE_P(Schemes, LargeDownloadTest, BothSchemes(), ModeName);

TEST_P(LargeDownloadTest, FiftyMillionBytes) {
  const std::string content = SampleBytes(50000000);
  Offer(Workspace::Get().WriteFile("large.bin", content), "large.bin");
  for (const char* const target : {"/log", "/download/logo"}) {
    SCOPED_TRACE(target);
    ExpectFile(Fetch(target), "large.bin", content);
  }
}

TEST_P(DownloadTest, TheNameGoesIntoTheHeadAsItStands) {
  const std::string path = Workspace::Get().WriteFile("f", "x");
  for (const std::string& name :
       {std::string("a \"b\" \xc3\xa4%20.txt"), std::string(), std::string(255, 'n')}) {
    SCOPED_TRACE(name);
    Offer(path, name);
    for (const Route& route : kRoutes) ExpectFile(Fetch(route.target), name, "x");
  }
}

TEST_P(DownloadTest, NamesWithoutTheirNulAreCut) {
  const std::string folder = Workspace::Get().Path("deep");
  std::string path = folder + "/";
  path += std::string(255 - path.size() - 1,
                      'p');  // 254 characters: the longest that fits with another one to cut
  path += "q";
  Workspace::Get().WriteFile(path.substr(Workspace::Get().Path("").size()), "content");
  Offer(path + "more than fits", std::string(300, 'n'));
  for (const Route& route : kRoutes) ExpectFile(Fetch(route.target), std::string(255, 'n'), "content");
}

TEST_P(DownloadTest, AFileThatCannotBeReadLeavesAHeadWithoutABody) {
  const std::string folder = Workspace::Get().WriteFile("f", "x");
  for (const std::string& path :
       {Workspace::Get().Path("missing"), folder + "/below a file", UnopenablePath(), std::string()}) {
    for (const Route& route : kRoutes) {
      SCOPED_TRACE(path + " " + route.target);
      LogCapture::Clear();
      Offer(path, "gone.bin");
      // Without a Connection header of ours: the server itself has to end the connection.
      Connection client(Server::Get().port(mode().https), mode().https);
      ASSERT_TRUE(client.Send(HttpRequest{"GET", route.target, {Authorization()}, ""}.Bytes()));
      EXPECT_EQ(client.ReadToEnd(), DownloadHead("gone.bin"));
      EXPECT_EQ(client.end(), Connection::End::kEof);
      EXPECT_TRUE(LogCapture::Wait(4, "open file error", route.source));
    }
  }
}

TEST_P(DownloadTest, WhoAsksByHeadGetsNoReplyBehindTheFile) {
  Offer(Workspace::Get().WriteFile("file.bin", "HTTP/1.1 200 OK\r\n\r\n"), "file.bin");
  for (const Route& route : kRoutes) {
    SCOPED_TRACE(route.target);
    Connection client(Server::Get().port(mode().https), mode().https);
    ASSERT_TRUE(client.Send(HttpRequest{"HEAD", route.target, {Authorization()}, ""}.Bytes()));
    ExpectFile(ParseResponse(client.ReadToEnd()), "file.bin", "HTTP/1.1 200 OK\r\n\r\n");
    EXPECT_EQ(client.end(), Connection::End::kEof);
  }
}

TEST_P(DownloadTest, AReadErrorEndsTheBodyLikeTheEndOfTheFile) {
  Offer(Workspace::Get().Path(""), "folder");  // a folder opens and cannot be read
  for (const Route& route : kRoutes) ExpectFile(Fetch(route.target), "folder", "");
}

TEST_P(DownloadTest, HostResultsBecomeStatuses) {
  for (const Route& route : kRoutes) {
    for (const int result : {-2, -1, 5}) {
      SCOPED_TRACE(std::string(route.target) + " " + std::to_string(result));
      Fail(result);
      const Response response = Get(route.target);
      if (route.optional) {
        ExpectNotFound(response);
      } else {
        ExpectReply(response, result == -2 ? 401 : 500);
      }
    }
  }
}

TEST_P(DownloadTest, OnlyTheLogoNeedsNoToken) {
  if (!mode().auth) return;
  Offer(Workspace::Get().WriteFile("f", "x"), "f");
  for (const Route& route : kRoutes) {
    SCOPED_TRACE(route.target);
    LogCapture::Clear();
    const Response response = SendBare({"GET", route.target, {"Connection: close"}, ""});
    if (IsLogo(route)) {
      ExpectFile(response, "f", "x");
    } else {
      ExpectReply(response, 401);
      EXPECT_EQ(LogCapture::Count(4, "GetLoginHandle err!!!!", route.source), 1);
      EXPECT_EQ(host().Count(route.slot), 0);
    }
  }
}

TEST_P(DownloadTest, TheMethodParameterReachesTheSettingsExport) {
  struct Row {
    std::string query;
    std::string method;
  };
  Fail(-1);
  for (const Row& row :
       {Row{"?method=full", "full"}, Row{"", ""}, Row{"?other=1", ""}, Row{"?method=", ""},
        Row{"?a=b&method=a%20b+c", "a b c"}, Row{"?method=" + std::string(31, 'm'), std::string(31, 'm')},
        Row{"?method=" + std::string(100, 'm'), std::string(31, 'm')},
        Row{"?method=" + std::string(128, 'm'), std::string(31, 'm')},
        Row{"?method=" + std::string(3000, 'm'), std::string(31, 'm')},
        // What is no escape stands for itself.
        Row{"?method=%4&other=1", "%4"}, Row{"?method=a%zz%", "a%zz%"}, Row{"?method=%41%", "A%"}}) {
    for (const char* const target : {"/download/setting", "/api/v1/settings/export"}) {
      SCOPED_TRACE(target + row.query);
      ExpectNotFound(Get(target + row.query));
      EXPECT_EQ(host().Calls("DownloadSettingFileCb").back(),
                (Call{"DownloadSettingFileCb", token(), {row.method}}));
    }
  }
}

TEST_P(DownloadTest, AClientThatLeavesInTheMiddleLeaksNoFile) {
  Offer(Workspace::Get().WriteFile("large.bin", std::string(20000000, 'x')), "large.bin");
  const int files = OpenFiles();
  for (const Route& route : kRoutes) {
    SCOPED_TRACE(route.target);
    LogCapture::Clear();
    Connection client(Server::Get().port(mode().https), mode().https);
    ASSERT_TRUE(client.Send(HttpRequest{"GET", route.target, {Authorization()}, ""}.Bytes()));
    ASSERT_TRUE(client.ReadUntilSize(100000));
    client.Abort();
    EXPECT_TRUE(LogCapture::Wait(4, "mg_send_chunk error", route.source));
    EXPECT_TRUE(Eventually([&] { return OpenFiles() <= files; }));
  }
}

// A named pipe whose other end the test holds.
class Pipe {
 public:
  Pipe() : path_(Workspace::Get().Path("pipe")) {
    unlink(path_.c_str());
    EXPECT_EQ(mkfifo(path_.c_str(), 0600), 0);
  }
  ~Pipe() {
    Close();
    unlink(path_.c_str());
  }

  const std::string& path() const { return path_; }
  // Fails until somebody reads; never waits.
  bool Open() {
    writer_ = open(path_.c_str(), O_WRONLY | O_CLOEXEC | O_NONBLOCK);
    return writer_ >= 0;
  }
  bool Write(const std::string& bytes) const {
    return write(writer_, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size());
  }
  void Close() {
    if (writer_ >= 0) close(writer_);
    writer_ = -1;
  }

 private:
  std::string path_;
  int writer_ = -1;
};

class PipeTest : public DownloadTest {};
INSTANTIATE_TEST_SUITE_P(Schemes, PipeTest, BothSchemes(), ModeName);

TEST_P(PipeTest, HeadAndChunksTravelAsTheyCome) {
  for (const Route& route : kRoutes) {
    SCOPED_TRACE(route.target);
    Pipe pipe;
    Offer(pipe.path(), "pipe");
    Connection client(Server::Get().port(mode().https), mode().https);
    ASSERT_TRUE(
        client.Send(HttpRequest{"GET", route.target, {Authorization(), "Connection: close"}, ""}.Bytes()));
    std::string expected = DownloadHead("pipe");
    ASSERT_TRUE(client.ReadUntilSize(expected.size())) << "before there is a writer";
    ASSERT_TRUE(Eventually([&] { return pipe.Open(); }));
    for (const char letter : {'a', 'b', 'c'}) {
      const std::string chunk(1500, letter);
      ASSERT_TRUE(pipe.Write(chunk));
      expected += "5dc\r\n" + chunk + "\r\n";
      ASSERT_TRUE(client.ReadUntilSize(expected.size())) << "before the next one is written";
    }
    ASSERT_TRUE(pipe.Write("drip"));
    ASSERT_TRUE(pipe.Write("drop"));
    pipe.Close();
    EXPECT_EQ(client.ReadToEnd(), expected + "8\r\ndripdrop\r\n0\r\n\r\n");
  }
}

TEST_P(PipeTest, AWriterWithoutAWordIsAnEmptyFile) {
  Pipe pipe;
  Offer(pipe.path(), "pipe");
  Connection client(Server::Get().port(mode().https), mode().https);
  ASSERT_TRUE(client.Send(HttpRequest{"GET", "/log", {Authorization(), "Connection: close"}, ""}.Bytes()));
  ASSERT_TRUE(Eventually([&] { return pipe.Open(); }));
  pipe.Close();
  EXPECT_EQ(client.ReadToEnd(), DownloadHead("pipe") + "0\r\n\r\n");
}

TEST_P(PipeTest, AStopEndsTheWait) {
  for (const bool writes : {false, true}) {
    Prepare(mode());
    Pipe pipe;
    Offer(pipe.path(), "pipe");
    Connection client(Server::Get().port(mode().https), mode().https);
    ASSERT_TRUE(client.Send(HttpRequest{"GET", "/log", {Authorization()}, ""}.Bytes()));
    ASSERT_TRUE(client.ReadUntilSize(DownloadHead("pipe").size()));
    if (writes) {
      ASSERT_TRUE(Eventually([&] { return pipe.Open(); }));
      ASSERT_TRUE(pipe.Write("half a chunk"));
    }
    LogCapture::Clear();
    const Clock::time_point start = Clock::now();
    Server::Get().Stop();
    EXPECT_LT(Clock::now() - start, std::chrono::seconds(15));
    EXPECT_EQ(client.ReadToEnd(), DownloadHead("pipe")) << "nothing says that the file was whole";
    EXPECT_TRUE(LogCapture::Wait(4, "mg_send_chunk error", "sdkapidownload"));
  }
}

TEST_P(LargeDownloadTest, AFileThatShrinksOrGrowsIsSentAsItIsRead) {
  const std::string content = SampleBytes(40000000);
  for (const std::size_t size : {30000000U, 30000001U, 50000000U}) {
    SCOPED_TRACE(size);
    const std::string path = Workspace::Get().WriteFile("changing.bin", content);
    Offer(path, "changing.bin");
    Connection client(Server::Get().port(mode().https), mode().https);
    ASSERT_TRUE(client.Send(HttpRequest{"GET", "/log", {Authorization(), "Connection: close"}, ""}.Bytes()));
    ASSERT_TRUE(client.ReadUntilSize(100000));
    ASSERT_EQ(truncate(path.c_str(), static_cast<off_t>(size)), 0);
    std::string expected = content;
    expected.resize(size, '\0');
    ExpectFile(ParseResponse(client.ReadToEnd()), "changing.bin", expected);
  }
}

TEST_P(DownloadTest, SizesAroundEveryEdgeOfABuffer) {
  for (const std::size_t edge : {15U, 255U, 1500U, 63000U, 64500U, 66000U, 129000U, 130500U}) {
    for (const std::size_t size : {edge - 1, edge, edge + 1}) {
      SCOPED_TRACE(size);
      const std::string content = SampleBytes(size);
      Offer(Workspace::Get().WriteFile("file.bin", content), "file.bin");
      ExpectFile(Fetch("/log"), "file.bin", content);
    }
  }
}

TEST_P(DownloadTest, TwentyDownloadsAtOnceAreWhole) {
  const std::string content = SampleBytes(500000);
  Offer(Workspace::Get().WriteFile("f.bin", content), "f.bin");
  std::atomic<int> whole{0};
  std::vector<std::thread> clients;
  for (int i = 0; i < 20; ++i) {
    clients.emplace_back([&] {
      const ChunkedBody chunks = ParseChunks(Fetch("/download/scene").body);
      if (chunks.terminated && chunks.data == content) ++whole;
    });
  }
  for (std::thread& client : clients) client.join();
  EXPECT_EQ(whole.load(), 20);
}

TEST_P(DownloadTest, AnOrdinaryClientLogsInUploadsAndDownloads) {
  const std::string content = SampleBytes(300000);
  std::string stored;
  host().upload = [&](const UploadStep& step, UploadFileCtx&) {
    stored += step.data;
    return 0;
  };
  const std::vector<std::string> headers{Authorization()};
  const CurlResult sent = CurlUpload(mode(), "/upload/logo", headers, {{"file", content, "my logo.png"}});
  EXPECT_EQ(sent.code, 0);
  EXPECT_EQ(sent.status, 200);
  EXPECT_TRUE(stored == content);
  EXPECT_EQ(host().Uploads().back().fileName, "my logo.png");

  Offer(Workspace::Get().WriteFile("logo", stored), "logo.png");
  const CurlResult got = CurlGet(mode(), "/download/logo", headers);
  EXPECT_EQ(got.code, 0);
  EXPECT_EQ(got.status, 200);
  EXPECT_TRUE(got.body == content);

  const CurlResult info = CurlGet(mode(), "/dev_info", headers);
  EXPECT_EQ(info.code, 0);
  EXPECT_EQ(info.body, "{}");
  host().login = [](LoginInfo& login) {
    login.code = 1;
    return 0;
  };
  const CurlResult refused = CurlPost(mode(), "/api/v1/auth/login", {}, R"({"username":"a","password":"b"})");
  EXPECT_EQ(refused.status, 200);
  EXPECT_EQ(refused.body, R"({"code":1})");
}

}  // namespace
}  // namespace integration
