// A message of a WebSocket on its way to the host.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace sdkapi {

// One message that comes in frames. Its text has a NUL behind it.
struct Reception {
  Reception() = default;
  ~Reception() { Drop(); }
  Reception(const Reception&) = delete;
  Reception& operator=(const Reception&) = delete;

  int kind = 0;        // the opcode of the message that has begun; 0: none has
  uint64_t bytes = 0;  // of the message so far, kept or not
  char* data = nullptr;
  std::size_t length = 0;
  std::size_t room = 0;

  // False when memory is short.
  bool Append(std::string_view part);
  void Drop();
};

}  // namespace sdkapi
