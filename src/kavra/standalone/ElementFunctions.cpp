#include "kavra/standalone/Arithmetic.h"
#include "kavra/standalone/Conversion.h"
#include "kavra/standalone/Functions.h"

namespace kavra::standalone {
namespace {

/// A function of the real numbers; NaN out of anything but NaN means that the true result is a complex number.
template <double (*function)(double)>
double realOnly(double x) {
  double result = function(x);
  if (std::isnan(result) && std::isfinite(x))
    fail("the result is a complex number");
  return result;
}

template <double (*function)(double)>
HostArray elementary(const Call& call) {
  if (isInteger(call[0].arrayClass()))
    fail("this function is not for integers");
  return mapped(call.budget, realOnly<function>, call[0]);
}

/// Rounding leaves integers alone.
template <double (*function)(double)>
HostArray rounding(const Call& call) {
  return isInteger(call[0].arrayClass()) ? call[0] : mapped(call.budget, function, call[0]);
}

HostArray round(const Call& call) {
  double (*nearest)(double) = std::round;
  if (isInteger(call[0].arrayClass()))
    return call[0];
  if (call.count() == 1)
    return mapped(call.budget, nearest, call[0]);
  double digits = wholeNumber(call[1]);
  if (std::abs(digits) > 300)
    fail("so many digits cannot be kept");
  // Dividing by a power of ten is exact to the last digit, multiplying by a negative one would not be.
  auto scale = HostArray::scalar(std::pow(10.0, std::abs(digits)));
  auto up = digits >= 0 ? TokenKind::Times : TokenKind::Divide,
       down = digits >= 0 ? TokenKind::Divide : TokenKind::Times;
  return elementwise(call.budget, down, mapped(call.budget, nearest, elementwise(call.budget, up, call[0], scale)),
                     scale);
}

HostArray absolute(const Call& call) {
  double (*magnitude)(double) = std::fabs;
  auto array = call[0];
  if (!isInteger(array.arrayClass()))
    return mapped(call.budget, magnitude, array);
  auto negative = unary(call.budget, TokenKind::Minus, array);
  withElementType(array.arrayClass(), [&](auto zero) {
    auto out = array.mutableData<decltype(zero)>();
    auto opposite = negative.data<decltype(zero)>();
    for (std::size_t i = 0; i < out.size(); ++i)
      out[i] = out[i] < decltype(zero){} ? opposite[i] : out[i];
  });
  return array;
}

double signOf(double x) { return x > 0 ? 1 : x < 0 ? -1 : x; }
HostArray sign(const Call& call) { return mapped(call.budget, signOf, call[0]); }

/// The remainder with the sign of the divisor; a quotient that is whole but for rounding leaves nothing.
template <class W>
W modulus(W x, W y) {
  if (y == 0)
    return x;
  if (y != std::floor(y)) {
    W quotient = x / y, nearest = std::round(quotient);
    if (std::abs(quotient - nearest) <= std::numeric_limits<W>::epsilon() * std::abs(quotient))
      return 0;
  }
  W rest = std::fmod(x, y);
  return rest != 0 && (rest < 0) != (y < 0) ? rest + y : rest;
}

template <class W>
W remainder(W x, W y) {
  return y == 0 ? std::numeric_limits<W>::quiet_NaN() : std::fmod(x, y);
}

HostArray mod(const Call& call) {
  return elementwise(call.budget, PairFunction{modulus<double>, modulus<float>, modulus<long double>}, call[0],
                     call[1]);
}

HostArray rem(const Call& call) {
  return elementwise(call.budget, PairFunction{remainder<double>, remainder<float>, remainder<long double>}, call[0],
                     call[1]);
}

template <double (*ofDoubles)(double, double), float (*ofSingles)(float, float)>
HostArray floatingPair(const Call& call) {
  if (isInteger(call[0].arrayClass()) || isInteger(call[1].arrayClass()))
    fail("this function is not for integers");
  return elementwise(call.budget, PairFunction{ofDoubles, ofSingles, nullptr}, call[0], call[1]);
}

double atan2Double(double y, double x) { return std::atan2(y, x); }
float atan2Single(float y, float x) { return std::atan2(y, x); }
double hypotDouble(double x, double y) { return std::hypot(x, y); }
float hypotSingle(float x, float y) { return std::hypot(x, y); }

HostArray power(const Call& call) { return elementwise(call.budget, TokenKind::Power, call[0], call[1]); }

template <bool (*test)(double)>
HostArray tested(const Call& call) {
  auto& array = call[0];
  auto result = makeArray(call.budget, ArrayClass::Logical, array.dimensions());
  if (!isFloating(array.arrayClass()) && !isNumberLike(array.arrayClass()))
    return result;
  auto out = result.mutableData<bool>();
  for (std::size_t i = 0; i < out.size(); ++i)
    out[i] = test(array.numberAt(i));
  return result;
}

double degrees(double x) { return x * (180 / 3.14159265358979323846); }
double radians(double x) { return x * (3.14159265358979323846 / 180); }
bool isNaN(double x) { return std::isnan(x); }
bool isInf(double x) { return std::isinf(x); }
bool isFinite(double x) { return std::isfinite(x); }

constexpr FunctionEntry entries[] = {
    {u"abs", 1, 1, absolute},
    {u"sign", 1, 1, sign},
    {u"floor", 1, 1, rounding<std::floor>},
    {u"ceil", 1, 1, rounding<std::ceil>},
    {u"fix", 1, 1, rounding<std::trunc>},
    {u"round", 1, 2, round},
    {u"mod", 2, 2, mod},
    {u"rem", 2, 2, rem},
    {u"power", 2, 2, power},
    {u"sqrt", 1, 1, elementary<std::sqrt>},
    {u"exp", 1, 1, elementary<std::exp>},
    {u"log", 1, 1, elementary<std::log>},
    {u"log2", 1, 1, elementary<std::log2>},
    {u"log10", 1, 1, elementary<std::log10>},
    {u"sin", 1, 1, elementary<std::sin>},
    {u"cos", 1, 1, elementary<std::cos>},
    {u"tan", 1, 1, elementary<std::tan>},
    {u"asin", 1, 1, elementary<std::asin>},
    {u"acos", 1, 1, elementary<std::acos>},
    {u"atan", 1, 1, elementary<std::atan>},
    {u"sinh", 1, 1, elementary<std::sinh>},
    {u"cosh", 1, 1, elementary<std::cosh>},
    {u"tanh", 1, 1, elementary<std::tanh>},
    {u"atan2", 2, 2, floatingPair<atan2Double, atan2Single>},
    {u"hypot", 2, 2, floatingPair<hypotDouble, hypotSingle>},
    {u"deg2rad", 1, 1, elementary<radians>},
    {u"rad2deg", 1, 1, elementary<degrees>},
    {u"isnan", 1, 1, tested<isNaN>},
    {u"isinf", 1, 1, tested<isInf>},
    {u"isfinite", 1, 1, tested<isFinite>},
};

} // namespace

std::span<const FunctionEntry> elementFunctions() { return entries; }

} // namespace kavra::standalone
