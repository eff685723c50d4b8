#include "tavo/core/Utf.h"

#include "tavo/core/Error.h"
#include "tavo/core/Errors.h"
#include "tavo/core/String.h"

#include <cstdint>
#include <cstring>

namespace tavo {
namespace {

constexpr bool isHighSurrogate(char32_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
constexpr bool isLowSurrogate(char32_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }
constexpr bool isSurrogate(char32_t unit) { return unit >= 0xD800 && unit <= 0xDFFF; }

/// How many bytes from `at` on are certainly ASCII, looked at by words.
std::size_t asciiRun(std::string_view text, std::size_t at) {
  const std::size_t start = at;
  for (std::uint64_t word; at + sizeof word <= text.size(); at += sizeof word) {
    std::memcpy(&word, text.data() + at, sizeof word);
    if ((word & 0x8080808080808080ull) != 0)
      break;
  }
  while (at < text.size() && static_cast<unsigned char>(text[at]) < 0x80)
    ++at;
  return at - start;
}

/// A decoded code point and the bytes it took; no bytes when the sequence is not strict UTF-8.
struct Decoded {
  char32_t point;
  std::size_t size;
};

/// Decodes the sequence that starts with the non-ASCII byte at `at`.
Decoded decodeAt(std::string_view text, std::size_t at) {
  constexpr Decoded bad{0, 0};
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[at + i]); };
  const unsigned char lead = byte(0);
  std::size_t size;
  char32_t point, least;
  if (lead >= 0xC2 && lead <= 0xDF)
    size = 2, point = lead & 0x1F, least = 0x80;
  else if ((lead & 0xF0) == 0xE0)
    size = 3, point = lead & 0x0F, least = 0x800;
  else if (lead >= 0xF0 && lead <= 0xF4)
    size = 4, point = lead & 0x07, least = 0x10000;
  else
    return bad;
  if (text.size() - at < size)
    return bad;
  for (std::size_t i = 1; i < size; ++i) {
    if ((byte(i) & 0xC0) != 0x80)
      return bad;
    point = point << 6 | (byte(i) & 0x3F);
  }
  if (point < least || point > 0x10FFFF || isSurrogate(point))
    return bad;
  return {point, size};
}

/// Walks the text in runs: `ascii(run)` for each piece of ASCII, `other(point)` for each further code point,
/// `fault(position)` for each byte that does not belong.
template <class Ascii, class Other, class Fault>
void walkUtf8(std::string_view text, Ascii ascii, Other other, Fault fault) {
  for (std::size_t at = 0; at < text.size();) {
    if (const std::size_t run = asciiRun(text, at)) {
      ascii(text.substr(at, run));
      at += run;
      continue;
    }
    const Decoded next = decodeAt(text, at);
    if (next.size == 0) {
      fault(at);
      ++at;
    } else {
      other(next.point);
      at += next.size;
    }
  }
}

char16_t* writeUnits(char16_t* to, char32_t point) {
  if (point >= 0x10000) {
    *to++ = static_cast<char16_t>(0xD800 + ((point - 0x10000) >> 10));
    *to++ = static_cast<char16_t>(0xDC00 + ((point - 0x10000) & 0x3FF));
  } else {
    *to++ = static_cast<char16_t>(point);
  }
  return to;
}

char16_t* writeAscii(char16_t* to, std::string_view run) {
  for (const char c : run)
    *to++ = static_cast<unsigned char>(c);
  return to;
}

[[noreturn]] void refuseUtf8(std::size_t at) { raise(FrameworkError::InvalidUtf8, at); }

/// The number of units that strict UTF-8 decodes to; raises where it is not strict.
std::size_t countUnits(std::string_view text) {
  std::size_t count = 0;
  walkUtf8(
      text, [&](std::string_view run) { count += run.size(); },
      [&](char32_t point) { count += point >= 0x10000 ? 2 : 1; }, [&](std::size_t at) { refuseUtf8(at); });
  return count;
}

/// Decodes text that countUnits has accepted.
void decodeInto(std::string_view text, char16_t* to) {
  walkUtf8(
      text, [&](std::string_view run) { to = writeAscii(to, run); },
      [&](char32_t point) { to = writeUnits(to, point); }, [](std::size_t) {});
}

void appendPoint(std::string& out, char32_t point) {
  const auto tail = [&](int shift) { out += static_cast<char>(0x80 | (point >> shift & 0x3F)); };
  if (point < 0x80) {
    out += static_cast<char>(point);
  } else if (point < 0x800) {
    out += static_cast<char>(0xC0 | point >> 6);
    tail(0);
  } else if (point < 0x10000) {
    out += static_cast<char>(0xE0 | point >> 12);
    tail(6), tail(0);
  } else {
    out += static_cast<char>(0xF0 | point >> 18);
    tail(12), tail(6), tail(0);
  }
}

/// Walks the code points of a text; `lone(position)` for each surrogate without its other half.
template <class Point, class Lone>
void walkUtf16(std::u16string_view text, Point point, Lone lone) {
  for (std::size_t at = 0; at < text.size(); ++at) {
    const char32_t unit = text[at];
    if (!isSurrogate(unit)) {
      point(unit);
    } else if (isHighSurrogate(unit) && at + 1 < text.size() && isLowSurrogate(text[at + 1])) {
      point(0x10000 + ((unit - 0xD800) << 10) + (text[at + 1] - 0xDC00u));
      ++at;
    } else {
      lone(at);
    }
  }
}

void appendEscape(std::string& out, char32_t unit) {
  static constexpr char digits[] = "0123456789ABCDEF";
  out += "\\u";
  for (int shift = 12; shift >= 0; shift -= 4)
    out += digits[unit >> shift & 0xF];
}

} // namespace

void appendUtf8(std::string& out, std::u16string_view text) {
  const std::size_t before = out.size();
  out.reserve(before + text.size());
  walkUtf16(
      text, [&](char32_t point) { appendPoint(out, point); },
      [&](std::size_t at) {
        out.resize(before);
        raise(FrameworkError::InvalidUtf16, at);
      });
}

std::string toUtf8(std::u16string_view text) {
  std::string out;
  appendUtf8(out, text);
  return out;
}

std::u16string toUtf16(std::string_view text) {
  std::u16string out(countUnits(text), u'\0');
  decodeInto(text, out.data());
  return out;
}

std::string toPrintable(std::u16string_view text) {
  std::string out;
  walkUtf16(
      text,
      [&](char32_t point) {
        const bool control = point < 0x20 || (point >= 0x7F && point < 0xA0) || point == 0x2028 || point == 0x2029;
        if (control || point == 0xFFFE || point == 0xFFFF)
          appendEscape(out, point);
        else
          appendPoint(out, point);
      },
      [&](std::size_t at) { appendEscape(out, text[at]); });
  return out;
}

std::u16string toUtf16Lenient(std::string_view text) {
  std::u16string out(text.size(), u'\0');
  char16_t* to = out.data();
  walkUtf8(
      text, [&](std::string_view run) { to = writeAscii(to, run); },
      [&](char32_t point) { to = writeUnits(to, point); }, [&](std::size_t) { *to++ = 0xFFFD; });
  out.resize(static_cast<std::size_t>(to - out.data()));
  return out;
}

std::string beginningOf(std::string_view text, std::size_t longest) {
  if (text.size() > longest)
    while (longest > 0 && (static_cast<unsigned char>(text[longest]) & 0xC0u) == 0x80u)
      --longest;
  return std::string(text.substr(0, longest));
}

String String::fromUtf8(std::string_view text) {
  return filled(countUnits(text), [&](char16_t* to) { decodeInto(text, to); });
}

std::string String::toUtf8() const { return tavo::toUtf8(view()); }

} // namespace tavo
