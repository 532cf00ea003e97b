// The last time that the device did what it does every second.
#include "model/heartbeat.h"

#include <atomic>
#include <chrono>

namespace sim {
namespace {

using Clock = std::chrono::steady_clock;

// A busy machine, or a slow storage, takes a while without being dead.
constexpr auto kLongestPause = std::chrono::seconds(10);

std::atomic<Clock::time_point> last{Clock::now()};

}  // namespace

void Beat() { last.store(Clock::now()); }

bool BeatsStill() { return Clock::now() - last.load() < kLongestPause; }

}  // namespace sim
