#include "kavra/standalone/Arithmetic.h"

#include "kavra/EnumerationClass.h"
#include "kavra/standalone/Conversion.h"

#include <algorithm>

namespace kavra::standalone {
namespace {

//----------------------------------------------------------------------------------------------------------------------
// Expansion

/// The extents of a result: where two extents differ, one of them is one and its elements repeat.
Dimensions commonExtents(std::span<const std::uint64_t> a, std::span<const std::uint64_t> b) {
  Dimensions result(std::max(a.size(), b.size()), 1);
  for (std::size_t d = 0; d < result.size(); ++d) {
    auto x = d < a.size() ? a[d] : 1, y = d < b.size() ? b[d] : 1;
    if (x != y && x != 1 && y != 1)
      fail("the dimensions do not match");
    result[d] = x == 1 ? y : x;
  }
  return result;
}

/// How far to step in an operand for each step of the result along each dimension: not at all where it repeats.
Dimensions stridesIn(std::span<const std::uint64_t> extents, std::size_t dimensions) {
  Dimensions strides(dimensions, 0);
  std::uint64_t stride = 1;
  for (std::size_t d = 0; d < extents.size(); ++d) {
    if (extents[d] != 1)
      strides[d] = stride;
    stride *= extents[d];
  }
  return strides;
}

/// Calls `visit(indexInA, indexInB)` once for each element of the result, in its order.
template <class Visit>
void expand(const Dimensions& result, std::span<const std::uint64_t> a, std::span<const std::uint64_t> b, Visit visit) {
  auto stridesA = stridesIn(a, result.size()), stridesB = stridesIn(b, result.size());
  Dimensions position(result.size(), 0);
  std::uint64_t indexA = 0, indexB = 0;
  for (;;) {
    for (std::uint64_t i = 0; i < result[0]; ++i)
      visit(indexA + i * stridesA[0], indexB + i * stridesB[0]);
    std::size_t d = 1;
    for (; d < result.size(); ++d) {
      indexA += stridesA[d];
      indexB += stridesB[d];
      if (++position[d] < result[d])
        break;
      position[d] = 0;
      indexA -= stridesA[d] * result[d];
      indexB -= stridesB[d] * result[d];
    }
    if (d == result.size())
      return;
  }
}

template <class W, class R, class Function>
HostArray combine(Budget& budget, const HostArray& a, const HostArray& b, Function function) {
  Operand<W> left(budget, a), right(budget, b);
  auto x = left.values(), y = right.values();
  if (x.size() == 1 && y.size() == 1 && a.isScalar() && b.isScalar())
    return HostArray::scalar<R>(store<R>(function(x[0], y[0])));

  auto extents = commonExtents(left.extents(), right.extents());
  HostArray result = makeArray(budget, classOf<R>, extentsOf(extents));
  if (result.isEmpty())
    return result;
  budget.spend(2 * result.count()); // the function may be a slow one
  auto* out = result.mutableData<R>().data();
  expand(extents, left.extents(), right.extents(), [&](std::uint64_t i, std::uint64_t j) {
    *out++ = store<R>(function(x[static_cast<std::size_t>(i)], y[static_cast<std::size_t>(j)]));
  });
  return result;
}

//----------------------------------------------------------------------------------------------------------------------
// Arithmetic

template <class W>
W power(W base, W exponent) {
  auto result = std::pow(base, exponent);
  if (std::isnan(result) && !std::isnan(base) && !std::isnan(exponent))
    fail("the result is a complex number");
  return result;
}

/// One operator in each of the three working types.
#define KAVRA_PAIR_FUNCTION(expression)                                                                                \
  PairFunction {                                                                                                       \
    [](double x, double y) -> double { return expression; }, [](float x, float y) -> float { return expression; },     \
        [](long double x, long double y) -> long double { return expression; }                                         \
  }

PairFunction arithmeticFunction(TokenKind op) {
  switch (op) {
  case TokenKind::Plus:
    return KAVRA_PAIR_FUNCTION(x + y);
  case TokenKind::Minus:
    return KAVRA_PAIR_FUNCTION(x - y);
  case TokenKind::Times:
    return KAVRA_PAIR_FUNCTION(x * y);
  case TokenKind::Divide:
    return KAVRA_PAIR_FUNCTION(x / y);
  case TokenKind::LeftDivide:
    return KAVRA_PAIR_FUNCTION(y / x);
  default:
    return KAVRA_PAIR_FUNCTION(power(x, y));
  }
}
#undef KAVRA_PAIR_FUNCTION

bool isArithmetic(TokenKind op) {
  return op == TokenKind::Plus || op == TokenKind::Minus || op == TokenKind::Times || op == TokenKind::Divide ||
         op == TokenKind::LeftDivide || op == TokenKind::Power;
}

//----------------------------------------------------------------------------------------------------------------------
// Comparison and logic

template <class W>
using Test = bool (*)(W, W);

template <class W>
Test<W> comparison(TokenKind op) {
  switch (op) {
  case TokenKind::Less:
    return [](W x, W y) { return x < y; };
  case TokenKind::LessEqual:
    return [](W x, W y) { return x <= y; };
  case TokenKind::Greater:
    return [](W x, W y) { return x > y; };
  case TokenKind::GreaterEqual:
    return [](W x, W y) { return x >= y; };
  case TokenKind::Equal:
    return [](W x, W y) { return x == y; };
  default:
    return [](W x, W y) { return x != y; };
  }
}

/// Any two arrays whose elements are found by index, compared by `test(i, j)`.
template <class Function>
HostArray compareBy(Budget& budget, const HostArray& a, const HostArray& b, Function test) {
  auto extents = commonExtents(a.dimensions(), b.dimensions());
  auto result = makeArray(budget, ArrayClass::Logical, extentsOf(extents));
  if (result.isEmpty())
    return result;
  auto* out = result.mutableData<bool>().data();
  expand(extents, a.dimensions(), b.dimensions(), [&](std::uint64_t i, std::uint64_t j) {
    *out++ = test(static_cast<std::size_t>(i), static_cast<std::size_t>(j));
  });
  return result;
}

HostArray compareStrings(Budget& budget, TokenKind op, const HostArray& a, const HostArray& b) {
  auto left = convert(budget, a, ArrayClass::String), right = convert(budget, b, ArrayClass::String);
  auto test = comparison<int>(op);
  return compareBy(budget, left, right, [&](std::size_t i, std::size_t j) {
    return test(left.strings()[i].compare(right.strings()[j]), 0);
  });
}

/// The members of a text beside an enumeration array, so that Colors.Red == 'Red'.
HostArray asMembers(const HostArray& array, const EnumerationClass& enumeration) {
  if (array.arrayClass() == ArrayClass::Enumeration)
    return array;
  auto text = array.asText();
  auto index = text ? enumeration.indexOfName(*text) : std::nullopt;
  if (!index)
    fail("a member of " + std::string(enumeration.name().begin(), enumeration.name().end()) + " is expected here");
  return HostArray::enumeration(enumeration, *index);
}

HostArray compareMembers(Budget& budget, TokenKind op, const HostArray& a, const HostArray& b) {
  if (op != TokenKind::Equal && op != TokenKind::NotEqual)
    fail("members of enumerations are equal or not, they have no order");
  auto& enumeration = (a.arrayClass() == ArrayClass::Enumeration ? a : b).enumerationClass();
  auto left = asMembers(a, enumeration), right = asMembers(b, enumeration);
  if (left.enumerationClass().name() != right.enumerationClass().name())
    fail("members of different enumerations cannot be compared");
  auto name = [](const HostArray& array, std::size_t i) -> const std::u16string& {
    return array.enumerationClass().members()[array.memberIndices()[i]].name;
  };
  return compareBy(budget, left, right, [&](std::size_t i, std::size_t j) {
    return (name(left, i) == name(right, j)) == (op == TokenKind::Equal);
  });
}

HostArray compare(Budget& budget, TokenKind op, const HostArray& a, const HostArray& b) {
  auto x = a.arrayClass(), y = b.arrayClass();
  if (x == ArrayClass::Enumeration || y == ArrayClass::Enumeration)
    return compareMembers(budget, op, a, b);
  if (x == ArrayClass::String || y == ArrayClass::String)
    return compareStrings(budget, op, a, b);
  if (!isNumberLike(x) || !isNumberLike(y))
    fail("these cannot be compared");
  if (needsExtendedPrecision(x) || needsExtendedPrecision(y))
    return combine<long double, bool>(budget, a, b, comparison<long double>(op));
  return combine<double, bool>(budget, a, b, comparison<double>(op));
}

HostArray truths(Budget& budget, const HostArray& array) {
  if (!isNumberLike(array.arrayClass()))
    fail("this is neither true nor false");
  return convert(budget, array, ArrayClass::Logical);
}

HostArray combineTruths(Budget& budget, TokenKind op, const HostArray& a, const HostArray& b) {
  auto left = truths(budget, a), right = truths(budget, b);
  if (op == TokenKind::And)
    return combine<double, bool>(budget, left, right, [](double x, double y) { return x != 0 && y != 0; });
  return combine<double, bool>(budget, left, right, [](double x, double y) { return x != 0 || y != 0; });
}

/// Texts are joined by +, numbers beside them as their texts.
HostArray joinTexts(Budget& budget, const HostArray& a, const HostArray& b) {
  auto left = convert(budget, a, ArrayClass::String), right = convert(budget, b, ArrayClass::String);
  auto extents = commonExtents(left.dimensions(), right.dimensions());
  budget.charge(ArrayClass::String, extentsOf(extents));
  std::vector<std::u16string> texts;
  if (std::find(extents.begin(), extents.end(), 0u) == extents.end()) {
    expand(extents, left.dimensions(), right.dimensions(), [&](std::uint64_t i, std::uint64_t j) {
      auto &x = left.strings()[static_cast<std::size_t>(i)], &y = right.strings()[static_cast<std::size_t>(j)];
      budget.reserve((x.size() + y.size()) * sizeof(char16_t));
      texts.push_back(x + y);
    });
  }
  return HostArray::strings(extentsOf(extents), std::move(texts));
}

double negated(double x) { return -x; }

} // namespace

ArrayClass arithmeticClass(const HostArray& a, const HostArray& b) {
  auto x = a.arrayClass(), y = b.arrayClass();
  if (!isNumberLike(x) || !isNumberLike(y))
    fail("there is no arithmetic with these");
  if (isInteger(x) && isInteger(y)) {
    if (x != y)
      fail("integers of different classes do not mix");
    return x;
  }
  if (isInteger(x) || isInteger(y)) {
    if (!(isInteger(x) ? b : a).isScalar())
      fail("integers mix with integers of their class and with scalars only");
    return isInteger(x) ? x : y;
  }
  return x == ArrayClass::Single || y == ArrayClass::Single ? ArrayClass::Single : ArrayClass::Double;
}

HostArray elementwise(Budget& budget, const PairFunction& function, const HostArray& a, const HostArray& b) {
  return withElementType(arithmeticClass(a, b), [&](auto zero) {
    using R = decltype(zero);
    using W = WorkType<R>;
    if constexpr (std::is_same_v<W, float>)
      return combine<W, R>(budget, a, b, function.ofSingles);
    else if constexpr (std::is_same_v<W, long double>)
      return combine<W, R>(budget, a, b, function.ofLongs);
    else
      return combine<W, R>(budget, a, b, function.ofDoubles);
  });
}

HostArray elementwise(Budget& budget, TokenKind op, const HostArray& a, const HostArray& b) {
  if (op == TokenKind::And || op == TokenKind::Or)
    return combineTruths(budget, op, a, b);
  if (!isArithmetic(op))
    return compare(budget, op, a, b);
  bool hasString = a.arrayClass() == ArrayClass::String || b.arrayClass() == ArrayClass::String;
  if (op == TokenKind::Plus && hasString)
    return joinTexts(budget, a, b);
  return elementwise(budget, arithmeticFunction(op), a, b);
}

HostArray unary(Budget& budget, TokenKind op, const HostArray& array) {
  if (op == TokenKind::Not) {
    auto result = truths(budget, array);
    for (auto& truth : result.mutableData<bool>())
      truth = !truth;
    return result;
  }
  if (!isNumberLike(array.arrayClass()))
    fail("only numbers have a sign");
  if (array.arrayClass() == ArrayClass::Int64 && op == TokenKind::Minus) {
    auto result = array; // beyond 2^53 the way over doubles would lose digits
    for (auto& value : result.mutableData<std::int64_t>())
      value = value == std::numeric_limits<std::int64_t>::min() ? std::numeric_limits<std::int64_t>::max() : -value;
    return result;
  }
  if (op == TokenKind::Plus)
    return isNumeric(array.arrayClass()) ? array : convert(budget, array, ArrayClass::Double);
  return mapped(budget, negated, array);
}

HostArray mapped(Budget& budget, double (*function)(double), const HostArray& array) {
  auto c = array.arrayClass();
  if (!isNumberLike(c))
    fail("this is for numbers");
  auto result = isNumeric(c) ? array : convert(budget, array, ArrayClass::Double);
  budget.charge(result.arrayClass(), result.dimensions());
  withElementType(result.arrayClass(), [&](auto zero) {
    using T = decltype(zero);
    for (auto& value : result.mutableData<T>())
      value = store<T>(function(static_cast<double>(value)));
  });
  return result;
}

bool isTrue(const HostArray& array) {
  if (!isNumberLike(array.arrayClass()) || !array.isScalar())
    fail("a condition is one number or logical");
  double value = array.numberAt(0);
  if (std::isnan(value))
    fail("NaN is neither true nor false");
  return value != 0;
}

} // namespace kavra::standalone
