// Records and rows of a caller's, who may have been built with shorter ones: those that begin with their
// size, and arrays whose rows have a common one.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <type_traits>
#include <vector>

namespace sdkkit {

template <class Record>
concept SizedRecord = std::is_trivially_copyable_v<Record> && requires(Record record) {
  { record.size } -> std::same_as<uint32_t&>;
};

// The size of a record or a row in its first version; one that grows gets a specialisation with the old
// number.
template <class Record>
constexpr std::size_t kFirstSize = sizeof(Record);

template <class Record>
constexpr bool KnowsSize(std::size_t size) {
  return size >= kFirstSize<Record> && size <= sizeof(Record) && size % alignof(Record) == 0;
}

template <SizedRecord Record>
bool IsKnown(const Record* record) {
  static_assert(offsetof(Record, size) == 0);
  return record != nullptr && KnowsSize<Record>(record->size);
}

// A caller's record; what the caller's version lacks is zero. Nothing for no record or an unknown size.
template <SizedRecord Record>
std::optional<Record> ReadRecord(const Record* from) {
  if (!IsKnown(from)) return std::nullopt;
  Record record{};
  std::memcpy(&record, from, from->size);
  record.size = sizeof record;
  return record;
}

// Fills a caller's record as far as the caller knows it; its size stays. It must be known.
template <SizedRecord Record>
void WriteRecord(Record from, Record* to) {
  from.size = to->size;
  std::memcpy(to, &from, from.size);
}

// Fills the n-th record of a caller's array, of which the first one's size counts for all. It must be known.
template <SizedRecord Record>
void WriteRecordAt(Record from, Record* records, std::size_t index) {
  from.size = records->size;
  std::memcpy(reinterpret_cast<unsigned char*>(records) + index * from.size, &from, from.size);
}

// A caller's rows, each `size` bytes. Nothing where there should be some and are none, or for an unknown
// size.
template <class Row>
requires std::is_trivially_copyable_v<Row> std::optional<std::vector<Row>> ReadRows(const Row* rows,
                                                                                    std::size_t count,
                                                                                    std::size_t size) {
  if (count == 0) return std::vector<Row>{};
  if (rows == nullptr || !KnowsSize<Row>(size)) return std::nullopt;
  std::vector<Row> copies(count);
  const auto* const bytes = reinterpret_cast<const unsigned char*>(rows);
  for (std::size_t i = 0; i < count; ++i) std::memcpy(&copies[i], bytes + i * size, size);
  return copies;
}

}  // namespace sdkkit
