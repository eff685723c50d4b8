// sync: how a model differs from its profiles, and following them.
#include "tools/zelkor/model/ModelCommands.h"
#include "tools/zelkor/model/OpenModel.h"
#include "tools/zelkor/model/Running.h"

#include "kavra/Text.h"
#include "tavo/model/Transaction.h"
#include "zelkor/property/PropertySet.h"
#include "zelkor/property/PropertySetUsage.h"
#include "zelkor/property/PropertyUsage.h"
#include "zelkor/property/QualifiedNames.h"
#include "zelkor/property/ValueTable.h"
#include "zelkor/property/ValueTableEntry.h"
#include "zelkor/services/ProxySource.h"
#include "zelkor/services/Resolver.h"

#include <nlohmann/json.hpp>

#include <iostream>
#include <map>
#include <set>

namespace zelkor::command {
namespace {

using kavra::toUtf8;
using nlohmann::ordered_json;

/// One difference and what following it does.
struct Difference {
  std::string kind, name, effect;
  std::size_t elements, values; ///< that are concerned
};

class Differences {
public:
  explicit Differences(const OpenModel& open) : profiles_(open.profiles()) {
    const auto found = open.file().differences();
    for (const auto& name : found.p_DeletedPrototypes())
      addSet("stereotype deleted", name, "is taken off, its values go");
    for (const auto& name : found.p_DeletedProperties())
      addProperty("property deleted", name, "goes with its values");
    for (const auto& name : found.p_AddedProperties())
      addProperty("property added", name, "comes with its default", false);
    for (const auto& name : found.p_AddedPrototypes())
      all.push_back({"stereotype added", toUtf8(name), "can be applied", 0, 0});
    for (const auto& name : found.p_PrototypeParentChanged())
      addSet("parent changed", name, "brings the properties of the new parent, no longer those of the former");
    for (const auto& name : found.p_RenamedProperties())
      addProperty("property renamed", name, "gets its new name, values stay");
    for (const auto& name : found.p_RenamedPrototypes())
      if (const auto usage = profiles_.findUsage(profiles_.getPrototype(name)))
        addSet("stereotype renamed", usage.p_Name(), "becomes " + toUtf8(name) + ", values stay");
    for (const auto& name : found.p_MovedProperties())
      addProperty("property moved", name, "goes to another stereotype, with its values");
    for (const auto& name : found.p_ChangedProperties())
      addProperty("property changed", name, "gets the new type, default and units; own values stay");
    for (const auto& name : open.missingProfiles())
      addProfile("profile missing", name, "is left alone, with all that it brought");
  }

  std::vector<Difference> all;

private:
  static std::size_t valuesOf(const property::PropertyUsage& usage) {
    return usage ? usage.p_ValueTable().p_Entries().size() : 0;
  }
  static std::size_t valuesOf(const property::PropertySetUsage& usage) {
    std::size_t values = 0;
    for (const auto& property : usage.properties())
      values += valuesOf(property);
    return values;
  }
  void addSet(const char* kind, const tavo::String& name, const std::string& effect) {
    const auto usage = profiles_.getPropertySet(name);
    all.push_back(
        {kind, toUtf8(name), effect, usage ? usage.p_AppliedElements().size() : 0, usage ? valuesOf(usage) : 0});
  }
  void addProfile(const char* kind, const tavo::String& name, const char* effect) {
    std::set<tavo::Uuid> elements;
    std::size_t values = 0;
    for (const auto& usage : profiles_.p_PropertySets()) {
      const auto resolver =
          usage.propertySetProxy() ? usage.propertySetProxy().getResolver() : services::proxy::Resolver();
      if (!resolver || resolver.uRI() != name)
        continue;
      values += valuesOf(usage);
      for (const auto& element : usage.p_AppliedElements())
        elements.insert(element.Uuid());
    }
    all.push_back({kind, toUtf8(name), effect, elements.size(), values});
  }
  void addProperty(const char* kind, const tavo::String& name, const char* effect, bool hasValues = true) {
    const auto [setName, propertyName] = property::splitAtLastDot(name);
    const auto usage = profiles_.p_PropertySets().find(setName);
    all.push_back({kind, toUtf8(name), effect, usage ? usage.p_AppliedElements().size() : 0,
                   usage && hasValues ? valuesOf(usage.properties().find(propertyName)) : 0});
  }

  profile::ProfileNamespace profiles_;
};

/// Own values that are kept and not shown, since no stereotype of their element brings the property any more; by the
/// property in use.
std::map<tavo::Uuid, Difference> hiddenValues(const profile::ProfileNamespace& profiles) {
  std::map<tavo::Uuid, Difference> found;
  for (const auto& usage : profiles.p_PropertySets()) {
    std::set<tavo::Uuid> carriers;
    for (const auto& element : usage.p_AppliedElements())
      carriers.insert(element.Uuid());
    for (const auto& property : usage.properties()) {
      std::size_t hidden = 0;
      for (const auto& entry : property.p_ValueTable().p_Entries())
        hidden += carriers.contains(entry.p_ElemUUID()) ? 0 : 1;
      if (hidden != 0)
        found[property.Uuid()] = {"values hidden", toUtf8(usage.p_Name()) + "." + toUtf8(property.getName()),
                                  "comes no longer to elements that have values of it, which are kept out of sight",
                                  hidden, hidden};
    }
  }
  return found;
}

void print(const std::vector<Difference>& differences, bool json) {
  auto list = ordered_json::array();
  for (const auto& each : differences) {
    if (json)
      list.push_back({{"kind", each.kind},
                      {"name", each.name},
                      {"effect", each.effect},
                      {"elements", each.elements},
                      {"values", each.values}});
    else
      std::cout << each.kind << ": " << each.name << ' ' << each.effect << " (elements: " << each.elements
                << ", own values: " << each.values << ")\n";
  }
  if (json)
    printJson({{"differences", list}});
  else if (differences.empty())
    std::cout << "nothing to do\n";
}

} // namespace

int synchronize(const std::filesystem::path& model, bool dryRun, bool json) {
  return reporting(model, {}, json, [&] {
    OpenModel open(model);
    auto differences = Differences(open).all;
    const auto follow = [&] {
      const auto before = hiddenValues(open.profiles());
      open.file().synchronize();
      for (const auto& [usage, hidden] : hiddenValues(open.profiles()))
        if (const auto known = before.find(usage); known == before.end() || known->second.values < hidden.values)
          differences.push_back(hidden);
    };
    open.telling([&] {
      if (dryRun) {
        // Really done, so that everything that would be reported is, and then taken back.
        const tavo::Transaction attempt(open.model());
        follow();
      } else {
        follow();
        open.save();
      }
      print(differences, json);
    });
  });
}

} // namespace zelkor::command
