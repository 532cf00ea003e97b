// The logins and WebSockets that the library lists for a host.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <vector>

#include "sdkapi/extension.h"

namespace sdktest {

template <class Record>
std::vector<Record> Listed(int (*list)(Record* records, size_t* count)) {
  size_t count = 0;
  EXPECT_EQ(list(nullptr, &count), 0);
  // Some may have come meanwhile.
  std::vector<Record> records(count + 10);
  records[0].size = sizeof(Record);
  count = records.size();
  EXPECT_EQ(list(records.data(), &count), 0);
  records.resize(std::min(count, records.size()));
  return records;
}

inline std::vector<SdkAPIExtLogin> Logins() { return Listed(SdkAPIExt_Login_List); }
inline std::vector<SdkAPIExtWebSocket> Sockets() { return Listed(SdkAPIExt_WebSocket_List); }

}  // namespace sdktest
