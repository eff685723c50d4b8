// The profiles of the process: found by name, read once, kept until they are unloaded.
#pragma once

#include "tavo/core/String.h"
#include "tavo/model/Model.h"
#include "zelkor/Export.h"
#include "zelkor/profile/Profile.h"
#include "zelkor/profile/ProfileResolver.h"
#include "zelkor/profile/Prototype.h"

#include <filesystem>
#include <map>
#include <unordered_map>
#include <vector>

namespace zelkor::internal {
class Prototypable;
}

namespace zelkor::profile {

/// One per process, on the thread that owns the models. It owns the models of the loaded profiles; the name of a
/// profile is its key and follows every committed renaming.
class ZELKOR_EXPORT ProfileCatalog {
public:
  /// Made on first use and never destroyed.
  static ProfileCatalog& instance();
  ProfileCatalog(const ProfileCatalog&) = delete;
  ProfileCatalog& operator=(const ProfileCatalog&) = delete;

  // Loading

  /// Where a profile of that name or path is read from: an absolute path as it is; else the file of that stem on the
  /// host's search path, else in the working folder. ".xml" is added where there is no extension.
  std::filesystem::path getFullPath(const tavo::String& nameOrPath) const;
  /// The model of a profile and of all that it depends on, loaded unless they are already. Raises InvalidProfileName,
  /// APFXExtensionDeprecated, ProfileNotFound, CannotLoadFutureVersion, NotAProfile, MissingDependentProfile, or what
  /// the framework says about the file. Then the catalog is as it was, and nothing has been announced.
  tavo::Model loadProfile(const tavo::String& nameOrPath);
  /// The same for a name that comes out of a file, where a path would be a trick: raises InvalidProfileName for it.
  tavo::Model loadProfileNamed(const tavo::String& name);
  /// Reads one file into a new model, outside of the catalog.
  tavo::Model readFile(const std::filesystem::path& path) const;
  /// Loads what the profile refers to. Raises MissingDependentProfile with the cause.
  void resolveDependentProfiles(const Profile& profile);

  /// An empty profile. Raises InvalidProfileName or ProfileAlreadyExists.
  tavo::Model createNewProfile(const tavo::String& name);
  /// Takes over a profile that was made elsewhere, with its model. Raises InvalidProfileName or ProfileAlreadyExists.
  void addProfile(const Profile& profile);
  /// Saves to the path, else to the profile's file, else under its name in the working folder. Raises what the
  /// framework says about the file, FileChangedOnDisk for one among them that somebody else has written meanwhile.
  void saveProfile(const Profile& profile, const tavo::String& path);

  /// False when no profile of that name is loaded.
  bool unloadProfile(const tavo::String& name);
  void unloadAllProfiles();
  /// Lets go of what is behind a resolver, and behind those of all loaded profiles that lead to the same profile. The
  /// references stay and bind again when the profile is back.
  void removeReferencesToProfile(const ProfileResolver& resolver);

  // Names

  /// Before a profile is renamed: raises ProfileAlreadyExists when the new name is taken. Keys and references of other
  /// models follow when the name is committed.
  void aboutToSetProfileName(const tavo::String& oldName, const tavo::String& newName) const;
  /// Gives the resolvers of a model the names that their profiles have by now, also those that undo or redo has brought
  /// back with a name of before. Leaves no step: one that could be undone would make references lead nowhere.
  static void nameResolversAfterProfiles(const tavo::Model& model);
  /// Leads the resolvers whose profile has no file any more to the loaded one that has what they refer to: it has got
  /// another name since.
  void leadResolversToRenamed(const tavo::Model& model) const;

  // Queries; what is not there is an empty handle.

  bool isProfileLoaded(const tavo::String& name) const;
  Profile getProfile(const tavo::String& name) const;
  std::vector<tavo::String> getLoadedProfileNames() const;
  std::vector<Profile> getProfilesInCatalog() const;
  Prototype getPrototype(const tavo::String& fullyQualifiedName) const;
  /// All loaded stereotypes that have the given one among their ancestors.
  std::vector<Prototype> getDerivedPrototypes(const tavo::String& fullyQualifiedName) const;
  /// The same; those of the stereotype's own profile count even when that is in no catalog yet. Loads nothing.
  std::vector<Prototype> loadedDescendants(const Prototype& ancestor) const;
  /// "MIXIN" for a stereotype without parent and for "MIXIN" itself, else the parent's fully qualified name. Raises
  /// ProfileNotInitialized.
  tavo::String getDefaultParentPrototypeFQN(const tavo::String& fullyQualifiedName) const;
  /// A profile with a fault, or with one in what it depends on; a dependency that is not loaded counts as faulty.
  bool getIsThisOrAnyDependentProfileUnhealthyOnLoad(const Profile& profile) const;
  bool allProfilesReadyForImport(const std::vector<Profile>& profiles) const;

  /// A line for each stereotype that the element carries, missing ones included; one that says so when there is none.
  std::vector<tavo::String> getStereotypeReportForTooltip(const internal::Prototypable& element) const;

  // The stereotype that new elements of a class of the host get, until the process ends

  /// The class whose default the stereotype is, or empty.
  tavo::String getDefaultPrototypeClass(const tavo::String& fullyQualifiedName) const;
  bool isDefaultPrototype(const tavo::String& fullyQualifiedName) const;
  /// An empty stereotype takes the class's default away.
  void setDefaultPrototype(const tavo::String& className, const tavo::String& fullyQualifiedName);

  // Built-in types

  void createBuiltInTypes(const Profile& profile) const;
  /// Adds the built-in types that the release which wrote the profile did not have yet.
  void migrateBuiltInTypes(const Profile& profile) const;

  /// Prints names to the standard output, for people who look for a fault.
  void dumpLoaded() const;

private:
  struct Entry {
    tavo::String name; ///< the key
    tavo::Model model;
    tavo::ListenerToken follower;
    tavo::String refused; ///< a name that it came to have and could not be filed under
  };
  class LoadAttempt;
  using Entries = std::map<tavo::String, Entry, std::less<>>;

  ProfileCatalog() = default;
  ~ProfileCatalog() = default;
  /// Empty when no profile of that name is loaded.
  tavo::Model modelOf(std::u16string_view name) const;
  void enter(const tavo::String& name, const tavo::Model& model);
  /// Unbinds what models refer to in the profile of that name.
  void letGoOf(const tavo::String& name) const;
  /// Binds what other models refer to in a profile that has come, or come back, and what it refers to itself. Models
  /// that use it listen to it.
  void bindReferences(const Profile& profile) const;
  void followName(Entry& entry);
  void followInDefaults(const tavo::String& oldName, const tavo::String& newName);
  void finishLoading(const tavo::Model& model);
  bool isUnhealthy(const Profile& profile, std::vector<Profile>& visited) const;

  Entries loaded_;
  std::unordered_map<tavo::String, tavo::String> defaultOfClass_; ///< class name -> stereotype
  std::unordered_map<tavo::String, tavo::String> classOfDefault_; ///< and back
  bool initialised_ = true;
  LoadAttempt* attempt_ = nullptr;    ///< the innermost one
  std::vector<tavo::Model> arrived_;  ///< read by the running attempts, in the order of reading
  std::vector<tavo::Model> complete_; ///< those whose dependencies are there, too
};

} // namespace zelkor::profile
