// The exported functions and the slot of the previews.
#include <cstring>
#include <memory>
#include <optional>
#include <string>

#include "base/guarded.h"
#include "base/inside.h"
#include "base/log.h"
#include "base/record.h"
#include "base/request.h"
#include "preview/gallery.h"
#include "sdkapi/kit_preview.h"

namespace {

using namespace sdkkit;

constexpr Log kLog{"preview"};
constexpr std::size_t kLongestName = sizeof PreviewFrame::hostname - 1;
constexpr std::size_t kLongestPath = 255;

bool IsName(const char* name) { return name != nullptr && strnlen(name, kLongestName + 1) <= kLongestName; }

bool IsPath(const char* path) {
  return path != nullptr && path[0] != '\0' && strnlen(path, kLongestPath + 1) <= kLongestPath;
}

std::optional<std::string> OptionalName(const char* name) {
  return name != nullptr ? std::optional<std::string>(name) : std::nullopt;
}

const char* FaultOf(const SdkKitPreviewSource& source) {
  if (source.picture == nullptr) return "it has no function for pictures";
  const bool isGood =
      source.format == kPreviewJpeg || RawShape{source.format, source.width, source.height}.IsGood();
  return isGood ? nullptr : "a bad format or size";
}

int Refuse(const char* what, const char* why) {
  kLog.Error("%s: %s", what, why);
  return -1;
}

// The gallery refuses when it is closed or full.
int Taken(const char* what, int result) {
  return result == 0 ? 0 : Refuse(what, "nothing runs, or there are too many sources");
}

int Serve(PreviewFrame& stream) {
  enum { kOpen = 0, kNext = 1 };
  Gallery& gallery = Gallery::The();
  if (stream.state == kOpen) return gallery.Enter(stream, stream.hostname, CurrentRequest().address);
  if (stream.state == kNext) return gallery.Next(stream);
  gallery.Leave(stream);
  return 0;
}

}  // namespace

int SdkKitPreview_Start(const SdkKitPreviewOptions* options) {
  return Guarded(kLog, [&] {
    const auto known = ReadRecord(options);
    const char* const fault = known ? Gallery::The().Start(*known) : "the options have an unknown size";
    return fault == nullptr ? 0 : Refuse("no start", fault);
  });
}

void SdkKitPreview_Fill(SdkAPISerHandle* table) {
  if (table == nullptr) return;
  table->PreviewCb = [](PreviewFrame* frame) { return Guarded(kLog, [&] { return Serve(*frame); }); };
}

int SdkKitPreview_Source_Set(const char* name, const SdkKitPreviewSource* source) {
  return Guarded(kLog, [&] {
    constexpr const char* kWhat = "no source";
    if (name != nullptr && !IsName(name)) return Refuse(kWhat, "a bad name");
    if (source == nullptr) return Taken(kWhat, Gallery::The().SetSource(OptionalName(name), nullptr));
    const auto known = ReadRecord(source);
    if (!known) return Refuse(kWhat, "the source has an unknown size");
    if (const char* const fault = FaultOf(*known)) return Refuse(kWhat, fault);
    if (name == nullptr && known->open == nullptr)
      return Refuse(kWhat, "for every name it needs an open that knows them");
    return Taken(kWhat, Gallery::The().SetHostSource(OptionalName(name), *known));
  });
}

int SdkKitPreview_File_Set(const char* name, const char* path) {
  return Guarded(kLog, [&] {
    constexpr const char* kWhat = "no file";
    if (!IsName(name)) return Refuse(kWhat, "a bad name");
    if (!IsPath(path)) return Refuse(kWhat, "a bad path");
    return Taken(kWhat, Gallery::The().SetSource(name, SourceOfFile(path)));
  });
}

int SdkKitPreview_Push(const char* name, const void* jpeg, size_t length) {
  return Guarded(kLog, [&] {
    constexpr const char* kWhat = "no picture taken";
    if (!IsName(name) || jpeg == nullptr) return Refuse(kWhat, "no name or no data");
    const std::string_view bytes(static_cast<const char*>(jpeg), length);
    if (!IsJpeg(bytes)) return Refuse(kWhat, "no JPEG, or too large");
    return Taken(kWhat, Gallery::The().Push(name, std::make_shared<const std::string>(bytes)));
  });
}

int SdkKitPreview_Push_Raw(const char* name, int format, uint32_t width, uint32_t height, const void* data) {
  return Guarded(kLog, [&] {
    const RawShape shape{format, width, height};
    constexpr const char* kWhat = "no raw picture taken";
    if (!IsName(name) || data == nullptr) return Refuse(kWhat, "no name or no data");
    if (!shape.IsGood()) return Refuse(kWhat, "a bad format or size");
    return Taken(kWhat, Gallery::The().PushRaw(name, shape, data));
  });
}

int SdkKitPreview_Encode(int format, uint32_t width, uint32_t height, const void* data, int quality,
                         void* jpeg, size_t* length) {
  return Guarded(kLog, [&] {
    constexpr const char* kWhat = "no picture made";
    const RawShape shape{format, width, height};
    if (!shape.IsGood() || data == nullptr || quality < 1 || quality > 100)
      return Refuse(kWhat, "a bad picture");
    const Jpeg picture = Encoder().Encode(shape, static_cast<const unsigned char*>(data), quality);
    if (picture == nullptr || jpeg == nullptr || length == nullptr || picture->size() > *length)
      return Refuse(kWhat, "no room");
    std::memcpy(jpeg, picture->data(), picture->size());
    *length = picture->size();
    return 0;
  });
}

int SdkKitPreview_Viewers(const char* name) {
  return Guarded(kLog, [&] { return Gallery::The().Count(name); });
}

void SdkKitPreview_Stop(void) {
  if (Inside<Run>::Is()) return kLog.Error("no stop: it was called by a function of a source");
  Guarded(kLog, [] { return Gallery::The().Stop(), 0; });
}
