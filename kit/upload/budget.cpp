// How much may be stored: counted with what is under way, so that parallel uploads cannot pass it.
#include "upload/budget.h"

#include <algorithm>
#include <new>
#include <utility>

#include "base/file.h"

namespace sdkkit {
namespace {

uint64_t Beyond(uint64_t bytes, uint64_t credit) { return bytes - std::min(bytes, credit); }

}  // namespace

Budget::Share::Share(Budget& budget, std::string target)
    : budget_(budget), passes_(target.empty()), target_(std::move(target)) {
  const auto replaced = target_.empty() ? std::nullopt : StatusOf(target_);
  const std::lock_guard lock(budget_.mutex_);
  budget_.Look();
  if (replaced && budget_.credited_.insert(target_).second) {
    credit_ = replaced->size;
  } else {
    target_.clear();
  }
}

Budget::Share::~Share() {
  const std::lock_guard lock(budget_.mutex_);
  budget_.Look();
  budget_.arriving_ -= bytes_;
  (passes_ ? budget_.passing_ : budget_.charged_) -= Beyond(bytes_, credit_);
  if (!target_.empty()) budget_.credited_.erase(target_);
}

bool Budget::Share::Grow(uint64_t bytes) {
  const std::lock_guard lock(budget_.mutex_);
  const uint64_t more = Beyond(bytes_ + bytes, credit_) - Beyond(bytes_, credit_);
  uint64_t& taken = passes_ ? budget_.passing_ : budget_.charged_;
  const uint64_t limit = passes_ ? budget_.mostPassing_ : budget_.limit_;
  if (more > 0 && taken + more + (passes_ ? 0 : budget_.stored_) > limit) return false;
  bytes_ += bytes;
  budget_.arriving_ += bytes;
  taken += more;
  return true;
}

// Anew each time: others may store files there, too. Without the memory for it the last look stands.
void Budget::Look() noexcept {
  try {
    stored_ = BytesBelow(root_);
  } catch (const std::bad_alloc&) {
  }
}

uint64_t Budget::Stored() { return BytesBelow(root_); }

uint64_t Budget::Arriving() {
  const std::lock_guard lock(mutex_);
  return arriving_;
}

}  // namespace sdkkit
