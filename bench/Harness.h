// What all cases are run with: sizes, orders, texts, history and listener, the meter that they are measured by, and the
// table that shows the results. Cases choose none of these.
#pragma once

#include "tavo/core/String.h"
#include "tavo/model/Model.h"

#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

namespace bench {

struct Setting {
  std::size_t objects;
  bool shuffled;         ///< in one fixed random permutation; else in the order of creation
  std::size_t textUnits; ///< 5 stand in place, 12 are shared
  std::size_t undoDepth;

  static constexpr std::size_t unlimited = std::numeric_limits<std::size_t>::max();
};

/// The order in which every case goes through its objects.
std::vector<std::uint32_t> orderOf(const Setting& setting);

/// A text that differs for every (number, round) with rounds counted modulo 4, and has exactly `units` units.
tavo::String textOf(std::size_t number, std::size_t round, std::size_t units);

/// How often a case is repeated: small sizes until they have run a hundred thousand operations, large ones three times.
std::size_t roundsOf(const Setting& setting);

/// A model with a listener, which counts what it hears. It is built without a history.
struct Scene {
  Scene() { model.setUndoDepth(0); }
  Scene(const Scene&) = delete;
  Scene& operator=(const Scene&) = delete;
  /// Sets the setting's history going, once what is to be measured has been built.
  void remember(const Setting& setting) const { model.setUndoDepth(setting.undoDepth); }

  const tavo::Model model = tavo::Model::create();
  std::uint64_t heard = 0;
  const tavo::ListenerToken listener = model.addShallowListener([this] { ++heard; });
};

/// The time of the fastest round, since others run on the machine as well, and the counters of all of them.
class Meter {
public:
  Meter() = default;
  explicit Meter(const tavo::Model& model) : model_(model) {}

  /// Runs a round of so many operations.
  template <class Round>
  void run(std::size_t operations, const Round& round) {
    const Counters before = counters();
    const double start = seconds();
    round();
    add(operations, seconds() - start, before);
  }

  std::size_t operations() const { return operations_; }
  double nanoseconds() const { return operations_ ? fastest_ * 1e9 : 0; } ///< per operation
  double allocations() const { return perOperation(total_.allocations); }
  double records() const { return perOperation(total_.records); }
  double probes() const { return perOperation(total_.probes); }

private:
  struct Counters {
    std::uint64_t allocations = 0, records = 0, probes = 0;
  };

  static double seconds();
  Counters counters() const;
  void add(std::size_t operations, double time, const Counters& before);
  double perOperation(std::uint64_t count) const {
    return operations_ ? static_cast<double>(count) / static_cast<double>(operations_) : 0;
  }

  tavo::Model model_;
  std::size_t operations_ = 0;
  double fastest_ = std::numeric_limits<double>::infinity();
  Counters total_;
};

/// What a case promises, per operation. It is exceeded by a little while tables and histories fill.
struct Promise {
  double allocations = std::numeric_limits<double>::infinity();
  double records = std::numeric_limits<double>::infinity();
};

/// Prints results as they come, and judges what can be judged without a clock: that the work was done, and that its
/// counters do not grow.
class Table {
public:
  /// Rows of `small` and `large` objects must agree in their counters.
  Table(std::size_t small, std::size_t large) : small_(small), large_(large) {}

  /// `floor` is the time in nanoseconds to compare with, zero for none; `checksum` must be `expected`.
  void add(const Setting& setting, const std::string& name, const Meter& meter, double floor, std::uint64_t checksum,
           std::uint64_t expected, const Promise& promise = {});
  /// Bytes of each of so many objects, or of what else is counted.
  static void addBytes(const Setting& setting, const std::string& name, std::size_t bytes, std::size_t count,
                       const char* what = "object");

  /// Says what is wrong; how many things are.
  int finish() const;

private:
  struct Row {
    Setting setting;
    std::string name;
    Meter meter;
  };

  std::size_t small_, large_;
  std::vector<Row> rows_;
  std::vector<std::string> faults_;
};

/// A change, in a transaction of its own for each object, and then the way back and forth again: `change(i, round)`
/// changes object i, `floor(i, round)` does the least that could be asked for. Undo and redo have the change itself as
/// their floor. `sum()` is the checksum of the present state, `expected(round)` what it must be after a round.
struct ChangeCase {
  std::string name;
  std::function<void(const std::vector<std::uint32_t>&, std::size_t round)> change;
  std::function<void(const std::vector<std::uint32_t>&, std::size_t round)> floor;
  std::function<std::uint64_t()> sum;
  std::function<std::uint64_t(std::size_t round)> expected;
  double records;         ///< of one change
  double allocations = 0; ///< of one change, beside its step
};
void measureChange(Table& table, const Setting& setting, const tavo::Model& model, const ChangeCase& what);

/// What loading is compared with: expat alone, fed in blocks of the size that the reader uses. Answers the elements
/// that it finds.
std::uint64_t parseBare(std::string_view bytes);

/// The time in nanoseconds of one read that nothing can foresee, among a million objects.
double dependentMiss();

/// Bytes that the heap has given out, with its own overhead.
std::size_t heapBytes();

/// What a process has taken of the machine at most since `action` began, beyond what it had.
std::size_t peakOf(const std::function<void()>& action);

// The cases; each runs in one setting.

void runModelCases(Table& table, const Setting& setting);
void runValueCases(Table& table, const Setting& setting);
void runFileCases(Table& table, const Setting& setting);
void runReleaseCases(Table& table, const Setting& setting);
void runModelReleaseCases(Table& table, const Setting& setting);
void runArchCases(Table& table, const Setting& setting);

} // namespace bench
