// Texts of default expressions, in the language of the host.
#pragma once

#include "tavo/core/String.h"
#include "zelkor/property/Dimensions.h"

#include <string>
#include <string_view>

namespace zelkor::property {

/// The extents as the host's functions take them, joined by blanks.
std::string extentsText(const Dimensions& dimensions);

/// An array of equal numbers: "5", "zeros([2 3],'int8')", "5*ones([2 3],'int8')"; without the class when that is empty.
tavo::String filledText(const std::string& number, const Dimensions& dimensions, std::string_view className);

} // namespace zelkor::property
