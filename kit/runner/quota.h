// How often one statement of the program may write into a log that has to last.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <unordered_map>

namespace sdkkit {

// A statement may write kBurst lines at once, and kPerMinute a minute from then on. What a client can repeat
// is thereby a few lines, and other statements keep their own. Not safe for several threads at once.
class Quota {
 public:
  using Time = std::chrono::steady_clock::time_point;
  static constexpr double kBurst = 100;
  static constexpr double kPerMinute = 2;
  static constexpr std::size_t kMostStatements = 1024;  // those beyond share one quota

  struct Answer {
    bool write;
    uint64_t leftOut;  // lines of this statement that were not written since its last one that was
  };

  Answer Take(std::size_t statement, Time now);

 private:
  struct Bucket {
    double lines = kBurst;
    Time filled;
    uint64_t leftOut = 0;
  };

  std::unordered_map<std::size_t, Bucket> buckets_;
};

}  // namespace sdkkit
