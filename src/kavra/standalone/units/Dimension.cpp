#include "kavra/standalone/units/Dimension.h"

#include <algorithm>

namespace kavra::standalone {

bool isWithinLimits(const Exponent& exponent) {
  return exponent.numerator() <= 99 && exponent.numerator() >= -99 && exponent.denominator() <= 99;
}

Dimension Dimension::base(std::uint32_t index) {
  Dimension result;
  result.powers_.push_back({index, Exponent(1)});
  return result;
}

bool Dimension::multiply(const Dimension& other, const Exponent& exponent) {
  if (exponent.numerator() == 0)
    return true;
  for (const auto& [base, power] : other.powers_) {
    auto place = std::lower_bound(powers_.begin(), powers_.end(), base,
                                  [](const Power& entry, std::uint32_t index) { return entry.base < index; });
    if (place == powers_.end() || place->base != base)
      place = powers_.insert(place, {base, Exponent(0)});
    place->exponent += power * exponent;
    if (!isWithinLimits(place->exponent))
      return false;
    if (place->exponent.numerator() == 0)
      powers_.erase(place);
  }
  return true;
}

} // namespace kavra::standalone
