// A live source: one thread paints and encodes its pictures for all viewers.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <stop_token>
#include <string>
#include <thread>

#include "jpeg_encoder.h"

namespace sim {

class PreviewSource {
 public:
  // An empty unit is the device's own picture. The thread starts at once and lives as long as the object.
  explicit PreviewSource(std::string unit);

  // Waits for a picture newer than number `seen` and moves `seen` on; null when the source has ended.
  std::shared_ptr<const Jpeg> Next(uint64_t& seen);

  // Lets every waiting and later Next return null.
  void End();
  bool Ended();

 private:
  void Run(const std::stop_token& stop);
  bool Wait(const std::stop_token& stop, std::chrono::steady_clock::time_point until);
  bool IsLive() const;

  const std::string unit_;
  std::mutex mutex_;
  std::condition_variable_any changed_;
  std::shared_ptr<const Jpeg> picture_;
  uint64_t number_ = 0;
  bool ended_ = false;
  std::jthread thread_;  // Last: it uses all the others.
};

}  // namespace sim
