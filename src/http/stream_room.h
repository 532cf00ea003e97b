// Room for long-lived streams: within the host's limits, and so that some workers stay free for requests.
#pragma once

#include <cstdint>

struct mg_connection;

namespace sdkapi {

enum class Stream { kPreview, kWebSocket };

// One stream's claim on a worker. It is given back with the object, unless it is kept; a kept one is given
// back by GiveBackStreamPlace.
class StreamPlace {
 public:
  StreamPlace(const mg_connection* conn, Stream kind);
  ~StreamPlace();
  StreamPlace(const StreamPlace&) = delete;
  StreamPlace& operator=(const StreamPlace&) = delete;

  // False when the streams that there are leave no room; that has been logged and counted.
  bool granted() const { return held_; }
  // Whether it was refused by a limit that the host has set, and not for want of workers.
  bool limited() const { return limited_; }
  void Keep() { held_ = false; }

 private:
  Stream kind_;
  bool held_ = false;
  bool limited_ = false;
};

void GiveBackStreamPlace(Stream kind);

// Read and changed at once: aligned so that no compiler calls a library for it.
struct alignas(uint64_t) OpenStreams {
  uint32_t previews;
  uint32_t webSockets;
};
OpenStreams CurrentStreams();

}  // namespace sdkapi
