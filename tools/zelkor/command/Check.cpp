// check: everything that can be wrong with profiles, all of it.
#include "tools/zelkor/command/Commands.h"
#include "tools/zelkor/command/Report.h"
#include "tools/zelkor/command/Source.h"
#include "tools/zelkor/text/Errors.h"

#include "kavra/Text.h"
#include "zelkor/profile/DefaultStereotypeMap.h"
#include "zelkor/profile/DefaultStereotypePair.h"
#include "zelkor/profile/Profile.h"
#include "zelkor/profile/ProfileCatalog.h"
#include "zelkor/profile/Prototype.h"
#include "zelkor/property/Enumeration.h"
#include "zelkor/property/PropertyDefinition.h"
#include "zelkor/property/PropertySet.h"
#include "zelkor/property/Value.h"
#include "zelkor/services/ProxySource.h"

namespace zelkor::command {
namespace {

using profile::Profile;
using text::TextError;

std::string utf8(const tavo::String& text) { return kavra::toUtf8(text); }

class Check {
public:
  Check(const Profile& profile, text::Findings& findings) : profile_(profile), findings_(findings) {}

  void run() {
    dependencies();
    for (const auto& type : profile_.valueTypes().toVector())
      checkType(type, utf8(type.getName()));
    for (const auto& set : profile_.propertySets().toVector())
      checkSet(set);
    for (const auto& stereotype : profile_.prototypes().toVector())
      checkStereotype(stereotype);
    // What the checks above have no name for must not pass unseen.
    attempt(utf8(profile_.getName()), [&] {
      profile_.checkHealth();
      if (findings_.empty() && profile_.isUnhealthyOnLoad())
        findings_.add({}, utf8(profile_.getName()), TextError::Unhealthy, utf8(profile_.healthCheckErrorOnLoad()));
    });
  }

private:
  template <class Action>
  void attempt(const std::string& element, Action&& action) {
    try {
      action();
    } catch (...) {
      addCurrent(findings_, {}, element);
    }
  }

  void dependencies() {
    auto& catalog = profile::ProfileCatalog::instance();
    for (const auto& name : profile_.getDependentProfiles()) {
      attempt(utf8(name), [&] {
        catalog.loadProfileNamed(name);
        profile_.checkProfileCircularDependency(catalog.getProfile(name));
      });
    }
  }

  /// Whether what a proxy refers to is there; says so when it is not.
  void checkTarget(const services::proxy::ProxySource& source, const std::string& element) {
    attempt(element, [&] {
      if (source && !source.getTargetElement())
        findings_.add({}, element, TextError::MissingTarget, element, utf8(source.getTargetName()));
    });
  }

  void checkType(const property::ValueType& type, const std::string& element) {
    checkTarget(type.typeProxy(), element);
    checkEnumeration(type, element);
  }

  /// Whether the members of an enumeration can be had; true for other types.
  bool checkEnumeration(const property::ValueType& type, const std::string& element) {
    auto enumeration = type.as<property::Enumeration>();
    bool isMissing = enumeration && !property::Enumeration::isValidEnumerationName(enumeration.getKavraEnumName());
    if (isMissing)
      findings_.add({}, element, TextError::MissingEnumeration, utf8(enumeration.getKavraEnumName()));
    return !isMissing;
  }

  void checkSet(const property::PropertySet& set) {
    for (const auto& type : set.valueTypes().toVector())
      checkType(type, utf8(set.getFullyQualifiedName()) + "." + utf8(type.getName()));
    for (const auto& definition : set.getAllProperties()) {
      auto element = utf8(definition.getFullyQualifiedName());
      if (!definition.typeProxy())
        findings_.add({}, element, TextError::MissingType, element);
      checkTarget(definition.typeProxy(), element);
      auto type = definition.getType();
      if (checkEnumeration(type, element) && type)
        attempt(element, [&] { definition.checkHealth(); });
    }
  }

  void checkStereotype(const profile::Prototype& stereotype) {
    auto element = utf8(stereotype.getFullyQualifiedName());
    checkTarget(stereotype.parentProxy(), element);
    if (auto map = stereotype.defaultStereotypeMap()) {
      for (const auto& pair : map.defaults().toVector())
        checkTarget(pair.defaultStereotypeProxy(), element);
    }
    if (auto set = stereotype.getPropertySet()) {
      checkSet(set);
      for (const auto& name : set.getAllPropertyNames()) {
        for (const auto& ancestor : stereotype.getAncestors()) {
          if (auto above = ancestor.getPropertySet(); above && above.getPropertyByName(name))
            attempt(element + "." + utf8(name), [&] { stereotype.checkPropertyNameAcrossHierarchy(name); });
        }
      }
    }
  }

  const Profile& profile_;
  text::Findings& findings_;
};

/// All findings, file by file.
std::vector<text::Finding> findingsIn(const std::vector<std::string>& inputs) {
  std::vector<text::Finding> all;
  Progress progress("checking");
  for (auto& input : inputs) {
    progress.at("checking " + input);
    text::Findings found(input);
    Surroundings surroundings;
    try {
      if (auto model = readSource(input, surroundings, found))
        Check(Profile::getProfile(model), found).run();
    } catch (...) {
      addCurrent(found);
    }
    auto sorted = found.sorted();
    all.insert(all.end(), sorted.begin(), sorted.end());
  }
  return all;
}

} // namespace

int check(const std::vector<std::string>& inputs, bool json) {
  auto all = findingsIn(inputs);
  if (json)
    printAsJson(all);
  else
    print(all);
  return all.empty() ? success : findings;
}

} // namespace zelkor::command
