// The command line.
#include "options.h"

#include <CLI/CLI.hpp>
#include <filesystem>

namespace sim {
namespace {

// The console beside the program when it is installed, else where it was built from.
std::string DefaultWww() {
  return std::filesystem::exists(SIM_INSTALLED_WWW) ? SIM_INSTALLED_WWW : SIM_BUILT_WWW;
}

}  // namespace

std::optional<Options> ParseOptions(int argc, char** argv, int& exitCode) {
  Options options;
  options.www = DefaultWww();
  CLI::App app("A simulated audio/video device with the device API.");
  app.set_version_flag("--version", SIM_VERSION);
  app.add_option("--http-port", options.httpPort, "plain HTTP; 0 switches it off")
      ->check(CLI::Range(0, 65535))
      ->capture_default_str();
  app.add_option("--https-port", options.httpsPort, "HTTPS; 0 switches it off")
      ->check(CLI::Range(0, 65535))
      ->capture_default_str();
  app.add_option("--data-dir", options.dataDir, "database, keys, files and logs")->capture_default_str();
  app.add_option("--www", options.www, "folder of the web console")->check(CLI::ExistingDirectory);
  app.add_flag("--no-auth", options.noAuth, "start without the token check");
  app.add_option("--log-level", options.logLevel, "lines copied to the console: 1 all, 4 errors")
      ->check(CLI::IsMember({1, 4}))
      ->capture_default_str();
  app.add_option("--firmware-key", options.firmwareKey, "public key of the firmware that is taken")
      ->check(CLI::ExistingFile);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    exitCode = app.exit(error);
    return std::nullopt;
  }
  options.dataDir = std::filesystem::absolute(options.dataDir);
  options.www = std::filesystem::absolute(options.www);
  if (!options.firmwareKey.empty()) options.firmwareKey = std::filesystem::absolute(options.firmwareKey);
  return options;
}

}  // namespace sim
