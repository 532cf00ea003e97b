// The most bytes that an upload may have, as the host has set them for each family.
#include "transfer/upload_limit.h"

#include <civetweb.h>

#include <atomic>
#include <cstddef>

#include "sdkapi/extension.h"
#include "sdkapi/http.h"
#include "server/log.h"
#include "server/refusal.h"

// In our build of the web server only.
// NOLINTNEXTLINE(readability-redundant-declaration): another build's header does not declare it.
extern "C" int mg_set_body_limit(mg_connection* conn, long long bytes) __attribute__((weak));

namespace sdkapi {
namespace {

constexpr int kFamilies = kExtUploadCustom + 1;

std::atomic<int64_t> g_limits[kFamilies];

}  // namespace

UploadLimit::UploadLimit(mg_connection* conn, int family)
    : conn_(conn), bytes_(g_limits[family].load(std::memory_order_relaxed)) {
  if (bytes_ > 0) mg_set_body_limit(conn_, bytes_);
}

bool UploadLimit::AnnouncedTooMuch() const { return bytes_ > 0 && GetHttpLen(conn_) > bytes_; }

bool UploadLimit::End() const { return bytes_ > 0 && mg_set_body_limit(conn_, 0) != 0; }

}  // namespace sdkapi

int SdkAPIExt_Upload_Limit_Set(int family, int64_t bytes) {
  using namespace sdkapi;
  if (mg_set_body_limit == nullptr) {
    return Refuse(kExtensionLog.error(), __func__, "not possible with this web server");
  }
  if (family < 0 || family >= kFamilies) return Refuse(kExtensionLog.error(), __func__, "family unknown");
  if (bytes < 0) return Refuse(kExtensionLog.error(), __func__, "fewer than no bytes");
  g_limits[family].store(bytes, std::memory_order_relaxed);
  return 0;
}
