// What a check says: nothing for a good file, else why it is refused.
#pragma once

#include <cstddef>
#include <cstdio>
#include <string>

namespace sdkkit {

// Gives a fault in the form of an SdkKitCheck.
inline int Verdict(const std::string& fault, char* why, std::size_t whySize) {
  std::snprintf(why, whySize, "%s", fault.c_str());
  return fault.empty() ? 0 : -1;
}

}  // namespace sdkkit
