// SipHash-2-4: a hash that nobody can steer without its key.
#pragma once

#include <cstdint>
#include <string_view>

namespace sdkapi {

struct HashKey {
  uint64_t low;
  uint64_t high;
};

// A key that differs from process to process. Never waits.
HashKey RandomHashKey();

uint64_t KeyedHash(const HashKey& key, std::string_view text);

}  // namespace sdkapi
