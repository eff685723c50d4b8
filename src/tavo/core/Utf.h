// Conversion between UTF-8, which files and people's consoles use, and the UTF-16 of the framework.
#pragma once

#include "tavo/Export.h"

#include <string>
#include <string_view>

namespace tavo {

/// Strict UTF-8 of a text. A lone surrogate raises InvalidUtf16 (position in units): replacing it would make
/// two different texts equal.
TAVO_EXPORT std::string toUtf8(std::u16string_view text);
/// As toUtf8, appended to `out`, which is unchanged when it raises.
TAVO_EXPORT void appendUtf8(std::string& out, std::u16string_view text);

/// The text of strict UTF-8. Overlong forms, surrogates, code points beyond U+10FFFF and cut-off sequences raise
/// InvalidUtf8 (position in bytes).
TAVO_EXPORT std::u16string toUtf16(std::string_view text);

/// UTF-8 for people, never for data: control characters, lone surrogates and noncharacters stand as \uXXXX, so the
/// result is one line and always valid.
TAVO_EXPORT std::string toPrintable(std::u16string_view text);

/// The text of UTF-8 for people, never for data: each byte that does not belong becomes U+FFFD.
TAVO_EXPORT std::u16string toUtf16Lenient(std::string_view text);

/// A text of UTF-8 for a message: of a long one, only the beginning, up to so many bytes and not within a character.
TAVO_EXPORT std::string beginningOf(std::string_view text, std::size_t longest = 80);

} // namespace tavo
