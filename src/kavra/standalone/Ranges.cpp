#include "kavra/standalone/Ranges.h"

#include "kavra/standalone/Conversion.h"

#include <algorithm>

namespace kavra::standalone {
namespace {

/// Numbers of steps beyond this are refused as too large an array.
constexpr double mostSteps = 1e15;

ArrayClass rangeClass(std::span<const HostArray* const> parts) {
  ArrayClass integer = ArrayClass::None;
  bool single = false, allChar = true;
  for (auto* part : parts) {
    auto c = part->arrayClass();
    if (!isNumberLike(c))
      fail("a range has numbers at its ends");
    if (isInteger(c) && integer != ArrayClass::None && integer != c)
      fail("integers of different classes do not mix");
    if (isInteger(c))
      integer = c;
    single |= c == ArrayClass::Single;
    allChar &= c == ArrayClass::Char;
  }
  if (integer != ArrayClass::None)
    return integer;
  return single ? ArrayClass::Single : allChar ? ArrayClass::Char : ArrayClass::Double;
}

/// How many whole steps fit between the ends. A last point that is off by rounding only (0:0.1:1) still counts.
double stepsBetween(double first, double step, double last) {
  double exact = (last - first) / step;
  double whole = std::floor(exact);
  double nearest = std::round(exact);
  double tolerance = 2 * std::numeric_limits<double>::epsilon() * std::max(std::abs(first), std::abs(last));
  double overshoot = (first + nearest * step - last) * (step > 0 ? 1 : -1);
  return nearest > whole && overshoot <= tolerance ? nearest : whole;
}

/// Points are computed from the nearer end, so that both ends are met exactly and the middle is symmetric.
HostArray floatingRange(Budget& budget, double first, double step, double last) {
  double steps = stepsBetween(first, step, last);
  if (steps > mostSteps)
    fail("an array is too large");
  auto n = static_cast<std::uint64_t>(steps);
  auto result = makeArray(budget, ArrayClass::Double, {1, n + 1});
  auto out = result.mutableData<double>();
  double end = first + steps * step;
  double tolerance = 2 * std::numeric_limits<double>::epsilon() * std::max(std::abs(first), std::abs(last));
  if (std::abs(end - last) <= tolerance)
    end = last;
  for (std::uint64_t i = 0; i <= n / 2; ++i) {
    auto fromStart = static_cast<std::size_t>(i), fromEnd = static_cast<std::size_t>(n - i);
    out[fromStart] = first + static_cast<double>(i) * step;
    if (fromEnd > fromStart)
      out[fromEnd] = end - static_cast<double>(i) * step;
    else if (fromEnd == fromStart && n > 0)
      out[fromStart] = (first + end) / 2;
  }
  return result;
}

/// In 64-bit and smaller integers without ever leaving their range.
template <class T>
HostArray integerRange(Budget& budget, T first, long double step, T last) {
  auto distance = static_cast<long double>(last) - static_cast<long double>(first);
  auto steps = std::floor(distance / step);
  if (steps > mostSteps)
    fail("an array is too large");
  HostArray result = makeArray(budget, classOf<T>, {1, static_cast<std::uint64_t>(steps) + 1});
  long double value = static_cast<long double>(first);
  for (auto& element : result.mutableData<T>()) {
    element = static_cast<T>(value);
    value += step;
  }
  return result;
}

HostArray integerRange(Budget& budget, const HostArray& first, const HostArray& step, const HostArray& last,
                       ArrayClass c) {
  for (auto* part : {&first, &step, &last}) {
    double value = part->numberAt(0);
    if (value != std::floor(value))
      fail("a range of integers has whole numbers only");
  }
  auto from = convert(budget, first, c), to = convert(budget, last, c);
  return withElementType(c, [&](auto zero) {
    using T = decltype(zero);
    if constexpr (std::is_integral_v<T> && !std::is_same_v<T, bool> && !std::is_same_v<T, char16_t>)
      return integerRange<T>(budget, from.template data<T>()[0], Operand<long double>(budget, step).values()[0],
                             to.template data<T>()[0]);
    else
      return HostArray();
  });
}

} // namespace

HostArray makeRange(Budget& budget, const HostArray& first, const HostArray& givenStep, const HostArray& last) {
  auto step = givenStep ? givenStep : HostArray::scalar(1.0);
  const HostArray* parts[] = {&first, &last, &step};
  auto c = rangeClass(std::span(parts).first(givenStep ? 3 : 2));
  for (auto* part : parts) {
    if (part->isEmpty())
      return HostArray::zeros(c == ArrayClass::Char ? ArrayClass::Char : c, {1, 0});
    if (!part->isScalar())
      fail("a range has single numbers at its ends");
  }

  double from = first.numberAt(0), by = step.numberAt(0), to = last.numberAt(0);
  if (std::isnan(from) || std::isnan(by) || std::isnan(to))
    return convert(budget, HostArray::scalar(std::numeric_limits<double>::quiet_NaN()), c);
  if (by == 0 || (by > 0 && from > to) || (by < 0 && from < to))
    return HostArray::zeros(c, {1, 0});
  if (isInteger(c) && std::isfinite(by))
    return integerRange(budget, first, step, last, c);
  if (!std::isfinite(from) || !std::isfinite(to))
    fail("a range has finite ends");
  return convert(budget, std::isinf(by) ? first : floatingRange(budget, from, by, to), c);
}

} // namespace kavra::standalone
