// The kit's uploads through a real server: what is stored, what is refused, and what is left behind.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "base/file.h"
#include "client.h"
#include "connection.h"
#include "sdkapi/extension.h"
#include "sdkapi/kit_log.h"
#include "sdkapi/kit_upload.h"
#include "sdkapi/sdkapi.h"
#include "server.h"
#include "waiting.h"

namespace sdkkit {
namespace {

namespace fs = std::filesystem;
using integration::Connection;
using integration::HttpRequest;
using integration::MultipartBody;
using integration::Part;
using integration::SampleBytes;
using integration::UploadRequest;
using sdktest::Eventually;

using Lines = std::vector<std::string>;

// What the kit said and told. Its functions carry no context.
struct Told {
  std::mutex mutex;
  Lines lines;
  Lines ends;
  Lines stored;
};

Told& TheTold() {
  static Told told;
  return told;
}

Lines Take(Lines Told::*which) {
  const std::lock_guard lock(TheTold().mutex);
  return std::exchange(TheTold().*which, {});
}

void KeepLine(int level, const char* subject, const char* text) {
  if (level != kKitAudit) return;
  const std::lock_guard lock(TheTold().mutex);
  TheTold().lines.push_back(std::string(subject) + ": " + text);
}

void KeepEnd(const SdkKitUpload* upload) {
  if (upload->ended == 0) return;
  const std::lock_guard lock(TheTold().mutex);
  TheTold().ends.push_back(std::string(upload->url) + " " + upload->fileName + " " +
                           std::to_string(upload->bytes) +
                           (upload->stored != 0 ? " stored" : std::string(" refused: ") + upload->why));
}

void KeepStored(const SdkKitUpload* upload) {
  const std::lock_guard lock(TheTold().mutex);
  TheTold().stored.push_back(std::string(upload->path) + " " + upload->sha256);
}

int RefuseViewers(const SdkKitUpload* upload, char* /*why*/, size_t /*whySize*/) {
  return std::strcmp(upload->token, "viewer") == 0 ? -2 : 0;
}

int AppendPort(const SdkKitUpload* upload, char* why, size_t whySize) {
  if (upload->extra == nullptr) return 0;
  if (std::strcmp(upload->extra, "0") == 0) {
    std::snprintf(why, whySize, "no such port");
    return -1;
  }
  const std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen(upload->path, "a"), std::fclose);
  return file && std::fputs(upload->extra, file.get()) >= 0 ? 0 : -1;
}

int CheckGood(const char* path, char* why, size_t whySize) {
  const auto bytes = ReadFile(path, 1000);
  if (bytes && *bytes == "good") return 0;
  std::snprintf(why, whySize, "it is not good");
  return -1;
}

std::atomic<int> g_openStates{0};

void* BeginPieces() {
  ++g_openStates;
  return &g_openStates;
}

int LookAtPiece(void* /*state*/, const char* bytes, size_t length, char* why, size_t whySize) {
  if (std::memchr(bytes, '!', length) == nullptr) return 0;
  std::snprintf(why, whySize, "it shouts");
  return -1;
}

void EndPieces(void* /*state*/) { --g_openStates; }

constexpr SdkKitPieceCheck kQuiet{BeginPieces, LookAtPiece, EndPieces};

SdkKitUploadRow Row(int family, int funcId, const char* file, uint64_t mostBytes) {
  SdkKitUploadRow row{};
  row.family = family;
  row.funcId = funcId;
  row.file = file;
  row.mostBytes = mostBytes;
  row.stored = KeepStored;
  return row;
}

std::vector<SdkKitUploadRow> Rows() {
  std::vector<SdkKitUploadRow> rows{Row(kExtUploadImage, kImageLogo, "logo", 100000),
                                    Row(kExtUploadImage, kImagePrivilege, "priv/", 100000),
                                    Row(kExtUploadText, kTextEdid, "edid.bin", 256),
                                    Row(kExtUploadText, kTextScene, "scene.json", 1000),
                                    Row(kExtUploadArchive, kUploadUnnamed, nullptr, 1000),
                                    Row(kExtUploadCertificate, kCertificate8021x, "port.pem", 1000),
                                    Row(kExtUploadFirmware, 0, "firmware", 1000),
                                    Row(kExtUploadCustom, 0, "note", 200000)};
  rows[0].download = kKitDownloadLogo;
  rows[0].downloadOtherwise = "built-in";
  rows[1].mostFiles = 2;
  rows[2].download = kKitDownloadEdid;
  rows[2].leastBytes = 4;
  rows[2].check = CheckGood;
  rows[3].begin = RefuseViewers;
  rows[4].route = "/upload/setting$";
  rows[4].accept = AppendPort;
  rows[5].accept = AppendPort;
  rows[6].pieces = &kQuiet;
  rows[7].route = "/device/note$";
  rows[7].downloadRoute = "/device/note/download$";
  rows[7].downloadName = "note.txt";
  return rows;
}

class UploadWireTest : public testing::Test {
 protected:
  void SetUp() override {
    std::string folder = (fs::temp_directory_path() / "sdkapi-upload-XXXXXX").string();
    ASSERT_NE(mkdtemp(folder.data()), nullptr);
    folder_ = folder;
    fs::current_path(folder_);
    SdkKitLog_Set(KeepLine);
    StartServer();
  }

  void TearDown() override {
    if (running_) SdkAPISer_Stop(nullptr);
    SdkKitUpload_Stop();
    SdkKitLog_Set(nullptr);
    for (auto which : {&Told::lines, &Told::ends, &Told::stored}) Take(which);
    fs::current_path("/");
    fs::remove_all(folder_);
    EXPECT_EQ(g_openStates, 0);
  }

  void StartServer() {
    const std::vector<SdkKitUploadRow> rows = Rows();
    SdkKitUploadOptions options{};
    options.size = sizeof options;
    options.rowSize = sizeof(SdkKitUploadRow);
    options.rows = rows.data();
    options.rowCount = static_cast<uint32_t>(rows.size());
    options.mostAtOnce = 3;
    options.root = "files";
    options.budget = 300000;
    options.progress = KeepEnd;
    ASSERT_EQ(SdkKitUpload_Start(&options), 0);
    SdkAPISerHandle table{};
    SdkKitUpload_Fill(&table);
    port_ = integration::FreePort();
    SdkAPISer_Port_Set(port_, 0);
    SdkAPiSer_DocumentRoot_Set("/nonexistent");
    SdkAPISer_AuthenticationSwitch_Set(0);
    SdkAPISer_Init();
    ASSERT_EQ(SdkAPISer_Start(&table), 0);
    running_ = true;
    ASSERT_EQ(SdkKitUpload_Routes_Add(), 0);
  }

  integration::Response Send(HttpRequest request) {
    request.headers.push_back("Connection: close");
    Connection client(port_, false);
    EXPECT_TRUE(client.Send(request.Bytes()));
    return integration::ParseResponse(client.ReadToEnd());
  }

  int Upload(const std::string& url, const std::string& content, const std::string& name = "a.bin",
             const std::vector<std::string>& headers = {}) {
    HttpRequest request = UploadRequest(url, MultipartBody({{"file", content, name}}));
    request.headers.insert(request.headers.end(), headers.begin(), headers.end());
    return Send(request).status();
  }

  // A client that leaves with a part of its form unsent.
  std::unique_ptr<Connection> Half(const std::string& url, const std::string& content, std::size_t unsent) {
    const std::string bytes = UploadRequest(url, MultipartBody({{"file", content, "half.bin"}})).Bytes();
    auto client = std::make_unique<Connection>(port_, false);
    EXPECT_TRUE(client->Send(bytes.substr(0, bytes.size() - unsent)));
    return client;
  }

  static SdkKitUploadUsage Usage() {
    SdkKitUploadUsage usage{};
    usage.size = sizeof usage;
    EXPECT_EQ(SdkKitUpload_Usage(&usage), 0);
    return usage;
  }

  static std::string Stored(const std::string& name) {
    return ReadFile("files/" + name, 1000000).value_or("<none>");
  }

  // Nothing of what was under way is left.
  static void ExpectClean() {
    EXPECT_TRUE(Eventually([] { return Usage().underWay == 0; }));
    EXPECT_TRUE(Eventually([] { return fs::is_empty("files/.incoming"); }));
    EXPECT_EQ(Usage().arriving, 0U);
  }

  fs::path folder_;
  int port_ = 0;
  bool running_ = false;
};

TEST_F(UploadWireTest, AFileReplacesTheOneBefore) {
  EXPECT_EQ(Upload("/upload/logo", "old"), 200);
  EXPECT_EQ(Upload("/upload/logo", "abc", "new.png"), 200);
  EXPECT_EQ(Stored("logo"), "abc");
  EXPECT_EQ(Take(&Told::stored).back(),
            "files/logo ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  EXPECT_EQ(Take(&Told::ends), (Lines{"/upload/logo a.bin 3 stored", "/upload/logo new.png 3 stored"}));
  EXPECT_EQ(Take(&Told::lines).back(),
            "upload: 127.0.0.1 uploaded \"new.png\" (/upload/logo), 3 bytes, SHA-256 "
            "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  ExpectClean();
}

TEST_F(UploadWireTest, ManyPiecesBecomeOneFile) {
  const std::string content = SampleBytes(99999);
  EXPECT_EQ(Upload("/upload/logo", content), 200);
  EXPECT_EQ(Stored("logo"), content);
}

TEST_F(UploadWireTest, EachRefusalHasItsStatusItsReasonAndLeavesTheOldFile) {
  struct Case {
    const char* what;
    const char* url;
    std::string content;
    std::string name;
    std::vector<std::string> headers;
    int status;
    std::string said;
  };
  const std::string from = "upload: 127.0.0.1 was refused ";
  const Case cases[] = {
      {"content", "/upload/edid", "bad!", "e", {}, 500, from + "\"e\" (/upload/edid): it is not good"},
      {"too short", "/upload/edid", "bad", "e", {}, 500, from + "\"e\" (/upload/edid): it is too short"},
      {"too large",
       "/upload/edid",
       std::string(257, 'x'),
       "e",
       {},
       500,
       from + "\"e\" (/upload/edid): it is too large"},
      {"announced too large", "/upload/priv", std::string(170000, 'x'), "e", {}, 413, ""},
      {"not authorised",
       "/upload/scene",
       "x",
       "s",
       {"Authorization: Bearer viewer"},
       401,
       from + "\"s\" (/upload/scene): not authorised"},
      {"no kind",
       "/upload/xyte",
       "x",
       "x",
       {},
       500,
       from + "an upload to /upload/xyte: no such kind of file"},
      {"below a route",
       "/upload/sub/upgrade/anything",
       "x",
       "x",
       {},
       500,
       from + "an upload to /upload/sub/upgrade/anything: no such kind of file"},
      {"not accepted",
       "/api/v1/security/ieee802_1x_setting",
       "x",
       "x",
       {"Port: 0"},
       500,
       from + "\"x\" (/api/v1/security/ieee802_1x_setting): no such port"},
      {"a wrong piece",
       "/api/v1/fw_upload",
       "quiet!",
       "f",
       {},
       406,
       from + "\"f\" (/api/v1/fw_upload): it shouts"},
      {"firmware too large",
       "/api/v1/fw_upload",
       std::string(1001, 'x'),
       "f",
       {},
       500,
       from + "\"f\" (/api/v1/fw_upload): it is too large"},
      {"no room",
       "/device/note",
       std::string(200001, 'x'),
       "n",
       {},
       500,
       from + "\"n\" (/device/note): it is too large"},
  };
  ASSERT_EQ(Upload("/upload/edid", "good"), 200);
  for (const Case& row : cases) {
    Take(&Told::lines);
    EXPECT_EQ(Upload(row.url, row.content, row.name, row.headers), row.status) << row.what;
    EXPECT_EQ(Take(&Told::lines), row.said.empty() ? Lines{} : Lines{row.said}) << row.what;
    ExpectClean();
  }
  EXPECT_EQ(Stored("edid.bin"), "good");
  EXPECT_EQ(Usage().stored, 4U);
}

TEST_F(UploadWireTest, AFileThatAFunctionTakesIsNotKept) {
  EXPECT_EQ(Upload("/upload/setting", "archive"), 200);
  EXPECT_EQ(Usage().stored, 0U);
  ExpectClean();
}

TEST_F(UploadWireTest, WhatAcceptAppendsBelongsToTheFile) {
  EXPECT_EQ(Upload("/api/v1/security/ieee802_1x_setting", "pem ", "p", {"Port: 7"}), 200);
  EXPECT_EQ(Stored("port.pem"), "pem 7");
  EXPECT_EQ(Upload("/api/v1/security/ieee802_1x_setting", "pem"), 200);
  EXPECT_EQ(Stored("port.pem"), "pem");
}

TEST_F(UploadWireTest, OneFileAFormAndValuesBesideIt) {
  const std::vector<Part> values{{"name", "a value", ""}, {"file", "x", "x"}, {"name", "another", ""}};
  EXPECT_EQ(Send(UploadRequest("/upload/logo", MultipartBody(values))).status(), 200);
  EXPECT_EQ(Stored("logo"), "x");
  const std::vector<Part> two{{"a", "1", "a"}, {"b", "2", "b"}};
  EXPECT_EQ(Send(UploadRequest("/upload/logo", MultipartBody(two))).status(), 500);
  EXPECT_EQ(Send(UploadRequest("/upload/logo", MultipartBody({{"name", "a value", ""}}))).status(), 500);
  EXPECT_EQ(Stored("logo"), "x");
  const Lines lines = Take(&Told::lines);
  ASSERT_EQ(lines.size(), 3U);
  EXPECT_EQ(lines[1], "upload: 127.0.0.1 was refused \"a\" (/upload/logo): it came with another file");
  EXPECT_EQ(lines[2], "upload: an upload without a file was refused");
  ExpectClean();
}

TEST_F(UploadWireTest, ClientsNamesStayInTheirFolder) {
  EXPECT_EQ(Upload("/upload/priv", "1", ".out;side"), 200);
  EXPECT_EQ(Upload("/upload/priv", "2", std::string(300, 'x')), 200);
  EXPECT_EQ(NamesIn("files/priv"), (Lines{"_out_side", std::string(127, 'x')}));
  EXPECT_EQ(Upload("/upload/priv", "3", "third"), 500);
  EXPECT_EQ(Upload("/upload/priv", "4", ".out;side"), 200);
  EXPECT_EQ(Stored("priv/_out_side"), "4");
  EXPECT_EQ(Take(&Told::lines)[2],
            "upload: 127.0.0.1 was refused \"third\" (/upload/priv): the folder is full");
}

TEST_F(UploadWireTest, AnUploadThatBreaksOffLeavesNothing) {
  for (const bool reset : {false, true}) {
    auto client = Half("/upload/logo", SampleBytes(60000), 20000);
    ASSERT_TRUE(Eventually([] { return Usage().arriving >= 30000; }));
    EXPECT_FALSE(fs::is_empty("files/.incoming"));
    reset ? client->Abort() : client->Close();
    ExpectClean();
    EXPECT_EQ(Take(&Told::lines),
              Lines{"upload: 127.0.0.1 was refused \"half.bin\" (/upload/logo): it broke off"});
  }
}

TEST_F(UploadWireTest, ParallelUploadsStayWithinTheBudgetTogether) {
  ASSERT_EQ(Upload("/upload/priv", std::string(90000, 'x'), "one"), 200);
  ASSERT_EQ(Upload("/upload/logo", std::string(90000, 'x')), 200);
  // 120000 bytes are left. What replaces the logo pays with it, once.
  auto first = Half("/device/note", std::string(100000, 'x'), 5000);
  ASSERT_TRUE(Eventually([] { return Usage().arriving >= 80000; }));
  EXPECT_EQ(Upload("/upload/priv", std::string(60000, 'x'), "two"), 500);
  EXPECT_EQ(Take(&Told::lines).back(),
            "upload: 127.0.0.1 was refused \"two\" (/upload/priv): there is no room within the budget");
  EXPECT_EQ(Upload("/upload/logo", std::string(95000, 'y')), 200);
  first->Close();
  ExpectClean();
  EXPECT_EQ(Upload("/upload/priv", std::string(60000, 'x'), "two"), 200);
  EXPECT_EQ(Usage().stored, 245000U);
}

TEST_F(UploadWireTest, WhatIsNotKeptHasABoundOfItsOwn) {
  for (const char* const name : {"one", "two"})
    ASSERT_EQ(Upload("/upload/priv", std::string(99000, 'x'), name), 200);
  ASSERT_EQ(Upload("/upload/logo", std::string(99000, 'x')), 200);
  // 3000 bytes are left for what is kept; an archive passes all the same.
  EXPECT_EQ(Upload("/device/note", std::string(4000, 'x')), 500);
  EXPECT_EQ(Upload("/upload/setting", std::string(1000, 'x')), 200);
}

TEST_F(UploadWireTest, NoMoreAtOnceThanAllowed) {
  std::vector<std::unique_ptr<Connection>> clients;
  for (int i = 0; i < 3; ++i) clients.push_back(Half("/device/note", SampleBytes(20000), 5000));
  ASSERT_TRUE(Eventually([] { return Usage().underWay == 3; }));
  EXPECT_EQ(Upload("/upload/logo", "x"), 500);
  EXPECT_EQ(Take(&Told::lines),
            Lines{"upload: 127.0.0.1 was refused \"a.bin\" (/upload/logo): too many at once"});
  for (auto& client : clients) client->Close();
  ExpectClean();
  EXPECT_EQ(Upload("/upload/logo", "x"), 200);
}

TEST_F(UploadWireTest, ParallelUploadsToOnePlaceLeaveOneOfThem) {
  std::vector<std::jthread> clients;
  for (const char letter : {'a', 'b', 'c'}) {
    clients.emplace_back([this, letter] {
      for (int i = 0; i < 20; ++i) EXPECT_EQ(Upload("/upload/logo", std::string(20000, letter)), 200);
    });
  }
  clients.clear();
  const std::string stored = Stored("logo");
  EXPECT_EQ(stored, std::string(20000, stored[0]));
  ExpectClean();
}

TEST_F(UploadWireTest, DownloadsGiveWhatIsStoredOrStandsInForIt) {
  const auto download = [this](const std::string& url) { return Send({"GET", url, {}, ""}); };
  EXPECT_EQ(download("/download/logo").status(), 404);
  ASSERT_TRUE(ReplaceFile("built-in", "BM built in"));
  EXPECT_EQ(download("/download/logo").Header("Content-Disposition"), "attachment;filename=\"built-in.bmp\"");
  ASSERT_EQ(Upload("/upload/logo", "\x89PNG\r\n\x1a\nmine"), 200);
  EXPECT_EQ(download("/download/logo").Header("Content-Disposition"), "attachment;filename=\"logo.png\"");
  EXPECT_EQ(download("/download/edid").status(), 500);
  ASSERT_EQ(Upload("/upload/edid", "good"), 200);
  EXPECT_EQ(integration::ParseChunks(download("/download/edid").body).data, "good");
  EXPECT_EQ(download("/device/note/download").status(), 500);
  ASSERT_EQ(Upload("/device/note", "noted"), 200);
  const auto note = download("/device/note/download");
  EXPECT_EQ(note.Header("Content-Disposition"), "attachment;filename=\"note.txt\"");
  EXPECT_EQ(integration::ParseChunks(note.body).data, "noted");
}

TEST_F(UploadWireTest, AfterTheStopEveryUploadIsRefused) {
  auto client = Half("/upload/logo", SampleBytes(60000), 20000);
  ASSERT_TRUE(Eventually([] { return Usage().arriving >= 30000; }));
  SdkKitUpload_Stop();
  EXPECT_EQ(Upload("/upload/logo", "x"), 500);
  client->Close();
  EXPECT_TRUE(Eventually([] { return fs::is_empty("files/.incoming"); }));
  SdkKitUploadUsage usage{};
  usage.size = sizeof usage;
  EXPECT_EQ(SdkKitUpload_Usage(&usage), -1);
}

TEST(UploadOptionsTest, WhatCannotWorkIsRefusedAtTheStart) {
  struct Case {
    const char* what;
    void (*spoil)(SdkKitUploadOptions& options, SdkKitUploadRow& row);
  };
  constexpr Case kCases[] = {{"size", [](auto& options, auto&) { options.size = 1; }},
                             {"row size", [](auto& options, auto&) { options.rowSize = 1; }},
                             {"no root", [](auto& options, auto&) { options.root = nullptr; }},
                             {"root is a file", [](auto& options, auto&) { options.root = "/dev/null"; }},
                             {"family", [](auto&, auto& row) { row.family = 6; }},
                             {"no route", [](auto&, auto& row) { row.family = kExtUploadCustom; }},
                             {"unnamed", [](auto&, auto& row) { row.funcId = kUploadUnnamed; }},
                             {"nobody takes it", [](auto&, auto& row) { row.file = nullptr; }},
                             {"absolute", [](auto&, auto& row) { row.file = "/etc/passwd"; }},
                             {"outside", [](auto&, auto& row) { row.file = "a/../../b"; }},
                             {"hidden", [](auto&, auto& row) { row.file = ".incoming/x"; }},
                             {"download slot", [](auto&, auto& row) { row.download = 9; }},
                             {"a folder's download", [](auto&, auto& row) {
                                row.file = "priv/";
                                row.download = kKitDownloadLogo;
                              }}};
  const fs::path root = fs::temp_directory_path() / ("sdkapi-options-" + std::to_string(getpid()));
  for (const Case& spoiled : kCases) {
    SdkKitUploadRow row = Row(kExtUploadImage, kImageLogo, "logo", 0);
    SdkKitUploadOptions options{};
    options.size = sizeof options;
    options.rowSize = sizeof row;
    options.rows = &row;
    options.rowCount = 1;
    options.root = root.c_str();
    spoiled.spoil(options, row);
    EXPECT_EQ(SdkKitUpload_Start(&options), -1) << spoiled.what;
  }
  EXPECT_EQ(SdkKitUpload_Start(nullptr), -1);
  EXPECT_EQ(SdkKitUpload_Routes_Add(), -1);
  fs::remove_all(root);
}

}  // namespace
}  // namespace sdkkit
