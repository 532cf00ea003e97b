// A WebSocket client made of literal bytes: handshake text, single frames.
#include "raw_websocket.h"

#include "server.h"

namespace integration {
namespace {

// The length of the frame that starts here; 0 when its head is not complete.
struct FrameHead {
  std::size_t head = 0;
  std::size_t payload = 0;
};

FrameHead HeadOf(const std::string& bytes, std::size_t at) {
  if (bytes.size() < at + 2) return {};
  const auto byte = [&](std::size_t i) {
    return static_cast<std::size_t>(static_cast<unsigned char>(bytes[at + i]));
  };
  const std::size_t small = byte(1) & 0x7f;
  const std::size_t extra = small == 126 ? 2 : small == 127 ? 8 : 0;
  if (bytes.size() < at + 2 + extra) return {};
  std::size_t length = extra == 0 ? small : 0;
  for (std::size_t i = 0; i < extra; ++i) length = length << 8 | byte(2 + i);
  return {2 + extra, length};
}

}  // namespace

RawWebSocket::RawWebSocket(const Mode& mode) : connection_(Server::Get().port(mode.https), mode.https) {}

std::string RawWebSocket::Request(const std::string& target, const std::string& protocol,
                                  const std::string& key) {
  return "GET " + target +
         " HTTP/1.1\r\nHost: 127.0.0.1\r\nUpgrade: websocket\r\nConnection: "
         "Upgrade\r\nSec-WebSocket-Version: 13\r\n"
         "Sec-WebSocket-Key: " +
         key + "\r\n" + (protocol.empty() ? "" : "Sec-WebSocket-Protocol: " + protocol + "\r\n") + "\r\n";
}

std::string RawWebSocket::Accepted(const std::string& protocol) {
  return "HTTP/1.1 101 Switching Protocols\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
         "Sec-WebSocket-Accept: s3pPLMBiTxaQ9kYGzzhZRbK+xOo=\r\nSec-WebSocket-Protocol: " +
         protocol + "\r\n\r\n";
}

std::string RawWebSocket::Shake(const std::string& target, const std::string& protocol) {
  return ShakeWith(Request(target, protocol));
}

std::string RawWebSocket::ShakeWith(const std::string& request) {
  connection_.Send(request);
  connection_.ReadUntil([](const std::string& bytes) { return bytes.find("\r\n\r\n") != std::string::npos; });
  const std::size_t end = connection_.received().find("\r\n\r\n");
  used_ = end == std::string::npos ? connection_.received().size() : end + 4;
  return connection_.received().substr(0, used_);
}

bool RawWebSocket::Send(int opcode, const std::string& payload, bool final) {
  const std::string mask = "\x11\x22\x33\x44";
  std::string frame(1, static_cast<char>((final ? 0x80 : 0) | opcode));
  if (payload.size() < 126) {
    frame += static_cast<char>(0x80 | payload.size());
  } else if (payload.size() < 65536) {
    frame += static_cast<char>(0x80 | 126);
    frame += static_cast<char>(payload.size() >> 8);
    frame += static_cast<char>(payload.size() & 0xff);
  } else {
    frame += static_cast<char>(0x80 | 127);
    for (int shift = 56; shift >= 0; shift -= 8) frame += static_cast<char>(payload.size() >> shift & 0xff);
  }
  frame += mask;
  for (std::size_t i = 0; i < payload.size(); ++i) frame += static_cast<char>(payload[i] ^ mask[i % 4]);
  return connection_.Send(frame);
}

std::optional<Frame> RawWebSocket::Read() {
  const bool complete = connection_.ReadUntil([this](const std::string& bytes) {
    const FrameHead head = HeadOf(bytes, used_);
    return head.head != 0 && bytes.size() >= used_ + head.head + head.payload;
  });
  if (!complete) return std::nullopt;
  const std::string& bytes = connection_.received();
  const FrameHead head = HeadOf(bytes, used_);
  const int first = static_cast<unsigned char>(bytes[used_]);
  const Frame frame{(first & 0x80) != 0, first & 0x7f, bytes.substr(used_ + head.head, head.payload)};
  used_ += head.head + head.payload;
  return frame;
}

bool RawWebSocket::ReadEnd() {
  connection_.ReadToEnd();
  return connection_.end() != Connection::End::kTimeout && connection_.received().size() == used_;
}

}  // namespace integration
