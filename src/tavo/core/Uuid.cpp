#include "tavo/core/Uuid.h"

#include <boost/uuid/entropy_error.hpp>
#include <boost/uuid/name_generator_md5.hpp>
#include <boost/uuid/random_generator.hpp>

#include <array>
#include <cerrno>
#include <limits>
#include <pthread.h>
#include <sys/random.h>

namespace tavo {
namespace {

/// The system's random source as a bit generator, read in blocks: one call for each UUID costs nine times as much.
class SystemRandom {
public:
  using result_type = std::uint32_t;
  static constexpr result_type min() { return 0; }
  static constexpr result_type max() { return std::numeric_limits<result_type>::max(); }

  result_type operator()() {
    if (next_ == size)
      refill();
    return words_[next_++];
  }

  /// Forgets what has been read ahead: a forked child must not repeat its parent's identities.
  void discard() { next_ = size; }

private:
  void refill() {
    auto* bytes = reinterpret_cast<unsigned char*>(words_);
    std::size_t have = 0;
    while (have < sizeof words_) {
      const auto got = ::getrandom(bytes + have, sizeof words_ - have, 0);
      if (got >= 0)
        have += static_cast<std::size_t>(got);
      else if (errno != EINTR)
        BOOST_THROW_EXCEPTION(boost::uuids::entropy_error(errno, "getrandom"));
    }
    next_ = 0;
  }

  static constexpr std::size_t size = 1024;
  std::size_t next_ = size;
  std::uint32_t words_[size];
};

SystemRandom& systemRandom() {
  thread_local SystemRandom source;
  // Registered once; the handler runs in the only thread that a forked child has.
  [[maybe_unused]] static const int registered = ::pthread_atfork(nullptr, nullptr, [] { systemRandom().discard(); });
  return source;
}

} // namespace

Uuid randomUuid() {
  Uuid uuid;
  auto& source = systemRandom();
  for (std::size_t i = 0; i < 4; ++i) {
    const auto word = source();
    std::memcpy(uuid.data + 4 * i, &word, sizeof word);
  }
  uuid.data[6] = static_cast<std::uint8_t>((uuid.data[6] & 0x0f) | 0x40);
  uuid.data[8] = static_cast<std::uint8_t>((uuid.data[8] & 0x3f) | 0x80);
  return uuid;
}

Uuid nameUuid(const Uuid& space, std::string_view name) {
  return boost::uuids::name_generator_md5(space)(name.data(), name.size());
}

void toText(const Uuid& uuid, char (&out)[36]) {
  static constexpr char digits[] = "0123456789abcdef";
  char* to = out;
  for (std::size_t i = 0; i < 16; ++i) {
    if (i == 4 || i == 6 || i == 8 || i == 10)
      *to++ = '-';
    *to++ = digits[uuid.data[i] >> 4];
    *to++ = digits[uuid.data[i] & 0x0f];
  }
}

std::string toText(const Uuid& uuid) {
  char text[36];
  toText(uuid, text);
  return {text, sizeof text};
}

std::optional<Uuid> parseUuid(std::string_view text) {
  if (text.size() != 36)
    return std::nullopt;
  static constexpr std::uint8_t noDigit = 0xFF;
  static constexpr auto values = [] {
    std::array<std::uint8_t, 256> table{};
    table.fill(noDigit);
    for (std::uint8_t i = 0; i < 10; ++i)
      table['0' + i] = i;
    for (std::uint8_t i = 0; i < 6; ++i)
      table['a' + i] = table['A' + i] = static_cast<std::uint8_t>(10 + i);
    return table;
  }();
  const auto digit = [&](std::size_t at) { return values[static_cast<unsigned char>(text[at])]; };
  Uuid uuid;
  std::size_t at = 0;
  for (std::size_t i = 0; i < 16; ++i, at += 2) {
    if ((i == 4 || i == 6 || i == 8 || i == 10) && text[at++] != '-')
      return std::nullopt;
    const std::uint8_t high = digit(at);
    const std::uint8_t low = digit(at + 1);
    if ((high | low) > 0x0F)
      return std::nullopt;
    uuid.data[i] = static_cast<std::uint8_t>(high << 4 | low);
  }
  return uuid;
}

} // namespace tavo
