// The limits that a host has set for what its clients begin.
#pragma once

#include <atomic>
#include <cstdint>

namespace sdkapi {

// Each is read by itself when something begins; 0: any number.
struct ClientLimits {
  std::atomic<uint32_t> previews;
  std::atomic<uint32_t> webSockets;
  std::atomic<uint32_t> streams;
  std::atomic<int64_t> customBodyBytes;
};
inline constinit ClientLimits g_limits{};

}  // namespace sdkapi
