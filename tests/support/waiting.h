// Waiting for something to happen, with a deadline that is generous where instrumentation or emulation slows
// things down.
#pragma once

#include <chrono>
#include <mutex>
#include <thread>

namespace sdktest {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || defined(SDKAPI_EMULATED)
constexpr bool kInstrumented = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
constexpr bool kInstrumented = true;
#else
constexpr bool kInstrumented = false;
#endif
#else
constexpr bool kInstrumented = false;
#endif

using Clock = std::chrono::steady_clock;

// Shorter than the 60 s for which the web server keeps an idle connection: a reply that is complete only when
// the connection ends cannot be seen within it unless the server really closed.
constexpr std::chrono::seconds kPatience{kInstrumented ? 45 : 25};

// Polls until the condition holds; false when the deadline passed first.
template <class Condition>
bool Eventually(Condition condition, std::chrono::milliseconds limit = kPatience) {
  const auto deadline = Clock::now() + limit;
  while (!condition()) {
    if (Clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

// Between a test's thread and the host functions that worked for it stands only a socket, which the thread
// sanitizer does not see as an order. Both sides pass here: clients before sending and after reading, scripts
// before and after.
inline void Rendezvous() {
  static std::mutex mutex;
  const std::lock_guard lock(mutex);
}

}  // namespace sdktest
