// Mistakes of a host: calls in a wrong order, twice, from inside, without arguments. None may hang the
// device, open it, or pass without a word.
#include <algorithm>
#include <atomic>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "raw_websocket.h"
#include "sdkapi/kit.h"
#include "server_test_base.h"
#include "waiting.h"

namespace integration {
namespace {

using sdktest::Eventually;

std::mutex linesMutex;
std::vector<std::string> lines;

void KeepLines(int level, const char* subject, const char* text) {
  const std::lock_guard lock(linesMutex);
  if (level >= kKitWarning) lines.push_back(std::string(subject) + ": " + text);
}

bool WasSaid(const std::string& line) {
  const std::lock_guard lock(linesMutex);
  return std::find(lines.begin(), lines.end(), line) != lines.end();
}

constexpr Mode kMode{false, true};
constexpr const char* kDatabase = "mistakes.db";

class MistakesTest : public ServerTest {
 protected:
  void SetUp() override {
    SdkKitLog_Set(KeepLines);
    const std::lock_guard lock(linesMutex);
    lines.clear();
  }
  void TearDown() override {
    Server::Get().Stop();
    SdkKitPreview_Stop();
    SdkKitEvents_Stop();
    SdkKitUpload_Stop();
    SdkKitArchive_Stop();
    SdkKitAccounts_Stop();
    SdkKitLog_Set(nullptr);
    for (const char* const end : {"", "-wal", "-shm"}) std::filesystem::remove(std::string(kDatabase) + end);
    std::filesystem::remove_all("mistakes");
    std::filesystem::remove_all("staging");
  }

  static int StartAccounts(int noAuthentication = 0) {
    SdkKitAccountsOptions options{};
    options.size = sizeof options;
    options.path = kDatabase;
    options.noAuthentication = noAuthentication;
    options.firstPassword = "Correct-Horse-7";
    options.firstPasswordStays = 1;
    return SdkKitAccounts_Start(&options);
  }
  static void Serve(const SdkAPISerHandle& table) { Server::Get().Ensure({"", false, &table}); }
  static Response Ask(const std::string& method, const std::string& target, const std::string& token = "",
                      const std::string& body = "") {
    return Exchange(kMode, HttpRequest{method, target, {"Authorization: Bearer " + token}, body}.Bytes());
  }
  static std::string LogIn() {
    const std::string body =
        Ask("POST", "/api/v1/auth/login", "", R"({"username":"admin","password":"Correct-Horse-7"})").body;
    const std::string before = R"("token":")";
    const std::size_t at = body.find(before);
    if (at == std::string::npos) return "";
    return body.substr(at + before.size(), body.find('"', at + before.size()) - at - before.size());
  }
};

// The first of all: what it is about holds until a table is guarded.
TEST_F(MistakesTest, ALoginWithoutAGuardIsSaid) {
  ASSERT_EQ(StartAccounts(), 0);
  SdkAPISerHandle table = TestHost::Table();
  SdkKitAccounts_Fill(&table);
  Serve(table);
  EXPECT_NE(LogIn(), "");
  EXPECT_TRUE(WasSaid("accounts: SdkKitAccounts_Guard() was not called: no slot asks for a right"));
}

TEST_F(MistakesTest, ATableThatIsGuardedTwiceIsGuardedOnce) {
  ASSERT_EQ(StartAccounts(), 0);
  SdkAPISerHandle table = TestHost::Table();
  SdkKitAccounts_Fill(&table);
  for (int i = 0; i < 3; ++i) SdkKitAccounts_Guard(&table);
  Serve(table);
  EXPECT_EQ(Ask("GET", "/getTxRxList", LogIn()).status(), 200);
  EXPECT_EQ(Ask("GET", "/getTxRxList", "nobody").status(), 401);
}

TEST_F(MistakesTest, AnEmptyTableThatIsGuardedIsSaid) {
  SdkAPISerHandle table{};
  SdkKitAccounts_Guard(&table);
  EXPECT_TRUE(
      WasSaid("accounts: the table that is guarded has no slot yet: what is filled in later is open"));
}

// Without the library's switch everybody would be an administrator.
TEST_F(MistakesTest, TheAccountsSetTheSwitchOfTheTokenCheck) {
  for (const int isOpen : {0, 1}) {
    SdkAPISer_AuthenticationSwitch_Set(isOpen);  // the wrong one
    ASSERT_EQ(StartAccounts(isOpen), 0);
    SdkAPISerHandle table = TestHost::Table();
    SdkKitAccounts_Fill(&table);
    SdkKitAccounts_Guard(&table);
    Serve(table);
    EXPECT_EQ(Ask("GET", "/getTxRxList").status(), isOpen != 0 ? 200 : 401);
    Server::Get().Stop();
    SdkKitAccounts_Stop();
  }
}

// As after --no-auth: a client that asks whether a login is needed does not close the device.
TEST_F(MistakesTest, ASwitchThatTheHostSetLaterStays) {
  ASSERT_EQ(StartAccounts(), 0);
  SdkAPISerHandle table = TestHost::Table();
  SdkKitAccounts_Fill(&table);
  SdkKitAccounts_Guard(&table);
  Serve(table);
  SdkAPISer_AuthenticationSwitch_Set(0);
  EXPECT_EQ(Ask("GET", "/iplogin").status(), 200);
  EXPECT_EQ(Ask("GET", "/getTxRxList").status(), 200);
}

TEST_F(MistakesTest, ALoginBeforeTheStartIsSaid) {
  SdkAPISerHandle table{};
  SdkKitAccounts_Fill(&table);
  Serve(table);
  EXPECT_EQ(Ask("POST", "/api/v1/auth/login", "", R"({"username":"a","password":"b"})").status(), 404);
  EXPECT_TRUE(WasSaid("accounts: nobody can log in: it has not been started"));
}

TEST_F(MistakesTest, TheAccountsEndWhileOthersAskThem) {
  std::atomic<bool> isOver{false};
  std::atomic<int> answers{0};
  std::vector<std::thread> askers;
  for (int i = 0; i < 4; ++i) {
    askers.emplace_back([&] {
      while (!isOver) {
        std::size_t count = 0;
        if (SdkKitAccounts_List(nullptr, &count) == 0) ++answers;
      }
    });
  }
  for (int i = 0; i < 3; ++i) {
    ASSERT_EQ(StartAccounts(), 0);
    const int before = answers;
    EXPECT_TRUE(Eventually([&] { return answers > before; }));
    SdkKitAccounts_Stop();
    std::size_t count = 0;
    EXPECT_EQ(SdkKitAccounts_List(nullptr, &count), -1);
  }
  isOver = true;
  for (std::thread& asker : askers) asker.join();
}

std::atomic<int> calls{0};

int StopInPicture(void*, SdkKitPreviewPicture* picture) {
  std::memset(picture->data, 7, picture->room);
  SdkKitPreview_Stop();
  ++calls;
  return 0;
}
void* StopInOpen(const char*) {
  SdkKitPreview_Stop();
  ++calls;
  return &calls;
}

TEST_F(MistakesTest, ASourceThatStopsThePreviewsShowsItsPictures) {
  calls = 0;
  SdkKitPreviewOptions options{};
  options.size = sizeof options;
  ASSERT_EQ(SdkKitPreview_Start(&options), 0);
  SdkKitPreviewSource source{};
  source.size = sizeof source;
  source.format = kPreviewRgb;
  source.width = source.height = 16;
  source.open = StopInOpen;
  source.picture = StopInPicture;
  ASSERT_EQ(SdkKitPreview_Source_Set("", &source), 0);
  SdkAPISerHandle table{};
  SdkKitPreview_Fill(&table);
  Serve(table);
  Connection viewer(Server::Get().port(false), false);
  viewer.Send("GET /stream HTTP/1.1\r\nHost: device\r\n\r\n");
  EXPECT_TRUE(viewer.ReadUntil(
      [](const std::string& bytes) { return bytes.find("image/jpeg") != std::string::npos; }));
  EXPECT_GE(calls, 2);
  EXPECT_TRUE(WasSaid("preview: no stop: it was called by a function of a source"));
  SdkKitPreview_Stop();
  viewer.ReadToEnd();
}

void StopInConnected(uint64_t id, const char*) {
  SdkKitEvents_Stop();
  SdkKitEvents_Answer(id, "welcome");
}

TEST_F(MistakesTest, AStateThatStopsTheEventsIsToldAllTheSame) {
  SdkKitEventsOptions options{};
  options.size = sizeof options;
  options.connected = StopInConnected;
  ASSERT_EQ(SdkKitEvents_Start(&options), 0);
  SdkAPISerHandle table{};
  SdkKitEvents_Fill(&table);
  Serve(table);
  SdkAPISer_AuthenticationSwitch_Set(0);
  RawWebSocket socket(kMode);
  ASSERT_TRUE(socket.Open("somebody"));
  EXPECT_EQ(socket.Read(), (Frame{true, 1, "welcome"}));
  EXPECT_TRUE(WasSaid("events: no stop: it was called by connected or second"));
  EXPECT_EQ(SdkKitEvents_Publish(nullptr, "news"), 0);
  EXPECT_EQ(socket.Read(), (Frame{true, 1, "news"}));
}

int ArchiveWithin(SdkKitArchiveText* text) {
  char path[300] = "";
  char why[100] = "";
  SdkKitArchive_Stop();
  const bool isRefused = SdkKitArchive_Export("", path, sizeof path) == -1 && SdkKitArchive_Restore() == -1 &&
                         SdkKitArchive_Import("none.zip", why, sizeof why) == -1;
  const std::string words = isRefused ? why : "it was not refused";
  return SdkKitArchive_Text_Add(text, words.data(), words.size());
}
std::string applied;
int Apply(const char* text, std::size_t) {
  applied = text;
  return 0;
}

TEST_F(MistakesTest, AnArchiveThatIsCalledByItsOwnFunctionsRefuses) {
  const SdkKitArchiveMethod method{"full", 1, 0};
  const SdkKitArchiveDocument document{"a", 1, 0, ArchiveWithin, ArchiveWithin, nullptr, Apply};
  SdkKitArchiveOptions options{};
  options.size = sizeof options;
  options.methodSize = sizeof method;
  options.methods = &method;
  options.methodCount = 1;
  options.documentSize = sizeof document;
  options.documents = &document;
  options.documentCount = 1;
  ASSERT_EQ(SdkKitArchive_Start(&options), 0);
  SdkAPISerHandle table{};
  SdkKitArchive_Fill(&table);
  Serve(table);
  SdkAPISer_AuthenticationSwitch_Set(0);
  EXPECT_EQ(Ask("POST", "/custom_restore").status(), 200);
  EXPECT_EQ(applied, "it was called by one of its own functions");
  EXPECT_TRUE(WasSaid("archive: no stop: it was called by one of its own functions"));
  EXPECT_TRUE(WasSaid("archive: no export: it was called by one of its own functions"));
}

TEST_F(MistakesTest, UploadsOutOfOrderAreSaid) {
  SdkAPISerHandle table{};
  SdkKitUpload_Fill(&table);
  EXPECT_TRUE(WasSaid("upload: no slot is filled: it has not been started"));
  EXPECT_EQ(SdkKitUpload_Routes_Add(), -1);
  EXPECT_TRUE(WasSaid("upload: no route is added: it has not been started"));
  SdkKitUploadOptions options{};
  options.size = sizeof options;
  options.rowSize = sizeof(SdkKitUploadRow);
  options.root = "mistakes";
  options.rowCount = 3;
  EXPECT_EQ(SdkKitUpload_Start(&options), -1);
  EXPECT_TRUE(WasSaid("upload: there are no rows, or rowSize is unknown"));
  options.rowCount = 0;
  ASSERT_EQ(SdkKitUpload_Start(&options), 0);
  EXPECT_EQ(SdkKitUpload_Start(&options), -1);
  EXPECT_TRUE(WasSaid("upload: no start: it has been started before"));
}

TEST_F(MistakesTest, WithoutATableNothingIsFilled) {
  for (const auto fill : {SdkKitAccounts_Fill, SdkKitAccounts_Guard, SdkKitUpload_Fill, SdkKitArchive_Fill,
                          SdkKitFirmware_Fill, SdkKitPreview_Fill, SdkKitEvents_Fill})
    fill(nullptr);
  EXPECT_EQ(SdkKitStorage_Replace("mistakes.bin", nullptr, 7), -1);
  EXPECT_TRUE(WasSaid("storage: there are no bytes"));
  EXPECT_FALSE(std::filesystem::exists("mistakes.bin"));
}

// A host that ends its server and starts it again, with all parts or with those that went on.
TEST_F(MistakesTest, AProcessStartsItsDeviceAgainAndAgain) {
  SdkAPISerHandle table{};  // one for all starts, as a global would be
  for (int i = 0; i < 3; ++i) {
    ASSERT_EQ(StartAccounts(), 0);
    table.GetTxRxListCb = TestHost::Table().GetTxRxListCb;
    SdkKitAccounts_Fill(&table);
    SdkKitAccounts_Guard(&table);
    for (int server = 0; server < 2; ++server) {
      Serve(table);
      const std::string token = LogIn();
      EXPECT_EQ(Ask("GET", "/getTxRxList", token).status(), 200);
      Server::Get().Stop();
    }
    SdkKitAccounts_Stop();
  }
}

}  // namespace
}  // namespace integration
