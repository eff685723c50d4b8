#include "zelkor/property/IntegerType.impl.h"

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
using Bound = std::optional<std::int64_t>;

/// Up to here every whole number is a double.
constexpr std::uint64_t largestExactInDouble = std::uint64_t{1} << 53;

ArrayClass integerRoot(const IntegerType& type) { return rootClass(type, &kavra::isInteger, ArrayClass::Int64); }

IntegerType baseOf(const IntegerType::Impl& type) { return type.getBaseType().as<IntegerType>(); }

IntRangeCheckResult checkNumber(double x, std::int64_t lo, std::int64_t hi) {
  double whole = 0;
  if (!(std::modf(x, &whole) == 0))
    return IntRangeCheckResult::NOTANINT;
  return static_cast<double>(lo) > x || x > static_cast<double>(hi) ? IntRangeCheckResult::OUTOFRANGE
                                                                    : IntRangeCheckResult::OK;
}

IntRangeCheckResult checkNumber(std::int64_t x, std::int64_t lo, std::int64_t hi) {
  return lo > x || x > hi ? IntRangeCheckResult::OUTOFRANGE : IntRangeCheckResult::OK;
}

std::int64_t defaultNumber(const IntegerType& type) {
  const Bound min = type.getMinValue();
  const Bound max = type.getMaxValue();
  return min && *min > 0 ? *min : max && *max < 0 ? *max : 0;
}

bool holds(ArrayClass integerClass, std::int64_t number) {
  return kavra::withElementType(integerClass, [&](auto zero) {
    using Element = decltype(zero);
    if constexpr (std::is_same_v<Element, std::uint64_t>)
      return number >= 0;
    else
      return static_cast<std::int64_t>(static_cast<Element>(number)) == number;
  });
}

} // namespace

IntegerType IntegerType::makeIntegerType(const tavo::Model& model) {
  if (!model.isOpenForWriting())
    return {};
  tavo::Transaction transaction(model);
  auto type = IntegerType::create(model);
  static_cast<Impl&>(type.object()).setUnitChecker(UnitQueryClientWrapper::get(model));
  transaction.commit();
  return type;
}

IntRangeCheckResult IntegerType::checkRange(const kavra::HostArray& array, std::int64_t lo, std::int64_t hi) {
  if (!kavra::isNumeric(array.arrayClass()))
    return IntRangeCheckResult::NOTANINT;
  auto result = IntRangeCheckResult::OK;
  forEachNumber(array, [&](auto number) {
    if constexpr (std::is_floating_point_v<decltype(number)>)
      result = checkNumber(static_cast<double>(number), lo, hi);
    else
      result = checkNumber(static_cast<std::int64_t>(number), lo, hi);
    return result == IntRangeCheckResult::OK;
  });
  return result;
}

std::optional<std::int64_t> IntegerType::Impl::getMinValue() const {
  return inheritedBound<IntegerType, Bound>(IntegerType(handle().get()), [](const IntegerType& type) {
    return static_cast<const Impl&>(type.object()).getMin();
  });
}

std::optional<std::int64_t> IntegerType::Impl::getMaxValue() const {
  return inheritedBound<IntegerType, Bound>(IntegerType(handle().get()), [](const IntegerType& type) {
    return static_cast<const Impl&>(type.object()).getMax();
  });
}

bool IntegerType::Impl::hasMinValue() const { return true; }
bool IntegerType::Impl::hasMaxValue() const { return true; }

bool IntegerType::Impl::satisfiesMinMax(std::int64_t x) const {
  if (getMin() && !(x >= *getMin()))
    return false;
  return !getMax() || x <= *getMax();
}

bool IntegerType::Impl::typeMatches(const kavra::HostArray& array) const {
  return kavra::isInteger(array.arrayClass()) && integerRoot(IntegerType(handle().get())) == array.arrayClass();
}

void IntegerType::Impl::validateValue(const kavra::HostArray& array) const {
  if (!kavra::isNumeric(array.arrayClass()))
    raise(PropertyError::InvalidIntegerPropValue);
  if (!dimensionsMatch(array))
    raise(PropertyError::InvalidDimensions, renderValueDimensionsAsString(array),
          renderDimensionsAsString(getDimensions()));
  const Bound min = getMinValue();
  const Bound max = getMaxValue();
  if (!min || !max)
    raise(PropertyError::MaxMinMustBeDefined);
  switch (checkRange(array, *min, *max)) {
  case IntRangeCheckResult::OK:
    return;
  case IntRangeCheckResult::NOTANINT:
    raise(PropertyError::InvalidIntegerPropValue);
  case IntRangeCheckResult::OUTOFRANGE:
    raise(PropertyError::InvalidIntegerPropValueMinMax, *min, *max);
  }
}

kavra::HostArray IntegerType::Impl::evalExpression(const tavo::String& text) const {
  // The host reads numbers as doubles; a literal of more digits than those hold is taken as it stands.
  if (const auto literal = kavra::parseIntegerLiteral(text); literal && literal->magnitude > largestExactInDouble)
    if (const auto exact = literal->as<std::int64_t>())
      return kavra::HostArray::scalar(*exact);
  return Base::evalExpression(text);
}

kavra::HostArray IntegerType::Impl::castArray(const kavra::HostArray& array, const tavo::String&) const {
  if (!kavra::isNumeric(array.arrayClass()))
    raise(PropertyError::InvalidIntegerPropValue);
  return castNumbers(array, integerRoot(IntegerType(handle().get())));
}

tavo::String IntegerType::Impl::makeDefaultExpression() const {
  const IntegerType self(handle().get());
  const std::int64_t number = defaultNumber(self);
  const ArrayClass root = integerRoot(self);
  // In a class that does not hold the number, it would saturate before it is compared with the bounds.
  return filledText(std::to_string(number), getDimensions(),
                    holds(root, number) ? kavra::className(root) : std::string_view());
}

kavra::HostArray IntegerType::Impl::makeDefaultValue(const kavra::HostArray& array) const {
  if (array && !array.isEmpty()) {
    validateValue(array);
    return typeMatches(array) ? array : castArray(array, {});
  }
  const IntegerType self(handle().get());
  const std::int64_t number = defaultNumber(self);
  return callHost([&] {
    const auto make = [&](auto value) {
      return isSingle(getDimensions()) ? kavra::HostArray::scalar(value)
                                       : kavra::HostArray::filled(asExtents(getDimensions()), value);
    };
    const ArrayClass root = integerRoot(self);
    return castNumbers(holds(root, number) ? make(number) : make(static_cast<double>(number)), root);
  });
}

void IntegerType::Impl::validateMax(std::int64_t max) const {
  const auto base = baseOf(*this);
  if (const Bound baseMax = base ? base.getMaxValue() : Bound(); baseMax && *baseMax < max)
    raise(PropertyError::InvalidMax, max, *baseMax);
  if (const Bound min = getMinValue(); min && *min > max)
    raise(PropertyError::MaxLessThanMin, max, *min);
}

void IntegerType::Impl::validateMin(std::int64_t min) const {
  const auto base = baseOf(*this);
  if (const Bound baseMin = base ? base.getMinValue() : Bound(); baseMin && *baseMin > min)
    raise(PropertyError::InvalidMin, min, *baseMin);
  if (const Bound max = getMaxValue(); max && *max < min)
    raise(PropertyError::MinGreaterThanMax, min, *max);
}

// A bound that is cleared is checked as zero.
void IntegerType::Impl::aboutToSetMin(const std::optional<std::int64_t>& min) { validateMin(min.value_or(0)); }
void IntegerType::Impl::aboutToSetMax(const std::optional<std::int64_t>& max) { validateMax(max.value_or(0)); }

} // namespace zelkor::property
