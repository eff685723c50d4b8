// The listing in docs/units.md shows the table as it is. Run with ZELKOR_UPDATE=1 in the environment to rewrite it.
#include "kavra/Text.h"
#include "kavra/standalone/units/UnitTable.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

namespace kavra::standalone {
namespace {

// Normalised as a text: the folder of test data need not exist.
const auto path = std::filesystem::path(ZELKOR_TEST_DATA "/../../../docs/units.md").lexically_normal();
const std::string begin = "<!-- listing: begin -->\n", end = "<!-- listing: end -->\n";

const UnitTable& table() { return UnitTable::builtIn(); }

std::string words(const std::u16string& first, const std::vector<std::u16string>& more, const char* quote) {
  std::string result = first.empty() ? "" : quote + toUtf8(first) + quote;
  for (auto& word : more)
    result += (result.empty() ? "" : ", ") + (quote + toUtf8(word)) + quote;
  return result;
}

/// The prefixes of a unit, whole families by one word.
std::string prefixesOf(const UnitEntry& entry) {
  std::string result;
  auto append = [&](const std::string& text) { result += (result.empty() ? "" : " ") + text; };
  for (auto [family, title] : {std::pair("si", "SI"), std::pair("binary", "binary")}) {
    std::vector<std::uint16_t> all, own;
    for (std::uint16_t i = 0; i < table().prefixes().size(); ++i)
      if (table().prefixes()[i].family == family)
        all.push_back(i);
    for (auto i : entry.prefixes)
      if (table().prefixes()[i].family == family)
        own.push_back(i);
    if (own == all)
      append(title);
    else
      for (auto i : own)
        append("`" + toUtf8(table().prefixes()[i].symbols.front()) + "`");
  }
  return result;
}

std::string listing() {
  std::string result, group;
  for (auto& entry : table().units()) {
    if (entry.group != group) {
      group = entry.group;
      result += "\n### " + group + "\n\n| unit | names | is | prefixes | |\n|---|---|---|---|---|\n";
    }
    auto size = entry.baseOf.empty() ? entry.definition : "base unit of " + entry.baseOf;
    if (entry.unit.hasOwnZero())
      size += ", own zero point";
    result += "| " + words(entry.symbol, entry.aliases, "`") + " | " + words(u"", entry.names, "`") + " | " + size +
              " | " + prefixesOf(entry) + " | " + entry.description + " |\n";
  }
  return result + "\n";
}

TEST(UnitsListingTest, TheDocumentationListsTheTable) {
  std::ostringstream content;
  content << std::ifstream(path).rdbuf();
  auto page = content.str();
  auto from = page.find(begin), to = page.find(end);
  ASSERT_TRUE(from != page.npos && to != page.npos && from < to);
  from += begin.size();

  if (std::getenv("ZELKOR_UPDATE"))
    std::ofstream(path) << page.replace(from, to - from, listing());
  else
    EXPECT_TRUE(page.substr(from, to - from) == listing())
        << "docs/units.md is out of date; run this test with ZELKOR_UPDATE=1 to rewrite the listing";
}

} // namespace
} // namespace kavra::standalone
