// A WebSocket client made of literal bytes: handshake text, single frames.
#pragma once

#include <optional>
#include <string>

#include "client.h"

namespace integration {

struct Frame {
  bool final;
  int opcode;
  std::string payload;

  bool operator==(const Frame&) const = default;
};

class RawWebSocket {
 public:
  explicit RawWebSocket(const Mode& mode);

  // The request of a handshake; an empty protocol leaves its header out.
  static std::string Request(const std::string& target, const std::string& protocol,
                             const std::string& key = "dGhlIHNhbXBsZSBub25jZQ==");
  // The answer that accepts it, for the default key.
  static std::string Accepted(const std::string& protocol);

  // Sends the request and reads the answer's head, or everything when there is none.
  std::string Shake(const std::string& target, const std::string& protocol);
  std::string ShakeWith(const std::string& request);
  // Frames begin behind everything received so far: for a handshake that the test made itself.
  void SkipReceived() { used_ = connection_.received().size(); }
  bool Open(const std::string& protocol) { return Shake("/websocket", protocol) == Accepted(protocol); }

  bool Send(int opcode, const std::string& payload, bool final = true);
  bool SendText(const std::string& text) { return Send(1, text); }
  // The next frame; nothing at the end of the stream.
  std::optional<Frame> Read();
  // True when the server closed and sent nothing more.
  bool ReadEnd();

  Connection& connection() { return connection_; }

 private:
  Connection connection_;
  std::size_t used_ = 0;  // received bytes that were handed out
};

}  // namespace integration
