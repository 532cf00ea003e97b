// Rates: when the next command may run, and when the next text of a key may go out.
#include "events/pace.h"

namespace sdkkit {
namespace {

// Keys are the host's, yet a host may make them from what clients name.
constexpr std::size_t kMostKeys = 4096;

}  // namespace

bool KeyPace::Passes(const std::string& key, const EventText& text, PaceClock::time_point now) {
  if (interval_.count() == 0) return held_.erase(key), true;
  if (last_.size() >= kMostKeys)
    std::erase_if(last_, [&](const auto& row) { return row.second + interval_ <= now; });
  const auto last = last_.find(key);
  const bool rested = last == last_.end() || last->second + interval_ <= now;
  if (!rested && held_.size() < kMostKeys) {
    Hold(key, text, last->second + interval_);
    return false;
  }
  held_.erase(key);
  if (last_.size() < kMostKeys || last != last_.end()) last_[key] = now;
  return true;
}

void KeyPace::Hold(const std::string& key, const EventText& text, PaceClock::time_point due) {
  const auto [held, isNew] = held_.try_emplace(key, Held{text, due});
  if (!isNew) held->second.text = text;
}

KeyPace::Texts KeyPace::TakeDue(PaceClock::time_point now) {
  Texts due;
  for (auto held = held_.begin(); held != held_.end();) {
    if (held->second.due > now) {
      ++held;
      continue;
    }
    if (interval_.count() > 0) last_[held->first] = std::min(now, held->second.due);
    due.emplace_back(held->first, std::move(held->second.text));
    held = held_.erase(held);
  }
  return due;
}

std::optional<PaceClock::time_point> KeyPace::NextDue() const {
  std::optional<PaceClock::time_point> next;
  for (const auto& [key, held] : held_) next = next ? std::min(*next, held.due) : held.due;
  return next;
}

}  // namespace sdkkit
