// Numbers as exact as the definitions of units: roots of fractions, times a power of pi.
#pragma once

#include "kavra/Export.h"
#include "kavra/standalone/units/Dimension.h"

#include <boost/multiprecision/cpp_bin_float.hpp>
#include <boost/multiprecision/cpp_int.hpp>

#include <optional>

namespace kavra::standalone {

using Fraction = boost::multiprecision::cpp_rational;
using BigFloat = boost::multiprecision::cpp_bin_float_100;

/// The nearest double; infinite or zero beyond the range of double.
KAVRA_EXPORT double roundToDouble(const Fraction& number);

/// A positive number of the form fraction^(1/root) * pi^exponent. Every ratio of two units is one.
class KAVRA_EXPORT ExactFactor {
public:
  ExactFactor() = default; // one
  explicit ExactFactor(Fraction number) : radicand_(std::move(number)) {}
  static ExactFactor pi();

  /// Multiplies by `other` raised to `exponent`. False when the result would be too large to keep exactly;
  /// the value is then unusable.
  [[nodiscard]] bool multiply(const ExactFactor& other, const Exponent& exponent);

  /// The number itself where it is a fraction.
  const Fraction* fraction() const;
  /// A hundred digits of it.
  BigFloat approximation() const;

  bool operator==(const ExactFactor& other) const;

private:
  Fraction radicand_ = 1;
  unsigned root_ = 1;
  Exponent piPower_ = 0;
};

} // namespace kavra::standalone
