#include "zelkor/profile/ProfileNamespace.impl.h"

#include "tavo/core/Errors.h"
#include "tavo/core/Utf.h"
#include "tavo/model/Transaction.h"
#include "zelkor/evolution/NumberedNames.h"
#include "zelkor/evolution/PrototypableToValueEntry.h"
#include "zelkor/evolution/PrototypeToPrototypableEntry.h"
#include "zelkor/evolution/V1EvolutionData.h"
#include "zelkor/framework/Diagnostics.h"
#include "zelkor/framework/Errors.h"
#include "zelkor/framework/Prototypable.h"
#include "zelkor/profile/Profile.h"
#include "zelkor/profile/ProfileCatalog.h"
#include "zelkor/profile/ProfileListener.h"
#include "zelkor/profile/ProfileResolver.h"
#include "zelkor/profile/ProfileUseChecker.h"
#include "zelkor/profile/Prototype.h"
#include "zelkor/profile/PrototypeToPrototypableCache.impl.h"
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
#include <map>
#include <new>
#include <optional>
#include <set>

namespace zelkor::profile {

using property::PropertySet;
using property::PropertySetUsage;
using property::PropertyUsage;
using property::splitAtLastDot;
using property::evolution::V1EvolutionData;
using services::proxy::findTarget;
using services::proxy::nameForMessages;
using services::proxy::ProxySource;
using services::proxy::targetIdOf;

namespace {

PropertySetUsage::Impl& objectOf(const PropertySetUsage& usage) {
  return static_cast<PropertySetUsage::Impl&>(usage.object());
}

/// The references by which an element carries a stereotype that its profile no longer has.
std::vector<ProxySource> sourcesToLost(const property::PropertyOwner& element, const tavo::String& name) {
  const auto prototypable = element.as<internal::Prototypable>();
  auto sources = prototypable ? prototypable.prototypeProxy().toVector() : std::vector<ProxySource>();
  std::erase_if(sources, [&](const auto& source) { return source.getTargetName() != name || findTarget(source); });
  return sources;
}

/// Lets the usage of a stereotype that can no longer be had, and the elements that carry it, go on with another one of
/// the name.
void adopt(const PropertySetUsage& usage, const Prototype& prototype) {
  for (const auto& element : usage.p_AppliedElements())
    for (const auto& source : sourcesToLost(element, usage.p_Name()))
      services::proxy::referTo(source, prototype);
  objectOf(usage).adoptSet(prototype.getPropertySet());
}

/// Makes a usage for each stereotype that has none, and then the links between them: a child may come before its parent
/// in the order of names.
void useAll(ProfileNamespace::Impl& profiles, const std::vector<Prototype>& prototypes) {
  const auto cache = profiles.getP_PrototypeToPrototypableCache();
  for (const auto& prototype : prototypes) {
    const auto set = prototype.getPropertySet();
    if (!set || profiles.findUsage(prototype))
      continue;
    const auto name = prototype.getFullyQualifiedName();
    if (const auto left = profiles.getPropertySet(name); left && !findTarget(left.propertySetProxy()))
      adopt(left, prototype);
    else
      profiles.getP_PropertySetsMutable().add(PropertySetUsage::make(profiles.model(), name, set));
    if (cache)
      cache.addEntry(prototype);
  }
  for (const auto& prototype : prototypes)
    profiles.updateParentHierarchy(prototype);
}

/// What the properties of a set are called, by the names that they had when several could have one.
class FormerNames {
public:
  explicit FormerNames(const ProfileNamespace::Impl& profiles) : profiles_(profiles) {}

  tavo::String nameOf(const tavo::String& name, std::size_t number) {
    const auto [setName, propertyName] = splitAtLastDot(name);
    const auto [found, isNew] = names_.try_emplace(tavo::String(setName));
    if (isNew)
      if (const auto set = profiles_.getPropertySet(found->first))
        for (const auto& usage : set.properties())
          found->second.add(tavo::toUtf8(usage.p_Name()));
    const auto known = found->second.knownName(tavo::toUtf8(propertyName), number);
    return tavo::concat(setName, u".", tavo::String::fromUtf8(known));
  }

private:
  const ProfileNamespace::Impl& profiles_;
  std::map<tavo::String, property::evolution::NumberedNames> names_{}; ///< by set
};

/// The source in a list that leads to the profile, under whatever name.
ProxySource sourceTo(const tavo::View<ProxySource>& list, const Profile& profile) {
  for (const auto& source : list)
    if (source.pointsTo(profile))
      return source;
  return {};
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

tavo::String profileNameOf(const PropertySetUsage& usage) {
  const auto source = usage.propertySetProxy();
  const auto resolver = source ? source.getResolver() : services::proxy::Resolver();
  return resolver ? resolver.uRI() : tavo::String();
}

/// The names of the usages of a profile's stereotypes.
std::vector<tavo::String> usageNames(const ProfileNamespace::Impl& profiles, const tavo::String& profileName) {
  std::vector<tavo::String> names;
  for (const auto& usage : profiles.getP_PropertySets())
    if (profileNameOf(usage) == profileName)
      names.push_back(usage.p_Name());
  return names;
}

/// The names of the profiles that stereotypes of missing ones derive from: these may come back, and need them.
std::set<tavo::String> neededByMissing(const ProfileNamespace::Impl& profiles) {
  std::set<tavo::String> present, names;
  for (const auto& profile : profiles.getAllResolvedProfiles(false))
    present.insert(profile.getName());
  for (const auto& usage : profiles.getP_PropertySets())
    if (!present.contains(profileNameOf(usage)))
      for (const auto& each : usage.getLineage())
        names.insert(profileNameOf(each));
  return names;
}

/// Raises that a profile is not imported because it, or one that it depends on, has a fault, with what that is.
[[noreturn]] void refuse(const Profile& profile, const tavo::Model& model) {
  auto names = reachableFrom({profile});
  names.insert(profile.getName());
  for (const auto& name : names)
    if (const auto each = ProfileCatalog::instance().getProfile(name); each && each.getIsUnhealthyOnLoad())
      raiseBecause(tavo::Error(tavo::FrameworkError::ForeignException, {each.healthCheckErrorOnLoad()}),
                   ProfileError::CannotImportUnhealthyProfileIntoModel, profile.getName(), nameForMessages(model));
  raise(ProfileError::CannotImportUnhealthyProfileIntoModel, profile.getName(), nameForMessages(model));
}

/// Whether elements carry the usage or have values in it.
bool isInUse(const PropertySetUsage& usage) {
  return !usage.p_AppliedElements().empty() ||
         std::ranges::any_of(usage.properties().toVector(),
                             [](const auto& property) { return !property.p_ValueTable().p_Entries().empty(); });
}

/// Whether anything that a usage was made from, or came with, is still there: its set, a property, or the stereotype of
/// an element that carries it.
bool hasOrigin(const PropertySetUsage& usage) {
  const auto isThere = [](const PropertyUsage& property) { return !!findTarget(property.propertyDefProxy()); };
  const auto carriesIt = [profile = profileNameOf(usage)](const property::PropertyOwner& element) {
    const auto prototypable = element.as<internal::Prototypable>();
    return prototypable && std::ranges::any_of(prototypable.getPrototypes(), [&](const Prototype& each) {
             return each.getProfile().getName() == profile;
           });
  };
  return findTarget(usage.propertySetProxy()) || std::ranges::any_of(usage.properties().toVector(), isThere) ||
         std::ranges::any_of(usage.p_AppliedElements().toVector(), carriesIt);
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

std::vector<Prototype> prototypesNamed(const std::vector<tavo::String>& names) {
  std::vector<Prototype> prototypes;
  for (const auto& name : names)
    if (auto prototype = ProfileCatalog::instance().getPrototype(name))
      prototypes.push_back(std::move(prototype));
  return prototypes;
}

/// The stereotype that an element is, or is a part of; empty when it is none of one.
Prototype stereotypeAround(const tavo::ModelElement& element) {
  auto next = element;
  while (next && !next.as<Prototype>())
    next = next.container();
  return next.as<Prototype>();
}

/// What messages call the targets of a usage: they begin with the name of the stereotype. Another stereotype may have
/// the old name by now, and what it has keeps it.
void renameTargets(const PropertySetUsage& usage, const tavo::String& oldName, const tavo::String& newName) {
  const auto source = usage.propertySetProxy();
  const auto resolver = source ? source.getResolver() : services::proxy::Resolver();
  if (!resolver)
    return;
  const auto own = prototypeOf(usage);
  for (const auto& target : resolver.proxies().toVector()) {
    const auto name = target.targetName();
    const bool isBelow =
        name.view().starts_with(oldName.view()) && name.view().substr(oldName.size()).starts_with(u'.');
    if (name != oldName && !isBelow)
      continue;
    if (const auto other = stereotypeAround(target.findElement()); !other || other == own)
      target.setTargetName(tavo::concat(newName, name.view().substr(oldName.size())));
  }
}

/// Puts a new index of stereotypes in the place of the one that there is, if any.
void renewCache(ProfileNamespace::Impl& profiles) {
  if (const auto former = profiles.getP_PrototypeToPrototypableCache())
    former.destroy();
  const auto cache = PrototypeToPrototypableCache::create(profiles.model());
  profiles.getP_PrototypeToPrototypableCacheMutable().add(cache);
  for (const auto& usage : profiles.getP_PropertySets())
    static_cast<PrototypeToPrototypableCache::Impl&>(cache.object()).addEntryNamed(usage.p_Name());
}

tavo::String text(const tavo::Uuid& uuid) { return tavo::String::fromUtf8(tavo::toText(uuid)); }

/// The values that elements lose with a usage, and in those that it derives from, to tell how many.
class Losses {
public:
  explicit Losses(const PropertySetUsage& usage) : lost_(usage) {
    for (const auto& each : usage.getLineage())
      for (const auto& property : each.properties())
        before_.emplace_back(property, property.p_ValueTable().p_Entries().size());
  }
  void report() const {
    for (const auto& [property, count] : before_)
      if (const auto lost = count - (property.propertySet() == lost_ ? 0 : property.p_ValueTable().p_Entries().size());
          lost != 0)
        warn(PropertyError::ValuesDropped, tavo::concat(property.propertySet().p_Name(), u".", property.p_Name()),
             lost);
  }

private:
  PropertySetUsage lost_;
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
  ProfileCatalog::instance().leadResolversToRenamed(model());
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

bool ProfileNamespace::Impl::uses(const Profile& profile) const {
  return sourceTo(getProfileProxy(), profile) || sourceTo(getP_DependentProfileProxy(), profile);
}

bool ProfileNamespace::Impl::isReplaced(const Profile& profile) const {
  const auto source = sourceTo(getProfileProxy(), profile);
  const auto known = source ? source : sourceTo(getP_DependentProfileProxy(), profile);
  const auto name = known && known.getResolver() ? known.getResolver().uRI() : profile.getName();
  bool isUsed = false;
  for (const auto& usage : getP_PropertySets()) {
    if (profileNameOf(usage) != name)
      continue;
    if (hasOrigin(usage))
      return false;
    isUsed = isUsed || isInUse(usage);
  }
  return isUsed;
}

void ProfileNamespace::Impl::profileHasCome(const Profile& profile) {
  if (!getP_Listener() || !uses(profile))
    return;
  getP_Listener()->listenTo(profile);
  for (const auto& usage : getP_PropertySets())
    if (profileNameOf(usage) == profile.getName())
      usage.intializeListener();
  setP_IsProfileOutdated(true); // until somebody has compared
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
  for (const auto& usage : getP_PropertySets())
    if (profileNameOf(usage) == name)
      usage.toggleListener(on);
}

void ProfileNamespace::Impl::processPostEvolution() {}

void ProfileNamespace::Impl::proccessMigrationFromV1() {
  setP_LostInMigration(0);
  const auto data = model().findTopLevel<V1EvolutionData>();
  if (!data)
    return;
  // Small steps, where nobody can take them back: one over everything needs kilobytes for each element.
  std::optional<tavo::Transaction> whole;
  if (model().undoDepth() != 0)
    whole.emplace(model());
  const auto attempt = [&](const auto& action) {
    try {
      tavo::Transaction part(model()); // what fails leaves nothing behind, and the rest goes on
      action();
      part.commit();
    } catch (const std::bad_alloc&) {
      throw;
    } catch (const std::exception& error) {
      warnBecause(error, ArchitectureError::FailedToMigrateLinnetModel, services::proxy::nameForMessages(model()));
      setP_LostInMigration(getP_LostInMigration() + 1);
    }
  };

  attempt([&] { renewCache(*this); });
  for (const auto& profile : getProfiles())
    for (const auto& dependency : profile.getDependentProfiles())
      attempt([&] { addProfile(dependency, true); });
  for (const auto& profile : getAllResolvedProfiles(false))
    attempt([&] { useAll(*this, profile.prototypes().toVector()); });

  std::map<tavo::String, Prototype> prototypes; // few, for many elements
  const auto prototypeNamed = [&](const tavo::String& name) -> const Prototype& {
    const auto [found, isNew] = prototypes.try_emplace(name);
    if (isNew)
      found->second = getPrototype(name);
    return found->second;
  };
  internal::Prototypable last;
  const auto elementOf = [&](const auto& entry) -> const internal::Prototypable& {
    const auto& uuid = entry.p_ElemUUID();
    if (!last || last.Uuid() != uuid) // the entries of one element stand together
      last = model().find<internal::Prototypable>(uuid);
    return last;
  };
  for (const auto& entry : data.p_PrototypeEntries())
    attempt([&] {
      const auto& element = elementOf(entry);
      const auto& prototype = prototypeNamed(entry.p_PrototypeFullyQualifiedName());
      if (!element || !prototype)
        raise(ArchitectureError::CannotMigrateStereotype, entry.p_PrototypeFullyQualifiedName(),
              element ? element.getName() : text(entry.p_ElemUUID()));
      element.applyPrototype(prototype);
    });
  tavo::Uuid latest{};
  std::map<tavo::String, std::size_t> named; // in the entries of one element, which stand together
  FormerNames former(*this);
  for (const auto& entry : data.p_ValueEntries())
    attempt([&] {
      const auto& element = elementOf(entry);
      if (latest != entry.p_ElemUUID()) {
        latest = entry.p_ElemUUID();
        named.clear();
      }
      const auto number = ++named[entry.p_PropertyName()];
      try {
        if (!element)
          raise(PropertyError::PropertyNotFound, entry.p_PropertyName());
        const auto property =
            number > 1 ? former.nameOf(entry.p_PropertyName(), number) : tavo::String(entry.p_PropertyName());
        element.requirePropertyUsage(property).setPropVal(entry.p_ElemUUID(), entry.p_Expression(), entry.p_Units());
      } catch (const tavo::Error& error) {
        raiseBecause(error, ArchitectureError::CannotMigrateValue, entry.p_PropertyName(),
                     element ? element.getName() : text(entry.p_ElemUUID()), entry.p_Expression());
      }
    });
  data.destroy();
  if (whole)
    whole->commit();
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

PropertySetUsage ProfileNamespace::Impl::findUsage(const Prototype& prototype) const {
  const auto set = prototype ? prototype.getPropertySet() : PropertySet();
  if (!set)
    return {};
  const auto isOfSet = [id = set.Uuid()](const PropertySetUsage& usage) {
    return usage && targetIdOf(usage.propertySetProxy()) == id;
  };
  if (auto named = getPropertySet(prototype.getFullyQualifiedName()); isOfSet(named))
    return named;
  for (const auto& usage : getP_PropertySets())
    if (isOfSet(usage))
      return usage;
  return {};
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
    refuse(profile, model());

  ProfileCatalog::nameResolversAfterProfiles(model());
  tavo::Transaction transaction(model());
  const auto direct = sourceTo(getProfileProxy(), profile);
  const auto dependent = sourceTo(getP_DependentProfileProxy(), profile);
  if (direct || dependent) {
    leadTo(profile, direct ? direct : dependent);
    if (!direct && !asDependent) {
      getP_DependentProfileProxyMutable().remove(dependent);
      getProfileProxyMutable().add(dependent);
    }
    if (!asDependent && isReplaced(profile))
      useAll(*this, profile.prototypes().toVector());
    return transaction.commit();
  }

  // What is left of another profile of the name; the usages stay, and with them the values.
  const auto lostImport = sourceIn(getProfileProxy(), profile.getName());
  const bool isImport = !asDependent || lostImport;
  for (const auto& lost : {lostImport, sourceIn(getP_DependentProfileProxy(), profile.getName())})
    if (lost)
      lost.destroy();
  for (const auto& dependency : profile.getDependentProfiles())
    addProfile(dependency, true);
  const auto resolver = ProfileResolver::createResolver(model(), profile.getName());
  const auto source = ProxySource::createProxySource(profile, This(), resolver, true);
  (isImport ? getProfileProxyMutable() : getP_DependentProfileProxyMutable()).add(source);
  useAll(*this, profile.prototypes().toVector());
  listen();
  getP_Listener()->listenTo(profile);
  transaction.commit();
}

void ProfileNamespace::Impl::leadTo(const Profile& profile, const ProxySource& source) {
  const auto resolver = source.getResolver().as<services::proxy::ModelResolver>();
  if (resolver.uRI() == profile.getName() && resolver.getReferencedModel())
    return;

  tavo::Transaction transaction(model());
  resolver.setURI(profile.getName());
  const auto leading = ProfileResolver::createResolver(model(), profile.getName());
  services::proxy::adoptLostTargets(leading);
  leading.setReferencedModel(profile.model());
  profileHasCome(profile);
  transaction.commit();
}

void ProfileNamespace::Impl::removeProfile(const tavo::String& name) {
  ProfileCatalog::nameResolversAfterProfiles(model());
  const auto resolver = ProfileResolver::findModelResolver(model(), name);
  if (!resolver)
    raise(ArchitectureError::ProfileNotAttached, name);

  tavo::Transaction transaction(model());
  const auto direct = getProfile(name);
  const auto profile = direct.size() == 1 ? direct.front() : getDependentProfile(name);
  if (!profile) {
    warn(FixitError::ProfileOutdated, services::proxy::nameForMessages(model()));
    raise(ProfileError::RemoveProfileFailed, name);
  }
  auto remaining = getProfiles();
  std::erase(remaining, profile);
  auto needed = reachableFrom(remaining);
  needed.merge(neededByMissing(*this));
  if (needed.contains(name)) {
    if (const auto source = sourceIn(getProfileProxy(), name)) {
      getProfileProxyMutable().remove(source);
      getP_DependentProfileProxyMutable().add(source);
    }
    return transaction.commit();
  }

  const auto dependencies = profile.getDependentProfiles();
  for (const auto& prototype : profile.prototypes())
    discardPrototype(prototype);
  dropLostPrototypes(usageNames(*this, name)); // of those that the profile has lost before
  const auto source = sourceIn(getProfileProxy(), name);
  (source ? source : sourceIn(getP_DependentProfileProxy(), name)).destroy();
  for (const auto& dependency : dependencies)
    if (isDependentProfile(dependency) && !needed.contains(dependency))
      removeProfile(dependency);
  resolver.destroy();
  transaction.commit();
}

void ProfileNamespace::Impl::discardPrototype(const Prototype& prototype) {
  const auto usage = findUsage(prototype);
  if (!usage)
    return;
  for (const auto& element : usage.p_AppliedElements().toVector())
    if (const auto prototypable = element.as<internal::Prototypable>())
      prototypable.removePrototype(prototype);
  if (const auto cache = getP_PrototypeToPrototypableCache())
    cache.removeEntry(usage.p_Name());
  usage.destroy();
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
    if (const auto usage = findUsage(prototype))
      renameUsage(usage, tavo::concat(newName, u".", prototype.getName()));
  transaction.commit();
}

void ProfileNamespace::Impl::renamePropertySetUsage(const Prototype& prototype) {
  if (const auto usage = findUsage(prototype))
    renameUsage(usage, prototype.getFullyQualifiedName());
}

void ProfileNamespace::Impl::followNames(const std::vector<Prototype>& prototypes) {
  tavo::Transaction transaction(model());
  // Names are keys, and may have been swapped: all give up theirs before the first takes another.
  if (prototypes.size() > 1)
    for (const auto& prototype : prototypes)
      if (const auto usage = findUsage(prototype))
        renameUsage(usage, usage.getQKIdentifier());
  for (const auto& prototype : prototypes)
    renamePropertySetUsage(prototype);
  transaction.commit();
}

void ProfileNamespace::Impl::renameUsage(const PropertySetUsage& usage, const tavo::String& newName) {
  const auto oldName = usage.p_Name();
  if (oldName == newName)
    return;
  tavo::Transaction transaction(model());
  objectOf(usage).setP_Name(newName);
  renameTargets(usage, oldName, newName);
  if (const auto cache = getP_PrototypeToPrototypableCache())
    cache.renameEntry(oldName, newName);
  transaction.commit();
}

void ProfileNamespace::Impl::updateParentHierarchy(const Prototype& prototype) {
  const auto usage = findUsage(prototype);
  const auto parent = prototype.getParent();
  if (!usage || (!parent && prototype.hasParent())) // a parent that is missing may come back
    return;

  tavo::Transaction transaction(model());
  const auto former = usage.p_Parent() ? usage.p_Parent().getLineage() : std::vector<PropertySetUsage>();
  if (parent && !findUsage(parent))
    addProfile(parent.getProfile().getName(), true);
  usage.setP_Parent(findUsage(parent));

  // Those that carry a stereotype below this one included.
  for (const auto& element : usage.p_AppliedElements().toVector()) {
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
  ProfileCatalog::nameResolversAfterProfiles(model());

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
  // Before names change.
  const auto added = prototypesNamed(found.p_AddedPrototypes());
  auto renamed = prototypesNamed(found.p_RenamedPrototypes());
  auto reparented = renamed;
  for (const auto& name : found.p_PrototypeParentChanged())
    if (const auto prototype = prototypeOf(getPropertySet(name)))
      reparented.push_back(prototype);
  std::vector<PropertySetUsage> withRenamed;
  for (const auto& name : found.p_RenamedProperties())
    withRenamed.push_back(getPropertySet(splitAtLastDot(name).first));

  std::vector<Prototype> early; // whose usages are needed before their names are free
  step([&] { early = moveProperties(found.p_MovedProperties()); });
  std::ranges::copy(early, std::back_inserter(renamed));
  std::ranges::copy(early, std::back_inserter(reparented));
  step([&] { dropLostPrototypes(found.p_DeletedPrototypes()); });
  step([&] { dropProperties(found.p_DeletedProperties()); });
  step([&] { addProperties(found); });
  step([&] {
    followNames(renamed);
    if (const auto cache = getP_PrototypeToPrototypableCache())
      std::ranges::for_each(early, [&](const Prototype& each) { cache.addEntry(each); });
  });
  step([&] { useAll(*this, added); });
  step([&] { std::ranges::for_each(reparented, [&](const Prototype& each) { updateParentHierarchy(each); }); });
  step([&] {
    for (const auto& usage : withRenamed)
      if (usage)
        objectOf(usage).followNames();
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

std::vector<Prototype> ProfileNamespace::Impl::moveProperties(const std::vector<tavo::String>& names) {
  std::vector<Prototype> early;
  for (const auto& name : names) {
    const auto property = findProperty(*this, name);
    const auto definition = property ? findTarget<property::PropertyDefinition>(property.propertyDefProxy())
                                     : property::PropertyDefinition();
    const auto set = definition ? definition.propertySet() : PropertySet();
    const auto prototype = set ? set.prototype() : Prototype();
    if (!prototype || property.propertySet() == findUsage(prototype))
      continue;
    // Its values must come along although what has been renamed or deleted still has the names, of the stereotype or
    // of the property: these are followed later.
    if (!findUsage(prototype)) {
      const auto made = PropertySetUsage::make(model(), prototype.getFullyQualifiedName(), set);
      objectOf(made).setP_Name(made.getQKIdentifier());
      getP_PropertySetsMutable().add(made);
      early.push_back(prototype);
    }
    const auto usage = findUsage(prototype);
    for (const auto& made : usage.properties().toVector())
      if (targetIdOf(made.propertyDefProxy()) == definition.Uuid())
        made.destroy();
    objectOf(property.propertySet()).getPropertiesMutable().remove(property);
    if (usage.properties().has(property.p_Name()))
      static_cast<PropertyUsage::Impl&>(property.object()).setP_Name(property.getQKIdentifier());
    objectOf(usage).getPropertiesMutable().add(property);
  }
  return early;
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
      for (const auto& source : sourcesToLost(element, name))
        source.destroy();
    }
    losses.report();
    for (const auto& derived : usage.p_DerivedUsages().toVector())
      derived.setP_Parent(usage.p_Parent()); // until their own new parents are followed
    usage.destroy();
    if (cache)
      cache.removeEntry(name);
  }
}

void ProfileNamespace::Impl::dropProperties(const std::vector<tavo::String>& names) {
  for (const auto& name : names)
    if (const auto usage = findProperty(*this, name)) {
      static_cast<PropertyUsage::Impl&>(usage.object()).reportValues();
      usage.destroy();
    }
}

void ProfileNamespace::Impl::addProperties(const ProfileUseChecker& checker) {
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

  const auto isOfProfile = [&](const PropertySetUsage& usage) { return profileNameOf(usage) == name; };
  bool isNeeded = false;
  for (const auto& usage : getP_PropertySets())
    isNeeded = isNeeded || (!isOfProfile(usage) && std::ranges::any_of(usage.getLineage(), isOfProfile));

  tavo::Transaction transaction(model());
  if (isNeeded) {
    if (direct) {
      getProfileProxyMutable().remove(direct);
      getP_DependentProfileProxyMutable().add(direct);
    }
    return transaction.commit();
  }
  dropLostPrototypes(usageNames(*this, name));
  source.destroy();
  if (const auto resolver = ProfileResolver::findModelResolver(model(), name))
    resolver.destroy();
  transaction.commit();
}

} // namespace zelkor::profile
