// The model core against a flat map of identities and texts.
#include "bench/Book.impl.h"
#include "bench/Harness.h"

#include "tavo/core/Uuid.h"
#include "tavo/model/Transaction.h"
#include "tavo/query/Query.h"

#include <boost/unordered/unordered_flat_map.hpp>

namespace bench {
namespace {

using library::Book;
using tavo::String;
using tavo::Uuid;
using Floor = boost::unordered_flat_map<Uuid, String, tavo::UuidHash>;

constexpr std::size_t nameUnits = 12; ///< of the names that objects are created with

void create(Table& table, const Setting& setting) {
  const auto order = orderOf(setting);
  Meter floor, meter;
  std::uint64_t sum = 0, expected = 0;
  // Each round is a model of its own, so the counters of the last one stand for all.
  for (std::size_t round = 0; round < roundsOf(setting); ++round) {
    {
      Floor map;
      floor.run(order.size(), [&] {
        for (const std::size_t i : order)
          map.emplace(tavo::randomUuid(), textOf(i, 0, nameUnits));
      });
      expected = map.size();
    }
    const Scene scene;
    scene.remember(setting);
    tavo::Transaction transaction(scene.model);
    Meter one(scene.model);
    one.run(order.size(), [&] {
      for (const std::size_t i : order)
        Book::create(scene.model).setName(textOf(i, 0, nameUnits));
    });
    if (one.nanoseconds() < meter.nanoseconds() || meter.operations() == 0)
      meter = one;
    sum = scene.model.objectCount();
    transaction.commit();
  }
  table.add(setting, "create named", meter, floor.nanoseconds(), sum, expected, {1, 2});
}

/// Objects with names, and the same in the flat map.
struct Library {
  explicit Library(const Setting& setting) {
    const std::size_t bytes = heapBytes();
    {
      tavo::Transaction transaction(scene.model);
      books.reserve(setting.objects);
      for (std::size_t i = 0; i < setting.objects; ++i) {
        books.push_back(Book::create(scene.model));
        books.back().setName(textOf(i, 0, setting.textUnits));
      }
      transaction.commit();
    }
    bytesUsed = heapBytes() - bytes - setting.objects * sizeof(Book);
    scene.remember(setting);
    for (const Book& book : books)
      map.emplace(book.Uuid(), book.name());
    for (const Book& book : books)
      entries.push_back(&*map.find(book.Uuid()));
    // Texts are made beforehand: what is measured is the change.
    for (std::size_t round = 0; round < 4; ++round)
      for (std::size_t i = 0; i < setting.objects; ++i)
        texts[round].push_back(textOf(i, round, setting.textUnits));
  }

  Scene scene;
  std::vector<Book> books;
  Floor map;
  std::vector<std::pair<const Uuid, String>*> entries;
  std::vector<String> texts[4];
  std::size_t bytesUsed = 0;
};

void set(Table& table, const Setting& setting, Library& library) {
  const auto hashOf = [](const auto& range, const auto& text) {
    std::uint64_t sum = 0;
    for (const auto& each : range)
      sum += text(each).hash();
    return sum;
  };
  measureChange(
      table, setting, library.scene.model,
      {.name = "set, own transaction",
       .change =
           [&](const auto& order, std::size_t round) {
             const auto& texts = library.texts[round % 4];
             for (const std::size_t i : order)
               library.books[i].setName(texts[i]);
           },
       .floor =
           [&](const auto& order, std::size_t round) {
             const auto& texts = library.texts[round % 4];
             for (const std::size_t i : order)
               library.entries[i]->second = texts[i];
           },
       .sum = [&] { return hashOf(library.books, [](const Book& book) { return book.name(); }); },
       .expected =
           [&](std::size_t round) { return hashOf(library.texts[round % 4], [](const String& text) { return text; }); },
       .records = 1});
}

void find(Table& table, const Setting& setting, const Library& library) {
  const auto order = orderOf(setting);
  std::vector<Uuid> identities;
  for (const Book& book : library.books)
    identities.push_back(book.Uuid());
  Meter floor, meter(library.scene.model);
  std::uint64_t sum = 0, expected = 0;
  for (std::size_t round = 0; round < roundsOf(setting); ++round) {
    floor.run(order.size(), [&] {
      for (const std::size_t i : order)
        expected += library.map.find(identities[i])->first == identities[i];
    });
    meter.run(order.size(), [&] {
      for (const std::size_t i : order)
        sum += library.scene.model.find(identities[i]).get() == library.books[i].get();
    });
  }
  table.add(setting, "find by identity", meter, floor.nanoseconds(), sum, expected, {0, 0});
}

void iterate(Table& table, const Setting& setting, const Library& library) {
  const tavo::Query query(library.scene.model);
  Meter floor, meter(library.scene.model);
  std::uint64_t sum = 0, expected = 0;
  for (std::size_t round = 0; round < roundsOf(setting); ++round) {
    floor.run(setting.objects, [&] {
      for (const auto& [identity, text] : library.map)
        expected += text.size();
    });
    meter.run(setting.objects, [&] {
      query.forEach(Book::metaClass(), tavo::ClassMatch::exact, {}, [&](tavo::ModelElement::Impl& object) {
        sum += static_cast<Book::Impl&>(object).getName().size();
        return true;
      });
    });
  }
  // A query is made once per round, so what it allocates is spread thin.
  table.add(setting, "iterate", meter, floor.nanoseconds(), sum, expected, {0, 0});
}

void destroy(Table& table, const Setting& setting, Library& library) {
  const auto order = orderOf(setting);
  std::vector<Uuid> identities;
  for (const Book& book : library.books)
    identities.push_back(book.Uuid());
  const std::uint64_t heard = library.scene.heard;
  Meter floor, meter(library.scene.model);
  floor.run(order.size(), [&] {
    for (const std::size_t i : order)
      library.map.erase(identities[i]);
  });
  meter.run(order.size(), [&] {
    for (const std::size_t i : order)
      library.books[i].destroy();
  });
  const std::uint64_t sum = library.scene.model.objectCount() + library.scene.heard - heard;
  table.add(setting, "destroy", meter, floor.nanoseconds(), sum, setting.objects, {1, 1});
}

} // namespace

void runModelCases(Table& table, const Setting& setting) {
  create(table, setting);
  Library library(setting);
  set(table, setting, library);
  find(table, setting, library);
  iterate(table, setting, library);
  Table::addBytes(setting, "  a named object", library.bytesUsed, setting.objects);
  destroy(table, setting, library);
}

} // namespace bench
