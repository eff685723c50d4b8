#include "tools/zelkor/model/OpenModel.h"

#include "tools/zelkor/text/Spelling.h"

#include "arch/Connector.h"
#include "arch/Port.h"
#include "zelkor/framework/Errors.h"
#include "zelkor/profile/Profile.h"
#include "zelkor/profile/ProfileCatalog.h"
#include "zelkor/property/QualifiedNames.h"
#include "zelkor/services/ProxySource.h"
#include "zelkor/services/Resolver.h"

#include <algorithm>
#include <iostream>

namespace zelkor::command {
namespace {

using kavra::toUtf8;

/// The element and all below it, parts before ports before connectors.
void collect(const Element& element, std::vector<Element>& all) {
  all.push_back(element);
  const auto component = element.as<Component>();
  if (!component)
    return;
  for (const auto& part : component.components())
    collect(part, all);
  for (const auto& port : component.ports())
    all.push_back(port);
  for (const auto& connector : component.connectors())
    all.push_back(connector);
}

std::string joined(const std::vector<std::string>& names) {
  std::string text;
  for (const auto& name : names)
    text += (text.empty() ? "" : ", ") + name;
  return text;
}

/// The one of `names` that is `name`, or that ends with it after a dot; raises AmbiguousName for several, and calls
/// `fail` with the names that there are, short ones included, for none.
template <class Fail>
std::string theOne(const std::string& name, const std::vector<std::string>& names, Fail fail) {
  std::vector<std::string> candidates;
  for (const auto& each : names) {
    if (each == name)
      return each;
    if (each.ends_with("." + name))
      candidates.push_back(each);
  }
  if (candidates.size() > 1)
    tavo::raise(ModelCommandError::AmbiguousName, name, joined(candidates));
  if (candidates.empty()) {
    auto known = names;
    for (const auto& each : names)
      known.push_back(each.substr(each.rfind('.') + 1));
    fail(known);
  }
  return candidates.front();
}

/// What is the matter with a profile that the model uses and does not find, and what can be done about it.
std::string troubleWith(const tavo::String& name, const profile::ProfileNamespace& profiles) {
  if (!profiles.getProfile(name).empty() || profiles.isDependentProfile(name))
    return "has nothing left of what the model uses of it and looks like another one of that name; "
           "\"zelkor import\" puts it in the place of the former, and what has the same names keeps its values";
  try {
    profile::ProfileCatalog::instance().loadProfileNamed(name);
    return "is another one of that name; \"zelkor import\" puts it in the place of the former, whose values stay";
  } catch (const tavo::Error& error) {
    if (error.id() == ProfileError::ProfileNotFound)
      return "cannot be found; what it brought is kept as it is. If its file has another name now, \"zelkor import\" "
             "finds it by that";
    return "cannot be read; what it brought is kept as it is. " + text::inOneLine(error);
  }
}

ModelFile open(Surroundings& surroundings, const std::filesystem::path& path) {
  surroundings.lookIn({std::filesystem::absolute(path).parent_path()});
  return ModelFile::open(path);
}

} // namespace

OpenModel::OpenModel(const std::filesystem::path& path)
    : name_(path.string()), file_(open(surroundings_, path)), missing_(file_.differences().p_MissingProfiles()) {
  for (const auto& missing : missing_)
    warn("the profile \"" + toUtf8(missing) + "\" " + troubleWith(missing, profiles()));
  file_.differences().setP_MissingProfiles({}); // nothing to follow

  // What could not be taken over from an old file is not what the model says now. A missing profile explains it all.
  constexpr std::size_t many = 20;
  std::size_t lost = 0;
  for (auto& report : surroundings_.takeDiagnostics()) {
    if (report.id != ArchitectureError::FailedToMigrateLinnetModel.text())
      reports_.push_back(std::move(report));
    else if (missing_.empty() && ++lost <= many)
      warn(inOneLine(report));
  }
  if (lost > many)
    warn("and " + std::to_string(lost - many) + " more, which \"zelkor upgrade\" lists");
}

void OpenModel::tellOfChanges() const {
  if (file_.differences().hasDifferences())
    warn("the profiles have changed; \"zelkor sync --dry-run\" tells how");
}

void OpenModel::warn(const std::string& text) const { std::cerr << name_ << ": " << text << '\n'; }

std::vector<Element> OpenModel::elements() const {
  std::vector<Element> all;
  if (const auto architecture = Architecture::getArchitecture(model()))
    collect(architecture, all);
  return all;
}

bool OpenModel::uses(const tavo::String& profile) const {
  const auto leadsThere = [&](const services::proxy::ProxySource& source) {
    return source.getResolver() && source.getResolver().uRI() == profile;
  };
  return std::ranges::any_of(profiles().profileProxy().toVector(), leadsThere) ||
         std::ranges::any_of(profiles().p_DependentProfileProxy().toVector(), leadsThere);
}

Architecture OpenModel::architecture() const {
  auto architecture = Architecture::getArchitecture(model());
  if (!architecture)
    tavo::raise(ModelCommandError::NoArchitecture, name_);
  return architecture;
}

Element OpenModel::element(const std::string& pathOrUuid) const {
  const auto root = architecture();
  if (const auto uuid = tavo::parseUuid(pathOrUuid))
    if (auto element = model().find<Element>(*uuid))
      return element;

  const auto path = tavo::String::fromUtf8(pathOrUuid);
  const auto name = root.getName();
  // The whole path first, which is what the command prints: a part may be called like the architecture.
  Element element;
  if (tavo::concat(path, u"/").view().starts_with(tavo::concat(name, u"/").view()))
    element = root.findElement(path.view().substr(std::min(name.size() + 1, path.size())));
  if (!element && !path.empty())
    element = root.findElement(path);
  if (!element) {
    std::vector<std::string> known;
    for (const auto& each : elements()) {
      known.push_back(toUtf8(each.getPath()));
      known.push_back(known.back().substr(std::min(known.back().find('/') + 1, known.back().size())));
    }
    tavo::raise(ModelCommandError::UnknownElement, pathOrUuid, text::suggestion(pathOrUuid, known));
  }
  return element;
}

profile::Prototype OpenModel::stereotype(const std::string& name) const {
  std::vector<std::string> names;
  for (const auto& profile : profiles().getAllResolvedProfiles(false))
    for (const auto& prototype : profile.prototypes())
      names.push_back(toUtf8(prototype.getFullyQualifiedName()));
  const auto found = theOne(name, names, [&](const auto& known) {
    tavo::raise(ModelCommandError::UnknownStereotype, name, text::suggestion(name, known));
  });
  return profiles().getPrototype(tavo::String::fromUtf8(found));
}

tavo::String OpenModel::missingStereotype(const Element& element, const std::string& name) {
  for (auto& each : element.getMissingPrototypeNames())
    if (const auto known = toUtf8(each); known == name || known.ends_with("." + name))
      return each;
  return {};
}

tavo::String OpenModel::property(const Element& element, const std::string& name) {
  std::vector<std::string> names;
  for (const auto& each : element.getPropertyNames())
    names.push_back(toUtf8(each));
  return tavo::String::fromUtf8(theOne(name, names, [&](const auto& known) {
    tavo::raise(ModelCommandError::UnknownProperty, toUtf8(element.getPath()), name, text::suggestion(name, known));
  }));
}

void OpenModel::save() {
  if (!file_.isDirty())
    return;
  const auto older = file_.olderVersion();
  file_.save();
  if (!older.empty())
    warn("was a file of version " + older +
         " and is one of the present version now; \"zelkor export\" writes copies "
         "for older releases");
}

void OpenModel::tellReports() {
  for (auto& later : surroundings_.takeDiagnostics())
    reports_.push_back(std::move(later));
  for (const auto& report : std::exchange(reports_, {}))
    warn(inOneLine(report));
}

} // namespace zelkor::command
