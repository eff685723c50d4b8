// Texts of default expressions, in the language of the host.
#pragma once

#include "tavo/core/String.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zelkor::property {

using Dimensions = std::vector<std::uint64_t>;

/// Whether a value of these dimensions has exactly one element. None at all count as one.
bool isSingle(const Dimensions& dimensions);

/// The extents as the host's functions take them: two at least, a row for one.
Dimensions asExtents(const Dimensions& dimensions);

/// Those extents, joined by blanks.
std::string extentsText(const Dimensions& dimensions);

/// An array of equal numbers: "5", "zeros([2 3],'int8')", "5*ones([2 3],'int8')"; without the class when that is empty.
tavo::String filledText(const std::string& number, const Dimensions& dimensions, std::string_view className);

} // namespace zelkor::property
