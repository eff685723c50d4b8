#include "zelkor/property/FloatType.impl.h"

#include "kavra/Literals.h"
#include "zelkor/property/DefaultTexts.h"
#include "zelkor/property/NumericTypes.h"

#include <cmath>

namespace zelkor::property {
namespace {

using kavra::ArrayClass;
using Numeric = NumericType<FloatType>;

/// The number that defaults are made of.
struct DefaultNumber {
  double value;
  bool isOfRoot; ///< whether an array of the root class can hold it within the bounds
};

DefaultNumber defaultNumber(const Numeric& type) {
  const double nearest = type.nearestToZero();
  if (nearest == 0 || type.rootClass() == ArrayClass::Double)
    return {nearest, true};

  // Singles lie less close; the one nearest to a bound may be outside.
  const auto isInside = [min = type.min(), max = type.max()](float x) {
    return !(min && *min > x) && !(max && x > *max);
  };
  const auto single = static_cast<float>(nearest);
  if (isInside(single))
    return {nearest, true};
  const float inner = std::nextafter(single, std::copysign(HUGE_VALF, single));
  return isInside(inner) ? DefaultNumber{inner, true} : DefaultNumber{nearest, false};
}

} // namespace

FloatType FloatType::makeFloatType(const tavo::Model& model) { return Numeric::make(model); }

bool FloatType::checkRange(const kavra::HostArray& array, double lo, double hi) {
  if (!kavra::isNumeric(array.arrayClass()))
    return false;
  return forEachNumber(array, [&](auto number) {
    const auto x = static_cast<double>(number);
    return !(lo > x) && !(x > hi);
  });
}

std::optional<double> FloatType::Impl::getMinValue() const { return Numeric(*this).min(); }
std::optional<double> FloatType::Impl::getMaxValue() const { return Numeric(*this).max(); }
bool FloatType::Impl::hasMinValue() const { return true; }
bool FloatType::Impl::hasMaxValue() const { return true; }

bool FloatType::Impl::satisfiesMinMax(double x) const { return Numeric(*this).satisfiesOwnBounds(x); }

bool FloatType::Impl::typeMatches(const kavra::HostArray& array) const { return Numeric(*this).matches(array); }

void FloatType::Impl::validateValue(const kavra::HostArray& array) const {
  const auto [min, max] = Numeric(*this).requireNumbers(array);
  if (!checkRange(array, min, max))
    raise(PropertyError::InvalidRealPropValueMinMax, min, max);
}

kavra::HostArray FloatType::Impl::castArray(const kavra::HostArray& array, const tavo::String&) const {
  return Numeric(*this).cast(array);
}

tavo::String FloatType::Impl::makeDefaultExpression() const {
  const Numeric self(*this);
  const auto number = defaultNumber(self);
  const auto className = number.isOfRoot ? kavra::className(self.rootClass()) : std::string_view();
  return filledText(kavra::shortestLiteral(number.value), getDimensions(), className);
}

kavra::HostArray FloatType::Impl::makeDefaultValue(const kavra::HostArray& array) const {
  const Numeric self(*this);
  return self.defaultValue(array, defaultNumber(self).value);
}

void FloatType::Impl::validateMax(double max) const { Numeric(*this).requireValidMax(max); }
void FloatType::Impl::validateMin(double min) const { Numeric(*this).requireValidMin(min); }

// A bound that is cleared is checked as zero.
void FloatType::Impl::aboutToSetMin(const std::optional<double>& min) { validateMin(min.value_or(0)); }
void FloatType::Impl::aboutToSetMax(const std::optional<double>& max) { validateMax(max.value_or(0)); }

} // namespace zelkor::property
