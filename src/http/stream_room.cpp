// Room for long-lived streams: some workers always stay free for ordinary requests.
#include "http/stream_room.h"

#include <civetweb.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>

#include "server/log.h"

namespace sdkapi {
namespace {

constexpr LogSource kLog{"sdkapi"};

constexpr int kWorkersForRequests = 16;

std::atomic<int> g_streams{0};

// The web server knows how many workers it has. Of few workers one half is the requests', and one stream may
// run.
int MostStreams(const mg_connection* conn) {
  const char* const option = mg_get_option(mg_get_context(conn), "num_threads");
  const int workers = option != nullptr ? static_cast<int>(std::strtol(option, nullptr, 10)) : 0;
  return std::max(workers - std::min(kWorkersForRequests, workers / 2), 1);
}

}  // namespace

StreamPlace::StreamPlace(const mg_connection* conn)
    : held_(g_streams.fetch_add(1, std::memory_order_relaxed) < MostStreams(conn)) {
  if (held_) return;
  GiveBackStreamPlace();
  kLog.error()("no room for another stream!!!!");
}

StreamPlace::~StreamPlace() {
  if (held_) GiveBackStreamPlace();
}

void GiveBackStreamPlace() { g_streams.fetch_sub(1, std::memory_order_relaxed); }

}  // namespace sdkapi
