// The small host as a process of its own, for drivers that attack it from outside.
#include <cstdio>
#include <cstring>

#include "device.h"
#include "test_host.h"

// Options: "auth" switches authentication on. Runs until standard input ends.
int main(int argc, char** argv) {
  reliability::PrepareFolder();
  const reliability::Ports ports = reliability::Start(argc > 1 && std::strcmp(argv[1], "auth") == 0);
  SdkAPISer_Custom_Upload_Api_Add("/own/upload$", sdktest::TestHost::CustomUpload);
  std::printf("ready %d %d\n", ports.http, ports.https);
  std::fflush(stdout);
  while (std::getchar() != EOF) continue;
  SdkAPISer_Stop(nullptr);
  return 0;
}
