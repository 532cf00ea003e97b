// An HTTP response taken apart from its raw bytes, and the literal replies that tests expect.
#include "response.h"

#include <strings.h>

#include <cstdlib>
#include <map>
#include <regex>

namespace integration {

int Response::status() const { return head.starts_with("HTTP/1.1 ") ? std::atoi(head.c_str() + 9) : 0; }

std::string Response::Header(const std::string& name) const {
  std::size_t line = head.find("\r\n");
  while (line != std::string::npos && line + 2 < head.size()) {
    const std::size_t start = line + 2;
    line = head.find("\r\n", start);
    const std::size_t colon = head.find(':', start);
    if (colon == std::string::npos || colon > line) continue;
    if (colon - start != name.size() || strncasecmp(head.c_str() + start, name.c_str(), name.size()) != 0)
      continue;
    const std::size_t value = head.find_first_not_of(' ', colon + 1);
    return head.substr(value, line - value);
  }
  return "";
}

Response ParseResponse(const std::string& raw) {
  const std::size_t blank = raw.find("\r\n\r\n");
  if (blank == std::string::npos) return {raw, "", raw};
  return {raw, raw.substr(0, blank + 4), raw.substr(blank + 4)};
}

ChunkedBody ParseChunks(const std::string& body) {
  ChunkedBody chunks;
  std::size_t at = 0;
  while (at < body.size() && !chunks.terminated) {
    const std::size_t lineEnd = body.find("\r\n", at);
    char* end = nullptr;
    const std::size_t size = std::strtoul(body.c_str() + at, &end, 16);
    const bool numbered = lineEnd != std::string::npos && end == body.c_str() + lineEnd && lineEnd > at;
    if (!numbered || lineEnd + 2 + size + 2 > body.size() ||
        body.compare(lineEnd + 2 + size, 2, "\r\n") != 0) {
      chunks.wellFormed = false;
      return chunks;
    }
    chunks.terminated = size == 0;
    if (size > 0) chunks.sizes.push_back(size);
    chunks.data.append(body, lineEnd + 2, size);
    at = lineEnd + 2 + size + 2;
  }
  chunks.wellFormed = at == body.size();
  return chunks;
}

std::string WithoutDate(const std::string& raw) {
  static const std::regex date(
      "\r\nDate: (Sun|Mon|Tue|Wed|Thu|Fri|Sat), [0-3][0-9] "
      "(Jan|Feb|Mar|Apr|May|Jun|Jul|Aug|Sep|Oct|Nov|Dec) [0-9]{4} [0-2][0-9]:[0-5][0-9]:[0-6][0-9] GMT\r\n");
  const std::size_t blank = raw.find("\r\n\r\n");
  const std::size_t headEnd = blank == std::string::npos ? raw.size() : blank + 4;
  return std::regex_replace(raw.substr(0, headEnd), date, "\r\nDate: <date>\r\n") + raw.substr(headEnd);
}

std::string JsonReply(int status, const std::string& body) {
  static const std::map<int, std::string> lines{
      {200, "HTTP/1.1 200 OK\r\n"},
      {400, "HTTP/1.1 400 Bad Request\r\n"},
      {401, "HTTP/1.1 401 Unauthorized\r\n"},
      {403, "HTTP/1.1 403 Forbidden\r\n"},
      {404, "HTTP/1.1 404 Not Found\r\n"},
      {405, "HTTP/1.1 405 Method Not Allowed\r\n"},
      {406, "HTTP/1.1 406 Not Acceptable\r\n"},
      {413, "HTTP/1.1 413 Payload Too Large\r\n"},
      {500, "HTTP/1.1 500 Internal Server Error\r\n"},
      {503, "HTTP/1.1 503 Service Unavailable\r\n"},
  };
  return lines.at(status) +
         "Date: <date>\r\n"
         "Cache-Control: no-cache,no-store,must-revalidate,max-age=0\r\n"
         "Content-Security-Policy: frame-ancestors *;\r\n"
         "X-Content-Type-Options:nosniff\r\n"
         "Strict-Transport-Security: max-age=63072000; includeSubdomains; preload\r\n"
         "Content-Type: application/json; charset=utf-8;\r\n"
         "Content-Length: " +
         std::to_string(body.size()) +
         "\r\n"
         "Connection: close\r\n"
         "\r\n" +
         body;
}

std::string DownloadHead(const std::string& name) {
  return "HTTP/1.1 200 OK\r\nContent-Disposition: attachment;filename=\"" + name +
         "\"\r\nContent-Type: application/octet-stream\r\nTransfer-Encoding: chunked\r\n\r\n";
}

std::string StreamHead() {
  return "HTTP/1.1 200 OK\r\nCache-Control: no-cache\r\nPragma: no-cache\r\nExpires: Thu, 01 Dec 1994 "
         "16:00:00 "
         "GMT\r\nConnection: close\r\nContent-Type: multipart/x-mixed-replace; boundary=--w00t\r\n\r\n";
}

std::string PartHead(std::size_t length, const std::string& type) {
  return "--w00t\r\nContent-Type: " + type + "\r\nContent-Length: " + std::to_string(length) + "\r\n\r\n";
}

}  // namespace integration
