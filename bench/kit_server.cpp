// A host on the kit's events and previews. With the argument "each" it does by hand what hosts do without
// them: it encodes a picture for every viewer.
#include <sdkapi/kit_events.h>
#include <sdkapi/kit_preview.h>
#include <sdkapi/sdkapi.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <thread>
#include <vector>

#include "replies.h"
#include "server.h"

namespace {

constexpr uint32_t kWidth = 1280;
constexpr uint32_t kHeight = 720;
constexpr int kQuality = 85;
constexpr auto kPace = std::chrono::milliseconds(40);
constexpr uint32_t kNeverTooMuch = 1 << 28;

using Raw = std::vector<unsigned char>;

// A gradient with a bar that moves on from picture to picture.
Raw MakeRaw(uint32_t place) {
  Raw raw(size_t{kWidth} * kHeight * 3);
  auto* pixel = raw.data();
  for (uint32_t y = 0; y < kHeight; ++y) {
    for (uint32_t x = 0; x < kWidth; ++x) {
      const bool bar = x / 64 == place;
      *pixel++ = static_cast<unsigned char>(bar ? 255 : x);
      *pixel++ = static_cast<unsigned char>(bar ? 255 : y);
      *pixel++ = static_cast<unsigned char>((x * y) >> 6);
    }
  }
  return raw;
}

const Raw& NextRaw(unsigned& count) {
  static const std::array<Raw, 4> kPictures{MakeRaw(3), MakeRaw(8), MakeRaw(12), MakeRaw(17)};
  return kPictures[count++ % kPictures.size()];
}

int GivePicture(void* /*run*/, SdkKitPreviewPicture* picture) {
  static unsigned count = 0;  // one run, one thread
  std::memcpy(picture->data, NextRaw(count).data(), picture->room);
  return 0;
}

int EncodeForViewer(PreviewFrame* frame) {
  thread_local unsigned count = 0;
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  std::this_thread::sleep_for(kPace - now % kPace);
  size_t length = sizeof frame->frame;
  const int result = SdkKitPreview_Encode(kPreviewRgb, kWidth, kHeight, NextRaw(count).data(), kQuality,
                                          frame->frame, &length);
  frame->length = static_cast<int>(length);
  return result;
}

int Login(LoginInfo* info) {
  std::snprintf(info->token, sizeof info->token, "%s",
                info->username[0] != '\0' ? info->username : bench::kToken);
  return 0;
}

void Greet(uint64_t id, const char* /*token*/) { SdkKitEvents_Answer(id, bench::kEventText); }

// A number sends so many texts to all; the driver counts them. More than the kit takes at once is refused.
void Broadcast(uint64_t /*id*/, const char* /*token*/, const char* text, size_t /*length*/) {
  for (int left = std::atoi(text); left > 0; --left) {
    while (SdkKitEvents_Publish(nullptr, bench::kEventText) != 0) std::this_thread::yield();
  }
}

bool StartKit(SdkAPISerHandle& table) {
  SdkKitEventsOptions events{};
  events.size = sizeof events;
  events.mostWaitingTexts = kNeverTooMuch;  // the driver reads everything; here the sender alone is measured
  events.mostWaitingBytes = kNeverTooMuch;
  events.connected = Greet;
  events.command = Broadcast;
  SdkKitPreviewOptions previews{};
  previews.size = sizeof previews;
  SdkKitPreviewSource source{};
  source.size = sizeof source;
  source.format = kPreviewRgb;
  source.width = kWidth;
  source.height = kHeight;
  source.picture = GivePicture;
  if (SdkKitEvents_Start(&events) != 0 || SdkKitPreview_Start(&previews) != 0) return false;
  SdkKitEvents_Fill(&table);
  SdkKitPreview_Fill(&table);
  return SdkKitPreview_Source_Set("", &source) == 0;
}

}  // namespace

int main(int argc, char** argv) {
  const bench::Arguments arguments(argc, argv);
  SdkAPISerHandle table{};
  table.LoginCb = Login;
  if (!StartKit(table)) return 2;
  if (std::string_view(argv[argc - 1]) == "each") table.PreviewCb = EncodeForViewer;
  SdkAPISer_Port_Set(arguments.http, arguments.https);
  SdkAPiSer_Cert_Set(arguments.certificate.c_str());
  SdkAPISer_AuthenticationSwitch_Set(1);
  SdkAPISer_Init();
  if (SdkAPISer_Start(&table) != 0) return 2;
  bench::WaitForEnd();
  SdkKitPreview_Stop();
  SdkKitEvents_Stop();
  SdkAPISer_Stop(nullptr);
  return 0;
}
