#include "zelkor/profile/ProfileUseChecker.impl.h"

#include "tavo/model/Transaction.h"
#include "zelkor/profile/Profile.h"
#include "zelkor/profile/ProfileNamespace.impl.h"
#include "zelkor/profile/Prototype.h"
#include "zelkor/property/PropertyDefinition.h"
#include "zelkor/property/PropertySet.h"
#include "zelkor/property/PropertySetUsage.h"
#include "zelkor/property/PropertyUsage.impl.h"
#include "zelkor/services/Proxies.h"

#include <boost/unordered/unordered_flat_map.hpp>

#include <algorithm>
#include <initializer_list>
#include <set>

namespace zelkor::profile {

using property::PropertyDefinition;
using property::PropertySetUsage;
using property::PropertyUsage;
using services::proxy::ProxySource;
using services::proxy::targetIdOf;

namespace {

using Names = std::vector<tavo::String>;

/// The comparison of one model with its profiles. Everything is told apart by identity: a new name is a new name, and
/// never one thing gone and another come.
class Comparison {
public:
  explicit Comparison(const ProfileNamespace& profiles) : namespace_(profiles) {
    for (const auto& source : profiles.profileProxy())
      take(source);
    for (const auto& source : profiles.p_DependentProfileProxy())
      take(source);
    for (const auto& usage : profiles.p_PropertySets())
      usages_.emplace(targetIdOf(usage.propertySetProxy()), usage);
  }

  void run() {
    for (const auto& usage : namespace_.p_PropertySets())
      compare(usage);
    for (const auto& [set, prototype] : prototypes_)
      if (!usages_.contains(set))
        addedPrototypes.push_back(prototype.getFullyQualifiedName());
    std::ranges::sort(addedPrototypes);
    for (const auto& [definition, name] : added_)
      if (!moved_.contains(definition))
        addedProperties.push_back(name);
  }

  Names deletedPrototypes, deletedProperties, addedProperties, addedPrototypes, parentChanged, renamedProperties,
      renamedPrototypes, missingProfiles, movedProperties, changedProperties;

private:
  void take(const ProxySource& source) {
    const auto profile = services::proxy::findTarget<Profile>(source);
    if (!profile || static_cast<const ProfileNamespace::Impl&>(namespace_.object()).isReplaced(profile)) {
      missingProfiles.push_back(source.getResolver() ? source.getResolver().uRI() : source.getTargetName());
      return;
    }
    present_.insert(source.getResolver().uRI());
    for (const auto& prototype : profile.prototypes())
      if (const auto set = prototype.getPropertySet())
        prototypes_.emplace(set.Uuid(), prototype);
  }

  /// Of one that is not at hand, or that the model does not import: an element that was copied here has brought it.
  bool isOfMissingProfile(const PropertySetUsage& usage) const {
    const auto source = usage.propertySetProxy();
    const auto resolver = source ? source.getResolver() : services::proxy::Resolver();
    return !resolver || !present_.contains(resolver.uRI());
  }

  void compare(const PropertySetUsage& usage) {
    const auto found = prototypes_.find(targetIdOf(usage.propertySetProxy()));
    if (found == prototypes_.end()) {
      // What cannot be looked at has not been deleted.
      if (isOfMissingProfile(usage))
        return;
      deletedPrototypes.push_back(usage.p_Name());
      for (const auto& property : usage.properties())
        noteIfMoved(usage, property);
      return;
    }
    const auto& prototype = found->second;
    if (const auto name = prototype.getFullyQualifiedName(); name != usage.p_Name())
      renamedPrototypes.push_back(name);
    compareParents(usage, prototype);
    compareProperties(usage, prototype.getPropertySet());
  }

  void compareParents(const PropertySetUsage& usage, const Prototype& prototype) {
    const auto parent = prototype.getParent();
    if (!parent && prototype.hasParent())
      return; // it is missing, and may come back
    const auto present = usage.p_Parent();
    const auto id = parent && parent.getPropertySet() ? parent.getPropertySet().Uuid() : tavo::Uuid{};
    if ((present ? targetIdOf(present.propertySetProxy()) : tavo::Uuid{}) != id)
      parentChanged.push_back(usage.p_Name());
  }

  void compareProperties(const PropertySetUsage& usage, const property::PropertySet& set) {
    boost::unordered_flat_map<tavo::Uuid, PropertyDefinition, tavo::UuidHash> definitions;
    for (const auto& definition : set.properties())
      definitions.emplace(definition.Uuid(), definition);
    const auto qualified = [&](const tavo::String& name) { return tavo::concat(usage.p_Name(), u".", name); };
    for (const auto& property : usage.properties()) {
      const auto definition = definitions.find(targetIdOf(property.propertyDefProxy()));
      if (definition == definitions.end()) {
        if (!noteIfMoved(usage, property))
          deletedProperties.push_back(qualified(property.p_Name()));
        continue;
      }
      if (definition->second.p_Name() != property.p_Name())
        renamedProperties.push_back(qualified(property.p_Name()));
      if (!static_cast<const PropertyUsage::Impl&>(property.object()).isDefaultInSync(definition->second))
        changedProperties.push_back(qualified(property.p_Name()));
      definitions.erase(definition);
    }
    for (const auto& definition : set.properties())
      if (definitions.contains(definition.Uuid()))
        added_.emplace_back(definition.Uuid(), qualified(definition.p_Name()));
  }

  /// A property that its stereotype no longer has may be one of another by now.
  bool noteIfMoved(const PropertySetUsage& usage, const PropertyUsage& property) {
    const auto definition = services::proxy::findTarget<PropertyDefinition>(property.propertyDefProxy());
    if (!definition || !definition.propertySet() || !prototypes_.contains(definition.propertySet().Uuid()))
      return false;
    moved_.insert(definition.Uuid());
    movedProperties.push_back(tavo::concat(usage.p_Name(), u".", property.p_Name()));
    return true;
  }

  ProfileNamespace namespace_;
  std::set<tavo::String> present_;                                                 ///< names of the profiles at hand
  boost::unordered_flat_map<tavo::Uuid, Prototype, tavo::UuidHash> prototypes_;    ///< by their property sets
  boost::unordered_flat_map<tavo::Uuid, PropertySetUsage, tavo::UuidHash> usages_; ///< likewise
  std::vector<std::pair<tavo::Uuid, tavo::String>> added_;                         ///< definitions without a usage here
  std::set<tavo::Uuid> moved_;                                                     ///< those that have one elsewhere
};

} // namespace

ProfileUseChecker ProfileUseChecker::analyze(const tavo::Model& model, const ProfileNamespace& profileNamespace) {
  Comparison found(profileNamespace);
  found.run();

  tavo::Transaction transaction(model);
  auto checker = ProfileUseChecker::create(model);
  checker.setP_DeletedPrototypes(found.deletedPrototypes);
  checker.setP_DeletedProperties(found.deletedProperties);
  checker.setP_AddedProperties(found.addedProperties);
  checker.setP_AddedPrototypes(found.addedPrototypes);
  checker.setP_PrototypeParentChanged(found.parentChanged);
  checker.setP_RenamedProperties(found.renamedProperties);
  checker.setP_RenamedPrototypes(found.renamedPrototypes);
  checker.setP_MissingProfiles(found.missingProfiles);
  checker.setP_MovedProperties(found.movedProperties);
  checker.setP_ChangedProperties(found.changedProperties);
  transaction.commit();
  return checker;
}

bool ProfileUseChecker::Impl::hasDifferences() const {
  const std::initializer_list<const std::vector<tavo::String>*> lists = {
      &getP_DeletedPrototypes(),      &getP_DeletedProperties(), &getP_AddedProperties(),   &getP_AddedPrototypes(),
      &getP_PrototypeParentChanged(), &getP_RenamedProperties(), &getP_RenamedPrototypes(), &getP_MissingProfiles(),
      &getP_MovedProperties(),        &getP_ChangedProperties()};
  return std::ranges::any_of(lists, [](const auto* list) { return !list->empty(); });
}

} // namespace zelkor::profile
