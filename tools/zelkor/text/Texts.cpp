#include "tools/zelkor/text/Texts.h"

#include "kavra/Text.h"

namespace zelkor::text {
namespace {

bool isHigh(char16_t unit) { return unit >= 0xD800 && unit < 0xDC00; }
bool isLow(char16_t unit) { return unit >= 0xDC00 && unit < 0xE000; }

/// Where the next half of a pair stands at or after `start`, or npos. It begins with a byte that is followed by
/// smaller ones in every character there is.
std::size_t findHalf(std::string_view text, std::size_t start) {
  for (auto at = text.find('\xED', start); at != text.npos; at = text.find('\xED', at + 1)) {
    if (at + 2 < text.size() && static_cast<unsigned char>(text[at + 1]) >= 0xA0)
      return at;
  }
  return text.npos;
}

} // namespace

std::string narrow(std::u16string_view text) {
  std::string result;
  std::size_t start = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (isHigh(text[i]) && i + 1 < text.size() && isLow(text[i + 1])) {
      ++i;
    } else if (isHigh(text[i]) || isLow(text[i])) {
      result += kavra::toUtf8(text.substr(start, i - start));
      result += '\xED';
      result += static_cast<char>(0x80 | (text[i] >> 6 & 0x3F));
      result += static_cast<char>(0x80 | (text[i] & 0x3F));
      start = i + 1;
    }
  }
  return result + kavra::toUtf8(text.substr(start));
}

tavo::String wide(std::string_view text) {
  auto at = findHalf(text, 0);
  if (at == text.npos)
    return tavo::String::fromUtf8(text);
  std::u16string result;
  std::size_t start = 0;
  for (; at != text.npos; at = findHalf(text, start)) {
    result += tavo::String::fromUtf8(text.substr(start, at - start));
    result += static_cast<char16_t>(0xD000 | (text[at + 1] & 0x3F) << 6 | (text[at + 2] & 0x3F));
    start = at + 3;
  }
  return result.append(tavo::String::fromUtf8(text.substr(start)));
}

bool hasHalfPair(std::string_view text) { return findHalf(text, 0) != text.npos; }

} // namespace zelkor::text
