// What the library counts for the host's statistics, since the process began.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace sdkapi {

enum class Counter : std::size_t {
  kUploads,
  kFailedUploads,
  kDownloads,
  kFailedDownloads,
  kGrantedLogins,
  kDeniedLogins,
  kDroppedFrames,
  kRefusedPreviews,
  kRefusedWebSockets,
  kRefusedStreams,
  kRefusedForWorkers,
  kRefusedBodies,
  kRefusedUploads,
  kRefusedLogins,
  kRefusedMessages,
  kNumber
};

inline constinit std::atomic<uint64_t> g_counters[static_cast<std::size_t>(Counter::kNumber)]{};

// Nothing else is ordered by a count.
inline void Count(Counter counter) {
  g_counters[static_cast<std::size_t>(counter)].fetch_add(1, std::memory_order_relaxed);
}

inline uint64_t CountOf(Counter counter) {
  return g_counters[static_cast<std::size_t>(counter)].load(std::memory_order_relaxed);
}

}  // namespace sdkapi
