// Cases in files.
#pragma once

#include <fstream>
#include <string>
#include <vector>

namespace kavra {

struct Row {
  std::string text, expected;
  int line;
};

/// The lines of a file of test data that have a "=>" in them. ⏎ stands for a line end, ␣ for a blank at either end.
inline std::vector<Row> readTable(const std::string& name) {
  const auto replace = [](std::string& text, std::string_view from, std::string_view to) {
    for (auto at = text.find(from); at != text.npos; at = text.find(from, at + to.size()))
      text.replace(at, from.size(), to);
  };
  std::ifstream in(ZELKOR_TEST_DATA "/" + name);
  std::vector<Row> rows;
  std::string line;
  for (int number = 1; std::getline(in, line); ++number) {
    const auto arrow = line.find(" => ");
    if (line.starts_with('#') || arrow == line.npos)
      continue;
    rows.push_back({line.substr(0, arrow), line.substr(arrow + 4), number});
    replace(rows.back().text, "⏎", "\n");
    replace(rows.back().text, "␣", " ");
  }
  return rows;
}

} // namespace kavra
