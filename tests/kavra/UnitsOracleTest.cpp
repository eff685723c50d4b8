// The unit table against UDUNITS-2, which was written by other people from other sources.
#include "kavra/Error.h"
#include "kavra/Text.h"
#include "kavra/standalone/units/UnitTable.h"

#include <gtest/gtest.h>
#include <udunits2.h>

#include <cmath>
#include <fstream>
#include <map>
#include <memory>
#include <random>

namespace kavra::standalone {
namespace {

struct Exception {
  std::string oracleText;
  std::string reason;
};

// Both sides are right to the last digits of a double once they mean the same.
constexpr double tolerance = 2e-13;

/// data/oracle.txt, by our symbols.
std::map<std::string, Exception> readExceptions() {
  std::map<std::string, Exception> exceptions;
  std::ifstream in(ZELKOR_TEST_DATA "/oracle.txt");
  for (std::string line; std::getline(in, line);) {
    const auto first = line.find(" | "), second = line.find(" | ", first + 3);
    if (!line.starts_with('#') && second != line.npos)
      exceptions[line.substr(0, first)] = {line.substr(first + 3, second - first - 3), line.substr(second + 3)};
  }
  return exceptions;
}
const std::map<std::string, Exception> exceptions = readExceptions();

class UnitsOracleTest : public testing::Test {
protected:
  struct FreeSystem {
    void operator()(ut_system* system) const { ut_free_system(system); }
  };
  struct FreeUnit {
    void operator()(ut_unit* unit) const { ut_free(unit); }
  };
  struct FreeConverter {
    void operator()(cv_converter* converter) const { cv_free(converter); }
  };
  using OracleUnit = std::unique_ptr<ut_unit, FreeUnit>;

  struct Subject {
    const UnitEntry* entry;
    std::string symbol;
    OracleUnit oracle; // null for a currency
  };

  void SetUp() override {
    ut_set_error_message_handler(ut_ignore);
    system_.reset(ut_read_xml(nullptr));
    ASSERT_TRUE(system_);
  }

  /// Null when the oracle cannot read all of the text.
  OracleUnit ask(const std::string& text) const { return OracleUnit(ut_parse(system_.get(), text.c_str(), UT_UTF8)); }

  bool isKnownTo(const UnitEntry& entry) const { return entry.group != "Currencies"; }

  std::vector<Subject> subjects() const {
    std::vector<Subject> result;
    for (auto& entry : table.units()) {
      Subject subject{&entry, toUtf8(entry.symbol), nullptr};
      auto exception = exceptions.find(subject.symbol);
      if (isKnownTo(entry)) {
        subject.oracle = ask(exception == exceptions.end() ? subject.symbol : exception->second.oracleText);
        EXPECT_TRUE(subject.oracle) << subject.symbol;
        if (!subject.oracle)
          continue;
      }
      result.push_back(std::move(subject));
    }
    return result;
  }

  /// The dimension without angle and information, which the oracle takes for plain numbers.
  Dimension asTheOracleSeesIt(const Dimension& dimension) const {
    Dimension result;
    for (auto& [base, exponent] : dimension.powers())
      if (base != angle_ && base != information_) {
        EXPECT_TRUE(result.multiply(Dimension::base(base), exponent));
      }
    return result;
  }

  /// The oracle converts between reciprocals too.
  bool shouldConvertForTheOracle(const Unit& a, const Unit& b) const {
    Dimension reciprocal;
    EXPECT_TRUE(reciprocal.multiply(b.dimension, -1));
    auto own = asTheOracleSeesIt(a.dimension);
    return own == asTheOracleSeesIt(b.dimension) || own == asTheOracleSeesIt(reciprocal);
  }

  void expectSameConversion(const Unit& a, const ut_unit* oracleA, const Unit& b, const ut_unit* oracleB,
                            const std::string& what, double relativeTolerance = tolerance) const {
    std::unique_ptr<cv_converter, FreeConverter> converter(
        ut_get_converter(const_cast<ut_unit*>(oracleA), const_cast<ut_unit*>(oracleB)));
    ASSERT_TRUE(converter) << what;
    auto ours = a.conversionTo(b);
    ASSERT_TRUE(ours) << what;
    double offset = cv_convert_double(converter.get(), 0);
    double factor = a.hasOwnZero() || b.hasOwnZero() ? cv_convert_double(converter.get(), 1) - offset
                                                     : cv_convert_double(converter.get(), 1);
    double slack = a.hasOwnZero() || b.hasOwnZero() ? 1e-11 : 0; // the oracle rounds 273.15 and 459.67 on the way
    EXPECT_NEAR(factor / ours->factor, 1, relativeTolerance + slack) << what;
    EXPECT_NEAR(offset, ours->offset, slack * (1 + std::abs(offset))) << what;
  }

  const UnitTable& table = UnitTable::builtIn();

private:
  std::uint32_t baseOf(std::u16string_view symbol) const { return table.read(symbol).dimension.powers().front().base; }

  std::unique_ptr<ut_system, FreeSystem> system_;
  std::uint32_t angle_ = baseOf(u"rad"), information_ = baseOf(u"bit");
};

TEST_F(UnitsOracleTest, EveryPairOfUnitsConvertsAsTheOracleConverts) {
  auto all = subjects();
  ASSERT_EQ(all.size(), table.units().size());
  for (auto& a : all)
    for (auto& b : all) {
      auto what = a.symbol + " to " + b.symbol;
      auto &unitA = a.entry->unit, &unitB = b.entry->unit;
      bool convertible = unitA.isConvertible(unitB);
      if (!a.oracle || !b.oracle) {
        EXPECT_EQ(convertible, &a == &b) << what; // no rate of exchange is a unit's business
        continue;
      }
      ASSERT_EQ(ut_are_convertible(a.oracle.get(), b.oracle.get()) != 0, shouldConvertForTheOracle(unitA, unitB))
          << what;
      if (convertible)
        expectSameConversion(unitA, a.oracle.get(), unitB, b.oracle.get(), what);
      EXPECT_TRUE(convertible || !unitA.isEquivalent(unitB)) << what;
    }
}

/// Writes products, quotients, powers and parentheses in the way that both sides read.
class ExpressionWriter {
public:
  ExpressionWriter(std::mt19937& random, const std::vector<std::string>& words) : random_(random), words_(words) {}

  std::string product(int depth) {
    auto text = power(depth);
    for (auto more = pick(3); more > 0; --more)
      text += (pick(2) ? "*" : "/") + power(depth);
    return text;
  }

private:
  std::string power(int depth) {
    auto text = depth > 0 && pick(3) == 0 ? "(" + product(depth - 1) + ")" : words_[pick(words_.size())];
    return pick(3) ? text : text + "^" + std::to_string(static_cast<int>(pick(7)) - 3);
  }

  std::size_t pick(std::size_t count) { return std::uniform_int_distribution<std::size_t>(0, count - 1)(random_); }

  std::mt19937& random_;
  const std::vector<std::string>& words_;
};

TEST_F(UnitsOracleTest, ExpressionsMeanTheSame) {
  std::vector<std::string> words = {"1"};
  for (auto& entry : table.units())
    if (isKnownTo(entry) && !entry.unit.hasOwnZero() && !exceptions.contains(toUtf8(entry.symbol)) &&
        entry.symbol != u"%")
      words.push_back(toUtf8(entry.symbol));
  ASSERT_GT(words.size(), 60u);

  std::mt19937 random(20260);
  ExpressionWriter writer(random, words);
  int compared = 0;
  for (int i = 0; i < 3000; ++i) {
    auto text = writer.product(2);
    Unit ours;
    try {
      ours = table.read(*fromUtf8(text));
    } catch (const Error&) {
      continue; // beyond the limits
    }
    auto base = table.toText(asTheOracleSeesIt(ours.dimension));
    auto theirs = ask(text), theirBase = ask(toUtf8(base));
    ASSERT_TRUE(theirs && theirBase) << text;
    ASSERT_TRUE(ut_are_convertible(theirs.get(), theirBase.get())) << text;
    Unit stripped = ours;
    stripped.dimension = asTheOracleSeesIt(ours.dimension);
    if (!stripped.conversionTo(table.read(base)))
      continue; // beyond the range of double
    expectSameConversion(stripped, theirs.get(), table.read(base), theirBase.get(), text, 1e-11);
    ++compared;
  }
  EXPECT_GT(compared, 2000);
}

TEST_F(UnitsOracleTest, EveryExceptionIsNeeded) {
  ASSERT_GT(exceptions.size(), 50u);
  for (auto& [symbol, exception] : exceptions) {
    auto match = table.find(*fromUtf8(symbol));
    ASSERT_TRUE(match) << symbol;
    EXPECT_FALSE(exception.reason.empty()) << symbol;
    auto plain = ask(symbol), stated = ask(exception.oracleText);
    ASSERT_TRUE(stated) << symbol;
    bool agrees = plain && ut_compare(plain.get(), stated.get()) == 0;
    EXPECT_FALSE(agrees) << symbol;
  }
}

} // namespace
} // namespace kavra::standalone
