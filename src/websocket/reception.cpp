// A message of a WebSocket on its way to the host.
#include "websocket/reception.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace sdkapi {

constexpr std::size_t kFirstRoom = 256;

bool Reception::Append(std::string_view part) {
  const std::size_t needed = length + part.size() + 1;
  if (needed > room) {
    const std::size_t more = std::max({needed, room * 2, kFirstRoom});
    auto* const moved = static_cast<char*>(std::realloc(data, more));
    if (moved == nullptr) return false;
    data = moved;
    room = more;
  }
  if (!part.empty()) std::memcpy(data + length, part.data(), part.size());
  length += part.size();
  data[length] = '\0';
  return true;
}

void Reception::Drop() {
  std::free(std::exchange(data, nullptr));
  kind = 0;
  bytes = 0;
  length = 0;
  room = 0;
}

}  // namespace sdkapi
