// Runs the cases in every setting; README.md says how to read what comes out.
#include "bench/Harness.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

using bench::Setting;

struct Group {
  const char* name;
  void (*run)(bench::Table&, const Setting&);
};
constexpr Group groups[] = {
    {"model", bench::runModelCases},      {"values", bench::runValueCases},          {"files", bench::runFileCases},
    {"releases", bench::runReleaseCases}, {"releases", bench::runModelReleaseCases}, {"arch", bench::runArchCases}};

int misuse() {
  std::fputs("usage: zelkor_bench [--smoke] [model] [values] [files] [releases] [arch] [largest number of objects]\n",
             stderr);
  return 2;
}

} // namespace

int main(int argc, char** argv) {
  bool smoke = false, wanted[std::size(groups)] = {}, all = true;
  std::size_t largest = 1000000;
  for (int i = 1; i < argc; ++i) {
    bool known = false;
    for (std::size_t group = 0; group < std::size(groups); ++group)
      if (std::strcmp(argv[i], groups[group].name) == 0) {
        wanted[group] = known = true;
        all = false;
      }
    if (std::strcmp(argv[i], "--smoke") == 0)
      smoke = true;
    else if (const auto number = std::strtoull(argv[i], nullptr, 10))
      largest = number;
    else if (!known)
      return misuse();
  }

  std::vector<Setting> settings;
  if (smoke) { // small sizes, whose counters and checksums are as telling as those of large ones
    for (const std::size_t objects : {2000u, 8000u})
      for (const std::size_t depth : {std::size_t{1000}, Setting::unlimited})
        settings.push_back({objects, true, depth == 1000 ? 5u : 12u, depth});
  } else {
    for (const std::size_t objects : {1000u, 10000u, 100000u, 1000000u})
      for (const bool shuffled : {false, true})
        for (const std::size_t units : {5u, 12u})
          settings.push_back({objects, shuffled, units, 1000});
    for (const std::size_t objects : {1000u, 10000u, 100000u, 1000000u})
      settings.push_back({objects, true, 12, Setting::unlimited});
  }

  bench::Table table(smoke ? 2000 : 10000, smoke ? 8000 : 1000000);
  for (std::size_t group = 0; group < std::size(groups); ++group)
    if (all || wanted[group])
      for (const Setting& setting : settings)
        if (setting.objects <= largest)
          groups[group].run(table, setting);
  if (largest >= 1000000 && !smoke)
    std::printf("one dependent cache miss among a million objects: %.0f ns\n", bench::dependentMiss());
  return table.finish() == 0 ? 0 : 1;
}
