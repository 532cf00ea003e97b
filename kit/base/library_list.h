// The library's lists, whole: they grow while somebody looks.
#pragma once

#include <cstddef>
#include <vector>

namespace sdkkit {

// Fills the room, which grows if need be, and gives the number of records in it; 0 when there is no list.
template <class Record>
std::size_t ListAll(int (*list)(Record*, std::size_t*), std::vector<Record>& room) {
  while (true) {
    std::size_t count = room.size();
    if (count > 0) room[0].size = sizeof(Record);
    if (list(room.data(), &count) != 0) return 0;
    if (count <= room.size()) return count;
    room.resize(count + count / 2);
  }
}

// The same as records of the caller's own.
template <class Record>
std::vector<Record> ListAll(int (*list)(Record*, std::size_t*)) {
  std::vector<Record> records;
  records.resize(ListAll(list, records));
  return records;
}

}  // namespace sdkkit
