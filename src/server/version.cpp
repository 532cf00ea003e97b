// The software version, read from the build configuration file.
#include "server/version.h"

#include <cstdio>

#include "base/owned.h"
#include "sdkapi/server.h"
#include "sdkapi/values.h"
#include "server/log.h"

namespace sdkapi {
namespace {

constexpr LogSource kLog{"sdkapimain"};

char s_version[16];

}  // namespace

int LoadConfig(const char* path, void* buf) {
  if (path == nullptr || buf == nullptr) return -1;
  const FilePtr file(std::fopen(path, "r"));
  if (file == nullptr) {
    kLog.error()("fopen:");
    return -1;
  }
  return static_cast<int>(std::fread(buf, 1, kConfigFileSize - 1, file.get()));
}

}  // namespace sdkapi

const char* SdkAPiSer_Version_Get(void) {
  using namespace sdkapi;
  char text[kConfigFileSize] = {};
  if (LoadConfig("./build.config", text) < 1) return s_version;

  const JsonPtr config(cJSON_Parse(text));
  cJSON_GetObjectItemValueString(config.get(), "SoftwareVersion", s_version, sizeof s_version);
  kLog.info()("sdk api ser version %s", s_version);
  return s_version;
}
