// The ends of uploads, told to the part of the kit that takes their family.
#include "base/upload_end.h"

#include <array>
#include <atomic>
#include <cstddef>

namespace sdkkit {
namespace {

constexpr std::size_t kFamilies = kExtUploadCustom + 1;

std::array<std::atomic<SdkAPIExtUploadEndHook>, kFamilies> g_ends{};

void Tell(const SdkAPIExtUpload* upload) {
  const auto family = static_cast<std::size_t>(upload->family);
  if (family >= kFamilies) return;
  if (const SdkAPIExtUploadEndHook end = g_ends[family].load(); end != nullptr) end(upload);
}

}  // namespace

void OnUploadEnd(SdkAPIExtFamily family, SdkAPIExtUploadEndHook end) {
  g_ends[static_cast<std::size_t>(family)].store(end);
  SdkAPIExt_UploadEnd_Set(Tell);
}

}  // namespace sdkkit
