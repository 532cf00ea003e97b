// A live source: one thread paints and encodes its pictures for all viewers.
#include "preview_source.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "device.h"
#include "sdkapi/host.h"
#include "test_pattern.h"
#include "units.h"

namespace sim {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kInterval{40};
constexpr size_t kPictureRoom = sizeof(PreviewFrame::frame);

}  // namespace

PreviewSource::PreviewSource(std::string unit)
    : unit_(std::move(unit)), thread_([this](const std::stop_token& stop) { Run(stop); }) {}

std::shared_ptr<const Jpeg> PreviewSource::Next(uint64_t& seen) {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [&] { return ended_ || number_ > seen; });
  if (ended_) return nullptr;
  seen = number_;
  return picture_;
}

void PreviewSource::End() {
  {
    const std::lock_guard lock(mutex_);
    ended_ = true;
  }
  changed_.notify_all();
}

bool PreviewSource::Ended() {
  const std::lock_guard lock(mutex_);
  return ended_;
}

void PreviewSource::Run(const std::stop_token& stop) {
  try {
    TestPattern pattern(unit_.empty() ? kDeviceModel : unit_);
    JpegEncoder encoder;
    auto due = Clock::now();
    for (uint64_t number = 1; IsLive(); ++number) {
      pattern.Advance(number, std::chrono::system_clock::now());
      auto picture = encoder.Encode(pattern, kPictureRoom);
      if (!picture) break;
      {
        const std::lock_guard lock(mutex_);
        picture_ = std::move(picture);
        number_ = number;
      }
      changed_.notify_all();
      // After a delay the clock starts anew: pictures that nobody saw are not made up for.
      due = std::max(due + kInterval, Clock::now());
      if (!Wait(stop, due)) break;
    }
  } catch (const std::exception&) {  // Out of memory: the viewers' streams end below.
  }
  End();
}

bool PreviewSource::Wait(const std::stop_token& stop, Clock::time_point until) {
  std::unique_lock lock(mutex_);
  changed_.wait_until(lock, stop, until, [&] { return ended_; });
  return !ended_ && !stop.stop_requested();
}

bool PreviewSource::IsLive() const {
  if (unit_.empty()) return true;
  const auto unit = FindUnit(unit_);
  return unit && unit->online;
}

}  // namespace sim
