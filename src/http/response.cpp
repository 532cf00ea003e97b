// Replies with the fixed headers, and the bounded drain that lets a refused client read its answer.
#include "http/response.h"

#include <civetweb.h>

#include <cstdint>
#include <cstring>
#include <string_view>

#include "base/clock.h"
#include "base/text_writer.h"
#include "http/cross_origin.h"
#include "http/http_date.h"
#include "sdkapi/http.h"
#include "server/log.h"

// Our build of the web server has it: without it mg_read waits until the whole buffer is full, however long
// that takes.
// NOLINTNEXTLINE(readability-redundant-declaration): another build's header does not declare it.
extern "C" void mg_set_body_deadline(mg_connection* conn, int milliseconds) __attribute__((weak));

namespace sdkapi {
namespace {

constexpr LogSource kLog{"sdkapi"};

constexpr std::size_t kHeadSize = 768;       // the longest head has 380 characters and an origin of 319
constexpr std::size_t kOnePieceSize = 4096;  // heads with bodies up to this size leave in one write
constexpr int64_t kDrainBytes = int64_t{64} * 1024 * 1024;
constexpr int kDrainSeconds = 10;

enum ContentType : int { kHtml = 0, kJson = 1, kXml = 2 };

struct Reason {
  const char* text;
  int code;
};

// The only statuses that can be composed; the end row stops the search.
constexpr Reason kReasons[] = {
    {"OK", 200},
    {"Bad Request", 400},
    {"Unauthorized", 401},
    {"Forbidden", 403},
    {"Not Found", 404},
    {"Method Not Allowed", 405},
    {"Not Acceptable", 406},
    {"Internal Server Error", 500},
    {"Service Unavailable", 503},
    {nullptr, -1},
};

const char* ReasonFor(int code) {
  const Reason* row = kReasons;
  while (row->text != nullptr && row->code != code) ++row;
  return row->text;
}

// The library answers 413 where the host has set a limit; the host's composer has never known it.
const char* OwnReasonFor(int code) { return code == 413 ? "Payload Too Large" : ReasonFor(code); }

const char* MediaType(int type) {
  if (type == kJson) return "application/json";
  return type == kXml ? "application/xml" : "text/html";
}

// The missing blank behind "X-Content-Type-Options:" and the semicolon behind "utf-8" are deliberate: clients
// compare these bytes.
constexpr std::string_view kFixedHeaders =
    "\r\nCache-Control: no-cache,no-store,must-revalidate,max-age=0\r\n"
    "Content-Security-Policy: frame-ancestors *;\r\n"
    "X-Content-Type-Options:nosniff\r\n"
    "Strict-Transport-Security: max-age=63072000; includeSubdomains; preload\r\n"
    "Content-Type: ";

// Returns the head's length.
int ComposeHead(char (&head)[kHeadSize], int code, const char* reason, int type, int bodyLen,
                std::string_view extra = {}) {
  TextWriter text(head);
  text.Add("HTTP/1.1 ").AddNumber(code).Add(" ").Add(reason).Add("\r\nDate: ").Add(CurrentHttpDate().text);
  text.Add(kFixedHeaders).Add(MediaType(type)).Add("; charset=utf-8;\r\nContent-Length: ").AddNumber(bodyLen);
  text.Add("\r\nConnection: close\r\n").Add(extra).Add("\r\n");
  return static_cast<int>(text.Finish());
}

}  // namespace

bool KnowsStatus(int status) { return ReasonFor(status) != nullptr; }

void DrainBody(mg_connection* conn) {
  char discarded[8192];
  if (mg_set_body_deadline != nullptr) mg_set_body_deadline(conn, kDrainSeconds * 1000);
  int64_t drained = 0;
  int64_t deadline = 0;
  int got = 0;
  while ((got = mg_read(conn, discarded, sizeof discarded)) > 0) {
    drained += got;
    const int64_t now = MonotonicSeconds();  // unlike the clock of the Date header, it never jumps
    if (deadline == 0) deadline = now + kDrainSeconds;
    if (drained >= kDrainBytes || now >= deadline) return;
  }
}

void EndConnection(mg_connection* conn) {
  DrainBody(conn);
  mg_disable_connection_keep_alive(conn);
}

void SendPieces(mg_connection* conn, const char* head, std::size_t headLength, const char* body,
                std::size_t bodyLength) {
  char whole[kOnePieceSize];
  if (headLength + bodyLength <= sizeof whole) {
    std::memcpy(whole, head, headLength);
    std::memcpy(whole + headLength, body, bodyLength);
    mg_write(conn, whole, headLength + bodyLength);
    return;
  }
  mg_write(conn, head, headLength);
  mg_write(conn, body, bodyLength);
}

int Reply(mg_connection* conn, int status, const char* json) {
  const std::size_t bodyLength = std::strlen(json);
  char head[kHeadSize];
  const int headLength = ComposeHead(head, status, OwnReasonFor(status), kJson, static_cast<int>(bodyLength),
                                     CrossOriginHeader(conn).text());
  kLog.info()("send =>%s%s", head, json);
  SendPieces(conn, head, static_cast<std::size_t>(headLength), json, bodyLength);
  EndConnection(conn);
  return 1;
}

int ReplyJson(mg_connection* conn, int status, const JsonText& json) {
  return json != nullptr ? Reply(conn, status, json.get()) : Reply(conn, 500, "");
}

}  // namespace sdkapi

int GroupRespHttpMsg(int code, const char* body, int bodyLen, char* out, int type) {
  using namespace sdkapi;
  if (body == nullptr || bodyLen < 0 || out == nullptr || !KnowsStatus(code)) return -1;
  char head[kHeadSize];
  const int headLength = ComposeHead(head, code, ReasonFor(code), type, bodyLen);
  std::memcpy(out, head, static_cast<std::size_t>(headLength));
  std::memcpy(out + headLength, body, std::strlen(body) + 1);
  return 0;
}

int SendHttpBuff(mg_connection* conn, const char* text, int /*len*/) {
  if (conn == nullptr || text == nullptr) return -1;
  sdkapi::kLog.info()("send =>%s", text);
  // Not drained here: a host function may still be reading the body.
  mg_disable_connection_keep_alive(conn);
  if (text[0] != '\0') mg_write(conn, text, std::strlen(text));
  return 0;
}
