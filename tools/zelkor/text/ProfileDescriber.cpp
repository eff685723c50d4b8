#include "tools/zelkor/text/ProfileDescriber.h"

#include "tools/zelkor/text/Defaults.h"
#include "tools/zelkor/text/Errors.h"
#include "tools/zelkor/text/Identities.h"
#include "tools/zelkor/text/Keywords.h"
#include "tools/zelkor/text/ProfileBuilder.h"

#include "kavra/Error.h"
#include "kavra/Text.h"
#include "tavo/value/Value.h"
#include "tavo/xml/ModelXml.h"
#include "zelkor/profile/DefaultStereotypeMap.h"
#include "zelkor/profile/DefaultStereotypePair.h"
#include "zelkor/profile/Profile.h"
#include "zelkor/profile/ProfileResolver.h"
#include "zelkor/profile/Prototype.h"
#include "zelkor/profile/Tag.h"
#include "zelkor/property/Enumeration.h"
#include "zelkor/property/FloatType.h"
#include "zelkor/property/IntegerType.h"
#include "zelkor/property/PropertyDefinition.h"
#include "zelkor/property/PropertySet.h"
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
  Describer(const tavo::Model& model, const std::string& file)
      : model_(model), file_(file), profile_(Profile::getProfile(model)) {}

  ProfileText describe() {
    if (!profile_)
      tavo::raise(TextError::CannotDescribe, file_, "no profile");
    ProfileText result;
    result.file = file_;
    named(result, profile_);
    result.friendlyName = plain(profile_.friendlyName());
    result.description = plain(profile_.description());
    if (auto stereotype = profile_.defaultArchPrototype())
      result.defaultStereotype = text(plain(stereotype.getName()));
    for (auto& element : model_.topLevel()) {
      if (auto resolver = element.as<profile::ProfileResolver>())
        result.dependsOn.push_back(text(plain(resolver.uRI())));
    }
    types(result);
    for (const auto& set : profile_.propertySets().toVector()) {
      SetText described;
      named(described, set);
      described.description = plain(set.description());
      properties(set, described.properties);
      result.sets.push_back(std::move(described));
    }
    for (const auto& stereotype : profile_.prototypes().toVector())
      result.stereotypes.push_back(describe(stereotype));
    for (const auto& tag : profile_.tags().toVector()) {
      TagText described;
      named(described, tag);
      described.description = plain(tag.description());
      result.tags.push_back(std::move(described));
    }
    enumerations(result);
    return result;
  }

private:
  /// Text of a model in a file of UTF-8, where a lone surrogate has no place.
  std::string plain(const String& value) const {
    try {
      return value.toUtf8();
    } catch (const tavo::Error&) {
      tavo::raise(TextError::CannotDescribe, file_, "a text with half of a surrogate pair");
    }
  }

  void named(NamedText& result, const internal::NamedElement& element) const {
    result.name = text(plain(element.p_Name()));
    if (element.p_ExternalUID())
      result.externalId = text(plain(*element.p_ExternalUID()));
  }

  /// How this profile names something: alone when it is its own, else after the other profile's name.
  template <class Element>
  std::string reference(const Element& element, const services::proxy::ProxySource& source) const {
    if (!element)
      tavo::raise(TextError::CannotDescribe, file_,
                  "a reference to " + (source ? plain(source.getTargetName()) : std::string("nothing")));
    if (element.model() == model_)
      return plain(element.getName());
    return plain(Profile::getProfile(element.model()).getName()) + "." + plain(element.getName());
  }

  void types(ProfileText& result) {
    auto all = profile_.valueTypes().toVector();
    std::size_t builtIn = 0;
    while (builtIn < all.size() && builtIn < builtInTypes().size() &&
           plain(all[builtIn].getName()) == builtInTypes()[builtIn])
      ++builtIn;
    for (auto type = all.begin() + static_cast<std::ptrdiff_t>(builtIn); type != all.end(); ++type) {
      TypeText described;
      named(described, *type);
      if (type->typeProxy())
        described.base = text(reference(type->getBaseType(), type->typeProxy()));
      else if (auto enumeration = type->as<property::Enumeration>())
        described.enumeration = text(enumerationName(enumeration));
      shape(*type, described);
      if (auto numeric = type->as<property::RealType>(); numeric && !numeric.units().empty())
        described.units = text(plain(numeric.units()));
      result.types.push_back(std::move(described));
    }
  }

  std::string enumerationName(const property::Enumeration& enumeration) {
    auto name = plain(enumeration.getKavraEnumName());
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
    auto count = static_cast<std::uint32_t>(set.properties().size());
    for (std::uint32_t index = 0; index < count; ++index) {
      auto definition = set.getPropertyByIndex(index);
      if (!definition)
        tavo::raise(TextError::CannotDescribe, file_, "a gap in the places of " + plain(set.getFullyQualifiedName()));
      result.push_back(describe(definition));
    }
  }

  PropertyText describe(const PropertyDefinition& definition) {
    PropertyText result;
    named(result, definition);
    auto owned = definition.ownedType();
    auto enumeration = owned.as<property::Enumeration>();
    if (enumeration && !owned.typeProxy())
      result.type = text(enumerationName(enumeration));
    else if (owned)
      result.type = text(reference(owned.getBaseType(), owned.typeProxy()));
    else
      result.type = text(reference(definition.getType(), definition.typeProxy()));
    if (owned) {
      auto base = owned.getBaseType();
      shape(owned, result);
      // An own type starts with the extents and the units of its base.
      auto numeric = owned.as<property::RealType>();
      auto baseUnits = base.as<property::RealType>() ? base.as<property::RealType>().units() : String();
      if (numeric && !enumeration && numeric.units() != baseUnits)
        result.units = text(plain(numeric.units()));
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
        described.expression = plain(expression);
      else if (auto* list = std::get_if<Literal::List>(&described.literal->value); list && list->empty())
        described = {{}, plain(expression), {}};
    }
    auto type = definition.getType().as<property::RealType>();
    if (type && value.units() != type.units())
      described.units = text(plain(value.units()));
    if (!expression.empty() || described.units)
      result.defaultValue = {described, {}};
  }

  StereotypeText describe(const Prototype& stereotype) {
    StereotypeText result;
    named(result, stereotype);
    result.description = plain(stereotype.description());
    if (stereotype.hasParent())
      result.parent = text(reference(stereotype.getParent(), stereotype.parentProxy()));
    for (auto& kind : stereotype.appliesTo())
      result.appliesTo.push_back(text(plain(kind)));
    auto word = [](const std::vector<std::string>& words, auto value) -> std::optional<Text> {
      auto number = static_cast<std::size_t>(value);
      return number == 0 ? std::nullopt : std::optional(text(words.at(number)));
    };
    result.icon = word(icons(), stereotype.icon());
    if (!stereotype.customIconPath().empty())
      result.customIcon = text(plain(stereotype.customIconPath()));
    result.lineStyle = word(lineStyles(), stereotype.connectorLineStyle());
    auto colour = [](const std::optional<profile::RGBValueStruct>& c) {
      return c ? std::optional(ColourText{c->red, c->green, c->blue}) : std::nullopt;
    };
    result.headerColour = colour(stereotype.componentHeaderColor());
    result.lineColour = colour(stereotype.connectorLineColor());
    if (auto map = stereotype.defaultStereotypeMap()) {
      for (const auto& pair : map.defaults().toVector())
        result.defaults[plain(pair.key())] = text(reference(pair.getPrototype(), pair.defaultStereotypeProxy()));
    }
    if (auto set = stereotype.getPropertySet()) {
      result.setDescription = plain(set.description());
      properties(set, result.properties);
    }
    return result;
  }

  /// The members of the classes that are at hand; `check` tells of the others.
  void enumerations(ProfileText& result) const {
    for (auto& name : enumerations_) {
      auto found = kavra::host().classes().findClass(kavra::fromUtf8(name).value_or(u""));
      if (!found || !found->isEnumeration())
        tavo::raise(TextError::CannotDescribe, file_, "values of the enumeration " + name + ", which cannot be found");
      auto& definition = found->enumeration->definition();
      EnumerationText described;
      described.name = text(name);
      std::int64_t next = 0;
      bool plainValues = std::all_of(definition.members.begin(), definition.members.end(),
                                     [&](auto& member) { return member.value == next++; });
      for (auto& member : definition.members) {
        EnumerationText::Member entry{text(kavra::toUtf8(member.name)), {}};
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
  Profile profile_;
  std::set<std::string> enumerations_;
};

} // namespace

ProfileText describeProfile(const tavo::Model& model, const std::string& file,
                            kavra::StandaloneClassRegistry& classes) {
  auto description = Describer(model, file).describe();
  // The second time with what the first one lacked.
  for (bool again : {true, false}) {
    Findings findings(file);
    auto built = buildProfile(description, {}, classes, findings);
    if (!built)
      tavo::raise(TextError::CannotDescribe, file, "this, which does not compile: " + findings.sorted().front().line());
    if (again)
      describeDifferences(built, model, description);
    else if (tavo::modelText(built) != tavo::modelText(model))
      tavo::raise(TextError::CannotDescribe, file, "a detail that does not come back from its text form");
  }
  return description;
}

} // namespace zelkor::text
