// The library's server in this process, on free ports, with HTTP and HTTPS at once.
#include "server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <random>
#include <set>
#include <stdexcept>

#include "certificate.h"
#include "neutral_extensions.h"
#include "shared.h"
#include "workspace.h"

namespace integration {
namespace {

int EntriesOf(const char* folder) {
  int count = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(folder)) ++count;
  return count;
}

}  // namespace

// Below the ports that the system gives to clients: nobody's outgoing connection takes it before the server
// does. Those from 21000 on belong to the tests in Python.
int FreePort() {
  static std::mt19937 random{std::random_device{}()};
  static std::set<uint16_t> given;  // a server may ask for several before it listens
  std::uniform_int_distribution<uint16_t> ports(10000, 20999);
  for (int attempt = 0; attempt < 1000; ++attempt) {
    const uint16_t port = ports(random);
    if (!given.insert(port).second) continue;
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_ANY);
    address.sin_port = htons(port);
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool bound = bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    close(fd);
    if (bound) return port;
  }
  throw std::runtime_error("no free port");
}

int OpenFiles() { return EntriesOf("/proc/self/fd"); }

int Threads() { return EntriesOf("/proc/self/task"); }

Server& Server::Get() {
  static Server server;
  return server;
}

const std::string& Server::CertificateFile() {
  static const std::string path = [] {
    const Certificate made = MakeCertificate(PassPhrase());
    return Workspace::Get().WriteFile("server.pem", made.certificate + made.key);
  }();
  return path;
}

const std::string& Server::DocumentRoot() {
  static const std::string path = [] {
    Workspace::Get().WriteFile("www/index.html", "front page");
    return Workspace::Get().Path("www");
  }();
  return path;
}

bool Server::StartOnce(const ServerSetup& setup) {
  // The neutral run: every extension called, and nothing may differ.
  if (std::getenv("SDKAPI_NEUTRAL_EXTENSIONS") != nullptr) sdktest::SetNeutralExtensions();
  httpPort_ = FreePort();
  httpsPort_ = FreePort();
  SdkAPISer_Port_Set(httpPort_, httpsPort_);
  SdkAPiSer_Cert_Set(CertificateFile().c_str());
  SdkAPiSer_CertPassword_Set(PassPhrase());
  SdkAPiSer_DocumentRoot_Set(DocumentRoot().c_str());
  SdkAPISer_WebsocketUrl_Set(setup.webSocketUrl.c_str());
  SdkAPISer_Init();
  const SdkAPISerHandle usual = setup.emptyTable ? SdkAPISerHandle{} : TestHost::Table();
  return SdkAPISer_Start(setup.table != nullptr ? setup.table : &usual) == 0;
}

void Server::Ensure(const ServerSetup& setup) {
  if (running_ && setup == setup_) return;
  Stop();
  LogCapture::Install();
  // Somebody else may take a port between finding it and listening on it.
  for (int attempt = 0; attempt < 10 && !running_; ++attempt) running_ = StartOnce(setup);
  if (!running_) throw std::runtime_error("the server does not start");
  setup_ = setup;
}

void Server::Stop() {
  if (!running_) return;
  SdkAPISer_Stop(nullptr);
  running_ = false;
}

}  // namespace integration
