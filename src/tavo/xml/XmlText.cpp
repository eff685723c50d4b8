#include "tavo/xml/XmlText.h"

#include <string>

namespace tavo {
namespace {

constexpr bool isHigh(char16_t unit) { return (unit & 0xFC00) == 0xD800; }
constexpr bool isLow(char16_t unit) { return (unit & 0xFC00) == 0xDC00; }

/// How many units from `at` on XML carries as one character; zero for a unit that it cannot carry.
std::size_t carried(std::u16string_view text, std::size_t at) {
  const char16_t unit = text[at];
  if (isHigh(unit))
    return at + 1 < text.size() && isLow(text[at + 1]) ? 2 : 0;
  const bool control = unit < 0x20 && unit != u'\t' && unit != u'\n' && unit != u'\r';
  return control || isLow(unit) || unit >= 0xFFFE ? 0 : 1;
}

std::optional<char16_t> hexValue(std::u16string_view digits) {
  if (digits.size() != 4)
    return std::nullopt;
  unsigned value = 0;
  for (const char16_t digit : digits) {
    if (digit >= u'0' && digit <= u'9')
      value = value << 4 | static_cast<unsigned>(digit - u'0');
    else if ((digit | 0x20) >= u'a' && (digit | 0x20) <= u'f')
      value = value << 4 | static_cast<unsigned>((digit | 0x20) - u'a' + 10);
    else
      return std::nullopt;
  }
  return static_cast<char16_t>(value);
}

} // namespace

bool needsEscape(std::u16string_view text) noexcept {
  for (std::size_t at = 0; at < text.size();) {
    if (text[at] >= 0x20 && text[at] < 0xD800) { // nearly always, so it is looked at first
      ++at;
      continue;
    }
    const auto size = carried(text, at);
    if (size == 0)
      return true;
    at += size;
  }
  return false;
}

String escapeText(std::u16string_view text) {
  static constexpr char16_t digits[] = u"0123456789ABCDEF";
  std::u16string out;
  for (std::size_t at = 0; at < text.size();) {
    const char16_t unit = text[at];
    const auto size = carried(text, at);
    if (unit == u'\\') {
      out += u"\\\\";
    } else if (size != 0) {
      out += text.substr(at, size);
    } else {
      out += u"\\u";
      for (int shift = 12; shift >= 0; shift -= 4)
        out += digits[unit >> shift & 0xF];
    }
    at += size == 0 ? 1 : size;
  }
  return out;
}

std::optional<String> unescapeText(std::u16string_view text) {
  std::u16string out;
  for (std::size_t at = 0; at < text.size();) {
    if (text[at] != u'\\') {
      out += text[at++];
    } else if (text.substr(at + 1, 1) == u"\\") {
      out += u'\\';
      at += 2;
    } else {
      const auto unit = text.substr(at + 1, 1) == u"u" ? hexValue(text.substr(at + 2, 4)) : std::nullopt;
      if (!unit)
        return std::nullopt;
      out += *unit;
      at += 6;
    }
  }
  return String(out);
}

} // namespace tavo
