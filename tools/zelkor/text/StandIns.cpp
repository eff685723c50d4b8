#include "tools/zelkor/text/StandIns.h"

#include "tools/zelkor/text/Defaults.h"
#include "tools/zelkor/text/Texts.h"

#include "kavra/NameRules.h"
#include "tavo/core/Error.h"
#include "tavo/meta/MetaRegistry.h"
#include "zelkor/profile/Profile.h"
#include "zelkor/profile/ProfileCatalog.h"
#include "zelkor/profile/ProfileResolver.h"
#include "zelkor/profile/Prototype.h"
#include "zelkor/property/Enumeration.h"
#include "zelkor/property/FloatType.h"
#include "zelkor/property/IntegerType.h"
#include "zelkor/property/PropertyDefinition.h"
#include "zelkor/property/PropertySet.h"
#include "zelkor/property/Value.h"
#include "zelkor/services/ProxyTarget.h"

#include <algorithm>
#include <limits>
#include <map>

namespace zelkor::text {
namespace {

using profile::Profile;
using profile::ProfileCatalog;
using property::Enumeration;
using property::PropertyDefinition;
using tavo::String;

/// Whether the catalog has all that the resolver's targets lead to.
bool canBeHad(const profile::ProfileResolver& resolver) {
  try {
    auto model = ProfileCatalog::instance().loadProfileNamed(resolver.uRI());
    auto targets = resolver.proxies().toVector();
    return std::all_of(targets.begin(), targets.end(), [&](auto& target) { return model.find(target.targetId()); });
  } catch (const tavo::Error&) {
    return false;
  }
}

/// The last part of what messages call the target.
String nameOf(const services::proxy::ProxyTarget& target) {
  auto name = target.targetName().view();
  return name.substr(name.rfind(u'.') + 1);
}

/// Something of the class, identity and name of what is missing; nothing when the file does not tell these.
void addStandIn(const Profile& profile, const services::proxy::ProxyTarget& target) {
  auto* metaClass = tavo::MetaRegistry::instance().findClass(target.targetClassId());
  auto name = nameOf(target);
  if (!metaClass || metaClass->isAbstract() || !kavra::isValidName(name))
    return;
  bool isType = metaClass->isA(property::ValueType::metaClass());
  if (!isType && !metaClass->isA(profile::Prototype::metaClass()))
    return;
  auto element = profile.model().create(*metaClass, target.targetId());
  if (auto set = isType ? property::PropertySet() : property::PropertySet::make(profile.model(), name, false))
    element.object().add(metaClass->property("propertySet"), set.get());
  element.object().writeAttribute(metaClass->property("Name"), &name);
  // Whoever narrows a type of numbers wants to know its bounds.
  if (auto real = element.as<property::FloatType>()) {
    real.setMax(std::numeric_limits<double>::max());
    real.setMin(std::numeric_limits<double>::lowest());
  } else if (auto integer = element.as<property::IntegerType>()) {
    integer.setMax(std::numeric_limits<std::int64_t>::max());
    integer.setMin(std::numeric_limits<std::int64_t>::min());
  }
  profile.object().add(profile.objectClass().property(isType ? "valueTypes" : "prototypes"), element.get());
}

/// The definitions of all sets of a profile.
std::vector<PropertyDefinition> definitionsOf(const Profile& profile) {
  std::vector<property::PropertySet> sets = profile.propertySets().toVector();
  for (const auto& stereotype : profile.prototypes().toVector()) {
    if (auto set = stereotype.getPropertySet())
      sets.push_back(set);
  }
  std::vector<PropertyDefinition> result;
  for (auto& set : sets) {
    auto definitions = set.getAllProperties();
    result.insert(result.end(), definitions.begin(), definitions.end());
  }
  return result;
}

} // namespace

StandIns::StandIns(const tavo::Model& model, kavra::StandaloneClassRegistry& classes) : classes_(classes) {
  standInForProfiles(model);
  standInForEnumerations(model);
}

StandIns::~StandIns() {
  for (auto& name : profiles_)
    ProfileCatalog::instance().unloadProfile(name);
  for (auto& name : enumerations_)
    classes_.removeClass(wide(name));
}

void StandIns::standInForProfiles(const tavo::Model& model) {
  auto& catalog = ProfileCatalog::instance();
  for (auto& element : model.topLevel()) {
    auto resolver = element.as<profile::ProfileResolver>();
    if (!resolver || !kavra::isValidName(resolver.uRI()) || canBeHad(resolver))
      continue;
    catalog.unloadProfile(resolver.uRI());
    auto profile = Profile::newProfile(resolver.uRI());
    profiles_.insert(resolver.uRI());
    for (const auto& target : resolver.proxies().toVector())
      addStandIn(profile, target);
  }
}

void StandIns::standInForEnumerations(const tavo::Model& model) {
  // A type of another profile that is not there either does not tell its class; that takes a name of its own.
  std::map<std::u16string, std::set<std::u16string>> members;
  auto isMissing = [](const Enumeration& type) {
    return type && !Enumeration::isValidEnumerationName(type.getKavraEnumName());
  };
  auto profile = Profile::getProfile(model);
  for (const auto& type : profile.valueTypes().toVector()) {
    if (auto enumeration = type.as<Enumeration>(); isMissing(enumeration))
      members[std::u16string(enumeration.getKavraEnumName())];
  }
  for (auto& definition : definitionsOf(profile)) {
    auto enumeration = definition.getType().as<Enumeration>();
    if (!isMissing(enumeration))
      continue;
    std::u16string name(enumeration.getKavraEnumName());
    auto text = definition.defaultValue() ? std::u16string(definition.defaultValue().storedExpression()) : u"";
    auto literal = literalOf(text);
    auto* word = literal ? std::get_if<std::string>(&literal->value) : nullptr;
    auto dot = text.rfind(u'.');
    if (name.empty() && !word && dot != text.npos)
      name = text.substr(0, dot);
    else if (name.empty())
      name = u"StandIn_" + std::u16string(enumeration.getName());
    if (enumeration.getKavraEnumName().empty())
      enumeration.setKavraEnumName(name);
    members[name].insert(word ? std::u16string(wide(*word)) : text.substr(dot == text.npos ? 0 : dot + 1));
  }
  for (auto& [name, used] : members) {
    kavra::EnumerationDefinition definition;
    definition.name = name;
    for (auto& member : used) {
      if (kavra::isValidName(member))
        definition.members.push_back({member, static_cast<std::int32_t>(definition.members.size())});
    }
    if (definition.members.empty())
      definition.members.push_back({u"Unknown", 0});
    if (!kavra::isValidClassName(name))
      continue;
    classes_.defineEnumeration(definition);
    enumerations_.insert(narrow(name));
  }
}

} // namespace zelkor::text
