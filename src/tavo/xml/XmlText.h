// Text that XML cannot carry, in a form that it can.
#pragma once

#include "tavo/Export.h"
#include "tavo/core/String.h"

#include <optional>
#include <string_view>

namespace tavo {

/// Whether a text holds what no XML document can: control characters other than TAB, LF and CR, lone surrogates, U+FFFE
/// and U+FFFF. Such text is written escaped, in a place that is marked as such; all other text is written as it is.
TAVO_EXPORT bool needsEscape(std::u16string_view text) noexcept;

/// The text with each unit that XML cannot carry as \uXXXX and each backslash doubled.
TAVO_EXPORT String escapeText(std::u16string_view text);

/// The text that escapeText was given; nothing where a backslash is followed by anything else than it writes.
TAVO_EXPORT std::optional<String> unescapeText(std::u16string_view text);

} // namespace tavo
