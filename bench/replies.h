// What every server of the comparison sends, byte for byte, and the sizes of its files and pictures.
#pragma once

#include <cstddef>

namespace bench {

inline constexpr char kDeviceBody[] = R"({"model":"BENCH","security":"tls1.2","timeout":"300"})";
inline constexpr char kToken[] = "bench-token";
inline constexpr char kLoginBody[] = R"({"token":"","firstlogin":0,"code":0})";
inline constexpr std::size_t kPictureSize = 100 * 1024;
inline constexpr char kEventText[] =
    R"({"type":"status","uptime":123456,"temperature":41.5,"clients":10,"online":8})";

inline constexpr char kReplyHead[] =
    "HTTP/1.1 200 OK\r\n"
    "Date: %s\r\n"
    "Cache-Control: no-cache,no-store,must-revalidate,max-age=0\r\n"
    "Content-Security-Policy: frame-ancestors *;\r\n"
    "X-Content-Type-Options:nosniff\r\n"
    "Strict-Transport-Security: max-age=63072000; includeSubdomains; preload\r\n"
    "Content-Type: application/json; charset=utf-8;\r\n"
    "Content-Length: %d\r\n"
    "Connection: close\r\n"
    "\r\n%s";

}  // namespace bench
