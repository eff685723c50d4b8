// What profiles, and the models that use them, keep while they are in memory.
#pragma once

#include "tavo/io/FileSystem.h"
#include "tavo/model/Model.h"
#include "zelkor/Export.h"

#include <memory>
#include <optional>

namespace zelkor::profile {

class Profile;
class ProfileListener;

/// Keeps a profile's knowledge of its file true: any change of the model makes the profile dirty, a new name takes it
/// off its file.
class ZELKOR_EXPORT ProfileDirtyListener {
public:
  /// The listener that the profile owns; it gets one if it has none yet.
  static std::shared_ptr<ProfileDirtyListener> of(const Profile& profile);

  /// After reading or writing: what the file was like then.
  void setFile(std::filesystem::path path, const std::optional<tavo::Fingerprint>& seen) noexcept;
  /// What may stand at the path where the profile is going to be saved: its own file only as the profile knows it, for
  /// others may have worked on it meanwhile.
  tavo::Expectation expectationFor(const std::filesystem::path& path) const;

private:
  void hear(const Profile& profile);

  tavo::ListenerToken token_;
  tavo::String name_;
  std::filesystem::path path_;
  std::optional<tavo::Fingerprint> seen_;
};

} // namespace zelkor::profile
