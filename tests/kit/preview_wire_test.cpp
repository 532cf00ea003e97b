// Previews over real sockets: every kind of source, many viewers of one run, refusals, the end.
#include <atomic>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "preview/encoder.h"
#include "sdkapi/kit_preview.h"
#include "server_test_base.h"

namespace integration {
namespace {

using sdkkit::Encoder;
using sdkkit::RawShape;

constexpr uint32_t kSide = 16;

// A JPEG of one brightness.
std::string Picture(unsigned char brightness) {
  const RawShape shape{kPreviewRgb, kSide, kSide};
  const std::vector<unsigned char> pixels(shape.Bytes(), brightness);
  return *Encoder().Encode(shape, pixels.data(), 90);
}

std::string Part(const std::string& picture) { return PartHead(picture.size()) + picture + "\r\n\r\n"; }

// A host's source, and what became of it.
std::atomic<int> opened{0}, asked{0}, closed{0};
std::atomic<bool> isOver{false};

void* OpenSource(const char* name) {
  if (std::string(name) == "offline") return nullptr;
  ++opened;
  return &opened;
}
int GivePicture(void* run, SdkKitPreviewPicture* picture) {
  EXPECT_EQ(run, &opened);
  ++asked;
  std::memset(picture->data, 200, picture->room);
  return isOver ? -1 : 0;
}
int GiveJpeg(void*, SdkKitPreviewPicture* picture) {
  const std::string jpeg = Picture(10);
  std::memcpy(picture->data, jpeg.data(), jpeg.size());
  picture->length = jpeg.size();
  return asked++ == 0 ? 0 : 1;
}
int GiveNoJpeg(void*, SdkKitPreviewPicture* picture) {
  picture->length = 5;
  return 0;
}
void CloseSource(void*) { ++closed; }

SdkKitPreviewSource RawSource() {
  SdkKitPreviewSource source{};
  source.size = sizeof source;
  source.format = kPreviewRgb;
  source.width = source.height = kSide;
  source.open = OpenSource;
  source.picture = GivePicture;
  source.close = CloseSource;
  return source;
}

SdkKitPreviewOptions With(uint32_t SdkKitPreviewOptions::*member, uint32_t value) {
  SdkKitPreviewOptions options{};
  options.size = sizeof options;
  options.*member = value;
  return options;
}

class Viewer {
 public:
  Viewer(const Mode& mode, const std::string& target)
      : connection_(Server::Get().port(mode.https), mode.https) {
    connection_.Send("GET " + target + " HTTP/1.1\r\nHost: device\r\n\r\n");
  }
  bool Sees(const std::string& picture, int times = 1) {
    const std::string part = Part(picture);
    const bool seen = connection_.ReadUntil([&](const std::string& bytes) {
      std::size_t at = 0;
      for (int i = 0; i < times; ++i) {
        at = bytes.find(part, at);
        if (at == std::string::npos) return false;
        at += part.size();
      }
      return true;
    });
    connection_.DropReceived();
    return seen;
  }
  bool SeesSomething() {
    return connection_.ReadUntil(
        [](const std::string& bytes) { return bytes.find("image/jpeg") != std::string::npos; });
  }
  const std::string& ReadToEnd() { return connection_.ReadToEnd(); }
  void Leave() { connection_.Close(); }

 private:
  Connection connection_;
};

class PreviewWireTest : public ModeTest {
 protected:
  void SetUp() override {
    ModeTest::SetUp();
    opened = asked = closed = 0;
    isOver = false;
    SdkAPISerHandle table{};
    SdkKitPreview_Fill(&table);
    host().preview = [slot = table.PreviewCb](PreviewFrame& frame) { return slot(&frame); };
  }
  void TearDown() override {
    SdkKitPreview_Stop();
    EXPECT_TRUE(Eventually([] { return SdkKitPreview_Viewers(nullptr) == 0; }));
    ModeTest::TearDown();
  }

  static void Start(const SdkKitPreviewOptions& options = With(&SdkKitPreviewOptions::quality, 85)) {
    ASSERT_EQ(SdkKitPreview_Start(&options), 0);
  }
  static void Set(const char* name, const SdkKitPreviewSource& source) {
    ASSERT_EQ(SdkKitPreview_Source_Set(name, &source), 0);
  }
  Viewer Watch(const std::string& target) { return Viewer(mode(), target); }
  void ExpectRefused(const std::string& target) { ExpectNotFound(SendBare({"GET", target, {}, ""})); }
  static std::string Encoded(unsigned char brightness, int quality = 85) {
    const RawShape shape{kPreviewRgb, kSide, kSide};
    const std::vector<unsigned char> pixels(shape.Bytes(), brightness);
    return *Encoder().Encode(shape, pixels.data(), quality);
  }
};

INSTANTIATE_TEST_SUITE_P(Modes, PreviewWireTest, AllModes(), ModeName);

TEST_P(PreviewWireTest, OneRunForAllViewersAndNoneForNobody) {
  Start();
  Set("cam", RawSource());
  EXPECT_EQ(asked, 0);
  {
    Viewer first = Watch("/preview/cam");
    Viewer second = Watch("/preview/cam");
    EXPECT_TRUE(first.Sees(Encoded(200), 3));
    EXPECT_TRUE(second.Sees(Encoded(200), 3));
    EXPECT_EQ(SdkKitPreview_Viewers("cam"), 2);
    EXPECT_EQ(opened, 1);
  }
  EXPECT_TRUE(Eventually([] { return closed == 1; }));
  EXPECT_EQ(SdkKitPreview_Viewers(nullptr), 0);
  const int then = asked;
  Viewer later = Watch("/preview/cam");
  EXPECT_TRUE(later.Sees(Encoded(200)));
  EXPECT_EQ(opened, 2);
  EXPECT_GT(asked, then);
}

TEST_P(PreviewWireTest, UnknownAndOfflineSourcesAreRefused) {
  Start();
  ExpectRefused("/preview/cam");
  ExpectRefused("/stream");
  Set(nullptr, RawSource());
  ExpectRefused("/preview/offline");
  EXPECT_TRUE(Watch("/preview/whatever").Sees(Encoded(200)));
  EXPECT_TRUE(Watch("/stream").Sees(Encoded(200)));
  ASSERT_EQ(SdkKitPreview_Source_Set(nullptr, nullptr), 0);
  ExpectRefused("/preview/whatever");
}

TEST_P(PreviewWireTest, APictureThatDoesNotChangeIsRepeated) {
  Start();
  SdkKitPreviewSource source = RawSource();
  source.format = kPreviewJpeg;
  source.open = nullptr;
  source.picture = GiveJpeg;
  Set("", source);
  EXPECT_TRUE(Watch("/stream").Sees(Picture(10), 2));
}

TEST_P(PreviewWireTest, AFileIsShownAndRenewed) {
  Start();
  const std::string path = Workspace::Get().Path("still.jpg");
  std::filesystem::remove(path);
  ASSERT_EQ(SdkKitPreview_File_Set("still", path.c_str()), 0);
  ExpectRefused("/preview/still");
  Workspace::Get().WriteFile("still.jpg", Picture(20));
  Viewer viewer = Watch("/preview/still");
  EXPECT_TRUE(viewer.Sees(Picture(20)));
  Workspace::Get().WriteFile("still.jpg", "no picture at all");
  EXPECT_TRUE(viewer.Sees(Picture(20)));
  Workspace::Get().WriteFile("still.jpg", Picture(30));
  EXPECT_TRUE(viewer.Sees(Picture(30)));
}

TEST_P(PreviewWireTest, PushedPicturesAreShown) {
  Start();
  const std::string picture = Picture(40);
  ASSERT_EQ(SdkKitPreview_Push("pushed", picture.data(), picture.size()), 0);
  Viewer viewer = Watch("/preview/pushed");
  EXPECT_TRUE(viewer.Sees(picture));
  const std::string next = Picture(50);
  ASSERT_EQ(SdkKitPreview_Push("pushed", next.data(), next.size()), 0);
  EXPECT_TRUE(viewer.Sees(next));
  const std::vector<unsigned char> pixels(std::size_t{kSide} * kSide * 3, 60);
  ASSERT_EQ(SdkKitPreview_Push_Raw("pushed", kPreviewRgb, kSide, kSide, pixels.data()), 0);
  EXPECT_TRUE(viewer.Sees(Encoded(60)));
}

TEST_P(PreviewWireTest, BoundsHold) {
  struct Case {
    uint32_t SdkKitPreviewOptions::*bound;
    const char* refused;
  };
  constexpr Case kCases[] = {{&SdkKitPreviewOptions::mostViewers, "/preview/b"},
                             {&SdkKitPreviewOptions::mostPerSource, "/preview/a"},
                             {&SdkKitPreviewOptions::mostPerAddress, "/preview/b"},
                             {&SdkKitPreviewOptions::mostSources, "/preview/b"}};
  for (const Case& bound : kCases) {
    Start(With(bound.bound, 1));
    Set(nullptr, RawSource());
    Viewer viewer = Watch("/preview/a");
    EXPECT_TRUE(viewer.SeesSomething());
    ExpectRefused(bound.refused);
    viewer.Leave();
    EXPECT_TRUE(Eventually([] { return SdkKitPreview_Viewers(nullptr) == 0; }));
    EXPECT_TRUE(Watch(bound.refused).SeesSomething());
    SdkKitPreview_Stop();
    EXPECT_TRUE(Eventually([] { return SdkKitPreview_Viewers(nullptr) == 0; }));
  }
}

TEST_P(PreviewWireTest, TheStreamEndsWithItsSource) {
  Start();
  Set("cam", RawSource());
  Viewer viewer = Watch("/preview/cam");
  EXPECT_TRUE(viewer.Sees(Encoded(200)));
  isOver = true;
  viewer.ReadToEnd();
  EXPECT_TRUE(Eventually([] { return closed == 1; }));

  isOver = false;
  Viewer next = Watch("/preview/cam");
  EXPECT_TRUE(next.Sees(Encoded(200)));
  ASSERT_EQ(SdkKitPreview_Source_Set("cam", nullptr), 0);
  next.ReadToEnd();

  SdkKitPreviewSource bad = RawSource();
  bad.format = kPreviewJpeg;
  bad.picture = GiveNoJpeg;
  Set("cam", bad);
  EXPECT_EQ(Watch("/preview/cam").ReadToEnd(), StreamHead());
}

TEST_P(PreviewWireTest, StopLetsAllViewersGo) {
  Start(With(&SdkKitPreviewOptions::picturesPerSecond, 1));
  Set("cam", RawSource());
  Viewer viewer = Watch("/preview/cam");
  EXPECT_TRUE(viewer.Sees(Encoded(200)));
  SdkKitPreview_Stop();
  EXPECT_EQ(closed, 1);
  viewer.ReadToEnd();
  ExpectRefused("/preview/cam");
  SdkKitPreview_Stop();
}

TEST(PreviewTest, BadArgumentsAreRefused) {
  SdkKitPreviewSource source = RawSource();
  EXPECT_EQ(SdkKitPreview_Source_Set("early", &source), -1);
  EXPECT_EQ(SdkKitPreview_Start(nullptr), -1);
  for (const auto& bad :
       {With(&SdkKitPreviewOptions::size, 4), With(&SdkKitPreviewOptions::picturesPerSecond, 61),
        With(&SdkKitPreviewOptions::quality, 101), With(&SdkKitPreviewOptions::reserved, 1)}) {
    EXPECT_EQ(SdkKitPreview_Start(&bad), -1);
  }
  const SdkKitPreviewOptions options = With(&SdkKitPreviewOptions::quality, 100);
  ASSERT_EQ(SdkKitPreview_Start(&options), 0);
  EXPECT_EQ(SdkKitPreview_Start(&options), -1);
  SdkKitPreview_Fill(nullptr);

  EXPECT_EQ(SdkKitPreview_Source_Set("a name of thirty-two characters!", &source), -1);
  for (const uint32_t side : {0U, 14U, 17U, 4098U}) {
    source.width = side;
    EXPECT_EQ(SdkKitPreview_Source_Set("cam", &source), -1);
  }
  source = RawSource();
  source.format = 4;
  EXPECT_EQ(SdkKitPreview_Source_Set("cam", &source), -1);
  source = RawSource();
  source.open = nullptr;
  EXPECT_EQ(SdkKitPreview_Source_Set(nullptr, &source), -1);
  source = RawSource();
  source.picture = nullptr;
  EXPECT_EQ(SdkKitPreview_Source_Set("cam", &source), -1);

  EXPECT_EQ(SdkKitPreview_File_Set(nullptr, "file"), -1);
  EXPECT_EQ(SdkKitPreview_File_Set("cam", ""), -1);
  EXPECT_EQ(SdkKitPreview_File_Set("cam", std::string(256, 'p').c_str()), -1);
  EXPECT_EQ(SdkKitPreview_Push("cam", "no picture", 10), -1);
  const std::string huge = Picture(1) + std::string(655360, '\0');
  EXPECT_EQ(SdkKitPreview_Push("cam", huge.data(), huge.size()), -1);
  EXPECT_EQ(SdkKitPreview_Push_Raw("cam", kPreviewJpeg, kSide, kSide, "x"), -1);
  EXPECT_EQ(SdkKitPreview_Push_Raw("cam", kPreviewRgb, kSide, kSide, nullptr), -1);
  SdkKitPreview_Stop();
}

TEST(EncoderTest, APictureThatIsTooLargeLosesQuality) {
  const RawShape shape{kPreviewRgb, 1920, 1080};
  std::vector<unsigned char> noise(shape.Bytes());
  uint32_t state = 1;
  for (unsigned char& byte : noise)
    byte = static_cast<unsigned char>((state = state * 1664525U + 1013904223U) >> 24);
  const auto picture = Encoder().Encode(shape, noise.data(), 100);
  ASSERT_NE(picture, nullptr);
  EXPECT_LE(picture->size(), 655360U);
  EXPECT_TRUE(sdkkit::IsJpeg(*picture));
}

TEST(EncoderTest, AHostMakesPicturesForItself) {
  const std::vector<unsigned char> grey(std::size_t{kSide} * kSide * 3, 70);
  std::string jpeg(2000, '\0');
  std::size_t length = jpeg.size();
  EXPECT_EQ(SdkKitPreview_Encode(kPreviewRgb, kSide, kSide, grey.data(), 90, jpeg.data(), &length), 0);
  EXPECT_EQ(jpeg.substr(0, length), Picture(70));
  std::size_t little = length - 1;
  EXPECT_EQ(SdkKitPreview_Encode(kPreviewRgb, kSide, kSide, grey.data(), 90, jpeg.data(), &little), -1);
  for (const int quality : {0, 101})
    EXPECT_EQ(SdkKitPreview_Encode(kPreviewRgb, kSide, kSide, grey.data(), quality, jpeg.data(), &length),
              -1);
  EXPECT_EQ(SdkKitPreview_Encode(kPreviewJpeg, kSide, kSide, grey.data(), 90, jpeg.data(), &length), -1);
}

TEST(EncoderTest, BothRawFormatsGiveTheSameGrey) {
  const RawShape planes{kPreviewI420, kSide, kSide};
  std::vector<unsigned char> grey(planes.Bytes(), 128);
  const auto fromPlanes = Encoder().Encode(planes, grey.data(), 85);
  ASSERT_NE(fromPlanes, nullptr);
  EXPECT_EQ(*fromPlanes,
            Picture(128).empty()
                ? ""
                : *Encoder().Encode({kPreviewRgb, kSide, kSide},
                                    std::vector<unsigned char>(kSide * kSide * 3, 128).data(), 85));
}

}  // namespace
}  // namespace integration
