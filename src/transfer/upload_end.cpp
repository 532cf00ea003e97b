// Tells the host of the end of every upload that it heard the beginning of.
#include "transfer/upload_end.h"

#include <atomic>

namespace sdkapi {
namespace {

std::atomic<SdkAPIExtUploadEndHook> g_hook{nullptr};

}  // namespace

void TellUploadEnd(SdkAPIExtUpload upload) {
  const auto hook = g_hook.load(std::memory_order_acquire);
  if (hook == nullptr) return;
  upload.size = sizeof upload;
  hook(&upload);
}

}  // namespace sdkapi

int SdkAPIExt_UploadEnd_Set(SdkAPIExtUploadEndHook hook) {
  sdkapi::g_hook.store(hook, std::memory_order_release);
  return 0;
}
