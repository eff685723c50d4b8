// A place to work with profiles: a folder of its own on the search path, a host that keeps what is reported to it, and
// an empty catalog before and after.
#pragma once

#include "tests/support/ErrorMatchers.h"

#include "kavra/standalone/StandaloneHost.h"
#include "tavo/core/Uuid.h"
#include "tavo/model/Transaction.h"
#include "tavo/xml/ModelXml.h"
#include "zelkor/profile/Profile.h"
#include "zelkor/profile/ProfileCatalog.h"
#include "zelkor/profile/Prototype.h"
#include "zelkor/property/PropertyDefinition.h"
#include "zelkor/property/PropertySet.h"
#include "zelkor/services/ModelEventBroadcastSystem.h"

#include <gtest/gtest.h>

#include <concepts>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace zelkor::profile {

namespace fs = std::filesystem;

using Texts = std::vector<tavo::String>;

inline tavo::String text(const std::string& utf8) { return tavo::String::fromUtf8(utf8); }
template <std::same_as<fs::path> Path>
inline tavo::String text(const Path& path) {
  return tavo::String::fromUtf8(path.native());
}

class ProfileFixture : public testing::Test {
protected:
  ProfileFixture() : before_(fs::current_path()) {
    fs::create_directory(folder_);
    // The working folder is not the one on the path, so that it shows which of them a file comes from.
    fs::create_directory(workingFolder());
    fs::current_path(workingFolder());
    ProfileCatalog::instance().unloadAllProfiles();
  }
  ~ProfileFixture() override {
    ProfileCatalog::instance().unloadAllProfiles();
    fs::current_path(before_);
    fs::remove_all(folder_);
  }
  void TearDown() override {
    for (const auto& each : catalog().getProfilesInCatalog())
      tavo::checkInvariants(each.model());
  }

  fs::path workingFolder() const { return folder_ / "working"; }
  fs::path file(const std::string& name) const { return folder_ / name; }
  static std::string contentOf(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
  }
  static void write(const fs::path& path, std::string_view content) {
    std::ofstream(path, std::ios::binary) << content;
  }

  static ProfileCatalog& catalog() { return ProfileCatalog::instance(); }
  static Prototype add(const Profile& profile, const char16_t* name, const tavo::String& base = {}) {
    return profile.addPrototype(name, base, {});
  }
  /// Saves under its name where it is found by name.
  void save(const Profile& profile) const { profile.saveToFile(text(folder_ / (profile.getName().toUtf8() + ".xml"))); }
  /// "Parent" with the stereotype "Base", and "Child" with "Derived" below it, both saved and no longer loaded.
  void saveParentAndChild() const {
    const auto parent = Profile::newProfile(u"Parent");
    add(parent, u"Base");
    const auto child = Profile::newProfile(u"Child");
    add(child, u"Derived", u"Parent.Base");
    save(parent);
    save(child);
    catalog().unloadAllProfiles();
  }
  /// The same in files of a release.
  void saveParentAndChildFor(const tavo::String& release) const {
    saveParentAndChild();
    for (const auto* name : {u"Parent", u"Child"}) {
      const auto profile = Profile::loadFromFile(name);
      profile.exportToPrevious(text(folder_ / "copy"), release);
      fs::rename(folder_ / "copy", tavo::toPath(profile.filePath()));
    }
    catalog().unloadAllProfiles();
  }
  /// The identifiers of the reports since the last call.
  std::vector<std::string> reported() {
    std::vector<std::string> ids;
    for (const auto& diagnostic : diagnostics_->diagnostics)
      ids.push_back(diagnostic.id);
    diagnostics_->diagnostics.clear();
    return ids;
  }

  const fs::path folder_ = fs::path(testing::TempDir()) / ("zelkor-" + tavo::toText(tavo::randomUuid()));
  const std::shared_ptr<kavra::RecordingDiagnostics> diagnostics_ = std::make_shared<kavra::RecordingDiagnostics>();

private:
  std::shared_ptr<kavra::Host> makeHost() const {
    auto parts = kavra::makeStandaloneHost()->parts();
    parts.searchPath = std::make_shared<kavra::SearchPath>(std::vector{folder_});
    parts.diagnostics = diagnostics_;
    return std::make_shared<kavra::Host>(std::move(parts));
  }

  const fs::path before_;
  const kavra::ScopedHost host_{makeHost()};
};

} // namespace zelkor::profile
