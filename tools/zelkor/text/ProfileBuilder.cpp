#include "tools/zelkor/text/ProfileBuilder.h"

#include "tools/zelkor/text/Defaults.h"
#include "tools/zelkor/text/Errors.h"
#include "tools/zelkor/text/Identities.h"
#include "tools/zelkor/text/Keywords.h"
#include "tools/zelkor/text/Spelling.h"

#include "kavra/Error.h"
#include "kavra/Text.h"
#include "zelkor/profile/DefaultStereotypeMap.h"
#include "zelkor/profile/Profile.h"
#include "zelkor/profile/ProfileCatalog.h"
#include "zelkor/profile/ProfileResolver.h"
#include "zelkor/profile/Prototype.h"
#include "zelkor/profile/Tag.h"
#include "zelkor/property/Enumeration.h"
#include "zelkor/property/FloatType.h"
#include "zelkor/property/IntegerType.h"
#include "zelkor/property/PropertyDefinition.h"
#include "zelkor/property/PropertySet.h"
#include "zelkor/property/RealType.h"
#include "zelkor/property/Value.h"
#include "zelkor/services/ModelIdentifier.h"

#include <algorithm>
#include <cmath>
#include <set>

namespace zelkor::text {
namespace {

using profile::Profile;
using profile::ProfileCatalog;
using profile::Prototype;
using property::PropertyDefinition;
using property::PropertySet;
using property::ValueType;
using tavo::String;

String wide(const std::string& text) { return String::fromUtf8(text); }

/// "Other.Name" taken apart; no profile for a plain name.
struct Reference {
  std::string profile, name;
};

Reference split(const std::string& text) {
  auto dot = text.find('.');
  return dot == text.npos ? Reference{{}, text} : Reference{text.substr(0, dot), text.substr(dot + 1)};
}

ValueType findType(const Profile& profile, const std::string& name) {
  for (const auto& type : profile.valueTypes().toVector()) {
    if (type.getName() == wide(name))
      return type;
  }
  return {};
}

/// What can be added to the error of an expression that cannot be evaluated.
std::string evaluationHint(const std::string& expression, bool takesText) {
  auto text = wide(expression);
  if (takesText && kavra::isValidName(text))
    return "A text stands in quotes: default = \"" + expression + "\".";
  if (kavra::host().workspaces().of(nullptr)->evaluate(text))
    return {};
  return "(A profile is read without a workspace, so there are no variables.)";
}

class Builder {
public:
  Builder(const ProfileText& text, const tavo::Model& before, kavra::StandaloneClassRegistry& classes,
          Findings& findings)
      : text_(text), before_(before), classes_(classes), findings_(findings) {}

  tavo::Model build() {
    defineEnumerations();
    loadDependencies();
    if (!findings_.empty())
      return {};
    auto model = tavo::Model::create();
    model.setUndoDepth(0);
    profile_ = Profile::createProfile(model, wide(text_.name.value));
    services::proxy::ModelIdentifier::createModelIdentifier(model, u"profile", profile_.getName());
    for (auto& dependency : text_.dependsOn)
      profile::ProfileResolver::createResolver(model, wide(dependency.value));

    nameAndDescribe();
    makeTypes();
    makeTagsAndSets();
    makeStereotypes();
    setDefaultStereotypes();
    if (!findings_.empty())
      return {};
    auto result = withIdentities(model, sources(), findings_);
    return findings_.empty() ? result : tavo::Model();
  }

private:
  /// Does something with the library; an error becomes a finding at the place.
  template <class Action>
  bool attempt(Place place, const std::string& element, Action&& action) {
    return attempt(place, element, {}, action);
  }
  template <class Action>
  bool attempt(Place place, const std::string& element, const std::string& hint, Action&& action) {
    try {
      action();
      return true;
    } catch (const tavo::Error& error) {
      findings_.add(place, element, error, hint);
    } catch (const kavra::Error& error) {
      findings_.add({findings_.file(), place, element, error.id(), error.what()});
    }
    return false;
  }

  void defineEnumerations() {
    for (auto& definition : enumerationsOf(text_))
      attempt({}, kavra::toUtf8(definition.name), [&] { classes_.defineEnumeration(definition); });
  }

  void loadDependencies() {
    auto& catalog = ProfileCatalog::instance();
    for (auto& dependency : text_.dependsOn) {
      bool loaded =
          attempt(dependency.place, dependency.value, [&] { catalog.loadProfileNamed(wide(dependency.value)); });
      std::set<String> visited;
      if (loaded && leadsBack(wide(dependency.value), visited))
        findings_.add(dependency.place, dependency.value, TextError::Cycle,
                      text_.name.value + " -> " + dependency.value + " -> ... -> " + text_.name.value);
    }
  }

  bool leadsBack(const String& name, std::set<String>& visited) const {
    auto profile = ProfileCatalog::instance().getProfile(name);
    if (!profile || !visited.insert(name).second)
      return false;
    auto names = profile.getDependentProfiles();
    return std::any_of(names.begin(), names.end(),
                       [&](auto& next) { return next == wide(text_.name.value) || leadsBack(next, visited); });
  }

  void nameAndDescribe() {
    profile_.setFriendlyName(wide(text_.friendlyName));
    profile_.setDescription(wide(text_.description));
    setExternalId(profile_, text_);
  }

  static void setExternalId(const internal::NamedElement& element, const NamedText& text) {
    if (text.externalId)
      element.setExternalUID(wide(text.externalId->value));
  }

  /// The profile that a reference means: this one, or one that it depends on. Empty with a finding for others.
  Profile profileOf(const Reference& reference, const Text& where, const std::string& element) {
    if (reference.profile.empty() || reference.profile == text_.name.value)
      return profile_;
    auto& declared = text_.dependsOn;
    if (std::none_of(declared.begin(), declared.end(), [&](auto& name) { return name.value == reference.profile; })) {
      findings_.add(where.place, element, TextError::UndeclaredDependency, reference.profile);
      return {};
    }
    return ProfileCatalog::instance().getProfile(wide(reference.profile));
  }

  //--------------------------------------------------------------------------------------------------------------------
  // Types

  void makeTypes() {
    std::map<std::string, ValueType> made;
    for (auto& type : text_.types) {
      if (findings_.empty() || circleFrom(type).empty())
        makeType(type);
    }
    if (!findings_.empty())
      return;
    // A base gets its bounds before those who narrow it.
    std::set<std::string> done;
    for (auto& type : text_.types)
      fillType(type, done);
  }

  const TypeText* ownType(const std::string& name) const {
    auto found = std::find_if(text_.types.begin(), text_.types.end(), [&](auto& t) { return t.name.value == name; });
    return found == text_.types.end() ? nullptr : &*found;
  }

  const TypeText* baseOf(const TypeText& type) const {
    auto reference = type.base ? split(type.base->value) : Reference{};
    bool isOwn = reference.profile.empty() || reference.profile == text_.name.value;
    return type.base && isOwn ? ownType(reference.name) : nullptr;
  }

  /// The chain of base types from a type back to itself; empty for one that ends.
  std::string circleFrom(const TypeText& type) const {
    std::string chain = type.name.value;
    std::set<const TypeText*> visited;
    for (auto* next = baseOf(type); next && visited.insert(next).second; next = baseOf(*next)) {
      chain += " -> " + next->name.value;
      if (next == &type)
        return chain;
    }
    return {};
  }

  void makeType(const TypeText& text) {
    if (auto circle = circleFrom(text); !circle.empty()) {
      findings_.add(text.base->place, text.name.value, TextError::Cycle, circle);
      return;
    }
    attempt(text.enumeration ? text.enumeration->place : text.name.place, text.name.value, [&] {
      ValueType type;
      if (text.enumeration) {
        type = property::Enumeration::makeEnumeration(profile_.model(), wide(text.enumeration->value));
      } else {
        // The first base that is not of this text says what kind of type it is.
        auto* last = &text;
        std::set<const TypeText*> visited{last};
        while (auto* next = baseOf(*last)) {
          if (!visited.insert(next).second)
            return; // somebody else's circle
          last = next;
        }
        if (!last->base)
          type = property::Enumeration::makeEnumeration(profile_.model(), wide(last->enumeration->value));
        else if (auto base = requireType(*last->base, last == &text ? text.name.value : std::string()))
          type = makeSameKind(base);
      }
      if (!type)
        return;
      type.setName(wide(text.name.value));
      setExternalId(type, text);
      profile_.object().add(profile_.objectClass().property("valueTypes"), type.get());
    });
  }

  ValueType makeSameKind(const ValueType& base) const {
    auto model = profile_.model();
    if (base.as<property::FloatType>())
      return property::FloatType::makeFloatType(model);
    if (base.as<property::IntegerType>())
      return property::IntegerType::makeIntegerType(model);
    if (auto enumeration = base.as<property::Enumeration>())
      return property::Enumeration::makeEnumeration(model, enumeration.getKavraEnumName());
    return model.create(base.objectClass()).cast<ValueType>();
  }

  /// The type of a name, with a finding when there is none (and `element` is not empty: others report their own).
  ValueType requireType(const Text& name, const std::string& element) {
    auto reference = split(name.value);
    auto profile = profileOf(reference, name, element);
    auto type = profile ? findType(profile, reference.name) : ValueType();
    if (profile && !type && !element.empty()) {
      std::vector<std::string> names;
      for (const auto& known : profile.valueTypes().toVector())
        names.push_back(kavra::toUtf8(known.getName()));
      for (auto& own : text_.types)
        names.push_back(own.name.value);
      for (auto& enumeration : text_.enumerations)
        names.push_back(enumeration.name.value);
      findings_.add(name.place, element, TextError::UnknownName, "type", name.value, suggestion(reference.name, names));
    }
    return type;
  }

  void fillType(const TypeText& text, std::set<std::string>& done) {
    if (!done.insert(text.name.value).second)
      return;
    if (auto* base = baseOf(text))
      fillType(*base, done);
    auto& element = text.name.value;
    auto type = findType(profile_, element);
    if (!type)
      return;
    if (text.base) {
      auto base = requireType(*text.base, element);
      attempt(text.base->place, element, [&] { type.setBaseType(base); });
    }
    if (text.dimensions)
      type.setDimensions(text.dimensions->value);
    if (text.units)
      setTypeUnits(type, *text.units, element);
    setTypeBounds<property::FloatType, double>(type, text, element);
    setTypeBounds<property::IntegerType, std::int64_t>(type, text, element);
    if (!type.as<property::FloatType>() && !type.as<property::IntegerType>() && (text.min || text.max))
      findings_.add((text.min ? text.min : text.max)->place, element, TextError::WrongKind, text.min ? "min" : "max",
                    "left out: the type is not one of numbers");
  }

  void setTypeUnits(const ValueType& type, const Text& units, const std::string& element) {
    auto numeric = type.as<property::RealType>();
    if (!numeric || type.as<property::Enumeration>()) {
      findings_.add(units.place, element, TextError::WrongKind, "units", "left out: the type is not one of numbers");
      return;
    }
    attempt(units.place, element, [&] {
      auto base = type.getBaseType().as<property::RealType>();
      if (base && !base.units().empty() && base.units() != wide(units.value))
        tavo::raise(TextError::UnitsOfBase, units.value, kavra::toUtf8(base.units()));
      numeric.setUnits(wide(units.value));
    });
  }

  template <class Type, class Number>
  void setTypeBounds(const ValueType& valueType, const ShapeText& text, const std::string& element) {
    auto type = valueType.as<Type>();
    if (!type)
      return;
    // Where the present range lies beside the new one, the bound that makes room comes first.
    auto max = number<Number>(text.max, "max", element);
    auto min = number<Number>(text.min, "min", element);
    if (max)
      attempt(text.max->place, element, [&] { type.setMax(max); });
    if (min)
      attempt(text.min->place, element, [&] { type.setMin(min); });
  }

  /// A bound in the class of number that a type has.
  template <class Number>
  std::optional<Number> number(const std::optional<At<Literal>>& bound, const char* key, const std::string& element) {
    if (!bound)
      return {};
    auto* integer = std::get_if<std::int64_t>(&bound->value.value);
    auto* real = std::get_if<double>(&bound->value.value);
    if (integer)
      return static_cast<Number>(*integer);
    if constexpr (std::is_same_v<Number, double>) {
      if (real)
        return *real;
    } else {
      constexpr double limit = 9223372036854775808.0;
      if (real && *real == std::trunc(*real) && *real >= -limit && *real < limit)
        return static_cast<Number>(*real);
    }
    findings_.add(bound->place, element, TextError::WrongKind, key, "a whole number");
    return {};
  }

  //--------------------------------------------------------------------------------------------------------------------
  // Tags, sets and stereotypes

  void makeTagsAndSets() {
    for (auto& text : text_.tags) {
      attempt(text.name.place, text.name.value, [&] {
        auto tag = profile_.addTag(wide(text.name.value));
        tag.setDescription(wide(text.description));
        setExternalId(tag, text);
      });
    }
    for (auto& text : text_.sets) {
      attempt(text.name.place, text.name.value, [&] {
        auto set = profile_.addPropertySet(wide(text.name.value));
        set.setDescription(wide(text.description));
        setExternalId(set, text);
        makeProperties(set, text.properties, text.name.value);
      });
    }
  }

  void makeStereotypes() {
    for (auto& text : text_.stereotypes) {
      attempt(text.name.place, text.name.value, [&] {
        std::vector<String> kinds;
        for (auto& kind : text.appliesTo)
          kinds.push_back(wide(kind.value));
        auto stereotype = profile_.addPrototype(wide(text.name.value), {}, kinds);
        describe(stereotype, text);
      });
    }
    for (auto& text : text_.stereotypes) {
      if (text.parent)
        setParent(text);
    }
    for (auto& text : text_.stereotypes) {
      if (auto stereotype = profile_.prototypes().find(wide(text.name.value).view()))
        makeProperties(stereotype.getPropertySet(), text.properties, text.name.value);
    }
  }

  void describe(const Prototype& stereotype, const StereotypeText& text) {
    stereotype.setDescription(wide(text.description));
    setExternalId(stereotype, text);
    stereotype.getPropertySet().setDescription(wide(text.setDescription));
    auto position = [](const std::vector<std::string>& words, const Text& word) {
      return std::find(words.begin(), words.end(), word.value) - words.begin();
    };
    if (text.icon)
      stereotype.setIcon(static_cast<profile::PrototypeIcon>(position(icons(), *text.icon)));
    if (text.customIcon)
      stereotype.setCustomIconPath(wide(text.customIcon->value));
    if (text.lineStyle)
      stereotype.setConnectorLineStyle(static_cast<profile::ConnectorStyle>(position(lineStyles(), *text.lineStyle)));
    auto colour = [](const ColourText& c) { return profile::RGBValueStruct{c.red, c.green, c.blue}; };
    if (text.headerColour)
      stereotype.setComponentHeaderColor(colour(*text.headerColour));
    if (text.lineColour)
      stereotype.setConnectorLineColor(colour(*text.lineColour));
  }

  Prototype requireStereotype(const Text& name, const std::string& element) {
    auto reference = split(name.value);
    auto profile = profileOf(reference, name, element);
    auto stereotype = profile ? profile.prototypes().find(wide(reference.name).view()) : Prototype();
    if (profile && !stereotype) {
      std::vector<std::string> names;
      for (const auto& known : profile.prototypes().toVector())
        names.push_back(kavra::toUtf8(known.getName()));
      findings_.add(name.place, element, TextError::UnknownName, "stereotype", name.value,
                    suggestion(reference.name, names));
    }
    return stereotype;
  }

  void setParent(const StereotypeText& text) {
    auto stereotype = profile_.prototypes().find(wide(text.name.value).view());
    auto parent = stereotype ? requireStereotype(*text.parent, text.name.value) : Prototype();
    if (parent)
      attempt(text.parent->place, text.name.value, [&] { stereotype.setParent(parent); });
  }

  void setDefaultStereotypes() {
    for (auto& text : text_.stereotypes) {
      auto stereotype = profile_.prototypes().find(wide(text.name.value).view());
      for (auto& [kind, name] : text.defaults) {
        auto chosen = stereotype ? requireStereotype(name, text.name.value) : Prototype();
        if (!chosen)
          continue;
        auto map = stereotype.defaultStereotypeMap();
        attempt(name.place, text.name.value, [&, &kind = kind] {
          if (kind == "component")
            map.setArchitectureDefault(chosen);
          else if (kind == "port")
            map.setPortDefault(chosen);
          else
            map.setConnectorDefault(chosen);
        });
      }
    }
    if (!text_.defaultStereotype)
      return;
    if (auto stereotype = requireStereotype(*text_.defaultStereotype, text_.name.value))
      attempt(text_.defaultStereotype->place, text_.name.value, [&] { profile_.setDefaultPrototype(stereotype); });
  }

  //--------------------------------------------------------------------------------------------------------------------
  // Properties

  void makeProperties(const PropertySet& set, const std::vector<PropertyText>& properties, const std::string& owner) {
    for (auto& text : properties) {
      auto element = owner + "." + text.name.value;
      auto reference = split(text.type.value);
      bool isEnumeration = property::Enumeration::isValidEnumerationName(wide(text.type.value));
      if (!(reference.profile.empty() && isEnumeration) && !isEnumeration && !requireType(text.type, element))
        continue;
      // Within its own profile, a type goes by its name alone.
      auto typeName = reference.profile == text_.name.value ? reference.name : text.type.value;
      PropertyDefinition definition;
      attempt(text.name.place, element, [&] { definition = set.addProperty(wide(text.name.value), wide(typeName)); });
      if (!definition)
        continue;
      setExternalId(definition, text);
      if (text.dimensions)
        attempt(text.dimensions->place, element, [&] { definition.setDimensions(text.dimensions->value); });
      if (text.units)
        attempt(text.units->place, element, [&] { definition.setUnit(wide(text.units->value)); });
      setBounds(definition, text, element);
      if (text.defaultValue)
        setDefault(definition, *text.defaultValue, element);
    }
  }

  void setBounds(const PropertyDefinition& definition, const PropertyText& text, const std::string& element) {
    kavra::HostArray min, max;
    if (definition.getType().as<property::IntegerType>()) {
      if (auto bound = number<std::int64_t>(text.min, "min", element))
        min = kavra::HostArray::scalar(*bound);
      if (auto bound = number<std::int64_t>(text.max, "max", element))
        max = kavra::HostArray::scalar(*bound);
    } else {
      if (auto bound = number<double>(text.min, "min", element))
        min = kavra::HostArray::scalar(*bound);
      if (auto bound = number<double>(text.max, "max", element))
        max = kavra::HostArray::scalar(*bound);
    }
    if (min && max)
      attempt(text.min->place, element, [&] { definition.setMinAndMax(min, max); });
    else if (min)
      attempt(text.min->place, element, [&] { definition.setMin(min); });
    else if (max)
      attempt(text.max->place, element, [&] { definition.setMax(max); });
  }

  void setDefault(const PropertyDefinition& definition, const At<DefaultText>& text, const std::string& element) {
    auto type = definition.getType();
    bool isEnumeration = static_cast<bool>(type.as<property::Enumeration>());
    bool takesText = isEnumeration || (type && type.objectClass().name() == "StringType");
    std::string hint;
    String expression;
    if (!text.value.literal) {
      expression = wide(text.value.expression);
      hint = text.value.expression.empty() ? std::string() : evaluationHint(text.value.expression, takesText);
    } else {
      auto* list = std::get_if<Literal::List>(&text.value.literal->value);
      // An empty list of names is an empty cell, not a matrix without elements.
      bool isEmptyCell = list && list->empty() && type && !type.as<property::RealType>();
      expression = isEmptyCell ? String(u"{}") : String(expressionOf(*text.value.literal));
      if (auto* word = std::get_if<std::string>(&text.value.literal->value); word && isEnumeration)
        hint = memberHint(type.as<property::Enumeration>(), *word);
    }
    attempt(text.place, element, hint, [&] {
      if (!expression.empty())
        definition.setDefaultPropertyValue(expression, u"*");
      if (text.value.units)
        definition.defaultValue().setUnits(wide(text.value.units->value));
    });
  }

  static std::string memberHint(const property::Enumeration& enumeration, const std::string& word) {
    std::vector<std::string> names;
    for (auto& name : enumeration.getLiteralsAsStrings())
      names.push_back(kavra::toUtf8(name));
    std::string text = "\"" + word + "\" is no member of " + kavra::toUtf8(enumeration.getKavraEnumName());
    return text + suggestion(word, names);
  }

  //--------------------------------------------------------------------------------------------------------------------
  // Identities

  IdentitySources sources() const {
    IdentitySources sources;
    sources.profileName = text_.was ? text_.was->value : text_.name.value;
    sources.before = before_;
    sources.order = text_.order;
    for (auto& [path, value] : text_.identities)
      sources.given[path] = value.value;
    take(sources, "Profile", text_);
    sources.was.erase("Profile"); // its path does not have the name
    for (auto& type : text_.types)
      take(sources, "Profile/valueTypes/" + type.name.value, type);
    for (auto& tag : text_.tags)
      take(sources, "Profile/tags/" + tag.name.value, tag);
    for (auto& set : text_.sets) {
      auto path = "Profile/propertySets/" + set.name.value;
      take(sources, path, set);
      for (auto& property : set.properties)
        take(sources, path + "/properties/" + property.name.value, property);
    }
    for (auto& stereotype : text_.stereotypes) {
      auto path = "Profile/prototypes/" + stereotype.name.value;
      take(sources, path, stereotype);
      for (auto& property : stereotype.properties)
        take(sources, path + "/propertySet/properties/" + property.name.value, property);
    }
    return sources;
  }

  static void take(IdentitySources& sources, const std::string& path, const NamedText& text) {
    if (text.id)
      sources.given[path] = text.id->value;
    if (text.was)
      sources.was[path] = text.was->value;
  }

  const ProfileText& text_;
  const tavo::Model& before_;
  kavra::StandaloneClassRegistry& classes_;
  Findings& findings_;
  Profile profile_;
};

} // namespace

std::vector<kavra::EnumerationDefinition> enumerationsOf(const ProfileText& text) {
  std::vector<kavra::EnumerationDefinition> definitions;
  for (auto& enumeration : text.enumerations) {
    kavra::EnumerationDefinition definition;
    definition.name = kavra::fromUtf8(enumeration.name.value).value_or(u"");
    std::int64_t next = 0;
    for (auto& member : enumeration.members) {
      auto value = member.value ? member.value->value : next;
      next = value + 1;
      definition.members.push_back(
          {kavra::fromUtf8(member.name.value).value_or(u""), static_cast<std::int32_t>(value)});
      if (enumeration.defaultMember && enumeration.defaultMember->value == member.name.value)
        definition.defaultPosition = static_cast<std::uint32_t>(definition.members.size());
    }
    definitions.push_back(std::move(definition));
  }
  return definitions;
}

tavo::Model buildProfile(const ProfileText& text, const tavo::Model& before, kavra::StandaloneClassRegistry& classes,
                         Findings& findings) {
  return Builder(text, before, classes, findings).build();
}

} // namespace zelkor::text
