#include "zelkor/evolution/ReleaseRegistry.h"

#include "tavo/meta/MetaRegistry.h"
#include "zelkor/meta/package.h"
#include "zelkor/services/package.h"

#include <algorithm>

namespace zelkor {
namespace {

/// The version that this build writes, which is that of the package.
tavo::String presentVersion(const tavo::PackageDecl& package) {
  return tavo::String::fromUtf8(tavo::MetaRegistry::parseUri(package.uri).version);
}

tavo::String versionIn(const std::vector<FamilyRelease>& releases, const tavo::String& label) {
  const auto found = std::ranges::find(releases, label.view(), &FamilyRelease::release);
  return found == releases.end() ? tavo::String() : found->version;
}

} // namespace

namespace property::evolution {

const std::vector<FamilyRelease>& ReleaseRegistry::releases() {
  // The first two releases came before versions had numbers.
  static const std::vector<FamilyRelease> table{{u"Plover", u"Plover"},
                                                {u"Linnet", u"Linnet"},
                                                {u"Thrush", u"2.2"},
                                                {u"Oriole", u"2.6"},
                                                {u"Avocet", presentVersion(zelkor_property::package())}};
  return table;
}

tavo::String ReleaseRegistry::getFamilyVersionForKavraRelease(const tavo::String& release) {
  return versionIn(releases(), release);
}

} // namespace property::evolution

namespace services::proxy::evolution {

const std::vector<FamilyRelease>& ReleaseRegistry::releases() {
  static const std::vector<FamilyRelease> table{{u"Plover", u"Plover"},
                                                {u"Linnet", u"Linnet"},
                                                {u"Thrush", u"1.0"},
                                                {u"Oriole", u"1.1"},
                                                {u"Avocet", presentVersion(zelkor_services_proxy::package())}};
  return table;
}

tavo::String ReleaseRegistry::getFamilyVersionForKavraRelease(const tavo::String& release) {
  return versionIn(releases(), release);
}

} // namespace services::proxy::evolution
} // namespace zelkor
