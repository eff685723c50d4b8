#include "tavo/core/Hash.h"

#include <chrono>
#include <cstring>

#include <sys/random.h>

namespace tavo {
namespace {

std::array<std::uint64_t, 3> randomKeys() {
  std::array<std::uint64_t, 3> keys{};
  if (::getrandom(keys.data(), sizeof keys, GRND_NONBLOCK) == static_cast<ssize_t>(sizeof keys))
    return keys;
  // The system has not gathered enough randomness yet, or forbids the call: what is left is the clock, and where the
  // stack happens to be.
  std::uint64_t seed = static_cast<std::uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count());
  for (auto& key : keys)
    key = seed = mixBits(seed ^ 0x9e3779b97f4a7c15ull, reinterpret_cast<std::uintptr_t>(&keys) ^ 0xe7037ed1a0b428dbull);
  return keys;
}

template <class Word>
std::uint64_t read(const char* at) {
  Word word;
  std::memcpy(&word, at, sizeof word);
  return word;
}

} // namespace

[[gnu::init_priority(101)]] const std::array<std::uint64_t, 3> hashKeys = randomKeys();

std::uint64_t hashBytes(const void* bytes, std::size_t size) noexcept {
  const char* at = static_cast<const char*>(bytes);
  std::size_t left = size;
  std::uint64_t hash = hashKeys[0];
  for (; left > 16; at += 16, left -= 16)
    hash = mixBits(read<std::uint64_t>(at) ^ hashKeys[1], read<std::uint64_t>(at + 8) ^ hash);

  // The rest is taken at once: the two words may overlap, and so may the three bytes. The size tells them apart.
  std::uint64_t first = 0, last = 0;
  if (left >= 8) {
    first = read<std::uint64_t>(at);
    last = read<std::uint64_t>(at + left - 8);
  } else if (left >= 4) {
    first = read<std::uint32_t>(at) << 32 | read<std::uint32_t>(at + left - 4);
  } else if (left > 0) {
    first = read<std::uint8_t>(at) << 16 | read<std::uint8_t>(at + left / 2) << 8 | read<std::uint8_t>(at + left - 1);
  }
  return mixBits(hashKeys[2] ^ size, mixBits(first ^ hashKeys[1], last ^ hash));
}

} // namespace tavo
