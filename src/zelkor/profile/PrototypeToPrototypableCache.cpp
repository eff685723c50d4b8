#include "zelkor/profile/PrototypeToPrototypableCache.impl.h"

#include "tavo/model/Transaction.h"
#include "zelkor/framework/Prototypable.h"
#include "zelkor/profile/ProfileCatalog.h"
#include "zelkor/profile/Prototype.h"
#include "zelkor/profile/PrototypeToPrototypableCacheEntry.impl.h"

#include <unordered_set>

namespace zelkor::profile {

using internal::Prototypable;

namespace {

PrototypeToPrototypableCacheEntry::Impl& objectOf(const PrototypeToPrototypableCacheEntry& entry) {
  return static_cast<PrototypeToPrototypableCacheEntry::Impl&>(entry.object());
}

PrototypeToPrototypableCacheEntry requireEntry(PrototypeToPrototypableCache::Impl& cache, const tavo::String& name) {
  if (auto known = cache.getP_Entries().find(name))
    return known;
  auto entry = PrototypeToPrototypableCacheEntry::create(cache.model());
  objectOf(entry).setP_PrototypeName(name);
  cache.getP_EntriesMutable().add(entry);
  return entry;
}

} // namespace

void PrototypeToPrototypableCache::Impl::addEntry(const Prototype& prototype) {
  tavo::Transaction transaction(model());
  requireEntry(*this, prototype.getFullyQualifiedName());
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

void PrototypeToPrototypableCache::Impl::addElement(const tavo::String& fullyQualifiedName,
                                                    const Prototypable& element) {
  tavo::Transaction transaction(model());
  const auto entry = requireEntry(*this, fullyQualifiedName);
  if (!entry.p_Elements().contains(element))
    objectOf(entry).getP_ElementsMutable().add(element);
  transaction.commit();
}

void PrototypeToPrototypableCache::Impl::removeElement(const tavo::String& fullyQualifiedName,
                                                       const Prototypable& element) {
  if (const auto entry = getP_Entries().find(fullyQualifiedName))
    objectOf(entry).getP_ElementsMutable().remove(element);
}

std::vector<Prototypable>
PrototypeToPrototypableCache::Impl::getElementsWithPrototype(const tavo::String& fullyQualifiedName,
                                                             bool includeDerived) const {
  std::vector<Prototypable> elements;
  std::unordered_set<const tavo::ModelElement::Impl*> seen;
  const auto take = [&](const tavo::String& name) {
    if (const auto entry = getP_Entries().find(name))
      for (const auto& element : entry.p_Elements())
        if (seen.insert(element.get()).second)
          elements.push_back(element);
  };
  take(fullyQualifiedName);
  if (includeDerived)
    for (const auto& derived : ProfileCatalog::instance().getDerivedPrototypes(fullyQualifiedName))
      take(derived.getFullyQualifiedName());
  return elements;
}

std::vector<tavo::String> PrototypeToPrototypableCache::Impl::getPrototypeNames() const {
  std::vector<tavo::String> names;
  for (const auto& entry : getP_Entries())
    names.push_back(entry.p_PrototypeName());
  return names;
}

} // namespace zelkor::profile
