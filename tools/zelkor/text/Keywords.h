// The words of the text form that stand for something of the library's.
#pragma once

#include <string>
#include <vector>

namespace zelkor::text {

/// The types that every profile has, in their order.
const std::vector<std::string>& builtInTypes();
/// The kinds of values that a type without base may have.
const std::vector<std::string>& kindsOfValues();
/// The badges, in the order of their numbers: the first is none, the second a file.
const std::vector<std::string>& icons();
/// The styles of lines, in the order of their numbers.
const std::vector<std::string>& lineStyles();

} // namespace zelkor::text
