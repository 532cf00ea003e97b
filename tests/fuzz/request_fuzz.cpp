// Fuzzes whole connections: any bytes, any number of requests, every route.
#include <string>

#include "support/fuzz_host.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 3) return 0;
  constexpr int kResults[] = {0, 0, -2, -1, 1, 5};
  fuzz::Authenticate((data[0] & 1) != 0);
  fuzz::SetResult(kResults[data[1] % 6]);
  const std::string_view reply = fuzz::Serve(fuzz::View(data + 2, size - 2));
  FUZZ_CHECK(reply.empty() || reply.starts_with("HTTP/") || reply.starts_with("Error "));
  return 0;
}
