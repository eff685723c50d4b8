// The texts of models, which are UTF-16 of any content, as those of this form, which are UTF-8.
#pragma once

#include "tavo/core/String.h"

#include <string>
#include <string_view>

namespace zelkor::text {

/// UTF-8 in which half of a surrogate pair stands alone as three bytes, as if it were a character: nothing is lost.
std::string narrow(std::u16string_view text);

/// The text that `narrow` was given.
tavo::String wide(std::string_view text);

/// Whether a text has half of a surrogate pair, which no file of UTF-8 can hold as it is.
bool hasHalfPair(std::string_view text);

} // namespace zelkor::text
