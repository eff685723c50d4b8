#include "kavra/standalone/Conversion.h"

#include "kavra/EnumerationClass.h"
#include "kavra/Text.h"
#include "kavra/standalone/NumberText.h"

#include <algorithm>
#include <charconv>
#include <cstdio>

namespace kavra::standalone {
namespace {

template <class W>
HostArray convertNumbers(Budget& budget, const HostArray& array, ArrayClass to) {
  auto result = makeArray(budget, to, array.dimensions());
  Operand<W> from(budget, array);
  withElementType(to, [&](auto zero) {
    using To = decltype(zero);
    auto out = result.mutableData<To>();
    std::transform(from.values().begin(), from.values().end(), out.begin(), [](W value) { return store<To>(value); });
  });
  return result;
}

void refuseNaN(const HostArray& array) {
  for (std::uint64_t i = 0; isFloating(array.arrayClass()) && i < array.count(); ++i) {
    if (std::isnan(array.numberAt(i)))
      fail("NaN is neither true nor false");
  }
}

HostArray memberValues(Budget& budget, const HostArray& array, ArrayClass to) {
  auto values = makeArray(budget, ArrayClass::Int32, array.dimensions());
  auto& members = array.enumerationClass().members();
  auto out = values.mutableData<std::int32_t>();
  std::transform(array.memberIndices().begin(), array.memberIndices().end(), out.begin(),
                 [&](std::uint32_t index) { return members[index].value; });
  return convert(budget, values, to);
}

/// Texts one below the other, blanks after the shorter ones.
HostArray charMatrix(Budget& budget, std::span<const std::u16string_view> rows) {
  std::size_t width = 0;
  for (auto row : rows)
    width = std::max(width, row.size());
  if (rows.size() == 1 && width == 0)
    return HostArray::chars({});
  auto result = makeArray(budget, ArrayClass::Char, {rows.size(), width});
  auto out = result.mutableData<char16_t>();
  for (std::size_t r = 0; r < rows.size(); ++r) {
    for (std::size_t c = 0; c < width; ++c)
      out[c * rows.size() + r] = c < rows[r].size() ? rows[r][c] : u' ';
  }
  return result;
}

HostArray toChars(Budget& budget, const HostArray& array) {
  std::vector<std::u16string_view> rows;
  if (array.arrayClass() == ArrayClass::String) {
    rows.assign(array.strings().begin(), array.strings().end());
  } else if (array.arrayClass() == ArrayClass::Enumeration) {
    for (auto index : array.memberIndices())
      rows.push_back(array.enumerationClass().members()[index].name);
  } else {
    for (auto& element : array.cells()) {
      auto text = element.asText();
      if (!text)
        fail("only cells of texts become char");
      rows.push_back(*text);
    }
  }
  return charMatrix(budget, rows);
}

/// The rows of a char matrix, the elements of everything else.
HostArray toStrings(Budget& budget, const HostArray& array) {
  std::vector<std::u16string> texts;
  if (array.arrayClass() == ArrayClass::Char) {
    if (array.isEmpty())
      return HostArray::string({});
    if (array.dimensions().size() > 2)
      fail("a char array of more than two dimensions cannot become string");
    auto units = array.data<char16_t>();
    auto rows = static_cast<std::size_t>(array.dimensions()[0]);
    budget.charge(ArrayClass::String, {rows});
    texts.resize(rows);
    for (std::size_t i = 0; i < units.size(); ++i)
      texts[i % rows] += units[i];
    return HostArray::strings({rows, 1}, std::move(texts));
  }
  budget.charge(ArrayClass::String, array.dimensions());
  for (std::uint64_t i = 0; i < array.count(); ++i) {
    if (array.arrayClass() == ArrayClass::Cell) {
      auto text = array.cells()[static_cast<std::size_t>(i)].asText();
      if (!text)
        fail("only cells of texts become string");
      texts.emplace_back(*text);
    } else if (array.arrayClass() == ArrayClass::Enumeration) {
      auto index = array.memberIndices()[static_cast<std::size_t>(i)];
      texts.push_back(array.enumerationClass().members()[index].name);
    } else if (array.arrayClass() == ArrayClass::Logical) {
      texts.push_back(array.numberAt(i) != 0 ? u"true" : u"false");
    } else {
      texts.push_back(numberText(array, i));
    }
  }
  return HostArray::strings(array.dimensions(), std::move(texts));
}

HostArray textsToNumbers(Budget& budget, const HostArray& array) {
  auto result = makeArray(budget, ArrayClass::Double, array.dimensions());
  auto out = result.mutableData<double>();
  std::transform(array.strings().begin(), array.strings().end(), out.begin(),
                 [](const std::u16string& text) { return numberOfText(text); });
  return result;
}

} // namespace

std::u16string numberText(const HostArray& array, std::uint64_t index) {
  char buffer[64];
  if (isInteger(array.arrayClass())) {
    return withElementType(array.arrayClass(), [&](auto zero) {
      auto value = array.data<decltype(zero)>()[static_cast<std::size_t>(index)];
      if constexpr (std::is_integral_v<decltype(value)> && !std::is_same_v<decltype(value), bool> &&
                    !std::is_same_v<decltype(value), char16_t>)
        return fromAscii({buffer, std::to_chars(buffer, buffer + sizeof buffer, value).ptr});
      else
        return std::u16string();
    });
  }
  double value = array.numberAt(index);
  if (!std::isfinite(value))
    return fromAscii(shortestLiteral(value));
  int digits = 5;
  if (value != 0)
    digits = std::clamp(static_cast<int>(std::floor(std::log10(std::abs(value)))) + 5, 5, 16);
  auto end = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::general, digits).ptr;
  return fromAscii({buffer, end});
}

double numberOfText(std::u16string_view text) {
  while (!text.empty() && (text.front() == u' ' || text.front() == u'\t'))
    text.remove_prefix(1);
  while (!text.empty() && (text.back() == u' ' || text.back() == u'\t'))
    text.remove_suffix(1);
  bool negative = !text.empty() && text.front() == u'-';
  if (!text.empty() && (negative || text.front() == u'+'))
    text.remove_prefix(1);
  double value = std::numeric_limits<double>::quiet_NaN();
  if (text == u"Inf" || text == u"inf")
    value = std::numeric_limits<double>::infinity();
  else if (auto length = scanDecimal(text); length > 0 && length == text.size())
    value = decimalValue(text);
  return negative ? -value : value;
}

HostArray convertLiteral(const IntegerLiteral& literal, ArrayClass to) {
  return withElementType(to, [&](auto zero) {
    using To = decltype(zero);
    if constexpr (std::is_integral_v<To>) {
      auto saturated = literal.negative ? std::numeric_limits<To>::min() : std::numeric_limits<To>::max();
      return HostArray::scalar<To>(literal.as<To>().value_or(saturated));
    } else {
      return HostArray();
    }
  });
}

HostArray convert(Budget& budget, const HostArray& array, ArrayClass to) {
  auto from = array.arrayClass();
  if (from == to)
    return array;
  if (to == ArrayClass::String && from != ArrayClass::Opaque)
    return toStrings(budget, array);
  if (isNumberLike(from) && isNumberLike(to)) {
    if (to == ArrayClass::Logical)
      refuseNaN(array);
    return needsExtendedPrecision(from) ? convertNumbers<long double>(budget, array, to)
                                        : convertNumbers<double>(budget, array, to);
  }
  if (to == ArrayClass::Char && from != ArrayClass::Opaque)
    return toChars(budget, array);
  if (from == ArrayClass::Enumeration && isNumeric(to))
    return memberValues(budget, array, to);
  if (from == ArrayClass::String && isFloating(to))
    return convert(budget, textsToNumbers(budget, array), to);
  fail("there is no conversion from \"" + std::string(className(from)) + "\" to \"" + std::string(className(to)) +
       "\"");
}

} // namespace kavra::standalone
