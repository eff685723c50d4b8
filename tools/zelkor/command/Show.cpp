// show: what a profile holds, for people and as JSON.
#include "tools/zelkor/command/Commands.h"
#include "tools/zelkor/command/Report.h"
#include "tools/zelkor/command/Source.h"
#include "tools/zelkor/text/Keywords.h"

#include "kavra/Rendering.h"
#include "kavra/Text.h"
#include "zelkor/profile/Profile.h"
#include "zelkor/profile/Prototype.h"
#include "zelkor/profile/Tag.h"
#include "zelkor/property/Enumeration.h"
#include "zelkor/property/FloatType.h"
#include "zelkor/property/IntegerType.h"
#include "zelkor/property/PropertyDefinition.h"
#include "zelkor/property/PropertySet.h"
#include "zelkor/property/RealType.h"
#include "zelkor/property/Value.h"
#include "zelkor/services/ProxySource.h"

#include <nlohmann/json.hpp>

#include <algorithm>
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

/// What something says of itself; nothing when that depends on a profile that cannot be had.
template <class Ask>
auto ifKnown(Ask&& ask) -> decltype(ask()) {
  try {
    return ask();
  } catch (const tavo::Error&) {
    return {};
  }
}

void describeShape(ordered_json& json, const tavo::String& units, const std::vector<std::uint64_t>& dimensions) {
  if (!units.empty())
    json["units"] = utf8(units);
  if (!dimensions.empty())
    json["dimensions"] = dimensions;
}

/// The bounds of a floating-point class itself say nothing.
void describeBound(ordered_json& json, const char* key, const kavra::HostArray& bound) {
  if (bound && std::abs(*bound.asNumber()) < static_cast<double>(std::numeric_limits<float>::max()))
    json[key] = utf8(kavra::displayText(bound));
}

tavo::String unitsOf(const ValueType& type) {
  auto numeric = type.as<property::RealType>();
  return numeric ? numeric.units() : tavo::String();
}

ordered_json describe(const ValueType& type, const tavo::Model& model) {
  ordered_json json{{"name", utf8(type.getName())}};
  auto base = ifKnown([&] { return type.getBaseType(); });
  if (auto enumeration = type.as<property::Enumeration>())
    json["enumeration"] = utf8(enumeration.getKavraEnumName());
  else if (type.typeProxy())
    json["base"] = base ? ordered_json(nameOf(base, model)) : ordered_json(nullptr);
  describeShape(json, unitsOf(type), type.dimensions());
  auto bounds = [&](auto number) {
    auto min = ifKnown([&] { return number ? number.getMinValue() : std::nullopt; });
    auto max = ifKnown([&] { return number ? number.getMaxValue() : std::nullopt; });
    if (min)
      describeBound(json, "min", kavra::HostArray::scalar(*min));
    if (max)
      describeBound(json, "max", kavra::HostArray::scalar(*max));
  };
  bounds(type.as<property::FloatType>());
  bounds(type.as<property::IntegerType>());
  return json;
}

ordered_json describe(const PropertyDefinition& definition, const tavo::Model& model) {
  ordered_json json{{"name", utf8(definition.getName())}};
  auto type = ifKnown([&] { return definition.getType(); });
  auto owned = definition.ownedType();
  auto value = definition.defaultValue();
  if (type) {
    auto base = owned ? ifKnown([&] { return owned.getBaseType(); }) : ValueType();
    auto shared = base ? base : type;
    auto enumeration = type.as<property::Enumeration>();
    if (enumeration)
      json["type"] = utf8(enumeration.getKavraEnumName());
    else if (base || !type.typeProxy() || type != owned)
      json["type"] = nameOf(shared, model);
    else
      json["type"] = nullptr;
    auto units = unitsOf(type);
    describeShape(json, units, definition.getDimensions());
    if (!units.empty())
      json["unitsInherited"] = units == unitsOf(shared);
    describeBound(json, "min", ifKnown([&] { return definition.getMin(); }));
    describeBound(json, "max", ifKnown([&] { return definition.getMax(); }));
  } else {
    json["type"] = nullptr;
  }
  if (value) {
    bool hasOwn = value.hasValue() || !type;
    json["default"] = utf8(hasOwn ? value.storedExpression() : ifKnown([&] { return value.getExpression(); }));
    json["defaultInherited"] = !value.hasValue();
    if (auto units = value.units(); !units.empty() && units != unitsOf(type))
      json["defaultUnits"] = utf8(units);
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
                    {"types", ordered_json::array()},
                    {"sets", ordered_json::array()},
                    {"stereotypes", ordered_json::array()},
                    {"tags", ordered_json::array()}};
  for (auto& name : profile.getDependentProfiles())
    json["dependsOn"].push_back(utf8(name));
  for (const auto& type : profile.valueTypes().toVector()) {
    auto& builtIn = text::builtInTypes();
    if (std::find(builtIn.begin(), builtIn.end(), utf8(type.getName())) == builtIn.end())
      json["types"].push_back(describe(type, model));
  }
  for (const auto& set : profile.propertySets().toVector())
    json["sets"].push_back({{"name", utf8(set.getName())}, {"properties", properties(set, model)}});
  for (const auto& stereotype : profile.prototypes().toVector()) {
    ordered_json entry{{"name", utf8(stereotype.getName())}};
    if (stereotype.hasParent())
      entry["parent"] = utf8(stereotype.parentProxy().getTargetName());
    entry["appliesTo"] = ordered_json::array();
    for (auto& kind : ifKnown([&] { return stereotype.getCumulativeAppliesTo(); }))
      entry["appliesTo"].push_back(utf8(kind));
    entry["description"] = utf8(stereotype.description());
    entry["properties"] = properties(stereotype.getPropertySet(), model);
    json["stereotypes"].push_back(std::move(entry));
  }
  for (const auto& tag : profile.tags().toVector())
    json["tags"].push_back({{"name", utf8(tag.getName())}, {"description", utf8(tag.description())}});
  return json;
}

std::string textAt(const ordered_json& json, const char* key) {
  auto found = json.find(key);
  return found != json.end() && found->is_string() ? found->get<std::string>() : std::string();
}

void printShape(const ordered_json& json) {
  if (json.contains("dimensions"))
    std::cout << ' ' << json["dimensions"].dump();
  if (json.contains("units"))
    std::cout << ", " << textAt(json, "units") << (json.value("unitsInherited", false) ? " (inherited)" : "");
  if (json.contains("min") && json.contains("max"))
    std::cout << ", " << textAt(json, "min") << " to " << textAt(json, "max");
  else if (json.contains("min") || json.contains("max"))
    std::cout << (json.contains("min") ? ", from " : ", up to ") << textAt(json, "min") << textAt(json, "max");
}

void printType(const ordered_json& type) {
  auto base = textAt(type, type.contains("enumeration") ? "enumeration" : "base");
  std::cout << "  type " << textAt(type, "name") << ": "
            << (!base.empty()           ? base
                : type.contains("base") ? "(base missing)"
                                        : "(no base)");
  printShape(type);
  std::cout << '\n';
}

void printProperties(const ordered_json& list) {
  for (auto& property : list) {
    std::cout << "    " << textAt(property, "name") << ": "
              << (property["type"].is_null() ? "(type missing)" : textAt(property, "type"));
    printShape(property);
    if (property.contains("default")) {
      auto value = textAt(property, "default");
      std::cout << " = " << (value.empty() ? "''" : value);
      if (property.contains("defaultUnits"))
        std::cout << ' ' << textAt(property, "defaultUnits");
      std::cout << (property["defaultInherited"] ? " (of the type)" : "");
    }
    std::cout << '\n';
  }
}

/// "head a, b", or nothing for an empty list.
void printList(const char* head, const ordered_json& names) {
  for (auto& name : names)
    std::cout << (name == names.front() ? head : ", ") << name.get<std::string>();
}

void printTree(const ordered_json& json) {
  std::cout << "profile " << textAt(json, "name");
  printList(", depends on ", json["dependsOn"]);
  std::cout << '\n';
  for (auto& type : json["types"])
    printType(type);
  for (auto& set : json["sets"]) {
    std::cout << "  set " << textAt(set, "name") << '\n';
    printProperties(set["properties"]);
  }
  for (auto& stereotype : json["stereotypes"]) {
    std::cout << "  stereotype " << textAt(stereotype, "name");
    if (stereotype.contains("parent"))
      std::cout << " of " << textAt(stereotype, "parent");
    printList(" for ", stereotype["appliesTo"]);
    std::cout << '\n';
    printProperties(stereotype["properties"]);
  }
  for (auto& tag : json["tags"])
    std::cout << "  tag " << textAt(tag, "name") << '\n';
}

} // namespace

int show(const std::filesystem::path& input, bool json) {
  text::Findings found(input.string());
  try {
    Progress progress("reading " + input.string());
    Surroundings surroundings;
    if (auto model = readSource(input, surroundings, found)) {
      auto described = describe(profile::Profile::getProfile(model));
      if (json)
        printJson(described);
      else
        printTree(described);
    }
  } catch (...) {
    addCurrent(found);
  }
  return report(found, json);
}

} // namespace zelkor::command
