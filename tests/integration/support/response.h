// An HTTP response taken apart from its raw bytes, and the literal replies that tests expect.
#pragma once

#include <string>
#include <vector>

namespace integration {

struct Response {
  std::string raw;
  std::string head;  // up to and with the blank line; empty when there is none
  std::string body;  // the bytes behind it as they came, chunk framing included

  int status() const;
  // The first header of this name, without regard to case; empty when absent.
  std::string Header(const std::string& name) const;
};

Response ParseResponse(const std::string& raw);

// A chunked body: the size of each chunk, the joined data, and whether the terminating chunk came.
struct ChunkedBody {
  std::vector<std::size_t> sizes;
  std::string data;
  bool terminated = false;
  bool wellFormed = true;
};

ChunkedBody ParseChunks(const std::string& body);

// Replaces a well-formed Date value by "<date>".
std::string WithoutDate(const std::string& raw);

// The whole JSON reply of a status, as WithoutDate() leaves it.
std::string JsonReply(int status, const std::string& body = "");

// The head of a download.
std::string DownloadHead(const std::string& name);

// The head of a picture stream and of one of its parts.
std::string StreamHead();
std::string PartHead(std::size_t length, const std::string& type = "image/jpeg");

}  // namespace integration
