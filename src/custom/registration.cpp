// Adding the host's own routes while the server runs.
#include "http/handlers.h"
#include "sdkapi/custom.h"
#include "server/lifecycle.h"
#include "server/log.h"

namespace {

using namespace sdkapi;

constexpr LogSource kLog{"sdkapi"};

// The host's function travels as the route's callback data; POSIX lets a function pointer pass through void*.
template <class HostFunction>
int Add(const char* uri, RequestHandler handler, HostFunction function, const LogLine& log) {
  if (RegisterRoute(uri, handler, reinterpret_cast<void*>(function))) return uri != nullptr ? 0 : -1;
  log("ctx error..");
  return -1;
}

}  // namespace

int SdkAPISer_Custom_Get_Post_Api_Add(const char* uri, CustomGetPostFunction function) {
  return Add(uri, FuncCustomGetPost, function, kLog.error());
}

int SdkAPISer_Custom_Upload_Api_Add(const char* uri, CustomUploadFunction function) {
  return Add(uri, FuncUploadCustomHandle, function, kLog.error());
}

int SdkAPISer_Custom_Download_Api_Add(const char* uri, CustomDownloadFunction function) {
  return Add(uri, FuncDownloadCustomHandle, function, kLog.error());
}
