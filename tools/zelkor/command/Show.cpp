// show: what a profile holds, for people and as JSON.
#include "tools/zelkor/command/Commands.h"
#include "tools/zelkor/command/Files.h"
#include "tools/zelkor/command/Report.h"

#include "kavra/Rendering.h"
#include "kavra/Text.h"
#include "zelkor/profile/Profile.h"
#include "zelkor/profile/Prototype.h"
#include "zelkor/profile/Tag.h"
#include "zelkor/property/Enumeration.h"
#include "zelkor/property/PropertyDefinition.h"
#include "zelkor/property/PropertySet.h"
#include "zelkor/property/RealType.h"
#include "zelkor/property/Value.h"
#include "zelkor/services/ProxySource.h"

#include <nlohmann/json.hpp>

#include <cmath>
#include <iostream>
#include <limits>

namespace zelkor::command {
namespace {

using nlohmann::ordered_json;
using property::PropertyDefinition;
using property::ValueType;

std::string utf8(std::u16string_view text) { return kavra::toUtf8(text); }

/// The name of a type in front of its profile's, unless that is the profile that is shown.
std::string nameOf(const ValueType& type, const tavo::Model& model) {
  auto other = type.model() == model ? profile::Profile() : profile::Profile::getProfile(type.model());
  return (other ? utf8(other.getName()) + "." : std::string()) + utf8(type.getName());
}

ordered_json describe(const PropertyDefinition& definition, const tavo::Model& model) {
  ordered_json json{{"name", utf8(definition.getName())}};
  auto type = definition.getType();
  auto owned = definition.ownedType();
  if (!type) {
    json["type"] = nullptr;
    return json;
  }
  auto shared = owned && owned.getBaseType() ? owned.getBaseType() : type;
  auto enumeration = type.as<property::Enumeration>();
  json["type"] = enumeration ? utf8(enumeration.getKavraEnumName()) : nameOf(shared, model);
  if (auto value = definition.defaultValue()) {
    auto unit = utf8(definition.getUnit());
    auto own = utf8(value.units());
    auto baseUnits = shared.as<property::RealType>() ? utf8(shared.as<property::RealType>().units()) : std::string();
    if (!(own.empty() ? unit : own).empty()) {
      json["units"] = own.empty() ? unit : own;
      // What the definition has not said itself comes from its type.
      json["unitsInherited"] = (own.empty() || own == unit) && unit == baseUnits;
    }
  }
  if (!definition.getDimensions().empty())
    json["dimensions"] = definition.getDimensions();
  for (auto& [key, bound] : {std::pair{"min", definition.getMin()}, std::pair{"max", definition.getMax()}}) {
    // The bounds of a floating-point class itself say nothing.
    if (bound && std::abs(*bound.asNumber()) < static_cast<double>(std::numeric_limits<float>::max()))
      json[key] = utf8(kavra::displayText(bound));
  }
  if (auto value = definition.defaultValue()) {
    json["default"] = utf8(value.getExpression());
    json["defaultInherited"] = !value.hasValue();
  }
  return json;
}

ordered_json properties(const property::PropertySet& set, const tavo::Model& model) {
  auto list = ordered_json::array();
  for (std::uint32_t i = 0; set && i < set.properties().size(); ++i) {
    if (auto definition = set.getPropertyByIndex(i))
      list.push_back(describe(definition, model));
  }
  return list;
}

ordered_json describe(const profile::Profile& profile) {
  auto model = profile.model();
  ordered_json json{{"name", utf8(profile.getName())},
                    {"friendlyName", utf8(profile.friendlyName())},
                    {"description", utf8(profile.description())},
                    {"dependsOn", ordered_json::array()},
                    {"sets", ordered_json::array()},
                    {"stereotypes", ordered_json::array()},
                    {"tags", ordered_json::array()}};
  for (auto& name : profile.getDependentProfiles())
    json["dependsOn"].push_back(utf8(name));
  for (const auto& set : profile.propertySets().toVector())
    json["sets"].push_back({{"name", utf8(set.getName())}, {"properties", properties(set, model)}});
  for (const auto& stereotype : profile.prototypes().toVector()) {
    ordered_json entry{{"name", utf8(stereotype.getName())}};
    if (stereotype.hasParent())
      entry["parent"] = utf8(stereotype.parentProxy().getTargetName());
    entry["appliesTo"] = ordered_json::array();
    for (auto& kind : stereotype.getCumulativeAppliesTo())
      entry["appliesTo"].push_back(utf8(kind));
    entry["description"] = utf8(stereotype.description());
    entry["properties"] = properties(stereotype.getPropertySet(), model);
    json["stereotypes"].push_back(std::move(entry));
  }
  for (const auto& tag : profile.tags().toVector())
    json["tags"].push_back({{"name", utf8(tag.getName())}, {"description", utf8(tag.description())}});
  return json;
}

void printProperties(const ordered_json& list) {
  for (auto& property : list) {
    auto text = [&](const char* key) { return property.value(key, ordered_json("")).get<std::string>(); };
    std::cout << "    " << text("name") << ": " << (property["type"].is_null() ? "(type missing)" : text("type"));
    if (property.contains("dimensions"))
      std::cout << ' ' << property["dimensions"].dump();
    if (property.contains("units"))
      std::cout << ", " << text("units") << (property["unitsInherited"] ? " (inherited)" : "");
    if (property.contains("min") && property.contains("max"))
      std::cout << ", " << text("min") << " to " << text("max");
    else if (property.contains("min") || property.contains("max"))
      std::cout << (property.contains("min") ? ", from " : ", up to ") << text("min") << text("max");
    if (property.contains("default"))
      std::cout << " = " << (text("default").empty() ? "''" : text("default"))
                << (property["defaultInherited"] ? " (of the type)" : "");
    std::cout << '\n';
  }
}

void printTree(const ordered_json& json) {
  auto text = [](const ordered_json& from, const char* key) { return from.value(key, std::string()); };
  std::cout << "profile " << text(json, "name");
  for (auto& name : json["dependsOn"])
    std::cout << (name == json["dependsOn"].front() ? ", depends on " : ", ") << name.get<std::string>();
  std::cout << '\n';
  for (auto& set : json["sets"]) {
    std::cout << "  set " << text(set, "name") << '\n';
    printProperties(set["properties"]);
  }
  for (auto& stereotype : json["stereotypes"]) {
    std::cout << "  stereotype " << text(stereotype, "name");
    if (stereotype.contains("parent"))
      std::cout << " of " << text(stereotype, "parent");
    for (auto& kind : stereotype["appliesTo"])
      std::cout << (kind == stereotype["appliesTo"].front() ? " for " : ", ") << kind.get<std::string>();
    std::cout << '\n';
    printProperties(stereotype["properties"]);
  }
  for (auto& tag : json["tags"])
    std::cout << "  tag " << text(tag, "name") << '\n';
}

} // namespace

int show(const std::filesystem::path& input, bool json) {
  text::Findings found(input.string());
  try {
    Surroundings surroundings;
    surroundings.lookIn({std::filesystem::absolute(input).parent_path()});
    auto model = readProfile(input);
    auto described = describe(profile::Profile::getProfile(model));
    if (json)
      std::cout << described.dump(2, ' ', false, ordered_json::error_handler_t::replace) << '\n';
    else
      printTree(described);
  } catch (...) {
    addCurrent(found);
  }
  print(found.sorted());
  return found.empty() ? success : findings;
}

} // namespace zelkor::command
