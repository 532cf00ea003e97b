// Fuzzes forms: every upload route through the web server's own parser of multipart and urlencoded forms.
#include <string>

#include "support/fuzz_host.h"

namespace {

constexpr const char* kRoutes[] = {"/upload/logo",        "/upload/scene",
                                   "/upload/sub/upgrade", "/upload/security",
                                   "/api/v1/fw_upload",   "/api/v1/security/ieee802_1x_setting",
                                   "/upload/sub/unknown", "/custom/upload"};
constexpr const char* kTypes[] = {
    "multipart/form-data; boundary=BBBB", "multipart/form-data; charset=utf-8; boundary=B",
    "multipart/form-data; boundary=\"BBBB\"", "application/x-www-form-urlencoded"};

std::string Chunked(const std::string& body) {
  char size[16];
  std::snprintf(size, sizeof size, "%zx\r\n", body.size());
  return size + body + "\r\n0\r\n\r\n";
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 3) return 0;
  constexpr int kResults[] = {0, 0, 0, -2, -1, 5};
  fuzz::Authenticate(false);
  fuzz::SetResult(kResults[data[1] % 6]);
  const std::string body(fuzz::View(data + 2, size - 2));
  const bool chunked = (data[0] & 0x20) != 0;
  const bool query = (data[0] & 0x40) != 0;
  // The client goes away before it has sent all that it announced.
  const std::size_t missing = (data[0] & 0x80) != 0 ? 1 : 0;
  const std::string route = kRoutes[data[0] & 7];
  std::string request = "POST " + route + " HTTP/1.1\r\nContent-Type: " + kTypes[data[0] >> 3 & 3] + "\r\n";
  request += chunked ? "Transfer-Encoding: chunked\r\n\r\n" + Chunked(body)
                     : "Content-Length: " + std::to_string(body.size() + missing) + "\r\n\r\n" + body;
  if (query) request = "GET " + route + "?" + body + " HTTP/1.1\r\n\r\n";
  const std::string_view reply = fuzz::Serve(request);
  FUZZ_CHECK(reply.starts_with("HTTP/1.1 "));
  // Nothing is answered "done" without the final call, and no more than the body can reach the host.
  if (reply.starts_with("HTTP/1.1 200")) FUZZ_CHECK(fuzz::Collected().finals == 1);
  FUZZ_CHECK(fuzz::Collected().content.size() <= body.size());
  return 0;
}
