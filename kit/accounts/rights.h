// The rights: which roles may ask for which route.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace sdkkit::accounts {

struct Right {
  std::string route;   // "*" at its end: any rest
  std::string method;  // empty: any
  uint32_t roles = 0;
  uint32_t flags = 0;
};

class Rights {
 public:
  // The host's rows come before the kit's.
  Rights(std::vector<Right> rows, uint32_t administrators, uint32_t writers);

  // The first row that fits; there is always one. A "$" at the route's end does not count.
  const Right& Find(std::string_view route, std::string_view method) const;

 private:
  std::vector<Right> rows_;
};

// Whether asking so leaves everything as it is, by its method.
bool IsReading(std::string_view method);

}  // namespace sdkkit::accounts
