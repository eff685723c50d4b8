#include "kavra/standalone/Conversion.h"
#include "kavra/standalone/Functions.h"

#include <algorithm>

namespace kavra::standalone {
namespace {

/// The class named by the last argument, if it is a text, and the arguments before it.
struct TypedExtents {
  ArrayClass arrayClass = ArrayClass::Double;
  Dimensions extents;
};

TypedExtents typedExtents(const Call& call) {
  TypedExtents result;
  auto sizes = call.arguments;
  if (!sizes.empty()) {
    if (auto name = sizes.back().asText(); name && !sizes.back().isEmpty()) {
      auto named = classNamed(*name);
      if (!named || !isNumeric(*named))
        fail("a numeric class is expected here");
      result.arrayClass = *named;
      sizes = sizes.first(sizes.size() - 1);
    }
  }
  result.extents = extentsFromArguments(sizes);
  return result;
}

HostArray filledWith(const Call& call, double value, bool floatingOnly = false) {
  auto [c, extents] = typedExtents(call);
  if (floatingOnly && !isFloating(c))
    fail("only double and single have this value");
  auto result = makeArray(call.budget, c, extentsOf(extents));
  if (value == 0)
    return result;
  withElementType(c, [&](auto zero) {
    for (auto& element : result.mutableData<decltype(zero)>())
      element = store<decltype(zero)>(value);
  });
  return result;
}

HostArray zeros(const Call& call) { return filledWith(call, 0); }
HostArray ones(const Call& call) { return filledWith(call, 1); }
HostArray infinity(const Call& call) { return filledWith(call, std::numeric_limits<double>::infinity(), true); }
HostArray notANumber(const Call& call) { return filledWith(call, std::numeric_limits<double>::quiet_NaN(), true); }
HostArray pi(const Call&) { return HostArray::scalar(3.14159265358979323846); }

HostArray eye(const Call& call) {
  auto typed = typedExtents(call);
  auto& extents = typed.extents;
  if (extents.size() > 2)
    fail("a unit matrix has two dimensions");
  auto result = makeArray(call.budget, typed.arrayClass, extentsOf(extents));
  withElementType(typed.arrayClass, [&](auto zero) {
    auto out = result.mutableData<decltype(zero)>();
    for (std::uint64_t i = 0; i < std::min(extents[0], extents[1]); ++i)
      out[static_cast<std::size_t>(i * extents[0] + i)] = 1;
  });
  return result;
}

template <bool Value>
HostArray truths(const Call& call) {
  auto extents = extentsFromArguments(call.arguments);
  auto result = makeArray(call.budget, ArrayClass::Logical, extentsOf(extents));
  if (Value) {
    for (auto& element : result.mutableData<bool>())
      element = true;
  }
  return result;
}

HostArray emptyCells(const Call& call) {
  auto extents = call.count() == 0 ? Dimensions{0, 0} : extentsFromArguments(call.arguments);
  return makeArray(call.budget, ArrayClass::Cell, extentsOf(extents));
}

double spacing(double x) {
  x = std::abs(x);
  if (!std::isfinite(x))
    return std::numeric_limits<double>::quiet_NaN();
  if (x < std::numeric_limits<double>::min())
    return std::numeric_limits<double>::denorm_min();
  return std::ldexp(1.0, std::ilogb(x) - 52);
}

/// The distance to the next larger number.
HostArray eps(const Call& call) {
  if (call.count() == 0)
    return HostArray::scalar(spacing(1));
  if (call[0].arrayClass() != ArrayClass::Double || !call[0].isScalar())
    fail("eps is for one double");
  return HostArray::scalar(spacing(call[0].numberAt(0)));
}

template <class Limit>
HostArray integerLimit(const Call& call, Limit limit) {
  auto name = call.count() == 0 ? std::u16string_view(u"int32") : call[0].asText().value_or(u"");
  auto c = classNamed(name);
  if (!c || !isInteger(*c))
    fail("an integer class is expected here");
  return withElementType(*c, [&](auto zero) { return HostArray::scalar(limit(zero)); });
}

HostArray intmax(const Call& call) {
  return integerLimit(call, [](auto zero) { return std::numeric_limits<decltype(zero)>::max(); });
}
HostArray intmin(const Call& call) {
  return integerLimit(call, [](auto zero) { return std::numeric_limits<decltype(zero)>::lowest(); });
}

HostArray floatingLimit(const Call& call, double ofDouble, float ofSingle) {
  auto c = call.count() == 0 ? ArrayClass::Double : classNamed(call[0].asText().value_or(u""));
  if (!c || !isFloating(*c))
    fail("\"double\" or \"single\" is expected here");
  return *c == ArrayClass::Double ? HostArray::scalar(ofDouble) : HostArray::scalar(ofSingle);
}

HostArray realmax(const Call& call) {
  return floatingLimit(call, std::numeric_limits<double>::max(), std::numeric_limits<float>::max());
}
HostArray realmin(const Call& call) {
  return floatingLimit(call, std::numeric_limits<double>::min(), std::numeric_limits<float>::min());
}
HostArray flintmax(const Call& call) { return floatingLimit(call, 9007199254740992.0, 16777216.0f); }

HostArray linspace(const Call& call) {
  auto first = call[0].asNumber(), last = call[1].asNumber();
  double points = call.count() == 3 ? std::max(wholeNumber(call[2]), 1.0) : 100;
  if (!first || !last)
    fail("the ends are numbers");
  if (points > 1e15)
    fail("an array is too large");
  auto result = makeArray(call.budget, ArrayClass::Double, {1, static_cast<std::uint64_t>(points)});
  auto out = result.mutableData<double>();
  double step = points > 1 ? (*last - *first) / (points - 1) : 0;
  for (std::size_t i = 0; i < out.size(); ++i)
    out[i] = *first + static_cast<double>(i) * step;
  out.back() = *last;
  return result;
}

constexpr FunctionEntry entries[] = {
    {u"zeros", 0, anyNumber, zeros},
    {u"ones", 0, anyNumber, ones},
    {u"eye", 0, 3, eye},
    {u"true", 0, anyNumber, truths<true>},
    {u"false", 0, anyNumber, truths<false>},
    {u"cell", 0, anyNumber, emptyCells},
    {u"Inf", 0, anyNumber, infinity},
    {u"inf", 0, anyNumber, infinity},
    {u"NaN", 0, anyNumber, notANumber},
    {u"nan", 0, anyNumber, notANumber},
    {u"pi", 0, 0, pi},
    {u"eps", 0, 1, eps},
    {u"intmax", 0, 1, intmax},
    {u"intmin", 0, 1, intmin},
    {u"realmax", 0, 1, realmax},
    {u"realmin", 0, 1, realmin},
    {u"flintmax", 0, 1, flintmax},
    {u"linspace", 2, 3, linspace},
};

} // namespace

std::span<const FunctionEntry> constructorFunctions() { return entries; }

} // namespace kavra::standalone
