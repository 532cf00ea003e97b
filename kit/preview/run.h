// A source while somebody looks at it: one thread gets its pictures, viewers wait for the newest.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>

#include "preview/feeds.h"

namespace sdkkit {

class Run {
 public:
  Run(Feed feed, std::chrono::microseconds interval);
  ~Run() { Finish(); }
  Run(const Run&) = delete;
  Run& operator=(const Run&) = delete;

  // Waits for a picture newer than number `seen` and moves `seen` on; the last one again after a second. Null
  // when the run has ended, or no first picture came in ten.
  Jpeg Next(uint64_t& seen);

  // Lets every waiting and later Next return null; Finish also waits for the thread.
  void End();
  void Finish();
  bool Ended();

 private:
  void Work(std::chrono::microseconds interval);
  bool Rest(std::chrono::steady_clock::time_point until);
  void Show(Jpeg picture);

  Feed feed_;  // the thread's own
  std::mutex mutex_;
  std::condition_variable changed_;
  Jpeg picture_;
  uint64_t number_ = 0;
  bool ended_ = false;
  std::mutex finish_;
  std::thread thread_;  // Last: it uses all the others.
};

}  // namespace sdkkit
