// A unit as the table or a text defines it.
#pragma once

#include "kavra/UnitService.h"
#include "kavra/standalone/units/ExactFactor.h"

#include <optional>

namespace kavra::standalone {

/// A number `x` in this unit is `(x + zero) * factor` in the base units of its dimension.
struct KAVRA_EXPORT Unit {
  Dimension dimension;
  ExactFactor factor;
  Fraction zero; // not zero for a unit with a zero point of its own, which can only stand alone

  bool hasOwnZero() const { return !zero.is_zero(); }

  /// Multiplies by `other` raised to `exponent`. False when the result is beyond the limits of exact numbers.
  [[nodiscard]] bool multiply(const Unit& other, const Exponent& exponent);

  bool isEquivalent(const Unit& other) const;
  bool isConvertible(const Unit& other) const { return dimension == other.dimension; }

  /// The map to a convertible unit, each of its two numbers rounded once; nothing when one leaves the range of double.
  std::optional<UnitConversion> conversionTo(const Unit& other) const;
  /// The number `value` in a convertible unit, computed exactly and rounded once; infinities and NaN stay what they
  /// are. Nothing when the two sizes are too far apart to be compared exactly.
  std::optional<double> convert(double value, const Unit& other) const;
};

} // namespace kavra::standalone
