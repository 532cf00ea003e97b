// Fuzzes the extension interface: two threads call it in any order, while a request, an upload and a
// WebSocket come over loopback sockets.
#include <string>
#include <string_view>
#include <thread>

#include "support/extension_calls.h"
#include "support/fuzz_host.h"
#include "support/loopback.h"

namespace {

std::string Handshake() {
  return std::string(
             "GET /ws HTTP/1.1\r\nUpgrade: websocket\r\nConnection: Upgrade\r\nSec-WebSocket-Version: 13\r\n"
             "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\nSec-WebSocket-Protocol: ") +
         fuzz::kToken + "\r\n\r\n";
}

// Of the input two bytes for the head, then the payload.
std::string Frames(fuzz::Input input) {
  std::string frames;
  while (!input.empty()) {
    const char first = static_cast<char>(input.Byte() & 0x8F);
    const std::string_view payload = input.Take(input.Byte() % 126U);
    frames += first;
    frames += static_cast<char>(0x80 | payload.size());
    frames.append(4, '\0').append(payload);
  }
  return frames;
}

std::string Upload(std::string_view content) {
  const std::string body =
      "--B\r\nContent-Disposition: form-data; name=\"f\"; filename=\"f\"\r\n\r\n" + std::string(content);
  return std::string("POST /upload/logo HTTP/1.1\r\nAuthorization: Bearer ") + fuzz::kToken +
         "\r\nContent-Type: multipart/form-data; boundary=B\r\nContent-Length: " +
         std::to_string(body.size() + 9) + "\r\n\r\n" + body;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  fuzz::StartUploadsAfterFinalCalls();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::Input input(fuzz::View(data, size));
  const uint8_t choice = input.Byte();
  fuzz::Server();
  fuzz::SetCheckingExtensions();
  fuzz::Authenticate((choice & 1) != 0);
  fuzz::CallExtensions(fuzz::Input(input.Text()));  // what is set before a connection comes
  const fuzz::Input first(input.Text());
  const fuzz::Input second(input.Text());
  const fuzz::Input frames(input.Text());
  const int socket = fuzz::Connect();
  const int upload = fuzz::Connect();
  const int request = fuzz::Connect();
  fuzz::Send(socket, Handshake());
  fuzz::Send(upload, Upload(input.Text()));

  std::thread caller([first] { fuzz::CallExtensions(first); });
  std::thread other([second] { fuzz::CallExtensions(second); });
  fuzz::Send(socket, Frames(frames));
  // A client that vanishes within its form, or ends it.
  if ((choice & 2) != 0) fuzz::Send(upload, "\r\n--B--\r\n");
  fuzz::Send(request, input.Take(input.size()));
  for (const int fd : {socket, upload, request}) fuzz::Finish(fd);
  caller.join();
  other.join();
  return 0;
}
