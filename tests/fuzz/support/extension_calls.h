// Calls of the extension interface, chosen by the bytes of an input.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace fuzz {

// Takes an input apart; behind its end stand zeros.
class Input {
 public:
  explicit Input(std::string_view bytes) : bytes_(bytes) {}

  bool empty() const { return bytes_.empty(); }
  std::size_t size() const { return bytes_.size(); }
  uint8_t Byte();
  // 0 to 2^64-1, the small ones most of all.
  uint64_t Number();
  // A length byte and as many bytes as there are.
  std::string_view Text();
  std::string_view Take(std::size_t length);

 private:
  std::string_view bytes_;
};

// Makes calls until the input ends, and checks what they return. For any thread that serves no request.
void CallExtensions(Input input);

// Every setting at its neutral value, but hooks that check what they get.
void SetCheckingExtensions();

}  // namespace fuzz
