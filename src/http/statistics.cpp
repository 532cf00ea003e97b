// What the server does and has done, as a host asks for it.
#include <cstddef>
#include <cstdint>

#include "base/sized_record.h"
#include "http/login_ref.h"
#include "http/stream_room.h"
#include "sdkapi/extension.h"
#include "server/counters.h"
#include "server/lifecycle.h"
#include "server/refusal.h"

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

SdkAPIExtStatistics Collect() {
  SdkAPIExtStatistics statistics{};
  statistics.uptimeSeconds = UptimeSeconds();
  const OpenStreams open = CurrentStreams();
  statistics.previews = open.previews;
  statistics.webSockets = open.webSockets;
  statistics.logins = LoginCount();
  for (const Figure& figure : kFigures) statistics.*figure.field = CountOf(figure.counter);
  return statistics;
}

}  // namespace

int SdkAPIExt_Statistics_Get(SdkAPIExtStatistics* statistics) {
  if (WriteRecord(Collect(), statistics)) return 0;
  return Refuse(kExtensionLog.error(), __func__, "no record, or its size is unknown");
}
