#include "zelkor/framework/Prototypable.impl.h"

#include "tavo/model/Transaction.h"
#include "zelkor/clone/CloneContext.h"
#include "zelkor/framework/Errors.h"
#include "zelkor/profile/Profile.h"
#include "zelkor/profile/ProfileNames.h"
#include "zelkor/profile/ProfileNamespace.h"
#include "zelkor/profile/Prototype.h"
#include "zelkor/property/PropertySet.h"
#include "zelkor/property/PropertySetUsage.h"
#include "zelkor/property/PropertyUsage.impl.h"
#include "zelkor/services/Proxies.h"

#include <algorithm>

namespace zelkor::internal {

using profile::ProfileNamespace;
using profile::Prototype;
using property::PropertySetUsage;
using services::proxy::findTarget;
using services::proxy::ProxySource;

namespace {

PropertySetUsage usageOf(const ProfileNamespace& profiles, const Prototype& prototype) {
  return profiles ? profiles.findUsage(prototype) : PropertySetUsage();
}

/// Takes the properties off an element that a stereotype has brought which it no longer carries.
void letGoOf(Prototypable::Impl& element, const PropertySetUsage& usage) {
  if (usage && !element.needsPropertySet(usage))
    element.removePropertySet(usage, true);
}

ProxySource sourceOf(const Prototypable::Impl& element, const Prototype& prototype) {
  for (const auto& source : element.getPrototypeProxy())
    if (source.pointsTo(prototype))
      return source;
  return {};
}

} // namespace

//----------------------------------------------------------------------------------------------------------------------
// What may be applied

bool Prototypable::Impl::isPrototypable() const { return true; }

ProfileNamespace Prototypable::Impl::getProfileNamespace() const {
  return ProfileNamespace::getProfileNamespace(model());
}

tavo::String Prototypable::Impl::getPrototypeClassName() const {
  for (const auto* metaClass = &objectClass(); metaClass; metaClass = metaClass->base())
    for (const auto known : profile::elementClasses)
      if (std::ranges::equal(metaClass->qualifiedName(), known))
        return known;
  return {};
}

tavo::String Prototypable::Impl::getElementKind() const { return profile::kindOfElementClass(getPrototypeClassName()); }

bool Prototypable::Impl::canApplyPrototype(const Prototype& prototype) const {
  if (!prototype || !isPrototypable() || !usageOf(getProfileNamespace(), prototype))
    return false;
  const auto kind = getElementKind();
  return kind.empty() || prototype.appliesToKind(kind);
}

//----------------------------------------------------------------------------------------------------------------------
// Applying and taking off

void Prototypable::Impl::applyPrototype(const Prototype& prototype) {
  if (!canApplyPrototype(prototype))
    raise(ProfileError::CannotApplyPrototype, prototype ? prototype.getFullyQualifiedName() : tavo::String(), getName(),
          getElementKind());
  if (sourceOf(*this, prototype))
    return;

  tavo::Transaction transaction(model());
  const auto profiles = getProfileNamespace();
  const auto usage = usageOf(profiles, prototype);
  const auto resolver = usage.propertySetProxy().getResolver();
  services::proxy::addReference(This(), at(Index::prototypeProxy), prototype, resolver);
  // What the usage is called is what the stereotype is known by when it is gone, also before a new name is followed.
  if (const auto target = resolver.findProxyTarget(prototype.Uuid()); target.targetName() != usage.p_Name())
    target.setTargetName(usage.p_Name());
  applyPropertySet(usage);
  transaction.commit();
}

void Prototypable::Impl::removePrototype(const Prototype& prototype) {
  const auto source = sourceOf(*this, prototype);
  if (!source)
    return;
  tavo::Transaction transaction(model());
  const auto usage = usageOf(getProfileNamespace(), prototype);
  source.destroy();
  letGoOf(*this, usage);
  transaction.commit();
}

void Prototypable::Impl::removeAllPrototypes() {
  tavo::Transaction transaction(model());
  for (const auto& prototype : getPrototypes())
    removePrototype(prototype);
  clearMissingPrototypeProxies();
  transaction.commit();
}

void Prototypable::Impl::clearMissingPrototypeProxies() {
  tavo::Transaction transaction(model());
  for (const auto& name : getMissingPrototypeNames())
    removeMissingPrototype(name);
  transaction.commit();
}

bool Prototypable::Impl::needsPropertySet(const PropertySetUsage& propSetUsage) const {
  if (Base::needsPropertySet(propSetUsage))
    return true;
  const auto set = services::proxy::targetIdOf(propSetUsage.propertySetProxy());
  for (const auto& source : getPrototypeProxy()) {
    const auto prototype = findTarget<Prototype>(source);
    const auto own = prototype ? prototype.getPropertySet() : property::PropertySet();
    // One that is missing still holds what it has brought.
    if (prototype ? own && own.Uuid() == set : source.getTargetName() == propSetUsage.p_Name())
      return true;
  }
  return false;
}

//----------------------------------------------------------------------------------------------------------------------
// Asking

std::vector<Prototype> Prototypable::Impl::getPrototypes() const {
  std::vector<Prototype> prototypes;
  for (const auto& source : getPrototypeProxy())
    if (auto prototype = findTarget<Prototype>(source))
      prototypes.push_back(std::move(prototype));
  return prototypes;
}

bool Prototypable::Impl::hasPrototype(const tavo::String& fullyQualifiedName) const {
  const auto isNamed = [&](const Prototype& prototype) {
    return prototype.getFullyQualifiedName() == fullyQualifiedName;
  };
  for (const auto& source : getPrototypeProxy()) {
    const auto prototype = findTarget<Prototype>(source);
    if (prototype ? isNamed(prototype) || std::ranges::any_of(prototype.getAncestors(), isNamed)
                  : source.getTargetName() == fullyQualifiedName)
      return true;
  }
  return false;
}

std::vector<tavo::String> Prototypable::Impl::getPrototypeNames() const {
  std::vector<tavo::String> names;
  for (const auto& source : getPrototypeProxy()) {
    const auto prototype = findTarget<Prototype>(source);
    names.push_back(prototype ? prototype.getFullyQualifiedName() : source.getTargetName());
  }
  return names;
}

std::vector<tavo::String> Prototypable::Impl::getMissingPrototypeNames() const {
  std::vector<tavo::String> names;
  for (const auto& source : getPrototypeProxy())
    if (!findTarget(source))
      names.push_back(source.getTargetName());
  return names;
}

void Prototypable::Impl::removeMissingPrototype(const tavo::String& fullyQualifiedName) {
  tavo::Transaction transaction(model());
  for (const auto& source : getPrototypeProxy().toVector()) {
    if (source.getTargetName() != fullyQualifiedName || findTarget(source))
      continue;
    source.destroy();
    const auto profiles = getProfileNamespace();
    letGoOf(*this, profiles ? profiles.getPropertySet(fullyQualifiedName) : PropertySetUsage());
  }
  transaction.commit();
}

//----------------------------------------------------------------------------------------------------------------------
// Copies

void Prototypable::Impl::remapAssociations(const NamedElement& copy, const clone::CloneContext& context,
                                           const NamedElement& source) {
  Base::remapAssociations(copy, context, source);
  const auto from = source.as<Prototypable>();
  const auto to = copy.as<Prototypable>();
  if (!from || !to)
    return;

  tavo::Transaction transaction(to.model());
  const bool staysInModel = from.model() == to.model();
  auto profiles = ProfileNamespace::getProfileNamespace(to.model());
  if (!profiles)
    profiles = ProfileNamespace::make(to.model());
  for (const auto& reference : from.prototypeProxy().toVector()) {
    const auto prototype = findTarget<Prototype>(reference);
    if (prototype && !staysInModel)
      profiles.addProfile(prototype.getProfile().getName(), false);
    services::proxy::addReference(to, to.objectClass().at(Index::prototypeProxy), reference);
  }
  // Through the usages, so that what a missing stereotype has left on the element comes along.
  for (const auto& usage : from.p_PropertySets().toVector()) {
    if (staysInModel)
      for (const auto& property : usage.properties())
        static_cast<property::PropertyUsage::Impl&>(property.object()).copyValues({from}, {to}, usage);
    to.applyPropertySet(staysInModel ? usage : usage.cloneUsage({from}, {to}, profiles, false));
  }
  transaction.commit();
}

} // namespace zelkor::internal
