#include "zelkor/profile/ProfileListener.h"

#include "zelkor/profile/Profile.impl.h"

#include <system_error>

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

void ProfileDirtyListener::setFile(std::filesystem::path path, const std::optional<tavo::Fingerprint>& seen) noexcept {
  path_ = std::move(path);
  seen_ = seen;
}

tavo::Expectation ProfileDirtyListener::expectationFor(const std::filesystem::path& path) const {
  if (!seen_ || path.lexically_normal() != path_.lexically_normal())
    return tavo::Expectation::anything();
  try {
    // Where nothing stands any more, nothing can be lost.
    if (!tavo::FileSystem::current().find(path))
      return tavo::Expectation::nothing();
  } catch (const std::system_error&) {
    // Whoever saves will find the same, and say so.
  }
  return tavo::Expectation::unchanged(*seen_);
}

} // namespace zelkor::profile
