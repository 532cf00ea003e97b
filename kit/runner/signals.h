// The signals of a program and its own wish to stop, as something that can be waited for.
#pragma once

#include <chrono>

#include "base/file.h"

namespace sdkkit {

class Signals {
 public:
  // Blocks SIGTERM, SIGINT and SIGHUP for this thread and those that it starts.
  Signals();
  ~Signals();
  Signals(const Signals&) = delete;
  Signals& operator=(const Signals&) = delete;

  // The next signal; SIGTERM for a wish. 0 when the time is over.
  int Next(std::chrono::milliseconds most);
  // Ends the wait of Next with 0; for any thread.
  void Wake();

  // What Next gives as SIGTERM; for any thread, without an object nothing happens.
  static void WishToStop();

 private:
  FileDescriptor signals_;
  FileDescriptor wish_;
  FileDescriptor wake_;
};

}  // namespace sdkkit
