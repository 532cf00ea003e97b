// Options of the web server that the host sets itself.
#include "server/option_overrides.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <span>

#include "base/lock_order.h"
#include "base/mutex.h"
#include "base/thread_safety.h"

namespace sdkapi {
namespace {

using Places = std::array<OptionOverride, kMostOverrides>;

struct Options {
  Mutex mutex ACQUIRED_AFTER(contextLock, listLock);
  Places set GUARDED_BY(mutex){};
  // Place by place what is in use. Written under the mutex by the one thread that also reads it without.
  Places taken{};
};
constinit Options options;

// The option's place, else a free one, else the number of places.
std::size_t PlaceOf(const char* key) REQUIRES(options.mutex) {
  auto place = std::ranges::find(options.set, key, &OptionOverride::key);
  if (place == options.set.end()) place = std::ranges::find(options.set, nullptr, &OptionOverride::key);
  return static_cast<std::size_t>(place - options.set.begin());
}

}  // namespace

const char* SetOverride(const char* key, const char* value) {
  const ScopedLock lock(options.mutex);
  const std::size_t place = PlaceOf(key);
  if (place == kMostOverrides) return value != nullptr ? "no room for another option" : nullptr;
  char* const copy = value != nullptr ? strdup(value) : nullptr;
  if (value != nullptr && copy == nullptr) return "memory is short";
  OptionOverride& set = options.set[place];
  const char* const taken = options.taken[place].value;
  // The option vector points at what is in use.
  if (set.value != taken) std::free(set.value);
  set = {copy != nullptr || taken != nullptr ? key : nullptr, copy};
  return nullptr;
}

void TakeOverrides() {
  const ScopedLock lock(options.mutex);
  for (std::size_t place = 0; place < kMostOverrides; ++place) {
    OptionOverride& set = options.set[place];
    OptionOverride& taken = options.taken[place];
    if (taken.value != set.value) std::free(taken.value);
    if (set.value == nullptr) set.key = nullptr;
    taken = set;
  }
}

std::span<const OptionOverride> Overrides() { return options.taken; }

const char* OverrideOf(const char* key) {
  for (const OptionOverride& taken : options.taken) {
    if (taken.key != nullptr && std::strcmp(taken.key, key) == 0) return taken.value;
  }
  return nullptr;
}

}  // namespace sdkapi
