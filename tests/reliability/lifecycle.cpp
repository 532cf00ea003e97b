// Start and stop many times with clients connected: nothing grows, stops are bounded, failures leave no
// trace.
#include <malloc.h>
#include <sys/socket.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <memory>
#include <vector>

#include "connection.h"
#include "device.h"
#include "server.h"
#include "test_host.h"

namespace {

using integration::Connection;

int failures = 0;

void Check(bool good, const char* what) {
  if (good) return;
  ++failures;
  std::printf("FAILED: %s\n", what);
}

// Resident memory in KiB.
long Memory() {
  std::ifstream status("/proc/self/status");
  std::string word;
  while (status >> word && word != "VmRSS:") continue;
  long size = 0;
  status >> size;
  return size;
}

// One of each kind of connection that a stop has to end.
std::vector<std::unique_ptr<Connection>> ConnectClients(const reliability::Ports& ports) {
  const std::string webSocket =
      "GET /ws HTTP/1.1\r\nHost: d\r\nUpgrade: websocket\r\nConnection: Upgrade\r\nSec-WebSocket-Version: "
      "13\r\n"
      "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\nSec-WebSocket-Protocol: any\r\n\r\n";
  const std::string upload =
      "POST /upload/logo HTTP/1.1\r\nHost: d\r\nContent-Type: multipart/form-data; "
      "boundary=BBBB\r\nContent-Length: "
      "100000\r\n\r\n--BBBB\r\nContent-Disposition: form-data; name=\"f\"; filename=\"f\"\r\n\r\n" +
      std::string(9000, 'u');
  std::vector<std::unique_ptr<Connection>> clients;
  for (const bool tls : {false, true}) {
    const int port = tls ? ports.https : ports.http;
    const auto open = [&](const std::string& request, const std::string& answer) {
      clients.push_back(std::make_unique<Connection>(port, tls));
      Check(clients.back()->Send(request), "a client sends");
      const auto came = [&](const std::string& got) { return got.find(answer) != std::string::npos; };
      if (!answer.empty()) Check(clients.back()->ReadUntil(came), "a client is answered");
    };
    open("GET /preview/TX01 HTTP/1.1\r\nHost: d\r\n\r\n", "image/jpeg");
    open(webSocket, "101 Switching");
    open("GET /index.html HTTP/1.1\r\nHost: d\r\n\r\n", "front page");
    open("GET /download/edid HTTP/1.1\r\nHost: d\r\n\r\n", "200 OK");
    open(upload, "");
    open("GET /half", "");
  }
  return clients;
}

void FailToStart(const char* what, const std::function<void()>& spoil) {
  const SdkAPISerHandle table = sdktest::TestHost::Table();
  spoil();
  SdkAPISer_Init();
  Check(SdkAPISer_Start(&table) == -1, what);
  SdkAPiSer_Cert_Set((reliability::Folder() + "/server.pem").c_str());
  SdkAPiSer_CertPassword_Set("open sesame");
  SdkAPISer_Port_Set(integration::FreePort(), integration::FreePort());
}

void FailInEveryWay() {
  const reliability::Ports ports = reliability::Start(false);
  SdkAPISer_Stop(nullptr);
  FailToStart("start with a wrong pass phrase", [] { SdkAPiSer_CertPassword_Set("wrong"); });
  FailToStart("start without a pass phrase", [] { SdkAPiSer_CertPassword_Set(""); });
  FailToStart("start with a missing certificate", [] { SdkAPiSer_Cert_Set("/nowhere.pem"); });
  FailToStart("start with a file that is no certificate",
              [] { SdkAPiSer_Cert_Set((reliability::Folder() + "/file.bin").c_str()); });
  FailToStart("start on an impossible port", [] { SdkAPISer_Port_Set(70000, 0); });
  (void)ports;
}

constexpr double kStopBound = 15;

struct Footprint {
  int files;
  int threads;
  long memory;  // resident KiB
  long inUse;   // KiB that the allocator has given out
};

// What the allocator merely keeps is not counted.
Footprint Measure() {
  malloc_trim(0);
  const struct mallinfo2 heap = mallinfo2();
  return {integration::OpenFiles(), integration::Threads(), Memory(),
          static_cast<long>((heap.uordblks + heap.hblkhd) / 1024)};
}

void Print(const char* when, const Footprint& footprint) {
  std::printf("%-24s files %d, threads %d, resident %ld KiB, in use %ld KiB\n", when, footprint.files,
              footprint.threads, footprint.memory, footprint.inUse);
}

// Returns the seconds that the stop took.
double Cycle(bool withFailures) {
  if (withFailures) FailInEveryWay();
  const reliability::Ports ports = reliability::Start(false);
  const auto clients = ConnectClients(ports);
  const auto begin = std::chrono::steady_clock::now();
  SdkAPISer_Stop(nullptr);
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

}  // namespace

int main(int argc, char** argv) {
  // One arena: with one per thread, what is left in each looks like growth for a hundred cycles.
  mallopt(M_ARENA_MAX, 1);
  const int cycles = argc > 1 ? std::atoi(argv[1]) : 12;
  reliability::PrepareFolder();
  const int warm = cycles / 4;
  Footprint before{};
  double longest = 0;
  for (int cycle = 0; cycle < cycles; ++cycle) {
    longest = std::max(longest, Cycle(cycle % 10 == 3));
    if (cycle == warm) before = Measure();
  }
  const Footprint after = Measure();
  std::printf("cycles %d, longest stop %.1f s\n", cycles, longest);
  Print("after the first quarter:", before);
  Print("at the end:", after);
  Check(after.files == before.files, "no file handle is left over");
  Check(after.threads == before.threads, "no thread is left over");
  // The bound that host developers are told; it holds for a client that does not read as well.
  Check(longest <= kStopBound, "stop returns within its bound");
  // Sanitizers keep freed memory.
  if (!integration::kInstrumented) {
    Check(after.memory <= before.memory + 4096, "memory does not grow");
    Check(after.inUse <= before.inUse + 256, "nothing stays allocated");
  }
  return failures == 0 ? 0 : 1;
}
