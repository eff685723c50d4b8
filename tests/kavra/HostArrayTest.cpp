#include "kavra/HostArray.h"

#include "kavra/EnumerationClass.h"
#include "kavra/HostObject.h"
#include "tests/kavra/ErrorOf.h"

#include <gtest/gtest.h>

#include <cmath>

namespace kavra {
namespace {

const EnumerationClass& colors() {
  return EnumerationClass::define({u"Colors", {{u"Red", 0}, {u"Green", 1}, {u"Blue", 2}}, 2});
}

std::vector<std::uint64_t> dimensionsOf(const HostArray& array) {
  return {array.dimensions().begin(), array.dimensions().end()};
}

TEST(HostArray, CarriesItsClassDimensionsAndElements) {
  EXPECT_FALSE(HostArray());
  auto matrix = HostArray::of<double>({2, 3}, {1, 2, 3, 4, 5, 6});
  EXPECT_EQ(matrix.arrayClass(), ArrayClass::Double);
  EXPECT_EQ(dimensionsOf(matrix), (std::vector<std::uint64_t>{2, 3}));
  EXPECT_EQ(matrix.data<double>()[5], 6);
  EXPECT_EQ(matrix.numberAt(3), 4);

  auto text = HostArray::chars(u"a longer text than fits in place");
  EXPECT_EQ(text.asText(), u"a longer text than fits in place");
  EXPECT_EQ(HostArray::chars(u"").dimensions()[1], 0u);
  EXPECT_EQ(HostArray::string(u"").asText(), u"");
  EXPECT_EQ(HostArray::scalar(2.5f).asNumber(), 2.5);
  EXPECT_EQ(errorOf([&] { matrix.data<float>(); }).id(), "kavra:messages:WrongArrayClass");
}

TEST(HostArray, DropsTrailingOnesAndPadsToTwoDimensions) {
  EXPECT_EQ(dimensionsOf(HostArray::zeros(ArrayClass::Int8, {2, 3, 1, 1})), (std::vector<std::uint64_t>{2, 3}));
  EXPECT_EQ(dimensionsOf(HostArray::zeros(ArrayClass::Int8, {2, 1, 3})), (std::vector<std::uint64_t>{2, 1, 3}));
  EXPECT_EQ(dimensionsOf(HostArray::zeros(ArrayClass::Char, {4})), (std::vector<std::uint64_t>{4, 1}));
  EXPECT_EQ(dimensionsOf(HostArray::zeros(ArrayClass::Cell, {2, 3, 0})), (std::vector<std::uint64_t>{2, 3, 0}));
}

TEST(HostArray, ACopyIsNotTouchedByWritingToTheOther) {
  for (auto extent : {std::uint64_t{1}, std::uint64_t{100}}) {
    auto original = HostArray::filled<double>({1, extent}, 7);
    auto copy = original;
    copy.mutableData<double>()[0] = 8;
    EXPECT_EQ(original.numberAt(0), 7);
    EXPECT_EQ(copy.numberAt(0), 8);
    auto moved = std::move(copy);
    EXPECT_FALSE(copy); // NOLINT: a moved-from array is null
    EXPECT_EQ(moved.numberAt(0), 8);
  }
}

TEST(HostArray, RefusesWhatIsTooLargeBeforeAllocatingIt) {
  const std::uint64_t huge = std::uint64_t{1} << 40;
  EXPECT_EQ(errorOf([&] { HostArray::zeros(ArrayClass::Double, {huge, huge}); }).id(), "kavra:messages:ArrayTooLarge");
  EXPECT_EQ(errorOf([&] {
              HostArray::zeros(ArrayClass::Int8, {HostArray::maxElements + 1, 1});
            }).id(),
            "kavra:messages:ArrayTooLarge");
  EXPECT_TRUE(HostArray::zeros(ArrayClass::Double, {huge, 0, huge}).isEmpty());
  EXPECT_EQ(errorOf([&] { HostArray::of<double>({2, 2}, {1, 2, 3}); }).id(), "kavra:messages:WrongElementCount");
}

TEST(HostArray, BoundsTheNestingOfCellsAndTheirElementsInAll) {
  auto nested = HostArray::scalar(1.0);
  for (std::uint32_t i = 0; i < HostArray::maxCellDepth; ++i)
    nested = HostArray::cell({1, 1}, {nested});
  EXPECT_EQ(errorOf([&] { HostArray::cell({1, 1}, {nested}); }).id(), "kavra:messages:ArrayTooDeep");

  auto doubling = HostArray::scalar(1.0); // shares all of its memory and would still be endless to walk
  EXPECT_EQ(errorOf([&] {
              for (int i = 0; i < 64; ++i)
                doubling = HostArray::cell({1, 2}, {doubling, doubling});
            }).id(),
            "kavra:messages:ArrayTooLarge");
}

TEST(HostArray, IsIdenticalBitByBitButForNaN) {
  auto nan = HostArray::scalar(std::nan(""));
  EXPECT_EQ(nan, HostArray::scalar(std::nan("")));
  EXPECT_EQ(nan, HostArray::scalar(-std::nan("7")));
  EXPECT_NE(HostArray::scalar(0.0), HostArray::scalar(-0.0));
  EXPECT_NE(HostArray::scalar(1.0), HostArray::scalar(std::int8_t{1}));
  EXPECT_NE(HostArray::zeros(ArrayClass::Double, {1, 0}), HostArray::zeros(ArrayClass::Double, {0, 0}));
  EXPECT_EQ(HostArray::cell({1, 2}, {nan, HostArray::string(u"x")}),
            HostArray::cell({1, 2}, {nan, HostArray::string(u"x")}));
  EXPECT_NE(HostArray::cell({1, 1}, {nan}), HostArray::cell({1, 1}, {HostArray::scalar(1.0)}));
  EXPECT_EQ(HostArray(), HostArray());
}

TEST(HostArray, MembersAreKnownByNameEvenAfterTheirClassWasRedefined) {
  auto green = HostArray::enumeration(colors(), 1);
  auto& reordered = EnumerationClass::define({u"Colors", {{u"Green", 5}, {u"Red", 6}}, 1});
  EXPECT_NE(&reordered, &colors());
  EXPECT_EQ(green.enumerationClass().members()[green.memberIndices()[0]].name, u"Green");
  EXPECT_EQ(green, HostArray::enumeration(reordered, 0));
  EXPECT_NE(green, HostArray::enumeration(reordered, 1));
  EXPECT_EQ(errorOf([&] { HostArray::enumeration(colors(), 3); }).id(), "kavra:messages:NoSuchMember");
}

TEST(HostArray, SelectsAndReshapesElementsOfEveryClass) {
  HostArray arrays[] = {HostArray::of<std::int16_t>({1, 3}, {1, 2, 3}), HostArray::chars(u"abc"),
                        HostArray::strings({1, 3}, {u"a", u"b", u"c"}),
                        HostArray::cell({1, 3}, {HostArray::scalar(1.0), HostArray::scalar(true), HostArray()}),
                        HostArray::enumeration(colors(), {1, 3}, std::vector<std::uint32_t>{0, 1, 2})};
  for (auto& array : arrays) {
    std::vector<std::uint64_t> backwards{2, 1, 0};
    auto reversed = array.select({3, 1}, backwards);
    EXPECT_EQ(reversed.at(0), array.at(2));
    EXPECT_EQ(reversed.select({1, 3}, backwards), array);
    EXPECT_EQ(array.reshaped({3, 1}).reshaped({1, 3}), array);
    HostArray halves[] = {array.select({1, 1}, std::vector<std::uint64_t>{0}),
                          array.select({1, 2}, std::vector<std::uint64_t>{1, 2})};
    EXPECT_EQ(HostArray::joined({1, 3}, halves), array);
  }
}

struct Counter final : HostObject {
  bool isVessaObject() const override { return true; }
  HostArray call(std::u16string_view, std::span<const HostArray>) override { return HostArray::scalar(++calls); }
  double calls = 0;
};

TEST(HostArray, AnOpaqueOneHoldsAnObjectOfTheHost) {
  auto counter = std::make_shared<Counter>();
  auto array = HostArray::opaque(u"Counter", {1, 1}, counter);
  auto copy = array;
  EXPECT_EQ(copy.opaqueClassName(), u"Counter");
  EXPECT_EQ(copy.object()->call(u"next").asNumber(), 1);
  EXPECT_EQ(copy, array);
  EXPECT_NE(copy, HostArray::opaque(u"Counter", {1, 1}));
  array = copy = {};
  EXPECT_EQ(counter.use_count(), 1);
}

} // namespace
} // namespace kavra
