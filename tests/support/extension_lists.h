// The logins and WebSockets that the library lists for a host.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <vector>

#include "sdkapi/extension.h"

namespace sdktest {

template <class Record>
std::vector<Record> Listed(int (*list)(Record* records, size_t* count)) {
  std::vector<Record> records(30);
  records[0].size = sizeof(Record);
  size_t count = records.size();
  EXPECT_EQ(list(records.data(), &count), 0);
  records.resize(count);
  return records;
}

inline std::vector<SdkAPIExtLogin> Logins() { return Listed(SdkAPIExt_Login_List); }
inline std::vector<SdkAPIExtWebSocket> Sockets() { return Listed(SdkAPIExt_WebSocket_List); }

}  // namespace sdktest
