// SipHash-2-4: a hash that nobody can steer without its key.
#include "session/keyed_hash.h"

#include <sys/auxv.h>
#include <sys/random.h>

#include <bit>
#include <cstring>

namespace sdkapi {
namespace {

struct State {
  uint64_t a;
  uint64_t b;
  uint64_t c;
  uint64_t d;

  void Round() {
    a += b;
    b = std::rotl(b, 13) ^ a;
    a = std::rotl(a, 32);
    c += d;
    d = std::rotl(d, 16) ^ c;
    a += d;
    d = std::rotl(d, 21) ^ a;
    c += b;
    b = std::rotl(b, 17) ^ c;
    c = std::rotl(c, 32);
  }

  void Absorb(uint64_t word) {
    d ^= word;
    Round();
    Round();
    a ^= word;
  }
};

// Up to eight bytes as a little-endian number.
uint64_t Word(std::string_view bytes) {
  uint64_t word = 0;
  for (std::size_t i = bytes.size(); i-- > 0;) word = word << 8 | static_cast<unsigned char>(bytes[i]);
  return word;
}

}  // namespace

// The kernel's bytes for this process are always there; where its generator is ready, ours are our own.
HashKey RandomHashKey() {
  HashKey key{};
  // NOLINTNEXTLINE(performance-no-int-to-ptr): the auxiliary vector holds addresses as numbers.
  std::memcpy(&key, reinterpret_cast<const void*>(getauxval(AT_RANDOM)), sizeof key);
  static_cast<void>(!getrandom(&key, sizeof key, GRND_NONBLOCK));
  return key;
}

uint64_t KeyedHash(const HashKey& key, std::string_view text) {
  State state{key.low ^ 0x736f6d6570736575, key.high ^ 0x646f72616e646f6d, key.low ^ 0x6c7967656e657261,
              key.high ^ 0x7465646279746573};
  const uint64_t lastByte = static_cast<uint64_t>(text.size()) << 56;
  for (; text.size() >= 8; text.remove_prefix(8)) state.Absorb(Word(text.substr(0, 8)));
  state.Absorb(lastByte | Word(text));
  state.c ^= 0xff;
  for (int i = 0; i < 4; ++i) state.Round();
  return state.a ^ state.b ^ state.c ^ state.d;
}

}  // namespace sdkapi
