#include "zelkor/profile/ProfileNamespace.impl.h"

#include "tavo/core/Errors.h"
#include "tavo/model/Transaction.h"
#include "zelkor/framework/Diagnostics.h"
#include "zelkor/framework/Errors.h"
#include "zelkor/framework/Prototypable.h"
#include "zelkor/profile/Profile.h"
#include "zelkor/profile/ProfileCatalog.h"
#include "zelkor/profile/ProfileListener.h"
#include "zelkor/profile/ProfileResolver.h"
#include "zelkor/profile/ProfileUseChecker.h"
#include "zelkor/profile/Prototype.h"
#include "zelkor/profile/PrototypeToPrototypableCache.h"
#include "zelkor/property/PropertyDefinition.h"
#include "zelkor/property/PropertySet.h"
#include "zelkor/property/PropertySetUsage.impl.h"
#include "zelkor/property/PropertyUsage.impl.h"
#include "zelkor/property/QualifiedNames.h"
#include "zelkor/property/ValueTable.h"
#include "zelkor/property/ValueTableEntry.h"
#include "zelkor/services/Proxies.h"

#include <algorithm>
#include <iterator>
#include <new>
#include <set>

namespace zelkor::profile {

using property::PropertySet;
using property::PropertySetUsage;
using property::PropertyUsage;
using property::splitAtLastDot;
using services::proxy::findTarget;
using services::proxy::nameForMessages;
using services::proxy::ProxySource;

namespace {

PropertySetUsage::Impl& objectOf(const PropertySetUsage& usage) {
  return static_cast<PropertySetUsage::Impl&>(usage.object());
}

/// The usage of a stereotype's set, whatever name it goes by at the moment.
PropertySetUsage findUsage(const ProfileNamespace::Impl& profiles, const Prototype& prototype) {
  const auto set = prototype.getPropertySet();
  const auto isOfSet = [&](const PropertySetUsage& usage) {
    return usage && set && usage.propertySetProxy() && usage.propertySetProxy().pointsTo(set);
  };
  if (auto named = profiles.getPropertySet(prototype.getFullyQualifiedName()); isOfSet(named))
    return named;
  for (const auto& usage : profiles.getP_PropertySets())
    if (isOfSet(usage))
      return usage;
  return {};
}

/// Makes a usage for each stereotype that has none, and then the links between them: a child may come before its parent
/// in the order of names.
void useAll(ProfileNamespace::Impl& profiles, const std::vector<Prototype>& prototypes) {
  const auto cache = profiles.getP_PrototypeToPrototypableCache();
  for (const auto& prototype : prototypes) {
    const auto usage = profiles.usePropertySet(prototype.getPropertySet(), prototype.getFullyQualifiedName());
    objectOf(usage).adoptSet(prototype.getPropertySet());
    if (cache)
      cache.addEntry(prototype);
  }
  for (const auto& prototype : prototypes)
    if (const auto parent = prototype.getParent())
      findUsage(profiles, prototype).setP_Parent(findUsage(profiles, parent));
}

/// The source in a list that leads to the profile of a name, whether or not it can be had.
ProxySource sourceIn(const tavo::View<ProxySource>& list, const tavo::String& profileName) {
  for (const auto& source : list)
    if (const auto resolver = source.getResolver(); resolver && resolver.uRI() == profileName)
      return source;
  return {};
}

std::vector<Profile> targetsOf(const tavo::View<ProxySource>& sources) {
  std::vector<Profile> profiles;
  for (const auto& source : sources)
    if (auto profile = findTarget<Profile>(source))
      profiles.push_back(std::move(profile));
  return profiles;
}

/// The names of all profiles that the given ones lead to, those themselves not included unless others lead to them.
std::set<tavo::String> reachableFrom(std::vector<Profile> profiles) {
  std::set<tavo::String> names;
  while (!profiles.empty()) {
    const auto profile = profiles.back();
    profiles.pop_back();
    for (const auto& name : profile.getDependentProfiles())
      if (names.insert(name).second)
        if (const auto next = ProfileCatalog::instance().getProfile(name))
          profiles.push_back(next);
  }
  return names;
}

PropertyUsage findProperty(const ProfileNamespace::Impl& profiles, const tavo::String& qualifiedName) {
  const auto [setName, propertyName] = splitAtLastDot(qualifiedName);
  const auto usage = profiles.getP_PropertySets().find(setName);
  return usage ? usage.properties().find(propertyName) : PropertyUsage();
}

/// The stereotype whose set is in use; empty when it cannot be had.
Prototype prototypeOf(const PropertySetUsage& usage) {
  const auto set = usage ? findTarget<PropertySet>(usage.propertySetProxy()) : PropertySet();
  return set ? set.prototype() : Prototype();
}

/// The values that elements have in a usage and in those that it derives from, to tell how many went.
class Losses {
public:
  explicit Losses(const PropertySetUsage& usage) {
    for (const auto& each : usage.getLineage())
      for (const auto& property : each.properties())
        before_.emplace_back(property, property.p_ValueTable().p_Entries().size());
  }
  void report() const {
    for (const auto& [property, count] : before_)
      if (const auto lost = count - property.p_ValueTable().p_Entries().size(); lost != 0)
        warn(PropertyError::ValuesDropped, tavo::concat(property.propertySet().p_Name(), u".", property.p_Name()),
             lost);
  }

private:
  std::vector<std::pair<PropertyUsage, std::size_t>> before_;
};

} // namespace

//----------------------------------------------------------------------------------------------------------------------
// Making and finding

ProfileNamespace ProfileNamespace::make(const tavo::Model& model) {
  tavo::Transaction transaction(model);
  auto profiles = ProfileNamespace::create(model);
  static_cast<Impl&>(profiles.object())
      .getP_PrototypeToPrototypableCacheMutable()
      .add(PrototypeToPrototypableCache::create(model));
  transaction.commit();
  return profiles;
}

ProfileNamespace ProfileNamespace::getProfileNamespace(const tavo::Model& model) {
  return model ? model.findTopLevel<ProfileNamespace>() : ProfileNamespace();
}

void ProfileNamespace::Impl::initializePostLoad() {
  Base::initializePostLoad();
  processPostEvolution();
  listen();
}

void ProfileNamespace::Impl::listen() {
  if (getP_Listener())
    return;
  const auto listener = std::make_shared<ProfileListener>(This());
  setP_Listener(listener);
  for (const auto& profile : getAllResolvedProfiles(false))
    listener->listenTo(profile);
}

void ProfileNamespace::Impl::aboutToDestroy() {
  Base::aboutToDestroy();
  setP_Listener({});
}

void ProfileNamespace::Impl::toggleListener(const tavo::String& name, bool on) {
  const auto profile = ProfileCatalog::instance().getProfile(name);
  if (!profile || !getP_Listener())
    return;
  if (on)
    getP_Listener()->listenTo(profile);
  else
    getP_Listener()->stopListeningTo(profile);
}

void ProfileNamespace::Impl::processPostEvolution() {}

void ProfileNamespace::Impl::proccessMigrationFromV1() {
  raise(tavo::FrameworkError::NotAvailable, "zelkor.profile.ProfileNamespace.proccessMigrationFromV1");
}

//----------------------------------------------------------------------------------------------------------------------
// Queries

std::vector<Profile> ProfileNamespace::Impl::getProfiles() const { return targetsOf(getProfileProxy()); }

std::vector<Profile> ProfileNamespace::Impl::getP_DependentProfiles() const {
  return targetsOf(getP_DependentProfileProxy());
}

std::vector<Profile> ProfileNamespace::Impl::getAllResolvedProfiles(bool directOnly) const {
  auto profiles = directOnly ? std::vector<Profile>() : getP_DependentProfiles();
  std::ranges::copy(getProfiles(), std::back_inserter(profiles));
  return profiles;
}

std::vector<Profile> ProfileNamespace::Impl::getProfile(const tavo::String& name) const {
  auto profiles = getAllResolvedProfiles(true);
  if (!name.empty())
    std::erase_if(profiles, [&](const Profile& profile) { return profile.getName() != name; });
  return profiles;
}

Profile ProfileNamespace::Impl::getDependentProfile(const tavo::String& name) const {
  const auto profile = ProfileCatalog::instance().getProfile(name);
  const auto source = sourceIn(getP_DependentProfileProxy(), name);
  return profile && source && source.pointsTo(profile) ? profile : Profile();
}

bool ProfileNamespace::Impl::isDependentProfile(const tavo::String& name) const {
  return static_cast<bool>(getDependentProfile(name));
}

Prototype ProfileNamespace::Impl::getPrototype(const tavo::String& fullyQualifiedName) const {
  const auto prototype = ProfileCatalog::instance().getPrototype(fullyQualifiedName);
  if (!prototype)
    return {};
  const auto profile = prototype.getProfile().getName();
  return !getProfile(profile).empty() || isDependentProfile(profile) ? prototype : Prototype();
}

std::vector<tavo::String> ProfileNamespace::Impl::getPrototypeNames() const {
  std::vector<tavo::String> names;
  for (const auto& profile : getProfiles())
    for (const auto& prototype : profile.prototypes())
      names.push_back(prototype.getFullyQualifiedName());
  return names;
}

//----------------------------------------------------------------------------------------------------------------------
// Importing

void ProfileNamespace::Impl::addProfile(const tavo::String& name, bool asDependent) {
  auto& catalog = ProfileCatalog::instance();
  auto profile = catalog.getProfile(name);
  if (!profile)
    profile = Profile::getProfile(catalog.loadProfile(name));
  if (!profile)
    return;
  if (catalog.getIsThisOrAnyDependentProfileUnhealthyOnLoad(profile))
    raise(ProfileError::CannotImportUnhealthyProfileIntoModel, profile.getName(), nameForMessages(model()));
  const auto direct = sourceIn(getProfileProxy(), profile.getName());
  if (direct && direct.pointsTo(profile))
    return;
  const auto dependent = sourceIn(getP_DependentProfileProxy(), profile.getName());
  if (dependent && dependent.pointsTo(profile)) {
    if (asDependent)
      return;
    tavo::Transaction transaction(model());
    getP_DependentProfileProxyMutable().remove(dependent);
    getProfileProxyMutable().add(dependent);
    transaction.commit();
    return;
  }

  tavo::Transaction transaction(model());
  // What is left of another profile of the name; the usages stay, and with them the values.
  for (const auto& lost : {direct, dependent})
    if (lost)
      (lost).destroy();
  for (const auto& dependency : profile.getDependentProfiles())
    addProfile(dependency, true);
  const auto resolver = ProfileResolver::createResolver(model(), profile.getName());
  const auto source = ProxySource::createProxySource(profile, This(), resolver, true);
  (asDependent && !direct ? getP_DependentProfileProxyMutable() : getProfileProxyMutable()).add(source);
  useAll(*this, profile.prototypes().toVector());
  listen();
  getP_Listener()->listenTo(profile);
  transaction.commit();
}

void ProfileNamespace::Impl::removeProfile(const tavo::String& name) {
  const auto resolver = ProfileResolver::findModelResolver(model(), name);
  if (!resolver)
    raise(ArchitectureError::ProfileNotAttached, name);

  tavo::Transaction transaction(model());
  const auto direct = getProfile(name);
  const auto profile = direct.size() == 1 ? direct.front() : getDependentProfile(name);
  if (!profile) {
    warn(FixitError::ProfileOutdated, nameForMessages(model()));
    raise(ProfileError::RemoveProfileFailed, name);
  }
  auto remaining = getProfiles();
  std::erase(remaining, profile);
  if (reachableFrom(remaining).contains(name)) {
    if (const auto source = sourceIn(getProfileProxy(), name)) {
      getProfileProxyMutable().remove(source);
      getP_DependentProfileProxyMutable().add(source);
    }
    transaction.commit();
    return;
  }

  const auto dependencies = profile.getDependentProfiles();
  for (const auto& prototype : profile.prototypes())
    discardPrototype(prototype);
  const auto source = sourceIn(getProfileProxy(), name);
  (source ? source : sourceIn(getP_DependentProfileProxy(), name)).destroy();
  const auto needed = reachableFrom(remaining);
  for (const auto& dependency : dependencies)
    if (isDependentProfile(dependency) && !needed.contains(dependency))
      removeProfile(dependency);
  if (const auto& listener = getP_Listener())
    listener->stopListeningTo(profile);
  resolver.destroy();
  transaction.commit();
}

void ProfileNamespace::Impl::discardPrototype(const Prototype& prototype) {
  const auto name = prototype.getFullyQualifiedName();
  if (const auto cache = getP_PrototypeToPrototypableCache()) {
    for (const auto& element : cache.getElementsWithPrototype(name, false))
      element.removePrototype(prototype);
    cache.removeEntry(name);
  }
  discardPropertySet(name);
}

//----------------------------------------------------------------------------------------------------------------------
// Following names and parents

void ProfileNamespace::Impl::renameProfile(const Profile& profile, const tavo::String& newName) {
  const auto oldName = profile.getName();
  if (oldName == newName)
    return;
  const auto resolver = ProfileResolver::findModelResolver(model(), oldName);
  if (!resolver || (!sourceIn(getProfileProxy(), oldName) && !sourceIn(getP_DependentProfileProxy(), oldName)))
    raise(PropertyError::UnableToRenameProfile, oldName, newName);

  tavo::Transaction transaction(model());
  resolver.setURI(newName);
  for (const auto& prototype : profile.prototypes())
    if (const auto usage = findUsage(*this, prototype))
      renameUsage(usage, tavo::concat(newName, u".", prototype.getName()));
  transaction.commit();
}

void ProfileNamespace::Impl::renamePropertySetUsage(const Prototype& prototype) {
  if (const auto usage = findUsage(*this, prototype))
    renameUsage(usage, prototype.getFullyQualifiedName());
}

void ProfileNamespace::Impl::renameUsage(const PropertySetUsage& usage, const tavo::String& newName) {
  const auto oldName = usage.p_Name();
  if (oldName == newName)
    return;
  tavo::Transaction transaction(model());
  objectOf(usage).setP_Name(newName);
  if (const auto cache = getP_PrototypeToPrototypableCache())
    cache.renameEntry(oldName, newName);
  transaction.commit();
}

void ProfileNamespace::Impl::updateParentHierarchy(const Prototype& prototype) {
  const auto usage = findUsage(*this, prototype);
  if (!usage)
    return;

  tavo::Transaction transaction(model());
  const auto former = usage.p_Parent() ? usage.p_Parent().getLineage() : std::vector<PropertySetUsage>();
  const auto parent = prototype.getParent();
  if (parent && !findUsage(*this, parent))
    addProfile(parent.getProfile().getName(), true);
  usage.setP_Parent(parent ? findUsage(*this, parent) : PropertySetUsage());

  const auto cache = getP_PrototypeToPrototypableCache();
  const auto elements =
      cache ? cache.getElementsWithPrototype(usage.p_Name(), true) : std::vector<internal::Prototypable>();
  for (const auto& element : elements) {
    for (const auto& ancestor : former)
      if (!element.needsPropertySet(ancestor))
        element.removePropertySet(ancestor, false);
    element.applyPropertySet(usage);
  }
  transaction.commit();
}

//----------------------------------------------------------------------------------------------------------------------
// Following changed profiles

void ProfileNamespace::Impl::synchronizePostLoad(const ProfileUseChecker& checker) {
  const auto scratch = checker ? tavo::Model() : tavo::Model::create();
  const auto found = checker ? checker : ProfileUseChecker::analyze(scratch, This());

  tavo::Transaction transaction(model());
  const auto step = [&](const auto& action) {
    try {
      tavo::Transaction part(model());
      action();
      part.commit();
    } catch (const std::bad_alloc&) {
      throw;
    } catch (const std::exception& error) {
      // What has been followed so far is right, and stays.
      reportWarning(error);
      transaction.commit();
      throw;
    }
  };
  step([&] { dropLostPrototypes(found.p_DeletedPrototypes()); });
  step([&] { followProperties(found); });
  step([&] {
    std::vector<Prototype> added;
    for (const auto& name : found.p_AddedPrototypes())
      if (const auto prototype = ProfileCatalog::instance().getPrototype(name))
        added.push_back(prototype);
    useAll(*this, added);
  });
  step([&] {
    for (const auto& name : found.p_PrototypeParentChanged())
      if (const auto prototype = prototypeOf(getPropertySet(name)))
        updateParentHierarchy(prototype);
  });
  step([&] {
    for (const auto& name : found.p_RenamedProperties())
      if (const auto usage = findProperty(*this, name))
        objectOf(usage.propertySet()).followNames();
  });
  step([&] {
    std::vector<Prototype> renamed;
    for (const auto& name : found.p_RenamedPrototypes())
      if (const auto prototype = ProfileCatalog::instance().getPrototype(name))
        renamed.push_back(prototype);
    // Names are keys, and may have been swapped: all give up theirs before the first takes another.
    if (renamed.size() > 1)
      for (const auto& prototype : renamed)
        if (const auto usage = findUsage(*this, prototype))
          renameUsage(usage, usage.getQKIdentifier());
    for (const auto& prototype : renamed) {
      renamePropertySetUsage(prototype);
      updateParentHierarchy(prototype);
    }
  });
  step([&] {
    for (const auto& usage : getP_PropertySets().toVector())
      if (findTarget(usage.propertySetProxy()))
        usage.synchronizePostLoad();
  });
  step([&] {
    for (const auto& name : found.p_MissingProfiles())
      if (const auto resolver = ProfileResolver::findModelResolver(model(), name))
        resolver.destroy();
  });
  setP_IsProfileOutdated(false);
  transaction.commit();
}

void ProfileNamespace::Impl::dropLostPrototypes(const std::vector<tavo::String>& names) {
  const auto cache = getP_PrototypeToPrototypableCache();
  for (const auto& name : names) {
    const auto usage = getPropertySet(name);
    if (!usage)
      continue;
    const Losses losses(usage);
    for (const auto& element : usage.p_AppliedElements().toVector()) {
      element.removePropertySet(usage, true);
      if (const auto prototypable = element.as<internal::Prototypable>())
        prototypable.clearMissingPrototypeProxies();
    }
    losses.report();
    for (const auto& derived : usage.p_DerivedUsages().toVector())
      derived.setP_Parent(usage.p_Parent()); // until their own new parents are followed
    usage.destroy();
    if (cache)
      cache.removeEntry(name);
  }
}

void ProfileNamespace::Impl::followProperties(const ProfileUseChecker& checker) {
  for (const auto& name : checker.p_DeletedProperties())
    if (const auto usage = findProperty(*this, name)) {
      static_cast<PropertyUsage::Impl&>(usage.object()).reportValues();
      usage.destroy();
    }
  for (const auto& name : checker.p_AddedProperties()) {
    const auto [setName, propertyName] = splitAtLastDot(name);
    const auto usage = getP_PropertySets().find(setName);
    const auto set = usage ? findTarget<PropertySet>(usage.propertySetProxy()) : PropertySet();
    const auto definition = set ? set.getPropertyByName(propertyName) : property::PropertyDefinition();
    // A name that another property is about to give up is taken when it has.
    if (!definition || std::ranges::find(checker.p_RenamedProperties(), name) != checker.p_RenamedProperties().end())
      continue;
    objectOf(usage).getPropertiesMutable().add(PropertyUsage::createPropertyUsage(definition, model()));
  }
}

//----------------------------------------------------------------------------------------------------------------------
// Giving up what is missing

void ProfileNamespace::Impl::forgetProfile(const tavo::String& name) {
  const auto direct = sourceIn(getProfileProxy(), name);
  const auto source = direct ? direct : sourceIn(getP_DependentProfileProxy(), name);
  if (!source || findTarget(source))
    return removeProfile(name);

  const auto isOfProfile = [&](const PropertySetUsage& usage) {
    const auto set = usage.propertySetProxy();
    return set && set.getResolver() && set.getResolver().uRI() == name;
  };
  std::vector<tavo::String> lost;
  bool isNeeded = false;
  for (const auto& usage : getP_PropertySets())
    if (isOfProfile(usage))
      lost.push_back(usage.p_Name());
    else
      isNeeded = isNeeded || std::ranges::any_of(usage.getLineage(), isOfProfile);

  tavo::Transaction transaction(model());
  if (isNeeded) {
    if (direct) {
      getProfileProxyMutable().remove(direct);
      getP_DependentProfileProxyMutable().add(direct);
    }
    return transaction.commit();
  }
  dropLostPrototypes(lost);
  source.destroy();
  if (const auto resolver = ProfileResolver::findModelResolver(model(), name))
    resolver.destroy();
  transaction.commit();
}

} // namespace zelkor::profile
