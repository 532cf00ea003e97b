// The wire format of picture streams.
#include "transfer/mjpeg.h"

#include <civetweb.h>

#include "base/text_writer.h"
#include "sdkapi/transfer.h"

namespace sdkapi {
namespace {

// The parameter's own dashes make up the delimiter; no further ones are added to it, on purpose.
constexpr char kStreamHead[] =
    "HTTP/1.1 200 OK\r\n"
    "Cache-Control: no-cache\r\n"
    "Pragma: no-cache\r\n"
    "Expires: Thu, 01 Dec 1994 16:00:00 GMT\r\n"
    "Connection: close\r\n"
    "Content-Type: multipart/x-mixed-replace; boundary=--w00t\r\n"
    "\r\n";

constexpr unsigned int kBmp = 1;

}  // namespace

void SendPartHead(mg_connection* conn, const char* mediaType, std::size_t length) {
  char head[128];
  TextWriter text(head);
  text.Add("--w00t\r\nContent-Type: ").Add(mediaType).Add("\r\nContent-Length: ").AddUnsigned(length);
  mg_write(conn, head, text.Add("\r\n\r\n").Finish());
}

bool SendPicture(mg_connection* conn, const void* data, std::size_t length) {
  const int written = mg_write(conn, data, length);
  return written > 0 && static_cast<std::size_t>(written) == length;
}

}  // namespace sdkapi

void SendHttpMjpegHead(mg_connection* conn) {
  mg_disable_connection_keep_alive(conn);
  mg_write(conn, sdkapi::kStreamHead, sizeof sdkapi::kStreamHead - 1);
}

int SendHttpPicFile(mg_connection* conn, const void* data, size_t length, unsigned int type) {
  SendHttpMjpegHead(conn);
  sdkapi::SendPartHead(conn, type == sdkapi::kBmp ? "application/x-bmp" : "image/jpeg", length);
  if (length > 0 && !sdkapi::SendPicture(conn, data, length)) return 0;
  mg_write(conn, "\r\n", 2);
  return 1;
}
