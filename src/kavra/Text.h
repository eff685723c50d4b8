// Conversions between the texts of models (UTF-16) and those of files, terminals and paths (UTF-8).
#pragma once

#include "kavra/Export.h"

#include <optional>
#include <string>
#include <string_view>

namespace kavra {

/// UTF-8 for people to read: a lone surrogate becomes U+FFFD.
KAVRA_EXPORT std::string toUtf8(std::u16string_view text);

/// The UTF-16 form; nothing when `text` is not well-formed UTF-8 (overlong forms and surrogates included).
KAVRA_EXPORT std::optional<std::u16string> fromUtf8(std::string_view text);

/// Widens text that is known to be ASCII.
KAVRA_EXPORT std::u16string fromAscii(std::string_view text);

} // namespace kavra
