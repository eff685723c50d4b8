// Elements that carry three stereotypes of eight properties each, with own values for three of these: a length, a whole
// number with a range, a text; so nine values for an element. The least that could be asked for is a flat map from the
// element to a text.
#include "bench/Harness.h"

#include "arch/Architecture.h"
#include "arch/Component.h"
#include "tavo/io/Bytes.h"
#include "tavo/model/Transaction.h"
#include "tavo/xml/ModelXml.h"
#include "zelkor/evolution/Evolver.h"
#include "zelkor/evolution/ReleaseRegistry.h"
#include "zelkor/framework/ModelFile.h"
#include "zelkor/meta/ValueStruct.h"
#include "zelkor/profile/Profile.h"
#include "zelkor/profile/ProfileCatalog.h"
#include "zelkor/profile/ProfileNamespace.h"
#include "zelkor/profile/Prototype.h"
#include "zelkor/profile/PrototypeToPrototypableCache.h"
#include "zelkor/property/PropertyDefinition.h"
#include "zelkor/property/PropertySet.h"
#include "zelkor/property/Value.h"
#include "zelkor/services/ModelEventBroadcastSystem.h"

#include <boost/unordered/unordered_flat_map.hpp>

#include <algorithm>
#include <filesystem>
#include <optional>

#include <unistd.h>

namespace bench {
namespace {

namespace fs = std::filesystem;

using tavo::String;
using zelkor::Component;
using zelkor::profile::Profile;
using zelkor::profile::Prototype;

const String keepUnits = u"*";

String ascii(const std::string& text) { return String::fromUtf8(text); }

/// The text of a value in a round, and a number that it stands for.
unsigned numberOf(std::size_t object, std::size_t round) {
  return static_cast<unsigned>((object * 7 + round * 13) % 90 + 10);
}

constexpr std::size_t stereotypeCount = 3;

/// The kinds of property that elements have values of their own for; each stereotype has one of each.
struct Kind {
  const char* label;
  String (*text)(unsigned number);
};
const Kind kinds[] = {
    {"length", [](unsigned n) { return ascii(std::to_string(n) + ".5"); }},
    {"int32", [](unsigned n) { return ascii(std::to_string(n)); }},
    {"text", [](unsigned n) { return ascii("'" + std::to_string(n) + "'"); }},
};
constexpr std::size_t valuesPerElement = stereotypeCount * std::size(kinds);

/// "Bench.S0.p0": the first three properties of a stereotype are those with own values.
String nameOf(std::size_t stereotype, std::size_t property) {
  return ascii("Bench.S" + std::to_string(stereotype) + ".p" + std::to_string(property));
}

std::vector<String> textsOf(const Kind& kind, const Setting& setting, std::size_t round) {
  std::vector<String> texts;
  texts.reserve(setting.objects);
  for (std::size_t i = 0; i < setting.objects; ++i)
    texts.push_back(kind.text(numberOf(i, round)));
  return texts;
}

std::uint64_t sumOf(const String& text) {
  std::uint64_t sum = 0;
  for (const char16_t unit : text.view())
    sum = sum * 31 + unit;
  return sum;
}

void define(const Prototype& stereotype, std::size_t p) {
  const char16_t* const types[] = {u"double", u"int32", u"string"};
  const auto definition = stereotype.getPropertySet().addProperty(ascii("p" + std::to_string(p)), types[p % 3]);
  if (p % 3 == 0)
    definition.setUnit(u"m");
  if (p % 3 == 1)
    definition.setMinAndMax(kavra::HostArray::scalar(std::int64_t{0}), kavra::HostArray::scalar(std::int64_t{1000}));
  definition.setDefaultPropertyValue(p % 3 == 2 ? u"'none'" : u"1", u"*");
}

/// A profile in the catalog, as long as the catalog is not emptied.
std::vector<Prototype> makeProfile(const String& name) {
  const auto profile = Profile::newProfile(name);
  std::vector<Prototype> stereotypes;
  for (std::size_t s = 0; s < stereotypeCount; ++s) {
    stereotypes.push_back(profile.addPrototype(ascii("S" + std::to_string(s)), {}, {}));
    for (std::size_t p = 0; p < 8; ++p)
      define(stereotypes.back(), p);
  }
  return stereotypes;
}

/// The profile, in the catalog as long as this lives.
struct BenchProfile {
  BenchProfile() = default;
  BenchProfile(const BenchProfile&) = delete;
  BenchProfile& operator=(const BenchProfile&) = delete;
  ~BenchProfile() { zelkor::profile::ProfileCatalog::instance().unloadAllProfiles(); }

  const std::vector<Prototype> stereotypes = makeProfile(u"Bench");
};

/// A model of so many components, below parts of a thousand each.
struct Plant {
  explicit Plant(const Setting& setting) {
    tavo::Transaction transaction(file.model());
    const auto root = zelkor::Architecture::createArchitecture(file.model(), u"Plant");
    file.profiles().addProfile(u"Bench", false);
    Component owner;
    for (std::size_t i = 0; i < setting.objects; ++i) {
      if (i % 1000 == 0)
        owner = root.addComponent(ascii("part" + std::to_string(i / 1000)));
      elements.push_back(owner.addComponent(ascii("c" + std::to_string(i))));
    }
    transaction.commit();
    file.model().clearHistory();
    file.model().setUndoDepth(setting.undoDepth);
  }

  BenchProfile bench{};
  zelkor::ModelFile file = zelkor::ModelFile::create(u"plant");
  std::vector<Component> elements{};
  std::uint64_t heard = 0;
  const zelkor::services::ModelEventBroadcastSystem::Token token =
      zelkor::services::ModelEventBroadcastSystem::instance().subscribe([this](const auto&) { ++heard; });
};

std::uint64_t objectsIn(const Plant& plant) { return plant.file.model().objectCount(); }

/// The way back and forth over the last steps of what `change` has measured, which is their floor.
void undoAndRedo(Table& table, const Setting& setting, const Plant& plant, const std::string& of, const Meter& change) {
  const auto& model = plant.file.model();
  const std::size_t steps = std::min(setting.undoDepth, setting.objects);
  const std::uint64_t made = objectsIn(plant);
  Meter undo(model), redo(model);
  std::uint64_t undone = 0;
  for (int round = 0; round < 3; ++round) {
    undo.run(steps, [&] {
      for (std::size_t step = 0; step < steps; ++step)
        model.undo();
    });
    undone = objectsIn(plant);
    redo.run(steps, [&] {
      for (std::size_t step = 0; step < steps; ++step)
        model.redo();
    });
  }
  table.add(setting, "  undo of " + of, undo, change.nanoseconds(), undone < made, 1, {0, 0});
  table.add(setting, "  redo of " + of, redo, change.nanoseconds(), objectsIn(plant), made, {0, 0});
}

void apply(Table& table, const Setting& setting, const Plant& plant) {
  Meter meter(plant.file.model());
  const auto order = orderOf(setting);
  for (const auto& stereotype : plant.bench.stereotypes)
    meter.run(order.size(), [&] {
      for (const std::size_t i : order)
        plant.elements[i].applyPrototype(stereotype);
    });
  std::size_t found = 0;
  Meter search(plant.file.model());
  const auto cache = plant.file.profiles().p_PrototypeToPrototypableCache();
  search.run(order.size(), [&] { found = cache.getElementsWithPrototype(u"Bench.S1", false).size(); });
  table.add(setting, "apply", meter, 0, found, order.size(), {});
  undoAndRedo(table, setting, plant, "apply", meter);
  table.add(setting, "elements of a stereotype", search, 0, found, order.size(), {});
}

void firstValues(Table& table, const Setting& setting, const Plant& plant) {
  const auto order = orderOf(setting);
  const std::size_t before = heapBytes();
  for (std::size_t kind = 0; kind < std::size(kinds); ++kind) {
    const auto texts = textsOf(kinds[kind], setting, 0);
    const std::uint64_t heard = plant.heard;
    Meter meter(plant.file.model());
    for (std::size_t stereotype = 0; stereotype < stereotypeCount; ++stereotype) {
      const String name = nameOf(stereotype, kind);
      meter.run(order.size(), [&] {
        for (const std::size_t i : order)
          plant.elements[i].setPropVal(name, texts[i], keepUnits);
      });
    }
    const std::string label = kinds[kind].label;
    table.add(setting, "first value: " + label, meter, 0, plant.heard - heard, order.size() * stereotypeCount, {});
    undoAndRedo(table, setting, plant, "first " + label, meter);
    plant.file.model().clearHistory();
  }
  for (const auto& element : plant.elements)
    for (std::size_t stereotype = 0; stereotype < stereotypeCount; ++stereotype)
      for (std::size_t kind = 0; kind < std::size(kinds); ++kind)
        element.getPropValObject(nameOf(stereotype, kind)).getValueIfExists();
  Table::addBytes(setting, "  a stored value", heapBytes() - before, setting.objects * valuesPerElement);
}

void overwrite(Table& table, const Setting& setting, const Plant& plant) {
  boost::unordered_flat_map<tavo::Uuid, String, tavo::UuidHash> map;
  for (const auto& element : plant.elements)
    map.emplace(element.Uuid(), String());
  for (std::size_t kind = 0; kind < std::size(kinds); ++kind) {
    const std::vector<String> texts[] = {textsOf(kinds[kind], setting, 0), textsOf(kinds[kind], setting, 1),
                                         textsOf(kinds[kind], setting, 2), textsOf(kinds[kind], setting, 3)};
    const String name = nameOf(kind, kind);
    measureChange(table, setting, plant.file.model(),
                  {
                      .name = std::string("set: ") + kinds[kind].label,
                      .change =
                          [&](const auto& order, std::size_t round) {
                            for (const std::size_t i : order)
                              plant.elements[i].setPropVal(name, texts[round % 4][i], keepUnits);
                          },
                      .floor =
                          [&](const auto& order, std::size_t round) {
                            for (const std::size_t i : order)
                              map.find(plant.elements[i].Uuid())->second = texts[round % 4][i];
                          },
                      .sum =
                          [&] {
                            std::uint64_t sum = 0;
                            for (const auto& element : plant.elements)
                              sum += sumOf(element.getPropVal(name).expression);
                            return sum;
                          },
                      .expected =
                          [&](std::size_t round) {
                            std::uint64_t sum = 0;
                            for (const auto& text : texts[round % 4])
                              sum += sumOf(text);
                            return sum;
                          },
                      .records = 2,
                  });
  }
}

/// All values of all elements as one change, which is one step back.
void overwriteAll(Table& table, const Setting& setting, const Plant& plant) {
  const auto& model = plant.file.model();
  const auto order = orderOf(setting);
  constexpr std::size_t fresh = 5; // no case before has set any of these texts, so each is a change
  const std::vector<String> texts[] = {textsOf(kinds[0], setting, fresh), textsOf(kinds[1], setting, fresh),
                                       textsOf(kinds[2], setting, fresh)};
  String names[stereotypeCount][std::size(kinds)];
  for (std::size_t stereotype = 0; stereotype < stereotypeCount; ++stereotype)
    for (std::size_t kind = 0; kind < std::size(kinds); ++kind)
      names[stereotype][kind] = nameOf(stereotype, kind);
  const auto sum = [&] {
    std::uint64_t all = 0;
    for (const auto& element : plant.elements)
      all += sumOf(element.getPropVal(names[1][0]).expression);
    return all;
  };
  const std::uint64_t before = sum();
  Meter change(model), undo(model);
  const std::size_t values = setting.objects * valuesPerElement;
  change.run(values, [&] {
    tavo::Transaction transaction(model);
    for (const std::size_t i : order)
      for (const auto& ofStereotype : names)
        for (std::size_t kind = 0; kind < std::size(kinds); ++kind)
          plant.elements[i].setPropVal(ofStereotype[kind], texts[kind][i], keepUnits);
    transaction.commit();
  });
  const std::uint64_t after = sum();
  undo.run(values, [&] { model.undo(); });
  table.add(setting, "set all in one", change, 0, after != before, 1, {});
  table.add(setting, "  undo", undo, change.nanoseconds(), sum(), before, {0, 0});
  model.clearHistory();
}

void read(Table& table, const Setting& setting, const Plant& plant) {
  const auto order = orderOf(setting);
  const String own = nameOf(0, 0), byDefault = nameOf(0, 3);
  Meter meter(plant.file.model());
  std::uint64_t units = 0;
  for (std::size_t round = 0; round < roundsOf(setting); ++round) {
    units = 0;
    meter.run(order.size(), [&] {
      for (const std::size_t i : order) {
        const auto value = plant.elements[i].getPropVal(i % 2 ? own : byDefault);
        units += value.expression.size();
      }
    });
  }
  const std::uint64_t expected = setting.objects / 2 * 4 + (setting.objects + 1) / 2;
  table.add(setting, "get, half of them default", meter, 0, units, expected, {});
}

/// What a change and opening a model cost when a hundred profiles and models have nothing to do with it.
void amongOthers(Table& table, const Setting& setting, const Plant& plant) {
  const fs::path folder = fs::temp_directory_path() / ("zelkor_bench." + std::to_string(::getpid()));
  fs::create_directories(folder);
  const fs::path path = folder / "small.xml";
  {
    auto small = zelkor::ModelFile::create(u"small");
    const auto root = zelkor::Architecture::createArchitecture(small.model(), u"Small");
    small.profiles().addProfile(u"Bench", false);
    for (int i = 0; i < 100; ++i) {
      const auto element = root.addComponent(ascii("c" + std::to_string(i)));
      element.applyPrototype(plant.bench.stereotypes[0]);
      element.setPropVal(nameOf(0, 0), u"5", keepUnits);
    }
    small.saveAs(path);
  }

  const String name = nameOf(0, 0);
  const std::size_t changes = std::min<std::size_t>(1000, setting.objects);
  std::size_t round = 0, opened = 0;
  const auto change = [&](Meter& meter) {
    for (int i = 0; i < 10; ++i, ++round) {
      const String text = kinds[0].text(numberOf(0, round));
      meter.run(changes, [&] {
        for (std::size_t each = 0; each < changes; ++each)
          plant.elements[each].setPropVal(name, text, keepUnits);
      });
    }
  };
  const auto open = [&](Meter& meter) {
    for (int i = 0; i < 5; ++i)
      meter.run(1, [&] { opened += zelkor::ModelFile::open(path).differences().hasDifferences() ? 0 : 1; });
  };
  Meter first, changeAlone(plant.file.model()), openAlone, changing(plant.file.model()), opening;
  open(first); // what is made once has been made
  change(changeAlone);
  open(openAlone);

  std::vector<zelkor::ModelFile> others;
  for (int i = 0; i < 100; ++i) {
    makeProfile(ascii("Other" + std::to_string(i)));
    others.push_back(zelkor::ModelFile::create(ascii("other" + std::to_string(i))));
  }
  change(changing);
  open(opening);
  table.add(setting, "set among 100 others", changing, changeAlone.nanoseconds(), round, 20,
            {changeAlone.allocations(), changeAlone.records()});
  table.add(setting, "open among 100 others", opening, openAlone.nanoseconds(), opened, 15,
            {openAlone.allocations(), openAlone.records()});
  others.clear();
  for (int i = 0; i < 100; ++i)
    zelkor::profile::ProfileCatalog::instance().unloadProfile(ascii("Other" + std::to_string(i)));
  plant.file.model().clearHistory();
  fs::remove_all(folder);
}

/// Only counts what is written.
class Length : public tavo::ByteSink {
public:
  void write(std::string_view bytes) override { total += bytes.size(); }
  std::size_t total = 0;
};

void file(Table& table, const Setting& setting, const Plant& plant) {
  const std::size_t values = setting.objects * valuesPerElement;
  Length length;
  tavo::writeModel(plant.file.model(), length);
  std::string bytes;
  bytes.reserve(length.total);
  Meter saving, parsing, loading, evaluating;
  std::size_t loaded = 0, evaluated = 0;
  saving.run(values, [&] {
    tavo::MemorySink sink(bytes);
    tavo::writeModel(plant.file.model(), sink);
  });
  std::uint64_t elements = 0;
  parsing.run(values, [&] { elements = parseBare(bytes); });
  {
    const auto model = tavo::Model::create();
    tavo::MemorySource source(bytes);
    loading.run(values, [&] { tavo::readModel(source, "bench", model); });
    loaded = model.objectCount();
    evaluating.run(values, [&] {
      for (const auto& element : plant.elements)
        if (const auto again = model.find<Component>(element.Uuid()))
          for (std::size_t stereotype = 0; stereotype < stereotypeCount; ++stereotype)
            for (std::size_t kind = 0; kind < std::size(kinds); ++kind)
              evaluated += static_cast<bool>(again.getPropValObject(nameOf(stereotype, kind)).getValueIfExists());
    });
    model.destroy();
  }
  table.add(setting, "load, per value", loading, parsing.nanoseconds(), loaded, objectsIn(plant), {});
  table.add(setting, "save, per value", saving, loading.nanoseconds(), elements != 0, 1, {});
  table.add(setting, "evaluate after loading", evaluating, 0, evaluated, values, {});
  Table::addBytes(setting, "  a value in the file", bytes.size(), values);
}

void follow(Table& table, const Setting& setting, Plant& plant) {
  const auto sync = [&](const char* name) {
    Meter meter(plant.file.model());
    meter.run(setting.objects, [&] { plant.file.synchronize(); });
    table.add(setting, name, meter, 0, plant.file.differences().hasDifferences(), 0, {});
  };
  const auto set = plant.bench.stereotypes[0].getPropertySet();
  sync("sync: nothing");
  set.getPropertyByName(u"p3").setDefaultPropertyValue(u"8", u"*");
  sync("sync: a default");
  set.getPropertyByName(u"p0").setDefaultPropertyValue(u"8", u"*");
  sync("sync: one with own values");
  define(plant.bench.stereotypes[1], 9);
  sync("sync: a new property");
}

/// The values of a model, as a number that depends on where each of them stands.
std::uint64_t sumOfValues(const Plant& plant, const tavo::Model& model) {
  std::uint64_t sum = 0;
  for (const auto& original : plant.elements)
    if (const auto element = model.find<Component>(original.Uuid()))
      for (std::size_t stereotype = 0; stereotype < stereotypeCount; ++stereotype)
        for (std::size_t kind = 0; kind < std::size(kinds); ++kind)
          sum = sum * 31 + sumOf(element.getPropVal(nameOf(stereotype, kind)).expression);
  return sum;
}

/// The model as a file of the oldest release, against one of the present release with the same content.
void measureOldModel(Table& table, const Setting& setting, const Plant& plant) {
  const fs::path folder = fs::temp_directory_path() / ("zelkor_bench." + std::to_string(::getpid()));
  const fs::path old = folder / "old" / "plant.xml", present = folder / "plant.xml";
  fs::create_directories(old.parent_path());
  namespace evolution = zelkor::property::evolution;
  const tavo::String release(evolution::ReleaseRegistry::releases().back().release);
  evolution::Evolver::evolve(release, u"Plover", tavo::modelText(plant.file.model()),
                             tavo::String::fromUtf8(old.string()));
  zelkor::ModelFile::open(old).saveAs(present);

  const std::uint64_t wanted = sumOfValues(plant, plant.file.model());
  Meter opening, migrating;
  std::uint64_t opened = 0, migrated = 0;
  std::size_t peak = 0;
  for (std::size_t round = 0; round < (setting.objects > 1000 ? 3 : 10); ++round) {
    std::optional<zelkor::ModelFile> file;
    opening.run(setting.objects, [&] { file = zelkor::ModelFile::open(present); });
    opened = sumOfValues(plant, file->model());
    file.reset();
    peak = peakOf([&] { migrating.run(setting.objects, [&] { file = zelkor::ModelFile::open(old); }); });
    migrated = sumOfValues(plant, file->model());
  }
  table.add(setting, "present model: open", opening, 0, opened, wanted, {});
  table.add(setting, "oldest model: open", migrating, opening.nanoseconds(), migrated, wanted, {});
  Table::addBytes(setting, "  at the peak", peak, fs::file_size(old), "byte of the file");
  fs::remove_all(folder);
}

} // namespace

void runModelReleaseCases(Table& table, const Setting& setting) {
  if (setting.textUnits != 5)
    return; // the texts are those of the properties
  Plant plant(setting);
  plant.file.model().setUndoDepth(0);
  for (const std::size_t i : orderOf(setting))
    for (std::size_t stereotype = 0; stereotype < stereotypeCount; ++stereotype) {
      plant.elements[i].applyPrototype(plant.bench.stereotypes[stereotype]);
      for (std::size_t kind = 0; kind < std::size(kinds); ++kind)
        plant.elements[i].setPropVal(nameOf(stereotype, kind), kinds[kind].text(numberOf(i, 0)), keepUnits);
    }
  measureOldModel(table, setting, plant);
}

void runArchCases(Table& table, const Setting& setting) {
  // The texts are those of the properties, so one of the two lengths that names have will do.
  if (setting.textUnits != 5 && setting.undoDepth != Setting::unlimited)
    return;
  Plant plant(setting);
  const std::size_t before = heapBytes();
  apply(table, setting, plant);
  plant.file.model().clearHistory();
  Table::addBytes(setting, "  the stereotypes of an element", heapBytes() - before, setting.objects);
  firstValues(table, setting, plant);
  overwrite(table, setting, plant);
  overwriteAll(table, setting, plant);
  read(table, setting, plant);
  if (setting.undoDepth == Setting::unlimited)
    return; // the rest says nothing about the history, and takes half of the time
  amongOthers(table, setting, plant);
  file(table, setting, plant);
  follow(table, setting, plant);
}

} // namespace bench
