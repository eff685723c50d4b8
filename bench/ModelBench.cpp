// Measures the model core against floors: what the same work costs with nothing but a plain container around it.
//
// The harness, not the case, chooses sizes, orders, texts, listeners and undo depth; README.md says how to read it.
#include "tests/support/Allocations.h"
#include "tests/tavo/handwritten/Shelf.impl.h"

#include "tavo/model/Transaction.h"
#include "tavo/query/Query.h"

#include <boost/unordered/unordered_flat_map.hpp>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <numeric>
#include <random>

namespace {

using library::Book;
using tavo::String;
using tavo::Uuid;

struct Setting {
  std::size_t objects;
  bool shuffled;
  std::size_t textUnits;
  std::size_t undoDepth;
};

/// A text that differs for every (number, round) and has exactly `units` units.
String textOf(std::size_t number, std::size_t round, std::size_t units) {
  return String::filled(units, [&](char16_t* out) {
    std::size_t rest = number * 4 + round % 4;
    for (std::size_t i = 0; i < units; ++i, rest /= 32)
      out[i] = static_cast<char16_t>(u'A' + rest % 32);
  });
}

std::vector<std::size_t> orderOf(const Setting& setting) {
  std::vector<std::size_t> order(setting.objects);
  std::iota(order.begin(), order.end(), std::size_t{0});
  if (setting.shuffled)
    std::shuffle(order.begin(), order.end(), std::mt19937_64(42));
  return order;
}

double seconds() {
  using namespace std::chrono;
  return duration<double>(steady_clock::now().time_since_epoch()).count();
}

struct Row {
  const char* name;
  std::size_t operations;
  double time;      ///< of all operations, in seconds
  double floorTime; ///< 0 where there is no floor
  std::uint64_t checksum;
  std::size_t allocations;
  std::uint64_t records;
};

void print(const Setting& setting, const Row& row) {
  const auto perOperation = [&](double all) { return all / static_cast<double>(row.operations); };
  std::printf("%-22s %8zu %-8s %3zu %9zd %8.1f %8.1f %6.2f %7.3f %7.3f  %016llx\n", row.name, setting.objects,
              setting.shuffled ? "shuffled" : "element", setting.textUnits,
              static_cast<std::ptrdiff_t>(setting.undoDepth), perOperation(row.time) * 1e9,
              perOperation(row.floorTime) * 1e9, row.floorTime > 0 ? row.time / row.floorTime : 0.0,
              perOperation(static_cast<double>(row.allocations)), perOperation(static_cast<double>(row.records)),
              static_cast<unsigned long long>(row.checksum));
}

/// Runs `operation(i)` for every index and gives the time and the allocations it took.
struct Measured {
  double time;
  std::size_t allocations;
};
template <class Operation>
Measured measure(const std::vector<std::size_t>& order, const Operation& operation) {
  const std::size_t allocations = testsupport::allocations();
  const double start = seconds();
  for (const std::size_t i : order)
    operation(i);
  return {seconds() - start, testsupport::allocations() - allocations};
}

void run(const Setting& setting) {
  const auto order = orderOf(setting);
  // Small sizes are repeated, so that each row rests on at least a hundred thousand operations.
  const std::size_t rounds = std::max<std::size_t>(1, 100000 / setting.objects);
  const std::size_t operations = rounds * setting.objects;
  std::uint64_t heard = 0;

  // The floor of creation, of finding and of setting: a fresh identity and a text of 12 units in a flat map.
  using Floor = boost::unordered_flat_map<Uuid, String, tavo::UuidHash>;
  Row create{"create named", operations, 0, 0, 0, 0, 0};
  for (std::size_t round = 0; round < rounds; ++round) {
    {
      Floor floor;
      create.floorTime +=
          measure(order, [&](std::size_t i) { floor.emplace(tavo::randomUuid(), textOf(i, 0, 12)); }).time;
      create.checksum += floor.size();
    }
    const tavo::Model model = tavo::Model::create();
    model.setUndoDepth(setting.undoDepth);
    const auto token = model.addShallowListener([&] { ++heard; });
    tavo::Transaction transaction(model);
    const Measured made = measure(order, [&](std::size_t i) { Book::create(model).setName(textOf(i, 0, 12)); });
    create.time += made.time;
    create.allocations += made.allocations;
    create.records += model.recordsWritten();
    create.checksum += model.objectCount();
    transaction.commit();
  }
  print(setting, create);

  const tavo::Model model = tavo::Model::create();
  model.setUndoDepth(0);
  std::vector<Book> books;
  Floor floor;
  std::vector<std::pair<const Uuid, String>*> floorEntries(setting.objects);
  for (std::size_t i = 0; i < setting.objects; ++i) {
    books.push_back(Book::create(model));
    books.back().setName(textOf(i, 0, setting.textUnits));
    floor.emplace(books.back().Uuid(), textOf(i, 0, setting.textUnits));
  }
  for (std::size_t i = 0; i < setting.objects; ++i)
    floorEntries[i] = &*floor.find(books[i].Uuid());
  model.setUndoDepth(setting.undoDepth);
  const auto token = model.addShallowListener([&] { ++heard; });

  // Texts are made beforehand: what is measured is the change. The rounds alternate between two sets of texts.
  std::vector<String> texts[2];
  for (std::size_t set = 0; set < 2; ++set)
    for (std::size_t i = 0; i < setting.objects; ++i)
      texts[set].push_back(textOf(i, 1 + set, setting.textUnits));

  Row set{"set, own transaction", operations, 0, 0, 0, 0, 0};
  const std::uint64_t recordsBefore = model.recordsWritten();
  for (std::size_t round = 0; round < rounds; ++round) {
    const auto& wanted = texts[round % 2];
    set.floorTime += measure(order, [&](std::size_t i) { floorEntries[i]->second = wanted[i]; }).time;
    const Measured made = measure(order, [&](std::size_t i) { books[i].setName(wanted[i]); });
    set.time += made.time;
    set.allocations += made.allocations;
  }
  set.records = model.recordsWritten() - recordsBefore;
  for (const Book& book : books)
    set.checksum += book.p_Name().hash();
  print(setting, set);

  // As many steps as there are, up to what the rounds above have left in the history.
  std::vector<std::size_t> steps(std::min(operations, setting.undoDepth));
  for (const bool back : {true, false}) {
    Row travel{back ? "undo" : "redo", std::max<std::size_t>(1, steps.size()), 0, 0, 0, 0, 0};
    const Measured made = measure(steps, [&](std::size_t) { back ? model.undo() : model.redo(); });
    travel.time = made.time;
    travel.allocations = made.allocations;
    for (const Book& book : books)
      travel.checksum += book.p_Name().hash();
    print(setting, travel);
  }
  model.clearHistory();

  std::vector<Uuid> identities;
  for (const Book& book : books)
    identities.push_back(book.Uuid());
  Row find{"find by identity", operations, 0, 0, 0, 0, 0};
  for (std::size_t round = 0; round < rounds; ++round) {
    find.floorTime +=
        measure(order, [&](std::size_t i) { find.checksum += floor.find(identities[i])->second.size(); }).time;
    const Measured made =
        measure(order, [&](std::size_t i) { find.checksum += model.find(identities[i]).get() == books[i].get(); });
    find.time += made.time;
    find.allocations += made.allocations;
  }
  print(setting, find);

  Row iterate{"iterate", operations, 0, 0, 0, 0, 0};
  const tavo::Query query(model);
  const double start = seconds();
  for (std::size_t round = 0; round < rounds; ++round)
    query.forEach(Book::metaClass(), tavo::ClassMatch::exact, {}, [&](tavo::ModelElement::Impl& object) {
      iterate.checksum += static_cast<Book::Impl&>(object).getP_Name().size();
      return true;
    });
  iterate.time = seconds() - start;
  print(setting, iterate);

  Row destroy{"destroy", setting.objects, 0, 0, 0, 0, 0};
  const std::uint64_t before = model.recordsWritten();
  const Measured made = measure(order, [&](std::size_t i) { books[i].destroy(); });
  destroy.time = made.time;
  destroy.allocations = made.allocations;
  destroy.records = model.recordsWritten() - before;
  destroy.checksum = model.objectCount() + (heard > 0);
  print(setting, destroy);
}

} // namespace

int main(int argc, char** argv) {
  const std::size_t most = argc > 1 ? std::strtoull(argv[1], nullptr, 10) : 1000000;
  std::printf("%-22s %8s %-8s %3s %9s %8s %8s %6s %7s %7s  %s\n", "case", "objects", "order", "txt", "depth", "ns/op",
              "floor", "ratio", "alloc", "records", "checksum");
  for (const std::size_t objects : {1000u, 10000u, 100000u, 1000000u})
    for (const bool shuffled : {false, true})
      for (const std::size_t units : {5u, 12u})
        if (objects <= most)
          run({objects, shuffled, units, 1000});
  for (const std::size_t objects : {1000u, 10000u, 1000000u}) // and with a history that keeps everything
    if (objects <= most)
      run({objects, true, 12, static_cast<std::size_t>(-1)});
  return 0;
}
