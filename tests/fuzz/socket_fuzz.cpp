// Fuzzes the running server through a loopback socket: bytes in, everything read until the server closes.
#include "support/fuzz_host.h"
#include "support/loopback.h"

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  fuzz::StartUploadsAfterFinalCalls();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const int fd = fuzz::Connect();
  fuzz::Send(fd, fuzz::View(data, size));
  fuzz::Finish(fd);
  return 0;
}
