// The request that this thread serves.
#pragma once

#include "sdkapi/extension.h"

namespace sdkkit {

// Its texts are empty, and its size is 0, on a thread that serves none: the library's log has an error then.
inline SdkAPIExtRequest CurrentRequest() {
  SdkAPIExtRequest request{};
  request.size = sizeof request;
  if (SdkAPIExt_Request_Get(&request) == 0) return request;
  request = {};
  request.method = request.path = request.query = request.userAgent = request.route = "";
  request.host = request.origin = request.fetchSite = "";
  return request;
}

}  // namespace sdkkit
