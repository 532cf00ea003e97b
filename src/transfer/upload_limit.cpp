// The most bytes that an upload may have, as the host has set them for each family.
#include "transfer/upload_limit.h"

#include <atomic>
#include <cstdint>

#include "http/body_limit.h"
#include "sdkapi/extension.h"
#include "server/refusal.h"

namespace sdkapi {
namespace {

constexpr int kFamilies = kExtUploadCustom + 1;

std::atomic<int64_t> g_limits[kFamilies];

}  // namespace

int64_t MostUploadBytes(int family) { return g_limits[family].load(std::memory_order_relaxed); }

}  // namespace sdkapi

int SdkAPIExt_Upload_Limit_Set(int family, int64_t bytes) {
  using namespace sdkapi;
  if (!BodiesCanBeLimited()) {
    return Refuse(kExtensionLog.error(), __func__, "not possible with this web server");
  }
  if (family < 0 || family >= kFamilies) return Refuse(kExtensionLog.error(), __func__, "family unknown");
  if (bytes < 0) return Refuse(kExtensionLog.error(), __func__, "fewer than no bytes");
  g_limits[family].store(bytes, std::memory_order_relaxed);
  return 0;
}
