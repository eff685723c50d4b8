#include "zelkor/profile/ProfileListener.h"

#include "zelkor/profile/Profile.impl.h"
#include "zelkor/profile/ProfileNamespace.impl.h"

namespace zelkor::profile {

std::shared_ptr<ProfileDirtyListener> ProfileDirtyListener::of(const Profile& profile) {
  auto& object = static_cast<Profile::Impl&>(profile.object());
  if (const auto& present = object.getP_DirtyListener())
    return present;
  auto listener = std::make_shared<ProfileDirtyListener>();
  listener->name_ = profile.getName();
  // Neither keeps the other alive: the profile owns the listener, and a destroyed profile only leaves an empty handle.
  listener->token_ = profile.model().addShallowListener([profile, weak = std::weak_ptr(listener)] {
    if (const auto self = weak.lock(); self && profile)
      self->hear(profile);
  });
  object.setP_DirtyListener(listener);
  return listener;
}

void ProfileDirtyListener::hear(const Profile& profile) {
  profile.setDirty(true);
  if (profile.p_Name() == name_)
    return;
  name_ = profile.p_Name();
  profile.setFilePath({});
}

//----------------------------------------------------------------------------------------------------------------------
// Of the models that use a profile

ProfileListener::ProfileListener(const ProfileNamespace& listening) : namespace_(listening) {}

void ProfileListener::listenTo(const Profile& profile) {
  stopListeningTo(profile); // one that was unloaded has the same identity when it is back
  profiles_.emplace_back(profile.Uuid(), profile.model().addShallowListener([this, profile] {
    if (!namespace_ || !profile)
      return;
    auto& profiles = static_cast<ProfileNamespace::Impl&>(namespace_.object());
    if (profiles.uses(profile)) // it may have been removed, which can be undone
      profiles.setP_IsProfileOutdated(true);
  }));
}

void ProfileListener::stopListeningTo(const Profile& profile) {
  std::erase_if(profiles_, [&](const auto& each) { return each.first == profile.Uuid(); });
}

} // namespace zelkor::profile
