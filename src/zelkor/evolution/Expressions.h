// What steps have to know of the expressions of values. Internal.
#pragma once

#include <string>
#include <string_view>

namespace zelkor::property::evolution {

/// Members of enumerations in an expression ("LinkColor.Red") become texts of their names, and arrays of them lists.
/// Arguments stay: "int32('Red')" would be another number than "int32(LinkColor.Red)".
std::string membersAsTexts(std::string_view expression);

/// Whether an expression comes to a text, or to texts. One that nobody can evaluate does unless something is called.
bool comesToTexts(std::string_view expression);

/// Whether an expression comes to a number beyond the bounds. Of one that nobody can evaluate, the numbers that stand
/// in it are looked at.
bool leavesBounds(std::string_view expression, double lowest, double highest);

} // namespace zelkor::property::evolution
