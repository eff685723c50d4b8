#include "zelkor/profile/Prototype.impl.h"

#include "tavo/core/Errors.h"
#include "tavo/core/Limits.h"
#include "tavo/model/Transaction.h"
#include "zelkor/clone/CloneContext.h"
#include "zelkor/framework/Errors.h"
#include "zelkor/framework/HostNames.h"
#include "zelkor/profile/DefaultStereotypeMap.h"
#include "zelkor/profile/DefaultStereotypePair.h"
#include "zelkor/profile/Profile.h"
#include "zelkor/profile/ProfileCatalog.h"
#include "zelkor/property/PropertyDefinition.h"
#include "zelkor/property/PropertySet.h"
#include "zelkor/services/Proxies.h"

#include <algorithm>
#include <filesystem>

namespace zelkor::profile {

using services::proxy::findTarget;

namespace {

template <class T>
bool contains(const std::vector<T>& all, const T& one) {
  return std::ranges::find(all, one) != all.end();
}

bool hasProperty(const Prototype& prototype, const tavo::String& name) {
  const auto set = prototype.getPropertySet();
  return set && set.getPropertyByName(name);
}

/// Raises when one of `others` has a property of the name.
void requireNoneHas(const std::vector<Prototype>& others, const tavo::String& name) {
  for (const auto& other : others)
    if (hasProperty(other, name))
      raise(ProfileError::NonUniquePropertyNamesInHierarchy, name, other.getFullyQualifiedName());
}

std::vector<tavo::String> propertyNames(const Prototype& prototype) {
  const auto set = prototype.getPropertySet();
  return set ? set.getAllPropertyNames() : std::vector<tavo::String>();
}

} // namespace

//----------------------------------------------------------------------------------------------------------------------
// Names

void Prototype::Impl::setName(const tavo::String& name) {
  if (!isValidName(name))
    raise(ProfileError::InvalidPrototypeName, name);
  if (name == getP_Name())
    return;

  tavo::Transaction transaction(model());
  setP_Name(name);
  if (const auto set = getP_PropertySet())
    set.setName(name);
  transaction.commit();
}

tavo::String Prototype::Impl::getFullyQualifiedName() const {
  const auto profile = getProfile();
  return profile ? tavo::concat(profile.p_Name(), u".", getP_Name()) : getP_Name();
}

void Prototype::Impl::checkPropertyNameAcrossHierarchy(const tavo::String& name) const {
  requireNoneHas(getAncestors(), name);
  requireNoneHas(ProfileCatalog::instance().loadedDescendants(Prototype(handle().get())), name);
}

//----------------------------------------------------------------------------------------------------------------------
// Where it belongs

property::PropertySet Prototype::Impl::getPropertySet() const { return getP_PropertySet(); }

Profile Prototype::Impl::getProfile() const { return getP_Profile(); }

Prototype Prototype::Impl::getParent() const { return findTarget<Prototype>(getParentProxy()); }

bool Prototype::Impl::hasParent() const { return hasParentProxy(); }

void Prototype::Impl::setParent(const Prototype& parent) {
  if (!parent)
    return services::proxy::referToNothing(This(), at(Index::parentProxy));
  if (getParentProxy() && getParentProxy().pointsTo(parent))
    return;
  if (parent == This() || parent.isDerivedFrom(This()))
    raise(ProfileError::CircularPrototypeInheritance, getFullyQualifiedName(), parent.getFullyQualifiedName());
  if (const auto profile = getProfile())
    profile.checkProfileCircularDependency(parent.getProfile());
  auto above = parent.getAncestors();
  above.insert(above.begin(), parent);
  auto below = ProfileCatalog::instance().loadedDescendants(This());
  below.insert(below.begin(), This());
  for (const auto& prototype : below)
    for (const auto& name : propertyNames(prototype))
      requireNoneHas(above, name);

  services::proxy::referTo(This(), at(Index::parentProxy), parent);
}

std::vector<Prototype> Prototype::Impl::getAncestors() const {
  const Prototype self(handle().get());
  std::vector<Prototype> ancestors;
  for (auto next = getParent(); next && next != self && !contains(ancestors, next); next = next.getParent())
    ancestors.push_back(next);
  return ancestors;
}

bool Prototype::Impl::isDerivedFrom(const Prototype& ancestor) const { return contains(getAncestors(), ancestor); }

//----------------------------------------------------------------------------------------------------------------------
// What it applies to

std::vector<tavo::String> Prototype::Impl::getCumulativeAppliesTo() const {
  auto kinds = std::vector<tavo::String>();
  const auto take = [&](const std::vector<tavo::String>& more) {
    for (const auto& kind : more)
      if (!contains(kinds, kind))
        kinds.push_back(kind);
  };
  take(getAppliesTo());
  for (const auto& ancestor : getAncestors())
    take(ancestor.appliesTo());
  return kinds;
}

bool Prototype::Impl::appliesToKind(const tavo::String& kind) const {
  const auto kinds = getCumulativeAppliesTo();
  return kinds.empty() || contains(kinds, kind);
}

void Prototype::Impl::addAppliesTo(const tavo::String& kind) {
  auto kinds = getAppliesTo();
  if (contains(kinds, kind))
    return;
  kinds.push_back(kind);
  setAppliesTo(kinds);
}

void Prototype::Impl::removeAppliesTo(const tavo::String& kind) {
  auto kinds = getAppliesTo();
  std::erase(kinds, kind);
  setAppliesTo(kinds);
}

//----------------------------------------------------------------------------------------------------------------------
// Looks

tavo::String Prototype::Impl::getIconPath() const {
  auto holders = getAncestors();
  holders.insert(holders.begin(), Prototype(handle().get()));
  for (const auto& holder : holders) {
    if (holder.icon() == PrototypeIcon::NONE)
      continue;
    if (holder.icon() != PrototypeIcon::CUSTOM || holder.customIconPath().empty())
      return {};
    const auto file = tavo::toPath(holder.customIconPath());
    const auto profile = holder.getProfile();
    if (file.is_absolute() || !profile || profile.filePath().empty())
      return holder.customIconPath();
    return tavo::String::fromUtf8((tavo::toPath(profile.filePath()).parent_path() / file).native());
  }
  return {};
}

//----------------------------------------------------------------------------------------------------------------------
// Health

void Prototype::Impl::checkHealth() const {
  const Prototype self(handle().get());
  if (const auto proxy = getParentProxy())
    proxy.getTargetElement(); // its error is the fault
  std::vector<Prototype> line{self};
  for (auto next = getParent(); next; next = next.getParent()) {
    if (next == self)
      raise(ProfileError::CircularPrototypeInheritance, getFullyQualifiedName(), getParent().getFullyQualifiedName());
    if (contains(line, next))
      break; // a circle further up is the fault of those in it
    // All ancestors are asked for every stereotype: those of a line of thousands would take for ever.
    if (const auto most = tavo::Limits::current().nesting; line.size() > most)
      raise(tavo::FrameworkError::LimitExceeded, getFullyQualifiedName(), "the stereotypes above one", most);
    line.push_back(next);
  }
  line.erase(line.begin());
  for (const auto& name : propertyNames(self))
    requireNoneHas(line, name);
  if (const auto set = getPropertySet())
    for (const auto& definition : set.getAllProperties())
      definition.checkHealth();
}

bool Prototype::Impl::hasMissingArtifact() const {
  if (hasParent() && !getParent())
    return true;
  if (const auto map = getDefaultStereotypeMap())
    for (const auto& pair : map.defaults().toVector())
      if (pair.defaultStereotypeProxy() && !pair.getPrototype())
        return true;
  const auto set = getPropertySet();
  return set && set.hasMissingArtifact();
}

//----------------------------------------------------------------------------------------------------------------------
// Copies

internal::NamedElement Prototype::Impl::clone(const tavo::Model& target,
                                              const internal::clone::CloneContext& context) const {
  // What leads out of the tree is copied by those who know how to refer to it from elsewhere.
  constexpr tavo::PropertyIndex leadsElsewhere[] = {Index::parentProxy, Index::propertySet,
                                                    Index::defaultStereotypeMap};
  std::vector<tavo::Uuid> excluded;
  for (const auto index : leadsElsewhere)
    excluded.push_back(at(index).id());

  tavo::Transaction transaction(target);
  const auto copy = cloneComposition(target, context, excluded).cast<Prototype>();
  auto& object = static_cast<Impl&>(copy.object());
  services::proxy::referAs(copy, at(Index::parentProxy), getParentProxy());
  if (const auto set = getP_PropertySet())
    object.getP_PropertySetMutable().add(set.clone(target, context).cast<property::PropertySet>());
  if (const auto map = getDefaultStereotypeMap()) {
    object.getDefaultStereotypeMapMutable().add(DefaultStereotypeMap::create(target));
    for (const auto& pair : map.defaults())
      object.getDefaultStereotypeMap().insertDefaultOf(pair);
  }
  transaction.commit();
  return copy;
}

} // namespace zelkor::profile
