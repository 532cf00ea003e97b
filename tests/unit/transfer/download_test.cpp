// The downloads: replies, host calls, log lines, and the bytes of a file that is sent.
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <future>

#include "base/text.h"
#include "download_file.h"
#include "http/cross_origin.h"
#include "library_fixture.h"

namespace {

using sdktest::JsonReply;
using sdktest::LogCapture;
using sdktest::Strings;
using sdktest::TestHost;

std::string Head(const std::string& name) {
  return "HTTP/1.1 200 OK\r\nContent-Disposition: attachment;filename=\"" + name +
         "\"\r\nContent-Type: application/octet-stream\r\nTransfer-Encoding: chunked\r\n\r\n";
}

class DownloadTest : public sdktest::LibraryTest {
 protected:
  std::string Fill(std::size_t size) const { return file_.Fill(size); }
  static std::string Chunks(const std::string& bytes) { return sdktest::DownloadFile::Chunks(bytes); }

  // A host that offers the file under a name, in all slots.
  void Offer(const std::string& name) const { Offer(name, path_); }
  static void Offer(const std::string& name, const std::string& path) {
    TestHost::Get().download = [name, path](DownloadFileInfo& info) {
      const DownloadFileInfo zero{};
      EXPECT_EQ(std::memcmp(&info, &zero, sizeof zero), 0);
      sdkapi::CopyText(info.name, name.c_str());
      sdkapi::CopyText(info.path, path.c_str());
      return 0;
    };
    TestHost::Get().downloadSetting = [name, path](DownloadSettingInfo& info) {
      EXPECT_EQ(info.name[0], '\0');
      EXPECT_EQ(info.path[0], '\0');
      sdkapi::CopyText(info.name, name.c_str());
      sdkapi::CopyText(info.path, path.c_str());
      return 0;
    };
  }
  static void Refuse(int result) {
    TestHost::Get().download = [result](DownloadFileInfo&) { return result; };
    TestHost::Get().downloadSetting = [result](DownloadSettingInfo&) { return result; };
  }

  const sdktest::DownloadFile file_;
  const std::string& path_ = file_.path();
};

using Sender = int (*)(mg_connection*, const char*, const char*);
struct SenderCase {
  const char* name;
  Sender send;
  const char* source;
};
class SenderTest : public DownloadTest, public testing::WithParamInterface<SenderCase> {
 protected:
  std::string Line(const char* text) const { return std::string("4 ") + GetParam().source + " " + text; }
};

INSTANTIATE_TEST_SUITE_P(
    Senders, SenderTest,
    testing::Values(SenderCase{"SendHttpDownLoadFile", SendHttpDownLoadFile, "sdkapidownload"},
                    SenderCase{"SendHttpDownLoadFile_S", SendHttpDownLoadFile_S, "sdkapi"}),
    sdktest::ByName{});

TEST_P(SenderTest, AnEmptyFileIsHeadAndTerminator) {
  mg_connection conn;
  EXPECT_EQ(GetParam().send(&conn, path_.c_str(), "empty.txt"), 0);
  EXPECT_EQ(conn.output,
            "HTTP/1.1 200 OK\r\nContent-Disposition: attachment;filename=\"empty.txt\"\r\n"
            "Content-Type: application/octet-stream\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n");
  EXPECT_EQ(Log(), Strings{});
}

TEST_P(SenderTest, ChunksCarry1500Bytes) {
  // Around a chunk, sizes of one, two and three digits, and what one, two and three writes take.
  const std::size_t edges[] = {0,     15,    255,    1500,   3000,   16384, 63000,
                               64500, 66000, 129000, 130500, 193500, 195000};
  for (const std::size_t edge : edges) {
    for (const std::size_t size : {edge, edge + 1, edge + 2, edge + 1499}) {
      const std::string bytes = Fill(size);
      mg_connection conn;
      EXPECT_EQ(GetParam().send(&conn, path_.c_str(), "f"), 0);
      EXPECT_TRUE(conn.output == Head("f") + Chunks(bytes)) << size;
    }
  }
}

TEST_P(SenderTest, TheTerminatorLeavesWithTheLastData) {
  for (const std::size_t size : {0U, 1U, 1500U, 64500U, 66000U, 129000U, 645000U}) {
    Fill(size);
    mg_connection conn;
    EXPECT_EQ(GetParam().send(&conn, path_.c_str(), "f"), 0);
    EXPECT_EQ(conn.writes.size(), size / 64500 + (size % 64500 != 0 || size == 0 ? 1 : 0)) << size;
    EXPECT_GE(conn.writes.back().size(), size == 0 ? 0U : 7U) << "a small write alone waits for the client";
  }
}

// What the kernel writes while it is read looks like a regular file, and can take its time.
TEST_P(SenderTest, TheHeadLeavesBeforeAFileThatMayWaitIsRead) {
  for (const char* const path : {"/proc/self/maps", "/proc/self/cmdline", "/dev/null", "/tmp"}) {
    mg_connection conn;
    EXPECT_EQ(GetParam().send(&conn, path, "f"), 0);
    ASSERT_GE(conn.writes.size(), 2U) << path;
    EXPECT_EQ(conn.writes.front(), Head("f"));
    for (std::size_t i = 1; i + 1 < conn.writes.size(); ++i) EXPECT_EQ(conn.writes[i].size(), 1507U) << path;
    EXPECT_TRUE(conn.output.ends_with("0\r\n\r\n"));
  }
}

TEST_P(SenderTest, AnEmptyFileOnADiskIsOneWrite) {
  mg_connection conn;
  EXPECT_EQ(GetParam().send(&conn, path_.c_str(), "f"), 0);
  EXPECT_EQ(conn.writes.size(), 1U);
}

TEST_P(SenderTest, ADownloadThatIsStoppedWhileItWaitsEndsWithoutATerminator) {
  unlink(path_.c_str());
  ASSERT_EQ(mkfifo(path_.c_str(), 0600), 0);
  mg_connection conn;
  EXPECT_EQ(GetParam().send(&conn, path_.c_str(), "f"), -1) << "no server runs, and nobody writes";
  EXPECT_EQ(conn.output, Head("f"));
  EXPECT_EQ(Log(), Strings{Line("mg_send_chunk error")});
  EXPECT_FALSE(conn.keepAlive);
}

// A pipe without a writer is asked again and again; the stop ends it.
TEST_P(SenderTest, ADownloadThatWaitsIsEndedByAStop) {
  unlink(path_.c_str());
  ASSERT_EQ(mkfifo(path_.c_str(), 0600), 0);
  SdkAPISer_Init();
  const SdkAPISerHandle table = TestHost::Table();
  ASSERT_EQ(SdkAPISer_Start(&table), 0);
  mg_connection conn;
  std::future<int> sent =
      std::async(std::launch::async, [&] { return GetParam().send(&conn, path_.c_str(), "f"); });
  EXPECT_EQ(sent.wait_for(std::chrono::milliseconds(250)), std::future_status::timeout);
  SdkAPISer_Stop(nullptr);
  EXPECT_EQ(sent.get(), -1);
  EXPECT_EQ(conn.output, Head("f"));
}

// As in a device program that closed its standard input.
TEST_P(SenderTest, AFileMayGetTheFirstDescriptor) {
  const std::string bytes = Fill(10);
  const int standardInput = dup(STDIN_FILENO);
  ASSERT_GE(standardInput, 0);
  close(STDIN_FILENO);
  mg_connection conn;
  EXPECT_EQ(GetParam().send(&conn, path_.c_str(), "f"), 0);
  dup2(standardInput, STDIN_FILENO);
  close(standardInput);
  EXPECT_EQ(conn.output, Head("f") + Chunks(bytes));
}

TEST_P(SenderTest, WithoutANameOrAPathTheHeadStandsAlone) {
  mg_connection conn;
  EXPECT_EQ(GetParam().send(&conn, nullptr, nullptr), -1);
  EXPECT_EQ(conn.output, Head(""));
  EXPECT_EQ(Log(), Strings{Line("open file error")});
}

TEST_P(SenderTest, LongNamesGoOutWhole) {
  Fill(10);
  for (const std::size_t length : {255U, 376U, 377U, 378U, 379U, 380U, 381U, 382U, 5000U, 100000U}) {
    const std::string name(length, 'n');
    mg_connection conn;
    EXPECT_EQ(GetParam().send(&conn, path_.c_str(), name.c_str()), 0);
    EXPECT_TRUE(conn.output == Head(name) + Chunks(Fill(10))) << length;
  }
}

// The head's memory ends between these names where the header for another origin is as long as it gets.
TEST_P(SenderTest, NamesBesideTheLongestAllowedOriginGoOutWhole) {
  const std::string origin(288, 'o');
  sdkapi::AllowOrigin(origin.c_str());
  for (const std::size_t length : {0U, 1U, 59U, 60U, 61U, 62U, 63U, 300U}) {
    const std::string name(length, 'n');
    mg_connection conn;
    conn.Header("Origin", "http://console");
    EXPECT_EQ(GetParam().send(&conn, path_.c_str(), name.c_str()), 0);
    const std::string plain = Head(name);
    EXPECT_EQ(conn.output, plain.substr(0, plain.size() - 2) + "Access-Control-Allow-Origin: " + origin +
                               "\r\n\r\n0\r\n\r\n");
  }
  sdkapi::AllowOrigin(nullptr);
}

TEST_P(SenderTest, ThreeThousandAndOneBytesAreThreeChunks) {
  const std::string bytes = Fill(3001);
  mg_connection conn;
  GetParam().send(&conn, path_.c_str(), "f");
  EXPECT_EQ(conn.output, Head("f") + "5dc\r\n" + bytes.substr(0, 1500) + "\r\n5dc\r\n" +
                             bytes.substr(1500, 1500) + "\r\n1\r\n" + bytes.substr(3000) + "\r\n0\r\n\r\n");
}

TEST_P(SenderTest, AMissingFileLeavesTheHeadAlone) {
  mg_connection conn;
  EXPECT_EQ(GetParam().send(&conn, "/no/such/file", "f.bin"), -1);
  EXPECT_EQ(conn.output, Head("f.bin"));
  EXPECT_EQ(Log(), Strings{Line("open file error")});
  EXPECT_FALSE(conn.keepAlive) << "the client sees the end";
}

TEST_P(SenderTest, AReadErrorEndsTheBodyLikeTheEndOfTheFile) {
  mg_connection conn;
  EXPECT_EQ(GetParam().send(&conn, "/tmp", "folder"), 0);
  EXPECT_EQ(conn.output, Head("folder") + "0\r\n\r\n");
}

TEST_P(SenderTest, TheNameGoesIntoTheHeadAsItStands) {
  mg_connection conn;
  GetParam().send(&conn, path_.c_str(), "a \"b\" \xc3\xa4.txt");
  EXPECT_EQ(conn.output, Head("a \"b\" \xc3\xa4.txt") + "0\r\n\r\n");
}

TEST_P(SenderTest, AFailedWriteEndsTheFileWithoutATerminator) {
  const std::string bytes = Fill(100000);
  const std::string whole = Head("f") + Chunks(bytes);
  mg_connection sample;
  GetParam().send(&sample, path_.c_str(), "f");
  ASSERT_GT(sample.writeCalls, 1);
  for (int write = 1; write <= sample.writeCalls; ++write) {
    LogCapture::Clear();
    mg_connection conn;
    conn.failWriteFrom = write;
    EXPECT_EQ(GetParam().send(&conn, path_.c_str(), "f"), -1) << write;
    EXPECT_LT(conn.output.size(), whole.size());
    EXPECT_TRUE(conn.output == whole.substr(0, conn.output.size())) << write;
    EXPECT_EQ(Log(), Strings{Line("mg_send_chunk error")});
    EXPECT_FALSE(conn.keepAlive);
  }
}

struct Route {
  const char* name;
  int (*handle)(mg_connection*, void*);
  const char* uri;
  std::string call;  // with the token "tok"
  void (*clear)(SdkAPISerHandle& table);
  bool leavesFailures = false;  // a failure is left to the web server without a reply
};
void PrintTo(const Route& route, std::ostream* out) { *out << route.name; }

const Route kLogRoute = {.name = "FuncDownloadLogFile",
                         .handle = FuncDownloadLogFile,
                         .uri = "/log",
                         .call = "DownloadLogFileCb(tok)",
                         .clear = [](SdkAPISerHandle& table) { table.DownloadLogFileCb = nullptr; }};
const Route kCustom = {.name = "FuncDownloadCustom",
                       .handle = FuncDownloadCustom,
                       .uri = "/download/custom",
                       .call = "DownloadCustomCb(tok)",
                       .clear = [](SdkAPISerHandle& table) { table.DownloadCustomCb = nullptr; }};
const Route kScene = {.name = "FuncDownloadSceneFile",
                      .handle = FuncDownloadSceneFile,
                      .uri = "/download/scene",
                      .call = "DownloadSceneFileCb(tok)",
                      .clear = [](SdkAPISerHandle& table) { table.DownloadSceneFileCb = nullptr; }};
const Route kEdid = {.name = "FuncDownloadEdidFile",
                     .handle = FuncDownloadEdidFile,
                     .uri = "/download/edid",
                     .call = "DownloadEdidFileCb(tok)",
                     .clear = [](SdkAPISerHandle& table) { table.DownloadEdidFileCb = nullptr; }};
const Route kSetting = {.name = "FuncDownloadSettingFile",
                        .handle = FuncDownloadSettingFile,
                        .uri = "/download/setting",
                        .call = "DownloadSettingFileCb(tok, )",
                        .clear = [](SdkAPISerHandle& table) { table.DownloadSettingFileCb = nullptr; },
                        .leavesFailures = true};
const Route kLogo = {.name = "FuncDownloadImageFile",
                     .handle = FuncDownloadImageFile,
                     .uri = "/download/logo",
                     .call = "DownloadImageFileCb()",
                     .clear = [](SdkAPISerHandle& table) { table.DownloadImageFileCb = nullptr; },
                     .leavesFailures = true};

class RouteTest : public DownloadTest, public testing::WithParamInterface<Route> {
 protected:
  int Handle(mg_connection& conn) const { return GetParam().handle(&conn, nullptr); }
  bool IsLogo() const { return GetParam().handle == FuncDownloadImageFile; }
  const char* Source() const { return IsLogo() ? "sdkapi" : "sdkapidownload"; }

  mg_connection conn_{"GET", GetParam().uri};
};

INSTANTIATE_TEST_SUITE_P(Routes, RouteTest,
                         testing::Values(kLogRoute, kCustom, kScene, kEdid, kSetting, kLogo),
                         sdktest::ByName{});

TEST_P(RouteTest, SendsTheHostsFile) {
  const std::string bytes = Fill(4000);
  Offer("name.bin");
  conn_.Token("tok");
  EXPECT_EQ(Handle(conn_), 1);
  EXPECT_TRUE(conn_.output == Head("name.bin") + Chunks(bytes));
  EXPECT_EQ(TestHost::Get().Lines(), Strings{GetParam().call});
  EXPECT_EQ(Log(), IsLogo() ? Strings{} : Strings{"1 sdkapi req http token tok"});
}

TEST_P(RouteTest, AnEmptySlotIsLeftToTheWebServer) {
  SdkAPISerHandle table = TestHost::Table();
  GetParam().clear(table);
  Install(table);
  EXPECT_EQ(Handle(conn_), 0);
  EXPECT_EQ(conn_.output, "");
  EXPECT_EQ(Log(), Strings{std::string("4 ") + Source() + " " + GetParam().name + " not registered!!!!"});
}

TEST_P(RouteTest, TheHostsRefusalAndFailureGiveTheirAnswers) {
  for (const int result : {-2, -1, 1, 5}) {
    LogCapture::Clear();
    Refuse(result);
    mg_connection conn("GET", GetParam().uri);
    if (GetParam().leavesFailures) {
      EXPECT_EQ(Handle(conn), 0);
      EXPECT_EQ(conn.output, "");
      EXPECT_EQ(Log(), Strings{});
      EXPECT_FALSE(conn.closed);
    } else {
      EXPECT_EQ(Handle(conn), 1);
      EXPECT_EQ(conn.output, JsonReply(result == -2 ? 401 : 500));
    }
  }
}

TEST_P(RouteTest, AMissingFileLeavesTheHeadAlone) {
  Offer("gone.bin", "/no/such/file");
  conn_.Token("tok");
  EXPECT_EQ(Handle(conn_), GetParam().leavesFailures ? 0 : 1);
  EXPECT_EQ(conn_.output, Head("gone.bin"));
  EXPECT_EQ(Log().back(), std::string("4 ") + Source() + " open file error");
  EXPECT_FALSE(conn_.keepAlive);
  EXPECT_EQ(conn_.closed, GetParam().leavesFailures) << "the web server must not append a page of its own";
}

TEST_P(RouteTest, AFailedWriteIsLoggedAndCutOff) {
  const std::string bytes = Fill(200000);
  Offer("f");
  conn_.failWriteFrom = 3;
  EXPECT_EQ(Handle(conn_), GetParam().leavesFailures ? 0 : 1);
  EXPECT_TRUE(conn_.output == (Head("f") + Chunks(bytes)).substr(0, conn_.output.size()));
  EXPECT_EQ(Log().back(), std::string("4 ") + Source() + " mg_send_chunk error");
  EXPECT_FALSE(conn_.keepAlive);
}

TEST_P(RouteTest, ForgottenTerminatorsDoNoHarm) {
  TestHost::Get().download = [](DownloadFileInfo& info) {
    std::memset(&info, 'x', sizeof info);
    return 0;
  };
  TestHost::Get().downloadSetting = [](DownloadSettingInfo& info) {
    std::memset(info.name, 'x', sizeof info.name);
    std::memset(info.path, 'x', sizeof info.path);
    return 0;
  };
  Handle(conn_);
  EXPECT_EQ(conn_.output, Head(std::string(255, 'x')));
}

// The five routes that ask for a token.
class TokenRouteTest : public RouteTest {};

INSTANTIATE_TEST_SUITE_P(Routes, TokenRouteTest, testing::Values(kLogRoute, kCustom, kScene, kEdid, kSetting),
                         sdktest::ByName{});

TEST_P(TokenRouteTest, AnUnknownTokenIsNotAuthorised) {
  RequireLogin();
  conn_.Token("nobody");
  EXPECT_EQ(Handle(conn_), 1);
  EXPECT_EQ(conn_.output, JsonReply(401));
  EXPECT_EQ(Log(), (Strings{"1 sdkapi req http token nobody", "4 sdkapidownload GetLoginHandle err!!!!",
                            "1 sdkapi send =>" + JsonReply(401)}));
  EXPECT_EQ(TestHost::Get().Lines(), Strings{});
}

TEST_P(TokenRouteTest, TheLoginsTokenReachesTheHost) {
  RequireLogin();
  LogIn("tok");
  Offer("f");
  conn_.Token("tok");
  EXPECT_EQ(Handle(conn_), 1);
  EXPECT_EQ(TestHost::Get().Lines(), Strings{GetParam().call});
}

TEST_P(TokenRouteTest, ALongTokenIsCutTo255Characters) {
  RequireLogin();
  LogIn(std::string(255, 't'));
  Offer("f");
  conn_.Token(std::string(300, 't'));
  EXPECT_EQ(Handle(conn_), 1);
  EXPECT_EQ(conn_.output, Head("f") + "0\r\n\r\n");
}

struct MethodCase {
  const char* name;
  std::string query;
  std::string method;
};
class SettingMethodTest : public DownloadTest, public testing::WithParamInterface<MethodCase> {};

TEST_P(SettingMethodTest, IsForwarded) {
  Offer("f");
  mg_connection conn("GET", "/api/v1/settings/export");
  conn.Token("tok").Query(GetParam().query);
  EXPECT_EQ(FuncDownloadSettingFile(&conn, nullptr), 1);
  EXPECT_EQ(TestHost::Get().Lines(), Strings{"DownloadSettingFileCb(tok, " + GetParam().method + ")"});
}

INSTANTIATE_TEST_SUITE_P(
    Queries, SettingMethodTest,
    testing::Values(MethodCase{"Given", "method=full", "full"}, MethodCase{"Absent", "a=1", ""},
                    MethodCase{"NoQuery", "", ""}, MethodCase{"Empty", "method=", ""},
                    MethodCase{"Encoded", "method=a%20b", "a b"},
                    MethodCase{"Longest", "method=" + std::string(31, 'm'), std::string(31, 'm')},
                    MethodCase{"Cut", "method=" + std::string(32, 'm'), std::string(31, 'm')},
                    MethodCase{"CutMore", "method=" + std::string(127, 'm'), std::string(31, 'm')},
                    MethodCase{"CutAt128", "method=" + std::string(128, 'm'), std::string(31, 'm')},
                    MethodCase{"CutMost", "method=" + std::string(5000, 'm'), std::string(31, 'm')}),
    sdktest::ByName{});

TEST_F(DownloadTest, TheLogoNeedsNoTokenAndUsesTheGlobalTable) {
  RequireLogin();
  const std::string bytes = Fill(10);
  Offer("logo.png");
  mg_connection conn("GET", "/download/logo");
  EXPECT_EQ(FuncDownloadImageFile(&conn, nullptr), 1);
  EXPECT_EQ(conn.output, Head("logo.png") + "a\r\n" + bytes + "\r\n0\r\n\r\n");
  EXPECT_EQ(TestHost::Get().Lines(), Strings{"DownloadImageFileCb()"});
  EXPECT_EQ(Log(), Strings{});
}

}  // namespace
