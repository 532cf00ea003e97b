// The request that the calling thread is serving, and what a host may learn of it.
#include "http/request_scope.h"

#include <civetweb.h>

#include "base/sized_record.h"
#include "base/text.h"
#include "sdkapi/extension.h"
#include "server/lifecycle.h"
#include "server/log.h"
#include "server/refusal.h"

// In our build of the web server only.
// NOLINTNEXTLINE(readability-redundant-declaration): another build's header does not declare it.
extern "C" const char* mg_get_route(const mg_connection* conn) __attribute__((weak));
// NOLINTNEXTLINE(readability-redundant-declaration)
extern "C" const char* mg_get_sent_path(const mg_connection* conn) __attribute__((weak));

namespace sdkapi {
namespace {

constinit thread_local const mg_connection* t_request = nullptr;

const char* OrEmpty(const char* text) { return text != nullptr ? text : ""; }

SdkAPIExtRequest Describe(const mg_connection* conn, const mg_request_info& info) {
  SdkAPIExtRequest request{};
  request.tls = info.is_ssl != 0 ? 1 : 0;
  request.port = info.remote_port;
  CopyText(request.address, info.remote_addr);
  request.contentLength = info.content_length;
  request.method = OrEmpty(info.request_method);
  request.path = OrEmpty(SentPath(conn));
  request.query = OrEmpty(info.query_string);
  request.userAgent = OrEmpty(mg_get_header(conn, "User-Agent"));
  request.host = OrEmpty(mg_get_header(conn, "Host"));
  request.origin = OrEmpty(mg_get_header(conn, "Origin"));
  request.fetchSite = OrEmpty(mg_get_header(conn, "Sec-Fetch-Site"));
  request.route = mg_get_route != nullptr ? OrEmpty(mg_get_route(conn)) : "";
  return request;
}

}  // namespace

const mg_connection* CurrentRequest() { return t_request; }

const char* SentPath(const mg_connection* conn) {
  return mg_get_sent_path != nullptr ? mg_get_sent_path(conn) : mg_get_request_info(conn)->request_uri;
}

int BeginRequest(mg_connection* conn) {
  AwaitRoutes();
  t_request = conn;
  return 0;
}

void EndRequest(const mg_connection* /*conn*/, int /*status*/) { t_request = nullptr; }

}  // namespace sdkapi

int SdkAPIExt_Request_Get(SdkAPIExtRequest* request) {
  using namespace sdkapi;
  const mg_connection* const conn = CurrentRequest();
  const mg_request_info* const info = conn != nullptr ? mg_get_request_info(conn) : nullptr;
  if (info == nullptr) return Refuse(kExtensionLog.error(), __func__, "no request is being served here");
  if (!WriteRecord(Describe(conn, *info), request)) {
    return Refuse(kExtensionLog.error(), __func__, "no record, or its size is unknown");
  }
  return 0;
}
