// Sixteen clients do everything at once while the host sends, adds routes and governs its server with all of
// the extension interface; made for sanitizer builds.
//
// usage: storm [SECONDS]   how long each of the storms lasts (3)
#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <thread>

#include "governor.h"
#include "neutral_extensions.h"
#include "raw_websocket.h"
#include "server_test_base.h"

namespace integration {
namespace {

constexpr unsigned kClients = 16;
constexpr unsigned kKeptRoutes = 4;
constexpr long kAddedRoutes = 64;

// How long each storm lasts: the program's argument, in seconds.
std::chrono::seconds Duration() {
  return std::chrono::seconds(Arguments().empty() ? 3 : std::atol(Arguments()[0].c_str()));
}

// A text that shows when a byte of it is lost, changed or in the wrong place: kind, number, filling.
std::string NumberedText(char kind, long number) {
  const std::size_t filling = static_cast<std::size_t>(number * 7919 % 1000);
  return kind + std::to_string(number) + ":" + std::string(filling, static_cast<char>('a' + number % 26));
}

long NumberOf(const std::string& text) { return std::atol(text.c_str() + 1); }

// The host of the storm keeps nothing but counters, so that it puts no order of its own between threads.
std::atomic<long> tokens{0};

// The only frames that may be missing are those that the library says it dropped, because too much waited for
// a handshake. A hook of its own: collecting all lines would order the threads.
std::atomic<long> droppedFrames{0};

void CountDroppedFrames(int level, const char* text) {
  if (level == 4 && std::strstr(text, "websocket handshake not complete") == text) ++droppedFrames;
}

int AnswerCustom(mg_connection* conn, CustomReqInfo*) { return SendReponseInfo(conn, 200, 1, "{}", 2); }

void PrepareHost(const std::string& file) {
  TestHost& host = TestHost::Get();
  host.login = [](LoginInfo& info) {
    std::snprintf(info.token, sizeof info.token, "storm-%ld", tokens.fetch_add(1));
    return 0;
  };
  host.deviceInfo = [](DeviceInfo& info) { return info.timeout = 300, 0; };
  host.txRxList = [](char* list) { return std::strcpy(list, "[]"), 0; };
  host.download = [file](DownloadFileInfo& info) {
    std::strcpy(info.name, "storm.bin");
    std::strcpy(info.path, file.c_str());
    return 0;
  };
  host.preview = [](PreviewFrame& frame) {
    if (frame.state == 1) ++frame.frame[0];
    frame.length = 5000;
    return frame.state == 1 && frame.frame[0] > 5 ? 1 : 0;
  };
  host.webSocket = [](int event, const std::string& token, const std::string& data) {
    if (event == 0) WebSocketSendData(token.c_str(), "H0:", 3);
    if (event == 1) WebSocketSendData(token.c_str(), data.c_str(), static_cast<int>(data.size()));
    return 0;
  };
  host.Settle();
}

enum Action {
  kLogin,
  kLogOut,
  kInfo,
  kUnits,
  kUpload,
  kDownload,
  kFile,
  kPreview,
  kCustom,
  kWebSocket,
  kActions
};
constexpr std::array<const char*, kActions> kNames = {"login",  "log-out",  "device info", "unit list",
                                                      "upload", "download", "file",        "preview",
                                                      "custom", "WebSocket"};

struct Tally {
  std::array<std::atomic<long>, kActions> done{};
  std::atomic<long> frames{0};
  std::atomic<long> missing{0};  // frames to all that a connected client did not get
  std::atomic<long> sends{0};
  std::atomic<long> uploads{0};  // that were answered 200
  std::atomic<long> closes{0};   // frames that closed a WebSocket

  bool EveryActionDone() const {
    return frames > 0 && closes > 0 &&
           std::all_of(done.begin(), done.end(), [](const auto& count) { return count > 0; });
  }
  void Print() const {
    for (std::size_t action = 0; action < kActions; ++action) {
      std::printf("%-12s %ld\n", kNames[action], done[action].load());
    }
    std::printf("%-12s %ld\n%-12s %ld\n%-12s %ld\n", "frames", frames.load(), "sends", sends.load(), "closes",
                closes.load());
  }
};

// One client: a random walk over everything a client can do.
class Client {
 public:
  Client(const Mode& mode, unsigned int seed, Tally& tally) : mode_(mode), random_(seed), tally_(tally) {}

  void Step() {
    switch (random_() % 12) {
      case 0:
        return LogIn();
      case 1:
        return LogOut();
      case 2:
        return Request(kInfo, {"GET", "/dev_info", {}, ""}, R"({"timeout":"300"})");
      case 3:
        return Request(kUnits, {"GET", "/getTxRxList", {}, ""}, R"({"list":"[]"})");
      case 4:
        return Upload();
      case 5:
        return Download();
      case 6:
        return Watch();
      case 7:
        return AskOwnRoute();
      case 8:
        return ReadFile();
      default:
        return Talk();
    }
  }

  // Everything that this client may still be logged in with.
  void LogOut() {
    if (token_.empty()) return;
    Exchange(mode_, HttpRequest{"POST", "/logout", {Authorization()}, ""}.Bytes());
    ++tally_.done[kLogOut];
    token_.clear();
  }

 private:
  std::string Authorization() const { return "Authorization: Bearer " + token_; }

  void LogIn() {
    LogOut();
    const Response response = Exchange(mode_, HttpRequest{"POST", "/api/v1/auth/login", {}, "{}"}.Bytes());
    ++tally_.done[kLogin];
    const std::size_t start = response.body.find("storm-");
    if (start == std::string::npos) {
      // All sessions or all logins taken: the login's token is not told to the client.
      const std::string reply = WithoutDate(response.raw);
      EXPECT_TRUE(reply == JsonReply(500) || reply == JsonReply(503)) << reply;
      return;
    }
    token_ = response.body.substr(start, response.body.find('"', start) - start);
  }

  // A reply is the good one, or the refusal of a token that has ended meanwhile.
  void Request(Action action, HttpRequest request, const std::string& goodBody) {
    request.headers.push_back(Authorization());
    const std::string reply = WithoutDate(Exchange(mode_, request.Bytes()).raw);
    ++tally_.done[action];
    if (mode_.auth && reply == JsonReply(401)) return;
    EXPECT_EQ(reply, JsonReply(200, goodBody));
    if (action == kUpload) ++tally_.uploads;
  }

  void AskOwnRoute() {
    const std::string target = "/storm/" + std::to_string(random_() % kKeptRoutes);
    const Response response = Exchange(mode_, HttpRequest{"POST", target, {Authorization()}, "{}"}.Bytes());
    ++tally_.done[kCustom];
    if (mode_.auth && WithoutDate(response.raw) == JsonReply(401)) return;
    EXPECT_TRUE(response.raw.starts_with("HTTP/1.1 200 OK\r\n"));
    EXPECT_EQ(response.body, "{}");
  }

  void Upload() {
    const std::string file(random_() % 100000, 'u');
    Request(kUpload, UploadRequest("/upload/logo", MultipartBody({{"f", file, "f"}})), "");
  }

  void Download() {
    const Response response =
        Exchange(mode_, HttpRequest{"GET", "/log", {Authorization(), "Connection: close"}, ""}.Bytes());
    ++tally_.done[kDownload];
    if (mode_.auth && WithoutDate(response.raw) == JsonReply(401)) return;
    EXPECT_EQ(response.head, DownloadHead("storm.bin"));
    EXPECT_TRUE(ParseChunks(response.body).data == SampleBytes(100000));
  }

  void ReadFile() {
    const Response response =
        Exchange(mode_, HttpRequest{"GET", "/index.html", {"Connection: close"}, ""}.Bytes());
    ++tally_.done[kFile];
    EXPECT_EQ(response.body, "front page");
  }

  void Watch() {
    const std::string part = PartHead(5000);
    const Response response = Exchange(mode_, HttpRequest{"GET", "/stream", {}, ""}.Bytes());
    ++tally_.done[kPreview];
    EXPECT_EQ(response.head, StreamHead());
    EXPECT_EQ(response.body.size(), 5 * (part.size() + 5000 + 4));
  }

  void Talk() {
    const std::string protocol = token_.empty() ? "anybody" : token_;
    RawWebSocket socket(mode_);
    if (socket.Shake("/websocket", protocol).empty()) {
      // Its login may have ended within the handshake.
      EXPECT_TRUE(mode_.auth || !token_.empty()) << "refused";
      return;
    }
    ++tally_.done[kWebSocket];
    const auto frames = random_() % 30;
    for (unsigned long i = 0; i < frames; ++i) {
      if (i % 4 == 0) {
        EXPECT_TRUE(socket.SendText(NumberedText('E', static_cast<long>(i))));
      }
      if (!CheckFrame(socket.Read(), socket.connection().end())) break;
    }
    lastToAll_ = -1;
    switch (random_() % 3) {
      case 0:
        socket.connection().Abort();
        break;
      case 1:
        socket.Send(8, "");
        break;
      default:
        break;  // just closed
    }
  }

  // Frames are whole texts; those to all come in order.
  bool CheckFrame(const std::optional<Frame>& frame, Connection::End end) {
    if (!frame.has_value()) {
      ADD_FAILURE() << "the connection was lost: " << static_cast<int>(end);
      return false;
    }
    ++tally_.frames;
    EXPECT_TRUE(frame->final);
    if (frame->opcode == 8) {
      EXPECT_TRUE(IsGovernorsClose(frame->payload)) << frame->payload;
      ++tally_.closes;
      return false;
    }
    EXPECT_EQ(frame->opcode, 1);
    if (frame->payload == "H0:") return true;
    const long number = NumberOf(frame->payload);
    EXPECT_TRUE(frame->payload == NumberedText(frame->payload.empty() ? '?' : frame->payload[0], number));
    if (frame->payload[0] != 'A') return true;
    if (lastToAll_ >= 0) {
      EXPECT_GT(number, lastToAll_);
      tally_.missing += number - lastToAll_ - 1;
    }
    lastToAll_ = number;
    return true;
  }

  Mode mode_;
  std::mt19937 random_;
  Tally& tally_;
  std::string token_;
  long lastToAll_ = -1;
};

// Who storms: most clients by one scheme, every fourth by another.
struct Storm {
  Mode most;
  bool fourthOverHttps;
};

std::string StormName(const ::testing::TestParamInfo<Storm>& info) {
  const Storm& storm = info.param;
  return storm.most.https == storm.fourthOverHttps ? NameOf(storm.most) : "BothSchemes";
}

void PrintTo(const Storm& storm, std::ostream* out) { PrintTo(storm.most, out); }

class StormTest : public ::testing::TestWithParam<Storm> {
 protected:
  void SetUp() override {
    PrepareHost(Workspace::Get().WriteFile("storm.bin", SampleBytes(100000)));
    Server::Get().Stop();
    SwitchExtensionsOn();
    Server::Get().Ensure();
    SdkApiSer_Printf(CountDroppedFrames);
    droppedFrames = 0;
    SdkAPISer_AuthenticationSwitch_Set(GetParam().most.auth ? 1 : 0);
    for (unsigned route = 0; route < kKeptRoutes; ++route) {
      ASSERT_EQ(SdkAPISer_Custom_Get_Post_Api_Add(("/storm/" + std::to_string(route)).c_str(), AnswerCustom),
                0);
    }
  }
  void TearDown() override {
    Server::Get().Stop();
    sdktest::SetNeutralExtensions();
  }

  Mode ModeOf(unsigned client) const {
    return client % 4 == 3 ? Mode{GetParam().fourthOverHttps, GetParam().most.auth} : GetParam().most;
  }

  // The host sends until the last client has left: they wait for its frames.
  void SendToAll() {
    for (long n = 0; !quiet_; ++n) {
      const std::string text = NumberedText('A', n);
      WebSocketSendDataALL(text.c_str(), static_cast<int>(text.size()));
      Pause();
    }
  }
  void SendToOne() {
    for (long n = 0; !quiet_; ++n) {
      const std::string text = NumberedText('T', n);
      const std::string token =
          GetParam().most.auth ? "storm-" + std::to_string(tokens.load() - n % 20) : "anybody";
      WebSocketSendData(token.c_str(), text.c_str(), static_cast<int>(text.size()));
      Pause();
    }
  }
  // Lists, sends, closes, ends and limits, as a host's own pages and rules would.
  void GovernServer() {
    for (long n = 0; !quiet_; ++n) {
      const std::string token = "storm-" + std::to_string(tokens.load() - n % 20);
      Govern(n, token, NumberedText('G', n));
      Pause();
    }
  }
  void Pause() {
    ++tally_.sends;
    std::this_thread::sleep_for(std::chrono::microseconds(300));
  }

  // Adds routes and replaces them, and meets each at once.
  void AddRoutes() {
    const Mode& mode = GetParam().most;
    for (long n = 0; !over_; ++n) {
      const std::string target = "/added/" + std::to_string(n % kAddedRoutes);
      EXPECT_EQ(SdkAPISer_Custom_Get_Post_Api_Add((target + "$").c_str(), AnswerCustom), 0);
      EXPECT_EQ(Exchange(mode, HttpRequest{"GET", target, {}, ""}.Bytes()).status(), mode.auth ? 401 : 200);
    }
  }

  void Roam(unsigned number) {
    Client client(ModeOf(number), number + 1, tally_);
    while (!over_) client.Step();
    client.LogOut();
  }

  std::atomic<bool> over_{false};
  std::atomic<bool> quiet_{false};
  Tally tally_;
};

INSTANTIATE_TEST_SUITE_P(Modes, StormTest,
                         ::testing::Values(Storm{{false, false}, false}, Storm{{false, true}, false},
                                           Storm{{true, false}, true}, Storm{{true, true}, true},
                                           Storm{{false, true}, true}),
                         StormName);

TEST_P(StormTest, EverythingAtOnceStaysWhole) {
  const int files = OpenFiles();
  std::vector<std::thread> hostThreads;
  hostThreads.emplace_back([this] { SendToAll(); });
  hostThreads.emplace_back([this] { SendToOne(); });
  hostThreads.emplace_back([this] { GovernServer(); });
  std::vector<std::thread> clientThreads;
  clientThreads.emplace_back([this] { AddRoutes(); });
  for (unsigned number = 0; number < kClients; ++number)
    clientThreads.emplace_back([this, number] { Roam(number); });
  std::this_thread::sleep_for(Duration());
  EXPECT_TRUE(Eventually([this] { return tally_.EveryActionDone(); }));
  over_ = true;
  for (std::thread& thread : clientThreads) thread.join();
  quiet_ = true;
  for (std::thread& thread : hostThreads) thread.join();

  EXPECT_TRUE(Eventually([&] { return OpenFiles() <= files; }));
  EXPECT_LE(tally_.missing.load(), droppedFrames.load());
  EXPECT_EQ(EndedUploads(), tally_.uploads.load());
  tally_.Print();
}

}  // namespace
}  // namespace integration
