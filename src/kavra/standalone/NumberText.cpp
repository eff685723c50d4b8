#include "kavra/standalone/NumberText.h"

#include <charconv>
#include <cstdint>
#include <limits>
#include <string>

namespace kavra::standalone {
namespace {

bool isDigit(char16_t c) { return c >= u'0' && c <= u'9'; }
bool isExponentLetter(char16_t c) { return c == u'e' || c == u'E' || c == u'd' || c == u'D'; }

std::size_t scanDigits(std::u16string_view text, std::size_t i) {
  while (i < text.size() && isDigit(text[i]))
    ++i;
  return i;
}

bool isDotOfOperator(std::u16string_view text, std::size_t dot) {
  auto next = dot + 1 < text.size() ? text[dot + 1] : u'\0';
  if (next == u'.')
    return text.substr(dot, 3) == u"...";
  return next == u'*' || next == u'/' || next == u'\\' || next == u'^' || next == u'\'';
}

/// The power of ten of the first digit that is not zero, which tells too large from too small.
std::int64_t decimalMagnitude(std::string_view text) {
  auto exponentAt = text.find('e');
  auto mantissa = text.substr(0, exponentAt);
  auto dot = std::min(mantissa.find('.'), mantissa.size());
  auto first = mantissa.find_first_of("123456789");
  if (first == mantissa.npos)
    return std::numeric_limits<std::int64_t>::min();
  auto magnitude = static_cast<std::int64_t>(dot) - static_cast<std::int64_t>(first);
  if (exponentAt == text.npos)
    return magnitude;
  auto digits = text.substr(exponentAt + 1);
  if (digits.front() == '+')
    digits.remove_prefix(1);
  std::int64_t exponent = 0;
  if (std::from_chars(digits.data(), digits.data() + digits.size(), exponent).ec != std::errc())
    return digits.front() == '-' ? std::numeric_limits<std::int64_t>::min() : std::numeric_limits<std::int64_t>::max();
  constexpr std::int64_t far = std::int64_t{1} << 40; // beyond any text's length, and safe to add to
  return magnitude + std::min(std::max(exponent, -far), far);
}

double narrowValue(const char* first, const char* last) {
  double value = 0;
  auto result = std::from_chars(first, last, value);
  if (result.ec != std::errc::result_out_of_range)
    return value;
  auto magnitude = decimalMagnitude(std::string_view(first, static_cast<std::size_t>(last - first)));
  return magnitude > 0 ? std::numeric_limits<double>::infinity() : 0.0;
}

char narrow(char16_t c) { return isExponentLetter(c) ? 'e' : static_cast<char>(c); }

} // namespace

std::size_t scanDecimal(std::u16string_view text) {
  auto end = scanDigits(text, 0);
  auto digits = end;
  if (end < text.size() && text[end] == u'.' && !(end > 0 && isDotOfOperator(text, end))) {
    auto fraction = scanDigits(text, end + 1);
    digits += fraction - end - 1;
    end = fraction;
  }
  if (digits == 0)
    return 0;
  if (end < text.size() && isExponentLetter(text[end])) {
    auto start = end + 1;
    if (start < text.size() && (text[start] == u'+' || text[start] == u'-'))
      ++start;
    auto exponent = scanDigits(text, start);
    if (exponent > start)
      end = exponent;
  }
  return end;
}

double decimalValue(std::u16string_view text) {
  char buffer[64];
  if (text.size() <= sizeof buffer) {
    for (std::size_t i = 0; i < text.size(); ++i)
      buffer[i] = narrow(text[i]);
    return narrowValue(buffer, buffer + text.size());
  }
  std::string longText(text.size(), '\0');
  for (std::size_t i = 0; i < text.size(); ++i)
    longText[i] = narrow(text[i]);
  return narrowValue(longText.data(), longText.data() + longText.size());
}

} // namespace kavra::standalone
