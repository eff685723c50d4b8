// What the host accepts as the name of a variable, and so of everything that scripts address by name.
#pragma once

#include "kavra/Export.h"

#include <cstddef>
#include <string_view>

namespace kavra {

/// The longest valid name, in characters.
inline constexpr std::size_t maxNameLength = 63;

/// True for an ASCII letter followed by ASCII letters, digits and underscores, at most `maxNameLength` in all.
KAVRA_EXPORT bool isValidName(std::u16string_view name);

} // namespace kavra
