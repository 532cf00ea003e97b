// Many clients of every kind at once, while the host sends, and routes are added.
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <thread>

#include "raw_websocket.h"
#include "server_test_base.h"

namespace integration {
namespace {

constexpr int kClients = 16;

// How long each storm lasts; longer runs are asked for through the environment.
std::chrono::milliseconds Duration() {
  const char* const seconds = std::getenv("SDKAPI_STORM_SECONDS");
  return std::chrono::milliseconds(seconds != nullptr ? 1000 * std::atol(seconds) : 2500);
}

// A text that shows when a byte of it is lost, changed or in the wrong place: kind, number, filling.
std::string NumberedText(char kind, long number) {
  const std::size_t filling = static_cast<std::size_t>(number * 7919 % 1000);
  return kind + std::to_string(number) + ":" + std::string(filling, static_cast<char>('a' + number % 26));
}

long NumberOf(const std::string& text) { return std::atol(text.c_str() + 1); }

// The host of the storm keeps nothing but counters, so that it puts no order of its own between threads.
std::atomic<long> tokens{0};
std::atomic<long> logOuts{0};
std::atomic<long> receivedBytes{0};
const char* downloadPath = nullptr;

// The only frames that may be missing are those that the library says it dropped, because too much waited for
// a handshake. A hook of its own: collecting all lines would order the threads.
std::atomic<long> droppedFrames{0};

void CountDroppedFrames(int level, const char* text) {
  if (level == 4 && std::strstr(text, "websocket handshake not complete") == text) ++droppedFrames;
}

int StormLogin(LoginInfo* info) {
  std::snprintf(info->token, sizeof info->token, "storm-%ld", tokens.fetch_add(1));
  return 0;
}

int StormLogOut() { return ++logOuts, 0; }

int StormDeviceInfo(const char*, DeviceInfo* info) {
  info->timeout = 300;
  return 0;
}

int StormUpload(const char*, int, UploadFileCtx* ctx) {
  receivedBytes += ctx->length;
  return 0;
}

int StormDownload(const char*, DownloadFileInfo* info) {
  std::strcpy(info->name, "storm.bin");
  std::strcpy(info->path, downloadPath);
  return 0;
}

int StormPreview(PreviewFrame* frame) {
  if (frame->state == 1) ++frame->frame[0];
  frame->length = 5000;
  return frame->state == 1 && frame->frame[0] > 5 ? 1 : 0;
}

int StormWebSocket(int event, const char* token, const char* data, int length) {
  if (event == 0) WebSocketSendData(token, "H0:", 3);
  if (event == 1) WebSocketSendData(token, data, length);
  return 0;
}

int StormCustom(mg_connection* conn, CustomReqInfo*) { return SendReponseInfo(conn, 200, 1, "{}", 2); }

const SdkAPISerHandle& StormTable() {
  static const SdkAPISerHandle table = [] {
    SdkAPISerHandle made{};
    made.LoginCb = StormLogin;
    made.LogOutCb = StormLogOut;
    made.DeviceInfoCb = StormDeviceInfo;
    made.UploadImageFileCb = StormUpload;
    made.DownloadLogFileCb = StormDownload;
    made.PreviewCb = StormPreview;
    made.WebSocketCb = StormWebSocket;
    return made;
  }();
  return table;
}

struct Tally {
  std::atomic<long> requests{0};
  std::atomic<long> sockets{0};
  std::atomic<long> frames{0};
  std::atomic<long> missing{0};  // frames to all that a connected client did not get
};

// One client: a random walk over everything a client can do.
class Client {
 public:
  Client(const Mode& mode, unsigned int seed, Tally& tally) : mode_(mode), random_(seed), tally_(tally) {}

  void Step() {
    switch (random_() % 8) {
      case 0:
        LogIn();
        break;
      case 1:
        LogOut();
        break;
      case 2:
        Request({"GET", "/dev_info", {}, ""}, R"({"timeout":"300"})");
        break;
      case 3:
        Request(UploadRequest("/upload/logo", MultipartBody({{"f", std::string(40000, 'u'), "f"}})), "");
        break;
      case 4:
        Download();
        break;
      case 5:
        Watch();
        break;
      default:
        Talk();
    }
  }

  // Everything that this client may still be logged in with.
  void LogOut() {
    if (!token_.empty()) Exchange(mode_, HttpRequest{"POST", "/logout", {Authorization()}, ""}.Bytes());
    token_.clear();
  }

 private:
  std::string Authorization() const { return "Authorization: Bearer " + token_; }

  void LogIn() {
    LogOut();
    const Response response = Exchange(mode_, HttpRequest{"POST", "/api/v1/auth/login", {}, "{}"}.Bytes());
    ++tally_.requests;
    const std::size_t start = response.body.find("storm-");
    if (start == std::string::npos) {
      // All sessions taken: the login's token is not told to the client.
      EXPECT_EQ(WithoutDate(response.raw), JsonReply(500));
      return;
    }
    token_ = response.body.substr(start, response.body.find('"', start) - start);
  }

  // A reply is the good one, or the refusal of a token that has ended meanwhile.
  void Request(HttpRequest request, const std::string& goodBody) {
    request.headers.push_back(Authorization());
    const std::string reply = WithoutDate(Exchange(mode_, request.Bytes()).raw);
    ++tally_.requests;
    if (mode_.auth && reply == JsonReply(401)) return;
    EXPECT_EQ(reply, JsonReply(200, goodBody));
  }

  void Download() {
    const Response response =
        Exchange(mode_, HttpRequest{"GET", "/log", {Authorization(), "Connection: close"}, ""}.Bytes());
    ++tally_.requests;
    if (mode_.auth && WithoutDate(response.raw) == JsonReply(401)) return;
    EXPECT_EQ(response.head, DownloadHead("storm.bin"));
    EXPECT_TRUE(ParseChunks(response.body).data == SampleBytes(100000));
  }

  void Watch() {
    const std::string part = PartHead(5000);
    const Response response = Exchange(mode_, HttpRequest{"GET", "/stream", {}, ""}.Bytes());
    ++tally_.requests;
    EXPECT_EQ(response.head, StreamHead());
    EXPECT_EQ(response.body.size(), 5 * (part.size() + 5000 + 4));
  }

  void Talk() {
    const std::string protocol = token_.empty() ? "anybody" : token_;
    RawWebSocket socket(mode_);
    if (socket.Shake("/websocket", protocol).empty()) {
      EXPECT_TRUE(mode_.auth) << "refused";
      return;
    }
    ++tally_.sockets;
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

class StormTest : public ModeTest {
 protected:
  void SetUp() override {
    static const std::string path = Workspace::Get().WriteFile("storm.bin", SampleBytes(100000));
    downloadPath = path.c_str();
    Server::Get().Stop();
    Server::Get().Ensure({.webSocketUrl = "", .emptyTable = false, .table = &StormTable()});
    SdkApiSer_Printf(CountDroppedFrames);
    droppedFrames = 0;
    SdkAPISer_AuthenticationSwitch_Set(GetParam().auth ? 1 : 0);
  }
  void TearDown() override { Server::Get().Stop(); }
};

INSTANTIATE_TEST_SUITE_P(Modes, StormTest, AllModes(), ModeName);

TEST_P(StormTest, EverythingAtOnceStaysWhole) {
  const int files = OpenFiles();
  std::atomic<bool> over{false};
  std::atomic<bool> quiet{false};  // the host sends until the last client has left: they wait for its frames
  Tally tally;
  std::vector<std::thread> hostThreads;
  std::vector<std::thread> clientThreads;
  hostThreads.emplace_back([&] {
    for (long n = 0; !quiet; ++n) {
      const std::string text = NumberedText('A', n);
      WebSocketSendDataALL(text.c_str(), static_cast<int>(text.size()));
      std::this_thread::sleep_for(std::chrono::microseconds(300));
    }
  });
  hostThreads.emplace_back([&] {
    for (long n = 0; !quiet; ++n) {
      const std::string text = NumberedText('T', n);
      const std::string token =
          GetParam().auth ? "storm-" + std::to_string(tokens.load() - n % 20) : "anybody";
      WebSocketSendData(token.c_str(), text.c_str(), static_cast<int>(text.size()));
      std::this_thread::sleep_for(std::chrono::microseconds(300));
    }
  });
  clientThreads.emplace_back([&] {
    for (long n = 0; !over; ++n) {
      const std::string target = "/added/" + std::to_string(n % 50);
      EXPECT_EQ(SdkAPISer_Custom_Get_Post_Api_Add((target + "$").c_str(), StormCustom), 0);
      const int status = Exchange(GetParam(), HttpRequest{"GET", target, {}, ""}.Bytes()).status();
      EXPECT_EQ(status, GetParam().auth ? 401 : 200);
    }
  });
  for (unsigned int i = 0; i < kClients; ++i) {
    clientThreads.emplace_back([&, i] {
      Client client(GetParam(), i + 1, tally);
      while (!over) client.Step();
      client.LogOut();
    });
  }
  std::this_thread::sleep_for(Duration());
  over = true;
  for (std::thread& thread : clientThreads) thread.join();
  quiet = true;
  for (std::thread& thread : hostThreads) thread.join();

  EXPECT_TRUE(Eventually([&] { return OpenFiles() <= files; }));
  EXPECT_LE(tally.missing.load(), droppedFrames.load());
  EXPECT_GT(tally.requests.load(), kClients);
  EXPECT_GT(tally.sockets.load(), 0);
  EXPECT_GT(tally.frames.load(), 0);
  RecordProperty("requests", static_cast<int>(tally.requests.load()));
  RecordProperty("sockets", static_cast<int>(tally.sockets.load()));
  RecordProperty("frames", static_cast<int>(tally.frames.load()));
  std::printf("%ld requests, %ld sockets, %ld frames\n", tally.requests.load(), tally.sockets.load(),
              tally.frames.load());
}

}  // namespace
}  // namespace integration
