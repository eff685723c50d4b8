#include "zelkor/profile/Profile.impl.h"

#include "tavo/model/Transaction.h"
#include "tavo/xml/ModelXml.h"
#include "zelkor/evolution/ReleaseExport.h"
#include "zelkor/framework/Diagnostics.h"
#include "zelkor/framework/Errors.h"
#include "zelkor/framework/HostNames.h"
#include "zelkor/profile/DefaultStereotypeMap.h"
#include "zelkor/profile/ProfileCatalog.h"
#include "zelkor/profile/ProfileListener.h"
#include "zelkor/profile/ProfileNames.h"
#include "zelkor/profile/Prototype.impl.h"
#include "zelkor/profile/Tag.h"
#include "zelkor/property/PropertySet.h"
#include "zelkor/services/ModelIdentifier.h"
#include "zelkor/services/ModelResolvers.h"
#include "zelkor/services/ProxyTarget.h"

#include <algorithm>
#include <filesystem>
#include <set>

namespace zelkor::profile {

namespace fs = std::filesystem;
using property::PropertySet;
using services::proxy::ModelIdentifier;

namespace {

/// What `addPrototype` is told to start from.
struct Base {
  Prototype parent;
  tavo::String kind; ///< of the elements that the stereotype applies to; empty for none in particular
};

Base findBase(const Profile& profile, const tavo::String& base) {
  if (base.empty() || base == u"built-in")
    return {};
  if (std::ranges::find(elementClasses, base.view()) != std::end(elementClasses))
    return {{}, kindOfElementClass(base)};

  // A profile that is still being made need not be in the catalog to have parents in it.
  const auto [profileName, name] = splitQualifiedName(base);
  auto parent = profileName == profile.getName() ? profile.prototypes().find(name) : Prototype();
  if (!parent)
    parent = ProfileCatalog::instance().getPrototype(base);
  if (!parent)
    raise(ProfileError::InvalidBaseStereotype, base);
  return {parent, {}};
}

/// The resolvers that serve something; others are left over from references that are gone.
std::vector<ProfileResolver> resolversInUse(const tavo::Model& model) {
  auto resolvers = services::proxy::resolversOf<ProfileResolver>(model);
  std::erase_if(resolvers, [](const ProfileResolver& resolver) { return resolver.proxies().empty(); });
  return resolvers;
}

/// The profile of that name, loaded if need be; empty when it cannot be had.
Profile findProfile(const tavo::String& name) {
  try {
    return Profile::getProfile(ProfileCatalog::instance().loadProfileNamed(name));
  } catch (const tavo::Error&) {
    return {};
  }
}

/// Whether the references of `from` lead to `goal`, directly or through other profiles. What cannot be had leads
/// nowhere.
bool leadsTo(const Profile& from, const Profile& goal, std::set<tavo::String>& visited) {
  return std::ranges::any_of(from.getDependentProfiles(), [&](const tavo::String& name) {
    if (name == goal.getName())
      return true;
    const auto next = visited.insert(name).second ? findProfile(name) : Profile();
    return next && (next == goal || leadsTo(next, goal, visited));
  });
}

void requireNoCircle(const Profile& profile) {
  for (const auto& name : profile.getDependentProfiles())
    if (const auto dependency = ProfileCatalog::instance().getProfile(name))
      profile.checkProfileCircularDependency(dependency);
}

} // namespace

//----------------------------------------------------------------------------------------------------------------------
// Making and finding profiles

Profile Profile::createProfile(const tavo::Model& model, const tavo::String& name) {
  if (!isValidName(name))
    raise(ProfileError::InvalidProfileName, name);

  tavo::Transaction transaction(model);
  auto profile = Profile::create(model);
  static_cast<Impl&>(profile.object()).setP_Name(name);
  ProfileDirtyListener::of(profile);
  ProfileCatalog::instance().createBuiltInTypes(profile);
  transaction.commit();
  return profile;
}

Profile Profile::newProfile(const tavo::String& name) {
  return getProfile(ProfileCatalog::instance().createNewProfile(name));
}

Profile Profile::loadFromFile(const tavo::String& nameOrPath) {
  return getProfile(ProfileCatalog::instance().loadProfile(nameOrPath));
}

Profile Profile::findLoadedProfile(const tavo::String& name) { return ProfileCatalog::instance().getProfile(name); }

std::vector<tavo::String> Profile::getLoadedProfileNames() {
  return ProfileCatalog::instance().getLoadedProfileNames();
}

std::vector<Profile> Profile::getProfilesInCatalog() { return ProfileCatalog::instance().getProfilesInCatalog(); }

void Profile::unload(const tavo::String& name) {
  if (name.empty() || name == u"all")
    ProfileCatalog::instance().unloadAllProfiles();
  else
    ProfileCatalog::instance().unloadProfile(name);
}

Profile Profile::getProfile(const tavo::Model& model) { return model ? model.findTopLevel<Profile>() : Profile(); }

//----------------------------------------------------------------------------------------------------------------------
// Names

void Profile::Impl::setName(const tavo::String& name) {
  if (name.empty() || name == getP_Name())
    return;
  if (!isValidName(name))
    raise(ProfileError::InvalidProfileName, name);
  ProfileCatalog::instance().aboutToSetProfileName(getP_Name(), name);

  tavo::Transaction transaction(model());
  if (const auto identifier = ModelIdentifier::getModelIdentifier(model()))
    identifier.setURI(name);
  setP_Name(name);
  transaction.commit();
}

void Profile::Impl::checkPrototypeName(const tavo::String& name) const {
  if (getPrototypes().has(name))
    raise(ProfileError::NonUniquePrototypeName, name);
}

void Profile::Impl::checkPropertySetName(const tavo::String& name) const {
  if (getPropertySets().has(name))
    raise(ProfileError::NonUniquePrototypeName, name);
}

//----------------------------------------------------------------------------------------------------------------------
// Contents

Prototype Profile::Impl::addPrototype(const tavo::String& name, const tavo::String& base,
                                      const std::vector<tavo::String>& appliesTo) {
  if (!isValidName(name))
    raise(ProfileError::InvalidPrototypeName, name);
  const auto [parent, kind] = findBase(This(), base);
  if (parent)
    checkProfileCircularDependency(parent.getProfile());

  tavo::Transaction transaction(model());
  const auto prototype = Prototype::create(model());
  auto& object = static_cast<Prototype::Impl&>(prototype.object());
  prototype.setName(name);
  getPrototypesMutable().add(prototype);
  object.getP_PropertySetMutable().add(PropertySet::make(model(), name, false));
  if (parent)
    prototype.setParent(parent);
  if (!kind.empty())
    prototype.addAppliesTo(kind);
  for (const auto& each : appliesTo)
    prototype.addAppliesTo(each);
  object.getDefaultStereotypeMapMutable().add(DefaultStereotypeMap::create(model()));
  transaction.commit();
  return prototype;
}

PropertySet Profile::Impl::addPropertySet(const tavo::String& name) {
  if (!isValidName(name))
    raise(ProfileError::InvalidPropertySetName, name);
  checkPropertySetName(name);

  tavo::Transaction transaction(model());
  const auto set = PropertySet::make(model(), name, false);
  getPropertySetsMutable().add(set);
  transaction.commit();
  return set;
}

Tag Profile::Impl::addTag(const tavo::String& name) {
  tavo::Transaction transaction(model());
  const auto tag = Tag::create(model());
  tag.setName(name);
  getTagsMutable().add(tag);
  transaction.commit();
  return tag;
}

void Profile::Impl::setDefaultPrototype(const Prototype& prototype) {
  if (prototype == getDefaultArchPrototype())
    return;
  if (prototype && !prototype.appliesToKind(u"Component"))
    raise(ProfileError::InvalidComponentDefault);
  setDefaultArchPrototype(prototype);
}

//----------------------------------------------------------------------------------------------------------------------
// Files

void Profile::Impl::saveToFile(const tavo::String& path) { ProfileCatalog::instance().saveProfile(This(), path); }

void Profile::Impl::exportToPrevious(const tavo::String& path, const tavo::String& release) const {
  using namespace property::evolution;
  const fs::path target = tavo::toPath(path);
  const auto keepFileOf = [&](const Profile& profile) {
    std::error_code isNoFile; // then nothing of the profile is there
    if (!profile.filePath().empty() && fs::equivalent(target, tavo::toPath(profile.filePath()), isNoFile)) {
      const tavo::Error cause(ProfileError::ExportOverProfile, {profile.getName()});
      raiseBecause(cause, ProfileError::CannotExportToPrevious, getP_Name(), release, path);
    }
  };
  keepFileOf(Profile(handle().get()));
  std::ranges::for_each(ProfileCatalog::instance().getProfilesInCatalog(), keepFileOf);

  std::vector<tavo::evolution::Loss> losses;
  exportForRelease(model(), getP_Name(), target, release, Losses::accept, &losses);
  try {
    if (!losses.empty())
      warn(ProfileError::ReleaseLoses, release, losses.size(), summaryOf(losses));
  } catch (const std::exception&) {
    // The copy is there all the same.
  }
}

//----------------------------------------------------------------------------------------------------------------------
// Dependencies

std::vector<tavo::String> Profile::Impl::getDependentProfiles() const {
  std::vector<tavo::String> names;
  for (const auto& resolver : resolversInUse(model()))
    if (resolver.uRI() != getP_Name() && std::ranges::find(names, resolver.uRI()) == names.end())
      names.push_back(resolver.uRI());
  return names;
}

bool Profile::Impl::isDependentOnProfile(const tavo::String& name) const {
  const auto names = getDependentProfiles();
  return std::ranges::find(names, name) != names.end();
}

void Profile::Impl::checkProfileCircularDependency(const Profile& other) const {
  const Profile self(handle().get());
  std::set<tavo::String> visited;
  if (other && other != self && leadsTo(other, self, visited))
    raise(ProfileError::CircularProfileDependency, getP_Name(), other.getName());
}

void Profile::Impl::forceResolveDependentProfile() {
  for (const auto& resolver : resolversInUse(model())) {
    try {
      resolver.load();
    } catch (const tavo::Error& error) {
      raiseBecause(error, ProfileError::ProfileProxyResolveFailed, getP_Name(), resolver.uRI());
    }
  }
}

bool Profile::Impl::hasMissingArtifact() const {
  for (const auto& resolver : resolversInUse(model())) {
    try {
      resolver.load();
    } catch (const tavo::Error&) {
      return true; // whatever is wrong with it, it cannot be had
    }
    if (std::ranges::any_of(resolver.proxies().toVector(), [](const auto& target) { return !target.findElement(); }))
      return true;
  }
  return std::ranges::any_of(getPrototypes().toVector(), &Prototype::hasMissingArtifact) ||
         std::ranges::any_of(getPropertySets().toVector(), &PropertySet::hasMissingArtifact);
}

//----------------------------------------------------------------------------------------------------------------------
// Health

void Profile::Impl::checkHealth() {
  try {
    for (const auto& prototype : getPrototypes().toVector())
      prototype.checkHealth();
    requireNoCircle(This());
    setHealthCheckErrorOnLoad({});
  } catch (const tavo::Error& error) {
    // A profile with a fault is still of use, to repair it for one.
    setHealthCheckErrorOnLoad(error.message());
    warnBecause(error, ProfileError::ErrorLoadingProfile, getP_Name());
  }
}

bool Profile::Impl::getIsUnhealthyOnLoad() const { return !getHealthCheckErrorOnLoad().empty(); }

} // namespace zelkor::profile
