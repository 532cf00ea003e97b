// Reading the parts of a request: headers, token, body, URI, query.
#include "http/accessors.h"

#include <civetweb.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "server/log.h"

namespace sdkapi {
namespace {

constexpr LogSource kLog{"sdkapi"};

constexpr std::size_t kLongestTokenHeader = 1031;
constexpr std::size_t kSchemeLength = 7;  // "Bearer " by length only: the word is not compared

}  // namespace

void ReadToken(const mg_connection* conn, char* out, std::size_t room) {
  const char* const header = GetHttpHeadValue(conn, "Authorization");
  if (header == nullptr) return;
  const std::size_t length = strnlen(header, kLongestTokenHeader);
  if (length > kSchemeLength)
    std::memcpy(out, header + kSchemeLength, std::min(length - kSchemeLength, room));
  kLog.info()("req http token %.*s", static_cast<int>(room), out);
}

const char* RemoteAddress(const mg_connection* conn) { return mg_get_request_info(conn)->remote_addr; }

JsonPtr ReadJsonBody(mg_connection* conn) {
  char body[kJsonBodySize] = {};
  const int64_t length = GetHttpLen(conn);
  const bool fits = length >= 0 && length < kJsonBodySize;
  GetHttpBody(conn, body, fits ? static_cast<int>(length) : kJsonBodySize - 1);
  return JsonPtr(cJSON_Parse(body));
}

}  // namespace sdkapi

const char* GetHttpHeadValue(const mg_connection* conn, const char* name) {
  return mg_get_header(conn, name);
}

int GetHttpToken(const mg_connection* conn, char* out) {
  sdkapi::ReadToken(conn, out, sdkapi::kLongestTokenHeader - sdkapi::kSchemeLength);
  return 0;
}

int GetHttpBody(mg_connection* conn, void* buf, int len) {
  if (conn == nullptr || buf == nullptr) return -1;
  return mg_read(conn, buf, len > 0 ? static_cast<std::size_t>(len) : 0);
}

int64_t GetHttpLen(const mg_connection* conn) { return mg_get_request_info(conn)->content_length; }

const char* GetHttpRepMethod(const mg_connection* conn) { return mg_get_request_info(conn)->request_method; }

const char* GetHttpUrl(const mg_connection* conn) { return mg_get_request_info(conn)->request_uri; }

int GetHttpUrlParam(const mg_connection* conn, const char* name, char* dst, size_t dstLen) {
  const char* const query = mg_get_request_info(conn)->query_string;
  return mg_get_var(query, query != nullptr ? std::strlen(query) : 0, name, dst, dstLen);
}

int SdkAPISer_Get_Url_Param(const mg_connection* conn, const char* name, char* dst, size_t dstLen) {
  return GetHttpUrlParam(conn, name, dst, dstLen);
}

const char* SdkAPISer_Get_Head_Param(const mg_connection* conn, const char* name) {
  return GetHttpHeadValue(conn, name);
}
