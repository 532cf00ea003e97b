// What a program is asked for: its command line, and a configuration file below it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "sdkapi/kit_runner.h"

namespace sdkkit {

struct Settings {
  int httpPort = 0;
  int httpsPort = 0;
  std::string dataFolder;
  std::string documentRoot;
  bool noAuth = false;
  int logLevel = 4;
};

// Nothing when the program is to end; exitCode then says how, and the reason was printed.
std::optional<Settings> ReadSettings(int argc, const char* const* argv, const SdkKitProgram& program,
                                     const std::vector<SdkKitOption>& options, int& exitCode);

}  // namespace sdkkit
