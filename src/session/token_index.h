// A hash table from tokens to what they belong to; of equal tokens the oldest is found.
#pragma once

#include <cstddef>
#include <cstdint>

#include "session/keyed_hash.h"

namespace sdkapi {

// Stands inside what is indexed. The text of the token is its owner's and may not move.
struct TokenEntry {
  const char* token;
  uint64_t hash;
  TokenEntry* next;  // in its bucket, from old to young
  TokenEntry* prev;
};

// Takes no lock. Works without memory, too: growing that fails leaves longer buckets.
class TokenIndex {
 public:
  // The key must be set while the index is empty.
  void SetKey(const HashKey& key) { key_ = key; }

  void Add(TokenEntry& entry, const char* token);
  void Remove(TokenEntry& entry);
  TokenEntry* Find(const char* token) const;
  std::size_t size() const { return entries_; }

 private:
  struct Bucket {
    TokenEntry* first;
    TokenEntry* last;
  };
  static constexpr std::size_t kFewestBuckets = 32;

  static void Append(Bucket& bucket, TokenEntry& entry);
  Bucket* Buckets() { return more_ != nullptr ? more_ : few_; }
  const Bucket* Buckets() const { return more_ != nullptr ? more_ : few_; }
  std::size_t Place(uint64_t hash) const { return hash & (bucketCount_ - 1); }
  void Resize(std::size_t bucketCount);

  HashKey key_{};
  Bucket few_[kFewestBuckets]{};
  Bucket* more_ = nullptr;
  std::size_t bucketCount_ = kFewestBuckets;
  std::size_t entries_ = 0;
};

}  // namespace sdkapi
