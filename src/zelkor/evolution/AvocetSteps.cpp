// 2.8 brought versions of defaults, so that a change is seen without a comparison, and the index of elements by
// stereotype.
#include "zelkor/evolution/PropertyRecords.h"

#include <algorithm>

namespace zelkor::property::evolution {
namespace {

void addCaches(Document& document) {
  const auto& r = records();
  const auto& cache = library("profile.PrototypeToPrototypableCache");
  const auto& entry = library("profile.PrototypeToPrototypableCacheEntry");
  document.each(r.profiles, [&](Object& profiles) {
    auto& made = document.add(cache, &profiles, &r.profiles.feature("p_PrototypeToPrototypableCache"),
                              tavo::nameUuid(profiles.uuid, cache.qualifiedName));
    for (const auto* usage : profiles.childrenIn(library("property.PropertySetOwner").feature("p_PropertySets"))) {
      const auto name = usage->text(r.name);
      document.set(document.add(entry, &made, &cache.feature("p_Entries"), tavo::nameUuid(made.uuid, name)),
                   entry.feature("p_PrototypeName"), name);
    }
  });
}

/// The types of a set become those of its profile, so that the properties that have them keep them.
void giveTypesToProfiles(Document& document, Account& account) {
  const auto& r = records();
  std::vector<Object*> types;
  document.each(r.type, [&](Object& type) {
    if (type.in == &r.set.feature("valueTypes"))
      types.push_back(&type);
  });
  for (auto* type : types) {
    auto* profile = type->owner;
    while (profile && !profile->isA(r.profile))
      profile = profile->owner;
    if (!profile)
      continue; // then it is left out
    account.note(*type, type->record->name(), "becomes one of the profile");
    document.move(*type, profile, &r.profile.feature("valueTypes"));
  }
}

void withoutVersions(Document& document, Account& account) {
  giveTypesToProfiles(document, account);
  const auto& r = records();
  const auto& cache = library("profile.PrototypeToPrototypableCache");
  document.each([&](Object& object) {
    if (object.isA(cache))
      document.remove(object);
    else if (object.isA(r.definition))
      Document::clear(object, r.definition.feature("currentVersionId"));
    else if (object.isA(r.usage))
      Document::clear(object, r.usage.feature("lastDefVersionSynced"));
  });
}

constexpr Step step{.to = "2.8", .up = &addCaches, .down = &withoutVersions};
[[maybe_unused]] const bool registered = registerSteps("zelkor_property", {&step, 1});

} // namespace
} // namespace zelkor::property::evolution
