// Requests of ordinary clients: composed or literal bytes in, the whole response out.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "connection.h"
#include "response.h"

namespace integration {

struct Mode {
  bool https;
  bool auth;
};

std::string NameOf(const Mode& mode);
void PrintTo(const Mode& mode, std::ostream* out);

// A request that is sent as its fields stand; Content-Length is added when there is a body or the method is
// POST.
struct HttpRequest {
  std::string method = "GET";
  std::string target;
  std::vector<std::string> headers;
  std::string body;

  std::string Bytes() const;
};

// Sends the bytes on a connection of its own and reads until the server closes. A test failure is reported
// when it does not close in time.
Response Exchange(const Mode& mode, const std::string& bytes);

// One multipart part.
struct Part {
  std::string name;
  std::string content;
  std::string fileName;  // empty: a plain field
};

std::string MultipartBody(const std::vector<Part>& parts, const std::string& boundary = "BOUNDARYxyz");
HttpRequest UploadRequest(const std::string& target, const std::string& body,
                          const std::string& boundary = "BOUNDARYxyz");

// Bytes with every value, NULs, and CR LF in many places; the same for the same size.
std::string SampleBytes(std::size_t size);

}  // namespace integration
