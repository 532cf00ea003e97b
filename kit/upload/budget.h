// How much may be stored: counted with what is under way, so that parallel uploads cannot pass it.
#pragma once

#include <cstdint>
#include <mutex>
#include <set>
#include <string>

namespace sdkkit {

class Budget {
 public:
  // One upload's part of the budget, given back at its end.
  class Share {
   public:
    // Without a target nothing is kept: what passes through has a bound of its own.
    // A file that is to be replaced pays for the new one, as long as only one upload wants to replace it.
    Share(Budget& budget, std::string target);
    ~Share();
    Share(const Share&) = delete;
    Share& operator=(const Share&) = delete;

    // False when there is no room for so many more bytes.
    bool Grow(uint64_t bytes);

   private:
    Budget& budget_;
    const bool passes_;
    std::string target_;
    uint64_t credit_ = 0;
    uint64_t bytes_ = 0;
  };

  // `passing` bounds what is under way and not kept.
  Budget(std::string root, uint64_t limit, uint64_t passing)
      : root_(std::move(root)), limit_(limit), mostPassing_(passing) {}

  uint64_t Stored();
  uint64_t Arriving();
  uint64_t limit() const { return limit_; }

 private:
  void Look() noexcept;

  const std::string root_;
  const uint64_t limit_;
  const uint64_t mostPassing_;
  std::mutex mutex_;
  uint64_t stored_ = 0;    // as of the last look
  uint64_t arriving_ = 0;  // bytes of all shares
  uint64_t charged_ = 0;   // the part of them that will be kept, and that no credit pays for
  uint64_t passing_ = 0;   // the part of them that is not kept
  std::set<std::string> credited_;
};

}  // namespace sdkkit
