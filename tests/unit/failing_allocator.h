// An allocator whose n-th call can be made to fail, and which knows what is still allocated.
#pragma once

#include <cstddef>

namespace sdktest {

enum class Failing { kOnce, kFromThenOn };

// While an object of this class lives, the library's and cJSON's allocations (and openings of files) are
// counted.
class FailingAllocator {
 public:
  // The first call is number 1; 0 lets none fail.
  FailingAllocator(int failAt, Failing failing);
  ~FailingAllocator();
  FailingAllocator(const FailingAllocator&) = delete;
  FailingAllocator& operator=(const FailingAllocator&) = delete;

  // No further call fails.
  void Relent();

  int calls() const;
  bool hasFailed() const;
  std::size_t stillAllocated() const;
};

}  // namespace sdktest
