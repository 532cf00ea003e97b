// Room for long-lived streams: some workers always stay free for ordinary requests.
#pragma once

struct mg_connection;

namespace sdkapi {

// One preview's or WebSocket's claim on a worker. It is given back with the object, unless it is kept; a kept
// one is given back by GiveBackStreamPlace.
class StreamPlace {
 public:
  explicit StreamPlace(const mg_connection* conn);
  ~StreamPlace();
  StreamPlace(const StreamPlace&) = delete;
  StreamPlace& operator=(const StreamPlace&) = delete;

  // False when the streams that there are leave no room; that has been logged.
  bool granted() const { return held_; }
  void Keep() { held_ = false; }

 private:
  bool held_;
};

void GiveBackStreamPlace();

}  // namespace sdkapi
