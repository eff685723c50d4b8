// The subcommands that change one thing in a model.
#include "tools/zelkor/command/Commands.h"
#include "tools/zelkor/command/Report.h"
#include "tools/zelkor/model/Errors.h"
#include "tools/zelkor/model/ModelCommands.h"
#include "tools/zelkor/model/OpenModel.h"
#include "tools/zelkor/model/Running.h"

#include "arch/Architecture.h"
#include "arch/Component.h"
#include "arch/Connector.h"
#include "arch/Port.h"
#include "kavra/Rendering.h"
#include "zelkor/framework/HostNames.h"

#include <algorithm>

namespace zelkor::command {
namespace {

namespace fs = std::filesystem;

tavo::String utf16(const std::string& text) { return tavo::String::fromUtf8(text); }

/// Opens a model, lets `change` work on it, and saves it; what goes wrong is a finding.
template <class Change>
int edit(const fs::path& model, const std::string& element, Change change, const std::string& hintOnExpressions = {}) {
  const auto action = [&] {
    OpenModel open(model);
    open.tellOfChanges();
    open.telling([&] {
      change(open);
      open.save();
    });
  };
  return reporting(model, element, false, action, hintOnExpressions);
}

} // namespace

int newModel(const fs::path& model, const std::string& name) {
  return reporting(model, {}, false, [&] {
    if (fs::exists(fs::symlink_status(model)))
      tavo::raise(ModelCommandError::FileExists, model.string());
    const Surroundings surroundings;
    const auto stem = utf16(model.stem().string());
    if (name.empty() && !isValidName(stem))
      tavo::raise(ModelCommandError::NameOfFile, stem);
    auto file = ModelFile::create(stem);
    Architecture::createArchitecture(file.model(), name.empty() ? stem : utf16(name));
    file.saveAs(model);
  });
}

int addElement(const fs::path& model, const std::string& path, const std::string& kind, const std::string& source,
               const std::string& target) {
  return edit(model, path, [&](OpenModel& open) {
    const auto slash = path.rfind('/');
    const auto component = slash == path.npos ? Component(open.architecture())
                                              : open.element<Component>(path.substr(0, slash), "component");
    const auto name = utf16(slash == path.npos ? path : path.substr(slash + 1));
    if (kind == "port") {
      component.addPort(name, PortDirection::BOTH);
    } else if (kind == "connector") {
      const auto end = [&](const std::string& port) {
        return port.empty() ? Port() : open.element<Port>(port, "port");
      };
      component.addConnector(name, end(source), end(target));
    } else {
      component.addComponent(name);
    }
  });
}

int importProfile(const fs::path& model, const std::string& profile) {
  return edit(model, {}, [&](OpenModel& open) { open.profiles().addProfile(utf16(profile), false); });
}

int removeProfile(const fs::path& model, const std::string& profile, bool missing) {
  return edit(model, {}, [&](OpenModel& open) {
    const auto name = utf16(profile);
    if (!missing && std::ranges::find(open.missingProfiles(), name) != open.missingProfiles().end())
      tavo::raise(ModelCommandError::MissingProfile, profile);
    if (missing)
      open.profiles().forgetProfile(name);
    else
      open.profiles().removeProfile(name);
    if (open.uses(name))
      open.warn("the profile \"" + profile + "\" stays, because another one needs it");
  });
}

int applyStereotype(const fs::path& model, const std::string& element, const std::string& stereotype) {
  return edit(model, element,
              [&](OpenModel& open) { open.element(element).applyPrototype(open.stereotype(stereotype)); });
}

int unapplyStereotype(const fs::path& model, const std::string& element, const std::string& stereotype, bool missing) {
  return edit(model, element, [&](OpenModel& open) {
    const auto found = open.element(element);
    const auto lost = OpenModel::missingStereotype(found, stereotype);
    if (missing && !lost.empty())
      return found.removeMissingPrototype(lost);
    try {
      const auto prototype = open.stereotype(stereotype);
      if (!found.hasPrototype(prototype.getFullyQualifiedName()))
        tavo::raise(ModelCommandError::NotCarried, found.getPath(), prototype.getFullyQualifiedName());
      found.removePrototype(prototype);
    } catch (const tavo::Error& error) {
      if (error.id() != ModelCommandError::UnknownStereotype || lost.empty())
        throw;
      tavo::raise(ModelCommandError::MissingStereotype, lost);
    }
  });
}

int setValue(const fs::path& model, const std::string& element, const std::string& property, const std::string& value,
             const std::optional<std::string>& units, bool isText) {
  const auto change = [&](OpenModel& open) {
    const auto found = open.element(element);
    const auto expression =
        isText ? tavo::String(*kavra::expressionText(kavra::HostArray::chars(utf16(value)))) : utf16(value);
    found.setPropVal(OpenModel::property(found, property), expression, units ? utf16(*units) : u"*");
  };
  return edit(model, element, change, "A shell takes quotes away, so use --text, or double quotes around them.");
}

int clearValue(const fs::path& model, const std::string& element, const std::string& property) {
  return edit(model, element, [&](OpenModel& open) {
    const auto found = open.element(element);
    found.clearPropVal(OpenModel::property(found, property));
  });
}

} // namespace zelkor::command
