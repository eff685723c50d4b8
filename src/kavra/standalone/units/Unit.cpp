#include "kavra/standalone/units/Unit.h"

#include <cmath>

namespace kavra::standalone {
namespace {

/// x * ratio + shift, rounded once.
double mapExactly(const Fraction& x, const ExactFactor& ratio, const Fraction& from, const Fraction& to) {
  if (auto fraction = ratio.fraction())
    return roundToDouble((x + from) * *fraction - to);
  return BigFloat(BigFloat(Fraction(x + from)) * ratio.approximation() - BigFloat(to)).convert_to<double>();
}

} // namespace

bool Unit::multiply(const Unit& other, const Exponent& exponent) {
  return dimension.multiply(other.dimension, exponent) && factor.multiply(other.factor, exponent);
}

bool Unit::isEquivalent(const Unit& other) const {
  return this == &other || (dimension == other.dimension && zero == other.zero && factor == other.factor);
}

std::optional<UnitConversion> Unit::conversionTo(const Unit& other) const {
  auto ratio = factor;
  if (!ratio.multiply(other.factor, -1))
    return {};
  UnitConversion result{mapExactly(1, ratio, 0, 0), mapExactly(0, ratio, zero, other.zero)};
  if (!std::isnormal(result.factor) || !std::isfinite(result.offset))
    return {};
  return result;
}

std::optional<double> Unit::convert(double value, const Unit& other) const {
  if (!std::isfinite(value))
    return value;
  auto ratio = factor;
  if (!ratio.multiply(other.factor, -1))
    return {};
  return mapExactly(Fraction(value), ratio, zero, other.zero);
}

} // namespace kavra::standalone
