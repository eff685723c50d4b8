// Texts of single numbers.
#pragma once

#include "kavra/HostArray.h"

#include <limits>

namespace kavra {

/// The shortest text that reads back as exactly this number: "5", "0.1", "1e+300", "-0", "Inf", "NaN".
KAVRA_EXPORT std::string shortestLiteral(double value);

/// An integer of up to 64 bits and a sign, as it was written.
struct IntegerLiteral {
  bool negative = false;
  std::uint64_t magnitude = 0;

  /// The value in a signed or unsigned integer type; nothing when it does not fit.
  template <class T>
  std::optional<T> as() const {
    constexpr auto largest = static_cast<std::uint64_t>(std::numeric_limits<T>::max());
    if (!negative || magnitude == 0)
      return magnitude <= largest ? std::optional<T>(static_cast<T>(magnitude)) : std::nullopt;
    if (!std::is_signed_v<T> || magnitude > largest + 1)
      return {};
    return static_cast<T>(~(magnitude - 1));
  }
};

/// Reads a plain decimal integer, blanks and one sign around it allowed, digit for digit: a double holds only those up
/// to 2^53 exactly. Nothing for any other text.
KAVRA_EXPORT std::optional<IntegerLiteral> parseIntegerLiteral(std::u16string_view text);

/// The value of a text that is one plain literal (5, -3e2, true, 'abc'), without the evaluator and, for numbers,
/// without the heap. Null for everything else; what it answers is what the evaluator would.
KAVRA_EXPORT HostArray parsePlainLiteral(std::u16string_view text);

} // namespace kavra
