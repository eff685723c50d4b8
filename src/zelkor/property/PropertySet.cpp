#include "zelkor/property/PropertySet.impl.h"

#include "tavo/model/Transaction.h"
#include "zelkor/clone/CopyTransaction.h"
#include "zelkor/framework/Errors.h"
#include "zelkor/framework/HostNames.h"
#include "zelkor/profile/Profile.h"
#include "zelkor/profile/Prototype.h"
#include "zelkor/property/BuiltInTypes.h"
#include "zelkor/property/Enumeration.h"
#include "zelkor/property/PropertyDefinition.impl.h"
#include "zelkor/property/Value.h"

#include <algorithm>

namespace zelkor::property {
namespace {

PropertyDefinition::Impl& objectOf(const PropertyDefinition& definition) {
  return static_cast<PropertyDefinition::Impl&>(definition.object());
}

} // namespace

PropertySet PropertySet::make(const tavo::Model& model, const tavo::String& name, bool createBuiltIns) {
  tavo::Transaction transaction(model);
  auto set = PropertySet::create(model);
  set.setName(name);
  if (createBuiltIns)
    set.createBuiltInTypes();
  transaction.commit();
  return set;
}

PropertyDefinition PropertySet::Impl::getPropertyByName(const tavo::String& propDefName) const {
  return getProperties().find(propDefName);
}

PropertyDefinition PropertySet::Impl::getPropertyByIndex(std::uint32_t index) const {
  return getProperties().findSecond(index);
}

std::vector<PropertyDefinition> PropertySet::Impl::getAllProperties() const { return getProperties().toVector(); }

std::vector<tavo::String> PropertySet::Impl::getAllPropertyNames() const {
  std::vector<tavo::String> names;
  for (const auto& definition : getProperties())
    names.push_back(definition.p_Name());
  return names;
}

bool PropertySet::Impl::isPropertyNameUnique(const tavo::String& name) const { return !getPropertyByName(name); }

void PropertySet::Impl::checkPropertyName(const tavo::String& name) const {
  if (!isPropertyNameUnique(name))
    raise(ProfileError::NonUniquePropertyName, name);
  if (const auto prototype = getPrototype())
    prototype.checkPropertyNameAcrossHierarchy(name);
}

void PropertySet::Impl::checkPropertyNameUniqueness(const tavo::String& name) const {
  if (!isPropertyNameUnique(name))
    raise(ProfileError::NonUniquePropertyNamesInPropertySet, name, getP_Name());
}

tavo::String PropertySet::Impl::getFullyQualifiedName() const {
  const auto prototype = getPrototype();
  const auto profile = prototype ? prototype.getProfile() : getProfile();
  return profile ? tavo::concat(profile.getName(), u".", getP_Name()) : getP_Name();
}

bool PropertySet::Impl::hasMissingArtifact() const {
  const auto properties = getAllProperties();
  return std::any_of(properties.begin(), properties.end(),
                     [](const PropertyDefinition& definition) { return definition.hasMissingArtifact(); });
}

void PropertySet::Impl::setName(const tavo::String& name) {
  if (!isValidName(name))
    raise(ProfileError::InvalidPropertySetName, name);
  if (const auto profile = getProfile(); profile && name != getP_Name() && profile.propertySets().find(name))
    raise(ProfileError::NonUniquePrototypeName, name);
  setP_Name(name);
}

void PropertySet::Impl::createBuiltInTypes() {
  tavo::Transaction transaction(model());
  for (const auto& type : property::createBuiltInTypes(model()))
    getValueTypesMutable().add(type);
  transaction.commit();
}

PropertyDefinition PropertySet::Impl::addProperty(const tavo::String& propDefName, const tavo::String& typeName) {
  tavo::Transaction transaction(model());
  auto definition = PropertyDefinition::make(propDefName, This());
  definition.setBaseType(typeName);
  objectOf(definition).getDefaultValueMutable().add(Value::make(model(), definition.getType()));
  transaction.commit();
  return definition;
}

PropertyDefinition PropertySet::Impl::addEnumProperty(const tavo::String& propName, const tavo::String& kavraEnumName) {
  // Profiles are often built by scripts that run again and again, so what is there already is left as it is.
  if (auto present = getPropertyByName(propName))
    return present;

  tavo::Transaction transaction(model());
  auto definition = PropertyDefinition::make(propName, This());
  const auto type = Enumeration::makeEnumeration(model(), kavraEnumName);
  objectOf(definition).getOwnedTypeMutable().add(type);
  definition.setType(type);
  objectOf(definition).getDefaultValueMutable().add(Value::make(model(), type));
  transaction.commit();
  return definition;
}

void PropertySet::Impl::removeProperty(const tavo::String& propDefName) {
  const auto definition = getPropertyByName(propDefName);
  if (!definition)
    return;
  tavo::Transaction transaction(model());
  updatePropDefIndicesOnDelete(definition.p_Index());
  definition.destroy();
  transaction.commit();
}

void PropertySet::Impl::renameProperty(const tavo::String& oldPropDefName, const tavo::String& newPropDefName) {
  if (const auto definition = getPropertyByName(oldPropDefName))
    definition.setName(newPropDefName);
}

void PropertySet::Impl::updatePropDefIndicesOnDelete(std::uint32_t index) {
  const auto definition = getPropertyByIndex(index);
  if (!definition)
    return;
  tavo::Transaction transaction(model());
  getPropertiesMutable().remove(definition);
  const auto remaining = static_cast<std::uint32_t>(getProperties().size());
  for (std::uint32_t i = index + 1; i <= remaining; ++i)
    objectOf(getPropertyByIndex(i)).setP_Index(i - 1);
  transaction.commit();
}

void PropertySet::Impl::moveProperty(std::uint32_t from, std::uint32_t to) {
  const auto count = static_cast<std::uint32_t>(getProperties().size());
  if (from >= count || to > count)
    return;
  to = std::min(to, count - 1);
  if (from == to)
    return;

  // Positions are keys, so the property leaves its place before another takes it.
  const auto moved = getPropertyByIndex(from);
  tavo::Transaction transaction(model());
  getPropertiesMutable().remove(moved);
  if (from > to)
    for (std::uint32_t i = from; i > to; --i)
      objectOf(getPropertyByIndex(i - 1)).setP_Index(i);
  else
    for (std::uint32_t i = from + 1; i <= to; ++i)
      objectOf(getPropertyByIndex(i)).setP_Index(i - 1);
  objectOf(moved).setP_Index(to);
  getPropertiesMutable().add(moved);
  transaction.commit();
}

internal::NamedElement PropertySet::Impl::clone(const tavo::Model& target,
                                                const internal::clone::CloneContext& context) const {
  // Types and definitions refer to each other by the copies that the context knows.
  const auto scratch = context ? tavo::Model() : tavo::Model::create();
  const auto known = context ? context : internal::clone::CloneContext::create(scratch);
  internal::clone::CopyTransaction transaction(target, known);
  const auto copy = PropertySet::create(target);
  auto& object = static_cast<Impl&>(copy.object());
  object.setP_Name(getP_Name());
  if (getP_ExternalUID())
    object.setP_ExternalUID(*getP_ExternalUID());
  object.setDescription(getDescription());
  for (const auto& type : getValueTypes())
    object.getValueTypesMutable().add(type.clone(target, known).cast<ValueType>());
  for (const auto& definition : getProperties())
    object.getPropertiesMutable().add(definition.clone(target, known).cast<PropertyDefinition>());
  known.addSourceTargetPair(uuid(), copy.Uuid());
  transaction.commit();
  return copy;
}

} // namespace zelkor::property
