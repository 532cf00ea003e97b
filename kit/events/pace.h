// Rates: when the next command may run, and when the next text of a key may go out.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "events/backlog.h"

namespace sdkkit {

using PaceClock = std::chrono::steady_clock;

// So many a second on average, and twice as many at once after a rest.
class CommandPace {
 public:
  // When the next one may run; it counts from now on.
  PaceClock::time_point Next(PaceClock::time_point now, uint32_t perSecond) {
    const auto interval =
        std::chrono::duration_cast<PaceClock::duration>(std::chrono::seconds(1)) / perSecond;
    due_ = std::max(due_, now) + interval;
    return due_ - 2 * perSecond * interval;
  }

 private:
  PaceClock::time_point due_{};
};

// Holds texts back whose key had one a moment ago; of each key the newest.
class KeyPace {
 public:
  using Texts = std::vector<std::pair<std::string, EventText>>;

  void SetInterval(std::chrono::milliseconds interval) { interval_ = interval; }

  // Whether the text may go out now; otherwise it is held.
  bool Passes(const std::string& key, const EventText& text, PaceClock::time_point now);
  // Holds it until the next turn.
  void Hold(const std::string& key, const EventText& text, PaceClock::time_point due);

  Texts TakeDue(PaceClock::time_point now);
  Texts TakeAll() { return TakeDue(PaceClock::time_point::max()); }
  std::optional<PaceClock::time_point> NextDue() const;
  void Clear() { held_.clear(), last_.clear(); }

 private:
  struct Held {
    EventText text;
    PaceClock::time_point due;
  };

  std::chrono::milliseconds interval_{0};
  std::map<std::string, Held, std::less<>> held_;
  std::map<std::string, PaceClock::time_point, std::less<>> last_;
};

}  // namespace sdkkit
