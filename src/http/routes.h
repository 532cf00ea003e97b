// The built-in routes.
#pragma once

#include <span>

#include "server/lifecycle.h"

namespace sdkapi {

struct RouteRow {
  const char* pattern;  // with "$" at its end: exactly this URI; without: every URI that begins so
  RequestHandler handler;
  void* cbdata;
};

// All rows in order, the last with a null pattern.
std::span<const RouteRow> RouteTable();

}  // namespace sdkapi
