// How often one statement of the program may write into a log that has to last.
#include "runner/quota.h"

#include <algorithm>
#include <utility>

namespace sdkkit {

Quota::Answer Quota::Take(std::size_t statement, Time now) {
  constexpr std::size_t kOthers = 0;
  const bool known = buckets_.contains(statement) || buckets_.size() < kMostStatements;
  Bucket& bucket = buckets_.try_emplace(known ? statement : kOthers, Bucket{.filled = now}).first->second;
  const std::chrono::duration<double, std::ratio<60>> minutes = now - bucket.filled;
  bucket.lines = std::min(kBurst, bucket.lines + minutes.count() * kPerMinute);
  bucket.filled = now;
  if (bucket.lines < 1) {
    ++bucket.leftOut;
    return {false, 0};
  }
  bucket.lines -= 1;
  return {true, std::exchange(bucket.leftOut, 0)};
}

}  // namespace sdkkit
