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

// A caller's array that a list is written to, and the count beside it: in its room, out how many there are.
template <SizedRecord Record>
class RecordArray {
 public:
  RecordArray(Record* records, std::size_t* count) : records_(records), count_(count) {}

  // What is wrong with the arguments; null when nothing is.
  const char* Fault() const {
    if (count_ == nullptr) return "no count";
    if (*count_ == 0) return nullptr;
    if (records_ == nullptr) return "no records";
    return KnowsSize<Record>(records_->size) ? nullptr : "size unknown";
  }

  // Counts one more, and describes it while there is room.
  template <class Describe>
  void Add(Describe describe) {
    if (number_ < *count_) WriteRecordAt(describe(), records_, number_);
    ++number_;
  }

  void Finish() { *count_ = number_; }

 private:
  Record* records_;
  std::size_t* count_;
  std::size_t number_ = 0;
};

}  // namespace sdkapi
