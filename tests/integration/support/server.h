// The library's server in this process, on free ports, with HTTP and HTTPS at once.
#pragma once

#include <string>

#include "sdkapi/sdkapi.h"

namespace integration {

struct ServerSetup {
  std::string webSocketUrl;                // empty: the default endpoint
  bool emptyTable = false;                 // start with a table without any function
  const SdkAPISerHandle* table = nullptr;  // start with this one instead of the test host's

  bool operator==(const ServerSetup&) const = default;
};

class Server {
 public:
  static Server& Get();

  // Runs with this set-up afterwards; restarts only when it has to.
  void Ensure(const ServerSetup& setup = {});
  void Stop();

  int port(bool https) const { return https ? httpsPort_ : httpPort_; }
  bool running() const { return running_; }

  // PEM file of certificate and encrypted key, and the pass phrase that opens it.
  static const std::string& CertificateFile();
  static const char* PassPhrase() { return "open sesame 42"; }
  static const std::string& DocumentRoot();

 private:
  bool StartOnce(const ServerSetup& setup);

  bool running_ = false;
  ServerSetup setup_;
  int httpPort_ = 0;
  int httpsPort_ = 0;
};

// A port that nobody listens on at the moment.
int FreePort();

// How many file descriptors and threads this process has.
int OpenFiles();
int Threads();

}  // namespace integration
