// The header that lets pages of another origin read a reply, where the host allows one.
#pragma once

#include <cstddef>
#include <string_view>

struct mg_connection;

namespace sdkapi {

// What "access_control_allow_origin" says, at the start; the text lives as long as the server runs. Null or
// empty for none.
void AllowOrigin(const char* origin);

class CrossOriginHeader {
 public:
  explicit CrossOriginHeader(const mg_connection* conn);

  // A whole header line; empty where no origin is allowed, or the request has none.
  std::string_view text() const { return {text_, length_}; }

 private:
  static constexpr std::size_t kRoom = 320;

  char text_[kRoom];
  std::size_t length_ = 0;
};

}  // namespace sdkapi
