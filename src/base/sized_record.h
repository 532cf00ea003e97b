// Records whose first member is their size: a caller may have been built with a shorter one.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace sdkapi {

template <class Record>
concept SizedRecord = std::is_trivially_copyable_v<Record> && requires(Record record) {
  { record.size } -> std::same_as<uint32_t&>;
};

// The size of a record in its first version; a record that grows gets a specialisation with the old number.
template <SizedRecord Record>
constexpr std::size_t kFirstSize = sizeof(Record);

template <SizedRecord Record>
constexpr bool KnowsSize(uint32_t size) {
  return size >= kFirstSize<Record> && size <= sizeof(Record) && size % alignof(Record) == 0;
}

// Takes a caller's record over; what the caller's version lacks is zero. False, and nothing taken, for no
// record or an unknown size.
template <SizedRecord Record>
bool ReadRecord(const Record* from, Record& to) {
  static_assert(offsetof(Record, size) == 0);
  if (from == nullptr || !KnowsSize<Record>(from->size)) return false;
  to = Record{};
  std::memcpy(&to, from, from->size);
  return true;
}

// Fills a caller's record as far as the caller knows it; its size stays. False, and nothing written, as
// above.
template <SizedRecord Record>
bool WriteRecord(Record from, Record* to) {
  static_assert(offsetof(Record, size) == 0);
  if (to == nullptr || !KnowsSize<Record>(to->size)) return false;
  from.size = to->size;
  std::memcpy(to, &from, from.size);
  return true;
}

// The n-th record of a caller's array, whose stride is the first one's size. The size must be known.
template <SizedRecord Record>
Record* RecordAt(Record* records, std::size_t index) {
  return reinterpret_cast<Record*>(reinterpret_cast<unsigned char*>(records) + index * records->size);
}

// Fills the n-th record of a caller's array. The first one's size must be known, and becomes its size.
template <SizedRecord Record>
void WriteRecordAt(const Record& from, Record* records, std::size_t index) {
  Record* const place = RecordAt(records, index);
  place->size = records->size;
  WriteRecord(from, place);
}

}  // namespace sdkapi
