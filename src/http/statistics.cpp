// What the server does and has done, as a host asks for it.
#include <civetweb.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "base/sized_record.h"
#include "http/login_ref.h"
#include "http/stream_room.h"
#include "sdkapi/extension.h"
#include "server/counters.h"
#include "server/lifecycle.h"
#include "server/refusal.h"

#ifdef MG_TRAFFIC
// In our build of the web server only: with another one these numbers are 0.
// NOLINTNEXTLINE(readability-redundant-declaration): weak, unlike the header's.
extern "C" void mg_get_traffic(mg_traffic* traffic) __attribute__((weak));
// NOLINTNEXTLINE(readability-redundant-declaration)
extern "C" void mg_get_load(mg_context* ctx, mg_load* load) __attribute__((weak));
#endif

namespace {

using namespace sdkapi;

struct Figure {
  uint64_t SdkAPIExtStatistics::*field;
  Counter counter;
};

constexpr Figure kFigures[] = {
    {&SdkAPIExtStatistics::uploads, Counter::kUploads},
    {&SdkAPIExtStatistics::failedUploads, Counter::kFailedUploads},
    {&SdkAPIExtStatistics::downloads, Counter::kDownloads},
    {&SdkAPIExtStatistics::failedDownloads, Counter::kFailedDownloads},
    {&SdkAPIExtStatistics::grantedLogins, Counter::kGrantedLogins},
    {&SdkAPIExtStatistics::deniedLogins, Counter::kDeniedLogins},
    {&SdkAPIExtStatistics::droppedFrames, Counter::kDroppedFrames},
    {&SdkAPIExtStatistics::refusedPreviews, Counter::kRefusedPreviews},
    {&SdkAPIExtStatistics::refusedWebSockets, Counter::kRefusedWebSockets},
    {&SdkAPIExtStatistics::refusedStreams, Counter::kRefusedStreams},
    {&SdkAPIExtStatistics::refusedForWorkers, Counter::kRefusedForWorkers},
    {&SdkAPIExtStatistics::refusedBodies, Counter::kRefusedBodies},
    {&SdkAPIExtStatistics::refusedUploads, Counter::kRefusedUploads},
    {&SdkAPIExtStatistics::refusedLogins, Counter::kRefusedLogins},
    {&SdkAPIExtStatistics::refusedMessages, Counter::kRefusedMessages},
};
static_assert(sizeof kFigures / sizeof kFigures[0] == static_cast<std::size_t>(Counter::kNumber));

#ifdef MG_TRAFFIC
void AddTraffic(SdkAPIExtStatistics& statistics) {
  mg_traffic traffic{};
  mg_get_traffic(&traffic);
  statistics.acceptedConnections = traffic.accepted_connections;
  std::copy(std::begin(traffic.requests), std::end(traffic.requests), statistics.requests);
  statistics.bytesIn = traffic.bytes_in;
  statistics.bytesOut = traffic.bytes_out;
  statistics.overrunWebSockets = traffic.overrun_websockets;
  statistics.refusedConnections = traffic.refused_connections;
  statistics.refusedMessages += traffic.refused_frames;
  statistics.displacedConnections = traffic.displaced_connections;
}

// A connection is either with a worker or waits for its client.
void AddLoad(SdkAPIExtStatistics& statistics) {
  const RunningContext context;
  if (context.get() == nullptr) return;
  mg_load load{};
  mg_get_load(context.get(), &load);
  statistics.workers = load.workers;
  statistics.busyWorkers = load.busy_workers;
  statistics.connections = load.connections;
  statistics.idleConnections = load.connections - std::min(load.connections, load.busy_workers);
}

void AddWhatTheServerCounts(SdkAPIExtStatistics& statistics) {
  if (mg_get_traffic == nullptr || mg_get_load == nullptr) return;
  AddTraffic(statistics);
  AddLoad(statistics);
  statistics.complete = 1;
}
#else
void AddWhatTheServerCounts(SdkAPIExtStatistics& /*statistics*/) {}
#endif

SdkAPIExtStatistics Collect() {
  SdkAPIExtStatistics statistics{};
  statistics.uptimeSeconds = UptimeSeconds();
  const OpenStreams open = CurrentStreams();
  statistics.previews = open.previews;
  statistics.webSockets = open.webSockets;
  statistics.logins = LoginCount();
  for (const Figure& figure : kFigures) statistics.*figure.field = CountOf(figure.counter);
  AddWhatTheServerCounts(statistics);
  return statistics;
}

}  // namespace

int SdkAPIExt_Statistics_Get(SdkAPIExtStatistics* statistics) {
  if (WriteRecord(Collect(), statistics)) return 0;
  return Refuse(kExtensionLog.error(), __func__, "no record, or its size is unknown");
}
