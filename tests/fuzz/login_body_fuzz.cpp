// Fuzzes the JSON bodies of login and user administration.
#include <string>

#include "support/fuzz_host.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) return 0;
  constexpr const char* kRoutes[] = {
      "/api/v1/auth/login", "/change/password", "/change/usrorpasswd", "/createuser", "/deleteuser",
      "/iplogin",           "/logout",          "/custom/request"};
  constexpr int kResults[] = {0, -2, -1, 1, 2, 3};
  fuzz::Authenticate((data[0] & 0x40) != 0);
  fuzz::SetResult(kResults[data[1] % 6]);
  const std::string body(fuzz::View(data + 2, size - 2));
  const std::string request = std::string("POST ") + kRoutes[data[0] & 7] +
                              " HTTP/1.1\r\nAuthorization: Bearer " + fuzz::kToken +
                              "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
  const std::string_view reply = fuzz::Serve(request);
  FUZZ_CHECK(reply.empty() || reply.starts_with("HTTP/1.1 "));
  return 0;
}
