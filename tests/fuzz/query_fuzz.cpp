// Fuzzes query parameters of every destination size.
#include <cstring>
#include <string>
#include <vector>

#include "support/fuzz_host.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) return 0;
  const std::string head = "GET /x?" + std::string(fuzz::View(data + 1, size - 1)) + " HTTP/1.1\r\n\r\n";
  mg_connection* const conn = FuzzRequest(fuzz::Server(), head.data(), head.size());
  if (conn == nullptr) return 0;
  for (const char* const name : {"file", "hostname", "method", ""}) {
    // On the heap, so that one byte too many is seen.
    std::vector<char> value(data[0] + std::size_t{1}, '#');
    const int length = GetHttpUrlParam(conn, name, value.data(), value.size());
    FUZZ_CHECK(length >= -2 && length < static_cast<int>(value.size()));
    if (length >= 0) FUZZ_CHECK(value[static_cast<std::size_t>(length)] == '\0');
    FUZZ_CHECK(SdkAPISer_Get_Url_Param(conn, name, value.data(), value.size()) == length);
  }
  return 0;
}
