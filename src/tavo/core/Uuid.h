// Identities of objects: 128-bit UUIDs, their text and their sources.
#pragma once

#include "tavo/core/Hash.h"

#include <boost/uuid/uuid.hpp>

#include <bit>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>

namespace tavo {

/// A 128-bit identity. A value-initialised one is nil, which stands for "none" or "make one".
using Uuid = boost::uuids::uuid;

/// A random (version 4) UUID from the system's random source, which is read in blocks.
/// Raises boost::uuids::entropy_error when the source fails for a reason other than an interrupted call.
TAVO_EXPORT Uuid randomUuid();

/// The name-based (version 3) UUID of `name` (its UTF-8 bytes) in `space`, as RFC 4122 section 4.3 defines it.
TAVO_EXPORT Uuid nameUuid(const Uuid& space, std::string_view name);

/// The identity that follows from those of an owner and a feature, for objects of classes with derived identities: as
/// good as random when both are, of version 8, a form of our own.
inline Uuid derivedUuid(const Uuid& owner, const Uuid& feature) {
  // The bytes of the second one are turned by five, then come version and variant. Words do it as one: this is called
  // several times for every value of an element.
  static_assert(std::endian::native == std::endian::little);
  constexpr int turn = 5 * 8, rest = 64 - turn;
  constexpr auto bits = [](std::uint64_t byte, int at) { return byte << 8 * at; };
  std::uint64_t words[2], turned[2];
  std::memcpy(words, owner.data, sizeof words);
  std::memcpy(turned, feature.data, sizeof turned);
  words[0] ^= turned[0] >> turn | turned[1] << rest;
  words[1] ^= turned[1] >> turn | turned[0] << rest;
  words[0] = (words[0] & ~bits(0xf0, 6)) | bits(0x80, 6);
  words[1] = (words[1] & ~bits(0xc0, 0)) | bits(0x80, 0);
  Uuid mixed;
  std::memcpy(mixed.data, words, sizeof words);
  return mixed;
}

/// The canonical lower-case text of 36 characters.
TAVO_EXPORT std::string toText(const Uuid& uuid);
TAVO_EXPORT void toText(const Uuid& uuid, char (&out)[36]);

/// Reads the canonical text, letters of either case; nothing when the text is anything else.
TAVO_EXPORT std::optional<Uuid> parseUuid(std::string_view text);

/// A hash over both 64-bit halves. Identities that a host gives may be consecutive numbers, so every bit counts.
inline std::size_t hashUuid(const Uuid& uuid) {
  std::uint64_t words[2];
  std::memcpy(words, uuid.data, sizeof words);
  return mixBits(words[0] ^ hashKeys[0], words[1] ^ hashKeys[1]);
}

struct UuidHash {
  using is_avalanching = void;
  std::size_t operator()(const Uuid& uuid) const { return hashUuid(uuid); }
};

} // namespace tavo
