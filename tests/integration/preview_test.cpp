// Picture streams: exact bytes, the host's states, clients that leave, and players that read them.
#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <sstream>
#include <thread>
#include <utility>

#include "server_test_base.h"

namespace integration {
namespace {

constexpr int64_t kLargestPicture = 655360;

// A host with a fixed list of pictures, which ends the stream behind the last.
class Pictures {
 public:
  explicit Pictures(std::vector<std::string> pictures) : pictures_(std::move(pictures)) {}

  int operator()(PreviewFrame& frame) {
    if (frame.state == 0) next_ = 0;
    if (frame.state != 1) return 0;
    if (next_ == pictures_.size()) return 1;
    const std::string& picture = pictures_[next_++];
    std::memcpy(frame.frame, picture.data(), picture.size());
    frame.length = static_cast<int64_t>(picture.size());
    return 0;
  }

 private:
  std::vector<std::string> pictures_;
  std::size_t next_ = 0;
};

std::string Part(const std::string& picture) { return PartHead(picture.size()) + picture + "\r\n\r\n"; }

Call State(int state, const std::string& hostname = "") {
  return {"PreviewCb", "", {hostname, std::to_string(state)}};
}

class PreviewTest : public ModeTest {
 protected:
  // No token and no Connection header: the stream is open to everybody, and its end is the server's.
  Response Watch(const std::string& target) { return SendBare({"GET", target, {}, ""}); }

  bool WaitForCloses(int count) {
    return Eventually([&] { return Count(2) >= count; });
  }
  int Count(int state) {
    int count = 0;
    for (const Call& call : host().Calls("PreviewCb")) count += call.args[1] == std::to_string(state) ? 1 : 0;
    return count;
  }

  // Pictures without end, at a pace that leaves the machine to others.
  void StreamForEver(std::size_t size) {
    host().preview = [size](PreviewFrame& frame) {
      if (frame.state == 1) std::this_thread::sleep_for(std::chrono::milliseconds(2));
      frame.length = static_cast<int64_t>(size);
      return 0;
    };
  }
};

INSTANTIATE_TEST_SUITE_P(Modes, PreviewTest, AllModes(), ModeName);

TEST_P(PreviewTest, AStreamIsTheseBytes) {
  host().preview = Pictures({"first", "second one"});
  EXPECT_EQ(Watch("/stream").raw,
            "HTTP/1.1 200 OK\r\nCache-Control: no-cache\r\nPragma: no-cache\r\n"
            "Expires: Thu, 01 Dec 1994 16:00:00 GMT\r\nConnection: close\r\n"
            "Content-Type: multipart/x-mixed-replace; boundary=--w00t\r\n\r\n"
            "--w00t\r\nContent-Type: image/jpeg\r\nContent-Length: 5\r\n\r\nfirst\r\n\r\n"
            "--w00t\r\nContent-Type: image/jpeg\r\nContent-Length: 10\r\n\r\nsecond one\r\n\r\n");
  EXPECT_EQ(host().Calls(), (std::vector<Call>{State(0), State(1), State(1), State(1), State(2)}));
}

TEST_P(PreviewTest, TheUrlNamesTheSource) {
  struct Row {
    std::string target;
    std::string hostname;
    bool logged;
  };
  const Row rows[] = {
      {"/preview/RX01", "RX01", true},
      {"/preview/RX01?size=1", "RX01", true},
      {"/preview/x/y", "x/y", true},
      {"/preview/a%20b", "a b", true},
      {"/preview/", "", true},
      {"/preview", "", false},
      {"/preview2", "", false},
      {"/stream", "", false},
      {"/stream/2", "", false},
      {"/stream/preview/x", "review/x", true},  // whatever stands behind the first nine characters
      {"/preview/" + std::string(31, 'h'), std::string(31, 'h'), true},
      {"/preview/" + std::string(100, 'h'), std::string(31, 'h'), true},
  };
  host().preview = Pictures({"p"});
  for (const Row& row : rows) {
    SCOPED_TRACE(row.target);
    LogCapture::Clear();
    const std::size_t before = host().Calls().size();
    EXPECT_EQ(Watch(row.target).raw, StreamHead() + Part("p"));
    const std::vector<Call> all = host().Calls();
    EXPECT_EQ(std::vector<Call>(all.begin() + static_cast<std::ptrdiff_t>(before), all.end()),
              (std::vector<Call>{State(0, row.hostname), State(1, row.hostname), State(1, row.hostname),
                                 State(2, row.hostname)}));
    EXPECT_EQ(LogCapture::Count(1, "FuncPreview hostname is [" + row.hostname + "]", "sdkapi"),
              row.logged ? 1 : 0);
  }
}

TEST_P(PreviewTest, LengthsOutsideTheRecord) {
  struct Row {
    int64_t length;
    std::string sent;  // behind the head, up to and without the good picture that follows
    bool goesOn;
  };
  const Row rows[] = {
      {0, PartHead(0), false},
      {-1, "--w00t\r\nContent-Type: image/jpeg\r\nContent-Length: 18446744073709551615\r\n\r\n\r\n\r\n",
       true},
      {kLargestPicture + 1, "", false},
      {INT64_MAX, "", false},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.length);
    host().Reset();
    int asked = 0;
    host().preview = [&](PreviewFrame& frame) {
      if (frame.state != 1) return 0;
      ++asked;
      frame.length = asked == 1 ? row.length : 4;
      std::memcpy(frame.frame, "good", 4);
      return asked > 2 ? 1 : 0;
    };
    EXPECT_EQ(Watch("/stream").raw, StreamHead() + row.sent + (row.goesOn ? Part("good") : ""));
    EXPECT_EQ(Count(2), 1);
  }
}

TEST_P(PreviewTest, TheLargestPictureArrivesWhole) {
  const std::string picture = SampleBytes(kLargestPicture);
  host().preview = Pictures({picture, "small", picture});
  EXPECT_TRUE(Watch("/preview/RX").raw == StreamHead() + Part(picture) + Part("small") + Part(picture));
}

TEST_P(PreviewTest, ARefusedStreamIsLeftToTheWebServer) {
  for (const int result : {1, -1, -2}) {
    host().Reset();
    host().preview = [result](PreviewFrame&) { return result; };
    ExpectNotFound(Watch("/stream"));
    ExpectNotFound(Watch("/preview/RX"));
    EXPECT_EQ(host().Calls(), (std::vector<Call>{State(0), State(0, "RX")}));
  }
}

TEST_P(PreviewTest, OneZeroedRecordServesAStreamWhole) {
  std::vector<const PreviewFrame*> records;
  bool zeroed = true;
  host().preview = [&](PreviewFrame& frame) {
    records.push_back(&frame);
    if (frame.state == 0) {
      const unsigned char* const bytes = frame.frame;
      zeroed = frame.length == 0 &&
               std::all_of(bytes, bytes + kLargestPicture, [](unsigned char b) { return b == 0; });
      std::memcpy(frame.frame, "kept", 4);
      frame.length = 4;
    }
    return frame.state == 1 && records.size() > 3 ? 1 : 0;
  };
  EXPECT_EQ(Watch("/stream").raw, StreamHead() + Part("kept") + Part("kept"));
  EXPECT_TRUE(zeroed);
  EXPECT_EQ(records, std::vector<const PreviewFrame*>(5, records[0]));
}

TEST_P(PreviewTest, AVanishedClientGetsItsClose) {
  StreamForEver(20000);
  const int files = OpenFiles();
  Connection client(Server::Get().port(mode().https), mode().https);
  ASSERT_TRUE(client.Send(HttpRequest{"GET", "/preview/RX", {}, ""}.Bytes()));
  ASSERT_TRUE(client.ReadUntilSize(100000));
  client.Abort();
  EXPECT_TRUE(WaitForCloses(1));
  EXPECT_TRUE(Eventually([&] { return OpenFiles() <= files; }));
  EXPECT_EQ(Count(0), 1);
  EXPECT_EQ(Count(2), 1);
}

TEST_P(PreviewTest, TwentyViewersAtOnce) {
  StreamForEver(3000);
  std::vector<std::unique_ptr<Connection>> viewers;
  for (int i = 0; i < 20; ++i) {
    viewers.push_back(std::make_unique<Connection>(Server::Get().port(mode().https), mode().https));
    ASSERT_TRUE(viewers.back()->Send(HttpRequest{"GET", "/preview/RX" + std::to_string(i), {}, ""}.Bytes()));
  }
  const std::string picture(3000, '\0');
  const std::string start = StreamHead() + Part(picture) + Part(picture) + Part(picture);
  for (const auto& viewer : viewers) {
    EXPECT_TRUE(viewer->ReadUntilSize(start.size()));
    EXPECT_TRUE(viewer->received().starts_with(start));
  }
  ExpectReply(Get("/dev_info"), 200, "{}");  // the rest of the interface still answers
  viewers.clear();
  EXPECT_TRUE(WaitForCloses(20));
  EXPECT_EQ(Count(0), 20);
  EXPECT_EQ(Count(2), 20);
}

TEST_P(PreviewTest, StoppingTheServerClosesEachStreamOnce) {
  StreamForEver(3000);
  std::vector<std::unique_ptr<Connection>> viewers;
  for (int i = 0; i < 5; ++i) {
    viewers.push_back(std::make_unique<Connection>(Server::Get().port(mode().https), mode().https));
    ASSERT_TRUE(viewers.back()->Send(HttpRequest{"GET", "/preview/RX" + std::to_string(i), {}, ""}.Bytes()));
    ASSERT_TRUE(viewers.back()->ReadUntilSize(5000));
  }
  Server::Get().Stop();
  std::map<std::string, int> closes;
  for (const Call& call : host().Calls()) {
    EXPECT_EQ(closes[call.args[0]], 0) << "no call behind the close";
    if (call.args[1] == "2") ++closes[call.args[0]];
  }
  EXPECT_EQ(closes, (std::map<std::string, int>{{"RX0", 1}, {"RX1", 1}, {"RX2", 1}, {"RX3", 1}, {"RX4", 1}}));
  for (const auto& viewer : viewers) {
    viewer->ReadToEnd();
    EXPECT_NE(viewer->end(), Connection::End::kTimeout);
  }
}

TEST_P(PreviewTest, AViewerThatStopsReadingDoesNotHoldTheServer) {
  StreamForEver(static_cast<std::size_t>(kLargestPicture));
  Connection viewer(Server::Get().port(mode().https), mode().https);
  ASSERT_TRUE(viewer.Send(HttpRequest{"GET", "/preview/slow", {}, ""}.Bytes()));
  ASSERT_TRUE(viewer.ReadUntilSize(1000));
  // No more pictures are asked for once the way to the viewer is full. On a machine so slow that a pause only
  // seems to be that, the stop meets a stream that still flows.
  int asked = -1;
  ASSERT_TRUE(Eventually([&] {
    const int before = std::exchange(asked, Count(1));
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    return asked == before;
  }));
  ExpectReply(Get("/dev_info"), 200, "{}");
  Server::Get().Stop();
  EXPECT_EQ(Count(0), 1);
  EXPECT_EQ(Count(2), 1);
  EXPECT_EQ(host().Calls("PreviewCb").back(), State(2, "slow"));
}

unsigned int pictureType = 0;
std::size_t pictureLength = 0;
std::atomic<int> pictureResult{-1};

int SendOnePicture(mg_connection* conn, CustomReqInfo*) {
  pictureResult = SendHttpPicFile(conn, "0123456789", pictureLength, pictureType);
  return 0;
}

TEST_P(PreviewTest, ASinglePictureIsAStreamOfOnePart) {
  ASSERT_EQ(SdkAPISer_Custom_Get_Post_Api_Add("/snapshot$", SendOnePicture), 0);
  struct Row {
    unsigned int type;
    const char* mediaType;
  };
  for (const Row& row : {Row{0, "image/jpeg"}, Row{1, "application/x-bmp"}, Row{2, "image/jpeg"}}) {
    for (const std::size_t length : {10U, 1U, 0U}) {
      pictureType = row.type;
      pictureLength = length;
      pictureResult = -1;
      EXPECT_EQ(Get("/snapshot").raw,
                StreamHead() + PartHead(length, row.mediaType) + std::string("0123456789", length) + "\r\n");
      EXPECT_EQ(pictureResult, 1);
    }
  }
}

class NoPreviewTest : public ServerTest, public ::testing::WithParamInterface<Mode> {
 protected:
  void SetUp() override { Prepare(GetParam(), {.webSocketUrl = "", .emptyTable = true}); }
};
INSTANTIATE_TEST_SUITE_P(Schemes, NoPreviewTest, ::testing::Values(Mode{false, false}, Mode{true, false}),
                         ModeName);

TEST_P(NoPreviewTest, AHostWithoutTheFunctionHasNoStreams) {
  for (const char* const target : {"/stream", "/preview/RX", "/preview"}) {
    SCOPED_TRACE(target);
    LogCapture::Clear();
    ExpectNotFound(SendBare({"GET", target, {}, ""}));
    EXPECT_EQ(LogCapture::Count(4, "FuncPreview not registered!!!!", "sdkapi"), 1);
    EXPECT_EQ(LogCapture::Count(1, "FuncPreview hostname is [RX]", "sdkapi"), 0);
  }
}

#ifdef FFMPEG_PROGRAM

std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// Real JPEGs, made once by the player's own encoder.
const std::vector<std::string>& RealPictures() {
  static const std::vector<std::string> pictures = [] {
    std::vector<std::string> made;
    const std::string folder = Workspace::Get().Path("jpeg");
    std::filesystem::create_directories(folder);
    const std::string command =
        std::string(FFMPEG_PROGRAM) +
        " -nostdin -v error -f lavfi -i testsrc=size=320x240:rate=10 -frames:v 10 -q:v 3 " + folder +
        "/%d.jpg";
    EXPECT_EQ(std::system(command.c_str()), 0);
    for (int i = 1; i <= 10; ++i) made.push_back(ReadFile(folder + "/" + std::to_string(i) + ".jpg"));
    return made;
  }();
  return pictures;
}

TEST_P(PreviewTest, AnOrdinaryPlayerDecodesFiftyPictures) {
  const std::vector<std::string>& pictures = RealPictures();
  ASSERT_GT(pictures.back().size(), 1000U);
  for (const char* const target : {"/stream", "/preview/RX01"}) {
    SCOPED_TRACE(target);
    host().Reset();
    host().preview = [&pictures, next = std::size_t{0}](PreviewFrame& frame) mutable {
      if (frame.state != 1) return 0;
      const std::string& picture = pictures[next++ % pictures.size()];
      std::memcpy(frame.frame, picture.data(), picture.size());
      frame.length = static_cast<int64_t>(picture.size());
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
      return 0;
    };
    const std::string output = Workspace::Get().Path("frames.txt");
    const std::string command = std::string("timeout 60 ") + FFMPEG_PROGRAM + " -nostdin -v error -y -i " +
                                (mode().https ? "https" : "http") +
                                "://127.0.0.1:" + std::to_string(Server::Get().port(mode().https)) + target +
                                " -frames:v 50 -f framecrc " + output + " 2> errors.txt";
    EXPECT_EQ(std::system(command.c_str()), 0) << ReadFile("errors.txt");
    std::istringstream lines(ReadFile(output));
    int frames = 0;
    for (std::string line; std::getline(lines, line);) frames += line.starts_with("#") ? 0 : 1;
    EXPECT_EQ(frames, 50);
    EXPECT_EQ(ReadFile("errors.txt"), "");
    EXPECT_TRUE(WaitForCloses(1));
  }
}

#endif

}  // namespace
}  // namespace integration
