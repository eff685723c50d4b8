#include "zelkor/evolution/ReleaseRegistry.h"

#include "tavo/evolution/Evolution.h"
#include "tavo/meta/MetaRegistry.h"
#include "zelkor/meta/package.h"
#include "zelkor/services/package.h"

#include <algorithm>

namespace zelkor {
namespace {

struct Release {
  std::u16string_view label;
  std::string_view property, services; ///< the versions of both families; empty for those of this build
};

/// The oldest first. The first two came before versions had numbers.
constexpr Release table[] = {{u"Plover", "Plover", "Plover"},
                             {u"Linnet", "Linnet", "Linnet"},
                             {u"Thrush", "2.2", "1.0"},
                             {u"Oriole", "2.6", "1.1"},
                             {u"Avocet", {}, {}}};

[[maybe_unused]] const bool registered = [] {
  std::vector<std::pair<std::string_view, std::string_view>> versions;
  for (const Release& release : table)
    versions.emplace_back(release.property, release.services);
  return tavo::evolution::registerReleases("zelkor_property", "zelkor_services_proxy", std::move(versions));
}();

std::vector<FamilyRelease> releasesOf(const tavo::PackageDecl& family, std::string_view Release::*version) {
  const auto present = tavo::String::fromUtf8(tavo::MetaRegistry::parseUri(family.uri).version);
  std::vector<FamilyRelease> releases;
  for (const Release& release : table)
    releases.push_back(
        {release.label, (release.*version).empty() ? present : tavo::String::fromUtf8(release.*version)});
  return releases;
}

tavo::String versionIn(const std::vector<FamilyRelease>& releases, const tavo::String& label) {
  const auto found = std::ranges::find(releases, label.view(), &FamilyRelease::release);
  return found == releases.end() ? tavo::String() : found->version;
}

} // namespace

namespace property::evolution {

const std::vector<FamilyRelease>& ReleaseRegistry::releases() {
  static const auto releases = releasesOf(zelkor_property::package(), &Release::property);
  return releases;
}

tavo::String ReleaseRegistry::getFamilyVersionForKavraRelease(const tavo::String& release) {
  return versionIn(releases(), release);
}

} // namespace property::evolution

namespace services::proxy::evolution {

const std::vector<FamilyRelease>& ReleaseRegistry::releases() {
  static const auto releases = releasesOf(zelkor_services_proxy::package(), &Release::services);
  return releases;
}

tavo::String ReleaseRegistry::getFamilyVersionForKavraRelease(const tavo::String& release) {
  return versionIn(releases(), release);
}

} // namespace services::proxy::evolution
} // namespace zelkor
