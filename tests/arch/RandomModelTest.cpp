// Random work on a model and its profiles, against a model of the model that is too simple to be wrong.
#include "tests/arch/ModelFixture.h"

#include "zelkor/clone/CloneContext.h"
#include "zelkor/framework/Errors.h"
#include "zelkor/profile/ProfileUseChecker.h"
#include "zelkor/profile/PrototypeToPrototypableCacheEntry.h"
#include "zelkor/services/Proxies.h"

#include <rapidcheck/gtest.h>

#include <map>
#include <set>

namespace zelkor {

using profile::Profile;
using profile::Prototype;
using profile::text;

class RandomModelTest : public ModelFixture {
protected:
  using Id = std::string; ///< an identity as text
  static Id idOf(const tavo::ModelElement& element) { return tavo::toText(element.Uuid()); }
  static Id idOf(const services::proxy::ProxySource& source) {
    return tavo::toText(services::proxy::targetIdOf(source));
  }

  struct Property {
    std::string name, expression, units;
    friend bool operator==(const Property&, const Property&) = default;
  };
  struct Stereotype {
    std::string profile, name;
    Id parent; ///< empty for none, "?" for one that cannot be had
    std::map<Id, Property> properties;
    std::string qualifiedName() const { return profile + "." + name; }
    friend bool operator==(const Stereotype&, const Stereotype&) = default;
  };
  using Stereotypes = std::map<Id, Stereotype>;

  static Stereotypes stereotypesOf(const Profile& profile) {
    Stereotypes found;
    for (const auto& prototype : profile.prototypes()) {
      const auto parent = prototype.getParent();
      Stereotype& now = found[idOf(prototype)];
      now = {profile.getName().toUtf8(),
             prototype.getName().toUtf8(),
             parent                  ? idOf(parent)
             : prototype.hasParent() ? "?"
                                     : "",
             {}};
      for (const auto& definition : prototype.getPropertySet().properties())
        now.properties[idOf(definition)] = {definition.p_Name().toUtf8(),
                                            definition.defaultValue().getExpression().toUtf8(),
                                            definition.defaultValue().units().toUtf8()};
    }
    return found;
  }

  /// What a model is about: the profiles as it has followed them, which stereotypes each element carries, and the
  /// values of elements, also of those whose properties they have lost with a parent and may get again.
  struct Plain {
    std::set<std::size_t> used{0}; ///< by number, see known
    Stereotypes followed{};
    std::map<std::string, std::set<Id>> elements{};
    std::map<std::pair<std::string, Id>, std::string> values{};

    std::set<Id> applied(const std::set<Id>& carried) const {
      std::set<Id> all;
      for (auto next : carried)
        for (; followed.contains(next) && all.insert(next).second;)
          next = followed.at(next).parent;
      return all;
    }
    bool isInUse(const Id& stereotype) const {
      const auto& properties = followed.at(stereotype).properties;
      return std::ranges::any_of(elements,
                                 [&](const auto& each) { return applied(each.second).contains(stereotype); }) ||
             std::ranges::any_of(values, [&](const auto& each) { return properties.contains(each.first.second); });
    }
    void dropValues(const std::string& path, const Id& stereotype) {
      for (const auto& [property, unused] : followed.at(stereotype).properties)
        values.erase({path, property});
    }
    /// What an element no longer carries takes the values of what it no longer has.
    void discard(const std::string& path, const std::set<Id>& gone) {
      auto& carried = elements.at(path);
      const auto before = applied(carried);
      for (const auto& each : gone)
        carried.erase(each);
      const auto after = applied(carried);
      for (const auto& each : before)
        if (!after.contains(each))
          dropValues(path, each);
    }
    friend bool operator==(const Plain&, const Plain&) = default;
  };

  /// A profile and its file.
  struct Known {
    std::string name, savedAs;
    bool isAway = false;
  };

  /// Empty when the file is away, or that of something that the profile needs.
  Profile profileOf(std::size_t number) const {
    try {
      return Profile::loadFromFile(text(known[number].name));
    } catch (const tavo::Error&) {
      return {};
    }
  }
  void saveKnown(std::size_t number) {
    auto& [name, savedAs, isAway] = known[number];
    save(profileOf(number));
    if (savedAs != name)
      std::filesystem::remove(file(savedAs + ".xml"));
    savedAs = name;
  }

  /// What a synchronisation makes of it.
  void follow(Plain& plain) const {
    const auto old = plain.followed;
    Stereotypes now;
    std::set<std::size_t> present;
    const auto look = [&](std::size_t number) {
      const auto profile = profileOf(number);
      if (!profile)
        return;
      auto found = stereotypesOf(profile);
      bool isUsed = false, hasAny = false;
      for (const auto& [id, stereotype] : old)
        if (home.at(id) == number) {
          isUsed = isUsed || plain.isInUse(id);
          hasAny = hasAny || found.contains(id);
        }
      if (isUsed && !hasAny)
        return; // it might be another one
      now.merge(found);
      present.insert(number);
    };
    for (const auto number : plain.used)
      look(number);

    std::set<Id> gone;
    for (const auto& [id, stereotype] : old)
      if (!now.contains(id) && present.contains(home.at(id)))
        gone.insert(id);
    for (auto& [path, carried] : plain.elements)
      plain.discard(path, gone);
    for (const auto& id : gone)
      for (const auto& [property, unused] : old.at(id).properties)
        std::erase_if(plain.values, [&lost = property](const auto& each) { return each.first.second == lost; });
    for (auto& [id, stereotype] : plain.followed)
      while (gone.contains(stereotype.parent))
        stereotype.parent = old.at(stereotype.parent).parent;
    for (const auto& id : gone)
      plain.followed.erase(id);

    // A parent may bring its profile along.
    for (const auto& [id, stereotype] : Stereotypes(now))
      if (home.contains(stereotype.parent) && plain.used.insert(home.at(stereotype.parent)).second)
        look(home.at(stereotype.parent));
    for (const auto& [id, stereotype] : now) {
      const bool isNew = !plain.followed.contains(id);
      const auto former = plain.followed[id];
      for (const auto& [property, unused] : former.properties)
        if (!stereotype.properties.contains(property))
          std::erase_if(plain.values, [&lost = property](const auto& each) { return each.first.second == lost; });
      plain.followed[id] = stereotype;
      if (stereotype.parent == "?")
        plain.followed[id].parent = isNew ? "" : former.parent;
    }
  }

  void expectSame(const Plain& plain) {
    std::map<Id, std::string> names;
    for (const auto& [id, stereotype] : plain.followed)
      names[id] = stereotype.qualifiedName();
    std::map<std::string, std::set<std::string>> carriers;
    std::size_t values = 0;
    for (const auto& usage : profiles().p_PropertySets()) {
      carriers[usage.p_Name().toUtf8()];
      for (const auto& property : usage.properties())
        values += property.p_ValueTable().p_Entries().size();
    }
    RC_ASSERT(carriers.size() == names.size());
    RC_ASSERT(values == plain.values.size());

    for (const auto& [path, carried] : plain.elements) {
      const auto element = factory.findElement(text(path));
      RC_ASSERT(element);
      std::set<Id> sources;
      for (const auto& source : element.prototypeProxy())
        sources.insert(idOf(source));
      RC_ASSERT(sources == carried);
      for (const auto& each : carried)
        carriers[names.at(each)].insert(idOf(element));

      std::set<std::string> sets, expected;
      for (const auto& name : element.getPropertySetNames())
        sets.insert(name.toUtf8());
      for (const auto& each : plain.applied(carried)) {
        expected.insert(names.at(each));
        for (const auto& [property, definition] : plain.followed.at(each).properties) {
          const auto name = text(names.at(each) + "." + definition.name);
          RC_ASSERT(element.hasPropVal(name));
          const auto own = plain.values.find({path, property});
          RC_ASSERT(element.isPropValDefault(name) == (own == plain.values.end()));
          RC_ASSERT(element.getPropVal(name).expression.toUtf8() ==
                    (own == plain.values.end() ? definition.expression : own->second));
          if (own == plain.values.end())
            RC_ASSERT(element.getPropVal(name).units.toUtf8() == definition.units);
        }
      }
      RC_ASSERT(sets == expected);
    }
    for (const auto& entry : profiles().p_PrototypeToPrototypableCache().p_Entries()) {
      std::set<std::string> ids;
      for (const auto& element : entry.p_Elements())
        ids.insert(idOf(element));
      RC_ASSERT(ids == carriers.at(entry.p_PrototypeName().toUtf8()));
    }
    tavo::checkInvariants(model());
  }

  /// One change of a profile, which may be refused.
  void changeProfile(std::size_t number);
  void changeStereotype(const Prototype& prototype, const std::vector<Prototype>& parents);
  /// Saves, unloads, takes away or puts back.
  void changeFile(std::size_t number);
  void noteHomes();
  /// What a comparison finds, but for profiles that cannot be had.
  std::string differences() const;

  /// Any number below, from the first case on.
  static std::size_t below(std::size_t count) {
    return *rc::gen::resize(rc::kNominalSize, rc::gen::inRange<std::size_t>(0, count));
  }
  template <class T>
  static T any(const std::vector<T>& from) {
    return from[below(from.size())];
  }

  std::vector<Known> known = {{"Plant", "Plant"}, {"Base", "Base"}};
  std::map<Id, std::size_t> home; ///< which profile each stereotype is in, also when it is gone
};

void RandomModelTest::changeStereotype(const Prototype& prototype, const std::vector<Prototype>& parents) {
  const auto set = prototype.getPropertySet();
  const auto definitions = set.getAllProperties();
  const auto name = any<const char16_t*>({u"power", u"slots", u"label", u"flow"});
  const auto what = below(7), detail = below(5);
  RC_LOG() << "stereotype " << what << ' ' << detail << ' ' << prototype.getName().toUtf8() << '\n';
  switch (what) {
  case 0:
    prototype.setName(any<const char16_t*>({u"Machine", u"Pump", u"Tank", u"Motor"}));
    break;
  case 1:
    prototype.setParent(any(parents));
    break;
  case 2: {
    tavo::Transaction transaction(prototype.model());
    define(prototype, name, u"double", u"7", u"kW");
    transaction.commit();
    break;
  }
  default:
    if (definitions.empty())
      break;
    const auto definition = any(definitions);
    switch (detail) {
    case 0:
      set.removeProperty(definition.p_Name());
      break;
    case 1:
      definition.setName(name);
      break;
    case 2:
      definition.setDefaultPropertyValue(any<const char16_t*>({u"1", u"2", u"3", u"'x'"}), u"*");
      break;
    case 3:
      definition.setUnit(any<const char16_t*>({u"W", u"kW", u"kg"}));
      break;
    default:
      definition.setBaseType(any<const char16_t*>({u"double", u"int32", u"string"}));
    }
  }
}

void RandomModelTest::changeProfile(std::size_t number) {
  const auto profile = profileOf(number);
  if (!profile)
    return;
  std::vector<Prototype> parents = {{}};
  if (number == 0)
    for (const auto& each : {profile, profileOf(1)})
      if (each)
        std::ranges::copy(each.prototypes().toVector(), std::back_inserter(parents));
  const auto prototypes = profile.prototypes().toVector();
  try {
    const auto what = below(9);
    RC_LOG() << "profile " << what << ' ' << known[number].name << '\n';
    switch (what) {
    case 0:
      add(profile, any<const char16_t*>({u"Machine", u"Pump", u"Tank", u"Motor"}));
      break;
    case 1:
      if (!prototypes.empty())
        any(prototypes).destroy();
      break;
    case 2:
      profile.setName(number == 0 ? any<const char16_t*>({u"Plant", u"Works"})
                                  : any<const char16_t*>({u"Base", u"Basics"}));
      break;
    case 3:
      profile.model().undo();
      break;
    case 4:
      profile.model().redo();
      break;
    default:
      if (!prototypes.empty())
        changeStereotype(any(prototypes), parents);
    }
  } catch (const tavo::Error&) {
    // refused, for a name that is taken for one
  }
  known[number].name = profile.getName().toUtf8();
  // Two files with one content would be two profiles.
  if (known[number].name != known[number].savedAs)
    saveKnown(number);
}

void RandomModelTest::changeFile(std::size_t number) {
  auto& [name, savedAs, isAway] = known[number];
  if (isAway) {
    std::filesystem::rename(file("away-" + name), file(name + ".xml"));
    isAway = false;
    return;
  }
  if (!profileOf(number))
    return;
  const auto what = below(3);
  RC_LOG() << "file " << what << ' ' << name << '\n';
  if (what != 0)
    saveKnown(number); // else what has not been saved is lost
  catalog().unloadProfile(text(name));
  if (what == 2) {
    std::filesystem::rename(file(name + ".xml"), file("away-" + name));
    isAway = true;
  }
}

void RandomModelTest::noteHomes() {
  for (const std::size_t number : {0u, 1u})
    if (const auto profile = profileOf(number))
      for (const auto& prototype : profile.prototypes())
        home[idOf(prototype)] = number;
}

std::string RandomModelTest::differences() const {
  const auto scratch = tavo::Model::create();
  const auto found = profile::ProfileUseChecker::analyze(scratch, profiles());
  found.setP_MissingProfiles({});
  return found.hasDifferences() ? tavo::treeText(found).toUtf8() : "";
}

RC_GTEST_FIXTURE_PROP(RandomModelTest, AModelIsWhatWasDoneToItAndItsProfiles, ()) {
  const auto base = Profile::newProfile(u"Base");
  define(add(base, u"Thing"), u"weight", u"double", u"3", u"kg");
  save(base);
  base.model().clearHistory();
  plant.model().clearHistory();
  Plain start;
  noteHomes();
  start.followed = stereotypesOf(plant);
  const std::vector<std::string> paths = {"A", "A/C", "B"};
  for (const auto& name : {"A", "B"}) {
    factory.addComponent(text(name)).applyPrototype(stereotype(u"Pump"));
    start.elements[name] = {idOf(stereotype(u"Pump"))};
  }
  model().clearHistory();
  std::vector<Plain> steps = {start}, undone;

  const int count = *rc::gen::inRange(1, 100);
  for (int i = 0; i < count; ++i) {
    Plain plain = steps.back();
    const auto path = any(paths);
    const auto element = factory.findElement(text(path));
    const auto serial = model().undoSerial();
    const auto what = below(20);
    RC_LOG() << what << " " << path << (element ? "" : " -") << "\n";
    switch (what) {
    case 0:
    case 1: {
      if (element)
        break;
      const auto slash = path.rfind('/');
      const auto owner = slash == path.npos ? Element(factory) : factory.findElement(text(path.substr(0, slash)));
      if (!owner)
        break;
      owner.cast<Component>().addComponent(text(path.substr(slash + 1)));
      plain.elements[path];
      break;
    }
    case 2: {
      if (!element)
        break;
      element.destroy();
      const auto isIn = [&](const std::string& other) { return other == path || other.starts_with(path + "/"); };
      for (const auto& [name, carried] : steps.back().elements) {
        if (!isIn(name))
          continue;
        plain.discard(name, std::set(carried));
        plain.elements.erase(name);
        // What it had lost with a parent stays in the tables, and is nobody's.
        for (const auto& [key, value] : std::map(plain.values))
          if (key.first == name) {
            plain.values.erase(key);
            plain.values[{"destroyed " + std::to_string(i) + name, key.second}] = value;
          }
      }
      break;
    }
    case 3: {
      const auto name = any<std::string>({"A", "B"});
      if (!element || factory.findElement(text(name)))
        break;
      tavo::Transaction transaction(model());
      const auto copy = element.clone(model(), {}).cast<Component>();
      copy.setName(text(name));
      copy.reparent(factory);
      transaction.commit();
      for (const auto& [from, carried] : steps.back().elements) {
        if (from != path && !from.starts_with(path + "/"))
          continue;
        const auto to = name + from.substr(path.size());
        plain.elements[to] = carried;
        for (const auto& each : plain.applied(carried))
          for (const auto& [property, unused] : plain.followed.at(each).properties)
            if (const auto own = plain.values.find({from, property}); own != plain.values.end())
              plain.values[{to, property}] = std::string(own->second);
      }
      break;
    }
    case 4:
    case 5: {
      std::vector<Prototype> prototypes;
      for (const auto number : plain.used)
        if (const auto profile = profileOf(number))
          std::ranges::copy(profile.prototypes().toVector(), std::back_inserter(prototypes));
      if (!element || prototypes.empty())
        break;
      const auto prototype = any(prototypes);
      if (!plain.followed.contains(idOf(prototype))) {
        EXPECT_ERROR(element.applyPrototype(prototype), "Velmora:Profile:CannotApplyPrototype");
        break;
      }
      element.applyPrototype(prototype);
      plain.elements[path].insert(idOf(prototype));
      break;
    }
    case 6: {
      const auto prototypes = element ? element.getPrototypes() : std::vector<Prototype>();
      if (prototypes.empty())
        break;
      const auto prototype = any(prototypes);
      element.removePrototype(prototype);
      plain.discard(path, {idOf(prototype)});
      break;
    }
    case 7:
    case 8:
    case 9: {
      std::vector<std::pair<std::string, Id>> properties;
      if (element)
        for (const auto& each : plain.applied(plain.elements.at(path)))
          for (const auto& [id, property] : plain.followed.at(each).properties)
            properties.emplace_back(plain.followed.at(each).qualifiedName() + "." + property.name, id);
      if (properties.empty())
        break;
      const auto [property, id] = any(properties);
      const auto value = any<std::string>({"1", "2", "'x'", "-1", "]"});
      if (what == 9) {
        element.clearPropVal(text(property));
        plain.values.erase({path, id});
        break;
      }
      try {
        element.setPropVal(text(property), text(value), u"*");
        plain.values[{path, id}] = value;
      } catch (const tavo::Error& error) {
        RC_ASSERT(error.id() == PropertyError::ErrorSettingPropertyValue);
      }
      break;
    }
    case 10:
    case 11:
      if (steps.size() > 1 && what == 10) {
        RC_ASSERT(model().undo());
        undone.push_back(steps.back());
        steps.pop_back();
      } else if (!undone.empty()) {
        RC_ASSERT(model().redo());
        steps.push_back(undone.back());
        undone.pop_back();
      }
      modelFile.checkProfiles();
      expectSame(steps.back());
      continue;
    case 12:
      if (std::ranges::any_of(profiles().getAllResolvedProfiles(false), &profile::Profile::getIsUnhealthyOnLoad)) {
        RC_ASSERT(testsupport::raises([&] { modelFile.synchronize(); }, "Velmora:Architecture:UnhealthyProfile", {}));
        expectSame(plain);
        const auto found = modelFile.checkProfiles(); // of a host that insists
        found.setP_MissingProfiles({});
        profiles().synchronizePostLoad(found);
        modelFile.checkProfiles();
      } else {
        modelFile.synchronize();
      }
      follow(plain);
      RC_ASSERT(differences() == "");
      break;
    case 13:
      if (below(3) != 0)
        break;
      modelFile.saveAs(file("model.xml"));
      modelFile = ModelFile::open(file("model.xml"));
      factory = Architecture::getArchitecture(model());
      steps = {plain};
      undone.clear();
      expectSame(plain);
      continue;
    case 14:
    default: {
      const auto number = below(2);
      what == 14 ? changeFile(number) : changeProfile(number);
      if (plain.used.contains(number))
        RC_ASSERT(differences() == "" || profiles().p_IsProfileOutdated());
    }
    }
    noteHomes();
    if (model().undoSerial() != serial) {
      steps.push_back(plain);
      undone.clear();
    }
    RC_ASSERT(plain == steps.back());
    expectSame(plain);
  }
}

} // namespace zelkor
