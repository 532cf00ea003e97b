// A source while somebody looks at it: one thread gets its pictures, viewers wait for the newest.
#include "preview/run.h"

#include <algorithm>
#include <utility>

#include "base/guarded.h"
#include "base/inside.h"
#include "base/log.h"

namespace sdkkit {
namespace {

using Clock = std::chrono::steady_clock;

constexpr Log kLog{"preview"};
constexpr auto kAgain = std::chrono::seconds(1);
constexpr auto kFirst = std::chrono::seconds(10);

}  // namespace

Run::Run(Feed feed, std::chrono::microseconds interval)
    : feed_(std::move(feed)), thread_([this, interval] {
        const Inside<Run> inside;
        Guarded(kLog, [&] { return Work(interval), 0; });
        End();
        feed_ = nullptr;
      }) {}

Jpeg Run::Next(uint64_t& seen) {
  std::unique_lock lock(mutex_);
  const bool hasPicture = number_ > 0;
  changed_.wait_for(lock, hasPicture ? Clock::duration(kAgain) : Clock::duration(kFirst),
                    [&] { return ended_ || number_ > seen; });
  if (ended_) return nullptr;
  seen = number_;
  return picture_;
}

void Run::End() {
  {
    const std::lock_guard lock(mutex_);
    ended_ = true;
  }
  changed_.notify_all();
}

void Run::Finish() {
  End();
  const std::lock_guard lock(finish_);
  if (thread_.joinable()) thread_.join();
}

bool Run::Ended() {
  const std::lock_guard lock(mutex_);
  return ended_;
}

void Run::Work(std::chrono::microseconds interval) {
  auto due = Clock::now();
  do {
    Jpeg picture;
    const Step step = feed_(picture);
    if (step == Step::kOver) return;
    if (step == Step::kNew) Show(std::move(picture));
    // After a delay the clock starts anew: pictures that nobody saw are not made up for.
    due = std::max(due + interval, Clock::now());
  } while (Rest(due));
}

bool Run::Rest(Clock::time_point until) {
  std::unique_lock lock(mutex_);
  return !changed_.wait_until(lock, until, [this] { return ended_; });
}

void Run::Show(Jpeg picture) {
  {
    const std::lock_guard lock(mutex_);
    picture_ = std::move(picture);
    ++number_;
  }
  changed_.notify_all();
}

}  // namespace sdkkit
