// The device's log: a rotating file, the console, and error events.
#pragma once

namespace sim {

// Opens log/device.log. Lines below consoleLevel (1 or 4) go to the file only.
void StartLog(int consoleLevel);

// The library's log hook; callable from any thread.
void WriteLogLine(int level, const char* text);

// The kit's log hook; callable from any thread.
void WriteKitLine(int level, const char* subject, const char* text);

}  // namespace sim
