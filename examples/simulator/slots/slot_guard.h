// The border between the library, which knows no exceptions, and this program.
#pragma once

#include <exception>

namespace sim {

inline constexpr int kRefused = -1;
inline constexpr int kNotAuthorised = -2;

// Runs a slot's work; an exception becomes the answer "failed".
template <typename Work>
int Guarded(Work work) {
  try {
    return work();
  } catch (const std::exception&) {
    return kRefused;
  }
}

}  // namespace sim
