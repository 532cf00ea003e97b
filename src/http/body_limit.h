// The most bytes that the body of one request may have.
#pragma once

#include <cstdint>

struct mg_connection;

namespace sdkapi {

// Whether the web server is one that limits what it reads.
bool BodiesCanBeLimited();

// One body's limit, from here to its end; 0 limits nothing.
class BodyLimit {
 public:
  BodyLimit(mg_connection* conn, int64_t bytes);

  // Whether more was announced than may come.
  bool AnnouncedTooMuch() const;
  // Ends the limit, so that the rest can be read away. Returns whether more came.
  bool End() const;

 private:
  mg_connection* conn_;
  int64_t bytes_;
};

}  // namespace sdkapi
