// Fuzzes request heads and what the accessors and the token reader make of them.
#include <cstring>
#include <string>
#include <vector>

#include "support/fuzz_host.h"

namespace {

void CheckToken(const mg_connection* conn) {
  const std::vector<char> zero(1025, '\0');
  std::vector<char> token = zero;
  FUZZ_CHECK(GetHttpToken(conn, token.data()) == 0);
  const char* const header = GetHttpHeadValue(conn, "Authorization");
  const std::string expected =
      header != nullptr && std::strlen(header) > 7 ? std::string(header + 7).substr(0, 1024) : "";
  FUZZ_CHECK(std::string(token.data()) == expected);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  mg_connection* const conn = FuzzRequest(fuzz::Server(), data, size);
  if (conn == nullptr) return 0;
  CheckToken(conn);
  FUZZ_CHECK(GetHttpRepMethod(conn) != nullptr && GetHttpUrl(conn) != nullptr);
  const int64_t length = GetHttpLen(conn);
  FUZZ_CHECK(length >= -1);
  char value[16];
  GetHttpUrlParam(conn, "a", value, sizeof value);
  std::vector<char> body(100);
  const int got = GetHttpBody(conn, body.data(), static_cast<int>(body.size()));
  FUZZ_CHECK(got >= -1 && got <= static_cast<int>(body.size()));
  const char* const host = SdkAPISer_Get_Head_Param(conn, "host");
  FUZZ_CHECK(host == GetHttpHeadValue(conn, "HOST"));
  return 0;
}
