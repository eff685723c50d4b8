#include "bench/Harness.h"

#include "tavo/model/ModelData.h"
#include "tests/support/Allocations.h"

#include <expat.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <malloc.h>
#include <numeric>
#include <random>

namespace bench {
namespace {

/// What filling tables and histories may add to a counter.
constexpr double slack = 0.06;
/// The load of a table differs by a factor of two between sizes, and with it the length of each search.
double probeSlack(double probes) { return 1 + probes / 2; }

std::string describe(const Setting& setting, const std::string& name) {
  return name + ", " + (setting.shuffled ? "shuffled" : "in order") + ", " + std::to_string(setting.textUnits) +
         " units, " + (setting.undoDepth == Setting::unlimited ? "unlimited" : std::to_string(setting.undoDepth)) +
         " steps";
}

} // namespace

std::vector<std::uint32_t> orderOf(const Setting& setting) {
  std::vector<std::uint32_t> order(setting.objects);
  std::iota(order.begin(), order.end(), 0u);
  if (setting.shuffled)
    std::shuffle(order.begin(), order.end(), std::mt19937_64(42));
  return order;
}

tavo::String textOf(std::size_t number, std::size_t round, std::size_t units) {
  return tavo::String::filled(units, [&](char16_t* out) {
    std::size_t rest = number * 4 + round % 4;
    for (std::size_t i = 0; i < units; ++i, rest /= 26)
      out[i] = static_cast<char16_t>(u'A' + rest % 26);
  });
}

std::size_t roundsOf(const Setting& setting) { return std::max<std::size_t>(3, 100000 / setting.objects); }

std::size_t heapBytes() {
  const auto info = ::mallinfo2();
  return info.uordblks + info.hblkhd;
}

std::size_t peakOf(const std::function<void()>& action) {
  const auto kilobytes = [](const char* what) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
      if (line.starts_with(what))
        return std::strtoull(line.c_str() + std::strlen(what), nullptr, 10);
    return 0ull;
  };
  ::malloc_trim(0);
  std::ofstream("/proc/self/clear_refs") << "5"; // the peak starts anew
  const auto before = kilobytes("VmRSS:");
  action();
  return (kilobytes("VmHWM:") - before) << 10;
}

std::uint64_t parseBare(std::string_view bytes) {
  constexpr std::size_t block = std::size_t{64} << 10;
  std::uint64_t elements = 0;
  const XML_Parser parser = ::XML_ParserCreate("UTF-8");
  ::XML_SetUserData(parser, &elements);
  ::XML_SetElementHandler(
      parser, [](void* count, const XML_Char*, const XML_Char**) { ++*static_cast<std::uint64_t*>(count); },
      [](void*, const XML_Char*) {});
  for (std::size_t at = 0; at < bytes.size(); at += block) {
    const std::size_t size = std::min(block, bytes.size() - at);
    if (::XML_Parse(parser, bytes.data() + at, static_cast<int>(size), at + size == bytes.size()) != XML_STATUS_OK)
      return 0;
  }
  ::XML_ParserFree(parser);
  return elements;
}

double dependentMiss() {
  struct Node {
    Node* next;
    std::byte rest[248];
  };
  const auto order = orderOf({1000000, true, 0, 0});
  std::vector<Node> nodes(order.size());
  for (std::size_t i = 0; i < order.size(); ++i)
    nodes[order[i]].next = &nodes[order[(i + 1) % order.size()]];
  Meter meter;
  const Node* at = &nodes[order[0]];
  for (int round = 0; round < 3; ++round)
    meter.run(order.size(), [&] {
      for (std::size_t i = 0; i < order.size(); ++i)
        at = at->next;
    });
  return at == &nodes[order[0]] ? meter.nanoseconds() : 0;
}

// Meter

double Meter::seconds() {
  using namespace std::chrono;
  return duration<double>(steady_clock::now().time_since_epoch()).count();
}

Meter::Counters Meter::counters() const {
  if (!model_)
    return {testsupport::allocations(), 0, 0};
  return {testsupport::allocations(), model_.recordsWritten(), model_.data().identityProbes()};
}

void Meter::add(std::size_t operations, double time, const Counters& before) {
  const Counters after = counters();
  total_.allocations += after.allocations - before.allocations;
  total_.records += after.records - before.records;
  total_.probes += after.probes - before.probes;
  fastest_ = std::min(fastest_, time / static_cast<double>(operations));
  operations_ += operations;
}

// Table

void Table::add(const Setting& setting, const std::string& name, const Meter& meter, double floor,
                std::uint64_t checksum, std::uint64_t expected, const Promise& promise) {
  static const bool headed = [] {
    std::printf("%-26s %8s %-8s %3s %6s %9s %9s %6s %7s %7s %7s  %s\n", "case", "objects", "order", "txt", "depth",
                "ns/op", "floor", "ratio", "alloc", "records", "probes", "checksum");
    return true;
  }();
  static_cast<void>(headed);

  std::string depth = setting.undoDepth == Setting::unlimited ? "all" : std::to_string(setting.undoDepth);
  std::printf("%-26s %8zu %-8s %3zu %6s %9.1f %9.1f %6.2f %7.3f %7.3f %7.3f  %016llx\n", name.c_str(), setting.objects,
              setting.shuffled ? "shuffled" : "element", setting.textUnits, depth.c_str(), meter.nanoseconds(), floor,
              floor > 0 ? meter.nanoseconds() / floor : 0.0, meter.allocations(), meter.records(), meter.probes(),
              static_cast<unsigned long long>(checksum));
  std::fflush(stdout);

  const std::string what = std::to_string(setting.objects) + " objects: " + describe(setting, name);
  if (checksum != expected)
    faults_.push_back(what + ": the checksum is wrong");
  if (meter.allocations() > promise.allocations + slack)
    faults_.push_back(what + ": more allocations than promised");
  if (meter.records() > promise.records + slack)
    faults_.push_back(what + ": more log records than promised");
  rows_.push_back({setting, name, meter});
}

void Table::addBytes(const Setting& setting, const std::string& name, std::size_t bytes, std::size_t count,
                     const char* what) {
  std::printf("%-26s %8zu %-8s %3zu %6s %9.1f bytes per %s\n", name.c_str(), setting.objects, "", setting.textUnits, "",
              static_cast<double>(bytes) / static_cast<double>(count), what);
}

int Table::finish() const {
  std::vector<std::string> faults = faults_;
  std::size_t compared = 0;
  for (const Row& small : rows_)
    for (const Row& large : rows_) {
      if (small.setting.objects != small_ || large.setting.objects != large_ ||
          describe(small.setting, small.name) != describe(large.setting, large.name))
        continue;
      ++compared;
      const auto grows = [&](const char* counter, double few, double many, double allowed) {
        if (many <= few + allowed)
          return;
        char figures[64];
        std::snprintf(figures, sizeof figures, ": %.3f %s become %.3f", few, counter, many);
        faults.push_back(describe(small.setting, small.name) + figures);
      };
      grows("allocations", small.meter.allocations(), large.meter.allocations(), slack);
      grows("records", small.meter.records(), large.meter.records(), slack);
      grows("probes", small.meter.probes(), large.meter.probes(), probeSlack(small.meter.probes()));
    }
  for (const std::string& fault : faults)
    std::printf("FAULT: %s\n", fault.c_str());
  std::printf("%zu rows, %zu compared between %zu and %zu objects, %zu faults\n", rows_.size(), compared, small_,
              large_, faults.size());
  return static_cast<int>(faults.size());
}

// Changes

void measureChange(Table& table, const Setting& setting, const tavo::Model& model, const ChangeCase& what) {
  const auto order = orderOf(setting);
  const std::size_t rounds = roundsOf(setting);
  // A history that is full forgets a step for each that comes in; it is filled before anything is counted.
  std::size_t round = 1; // the objects have been made with the texts of round 0
  if (setting.undoDepth != Setting::unlimited)
    what.change(order, round++);

  Meter floor, change(model);
  for (std::size_t i = 0; i < rounds; ++i, ++round) {
    floor.run(order.size(), [&] { what.floor(order, round); });
    change.run(order.size(), [&] { what.change(order, round); });
    if (setting.undoDepth == Setting::unlimited && i + 1 < rounds)
      model.clearHistory();
  }
  const double blocks = setting.undoDepth == Setting::unlimited ? 1 : 0; // other steps are used again
  table.add(setting, what.name, change, floor.nanoseconds(), what.sum(), what.expected(round - 1),
            {blocks + what.allocations, what.records});

  // What is taken back are the last changes; they are made again for each try, with the history's length of objects.
  const std::size_t steps = std::min(setting.undoDepth, setting.objects);
  const std::vector<std::uint32_t> last(order.end() - static_cast<std::ptrdiff_t>(steps), order.end());
  Meter again(model), undo(model), redo(model);
  std::uint64_t undone = 0, redone = 0, before = 0, after = 0;
  constexpr std::size_t fewObjects = 100000; // with more, the checksums take longer than what they are about
  const std::size_t tries = setting.objects > fewObjects ? 1 : rounds;
  for (std::size_t i = 0; i < tries; ++i, ++round) {
    if (setting.undoDepth == Setting::unlimited)
      model.clearHistory();
    before = what.sum();
    again.run(steps, [&] { what.change(last, round); });
    after = what.sum();
    undo.run(steps, [&] {
      for (std::size_t step = 0; step < steps; ++step)
        model.undo();
    });
    undone = what.sum();
    redo.run(steps, [&] {
      for (std::size_t step = 0; step < steps; ++step)
        model.redo();
    });
    redone = what.sum();
  }
  table.add(setting, "  undo", undo, again.nanoseconds(), undone, before, {0, 0});
  table.add(setting, "  redo", redo, again.nanoseconds(), redone, after, {0, 0});
  model.clearHistory();
}

} // namespace bench
