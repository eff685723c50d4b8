#include "zelkor/profile/PrototypeToPrototypableCache.impl.h"

#include "tavo/model/Transaction.h"
#include "zelkor/framework/Prototypable.impl.h"
#include "zelkor/profile/ProfileCatalog.h"
#include "zelkor/profile/ProfileNamespace.h"
#include "zelkor/profile/Prototype.h"
#include "zelkor/profile/PrototypeToPrototypableCacheEntry.impl.h"
#include "zelkor/property/PropertySet.h"
#include "zelkor/property/PropertySetUsage.h"
#include "zelkor/services/ModelResolvers.h"
#include "zelkor/services/Proxies.h"
#include "zelkor/services/ProxySource.impl.h"
#include "zelkor/services/ProxyTarget.h"

#include <unordered_set>

namespace zelkor::profile {

using internal::Prototypable;
using services::proxy::ProxySource;
using services::proxy::ProxyTarget;

namespace {

PrototypeToPrototypableCacheEntry::Impl& objectOf(const PrototypeToPrototypableCacheEntry& entry) {
  return static_cast<PrototypeToPrototypableCacheEntry::Impl&>(entry.object());
}

/// What the references of the model to the stereotype that goes by that name share; several while a profile has been
/// replaced by another one of its name.
std::vector<ProxyTarget> targetsOf(const tavo::Model& model, const tavo::String& name) {
  const auto profiles = ProfileNamespace::getProfileNamespace(model);
  const auto usage = profiles ? profiles.getPropertySet(name) : property::PropertySetUsage();
  const auto source = usage ? usage.propertySetProxy() : ProxySource();
  const auto set = services::proxy::findTarget<property::PropertySet>(source);
  const auto prototype = set ? set.prototype() : Prototype();
  const auto isMeant = [&](const ProxyTarget& target) {
    if (prototype && target.targetId() == prototype.Uuid())
      return true;
    return target.targetName() == name && target.targetClassId() == Prototype::metaClass().id() &&
           !target.findElement();
  };
  const auto profile = source ? source.getResolver() : services::proxy::Resolver();
  std::vector<ProxyTarget> found;
  for (const auto& resolver : services::proxy::resolversOf<services::proxy::Resolver>(model))
    if (profile && resolver.uRI() == profile.uRI())
      for (const auto& target : resolver.proxies())
        if (isMeant(target))
          found.push_back(target);
  return found;
}

} // namespace

void PrototypeToPrototypableCache::Impl::addEntry(const Prototype& prototype) {
  addEntryNamed(prototype.getFullyQualifiedName());
}

void PrototypeToPrototypableCache::Impl::addEntryNamed(const tavo::String& name) {
  if (getP_Entries().find(name))
    return;
  tavo::Transaction transaction(model());
  const auto entry = PrototypeToPrototypableCacheEntry::create(model());
  objectOf(entry).setP_PrototypeName(name);
  getP_EntriesMutable().add(entry);
  transaction.commit();
}

void PrototypeToPrototypableCache::Impl::removeEntry(const tavo::String& fullyQualifiedName) {
  if (const auto entry = getP_Entries().find(fullyQualifiedName))
    entry.destroy();
}

void PrototypeToPrototypableCache::Impl::renameEntry(const tavo::String& oldName, const tavo::String& newName) {
  if (const auto entry = getP_Entries().find(oldName))
    objectOf(entry).setP_PrototypeName(newName);
}

std::vector<Prototypable>
PrototypeToPrototypableCache::Impl::getElementsWithPrototype(const tavo::String& fullyQualifiedName,
                                                             bool includeDerived) const {
  std::vector<Prototypable> elements;
  std::unordered_set<const tavo::ModelElement::Impl*> seen;
  const auto take = [&](const tavo::String& name) {
    if (const auto entry = getP_Entries().find(name))
      for (const auto& element : entry.getElements())
        if (seen.insert(element.get()).second)
          elements.push_back(element);
  };
  const auto& catalog = ProfileCatalog::instance();
  const auto profiles = ProfileNamespace::getProfileNamespace(model());
  // Until the model has followed a new name, its usages have the former.
  const auto keyOf = [&](const Prototype& prototype, const tavo::String& name) {
    const auto usage = profiles ? profiles.findUsage(prototype) : property::PropertySetUsage();
    return usage ? usage.p_Name() : name;
  };
  take(keyOf(catalog.getPrototype(fullyQualifiedName), fullyQualifiedName));
  if (includeDerived)
    for (const auto& derived : catalog.getDerivedPrototypes(fullyQualifiedName))
      take(keyOf(derived, derived.getFullyQualifiedName()));
  return elements;
}

std::vector<tavo::String> PrototypeToPrototypableCache::Impl::getPrototypeNames() const {
  std::vector<tavo::String> names;
  for (const auto& entry : getP_Entries())
    names.push_back(entry.p_PrototypeName());
  return names;
}

//----------------------------------------------------------------------------------------------------------------------
// Entries

std::vector<Prototypable> PrototypeToPrototypableCacheEntry::Impl::getElements() const {
  const auto& reference = ProxySource::metaClass().at(ProxySource::Impl::Index::target);
  const auto& applied = Prototypable::metaClass().at(Prototypable::Impl::Index::prototypeProxy);
  std::vector<Prototypable> elements;
  for (const auto& target : targetsOf(model(), getP_PrototypeName()))
    for (const auto& source : target.object().referrers(reference))
      if (source.object().containingProperty() == &applied)
        elements.push_back(source.container().as<Prototypable>());
  return elements;
}

} // namespace zelkor::profile
