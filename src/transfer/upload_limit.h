// The most bytes that an upload may have, as the host has set them for each family.
#pragma once

#include <cstdint>

struct mg_connection;

namespace sdkapi {

// One upload's limit from here to the end of its form; without one nothing is limited.
class UploadLimit {
 public:
  UploadLimit(mg_connection* conn, int family);

  // Whether more was announced than may come.
  bool AnnouncedTooMuch() const;
  // Ends the limit, so that the rest can be read away. Returns whether more came.
  bool End() const;

 private:
  mg_connection* conn_;
  int64_t bytes_;
};

}  // namespace sdkapi
