// The border of the kit: no exception crosses it.
#pragma once

#include <exception>
#include <utility>

#include "base/log.h"

namespace sdkkit {

// Runs what an exported function or a slot does; an exception becomes `failure` and a line of the log.
template <class Body, class Result = int>
Result Guarded(const Log& log, Body&& body, Result failure = -1) noexcept {
  try {
    return std::forward<Body>(body)();
  } catch (const std::exception& error) {
    log.Error("%s", error.what());
  } catch (...) {
    log.Error("an unknown failure");
  }
  return failure;
}

}  // namespace sdkkit
