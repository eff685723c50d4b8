#include "tavo/core/String.h"

#include <gtest/gtest.h>

#include <sstream>
#include <type_traits>
#include <unordered_set>
#include <vector>

namespace tavo {
namespace {

static_assert(std::is_nothrow_move_constructible_v<String> && std::is_nothrow_move_assignable_v<String> &&
              std::is_nothrow_copy_constructible_v<String> && std::is_nothrow_swappable_v<String>);

/// Texts around the border between text in place and shared text, with units that look like anything but text.
std::vector<std::u16string> awkwardTexts() {
  using namespace std::string_literals;
  auto texts =
      std::vector{u""s,         u"a"s,       u"\0"s,       u"\0\0"s,      u"\xFFFF"s,        u"\xD800"s, u"1234567"s,
                  u"123456\0"s, u"1234568"s, u"12345678"s, u"1234567\0"s, u"1234567\xFFFF"s, u"zebra"s};
  for (const std::size_t size : {7u, 8u, 1000u})
    texts.emplace_back(size, u'\xFFFF');
  return texts;
}

TEST(StringTest, IsTheTextItWasMadeFrom) {
  for (const auto& text : awkwardTexts()) {
    String made = text;
    String copy = made;
    String moved = std::move(made);
    EXPECT_EQ(moved, text);
    EXPECT_EQ(copy.view(), text);
    EXPECT_EQ(copy.empty(), text.empty());
    copy = String(u"another text, and a long one");
    EXPECT_EQ(moved, text);
  }
}

TEST(StringTest, ComparesAndHashesAsItsView) {
  const auto texts = awkwardTexts();
  for (const auto& a : texts) {
    for (const auto& b : texts) {
      const String left = a, right = b;
      EXPECT_EQ(left == right, a == b);
      EXPECT_EQ(left == b, a == b);
      EXPECT_EQ(left <=> right, std::u16string_view(a) <=> std::u16string_view(b));
      EXPECT_EQ(a < right, a < b);
      EXPECT_EQ(left.hash() == right.hash(), a == b);
    }
    EXPECT_EQ(String(a).hash(), hashText(a));
  }
  EXPECT_TRUE(u"literal" == String(u"literal") && String(u"literal") != u"other" && String(u"a") < u"b");
}

TEST(StringTest, AssignsFromItselfAndFromItsOwnView) {
  for (const auto& text : awkwardTexts()) {
    String value = text;
    auto& same = value;
    value = same;
    EXPECT_EQ(value, text);
    value = value.view();
    EXPECT_EQ(value, text);
  }
}

TEST(StringTest, EveryBitOfEveryUnitCountsInTheHash) {
  std::unordered_set<std::uint64_t> hashes;
  std::size_t texts = 0;
  for (std::size_t size = 1; size <= 40; ++size) {
    std::u16string text(size, u'x');
    for (auto& unit : text) {
      for (unsigned bit = 0; bit < 16; ++bit, ++texts) {
        unit = static_cast<char16_t>(unit ^ 1u << bit);
        hashes.insert(hashText(text));
        unit = u'x';
      }
    }
  }
  EXPECT_EQ(hashes.size(), texts);
}

TEST(StringTest, NobodyCanForeseeWhichTextsHaveOneHash) {
  // Made for the constants of a hash that is the same everywhere: the product at its end becomes zero for each of them.
  std::unordered_set<std::uint64_t> hashes;
  for (char16_t i = 0; i < 1000; ++i)
    hashes.insert(hashText(std::u16string{u'\x28db', u'\xa0b4', u'\x7ed1', u'\xe703', i, i, i, i}));
  EXPECT_EQ(hashes.size(), 1000u);
}

TEST(StringTest, HashSpreadsOverTextsThatDifferInOneUnit) {
  // A table of 2^16 slots by the low bits: random hashes leave 37 % of the slots empty.
  std::unordered_set<std::uint64_t> hashes, slots;
  for (char32_t i = 0; i < 65536; ++i) {
    std::u16string text = u"Property_00000000";
    text[9] = static_cast<char16_t>(u'a' + (i & 15)), text[11] = static_cast<char16_t>(u'a' + (i >> 4 & 15));
    text[13] = static_cast<char16_t>(u'a' + (i >> 8 & 15)), text[16] = static_cast<char16_t>(u'a' + (i >> 12));
    hashes.insert(hashText(text));
    slots.insert(hashText(text) & 0xFFFF);
  }
  EXPECT_EQ(hashes.size(), 65536u);
  EXPECT_GT(slots.size(), 40000u);
}

TEST(StringTest, JoinsTextsOfAnyKind) {
  const String name = u"Vehicle";
  EXPECT_EQ(name + u".mass", u"Vehicle.mass");
  EXPECT_EQ(std::u16string(u"Base") + u'.' + name, u"Base.Vehicle");
  EXPECT_EQ(name + name, u"VehicleVehicle");
  EXPECT_EQ(concat(name, u".", std::u16string_view(u"mass")), u"Vehicle.mass");
  EXPECT_EQ(concat(), u"");
}

TEST(StringTest, PrintsWhatCannotBeSeenAsEscapes) {
  std::ostringstream out;
  out << String(u"gr\u00FC\u00DFe\t\xD800 \U0001F600\n");
  EXPECT_EQ(out.str(), "gr\u00FC\u00DFe\\u0009\\uD800 \U0001F600\\u000A");
}

} // namespace
} // namespace tavo
