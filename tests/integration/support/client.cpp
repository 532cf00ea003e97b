// Requests of ordinary clients: composed or literal bytes in, the whole response out.
#include "client.h"

#include <gtest/gtest.h>

#include "server.h"

namespace integration {

std::string NameOf(const Mode& mode) {
  return std::string(mode.https ? "Https" : "Http") + (mode.auth ? "AuthOn" : "AuthOff");
}

void PrintTo(const Mode& mode, std::ostream* out) { *out << NameOf(mode); }

std::string HttpRequest::Bytes() const {
  std::string bytes = method + " " + target + " HTTP/1.1\r\nHost: 127.0.0.1\r\n";
  for (const std::string& header : headers) bytes += header + "\r\n";
  if (!body.empty() || method == "POST") bytes += "Content-Length: " + std::to_string(body.size()) + "\r\n";
  return bytes + "\r\n" + body;
}

Response Exchange(const Mode& mode, const std::string& bytes) {
  Connection connection(Server::Get().port(mode.https), mode.https);
  EXPECT_TRUE(connection.connected());
  // The server may answer and close before it has all: then there is a response, but not all was sent.
  connection.Send(bytes);
  const std::string raw = connection.ReadToEnd();
  EXPECT_NE(connection.end(), Connection::End::kTimeout)
      << "the server kept the connection; received: " << raw;
  return ParseResponse(raw);
}

std::string MultipartBody(const std::vector<Part>& parts, const std::string& boundary) {
  std::string body;
  for (const Part& part : parts) {
    body += "--" + boundary + "\r\nContent-Disposition: form-data; name=\"" + part.name + "\"";
    if (!part.fileName.empty()) {
      body += "; filename=\"" + part.fileName + "\"\r\nContent-Type: application/octet-stream";
    }
    body += "\r\n\r\n" + part.content + "\r\n";
  }
  return body + "--" + boundary + "--\r\n";
}

HttpRequest UploadRequest(const std::string& target, const std::string& body, const std::string& boundary) {
  return {"POST", target, {"Content-Type: multipart/form-data; boundary=" + boundary}, body};
}

std::string SampleBytes(std::size_t size) {
  std::string bytes(size, '\0');
  uint32_t state = 2463534242U;
  for (std::size_t i = 0; i < size; ++i) {
    state ^= state << 13;
    state ^= state >> 17;
    state ^= state << 5;
    bytes[i] = static_cast<char>(state >> 24);
  }
  for (std::size_t i = 100; i + 1 < size; i += 997) bytes.replace(i, 2, "\r\n");
  for (std::size_t i = 50; i < size; i += 1009) bytes[i] = '\0';
  return bytes;
}

}  // namespace integration
