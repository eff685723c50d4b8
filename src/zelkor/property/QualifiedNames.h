// Names of properties as elements know them: the name of the set usage, a dot, the name of the property.
#pragma once

#include <string_view>
#include <utility>

namespace zelkor::property {

/// The two parts of "Set.property"; the set's may have dots itself. Without a dot, all of it is the property.
inline std::pair<std::u16string_view, std::u16string_view> splitAtLastDot(std::u16string_view name) {
  const auto dot = name.rfind(u'.');
  if (dot == name.npos)
    return {{}, name};
  return {name.substr(0, dot), name.substr(dot + 1)};
}

} // namespace zelkor::property
