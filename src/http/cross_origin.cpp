// The header that lets pages of another origin read a reply, where the host allows one.
#include "http/cross_origin.h"

#include <civetweb.h>

#include <atomic>
#include <cstring>

#include "base/text_writer.h"

namespace sdkapi {
namespace {

constexpr std::string_view kName = "Access-Control-Allow-Origin: ";
constexpr std::string_view kEnd = "\r\n";

std::atomic<const char*> g_origin{nullptr};

}  // namespace

void AllowOrigin(const char* origin) {
  g_origin.store(origin != nullptr && origin[0] != '\0' ? origin : nullptr, std::memory_order_release);
}

CrossOriginHeader::CrossOriginHeader(const mg_connection* conn) {
  const char* const origin = g_origin.load(std::memory_order_acquire);
  if (origin == nullptr || mg_get_header(conn, "Origin") == nullptr) return;
  // What does not fit is left out: half an origin would be another one.
  if (kName.size() + std::strlen(origin) + kEnd.size() >= kRoom) return;
  length_ = TextWriter(text_).Add(kName).Add(origin).Add(kEnd).Finish();
}

}  // namespace sdkapi
