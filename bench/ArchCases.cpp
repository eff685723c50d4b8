// Elements that carry three stereotypes of eight properties each, with own values for three of them: a length, a whole
// number with a range, a text. The least that could be asked for is a flat map from the element to a text.
#include "bench/Harness.h"

#include "arch/Architecture.h"
#include "arch/Component.h"
#include "tavo/io/Bytes.h"
#include "tavo/model/Transaction.h"
#include "tavo/xml/ModelXml.h"
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

namespace bench {
namespace {

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

struct Property {
  const char* label;
  const char16_t* name;
  String (*text)(unsigned number);
};
const Property properties[] = {
    {"length", u"Bench.S0.p0", [](unsigned n) { return ascii(std::to_string(n) + ".5"); }},
    {"int32", u"Bench.S1.p1", [](unsigned n) { return ascii(std::to_string(n)); }},
    {"text", u"Bench.S2.p2", [](unsigned n) { return ascii("'" + std::to_string(n) + "'"); }},
};

/// The profile, in the catalog as long as this lives.
struct BenchProfile {
  BenchProfile() {
    for (int s = 0; s < 3; ++s) {
      const auto stereotype = profile.addPrototype(ascii("S" + std::to_string(s)), {}, {});
      for (int p = 0; p < 8; ++p)
        define(stereotype, p);
      stereotypes.push_back(stereotype);
    }
  }
  BenchProfile(const BenchProfile&) = delete;
  BenchProfile& operator=(const BenchProfile&) = delete;
  ~BenchProfile() { zelkor::profile::ProfileCatalog::instance().unloadAllProfiles(); }

  static void define(const Prototype& stereotype, int p) {
    const char16_t* const types[] = {u"double", u"int32", u"string"};
    const auto definition = stereotype.getPropertySet().addProperty(ascii("p" + std::to_string(p)), types[p % 3]);
    if (p % 3 == 0)
      definition.setUnit(u"m");
    if (p % 3 == 1)
      definition.setMinAndMax(kavra::HostArray::scalar(std::int64_t{0}), kavra::HostArray::scalar(std::int64_t{1000}));
    definition.setDefaultPropertyValue(p % 3 == 2 ? u"'none'" : u"1", u"*");
  }

  Profile profile = Profile::newProfile(u"Bench");
  std::vector<Prototype> stereotypes{};
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

void apply(Table& table, const Setting& setting, const Plant& plant) {
  Meter meter(plant.file.model());
  const auto order = orderOf(setting);
  meter.run(order.size() * 3, [&] {
    for (const std::size_t i : order)
      for (const auto& stereotype : plant.bench.stereotypes)
        plant.elements[i].applyPrototype(stereotype);
  });
  std::size_t found = 0;
  Meter search(plant.file.model());
  const auto cache = plant.file.profiles().p_PrototypeToPrototypableCache();
  search.run(order.size(), [&] { found = cache.getElementsWithPrototype(u"Bench.S1", false).size(); });
  table.add(setting, "apply", meter, 0, found, order.size(), {});
  table.add(setting, "elements of a stereotype", search, 0, found, order.size(), {});
}

void firstValues(Table& table, const Setting& setting, const Plant& plant) {
  const auto order = orderOf(setting);
  const std::size_t before = heapBytes();
  for (const auto& property : properties) {
    std::vector<String> texts;
    for (std::size_t i = 0; i < setting.objects; ++i)
      texts.push_back(property.text(numberOf(i, 0)));
    const String name = property.name;
    const std::uint64_t heard = plant.heard;
    Meter meter(plant.file.model());
    meter.run(order.size(), [&] {
      for (const std::size_t i : order)
        plant.elements[i].setPropVal(name, texts[i], keepUnits);
    });
    table.add(setting, std::string("first value: ") + property.label, meter, 0, plant.heard - heard, order.size(), {});
  }
  plant.file.model().clearHistory();
  for (const auto& element : plant.elements)
    for (const auto& property : properties)
      element.getPropValObject(property.name).getValueIfExists();
  Table::addBytes(setting, "  a stored value", heapBytes() - before, setting.objects * std::size(properties));
}

void overwrite(Table& table, const Setting& setting, const Plant& plant) {
  boost::unordered_flat_map<tavo::Uuid, String, tavo::UuidHash> map;
  for (const auto& element : plant.elements)
    map.emplace(element.Uuid(), String());
  for (const auto& property : properties) {
    std::vector<String> texts[4];
    for (std::size_t round = 0; round < 4; ++round)
      for (std::size_t i = 0; i < setting.objects; ++i)
        texts[round].push_back(property.text(numberOf(i, round)));
    const String name = property.name;
    const auto sumOf = [](const String& text) {
      std::uint64_t sum = 0;
      for (const char16_t unit : text.view())
        sum = sum * 31 + unit;
      return sum;
    };
    measureChange(table, setting, plant.file.model(),
                  {
                      .name = std::string("set: ") + property.label,
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
                      .allocations = 4, // for the event that tells the application
                  });
  }
}

void read(Table& table, const Setting& setting, const Plant& plant) {
  const auto order = orderOf(setting);
  const String own = u"Bench.S0.p0", byDefault = u"Bench.S0.p3";
  Meter meter(plant.file.model());
  std::uint64_t units = 0;
  for (std::size_t round = 0; round < roundsOf(setting); ++round) {
    units = 0;
    meter.run(order.size(), [&] {
      for (const std::size_t i : order)
        units += plant.elements[i].getPropVal(i % 2 ? own : byDefault).expression.size();
    });
  }
  const std::uint64_t expected = setting.objects / 2 * 4 + (setting.objects + 1) / 2;
  table.add(setting, "get, half of them default", meter, 0, units, expected, {});
}

void file(Table& table, const Setting& setting, const Plant& plant) {
  const std::size_t values = setting.objects * std::size(properties);
  std::string bytes;
  Meter saving, loading, evaluating;
  std::size_t loaded = 0, evaluated = 0;
  saving.run(values, [&] {
    tavo::MemorySink sink(bytes);
    tavo::writeModel(plant.file.model(), sink);
  });
  {
    const auto model = tavo::Model::create();
    tavo::MemorySource source(bytes);
    loading.run(values, [&] { tavo::readModel(source, "bench", model); });
    loaded = model.objectCount();
    evaluating.run(values, [&] {
      for (const auto& element : plant.elements)
        if (const auto again = model.find<Component>(element.Uuid()))
          for (const auto& property : properties)
            evaluated += static_cast<bool>(again.getPropValObject(property.name).getValueIfExists());
    });
    model.destroy();
  }
  table.add(setting, "load, per value", loading, 0, loaded, plant.file.model().objectCount(), {});
  table.add(setting, "save, per value", saving, loading.nanoseconds(), 1, 1, {});
  table.add(setting, "evaluate after loading", evaluating, 0, evaluated, values, {});
  Table::addBytes(setting, "  a value in the file", bytes.size(), values);
}

void follow(Table& table, const Setting& setting, Plant& plant) {
  const auto set = plant.bench.stereotypes[0].getPropertySet();
  set.getPropertyByName(u"p3").setDefaultPropertyValue(u"8", u"*");
  Meter meter(plant.file.model());
  meter.run(setting.objects, [&] { plant.file.synchronize(); });
  table.add(setting, "sync: a default", meter, 0, plant.file.differences().hasDifferences(), 0, {});
  BenchProfile::define(plant.bench.stereotypes[1], 9);
  Meter added(plant.file.model());
  added.run(setting.objects, [&] { plant.file.synchronize(); });
  table.add(setting, "sync: a new property", added, 0, plant.file.differences().hasDifferences(), 0, {});
}

} // namespace

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
  read(table, setting, plant);
  file(table, setting, plant);
  follow(table, setting, plant);
}

} // namespace bench
