#include "zelkor/property/FloatType.impl.h"

#include "kavra/Literals.h"
#include "tavo/model/Transaction.h"
#include "zelkor/framework/Errors.h"
#include "zelkor/framework/HostCalls.h"
#include "zelkor/property/BaseTypes.h"
#include "zelkor/property/DefaultTexts.h"
#include "zelkor/property/NumericArrays.h"
#include "zelkor/property/UnitQueryClientWrapper.h"

#include <cmath>

namespace zelkor::property {
namespace {

using kavra::ArrayClass;
using Bound = std::optional<double>;

ArrayClass floatingRoot(const FloatType& type) { return rootClass(type, &kavra::isFloating, ArrayClass::Double); }

FloatType baseOf(const FloatType::Impl& type) { return type.getBaseType().as<FloatType>(); }

/// The number that defaults are made of.
struct DefaultNumber {
  double value;
  bool isOfRoot; ///< whether an array of the root class can hold it within the bounds
};

DefaultNumber defaultNumber(const FloatType& type) {
  const Bound min = type.getMinValue();
  const Bound max = type.getMaxValue();
  const double nearest = min && *min > 0 ? *min : max && *max < 0 ? *max : 0;
  if (nearest == 0 || floatingRoot(type) == ArrayClass::Double)
    return {nearest, true};

  // Singles lie less close; the one nearest to a bound may be outside.
  const auto isInside = [&](float x) { return !(min && *min > x) && !(max && x > *max); };
  const auto single = static_cast<float>(nearest);
  if (isInside(single))
    return {nearest, true};
  const float inner = std::nextafter(single, std::copysign(HUGE_VALF, single));
  return isInside(inner) ? DefaultNumber{inner, true} : DefaultNumber{nearest, false};
}

} // namespace

FloatType FloatType::makeFloatType(const tavo::Model& model) {
  if (!model.isOpenForWriting())
    return {};
  tavo::Transaction transaction(model);
  auto type = FloatType::create(model);
  static_cast<Impl&>(type.object()).setUnitChecker(UnitQueryClientWrapper::get(model));
  transaction.commit();
  return type;
}

bool FloatType::checkRange(const kavra::HostArray& array, double lo, double hi) {
  if (!kavra::isNumeric(array.arrayClass()))
    return false;
  return forEachNumber(array, [&](auto number) {
    const auto x = static_cast<double>(number);
    return !(lo > x) && !(x > hi);
  });
}

std::optional<double> FloatType::Impl::getMinValue() const {
  return inheritedBound<FloatType, Bound>(FloatType(handle().get()), [](const FloatType& type) {
    return static_cast<const Impl&>(type.object()).getMin();
  });
}

std::optional<double> FloatType::Impl::getMaxValue() const {
  return inheritedBound<FloatType, Bound>(FloatType(handle().get()), [](const FloatType& type) {
    return static_cast<const Impl&>(type.object()).getMax();
  });
}

bool FloatType::Impl::hasMinValue() const { return true; }
bool FloatType::Impl::hasMaxValue() const { return true; }

bool FloatType::Impl::satisfiesMinMax(double x) const {
  if (getMin() && !(x >= *getMin()))
    return false;
  return !getMax() || *getMax() >= x;
}

bool FloatType::Impl::typeMatches(const kavra::HostArray& array) const {
  return kavra::isFloating(array.arrayClass()) && floatingRoot(FloatType(handle().get())) == array.arrayClass();
}

void FloatType::Impl::validateValue(const kavra::HostArray& array) const {
  if (!kavra::isNumeric(array.arrayClass()))
    raise(PropertyError::InvalidRealPropValue);
  if (!dimensionsMatch(array))
    raise(PropertyError::InvalidDimensions, renderValueDimensionsAsString(array),
          renderDimensionsAsString(getDimensions()));
  const Bound min = getMinValue();
  const Bound max = getMaxValue();
  if (!min || !max)
    raise(PropertyError::MaxMinMustBeDefined);
  if (!checkRange(array, *min, *max))
    raise(PropertyError::InvalidRealPropValueMinMax, *min, *max);
}

kavra::HostArray FloatType::Impl::castArray(const kavra::HostArray& array, const tavo::String&) const {
  if (!kavra::isNumeric(array.arrayClass()))
    raise(PropertyError::InvalidRealPropValue);
  return castNumbers(array, floatingRoot(FloatType(handle().get())));
}

tavo::String FloatType::Impl::makeDefaultExpression() const {
  const FloatType self(handle().get());
  const auto number = defaultNumber(self);
  const auto className = number.isOfRoot ? kavra::className(floatingRoot(self)) : std::string_view();
  return filledText(kavra::shortestLiteral(number.value), getDimensions(), className);
}

kavra::HostArray FloatType::Impl::makeDefaultValue(const kavra::HostArray& array) const {
  if (array && !array.isEmpty()) {
    validateValue(array);
    return typeMatches(array) ? array : castArray(array, {});
  }
  const FloatType self(handle().get());
  const double value = defaultNumber(self).value;
  return callHost([&] {
    const auto filled = isSingle(getDimensions()) ? kavra::HostArray::scalar(value)
                                                  : kavra::HostArray::filled(asExtents(getDimensions()), value);
    return castNumbers(filled, floatingRoot(self));
  });
}

void FloatType::Impl::validateMax(double max) const {
  const auto base = baseOf(*this);
  if (const Bound baseMax = base ? base.getMaxValue() : Bound(); baseMax && *baseMax < max)
    raise(PropertyError::InvalidMax, max, *baseMax);
  if (const Bound min = getMinValue(); min && *min > max)
    raise(PropertyError::MaxLessThanMin, max, *min);
}

void FloatType::Impl::validateMin(double min) const {
  const auto base = baseOf(*this);
  if (const Bound baseMin = base ? base.getMinValue() : Bound(); baseMin && *baseMin > min)
    raise(PropertyError::InvalidMin, min, *baseMin);
  if (const Bound max = getMaxValue(); max && *max < min)
    raise(PropertyError::MinGreaterThanMax, min, *max);
}

// A bound that is cleared is checked as zero.
void FloatType::Impl::aboutToSetMin(const std::optional<double>& min) { validateMin(min.value_or(0)); }
void FloatType::Impl::aboutToSetMax(const std::optional<double>& max) { validateMax(max.value_or(0)); }

} // namespace zelkor::property
