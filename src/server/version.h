// Reading whole small files.
#pragma once

namespace sdkapi {

// Size of the buffer that LoadConfig fills; the last byte stays NUL.
constexpr int kConfigFileSize = 5120;

// Reads a file into buf, at most kConfigFileSize - 1 bytes. Returns the number of bytes, or -1.
int LoadConfig(const char* path, void* buf);

}  // namespace sdkapi
