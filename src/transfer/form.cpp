// Keeps requests out of a form parser that they could stall.
#include "transfer/form.h"

#include <strings.h>

#include <cstring>

#include "sdkapi/http.h"

namespace sdkapi {
namespace {

#ifdef SDKAPI_MULTIPART_ONLY
constexpr bool kMultipartOnly = true;
#else
constexpr bool kMultipartOnly = false;
#endif

constexpr char kMultipart[] = "multipart/form-data;";
constexpr char kBoundary[] = "boundary=";

bool HasBody(const mg_connection* conn) {
  const char* const encoding = GetHttpHeadValue(conn, "Transfer-Encoding");
  return GetHttpLen(conn) > 0 || (encoding != nullptr && strcasecmp(encoding, "chunked") == 0);
}

}  // namespace

bool HasMultipartBody(const mg_connection* conn) {
  const char* const type = GetHttpHeadValue(conn, "Content-Type");
  return type != nullptr && strncasecmp(type, kMultipart, sizeof kMultipart - 1) == 0 &&
         strcasestr(type, kBoundary) != nullptr && HasBody(conn);
}

bool MayBeParsed(const mg_connection* conn) { return !kMultipartOnly || HasMultipartBody(conn); }

}  // namespace sdkapi
