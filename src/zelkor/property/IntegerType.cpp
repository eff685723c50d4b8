#include "zelkor/property/IntegerType.impl.h"

#include "kavra/Literals.h"
#include "zelkor/property/DefaultTexts.h"
#include "zelkor/property/NumericTypes.h"

#include <cmath>

namespace zelkor::property {
namespace {

using kavra::ArrayClass;
using Numeric = NumericType<IntegerType>;

/// Up to here every whole number is a double.
constexpr std::uint64_t largestExactInDouble = std::uint64_t{1} << 53;

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

IntegerType IntegerType::makeIntegerType(const tavo::Model& model) { return Numeric::make(model); }

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

std::optional<std::int64_t> IntegerType::Impl::getMinValue() const { return Numeric(*this).min(); }
std::optional<std::int64_t> IntegerType::Impl::getMaxValue() const { return Numeric(*this).max(); }
bool IntegerType::Impl::hasMinValue() const { return true; }
bool IntegerType::Impl::hasMaxValue() const { return true; }

bool IntegerType::Impl::satisfiesMinMax(std::int64_t x) const { return Numeric(*this).satisfiesOwnBounds(x); }

bool IntegerType::Impl::typeMatches(const kavra::HostArray& array) const { return Numeric(*this).matches(array); }

void IntegerType::Impl::validateValue(const kavra::HostArray& array) const {
  const auto [min, max] = Numeric(*this).requireNumbers(array);
  switch (checkRange(array, min, max)) {
  case IntRangeCheckResult::OK:
    return;
  case IntRangeCheckResult::NOTANINT:
    raise(PropertyError::InvalidIntegerPropValue);
  case IntRangeCheckResult::OUTOFRANGE:
    raise(PropertyError::InvalidIntegerPropValueMinMax, min, max);
  }
}

kavra::HostArray IntegerType::Impl::evalExpression(const tavo::String& text) const {
  auto array = Base::evalExpression(text);
  // The host reads numbers as doubles; a literal of more digits than those hold is taken as it stands.
  if (const auto literal = kavra::parseIntegerLiteral(text);
      array && literal && literal->magnitude > largestExactInDouble)
    if (const auto exact = literal->as<std::int64_t>())
      return kavra::HostArray::scalar(*exact);
  return array;
}

kavra::HostArray IntegerType::Impl::castArray(const kavra::HostArray& array, const tavo::String&) const {
  return Numeric(*this).cast(array);
}

tavo::String IntegerType::Impl::makeDefaultExpression() const {
  const Numeric self(*this);
  const std::int64_t number = self.nearestToZero();
  const ArrayClass root = self.rootClass();
  // In a class that does not hold the number, it would saturate before it is compared with the bounds.
  return filledText(std::to_string(number), getDimensions(),
                    holds(root, number) ? kavra::className(root) : std::string_view());
}

kavra::HostArray IntegerType::Impl::makeDefaultValue(const kavra::HostArray& array) const {
  const Numeric self(*this);
  const std::int64_t number = self.nearestToZero();
  // Numbers that the class does not hold saturate as doubles do; integers would wrap around.
  return holds(self.rootClass(), number) ? self.defaultValue(array, number)
                                         : self.defaultValue(array, static_cast<double>(number));
}

void IntegerType::Impl::validateMax(std::int64_t max) const { Numeric(*this).requireValidMax(max); }
void IntegerType::Impl::validateMin(std::int64_t min) const { Numeric(*this).requireValidMin(min); }

// A bound that is cleared is checked as zero.
void IntegerType::Impl::aboutToSetMin(const std::optional<std::int64_t>& min) { validateMin(min.value_or(0)); }
void IntegerType::Impl::aboutToSetMax(const std::optional<std::int64_t>& max) { validateMax(max.value_or(0)); }

} // namespace zelkor::property
