#include "zelkor/profile/ProfileCatalog.h"

#include "tavo/model/Transaction.h"
#include "zelkor/framework/Diagnostics.h"
#include "zelkor/framework/Errors.h"
#include "zelkor/framework/HostNames.h"
#include "zelkor/framework/Prototypable.h"
#include "zelkor/profile/Profile.impl.h"
#include "zelkor/profile/ProfileListener.h"
#include "zelkor/profile/ProfileNames.h"
#include "zelkor/profile/ProfileNamespace.impl.h"
#include "zelkor/property/BuiltInTypes.h"
#include "zelkor/services/ModelEventBroadcastSystem.h"
#include "zelkor/services/ModelIdentifier.h"
#include "zelkor/services/ModelResolvers.h"
#include "zelkor/services/ProxySource.h"
#include "zelkor/services/ProxyTarget.h"
#include "zelkor/services/Resolver.h"

#include <algorithm>
#include <iostream>

namespace zelkor::profile {

using services::ModelEventBroadcastSystem;
using services::ModelEventType;
using services::proxy::ModelIdentifier;

namespace {

/// Stands for "no parent" where the host asks for the parent's name.
constexpr std::u16string_view noParent = u"MIXIN";

/// The resolvers of a model that have the name of a profile: one, or several when a profile has got the name of another
/// that is missing.
std::vector<ProfileResolver> resolversNamed(const tavo::Model& model, std::u16string_view name) {
  if (!model)
    return {};
  auto resolvers = services::proxy::resolversOf<ProfileResolver>(model);
  std::erase_if(resolvers, [&](const ProfileResolver& resolver) { return resolver.uRI() != name; });
  return resolvers;
}

/// Whether anything in the model refers to the element of that identity, as all references to stereotypes do, by proxy.
bool refersTo(const tavo::Model& model, const tavo::Uuid& id) {
  return std::ranges::any_of(services::proxy::resolversOf<services::proxy::Resolver>(model),
                             [&](const auto& resolver) { return static_cast<bool>(resolver.findProxyTarget(id)); });
}

/// Whether the ancestor is above the stereotype, as far as that can be said without loading anything.
bool isBelow(const Prototype& prototype, const Prototype& ancestor) {
  std::vector<Prototype> line;
  for (auto next = prototype; next && std::ranges::find(line, next) == line.end();) {
    line.push_back(next);
    const auto proxy = next.parentProxy();
    next = proxy ? proxy.findTargetElement().as<Prototype>() : Prototype();
    if (next == ancestor)
      return true;
  }
  return false;
}

} // namespace

ProfileCatalog& ProfileCatalog::instance() {
  static auto* const catalog = new ProfileCatalog; // profiles may be used until the very end of the process
  return *catalog;
}

//----------------------------------------------------------------------------------------------------------------------
// Coming and going

tavo::Model ProfileCatalog::createNewProfile(const tavo::String& name) {
  aboutToSetProfileName({}, name);

  const auto model = tavo::Model::create();
  try {
    const auto profile = Profile::createProfile(model, name);
    ModelIdentifier::createModelIdentifier(model, u"profile", name);
    // Taking back the making of the profile would leave a model that is nothing.
    model.clearHistory();
    addProfile(profile);
  } catch (...) {
    model.destroy(); // others may have been bound to it
    throw;
  }
  return model;
}

void ProfileCatalog::addProfile(const Profile& profile) {
  const auto model = profile.model();
  const auto name = profile.getName();
  if (std::ranges::any_of(loaded_, [&](const auto& each) { return each.second.model == model; }))
    return;
  if (!isValidName(name))
    raise(ProfileError::InvalidProfileName, name);
  aboutToSetProfileName({}, name);

  ModelIdentifier::createModelIdentifier(model, u"profile", name);
  ProfileDirtyListener::of(profile);
  bindReferences(profile);
  enter(name, model);
}

void ProfileCatalog::enter(const tavo::String& name, const tavo::Model& model) {
  // An entry stays where it is under whatever key, and its listener goes with it.
  Entry& entry = loaded_.insert_or_assign(name, Entry{name, model, {}, {}}).first->second;
  try {
    entry.follower = model.addShallowListener([this, &entry] { followName(entry); });
  } catch (...) {
    loaded_.erase(name);
    throw;
  }
}

void ProfileCatalog::bindReferences(const Profile& profile) const {
  const auto bind = [](const ProfileResolver& resolver, const Profile& to) {
    if (to && !resolver.getReferencedModel())
      resolver.setReferencedModel(to.model());
  };
  for (const auto& referring : tavo::Constellation::process().models()) {
    for (const auto& resolver : resolversNamed(referring, profile.getName()))
      bind(resolver, profile);
    if (const auto profiles = ProfileNamespace::getProfileNamespace(referring))
      static_cast<ProfileNamespace::Impl&>(profiles.object()).profileHasCome(profile);
  }
  for (const auto& resolver : services::proxy::resolversOf<ProfileResolver>(profile.model()))
    bind(resolver, getProfile(resolver.uRI()));
}

bool ProfileCatalog::unloadProfile(const tavo::String& name) {
  const auto model = modelOf(name);
  if (!model)
    return false;
  if (const auto profile = Profile::getProfile(model))
    ModelEventBroadcastSystem::instance().triggerEvent(ModelEventType::profileUnloaded, name, profile);
  // Who heard of it may have renamed or unloaded it meanwhile.
  const auto entry = std::ranges::find(loaded_, model, [](const auto& each) { return each.second.model; });
  if (entry == loaded_.end())
    return true;
  letGoOf(entry->first);
  loaded_.erase(entry);
  model.destroy();
  return true;
}

void ProfileCatalog::unloadAllProfiles() {
  for (const auto& name : getLoadedProfileNames())
    unloadProfile(name);
}

void ProfileCatalog::removeReferencesToProfile(const ProfileResolver& resolver) {
  resolver.setReferencedModel({});
  letGoOf(resolver.uRI());
}

void ProfileCatalog::letGoOf(const tavo::String& name) const {
  for (const auto& referring : tavo::Constellation::process().models())
    for (const auto& same : resolversNamed(referring, name))
      same.setReferencedModel({});
}

//----------------------------------------------------------------------------------------------------------------------
// Names

void ProfileCatalog::aboutToSetProfileName(const tavo::String& oldName, const tavo::String& newName) const {
  if (oldName == newName)
    return;
  // A name is taken by whoever is filed under it, and by whoever is going to be once it is committed.
  for (const auto& [name, entry] : loaded_) {
    const auto profile = Profile::getProfile(entry.model);
    if (!profile || profile.p_Name() == oldName) // the one that is to be renamed may have been renamed before
      continue;
    if (name == newName || profile.p_Name() == newName)
      raise(ProfileError::ProfileAlreadyExists, newName);
  }
}

void ProfileCatalog::followName(Entry& entry) {
  const auto profile = Profile::getProfile(entry.model);
  if (!profile || profile.p_Name() == entry.name || profile.p_Name() == entry.refused)
    return;

  const tavo::String name = profile.p_Name();
  if (isProfileLoaded(name) || !isValidName(name)) {
    // Undo can bring back a name that somebody else has taken meanwhile. The profile stays filed under the other one.
    entry.refused = name;
    return warn(isProfileLoaded(name) ? ProfileError::ProfileAlreadyExists : ProfileError::InvalidProfileName, name);
  }
  // What may fail comes first; the next commit then tries again.
  std::vector<ProfileResolver> following;
  for (const auto& referring : tavo::Constellation::process().models()) {
    if (!referring.isOpenForWriting())
      continue; // follows when it is saved
    auto resolvers = resolversNamed(referring, entry.name);
    // A model that refers to another profile of the name does not mean this one. Among profiles, what was referred to
    // may just be gone.
    if (resolvers.size() > 1 || !Profile::getProfile(referring))
      std::erase_if(resolvers, [&](const auto& each) { return !services::proxy::hasTargetOf(each, entry.model); });
    following.insert(following.end(), resolvers.begin(), resolvers.end());
  }

  const tavo::String oldName = std::exchange(entry.name, name);
  loaded_.erase(name); // of a model that has been ended by somebody
  auto moved = loaded_.extract(oldName);
  moved.key() = name;
  loaded_.insert(std::move(moved));
  entry.refused = {};
  for (const auto& resolver : following) {
    // A step of its own there could be undone, and the reference would lead nowhere.
    const auto model = resolver.model();
    const tavo::UnloggedUpdate unlogged(model);
    resolver.setURI(name);
    if (const auto profileThere = Profile::getProfile(model))
      profileThere.setDirty(true);
  }
  followInDefaults(oldName, name);
}

void ProfileCatalog::followInDefaults(const tavo::String& oldName, const tavo::String& newName) {
  for (auto& [className, stereotype] : std::unordered_map(defaultOfClass_))
    if (const auto [profile, name] = splitQualifiedName(stereotype); profile == oldName)
      setDefaultPrototype(className, tavo::concat(newName, u".", name));
}

//----------------------------------------------------------------------------------------------------------------------
// Queries

tavo::Model ProfileCatalog::modelOf(std::u16string_view name) const {
  const auto entry = loaded_.find(name);
  // Somebody may have ended the model.
  return entry != loaded_.end() && entry->second.model ? entry->second.model : tavo::Model();
}

bool ProfileCatalog::isProfileLoaded(const tavo::String& name) const { return static_cast<bool>(modelOf(name)); }

Profile ProfileCatalog::getProfile(const tavo::String& name) const { return Profile::getProfile(modelOf(name)); }

std::vector<tavo::String> ProfileCatalog::getLoadedProfileNames() const {
  std::vector<tavo::String> names;
  for (const auto& [name, entry] : loaded_)
    if (entry.model)
      names.push_back(name);
  return names;
}

std::vector<Profile> ProfileCatalog::getProfilesInCatalog() const {
  std::vector<Profile> profiles;
  for (const auto& [name, entry] : loaded_)
    if (auto profile = Profile::getProfile(entry.model))
      profiles.push_back(std::move(profile));
  return profiles;
}

Prototype ProfileCatalog::getPrototype(const tavo::String& fullyQualifiedName) const {
  const auto [profileName, name] = splitQualifiedName(fullyQualifiedName);
  const auto profile = getProfile(profileName);
  return profile ? profile.prototypes().find(name) : Prototype();
}

std::vector<Prototype> ProfileCatalog::getDerivedPrototypes(const tavo::String& fullyQualifiedName) const {
  const auto ancestor = getPrototype(fullyQualifiedName);
  return ancestor ? loadedDescendants(ancestor) : std::vector<Prototype>();
}

std::vector<Prototype> ProfileCatalog::loadedDescendants(const Prototype& ancestor) const {
  auto profiles = getProfilesInCatalog();
  if (const auto own = ancestor.getProfile(); own && std::ranges::find(profiles, own) == profiles.end())
    profiles.push_back(own);
  std::vector<Prototype> found;
  // Most stereotypes are nobody's parent, and whoever adds properties to them should not pay for all others.
  if (std::ranges::none_of(profiles, [&](const Profile& each) { return refersTo(each.model(), ancestor.Uuid()); }))
    return found;
  for (const auto& profile : profiles)
    for (const auto& prototype : profile.prototypes().toVector())
      if (prototype != ancestor && isBelow(prototype, ancestor))
        found.push_back(prototype);
  return found;
}

std::vector<tavo::String> ProfileCatalog::getStereotypeReportForTooltip(const internal::Prototypable& element) const {
  std::vector<tavo::String> lines;
  for (const auto& name : element.getPrototypeNames())
    lines.push_back(tavo::concat(u"  - ", tavo::Error(ProfileError::StereotypeBadgeTooltip, {name}).message()));
  if (lines.empty())
    lines.push_back(tavo::Error(ProfileError::None, {}).message());
  return lines;
}

tavo::String ProfileCatalog::getDefaultParentPrototypeFQN(const tavo::String& fullyQualifiedName) const {
  if (!initialised_)
    raise(ProfileError::ProfileNotInitialized);
  const auto prototype = fullyQualifiedName == noParent ? Prototype() : getPrototype(fullyQualifiedName);
  if (!prototype || !prototype.hasParent())
    return noParent;
  const auto parent = prototype.getParent();
  return parent ? parent.getFullyQualifiedName() : prototype.parentProxy().getTargetName();
}

bool ProfileCatalog::getIsThisOrAnyDependentProfileUnhealthyOnLoad(const Profile& profile) const {
  std::vector<Profile> visited;
  return isUnhealthy(profile, visited);
}

bool ProfileCatalog::isUnhealthy(const Profile& profile, std::vector<Profile>& visited) const {
  if (std::ranges::find(visited, profile) != visited.end())
    return false;
  visited.push_back(profile);
  return profile.getIsUnhealthyOnLoad() ||
         std::ranges::any_of(profile.getDependentProfiles(), [&](const tavo::String& name) {
           const auto dependency = getProfile(name);
           return !dependency || isUnhealthy(dependency, visited);
         });
}

bool ProfileCatalog::allProfilesReadyForImport(const std::vector<Profile>& profiles) const {
  return std::ranges::none_of(profiles, [&](const Profile& profile) {
    return profile.hasMissingArtifact() || getIsThisOrAnyDependentProfileUnhealthyOnLoad(profile);
  });
}

tavo::String ProfileCatalog::getDefaultPrototypeClass(const tavo::String& fullyQualifiedName) const {
  const auto found = classOfDefault_.find(fullyQualifiedName);
  return found == classOfDefault_.end() ? tavo::String() : found->second;
}

bool ProfileCatalog::isDefaultPrototype(const tavo::String& fullyQualifiedName) const {
  return classOfDefault_.contains(fullyQualifiedName);
}

void ProfileCatalog::setDefaultPrototype(const tavo::String& className, const tavo::String& fullyQualifiedName) {
  if (const auto former = defaultOfClass_.find(className); former != defaultOfClass_.end()) {
    classOfDefault_.erase(former->second);
    defaultOfClass_.erase(former);
  }
  if (fullyQualifiedName.empty())
    return;
  // A stereotype is the default of one class, a class has one default.
  if (const auto former = classOfDefault_.find(fullyQualifiedName); former != classOfDefault_.end())
    defaultOfClass_.erase(former->second);
  defaultOfClass_[className] = fullyQualifiedName;
  classOfDefault_[fullyQualifiedName] = className;
}

//----------------------------------------------------------------------------------------------------------------------
// Built-in types

void ProfileCatalog::createBuiltInTypes(const Profile& profile) const {
  tavo::Transaction transaction(profile.model());
  auto types = static_cast<Profile::Impl&>(profile.object()).getValueTypesMutable();
  for (const auto& type : property::createBuiltInTypes(profile.model()))
    types.add(type);
  transaction.commit();
}

void ProfileCatalog::migrateBuiltInTypes(const Profile& profile) const {
  std::vector<tavo::String> present;
  const auto all = profile.valueTypes();
  for (const auto& type : all)
    if (!type.typeProxy())
      present.push_back(type.getName());
  std::size_t place = 0; // behind those that come first
  while (place < all.size() && !all[place].typeProxy())
    ++place;

  tavo::Transaction transaction(profile.model());
  auto types = static_cast<Profile::Impl&>(profile.object()).getValueTypesMutable();
  // A file may be read many times before it is saved, and others refer to its types meanwhile.
  for (const auto& type : property::createBuiltInTypes(profile.model(), profile.Uuid()))
    if (std::ranges::find(present, type.getName()) == present.end())
      types.insert(place++, type);
    else
      type.destroy();
  transaction.commit();
}

void ProfileCatalog::dumpLoaded() const {
  std::cout << "Profiles loaded:\n";
  for (const auto& profile : getProfilesInCatalog()) {
    std::cout << "Profile: " << profile.getName() << '\n';
    for (const auto& prototype : profile.prototypes())
      std::cout << "    Prototype: " << prototype.getName() << '\n';
  }
  std::cout.flush();
}

} // namespace zelkor::profile
