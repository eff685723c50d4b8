#include "kavra/Text.h"

#include <cstdint>

namespace kavra {
namespace {

constexpr char32_t replacement = 0xfffd;

bool isHighSurrogate(char16_t c) { return (c & 0xfc00) == 0xd800; }
bool isLowSurrogate(char16_t c) { return (c & 0xfc00) == 0xdc00; }

void appendUtf8(std::string& out, char32_t c) {
  auto put = [&](char32_t byte) { out += static_cast<char>(static_cast<unsigned char>(byte)); };
  if (c < 0x80)
    return put(c);
  if (c < 0x800) {
    put(0xc0 | (c >> 6));
  } else {
    if (c < 0x10000) {
      put(0xe0 | (c >> 12));
    } else {
      put(0xf0 | (c >> 18));
      put(0x80 | ((c >> 12) & 0x3f));
    }
    put(0x80 | ((c >> 6) & 0x3f));
  }
  put(0x80 | (c & 0x3f));
}

void appendUtf16(std::u16string& out, char32_t c) {
  if (c < 0x10000) {
    out += static_cast<char16_t>(c);
    return;
  }
  c -= 0x10000;
  out += static_cast<char16_t>(0xd800 + (c >> 10));
  out += static_cast<char16_t>(0xdc00 + (c & 0x3ff));
}

/// The number of bytes that a sequence with this first byte has; zero when no sequence starts so.
unsigned sequenceLength(unsigned char lead) {
  if (lead < 0x80)
    return 1;
  if (lead < 0xc2)
    return 0;
  return lead < 0xe0 ? 2 : lead < 0xf0 ? 3 : lead < 0xf5 ? 4 : 0;
}

} // namespace

std::string toUtf8(std::u16string_view text) {
  std::string result;
  result.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    char32_t c = text[i];
    if (isHighSurrogate(text[i]) && i + 1 < text.size() && isLowSurrogate(text[i + 1]))
      c = 0x10000 + ((c - 0xd800) << 10) + (text[++i] - 0xdc00u);
    else if (isHighSurrogate(text[i]) || isLowSurrogate(text[i]))
      c = replacement;
    appendUtf8(result, c);
  }
  return result;
}

std::optional<std::u16string> fromUtf8(std::string_view text) {
  static constexpr char32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000};
  static constexpr unsigned char leadBits[] = {0, 0x7f, 0x1f, 0x0f, 0x07};
  std::u16string result;
  result.reserve(text.size());
  for (std::size_t i = 0; i < text.size();) {
    auto lead = static_cast<unsigned char>(text[i]);
    unsigned length = sequenceLength(lead);
    if (length == 0 || length > text.size() - i)
      return {};
    char32_t c = lead & leadBits[length];
    for (unsigned k = 1; k < length; ++k) {
      auto next = static_cast<unsigned char>(text[i + k]);
      if ((next & 0xc0) != 0x80)
        return {};
      c = (c << 6) | (next & 0x3fu);
    }
    if (c < smallest[length] || c > 0x10ffff || (c >= 0xd800 && c < 0xe000))
      return {};
    appendUtf16(result, c);
    i += length;
  }
  return result;
}

std::u16string fromAscii(std::string_view text) { return std::u16string(text.begin(), text.end()); }

} // namespace kavra
