// Reading profiles into the catalog, and saving them.
#include "tavo/core/Errors.h"
#include "tavo/xml/ModelXml.h"
#include "zelkor/framework/Diagnostics.h"
#include "zelkor/framework/Errors.h"
#include "zelkor/framework/HostNames.h"
#include "zelkor/profile/Profile.impl.h"
#include "zelkor/profile/ProfileCatalog.h"
#include "zelkor/profile/ProfileListener.h"
#include "zelkor/property/UnitQueryClientWrapper.h"
#include "zelkor/services/ModelEventBroadcastSystem.h"
#include "zelkor/services/ModelIdentifier.impl.h"
#include "zelkor/services/ModelResolvers.h"
#include "zelkor/services/ProxyTarget.h"

#include <algorithm>
#include <system_error>

namespace zelkor::profile {

using services::ModelEventBroadcastSystem;
using services::ModelEventType;
using services::proxy::ModelIdentifier;

namespace {

namespace fs = std::filesystem;

const fs::path extension = ".xml";

tavo::String textOf(const fs::path& path) { return tavo::String::fromUtf8(path.native()); }

/// About what is at a path; nothing also when the system does not say.
std::optional<tavo::FileInfo> lookAt(const fs::path& path) {
  try {
    return tavo::FileSystem::current().find(path);
  } catch (const std::system_error&) {
    return {};
  }
}

/// The one profile that a file has to hold.
Profile soleProfile(const tavo::Model& model, const fs::path& path) {
  Profile found;
  for (const auto& element : model.topLevel()) {
    const auto profile = element.as<Profile>();
    if (profile && found)
      raise(ProfileError::NotAProfile, path.native());
    if (profile)
      found = profile;
  }
  if (!found)
    raise(ProfileError::NotAProfile, path.native());
  return found;
}

/// Makes a freshly read profile known by the name of its file, which is what others look for.
void nameAfterFile(const Profile& profile, const fs::path& path) {
  const tavo::String name = textOf(path.stem());
  const tavo::String stored = profile.getName();
  const auto model = profile.model();
  for (const auto& resolver : services::proxy::resolversOf<ProfileResolver>(model))
    if (resolver.uRI() == stored)
      resolver.setURI(name);
  const auto identifier = ModelIdentifier::createModelIdentifier(model, u"profile", name);
  static_cast<ModelIdentifier::Impl&>(identifier.object()).setModelType(u"profile");
  if (stored == name)
    return;
  static_cast<Profile::Impl&>(profile.object()).setP_Name(name);
  warn(ProfileError::ProfileNameDiffersFromFile, stored, name, path.native());
}

} // namespace

/// One call to load something, with all calls that it makes necessary inside. What has been read in one that fails goes
/// again; what the outermost one has read is finished and announced when everything is there.
class ProfileCatalog::LoadAttempt {
public:
  explicit LoadAttempt(ProfileCatalog& catalog)
      : catalog_(catalog), outer_(std::exchange(catalog.attempt_, this)), arrivedBefore_(catalog.arrived_.size()),
        completeBefore_(catalog.complete_.size()) {}
  LoadAttempt(const LoadAttempt&) = delete;
  LoadAttempt& operator=(const LoadAttempt&) = delete;
  ~LoadAttempt() {
    catalog_.attempt_ = outer_;
    if (!succeeded_)
      takeBack();
  }

  void arrived(const tavo::String& name, const tavo::Model& model) {
    catalog_.arrived_.push_back(model);
    catalog_.enter(name, model);
  }
  void succeed(const tavo::Model& model) {
    catalog_.complete_.push_back(model);
    if (!outer_)
      finish();
    succeeded_ = true;
  }

private:
  /// Checks may follow references to still other profiles, which then come after these.
  void finish() {
    for (std::size_t i = 0; i < catalog_.complete_.size(); ++i)
      catalog_.finishLoading(tavo::Model(catalog_.complete_[i]));
    for (const auto& model : catalog_.complete_)
      catalog_.bindReferences(Profile::getProfile(model));

    const auto complete = std::exchange(catalog_.complete_, {});
    catalog_.arrived_.clear();
    catalog_.attempt_ = nullptr; // who hears of it may load more
    succeeded_ = true;
    for (const auto& model : complete)
      announce(model);
  }

  static void announce(const tavo::Model& model) {
    const auto profile = Profile::getProfile(model);
    if (!profile) // who heard of another one has unloaded it
      return;
    try {
      ModelEventBroadcastSystem::instance().triggerEvent(ModelEventType::profileLoaded, profile.getName(), profile);
    } catch (const std::exception& error) {
      reportWarning(error); // it is loaded all the same
    }
  }

  void takeBack() noexcept {
    while (catalog_.arrived_.size() > arrivedBefore_) {
      const auto model = catalog_.arrived_.back();
      std::erase_if(catalog_.loaded_, [&](const auto& each) { return each.second.model == model; });
      catalog_.arrived_.pop_back();
      model.destroy();
    }
    catalog_.complete_.resize(std::min(completeBefore_, catalog_.complete_.size()));
  }

  ProfileCatalog& catalog_;
  LoadAttempt* const outer_;
  const std::size_t arrivedBefore_, completeBefore_;
  bool succeeded_ = false;
};

//----------------------------------------------------------------------------------------------------------------------
// Loading

fs::path ProfileCatalog::getFullPath(const tavo::String& nameOrPath) const {
  fs::path path = tavo::toPath(nameOrPath);
  if (!path.is_absolute()) {
    const auto found =
        kavra::isHostAvailable() ? kavra::host().searchPath().find(path.stem() += extension) : std::nullopt;
    std::error_code noWorkingFolder; // then there is no such file either
    path = found ? *found : fs::absolute(path, noWorkingFolder);
  }
  if (!path.has_extension())
    path += extension;
  return path;
}

tavo::Model ProfileCatalog::loadProfile(const tavo::String& nameOrPath) {
  const fs::path asked = tavo::toPath(nameOrPath);
  const tavo::String name = textOf(asked.stem());
  if (!isValidName(name))
    raise(ProfileError::InvalidProfileName, name);
  if (asked.extension() == ".apfx")
    raise(ProfileError::APFXExtensionDeprecated);
  if (auto present = modelOf(name))
    return present;

  LoadAttempt attempt(*this);
  const auto model = readFile(getFullPath(nameOrPath));
  attempt.arrived(name, model);
  resolveDependentProfiles(Profile::getProfile(model));
  attempt.succeed(model);
  return model;
}

tavo::Model ProfileCatalog::loadProfileNamed(const tavo::String& name) {
  if (!isValidName(name))
    raise(ProfileError::InvalidProfileName, name);
  return loadProfile(name);
}

tavo::Model ProfileCatalog::readFile(const fs::path& path) const {
  const auto model = tavo::Model::create();
  tavo::Fingerprint seen;
  try {
    seen = tavo::loadModel(path, model);
  } catch (const tavo::Error& error) {
    if (error.id() == tavo::FrameworkError::FileNotFound)
      raiseBecause(error, ProfileError::ProfileNotFound, path.native());
    if (error.id() == tavo::FrameworkError::InvalidFamilyVersion)
      raiseBecause(error, ProfileError::CannotLoadFutureVersion, path.native(), error.arguments().front());
    throw;
  }

  const auto profile = soleProfile(model, path);
  nameAfterFile(profile, path);
  leadResolversToRenamed(model);
  model.clearHistory();
  profile.setFilePath(textOf(path));
  profile.setDirty(false);
  ProfileDirtyListener::of(profile)->file().set(path, seen);
  return model;
}

void ProfileCatalog::nameResolversAfterProfiles(const tavo::Model& model) {
  if (!model.isOpenForWriting())
    return;
  for (const auto& resolver : services::proxy::resolversOf<ProfileResolver>(model)) {
    const auto referenced = Profile::getProfile(resolver.getReferencedModel());
    if (!referenced || referenced.getName() == resolver.uRI() ||
        !services::proxy::hasTargetOf(resolver, referenced.model()))
      continue;
    const tavo::UnloggedUpdate following(model);
    resolver.setURI(referenced.getName());
  }
}

void ProfileCatalog::leadResolversToRenamed(const tavo::Model& model) const {
  for (const auto& resolver : services::proxy::resolversOf<ProfileResolver>(model)) {
    const tavo::String uri = resolver.uRI();
    if (!isValidName(uri) || isProfileLoaded(uri) || lookAt(getFullPath(uri)))
      continue;
    // There is no profile of that name any more; one that holds the targets has got another since.
    for (const auto& [name, entry] : loaded_) {
      if (entry.model && services::proxy::hasTargetOf(resolver, entry.model) &&
          !ProfileResolver::findModelResolver(model, name)) {
        resolver.setURI(name);
        break;
      }
    }
  }
}

void ProfileCatalog::resolveDependentProfiles(const Profile& profile) {
  for (const auto& name : profile.getDependentProfiles()) {
    if (isProfileLoaded(name))
      continue;
    try {
      loadProfileNamed(name);
    } catch (const tavo::Error& error) {
      raiseBecause(error, ProfileError::MissingDependentProfile, name);
    }
  }
}

void ProfileCatalog::finishLoading(const tavo::Model& model) {
  const auto profile = Profile::getProfile(model);
  profile.checkHealth();
  property::UnitQueryClientWrapper::get(model);
  migrateBuiltInTypes(profile);
  // Nothing of this is the user's doing.
  model.clearHistory();
  profile.setDirty(false);
}

//----------------------------------------------------------------------------------------------------------------------
// Saving

void ProfileCatalog::saveProfile(const Profile& profile, const tavo::String& path) {
  const tavo::String wanted = !path.empty()                 ? path
                              : !profile.filePath().empty() ? profile.filePath()
                                                            : tavo::concat(profile.getName(), textOf(extension));
  std::error_code noWorkingFolder; // which is then said of the file
  const fs::path target = fs::absolute(tavo::toPath(wanted), noWorkingFolder);
  const auto listener = ProfileDirtyListener::of(profile);
  soleProfile(profile.model(), target); // what could not be loaded again is not saved
  nameResolversAfterProfiles(profile.model());

  // Once the file is there, nothing may keep the profile from knowing it.
  const tavo::String filePath = textOf(target);
  const auto nowIsInFile = [&] {
    profile.setFilePath(filePath);
    profile.setDirty(false);
  };
  try {
    listener->file().save(profile.model(), target);
  } catch (const tavo::Error& error) {
    if (error.id() == tavo::FrameworkError::SavedButNotSynced)
      nowIsInFile();
    throw;
  }
  nowIsInFile();
}

} // namespace zelkor::profile
