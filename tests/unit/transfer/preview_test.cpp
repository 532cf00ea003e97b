// The picture stream: states, bytes and ends.
#include <algorithm>
#include <cstring>

#include "http/handlers.h"
#include "http/stream_room.h"
#include "library_fixture.h"
#include "server/lifecycle.h"

namespace {

using sdktest::Strings;
using sdktest::TestHost;

constexpr const char* kStreamHead =
    "HTTP/1.1 200 OK\r\nCache-Control: no-cache\r\nPragma: no-cache\r\nExpires: Thu, 01 Dec 1994 16:00:00 "
    "GMT\r\n"
    "Connection: close\r\nContent-Type: multipart/x-mixed-replace; boundary=--w00t\r\n\r\n";

std::string Part(const std::string& picture) {
  return "--w00t\r\nContent-Type: image/jpeg\r\nContent-Length: " + std::to_string(picture.size()) +
         "\r\n\r\n" + picture + "\r\n\r\n";
}

class PreviewTest : public sdktest::LibraryTest {
 protected:
  PreviewTest() {
    SdkAPISer_Init();
    const SdkAPISerHandle table = TestHost::Table();
    EXPECT_EQ(SdkAPISer_Start(&table), 0);
    sdktest::LogCapture::Clear();
  }

  // A host that shows these pictures and then ends the stream.
  static void Show(const Strings& pictures) {
    TestHost::Get().preview = [pictures, next = std::size_t{0}](PreviewFrame& frame) mutable {
      if (frame.state != 1) return 0;
      if (next == pictures.size()) return -1;
      std::memcpy(frame.frame, pictures[next].data(), pictures[next].size());
      frame.length = static_cast<int64_t>(pictures[next].size());
      ++next;
      return 0;
    };
  }

  mg_connection conn_{"GET", "/stream"};
};

TEST_F(PreviewTest, PicturesFollowTheHead) {
  Show({"first", "second picture"});
  EXPECT_EQ(FuncPreview(&conn_, nullptr), 1);
  EXPECT_EQ(conn_.output, kStreamHead + Part("first") + Part("second picture"));
  EXPECT_EQ(TestHost::Get().Lines(), (Strings{"PreviewCb(, 0)", "PreviewCb(, 1)", "PreviewCb(, 1)",
                                              "PreviewCb(, 1)", "PreviewCb(, 2)"}));
  EXPECT_FALSE(conn_.keepAlive) << "the worker is released at once";
  EXPECT_EQ(Log(), Strings{});
}

TEST_F(PreviewTest, SomeWorkersAreLeftToOthers) {
  for (const char* const workers : {"2", "1", "0", ""}) {
    sdktest::Server().workers = workers;
    mg_connection conn("GET", "/stream");
    const sdkapi::StreamPlace another(&conn, sdkapi::Stream::kWebSocket);
    ASSERT_TRUE(another.granted());
    EXPECT_EQ(FuncPreview(&conn, nullptr), 1);
    EXPECT_EQ(conn.output, sdktest::JsonReply(503));
    EXPECT_FALSE(conn.keepAlive);
    EXPECT_EQ(Log(), (Strings{"4 sdkapi no room for another stream!!!!",
                              "1 sdkapi send =>" + sdktest::JsonReply(503)}));
    sdktest::LogCapture::Clear();
  }
  EXPECT_EQ(TestHost::Get().Lines(), Strings{}) << "a stream without room is not opened";
  sdktest::Server().workers = "1";
  for (int i = 0; i < 3; ++i) {
    mg_connection conn("GET", "/stream");
    Show({"picture"});
    EXPECT_EQ(FuncPreview(&conn, nullptr), 1);
    EXPECT_EQ(conn.output, kStreamHead + Part("picture")) << "an ended stream makes room";
  }
}

TEST_F(PreviewTest, TheRecordIsZeroedAndTheSameInAllCalls) {
  const PreviewFrame* first = nullptr;
  TestHost::Get().preview = [&first](PreviewFrame& frame) {
    if (frame.state == 0) {
      first = &frame;
      EXPECT_EQ(frame.length, 0);
      EXPECT_EQ(std::count(std::begin(frame.frame), std::end(frame.frame), 0), 655360);
      EXPECT_EQ(std::count(std::begin(frame.hostname), std::end(frame.hostname), 0), 32);
    }
    EXPECT_EQ(&frame, first);
    return frame.state == 1 ? 1 : 0;
  };
  EXPECT_EQ(FuncPreview(&conn_, nullptr), 1);
  EXPECT_EQ(conn_.output, kStreamHead);
}

TEST_F(PreviewTest, ABodyOfTheRequestIsReadAwayAtTheEnd) {
  Show({"picture"});
  conn_.Body(std::string(20000, 'b'));
  EXPECT_EQ(FuncPreview(&conn_, nullptr), 1);
  EXPECT_EQ(conn_.bodyRead, 20000U);
}

TEST_F(PreviewTest, ARefusedOpenSendsNothingAndGetsNoClose) {
  TestHost::Get().preview = [](PreviewFrame&) { return 1; };
  EXPECT_EQ(FuncPreview(&conn_, nullptr), 0);
  EXPECT_EQ(conn_.output, "");
  EXPECT_EQ(TestHost::Get().Lines(), Strings{"PreviewCb(, 0)"});
}

TEST_F(PreviewTest, AnEmptySlotIsLeftToTheWebServer) {
  SdkAPISerHandle table = TestHost::Table();
  table.PreviewCb = nullptr;
  Install(table);
  EXPECT_EQ(FuncPreview(&conn_, nullptr), 0);
  EXPECT_EQ(conn_.output, "");
  EXPECT_EQ(Log(), Strings{"4 sdkapi FuncPreview not registered!!!!"});
}

TEST_F(PreviewTest, NoTokenIsNeeded) {
  RequireLogin();
  Show({"p"});
  EXPECT_EQ(FuncPreview(&conn_, nullptr), 1);
  EXPECT_EQ(conn_.output, kStreamHead + Part("p"));
}

struct NameCase {
  const char* name;
  std::string uri;
  std::string hostname;
  bool logged;
};
class HostNameTest : public PreviewTest, public testing::WithParamInterface<NameCase> {};

TEST_P(HostNameTest, IsTakenFromTheUri) {
  TestHost::Get().preview = [](PreviewFrame&) { return 1; };
  mg_connection conn("GET", GetParam().uri);
  FuncPreview(&conn, nullptr);
  EXPECT_EQ(TestHost::Get().Lines(), Strings{"PreviewCb(" + GetParam().hostname + ", 0)"});
  const Strings line{"1 sdkapi FuncPreview hostname is [" + GetParam().hostname + "]"};
  EXPECT_EQ(Log(), GetParam().logged ? line : Strings{});
}

INSTANTIATE_TEST_SUITE_P(
    Uris, HostNameTest,
    testing::Values(NameCase{"Unit", "/preview/RX01", "RX01", true},
                    NameCase{"Path", "/preview/x/y", "x/y", true}, NameCase{"NoName", "/preview/", "", true},
                    NameCase{"NoSlash", "/preview", "", false}, NameCase{"OwnSource", "/stream", "", false},
                    NameCase{"LongerStream", "/stream/2", "", false},
                    NameCase{"OtherWord", "/previewer", "", false},
                    NameCase{"OtherCase", "/Preview/RX01", "", false},
                    NameCase{"Longest", "/preview/" + std::string(31, 'n'), std::string(31, 'n'), true},
                    NameCase{"Cut32", "/preview/" + std::string(32, 'n'), std::string(31, 'n'), true},
                    NameCase{"Cut100", "/preview/" + std::string(100, 'n'), std::string(31, 'n'), true}),
    sdktest::ByName{});

TEST_F(PreviewTest, ARequestWithoutAPathNamesNoUnit) {
  TestHost::Get().preview = [](PreviewFrame&) { return 1; };
  conn_.uri.reset();
  FuncPreview(&conn_, nullptr);
  EXPECT_EQ(TestHost::Get().Lines(), Strings{"PreviewCb(, 0)"});
}

TEST_F(PreviewTest, APictureOfLengthZeroEndsTheStreamBehindItsHead) {
  Show({"p", ""});
  EXPECT_EQ(FuncPreview(&conn_, nullptr), 1);
  EXPECT_EQ(conn_.output,
            kStreamHead + Part("p") + "--w00t\r\nContent-Type: image/jpeg\r\nContent-Length: 0\r\n\r\n");
  EXPECT_EQ(TestHost::Get().Lines().back(), "PreviewCb(, 2)");
}

TEST_F(PreviewTest, ANegativeLengthSendsAPartWithoutAPicture) {
  TestHost::Get().preview = [next = 0](PreviewFrame& frame) mutable {
    if (frame.state != 1) return 0;
    frame.length = -1;
    return next++ == 0 ? 0 : 1;
  };
  EXPECT_EQ(FuncPreview(&conn_, nullptr), 1);
  EXPECT_EQ(conn_.output, kStreamHead + std::string("--w00t\r\nContent-Type: image/jpeg\r\n"
                                                    "Content-Length: 18446744073709551615\r\n\r\n\r\n\r\n"));
}

TEST_F(PreviewTest, TheLargestPictureArrivesWhole) {
  const std::string picture(655360, 'j');
  Show({picture});
  EXPECT_EQ(FuncPreview(&conn_, nullptr), 1);
  EXPECT_TRUE(conn_.output == kStreamHead + Part(picture));
}

TEST_F(PreviewTest, ALengthBeyondTheRecordEndsTheStreamBeforeThePart) {
  for (const int64_t length : {int64_t{655361}, int64_t{1} << 40}) {
    TestHost::Get().Reset();
    TestHost::Get().preview = [length](PreviewFrame& frame) {
      frame.length = length;
      return 0;
    };
    mg_connection conn("GET", "/stream");
    EXPECT_EQ(FuncPreview(&conn, nullptr), 1);
    EXPECT_EQ(conn.output, kStreamHead);
    EXPECT_EQ(TestHost::Get().Lines(), (Strings{"PreviewCb(, 0)", "PreviewCb(, 1)", "PreviewCb(, 2)"}));
  }
}

TEST_F(PreviewTest, StopEndsTheStreamWithOneClose) {
  TestHost::Get().preview = [pictures = 0](PreviewFrame& frame) mutable {
    if (frame.state != 1) return 0;
    if (++pictures == 2) SdkAPISer_Stop(nullptr);
    frame.frame[0] = 'p';
    frame.length = 1;
    return 0;
  };
  EXPECT_EQ(FuncPreview(&conn_, nullptr), 1);
  EXPECT_EQ(conn_.output, kStreamHead + Part("p") + Part("p"));
  EXPECT_EQ(TestHost::Get().Lines(),
            (Strings{"PreviewCb(, 0)", "PreviewCb(, 1)", "PreviewCb(, 1)", "PreviewCb(, 2)"}));
}

TEST_F(PreviewTest, WithoutARunningServerTheStreamEndsBehindItsHead) {
  SdkAPISer_Stop(nullptr);
  Show({"p"});
  EXPECT_EQ(FuncPreview(&conn_, nullptr), 1);
  EXPECT_EQ(conn_.output, kStreamHead);
  EXPECT_EQ(TestHost::Get().Lines(), (Strings{"PreviewCb(, 0)", "PreviewCb(, 2)"}));
}

TEST_F(PreviewTest, AClientThatIsGoneEndsTheStreamWithOneClose) {
  const std::string whole = kStreamHead + Part("one") + Part("two");
  for (int write = 1; write <= 7; ++write) {
    TestHost::Get().Reset();
    Show({"one", "two"});
    mg_connection conn("GET", "/stream");
    conn.failWriteFrom = write;
    EXPECT_EQ(FuncPreview(&conn, nullptr), 1);
    EXPECT_EQ(conn.output, whole.substr(0, conn.output.size())) << write;
    const Strings calls = TestHost::Get().Lines();
    EXPECT_EQ(calls.back(), "PreviewCb(, 2)");
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "PreviewCb(, 2)"), 1);
    EXPECT_LE(calls.size(), 5U);
    EXPECT_FALSE(conn.keepAlive);
  }
}

TEST_F(PreviewTest, TheStreamKeepsTheTableItBeganWith) {
  TestHost::Get().preview = [pictures = 0](PreviewFrame& frame) mutable {
    if (frame.state != 1) return 0;
    SdkAPISerHandle table = TestHost::Table();
    table.PreviewCb = nullptr;
    Install(table);
    frame.length = 1;
    return ++pictures == 2 ? 1 : 0;
  };
  EXPECT_EQ(FuncPreview(&conn_, nullptr), 1);
  EXPECT_EQ(TestHost::Get().Lines(),
            (Strings{"PreviewCb(, 0)", "PreviewCb(, 1)", "PreviewCb(, 1)", "PreviewCb(, 2)"}));
}

}  // namespace
