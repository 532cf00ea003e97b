// The built-in routes.
#pragma once

#include <civetweb.h>

#include <span>

namespace sdkapi {

struct RouteRow {
  const char* pattern;  // with "$" at its end: exactly this URI; without: every URI that begins so
  mg_request_handler handler;
  void* cbdata;
};

// All rows in order, the last with a null pattern.
std::span<const RouteRow> RouteTable();

// Hands every row to the web server. Returns 0, or -1 without a context.
int JsonSwitch(mg_context* ctx);

}  // namespace sdkapi
