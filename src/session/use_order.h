// Entries in the order of their last use.
#pragma once

#include <cstdint>

namespace sdkapi {

// Stands inside what is ordered.
struct UseEntry {
  int64_t lastUse;  // on the monotonic clock, in milliseconds
  UseEntry* before;
  UseEntry* after;
};

// Takes no lock, walks nothing.
class UseOrder {
 public:
  UseEntry* longestUnused() const { return first_; }

  void Add(UseEntry& entry, int64_t now) {
    entry.lastUse = now;
    entry.before = last_;
    entry.after = nullptr;
    (last_ != nullptr ? last_->after : first_) = &entry;
    last_ = &entry;
  }

  void Remove(UseEntry& entry) {
    (entry.before != nullptr ? entry.before->after : first_) = entry.after;
    (entry.after != nullptr ? entry.after->before : last_) = entry.before;
  }

  void Use(UseEntry& entry, int64_t now) {
    Remove(entry);
    Add(entry, now);
  }

 private:
  UseEntry* first_ = nullptr;
  UseEntry* last_ = nullptr;
};

}  // namespace sdkapi
