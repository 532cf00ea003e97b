// A small host for load and attack: every slot answers, tokens are made up, nothing is recorded.
#pragma once

#include <string>

#include "sdkapi/sdkapi.h"

namespace reliability {

// Makes certificate, document root and a download below a folder of its own, which is removed at exit.
void PrepareFolder();
const std::string& Folder();

struct Ports {
  int http = 0;
  int https = 0;
};

// Starts the server on free ports, tries others when one is taken meanwhile. Throws when it cannot start.
Ports Start(bool authentication);

// Echoes of received texts go to their sender.
constexpr int kPreviewBytes = 20000;
constexpr int kFileBytes = 100000;

}  // namespace reliability
