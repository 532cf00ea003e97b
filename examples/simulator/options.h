// The command line.
#pragma once

#include <optional>
#include <string>

namespace sim {

struct Options {
  int httpPort = 8080;
  int httpsPort = 8443;
  std::string dataDir = "./sdkapi-data";
  std::string www;
  bool noAuth = false;
  int logLevel = 4;
  std::string firmwareKey;  // empty: the development key
};

// Nothing when the program is to end; exitCode then says how.
std::optional<Options> ParseOptions(int argc, char** argv, int& exitCode);

}  // namespace sim
