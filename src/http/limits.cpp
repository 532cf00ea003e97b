// The host's limits are taken, here and by the web server.
#include "server/limits.h"

#include <civetweb.h>

#include <climits>
#include <cstdint>

#include "base/sized_record.h"
#include "http/body_limit.h"
#include "sdkapi/extension.h"
#include "server/refusal.h"

// In our build of the web server only.
// NOLINTNEXTLINE(readability-redundant-declaration): another build's header does not declare it.
extern "C" void mg_set_address_limit(unsigned most) __attribute__((weak));

namespace {

using namespace sdkapi;

const char* Fault(const SdkAPIExtLimits& limits) {
  if (limits.reserved != 0) return "reserved is not 0";
  if (limits.mostCustomBodyBytes > INT_MAX) return "more than 2 GiB";
  const bool addresses = limits.mostConnectionsPerAddress == 0 || mg_set_address_limit != nullptr;
  const bool bodies = limits.mostCustomBodyBytes == 0 || BodiesCanBeLimited();
  return addresses && bodies ? nullptr : "not possible with this web server";
}

void Take(const SdkAPIExtLimits& limits) {
  g_limits.previews.store(limits.mostPreviews, std::memory_order_relaxed);
  g_limits.webSockets.store(limits.mostWebSockets, std::memory_order_relaxed);
  g_limits.streams.store(limits.mostStreams, std::memory_order_relaxed);
  g_limits.customBodyBytes.store(static_cast<int64_t>(limits.mostCustomBodyBytes), std::memory_order_relaxed);
  if (mg_set_address_limit != nullptr) mg_set_address_limit(limits.mostConnectionsPerAddress);
}

}  // namespace

int SdkAPIExt_Limits_Set(const SdkAPIExtLimits* limits) {
  SdkAPIExtLimits taken{};
  if (limits != nullptr && !ReadRecord(limits, taken)) {
    return Refuse(kExtensionLog.error(), __func__, "size unknown");
  }
  if (const char* const fault = Fault(taken)) return Refuse(kExtensionLog.error(), __func__, fault);
  Take(taken);
  return 0;
}
