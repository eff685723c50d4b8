// Saving and loading, in memory, against a bare parse of the same bytes.
#include "bench/Book.impl.h"
#include "bench/Harness.h"
#include "bench/Shelf.h"

#include "tavo/io/Bytes.h"
#include "tavo/model/Transaction.h"
#include "tavo/xml/ModelXml.h"
#include "zelkor/evolution/Evolver.h"
#include "zelkor/evolution/ReleaseRegistry.h"
#include "zelkor/profile/Profile.h"
#include "zelkor/property/PropertyDefinition.h"
#include "zelkor/property/PropertySet.h"

namespace bench {
namespace {

using tavo::Model;

std::uint64_t hashOf(std::string_view bytes) {
  std::uint64_t hash = 0xcbf29ce484222325u;
  for (const char byte : bytes)
    hash = (hash ^ static_cast<unsigned char>(byte)) * 0x100000001b3u;
  return hash;
}

std::string save(const Model& model, std::size_t size) {
  std::string bytes;
  bytes.reserve(size);
  tavo::MemorySink sink(bytes);
  tavo::writeModel(model, sink);
  return bytes;
}

/// Shelves of named objects, which are keyed by name and by number.
void fillLibrary(const Model& model, const Setting& setting) {
  constexpr std::size_t booksPerShelf = 100000;
  library::Shelf shelf;
  std::uint32_t number = 0;
  for (const std::size_t i : orderOf(setting)) {
    if (number++ % booksPerShelf == 0)
      shelf = library::Shelf::create(model);
    const auto book = library::Book::create(model);
    auto& object = static_cast<library::Book::Impl&>(book.object());
    book.setName(textOf(i, 0, setting.textUnits));
    object.setNumber(number);
    object.setShelf(shelf);
  }
}

/// A profile of property definitions with a default value each.
void fillProfile(const Model& model, const Setting& setting) {
  constexpr std::size_t objectsPerProperty = 4;
  constexpr std::size_t propertiesPerSet = 500;
  const auto profile = zelkor::profile::Profile::createProfile(model, u"Bench");
  zelkor::property::PropertySet set;
  std::size_t made = 0;
  for (const std::size_t i : orderOf(setting)) {
    if (i % objectsPerProperty != 0)
      continue;
    if (made++ % propertiesPerSet == 0)
      set = profile.addPropertySet(tavo::concat(u"S", textOf(made, 0, 12)));
    const auto property = set.addProperty(tavo::concat(u"p", textOf(i, 0, setting.textUnits)), u"double");
    property.setDefaultPropertyValue(tavo::String::fromUtf8(std::to_string(i % 90 + 10)), u"*");
  }
}

void measureFile(Table& table, const Setting& setting, const char* name, void (*fill)(const Model&, const Setting&)) {
  const std::size_t rounds = setting.objects > 1000 ? 3 : 30;
  std::size_t objects = 0, size = 0;
  Meter firstSave, saving, parsing, loading;
  std::uint64_t elements = 0, loaded = 0, first = 0, again = 0;
  for (std::size_t round = 0; round < rounds; ++round) {
    std::string bytes;
    {
      const Scene scene;
      tavo::Transaction transaction(scene.model);
      fill(scene.model, setting);
      transaction.commit();
      objects = scene.model.objectCount();
      firstSave.run(objects, [&] { bytes = save(scene.model, size); });
      size = bytes.size();
      first = hashOf(bytes);
      saving.run(objects, [&] { bytes = save(scene.model, size); });
      again = hashOf(bytes);
    }
    parsing.run(objects, [&] { elements = parseBare(bytes); });
    const Model model = Model::create();
    tavo::MemorySource source(bytes);
    loading.run(objects, [&] { tavo::readModel(source, "bench", model); });
    loaded = model.objectCount();
    model.destroy();
  }
  const std::string what = name;
  table.add(setting, what + ": expat", parsing, 0, elements, elements, {});
  table.add(setting, what + ": load", loading, parsing.nanoseconds(), loaded, objects, {});
  table.add(setting, what + ": save", saving, loading.nanoseconds(), again, first, {});
  table.add(setting, what + ": first save", firstSave, loading.nanoseconds(), first, first, {});
  Table::addBytes(setting, "  in the file", size, objects);
}

/// The profile as a file of the oldest release, against one of the present release with the same content.
void measureRelease(Table& table, const Setting& setting) {
  using zelkor::property::evolution::Evolver;
  std::string old, present;
  {
    const Scene scene;
    tavo::Transaction transaction(scene.model);
    fillProfile(scene.model, setting);
    transaction.commit();
    const tavo::String release(zelkor::property::evolution::ReleaseRegistry::releases().back().release);
    old = Evolver::evolve(release, u"Plover", tavo::modelText(scene.model), {}).toUtf8();
  }
  const auto load = [](const std::string& bytes) {
    const Model model = Model::create();
    tavo::MemorySource source(bytes);
    tavo::readModel(source, "bench", model);
    return model;
  };
  {
    const Model model = load(old);
    present = save(model, old.size() * 2);
    model.destroy();
  }
  Meter loading, migrating;
  std::size_t objects = 0, loaded = 0, peak = 0;
  for (std::size_t round = 0; round < (setting.objects > 1000 ? 3 : 30); ++round) {
    Model model;
    loading.run(setting.objects, [&] { model = load(present); });
    objects = model.objectCount();
    model.destroy();
    model = {};
    peak = peakOf([&] { migrating.run(setting.objects, [&] { model = load(old); }); });
    loaded = model.objectCount();
    if (round == 0 && save(model, present.size()) != present)
      loaded = 0; // shows as a wrong checksum
    model.destroy();
  }
  table.add(setting, "present release: load", loading, 0, objects, objects, {});
  table.add(setting, "oldest release: load", migrating, loading.nanoseconds(), loaded, objects, {});
  Table::addBytes(setting, "  at the peak", peak, old.size(), "byte of the file");
}

} // namespace

void runReleaseCases(Table& table, const Setting& setting) { measureRelease(table, setting); }

void runFileCases(Table& table, const Setting& setting) {
  measureFile(table, setting, "library", fillLibrary);
  measureFile(table, setting, "profile", fillProfile);
}

} // namespace bench
