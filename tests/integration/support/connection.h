// A raw client connection, plain or TLS, that sends and reads literal bytes under a deadline.
#pragma once

#include <openssl/ssl.h>

#include <functional>
#include <string>

#include "shared.h"

namespace integration {

class Connection {
 public:
  // How reading came to its end.
  enum class End { kOpen, kEof, kReset, kTimeout };

  // A receive buffer other than the system's makes a slow reader felt at once. Every address of 127.0.0.0/8
  // is this machine's, and can be the client's.
  Connection(int port, bool tls, int receiveBuffer = 0, const char* from = "127.0.0.1");
  ~Connection();
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  bool connected() const { return connected_; }
  End end() const { return end_; }
  const std::string& received() const { return received_; }

  // Sends everything; false when the peer went away or the deadline passed.
  bool Send(const std::string& bytes);
  // Reads until the peer closes; everything that was received so far.
  const std::string& ReadToEnd();
  // Reads until the received bytes satisfy the condition; false at end of stream or deadline.
  bool ReadUntil(const std::function<bool(const std::string&)>& condition);
  bool ReadUntilSize(std::size_t size);
  // Forgets what was received; its size.
  std::size_t DropReceived();
  // True when nothing arrives and the connection stays open for the given time.
  bool StaysOpen(std::chrono::milliseconds time);

  // For clients that count single bytes of what TLS makes of theirs: the bytes that would go on the wire, and
  // bytes of the wire itself. SendRaw gives false when the peer went away; TakeRaw what came, or nothing.
  std::string OnTheWire(const std::string& bytes);
  bool SendRaw(const std::string& bytes);
  std::string TakeRaw(std::size_t most);

  // Ends our side; the server can still answer.
  void FinishSending();
  void Close();
  // Closes so that the peer sees a reset.
  void Abort();

 private:
  bool WaitFor(short events, Clock::time_point deadline);
  bool Handshake();
  // One read; false when nothing more can come (end() tells why).
  bool ReadSome(Clock::time_point deadline);
  bool Retry(int result, Clock::time_point deadline, End onTimeout);

  int fd_ = -1;
  SSL* ssl_ = nullptr;
  bool connected_ = false;
  End end_ = End::kOpen;
  std::string received_;
};

}  // namespace integration
