// The device's log: log/device.log with every line, log/errors.log with those that have to last, standard
// error.
#pragma once

#include <string_view>

#include "sdkapi/kit_log.h"

namespace sdkkit {

// Opens the files below the working directory and takes the lines of the library, the kit and the web server.
// Throws when a file cannot be opened. The function gets what errors.log gets; NULL: nobody.
void StartDeviceLog(bool everythingToTheConsole, SdkKitLogHook logged);

// Opens the files anew by their names.
void ReopenDeviceLog();

// Writes one line; statement tells which part of the program speaks, for the quota of errors.log.
void WriteLine(int level, std::string_view subject, const void* statement, std::string_view text);

}  // namespace sdkkit
