// Options of the web server that the host sets itself.
#pragma once

#include <cstddef>
#include <span>

namespace sdkapi {

struct OptionOverride {
  const char* key;  // the web server's own text; null in a free place
  char* value;      // null where the host took the option back
};

// More options than the web server has.
inline constexpr std::size_t kMostOverrides = 48;

// Sets an option, named by the web server's own text, for the next TakeOverrides; a null value takes it back.
// Returns null, or why not. From any thread.
const char* SetOverride(const char* key, const char* value);

// Takes over what was set since the last call. This and what follows: by the life cycle's thread alone.
void TakeOverrides();

// What the last TakeOverrides found; the texts stay until the next.
std::span<const OptionOverride> Overrides();

// The value of an option there, or null.
const char* OverrideOf(const char* key);

}  // namespace sdkapi
