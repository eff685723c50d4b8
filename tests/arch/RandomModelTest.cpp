// Random work on a model and its profile, against a model of the model that is too simple to be wrong.
#include "tests/arch/ModelFixture.h"

#include "zelkor/clone/CloneContext.h"
#include "zelkor/framework/Errors.h"
#include "zelkor/profile/ProfileUseChecker.h"

#include <rapidcheck/gtest.h>

#include <map>
#include <set>

namespace zelkor {

using profile::text;

class RandomModelTest : public ModelFixture {
protected:
  /// What a model is about: which stereotypes each element carries, and the values that it has of its own.
  struct Plain {
    std::map<std::string, std::set<std::string>> stereotypes{};
    std::map<std::pair<std::string, std::string>, std::string> values{};
    friend bool operator==(const Plain&, const Plain&) = default;
  };

  /// The stereotypes of the profile that bring a property, nearest first, as the fixture has made them.
  static std::vector<std::string> bringersOf(const std::string& property) {
    if (property.starts_with("Plant.Machine"))
      return {"Plant.Machine", "Plant.Pump"};
    return {"Plant.Pump"};
  }
  static bool has(const Plain& plain, const std::string& element, const std::string& property) {
    const auto carried = plain.stereotypes.find(element);
    if (carried == plain.stereotypes.end())
      return false;
    for (const auto& name : bringersOf(property))
      if (carried->second.contains(name))
        return true;
    return false;
  }
  /// Values whose property the element no longer has are gone.
  static void dropLost(Plain& plain) {
    std::erase_if(plain.values, [&](const auto& entry) { return !has(plain, entry.first.first, entry.first.second); });
  }

  void expectSame(const Plain& plain) {
    for (const auto& [path, carried] : plain.stereotypes) {
      const auto element = factory.findElement(text(path));
      RC_ASSERT(element);
      std::set<std::string> names;
      for (const auto& name : element.getPrototypeNames())
        names.insert(name.toUtf8());
      RC_ASSERT(names == carried);
      for (const auto& property : properties) {
        const auto name = text(property);
        RC_ASSERT(element.hasPropVal(name) == has(plain, path, property));
        if (!element.hasPropVal(name))
          continue;
        const auto own = plain.values.find({path, property});
        RC_ASSERT(element.isPropValDefault(name) == (own == plain.values.end()));
        if (own != plain.values.end())
          RC_ASSERT(element.getPropVal(name).expression.toUtf8() == own->second);
      }
    }
    tavo::checkInvariants(model());
  }

  const std::vector<std::string> properties = {"Plant.Machine.power", "Plant.Machine.slots", "Plant.Machine.label",
                                               "Plant.Pump.flow"};
};

RC_GTEST_FIXTURE_PROP(RandomModelTest, AModelIsWhatWasDoneToIt, ()) {
  const auto any = [](const auto& from) { return *rc::gen::elementOf(from); };
  const std::vector<std::string> paths = {"A", "B", "A/C", "A/D", "B/E"};
  const std::vector<std::string> texts = {"1", "2", "'x'", "-1", "1e9", "]"};
  std::vector<Plain> steps = {{}}, undone;

  const int count = *rc::gen::inRange(1, 40);
  for (int i = 0; i < count; ++i) {
    Plain plain = steps.back();
    const auto path = any(paths);
    const auto element = factory.findElement(text(path));
    const auto serial = model().undoSerial();
    switch (*rc::gen::inRange(0, 9)) {
    case 0: {
      const auto slash = path.rfind('/');
      const auto owner = slash == path.npos ? Element(factory) : factory.findElement(text(path.substr(0, slash)));
      if (element || !owner)
        break;
      owner.cast<Component>().addComponent(text(path.substr(slash + 1)));
      plain.stereotypes[path];
      break;
    }
    case 1:
      if (!element)
        break;
      element.destroy();
      std::erase_if(plain.stereotypes,
                    [&](const auto& each) { return each.first == path || each.first.starts_with(path + "/"); });
      break;
    case 2:
    case 3: {
      const auto name = any(std::vector<std::string>{"Machine", "Pump"});
      if (!element)
        break;
      element.applyPrototype(plant.prototypes().find(text(name)));
      plain.stereotypes[path].insert("Plant." + name);
      break;
    }
    case 4: {
      const auto name = any(std::vector<std::string>{"Machine", "Pump"});
      if (!element)
        break;
      element.removePrototype(plant.prototypes().find(text(name)));
      plain.stereotypes[path].erase("Plant." + name);
      break;
    }
    case 5:
    case 6: {
      const auto property = any(properties), value = any(texts);
      if (!element)
        break;
      try {
        element.setPropVal(text(property), text(value), u"*");
        plain.values[{path, property}] = value;
      } catch (const tavo::Error& error) {
        RC_ASSERT(error.id() == PropertyError::ErrorSettingPropertyValue);
      }
      break;
    }
    case 7: {
      const auto property = any(properties);
      if (!element || !element.hasPropVal(text(property)))
        break;
      element.clearPropVal(text(property));
      plain.values.erase({path, property});
      break;
    }
    default:
      if (steps.size() > 1 && *rc::gen::arbitrary<bool>()) {
        RC_ASSERT(model().undo());
        undone.push_back(steps.back());
        steps.pop_back();
      } else if (!undone.empty()) {
        RC_ASSERT(model().redo());
        steps.push_back(undone.back());
        undone.pop_back();
      }
      expectSame(steps.back());
      continue;
    }
    dropLost(plain);
    if (model().undoSerial() != serial) {
      steps.push_back(plain);
      undone.clear();
    }
    RC_ASSERT(plain == steps.back());
    expectSame(plain);
  }

  // In a file it is the same.
  modelFile.saveAs(file("plant.xml"));
  const auto again = ModelFile::open(file("plant.xml"));
  RC_ASSERT(!again.differences().hasDifferences());
  RC_ASSERT(tavo::modelText(again.model()) == tavo::modelText(model()));
  tavo::checkInvariants(again.model());
}

} // namespace zelkor
