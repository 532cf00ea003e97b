// A hash table from tokens to what they belong to; of equal tokens the oldest is found.
#include "session/token_index.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace sdkapi {
namespace {

constexpr std::size_t kShrinkBelow = 8;  // buckets for one entry

}  // namespace

void TokenIndex::Append(Bucket& bucket, TokenEntry& entry) {
  entry.next = nullptr;
  entry.prev = bucket.last;
  (bucket.last != nullptr ? bucket.last->next : bucket.first) = &entry;
  bucket.last = &entry;
}

void TokenIndex::Add(TokenEntry& entry, const char* token) {
  entry.token = token;
  entry.hash = KeyedHash(key_, token);
  if (++entries_ > bucketCount_) Resize(bucketCount_ * 2);
  Append(Buckets()[Place(entry.hash)], entry);
}

void TokenIndex::Remove(TokenEntry& entry) {
  Bucket& bucket = Buckets()[Place(entry.hash)];
  (entry.prev != nullptr ? entry.prev->next : bucket.first) = entry.next;
  (entry.next != nullptr ? entry.next->prev : bucket.last) = entry.prev;
  if (--entries_ < bucketCount_ / kShrinkBelow) Resize(bucketCount_ / 2);
}

TokenEntry* TokenIndex::Find(const char* token) const {
  const uint64_t hash = KeyedHash(key_, token);
  TokenEntry* entry = Buckets()[Place(hash)].first;
  while (entry != nullptr && (entry->hash != hash || std::strcmp(entry->token, token) != 0)) {
    entry = entry->next;
  }
  return entry;
}

// Entries of one token keep their order: they come from one bucket and go to one.
void TokenIndex::Resize(std::size_t bucketCount) {
  if (bucketCount < kFewestBuckets) return;
  Bucket* const memory =
      bucketCount > kFewestBuckets ? static_cast<Bucket*>(std::calloc(bucketCount, sizeof(Bucket))) : nullptr;
  if (bucketCount > kFewestBuckets && memory == nullptr) return;
  Bucket* const old = Buckets();
  const std::size_t oldCount = std::exchange(bucketCount_, bucketCount);
  Bucket* const released = std::exchange(more_, memory);
  for (std::size_t i = 0; i < oldCount; ++i) {
    TokenEntry* following = std::exchange(old[i], Bucket{}).first;
    while (TokenEntry* const entry = following) {
      following = entry->next;
      Append(Buckets()[Place(entry->hash)], *entry);
    }
  }
  std::free(released);
}

}  // namespace sdkapi
