#include "kavra/Literals.h"

#include "kavra/standalone/NumberText.h"

#include <charconv>
#include <cmath>

namespace kavra {
namespace {

std::u16string_view trimBlanks(std::u16string_view text) {
  auto isBlank = [](char16_t c) { return c == u' ' || c == u'\t'; };
  while (!text.empty() && isBlank(text.front()))
    text.remove_prefix(1);
  while (!text.empty() && isBlank(text.back()))
    text.remove_suffix(1);
  return text;
}

/// A quoted text without anything in it that needs a second look.
HostArray parseQuoted(std::u16string_view text) {
  if (text.size() < 2 || text.back() != u'\'')
    return {};
  text = text.substr(1, text.size() - 2);
  return text.find_first_of(u"'\n\r") == text.npos ? HostArray::chars(text) : HostArray();
}

} // namespace

std::string shortestLiteral(double value) {
  if (std::isnan(value))
    return "NaN";
  if (std::isinf(value))
    return value < 0 ? "-Inf" : "Inf";
  char buffer[32];
  auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
  return std::string(buffer, result.ptr);
}

std::optional<IntegerLiteral> parseIntegerLiteral(std::u16string_view text) {
  text = trimBlanks(text);
  IntegerLiteral literal;
  if (!text.empty() && (text.front() == u'-' || text.front() == u'+')) {
    literal.negative = text.front() == u'-';
    text = trimBlanks(text.substr(1));
  }
  if (text.empty())
    return {};
  for (char16_t c : text) {
    if (c < u'0' || c > u'9')
      return {};
    auto digit = static_cast<std::uint64_t>(c - u'0');
    if (literal.magnitude > (std::numeric_limits<std::uint64_t>::max() - digit) / 10)
      return {};
    literal.magnitude = literal.magnitude * 10 + digit;
  }
  return literal;
}

HostArray parsePlainLiteral(std::u16string_view text) {
  if (text.empty())
    return {};
  switch (text.front()) {
  case u'\'':
    return parseQuoted(text);
  case u't':
    return text == u"true" ? HostArray::scalar(true) : HostArray();
  case u'f':
    return text == u"false" ? HostArray::scalar(false) : HostArray();
  default:
    break;
  }
  bool negative = text.front() == u'-';
  auto digits = text.substr(negative ? 1 : 0);
  auto length = standalone::scanDecimal(digits);
  if (length == 0 || length != digits.size())
    return {};
  auto value = standalone::decimalValue(digits);
  return HostArray::scalar(negative ? -value : value);
}

} // namespace kavra
