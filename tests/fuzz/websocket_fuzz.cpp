// Fuzzes a WebSocket connection: frames after a good handshake, or the handshake itself.
#include <string>

#include "support/fuzz_host.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) return 0;
  fuzz::Authenticate((data[0] & 1) != 0);
  fuzz::SetResult((data[0] & 2) != 0 ? 1 : 0);
  const std::string_view bytes = fuzz::View(data + 1, size - 1);
  std::string request = "GET /ws HTTP/1.1\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n";
  if ((data[0] & 4) == 0) {
    request +=
        "Sec-WebSocket-Version: 13\r\nSec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n"
        "Sec-WebSocket-Protocol: fuzz-token\r\n\r\n";
  }
  request += bytes;
  fuzz::Serve(request);
  // The connection is gone: nobody is left to send to.
  WebSocketSendDataALL("late", 4);
  return 0;
}
