// An architecture model that uses a profile of its own.
#pragma once

#include "tests/zelkor/ProfileFixture.h"

#include "arch/Architecture.h"
#include "arch/Component.h"
#include "arch/Connector.h"
#include "arch/Port.h"
#include "zelkor/framework/ModelFile.h"
#include "zelkor/meta/ValueStruct.h"
#include "zelkor/profile/ProfileNamespace.h"
#include "zelkor/profile/PrototypeToPrototypableCache.h"
#include "zelkor/property/PropertySetUsage.h"
#include "zelkor/property/PropertyUsage.h"
#include "zelkor/property/Value.h"
#include "zelkor/property/ValueTable.h"
#include "zelkor/property/ValueTableEntry.h"

#include <map>
#include <regex>

namespace zelkor {

/// The profile "Plant" with the stereotype "Machine" (power in W, at most 1e6; slots, a whole number; label, a text),
/// and "Pump" below it (flow in m^3/s); a model "plant" that imports it, with the components "Hall" and "Hall/Main".
class ModelFixture : public profile::ProfileFixture {
protected:
  ModelFixture() {
    const auto machine = add(plant, u"Machine");
    define(machine, u"power", u"double", u"100", u"W").setMax(kavra::HostArray::scalar(1e6));
    define(machine, u"slots", u"int32", u"2");
    define(machine, u"label", u"string", u"'none'");
    define(add(plant, u"Pump", u"Plant.Machine"), u"flow", u"double", u"0.5", u"m^3/s");
    save(plant);
    profiles().addProfile(u"Plant", false);
    model().clearHistory();
  }

  static property::PropertyDefinition define(const profile::Prototype& prototype, const char16_t* name,
                                             const char16_t* type, const char16_t* value, const char16_t* units = u"") {
    auto definition = prototype.getPropertySet().addProperty(name, type);
    if (*units)
      definition.setUnit(units);
    definition.setDefaultPropertyValue(value, u"*");
    return definition;
  }

  const tavo::Model& model() const { return modelFile.model(); }
  profile::ProfileNamespace profiles() const { return modelFile.profiles(); }
  profile::Prototype stereotype(const char16_t* name) const { return plant.prototypes().find(name); }
  /// The value of a property of "Plant.Machine", and its units after a blank if there are any.
  static std::string valueOf(const property::PropertyOwner& element, const tavo::String& name) {
    const auto value = element.getPropVal(name);
    return value.expression.toUtf8() + (value.units.empty() ? "" : " " + value.units.toUtf8());
  }

  /// The text of a file with numbers in place of identities: what opening makes has others each time.
  static std::string counted(const std::string& content) {
    static const std::regex identity("\\b([0-9a-f]{8})(-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{12})?\\b");
    std::map<std::string, std::size_t> numbers;
    std::string result;
    auto last = content.cbegin();
    for (std::sregex_iterator each(content.begin(), content.end(), identity), end; each != end; ++each) {
      result.append(last, (*each)[0].first);
      result += std::to_string(numbers.try_emplace((*each)[1], numbers.size()).first->second);
      last = (*each)[0].second;
    }
    return result.append(last, content.cend());
  }

  profile::Profile plant = profile::Profile::newProfile(u"Plant");
  ModelFile modelFile = ModelFile::create(u"plant");
  Architecture factory = Architecture::createArchitecture(model(), u"Factory");
  Component hall = factory.addComponent(u"Hall");
  Component pump = hall.addComponent(u"Main");
};

} // namespace zelkor
