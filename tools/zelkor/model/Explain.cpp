// explain: where a value comes from.
#include "tools/zelkor/model/ModelCommands.h"
#include "tools/zelkor/model/OpenModel.h"
#include "tools/zelkor/model/Running.h"

#include "kavra/Rendering.h"
#include "kavra/Text.h"
#include "zelkor/property/PropertyDefinition.h"
#include "zelkor/property/PropertySetUsage.h"
#include "zelkor/property/PropertyUsage.h"
#include "zelkor/property/QualifiedNames.h"
#include "zelkor/property/RealType.h"
#include "zelkor/property/Value.h"
#include "zelkor/property/ValueTable.h"
#include "zelkor/property/ValueType.h"
#include "zelkor/services/ProxySource.h"

#include <nlohmann/json.hpp>

#include <iostream>

namespace zelkor::command {
namespace {

using kavra::toUtf8;
using nlohmann::ordered_json;

ordered_json describe(const property::Value& value) {
  if (!value)
    return nullptr;
  const auto type = value.getType();
  ordered_json json{{"expression", toUtf8(value.getExpression())}, {"units", toUtf8(value.units())}};
  json["type"] = type ? ordered_json(toUtf8(type.getName())) : ordered_json(nullptr);
  if (type)
    json["typeUnits"] = type.as<property::RealType>() ? toUtf8(type.as<property::RealType>().units()) : "";
  return json;
}

/// How the element comes to have the set: the stereotype that was applied, and its ancestors down to the one that
/// brings the property, as the model has followed them.
ordered_json chainTo(const Element& element, const tavo::String& setName) {
  const auto profiles = element.getProfileNamespace();
  std::vector<property::PropertySetUsage> applied;
  for (const auto& prototype : element.getPrototypes())
    applied.push_back(profiles.findUsage(prototype));
  for (const auto& missing : element.getMissingPrototypeNames())
    applied.push_back(profiles.getPropertySet(missing));
  for (const auto& first : applied) {
    auto chain = ordered_json::array();
    for (auto usage = first; usage; usage = usage.p_Parent()) {
      chain.push_back(toUtf8(usage.p_Name()));
      if (usage.p_Name() == setName)
        return chain;
    }
  }
  return ordered_json::array({toUtf8(setName)});
}

ordered_json describe(const Element& element, const tavo::String& name) {
  const auto usage = element.requirePropertyUsage(name);
  const auto value = element.getPropValObject(name);
  const bool isOwn = !element.isPropValDefault(name);
  const auto definition = usage.propertyDefProxy().findTargetElement().as<property::PropertyDefinition>();
  const bool follows = definition && definition.currentVersionId() == usage.lastDefVersionSynced();

  ordered_json json{{"element", toUtf8(element.getPath())}, {"property", toUtf8(name)}};
  json["from"] = isOwn ? "own value" : "initial value";
  json["value"] = describe(value);
  json["stereotypes"] = chainTo(element, tavo::String(property::splitAtLastDot(name).first));
  json["own"] = isOwn ? describe(value) : ordered_json(nullptr);
  json["initial"] = describe(usage.initialValue());
  json["initial"]["version"] = tavo::toText(usage.lastDefVersionSynced());
  if (!definition) {
    json["definition"] = nullptr;
    json["missing"] = toUtf8(usage.propertyDefProxy().getTargetName());
    return json;
  }
  json["definition"] = describe(definition.defaultValue());
  json["definition"]["version"] = tavo::toText(definition.currentVersionId());
  json["definition"]["followed"] = follows;
  if (const auto type = definition.getType())
    json["typeDefault"] = toUtf8(type.makeDefaultExpression());
  return json;
}

std::string inWords(const ordered_json& value) {
  if (value.is_null())
    return "none";
  const auto units = value.value("units", std::string());
  return value.value("expression", std::string()) + (units.empty() ? "" : " " + units);
}

void printText(const ordered_json& json) {
  std::cout << json["element"].get<std::string>() << ", " << json["property"].get<std::string>() << ": "
            << inWords(json["value"]) << " (" << json["from"].get<std::string>() << ")\n";
  std::cout << "  stereotypes          ";
  for (std::size_t i = 0; i < json["stereotypes"].size(); ++i)
    std::cout << (i == 0 ? "" : " < ") << json["stereotypes"][i].get<std::string>();
  std::cout << "\n  own value            " << inWords(json["own"]) << "\n  initial value        "
            << inWords(json["initial"]) << ", of version " << json["initial"]["version"].get<std::string>() << '\n';
  if (json["definition"].is_null()) {
    std::cout << "  definition           missing: " << json["missing"].get<std::string>() << '\n';
    return;
  }
  std::cout << "  definition's default " << inWords(json["definition"]) << ", of version "
            << json["definition"]["version"].get<std::string>()
            << (json["definition"]["followed"].get<bool>() ? "" : ", which the model does not follow yet") << '\n';
  if (json.contains("typeDefault"))
    std::cout << "  type's default       " << json["typeDefault"].get<std::string>() << '\n';
}

} // namespace

int explain(const std::filesystem::path& model, const std::string& element, const std::string& property, bool json) {
  return reporting(model, element, json, [&] {
    const OpenModel open(model);
    const auto found = open.element(element);
    const auto what = describe(found, OpenModel::property(found, property));
    if (json)
      printJson(what);
    else
      printText(what);
  });
}

} // namespace zelkor::command
