#include "tools/zelkor/text/Defaults.h"

#include "tools/zelkor/text/Texts.h"

#include "kavra/Host.h"
#include "kavra/Literals.h"
#include "kavra/Rendering.h"
#include "kavra/Text.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace zelkor::text {
namespace {

using kavra::HostArray;

std::u16string quoted(const std::string& text) {
  auto array = HostArray::chars(wide(text));
  return kavra::expressionText(array).value_or(u"''");
}

bool holdsTexts(const Literal::List& list) {
  return std::any_of(list.begin(), list.end(), [](auto& item) { return item.value.index() == 3; });
}

std::u16string joined(const Literal::List& list, std::u16string_view separator) {
  std::u16string text;
  for (auto& item : list)
    text.append(&item == &list.front() ? u"" : separator).append(expressionOf(item));
  return text;
}

Literal numberLiteral(double value) {
  constexpr double exact = 9007199254740992;
  if (value == std::trunc(value) && std::abs(value) < exact && !(value == 0 && std::signbit(value)))
    return {static_cast<std::int64_t>(value)};
  return {value};
}

/// One element of a matrix or cell; nothing for what the text form has no literal for.
std::optional<Literal> elementLiteral(const HostArray& array, std::uint64_t index) {
  auto element = array.at(index);
  if (element.arrayClass() == kavra::ArrayClass::Char)
    return element.asText() ? std::optional(Literal{narrow(*element.asText())}) : std::nullopt;
  if (element.arrayClass() == kavra::ArrayClass::Logical && element.isScalar())
    return Literal{element.data<bool>()[0]};
  if (element.arrayClass() == kavra::ArrayClass::Double && element.isScalar())
    return numberLiteral(element.data<double>()[0]);
  return {};
}

/// The integer that is written like this, also one that no double can hold.
std::optional<std::int64_t> integerOf(const std::string& text) {
  std::int64_t value = 0;
  auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  return error == std::errc() && std::to_string(value) == text ? std::optional(value) : std::nullopt;
}

/// A literal whose expression may be the text that the array was evaluated from.
std::optional<Literal> candidate(const HostArray& array) {
  if (array.arrayClass() == kavra::ArrayClass::Char)
    return array.asText() ? std::optional(Literal{narrow(*array.asText())}) : std::nullopt;
  if (array.isScalar() && array.arrayClass() != kavra::ArrayClass::Cell)
    return elementLiteral(array, 0);
  constexpr std::uint64_t longest = 10'000;
  auto extents = array.dimensions();
  if (extents.size() != 2 || extents[0] * extents[1] > longest)
    return {};
  Literal::List rows;
  for (std::uint64_t row = 0; row < extents[0]; ++row) {
    Literal::List columns;
    for (std::uint64_t column = 0; column < extents[1]; ++column) {
      auto element = elementLiteral(array, row + column * extents[0]);
      if (!element)
        return {};
      columns.push_back(std::move(*element));
    }
    rows.push_back({std::move(columns)});
  }
  return rows.size() == 1 ? rows[0] : Literal{std::move(rows)};
}

} // namespace

std::u16string expressionOf(const Literal& literal) {
  if (auto* flag = std::get_if<bool>(&literal.value))
    return *flag ? u"true" : u"false";
  if (auto* integer = std::get_if<std::int64_t>(&literal.value))
    return kavra::fromAscii(std::to_string(*integer));
  if (auto* real = std::get_if<double>(&literal.value))
    return kavra::fromAscii(kavra::shortestLiteral(*real));
  if (auto* text = std::get_if<std::string>(&literal.value))
    return quoted(*text);

  auto& list = std::get<Literal::List>(literal.value);
  if (holdsTexts(list))
    return u"{" + joined(list, u", ") + u"}";
  if (list.empty() || list[0].value.index() != 4)
    return u"[" + joined(list, u" ") + u"]";
  std::u16string rows;
  for (auto& row : list) {
    auto* columns = std::get_if<Literal::List>(&row.value);
    rows.append(rows.empty() ? u"" : u"; ").append(columns ? joined(*columns, u" ") : expressionOf(row));
  }
  return u"[" + rows + u"]";
}

std::optional<Literal> literalOf(std::u16string_view expression) {
  if (auto integer = integerOf(kavra::toUtf8(expression)))
    return Literal{*integer};
  auto array = kavra::host().workspaces().of(nullptr)->evaluate(expression);
  if (!array || array.arrayClass() == kavra::ArrayClass::Enumeration)
    return {};
  auto literal = candidate(array);
  return literal && expressionOf(*literal) == expression ? literal : std::nullopt;
}

} // namespace zelkor::text
