// Fuzzes the handler of received frames: any first byte, any payload, any token.
#include <string>
#include <vector>

#include "support/fuzz_host.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) return 0;
  constexpr char kHead[] = "GET /ws HTTP/1.1\r\nSec-WebSocket-Protocol: fuzz-token\r\n\r\n";
  fuzz::SetResult((data[0] & 1) != 0 ? 1 : 0);
  mg_connection* const conn = FuzzRequest(fuzz::Server(), kHead, sizeof kHead - 1);
  std::vector<char> payload(data + 2, data + size);
  const int result = WebsocketDataHandler(conn, data[1], payload.data(), payload.size(), nullptr);
  const bool refused = (data[1] & 15) == 1 && (data[0] & 1) != 0;
  FUZZ_CHECK(result == (refused ? 0 : 1));
  return 0;
}
