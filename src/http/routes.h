// The built-in routes.
#pragma once

#include <span>

#include "server/lifecycle.h"

namespace sdkapi {

// What stands in the rows of routes that take no upload.
constexpr int kNoUpload = -2;

struct RouteRow {
  const char* pattern;  // with "$" at its end: exactly this URI; without: every URI that begins so
  RequestHandler handler;
  void* cbdata;
  int uploadKind = kNoUpload;  // of a file that is sent to exactly this URI
};

// All rows in order, the last with a null pattern.
std::span<const RouteRow> RouteTable();

}  // namespace sdkapi
