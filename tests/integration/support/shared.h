// What the integration tests share with all tests, and a look at the session stack.
#pragma once

#include <string>

#include "log_capture.h"
#include "sdkapi/sdkapi.h"
#include "test_host.h"
#include "waiting.h"

namespace integration {

using namespace sdktest;

// How many places the session stack has left.
inline int FreeSessions() {
  int taken = 0;
  while (AddUsrIdToStack("probe") == 0) ++taken;
  for (int i = 0; i < taken; ++i) DelUsrIdStack("probe");
  return taken;
}

}  // namespace integration
