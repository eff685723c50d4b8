// How the names of a profile and of what it holds are made up.
#pragma once

#include <string_view>
#include <utility>

namespace zelkor::profile {

/// "Profile.Stereotype" in its parts; without a dot, all of it is the profile.
inline std::pair<std::u16string_view, std::u16string_view> splitQualifiedName(std::u16string_view name) {
  const auto dot = name.find(u'.');
  if (dot == name.npos)
    return {name, {}};
  return {name.substr(0, dot), name.substr(dot + 1)};
}

/// The classes of elements of the host that stereotypes tell apart.
inline constexpr std::u16string_view elementClasses[] = {u"zelkor.Connector", u"zelkor.Port", u"zelkor.Component",
                                                         u"zelkor.Architecture"};

/// What stereotypes call a class of elements: "Component" for "zelkor.Component".
inline std::u16string_view kindOfElementClass(std::u16string_view className) {
  return className.substr(className.rfind(u'.') + 1);
}

} // namespace zelkor::profile
