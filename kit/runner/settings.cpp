// What a program is asked for: its command line, and a configuration file below it.
#include "runner/settings.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <stdexcept>

namespace sdkkit {
namespace {

std::string TextOr(const char* text, const char* otherwise) { return text == nullptr ? otherwise : text; }

bool IsComplete(const SdkKitOption& option) {
  if (option.name == nullptr || option.help == nullptr) return false;
  if (option.kind == kKitOptionText || option.kind == kKitOptionPath)
    return option.text != nullptr && option.room > 0;
  return (option.kind == kKitOptionFlag || option.kind == kKitOptionNumber) && option.number != nullptr;
}

void AddNumber(CLI::App& app, const SdkKitOption& option) {
  CLI::Option* const added =
      app.add_option("--" + std::string(option.name), *option.number, option.help)->capture_default_str();
  if (option.least != 0 || option.most != 0) added->check(CLI::Range(option.least, option.most));
}

CLI::Option* AddText(CLI::App& app, const SdkKitOption& option) {
  const auto take = [option](const std::string& given) {
    const std::string text =
        option.kind == kKitOptionPath ? std::filesystem::absolute(given).string() : given;
    if (text.size() >= option.room) throw CLI::ValidationError(option.name, "is too long");
    *std::copy(text.begin(), text.end(), option.text) = '\0';
  };
  return app.add_option_function<std::string>("--" + std::string(option.name), take, option.help)
      ->default_str(option.text);
}

void AddPath(CLI::App& app, const SdkKitOption& option) { AddText(app, option)->check(CLI::ExistingFile); }

void AddFlag(CLI::App& app, const SdkKitOption& option) {
  app.add_flag("--" + std::string(option.name), *option.number, option.help);
}

void Add(CLI::App& app, const SdkKitOption& option) {
  if (!IsComplete(option)) throw std::invalid_argument("an option of the program is not in order");
  if (option.kind == kKitOptionFlag) AddFlag(app, option);
  if (option.kind == kKitOptionNumber) AddNumber(app, option);
  if (option.kind == kKitOptionText) AddText(app, option);
  if (option.kind == kKitOptionPath) AddPath(app, option);
}

void AddCommon(CLI::App& app, const SdkKitProgram& program, Settings& settings) {
  app.set_version_flag("--version", program.version);
  app.set_config("--config", TextOr(program.configFile, ""),
                 "file with these options, one `name = value` a line");
  app.allow_config_extras(CLI::config_extras_mode::error);
  app.add_option("--http-port", settings.httpPort, "plain HTTP; 0 switches it off")
      ->check(CLI::Range(0, 65535))
      ->capture_default_str();
  app.add_option("--https-port", settings.httpsPort, "HTTPS; 0 switches it off")
      ->check(CLI::Range(0, 65535))
      ->capture_default_str();
  app.add_option("--data-dir", settings.dataFolder, "database, keys, files and logs")->capture_default_str();
  app.add_option("--www", settings.documentRoot, "document root")->check(CLI::ExistingDirectory);
  app.add_flag("--no-auth", settings.noAuth, "start without the token check");
  app.add_option("--log-level", settings.logLevel,
                 "lines copied to standard error: 1 all, 4 those that matter")
      ->check(CLI::IsMember({1, 4}))
      ->capture_default_str();
}

void MakeAbsolute(std::string& path) {
  if (!path.empty()) path = std::filesystem::absolute(path);
}

}  // namespace

std::optional<Settings> ReadSettings(int argc, const char* const* argv, const SdkKitProgram& program,
                                     const std::vector<SdkKitOption>& options, int& exitCode) {
  Settings settings{.httpPort = program.httpPort,
                    .httpsPort = program.httpsPort,
                    .dataFolder = TextOr(program.dataFolder, "./data"),
                    .documentRoot = TextOr(program.documentRoot, "")};
  CLI::App app(TextOr(program.description, ""), program.name);
  try {
    AddCommon(app, program, settings);
    for (const SdkKitOption& option : options) Add(app, option);
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    exitCode = app.exit(error) == 0 ? kKitExitDone : kKitExitUsage;
    return std::nullopt;
  }
  MakeAbsolute(settings.dataFolder);
  MakeAbsolute(settings.documentRoot);
  return settings;
}

}  // namespace sdkkit
