// Suggestions for misspelled names.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zelkor::text {

/// The end of a sentence about a name: "; did you mean "double"?", or a full stop when none of the names is near.
std::string suggestion(std::string_view wrong, const std::vector<std::string>& names);

} // namespace zelkor::text
