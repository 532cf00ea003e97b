// Room for long-lived streams: within the host's limits, and so that some workers stay free for requests.
#include "http/stream_room.h"

#include <civetweb.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>

#include "server/counters.h"
#include "server/log.h"

namespace sdkapi {
namespace {

constexpr LogSource kLog{"sdkapi"};

constexpr int kWorkersForRequests = 16;

// In one word, so that of several claims on the last place one alone gets it.
std::atomic<OpenStreams> g_open{OpenStreams{}};
static_assert(std::atomic<OpenStreams>::is_always_lock_free);

// The web server knows how many workers it has. Of few workers one half is the requests', and one stream may
// run.
uint32_t MostStreams(const mg_connection* conn) {
  const char* const option = mg_get_option(mg_get_context(conn), "num_threads");
  const int workers = option != nullptr ? static_cast<int>(std::strtol(option, nullptr, 10)) : 0;
  return static_cast<uint32_t>(std::max(workers - std::min(kWorkersForRequests, workers / 2), 1));
}

OpenStreams With(OpenStreams open, Stream kind, uint32_t change) {
  (kind == Stream::kPreview ? open.previews : open.webSockets) += change;
  return open;
}

bool TakePlace(Stream kind, uint32_t most) {
  OpenStreams open = CurrentStreams();
  do {
    if (open.previews + open.webSockets >= most) return false;
  } while (!g_open.compare_exchange_weak(open, With(open, kind, 1), std::memory_order_relaxed));
  return true;
}

}  // namespace

StreamPlace::StreamPlace(const mg_connection* conn, Stream kind)
    : kind_(kind), held_(TakePlace(kind, MostStreams(conn))) {
  if (held_) return;
  Count(Counter::kRefusedForWorkers);
  kLog.error()("no room for another stream!!!!");
}

StreamPlace::~StreamPlace() {
  if (held_) GiveBackStreamPlace(kind_);
}

void GiveBackStreamPlace(Stream kind) {
  OpenStreams open = CurrentStreams();
  while (!g_open.compare_exchange_weak(open, With(open, kind, ~0U), std::memory_order_relaxed)) {
  }
}

OpenStreams CurrentStreams() { return g_open.load(std::memory_order_relaxed); }

}  // namespace sdkapi
