// The composer for host code that knows every status code.
#include <civetweb.h>

#include <cstring>

#include "base/text_writer.h"
#include "http/cross_origin.h"
#include "http/http_date.h"
#include "http/response.h"
#include "sdkapi/http.h"

namespace {

constexpr std::size_t kHeadSize = 960;

// Numbered differently from GroupRespHttpMsg's selector, and with the headers in another order; both are
// kept as clients and hosts know them.
const char* TypedHeaders(int type) {
  switch (type) {
    case 0:
      return "Content-Type: text/html; charset=utf-8;\r\n";
    case 1:
      return "Content-Type: application/json; charset=utf-8;\r\n";
    case 2:
      return "Content-Type: application/xml; charset=utf-8;\r\n";
    default:
      return nullptr;
  }
}

constexpr const char* kSecurityHeaders =
    "Cache-Control: no-cache,no-store,must-revalidate,max-age=0\r\n"
    "Content-Security-Policy: frame-ancestors *;\r\n"
    "X-Content-Type-Options:nosniff\r\n"
    "Strict-Transport-Security: max-age=63072000; includeSubdomains; preload\r\n";

}  // namespace

int SendReponseInfo(mg_connection* conn, int status, int type, const char* body, int bodyLen) {
  if (bodyLen < 0) return -1;
  const char* const typed = body != nullptr ? TypedHeaders(type) : nullptr;
  char head[kHeadSize];
  sdkapi::TextWriter text(head);
  text.Add("HTTP/1.1 ").AddNumber(status).Add(" ").Add(CT_status_code_to_str(status));
  text.Add("\r\nDate: ").Add(sdkapi::CurrentHttpDate().text).Add("\r\n");
  if (typed != nullptr) text.Add(typed).Add(kSecurityHeaders);
  text.Add("Content-Length: ").AddNumber(body != nullptr ? bodyLen : 0).Add("\r\nConnection: close\r\n");
  text.Add(sdkapi::CrossOriginHeader(conn).text()).Add("\r\n");
  const std::size_t length = text.Finish();
  mg_disable_connection_keep_alive(conn);
  const bool hasBody = body != nullptr && bodyLen > 0;
  sdkapi::SendPieces(conn, head, length, hasBody ? body : "", hasBody ? std::strlen(body) : 0);
  return 0;
}
