#include "tools/zelkor/text/ProfileDescriber.h"

#include "tools/zelkor/text/Defaults.h"
#include "tools/zelkor/text/Errors.h"
#include "tools/zelkor/text/ExactFacts.h"
#include "tools/zelkor/text/Keywords.h"
#include "tools/zelkor/text/ProfileBuilder.h"
#include "tools/zelkor/text/ProfileReader.h"
#include "tools/zelkor/text/ProfileWriter.h"
#include "tools/zelkor/text/StandIns.h"
#include "tools/zelkor/text/Texts.h"

#include "kavra/Text.h"
#include "tavo/value/Value.h"
#include "tavo/xml/ModelXml.h"
#include "zelkor/profile/DefaultStereotypeMap.h"
#include "zelkor/profile/DefaultStereotypePair.h"
#include "zelkor/profile/Profile.h"
#include "zelkor/profile/ProfileResolver.h"
#include "zelkor/profile/Prototype.h"
#include "zelkor/profile/Tag.h"
#include "zelkor/property/BooleanType.h"
#include "zelkor/property/Enumeration.h"
#include "zelkor/property/FloatType.h"
#include "zelkor/property/IntegerType.h"
#include "zelkor/property/PropertyDefinition.h"
#include "zelkor/property/PropertySet.h"
#include "zelkor/property/StringType.h"
#include "zelkor/property/Value.h"
#include "zelkor/services/ProxySource.h"

#include <algorithm>
#include <cmath>
#include <set>

namespace zelkor::text {
namespace {

using profile::Profile;
using profile::Prototype;
using property::PropertyDefinition;
using property::PropertySet;
using property::ValueType;
using tavo::String;

Text text(const std::string& value) { return {value, {}}; }

/// Whole numbers without a point, for people.
Literal literal(double value) {
  constexpr double exact = 1e15;
  if (value == std::trunc(value) && std::abs(value) < exact && !(value == 0 && std::signbit(value)))
    return {static_cast<std::int64_t>(value)};
  return {value};
}

class Describer {
public:
  Describer(const tavo::Model& model, const std::string& file, const StandIns& standIns)
      : model_(model), file_(file), standIns_(standIns), profile_(Profile::getProfile(model)) {}

  ProfileText describe() {
    if (!profile_)
      tavo::raise(TextError::CannotDescribe, file_, "no profile.");
    ProfileText result;
    result.file = file_;
    named(result, profile_);
    result.friendlyName = narrow(profile_.friendlyName());
    result.description = narrow(profile_.description());
    if (auto stereotype = profile_.defaultArchPrototype())
      result.defaultStereotype = text(narrow(stereotype.getName()));
    for (auto& element : model_.topLevel()) {
      if (auto resolver = element.as<profile::ProfileResolver>())
        result.dependsOn.push_back(text(narrow(resolver.uRI())));
    }
    ownTypes(result);
    for (const auto& set : profile_.propertySets().toVector()) {
      SetText described;
      named(described, set);
      described.description = narrow(set.description());
      for (const auto& type : set.valueTypes().toVector())
        described.types.push_back(describe(type));
      properties(set, described.properties);
      result.sets.push_back(std::move(described));
    }
    for (const auto& stereotype : profile_.prototypes().toVector())
      result.stereotypes.push_back(describe(stereotype));
    for (const auto& tag : profile_.tags().toVector()) {
      TagText described;
      named(described, tag);
      described.description = narrow(tag.description());
      result.tags.push_back(std::move(described));
    }
    enumerations(result);
    return result;
  }

private:
  void named(NamedText& result, const internal::NamedElement& element) const {
    result.name = text(narrow(element.p_Name()));
    if (element.p_ExternalUID())
      result.externalId = text(narrow(*element.p_ExternalUID()));
  }

  /// How this profile names something: alone when it is its own, else (and where a type of a set has the name, too)
  /// after the name of the profile.
  template <class Element>
  std::string reference(const internal::NamedElement& from, const Element& element,
                        const services::proxy::ProxySource& source) const {
    if (!element)
      tavo::raise(TextError::CannotDescribe, file_,
                  "how " + narrow(from.getName()) + " refers to " +
                      (source ? narrow(source.getTargetName()) : std::string("nothing")) + ", which is not there.");
    auto set = from.container().template as<PropertySet>();
    bool isHidden = set && element.container() != set && set.valueTypes().find(element.getName().view());
    if (element.model() == model_ && !isHidden)
      return narrow(element.getName());
    return narrow(Profile::getProfile(element.model()).getName()) + "." + narrow(element.getName());
  }

  /// All but the built-in types, which every profile gets.
  void ownTypes(ProfileText& result) {
    std::set<std::string> builtIn(builtInTypes().begin(), builtInTypes().end());
    for (const auto& type : profile_.valueTypes().toVector()) {
      if (builtIn.erase(narrow(type.getName())) == 0)
        result.types.push_back(describe(type));
    }
  }

  TypeText describe(const ValueType& type) {
    TypeText result;
    named(result, type);
    auto enumeration = type.as<property::Enumeration>();
    if (type.typeProxy())
      result.base = text(reference(type, type.getBaseType(), type.typeProxy()));
    else if (enumeration)
      result.enumeration = text(enumerationName(enumeration));
    else
      result.kind = text(kindOf(type));
    shape(type, result);
    if (auto numeric = type.as<property::RealType>(); numeric && !numeric.units().empty())
      result.units = text(narrow(numeric.units()));
    return result;
  }

  static std::string kindOf(const ValueType& type) {
    return type.as<property::FloatType>()     ? "real"
           : type.as<property::IntegerType>() ? "integer"
           : type.as<property::BooleanType>() ? "boolean"
           : type.as<property::StringType>()  ? "string"
                                              : "stringArray";
  }

  std::string enumerationName(const property::Enumeration& enumeration) {
    auto name = narrow(enumeration.getKavraEnumName());
    enumerations_.insert(name);
    return name;
  }

  /// The bounds and extents that a type has itself.
  static void shape(const ValueType& type, ShapeText& result) {
    if (!type.dimensions().empty())
      result.dimensions = {type.dimensions(), {}};
    auto bound = [&](const char* name) -> std::optional<At<Literal>> {
      auto* property = type.objectClass().findProperty(name);
      if (!property)
        return {};
      auto value = type.getPropertyValue(*property);
      if (value.holds<std::optional<double>>()) {
        auto& number = value.as<std::optional<double>>();
        return number ? std::optional(At<Literal>{literal(*number), {}}) : std::nullopt;
      }
      auto& number = value.as<std::optional<std::int64_t>>();
      return number ? std::optional(At<Literal>{Literal{*number}, {}}) : std::nullopt;
    };
    result.min = bound("minValue");
    result.max = bound("maxValue");
  }

  void properties(const PropertySet& set, std::vector<PropertyText>& result) {
    auto definitions = set.getAllProperties();
    std::stable_sort(definitions.begin(), definitions.end(),
                     [](auto& a, auto& b) { return a.p_Index() < b.p_Index(); });
    for (auto& definition : definitions)
      result.push_back(describe(definition));
  }

  PropertyText describe(const PropertyDefinition& definition) {
    PropertyText result;
    named(result, definition);
    auto owned = definition.ownedType();
    auto enumeration = owned.as<property::Enumeration>();
    if (enumeration && !owned.typeProxy())
      result.type = text(enumerationName(enumeration));
    else if (owned)
      result.type = text(reference(definition, owned.getBaseType(), owned.typeProxy()));
    else
      result.type = text(reference(definition, definition.getType(), definition.typeProxy()));
    if (owned) {
      auto base = owned.getBaseType();
      shape(owned, result);
      // An own type starts with the extents and the units of its base.
      auto numeric = owned.as<property::RealType>();
      auto baseUnits = base.as<property::RealType>() ? base.as<property::RealType>().units() : String();
      if (numeric && !enumeration && numeric.units() != baseUnits)
        result.units = text(narrow(numeric.units()));
      bool narrows = result.min || result.max || result.units;
      if (base && base.dimensions() == owned.dimensions() && narrows)
        result.dimensions.reset();
      else if (base && !result.dimensions)
        result.dimensions = {owned.dimensions(), {}};
    }
    describeDefault(definition, result);
    return result;
  }

  void describeDefault(const PropertyDefinition& definition, PropertyText& result) const {
    auto value = definition.defaultValue();
    if (!value)
      return;
    DefaultText described;
    auto expression = value.storedExpression();
    if (!expression.empty()) {
      described.literal = literalOf(expression);
      if (!described.literal)
        described.expression = narrow(expression);
      else if (auto* list = std::get_if<Literal::List>(&described.literal->value); list && list->empty())
        described = {{}, narrow(expression), {}};
    }
    auto type = definition.getType().as<property::RealType>();
    if (type && value.units() != type.units())
      described.units = text(narrow(value.units()));
    if (!expression.empty() || described.units)
      result.defaultValue = {described, {}};
  }

  StereotypeText describe(const Prototype& stereotype) {
    StereotypeText result;
    named(result, stereotype);
    result.description = narrow(stereotype.description());
    if (stereotype.hasParent())
      result.parent = text(reference(stereotype, stereotype.getParent(), stereotype.parentProxy()));
    for (auto& kind : stereotype.appliesTo())
      result.appliesTo.push_back(text(narrow(kind)));
    auto word = [](const std::vector<std::string>& words, auto value) -> std::optional<Text> {
      auto number = static_cast<std::size_t>(value);
      return number == 0 ? std::nullopt : std::optional(text(words.at(number)));
    };
    result.icon = word(icons(), stereotype.icon());
    if (!stereotype.customIconPath().empty())
      result.customIcon = text(narrow(stereotype.customIconPath()));
    result.lineStyle = word(lineStyles(), stereotype.connectorLineStyle());
    auto colour = [](const std::optional<profile::RGBValueStruct>& c) {
      return c ? std::optional(ColourText{c->red, c->green, c->blue}) : std::nullopt;
    };
    result.headerColour = colour(stereotype.componentHeaderColor());
    result.lineColour = colour(stereotype.connectorLineColor());
    for (auto kind : {u"component", u"port", u"connector"}) {
      auto map = stereotype.defaultStereotypeMap();
      auto pair = map ? map.defaults().find(kind) : profile::DefaultStereotypePair();
      if (pair)
        result.defaults[narrow(kind)] = text(reference(stereotype, pair.getPrototype(), pair.defaultStereotypeProxy()));
    }
    if (auto set = stereotype.getPropertySet()) {
      result.setDescription = narrow(set.description());
      for (const auto& type : set.valueTypes().toVector())
        result.types.push_back(describe(type));
      properties(set, result.properties);
    }
    return result;
  }

  /// The members of the classes that can be had; `check` tells of the others.
  void enumerations(ProfileText& result) const {
    for (auto& name : enumerations_) {
      auto found = kavra::host().classes().findClass(wide(name));
      if (!found || !found->isEnumeration() || standIns_.isStandIn(name))
        continue;
      auto& definition = found->enumeration->definition();
      EnumerationText described;
      described.name = text(name);
      std::int64_t next = 0;
      bool plainValues = std::all_of(definition.members.begin(), definition.members.end(),
                                     [&](auto& member) { return member.value == next++; });
      for (auto& member : definition.members) {
        EnumerationText::Member entry{text(narrow(member.name)), {}};
        if (!plainValues)
          entry.value = {member.value, {}};
        described.members.push_back(std::move(entry));
      }
      if (definition.defaultPosition >= 1 && definition.defaultPosition <= described.members.size())
        described.defaultMember = described.members[definition.defaultPosition - 1].name;
      result.enumerations.push_back(std::move(described));
    }
  }

  const tavo::Model& model_;
  const std::string& file_;
  const StandIns& standIns_;
  Profile profile_;
  std::set<std::string> enumerations_;
};

/// Takes out of a shape or a default what stands at the place of a finding; false when it is nothing of theirs.
bool takeOut(ShapeText& shape, const ShapeText& read, Place place) {
  bool isUnits = read.units && read.units->place == place;
  bool isMin = read.min && read.min->place == place;
  bool isMax = read.max && read.max->place == place;
  bool isDimensions = read.dimensions && read.dimensions->place == place;
  if (isUnits)
    shape.units.reset();
  if (isMin || isMax) {
    shape.min.reset();
    shape.max.reset();
  }
  if (isDimensions)
    shape.dimensions.reset();
  return isUnits || isMin || isMax || isDimensions;
}

bool takeOut(std::vector<TypeText>& types, const std::vector<TypeText>& read, Place place) {
  bool found = false;
  for (std::size_t i = 0; i < types.size() && i < read.size(); ++i)
    found = takeOut(types[i], read[i], place) || found;
  return found;
}

bool takeOut(std::optional<Text>& text, const std::optional<Text>& read, Place place) {
  bool found = read && read->place == place;
  if (found)
    text.reset();
  return found;
}

bool takeOutReferences(SetText&, const SetText&, Place) { return false; }

bool takeOutReferences(StereotypeText& stereotype, const StereotypeText& read, Place place) {
  bool found = takeOut(stereotype.parent, read.parent, place);
  for (auto& [kind, name] : read.defaults)
    found = (name.place == place && stereotype.defaults.erase(kind) > 0) || found;
  return found;
}

template <class Owner>
bool takeOut(std::vector<Owner>& owners, const std::vector<Owner>& read, Place place) {
  bool found = false;
  for (std::size_t i = 0; i < owners.size() && i < read.size(); ++i) {
    found = takeOut(owners[i].types, read[i].types, place) || found;
    found = takeOutReferences(owners[i], read[i], place) || found;
    for (std::size_t j = 0; j < owners[i].properties.size() && j < read[i].properties.size(); ++j) {
      auto& property = owners[i].properties[j];
      auto& value = read[i].properties[j].defaultValue;
      bool isDefault = value && (value->place == place || (value->value.units && value->value.units->place == place));
      if (isDefault)
        property.defaultValue.reset();
      found = isDefault || takeOut(property, read[i].properties[j], place) || found;
    }
  }
  return found;
}

/// Takes units, bounds, extents, defaults and stereotypes that the library refuses by now out of a description; they
/// become facts. False when there is a finding about something else.
bool takeOutRefused(ProfileText& description, const ProfileText& read, const std::vector<Finding>& findings) {
  return std::all_of(findings.begin(), findings.end(), [&](auto& finding) {
    bool isOfType = takeOut(description.types, read.types, finding.place);
    bool isOfSet = takeOut(description.sets, read.sets, finding.place);
    bool isOfProfile = takeOut(description.defaultStereotype, read.defaultStereotype, finding.place);
    return takeOut(description.stereotypes, read.stereotypes, finding.place) || isOfSet || isOfType || isOfProfile;
  });
}

} // namespace

ProfileText describeProfile(const tavo::Model& model, const std::string& file,
                            kavra::StandaloneClassRegistry& classes) {
  StandIns standIns(model, classes);
  auto description = Describer(model, file, standIns).describe();
  bool isExact = false;
  // Whether the text says it all is found out by reading and building it.
  for (int attempt = 0; attempt < 10; ++attempt) {
    Findings findings(file);
    auto read = readProfileText(writeProfileText(description), file, findings);
    auto built = findings.empty() ? buildProfile(read, {}, classes, findings) : tavo::Model();
    if (!built && !takeOutRefused(description, read, findings.sorted())) {
      auto first = findings.sorted().front();
      tavo::raise(TextError::CannotDescribe, file, first.element + ", of which is said: " + first.message);
    }
    if (!built)
      continue;
    if (tavo::modelText(built) == tavo::modelText(model))
      return description;
    if (isExact)
      break;
    description.exact = differences(built, model, file);
    isExact = true;
  }
  tavo::raise(TextError::CannotDescribe, file, "a detail that does not come back from its text form.");
}

} // namespace zelkor::text
