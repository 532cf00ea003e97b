// Room for long-lived streams: within the host's limits, and so that some workers stay free for requests.
#include "http/stream_room.h"

#include <civetweb.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdlib>
#include <optional>

#include "server/counters.h"
#include "server/limits.h"
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

// What refuses a stream, and how many of which there may be.
struct Bound {
  Counter refusals;
  uint32_t most;  // 0: any number
  bool previews;
  bool webSockets;

  bool Refuses(OpenStreams open, Stream kind) const {
    const bool concerned = kind == Stream::kPreview ? previews : webSockets;
    const uint32_t there = (previews ? open.previews : 0) + (webSockets ? open.webSockets : 0);
    return concerned && most != 0 && there >= most;
  }
};

using Bounds = std::array<Bound, 4>;

uint32_t Read(const std::atomic<uint32_t>& limit) { return limit.load(std::memory_order_relaxed); }

Bounds CurrentBounds(const mg_connection* conn) {
  return {{{Counter::kRefusedPreviews, Read(g_limits.previews), true, false},
           {Counter::kRefusedWebSockets, Read(g_limits.webSockets), false, true},
           {Counter::kRefusedStreams, Read(g_limits.streams), true, true},
           {Counter::kRefusedForWorkers, MostStreams(conn), true, true}}};
}

std::optional<Counter> Refusal(const Bounds& bounds, OpenStreams open, Stream kind) {
  for (const Bound& bound : bounds) {
    if (bound.Refuses(open, kind)) return bound.refusals;
  }
  return std::nullopt;
}

// Nothing, or the count of what refuses it.
std::optional<Counter> TakePlace(const Bounds& bounds, Stream kind) {
  OpenStreams open = CurrentStreams();
  for (;;) {
    const std::optional<Counter> refusal = Refusal(bounds, open, kind);
    const bool taken =
        !refusal && g_open.compare_exchange_weak(open, With(open, kind, 1), std::memory_order_relaxed);
    if (refusal || taken) return refusal;
  }
}

}  // namespace

StreamPlace::StreamPlace(const mg_connection* conn, Stream kind) : kind_(kind) {
  const std::optional<Counter> refusal = TakePlace(CurrentBounds(conn), kind);
  held_ = !refusal;
  if (held_) return;
  limited_ = *refusal != Counter::kRefusedForWorkers;
  Count(*refusal);
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
