// What the web server writes to its error log, handed to the host.
#include <civetweb.h>

#include <atomic>
#include <cctype>
#include <cstddef>

#include "base/text.h"
#include "http/request_scope.h"
#include "sdkapi/extension.h"
#include "server/lifecycle.h"
#include "server/start_failure.h"

namespace sdkapi {
namespace {

constexpr std::size_t kMessageSize = 1024;
constexpr std::size_t kWordSize = 256;

std::atomic<SdkAPIExtServerLogHook> g_hook{nullptr};

// Clients choose parts of these texts: no line end of theirs begins a line that nobody wrote.
template <std::size_t kSize>
void CopyPrintable(char (&dst)[kSize], const char* text) {
  CopyText(dst, text != nullptr ? text : "");
  for (char& character : dst) {
    if (character != '\0' && std::iscntrl(static_cast<unsigned char>(character)) != 0) character = '?';
  }
}

void Deliver(SdkAPIExtServerLogHook hook, const mg_connection* conn, const char* message) {
  char text[kMessageSize];
  char method[kWordSize] = {};
  char path[kWordSize] = {};
  CopyPrintable(text, message);
  const mg_request_info* const info = conn != nullptr ? mg_get_request_info(conn) : nullptr;
  // Outside of a request the connection still has the words of the one before it.
  if (info != nullptr && conn == CurrentRequest()) {
    CopyPrintable(method, info->request_method);
    CopyPrintable(path, SentPath(conn));
  }
  const SdkAPIExtServerMessage record{sizeof record, 0,   text, info != nullptr ? info->remote_addr : "",
                                      method,        path};
  hook(&record);
}

}  // namespace

// 0: the line goes to the web server's own file as well.
int log_message(const mg_connection* conn, const char* message) {
  if (message == nullptr) return 0;
  NoteStartMessage(message);
  const SdkAPIExtServerLogHook hook = g_hook.load(std::memory_order_acquire);
  if (hook != nullptr) Deliver(hook, conn, message);
  return 0;
}

}  // namespace sdkapi

int SdkAPIExt_ServerLog_Set(SdkAPIExtServerLogHook hook) {
  sdkapi::g_hook.store(hook, std::memory_order_release);
  return 0;
}
