// What profiles, and the models that use them, keep while they are in memory.
#pragma once

#include "tavo/model/Model.h"
#include "zelkor/Export.h"
#include "zelkor/framework/KnownFile.h"

#include <memory>
#include <utility>
#include <vector>

namespace zelkor::profile {

class Profile;
class ProfileNamespace;

/// Keeps a profile's knowledge of its file true: any change of the model makes the profile dirty, a new name takes it
/// off its file.
class ZELKOR_EXPORT ProfileDirtyListener {
public:
  /// The listener that the profile owns; it gets one if it has none yet.
  static std::shared_ptr<ProfileDirtyListener> of(const Profile& profile);

  /// The profile's file.
  KnownFile& file() { return file_; }

private:
  void hear(const Profile& profile);

  tavo::ListenerToken token_;
  tavo::String name_;
  KnownFile file_;
};

/// Tells a model that a profile which it uses is no longer what its usages were made from.
class ZELKOR_EXPORT ProfileListener {
public:
  explicit ProfileListener(const ProfileNamespace& listening);
  ProfileListener(const ProfileListener&) = delete;
  ProfileListener& operator=(const ProfileListener&) = delete;

  /// Nothing when it listens to the profile already.
  void listenTo(const Profile& profile);
  void stopListeningTo(const Profile& profile);

private:
  tavo::ModelElement namespace_;
  std::vector<std::pair<tavo::Uuid, tavo::ListenerToken>> profiles_; ///< by the identity of the profile
};

} // namespace zelkor::profile
