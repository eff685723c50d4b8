#include "tools/zelkor/text/BuildContext.h"

#include "tools/zelkor/text/Spelling.h"

#include "zelkor/profile/ProfileCatalog.h"
#include "zelkor/property/ValueType.h"

#include <algorithm>
#include <cmath>

namespace zelkor::text {

Reference::Reference(const std::string& text) : name(text) {
  if (auto dot = text.find('.'); dot != text.npos) {
    profile = text.substr(0, dot);
    name = text.substr(dot + 1);
  }
}

profile::Profile BuildContext::profileOf(const Reference& reference, const Text& where, const std::string& element) {
  if (isOwn(reference))
    return profile;
  auto& declared = text.dependsOn;
  if (std::none_of(declared.begin(), declared.end(), [&](auto& name) { return name.value == reference.profile; })) {
    findings.add(where.place, element, TextError::UndeclaredDependency, reference.profile);
    return {};
  }
  return profile::ProfileCatalog::instance().getProfile(wide(reference.profile));
}

property::ValueType BuildContext::requireType(const Text& name, const property::PropertySet& set,
                                              const std::string& element) {
  Reference reference(name.value);
  if (set && reference.profile.empty()) {
    if (auto type = set.valueTypes().find(wide(name.value).view()))
      return type;
  }
  auto owner = profileOf(reference, name, element);
  auto type = owner ? findType(owner, reference.name) : property::ValueType();
  // A type of this text that could not be made has a finding already.
  bool isFaulty = isOwn(reference) && std::any_of(text.types.begin(), text.types.end(),
                                                  [&](auto& own) { return own.name.value == reference.name; });
  if (owner && !type && !isFaulty) {
    std::vector<std::string> names;
    for (const auto& known : owner.valueTypes().toVector())
      names.push_back(narrow(known.getName()));
    for (auto& own : text.types)
      names.push_back(own.name.value);
    for (auto& enumeration : text.enumerations)
      names.push_back(enumeration.name.value);
    findings.add(name.place, element, TextError::UnknownName, "type", name.value, suggestion(reference.name, names));
  }
  return type;
}

profile::Prototype BuildContext::requireStereotype(const Text& name, const std::string& element) {
  Reference reference(name.value);
  auto owner = profileOf(reference, name, element);
  auto stereotype = owner ? owner.prototypes().find(wide(reference.name).view()) : profile::Prototype();
  if (owner && !stereotype) {
    std::vector<std::string> names;
    for (const auto& known : owner.prototypes().toVector())
      names.push_back(narrow(known.getName()));
    findings.add(name.place, element, TextError::UnknownName, "stereotype", name.value,
                 suggestion(reference.name, names));
  }
  return stereotype;
}

std::optional<std::int64_t> BuildContext::wholeNumber(double value) {
  constexpr double limit = 9223372036854775808.0;
  bool isWhole = value == std::trunc(value) && value >= -limit && value < limit;
  return isWhole ? std::optional(static_cast<std::int64_t>(value)) : std::nullopt;
}

property::ValueType findType(const profile::Profile& profile, const std::string& name) {
  for (const auto& type : profile.valueTypes().toVector()) {
    if (type.getName() == wide(name))
      return type;
  }
  return {};
}

} // namespace zelkor::text
