// How the console's files are sent: asked for again each time, and shown in no other page.
#include "slots/console_files.h"

#include <stdexcept>

#include "sdkapi/extension.h"

namespace sim {
namespace {

// A browser asks whether its copy still holds, so that it sees a new console with the next load.
constexpr const char* kCacheControl = "no-cache";

// In place of the library's own, which lets every page show these. What a page may load it says itself:
// another document root has other needs.
constexpr const char* kHeaders =
    "Content-Security-Policy: frame-ancestors 'none'\r\n"
    "X-Frame-Options: DENY\r\n"
    "X-Content-Type-Options: nosniff\r\n"
    "Referrer-Policy: no-referrer\r\n"
    "Strict-Transport-Security: max-age=63072000; includeSubdomains; preload";

}  // namespace

void SetConsoleHeaders() {
  if (SdkAPIExt_Option_Set("static_file_cache_control", kCacheControl) != 0 ||
      SdkAPIExt_Option_Set("additional_header", kHeaders) != 0)
    throw std::runtime_error("the console's headers cannot be set");
}

}  // namespace sim
