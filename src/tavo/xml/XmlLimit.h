// How errors name the limits on XML, for reader and writer alike. Internal.
#pragma once

#include <string_view>

namespace tavo::XmlLimit {

inline constexpr std::string_view nesting = "the nesting of elements";
inline constexpr std::string_view attributes = "the attributes of one element";
inline constexpr std::string_view token = "the bytes of one tag, comment or text";
inline constexpr std::string_view file = "the size of a file in bytes";

} // namespace tavo::XmlLimit
