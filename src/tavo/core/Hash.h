// Hashes of texts and identities, which nobody outside the process can foresee.
#pragma once

#include "tavo/Export.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace tavo {

/// Random in each process, so that nobody can make a file whose names or identities all fall into one place of a table.
/// They are there before any other static object. Nothing that is saved may depend on them.
extern TAVO_EXPORT const std::array<std::uint64_t, 3> hashKeys;

/// Folds the 128-bit product of two words; every bit of either reaches every bit of the result.
inline std::uint64_t mixBits(std::uint64_t a, std::uint64_t b) {
  __extension__ using Wide = unsigned __int128;
  const Wide product = static_cast<Wide>(a) * b;
  return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
}

TAVO_EXPORT std::uint64_t hashBytes(const void* bytes, std::size_t size) noexcept;

/// For tables of names as files have them.
struct BytesHash {
  using is_avalanching = void;
  using is_transparent = void;
  std::size_t operator()(std::string_view text) const noexcept { return hashBytes(text.data(), text.size()); }
};

} // namespace tavo
