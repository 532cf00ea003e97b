// The exact text of the library's JSON replies.
#pragma once

#include <string>
#include <string_view>

namespace sdktest {

inline std::string StatusLine(int status) {
  switch (status) {
    case 200:
      return "HTTP/1.1 200 OK\r\n";
    case 401:
      return "HTTP/1.1 401 Unauthorized\r\n";
    case 406:
      return "HTTP/1.1 406 Not Acceptable\r\n";
    case 413:
      return "HTTP/1.1 413 Payload Too Large\r\n";
    case 500:
      return "HTTP/1.1 500 Internal Server Error\r\n";
    case 503:
      return "HTTP/1.1 503 Service Unavailable\r\n";
    default:
      return "unknown status";
  }
}

inline std::string JsonReply(int status, std::string_view body = "",
                             std::string_view date = "Sun, 06 Nov 1994 08:49:37 GMT") {
  std::string text = StatusLine(status);
  text += "Date: " + std::string(date) + "\r\n";
  text += "Cache-Control: no-cache,no-store,must-revalidate,max-age=0\r\n";
  text += "Content-Security-Policy: frame-ancestors *;\r\n";
  text += "X-Content-Type-Options:nosniff\r\n";
  text += "Strict-Transport-Security: max-age=63072000; includeSubdomains; preload\r\n";
  text += "Content-Type: application/json; charset=utf-8;\r\n";
  text += "Content-Length: " + std::to_string(body.size()) + "\r\n";
  text += "Connection: close\r\n\r\n";
  text += body;
  return text;
}

}  // namespace sdktest
