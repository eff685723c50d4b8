// What a unit measures: base dimensions with rational exponents.
#pragma once

#include "kavra/Export.h"

#include <boost/rational.hpp>

#include <cstdint>
#include <vector>

namespace kavra::standalone {

using Exponent = boost::rational<std::int64_t>;

/// Exponents stay within +-99 over at most 99: far beyond any use, and sums and products of two never overflow.
KAVRA_EXPORT bool isWithinLimits(const Exponent& exponent);

/// A product of powers of base dimensions. A base dimension is a number that the unit table gives out.
class KAVRA_EXPORT Dimension {
public:
  struct Power {
    std::uint32_t base;
    Exponent exponent; // never zero
    bool operator==(const Power&) const = default;
  };

  Dimension() = default;
  static Dimension base(std::uint32_t index);

  const std::vector<Power>& powers() const { return powers_; } // in the order of the bases

  /// Multiplies by `other` raised to `exponent`. False when an exponent leaves the limits; the value is then unusable.
  [[nodiscard]] bool multiply(const Dimension& other, const Exponent& exponent);

  bool operator==(const Dimension&) const = default;

private:
  std::vector<Power> powers_;
};

} // namespace kavra::standalone
