#include "kavra/EnumerationClass.h"
#include "kavra/Literals.h"
#include "kavra/Rendering.h"
#include "kavra/Text.h"
#include "kavra/standalone/StandaloneHost.h"
#include "tests/kavra/Table.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <cmath>
#include <random>

namespace kavra {
namespace {

std::shared_ptr<StandaloneClassRegistry> registry() {
  auto classes = std::make_shared<StandaloneClassRegistry>(nullptr);
  classes->defineEnumeration({u"Colors", {{u"Red", 0}, {u"Green", 1}, {u"Blue", 2}}, 2});
  classes->defineEnumeration({u"paint.Tone", {{u"Dark", 10}, {u"Light", 20}}, 1});
  classes->defineClass(u"Plain");
  return classes;
}

StandaloneWorkspace workspaceWithVariables(EvaluationLimits limits = {}) {
  StandaloneWorkspace workspace(registry(), limits);
  workspace.setVariable(u"x", HostArray::of<double>({1, 3}, {10, 20, 30}));
  workspace.setVariable(u"m", HostArray::of<double>({2, 2}, {1, 3, 2, 4}));
  workspace.setVariable(u"c", HostArray::cell({1, 3}, {HostArray::scalar(1.0), HostArray::chars(u"two"),
                                                       HostArray::of<double>({1, 3}, {3, 4, 5})}));
  workspace.setVariable(u"k", HostArray::scalar(std::int8_t{7}));
  workspace.setVariable(u"s", HostArray::string(u"text"));
  workspace.setVariable(u"z", HostArray::zeros(ArrayClass::Double, {0, 3}));
  return workspace;
}

//----------------------------------------------------------------------------------------------------------------------
// The table

std::string describe(const HostArray& array);

std::string describeElement(const HostArray& array, std::uint64_t index) {
  auto i = static_cast<std::size_t>(index);
  switch (array.arrayClass()) {
  case ArrayClass::Char:
    return toUtf8(std::u16string(1, array.data<char16_t>()[i]));
  case ArrayClass::String:
    return '"' + toUtf8(array.strings()[i]) + '"';
  case ArrayClass::Enumeration:
    return toUtf8(array.enumerationClass().members()[array.memberIndices()[i]].name);
  case ArrayClass::Int64:
    return std::to_string(array.data<std::int64_t>()[i]);
  case ArrayClass::Uint64:
    return std::to_string(array.data<std::uint64_t>()[i]);
  case ArrayClass::Cell: {
    auto text = describe(array.cells()[i]);
    return array.cells()[i].arrayClass() == ArrayClass::Cell ? "{" + text + "}" : text;
  }
  default:
    return shortestLiteral(array.numberAt(index));
  }
}

/// An array in the words of the table.
std::string describe(const HostArray& array) {
  if (!array)
    return "null";
  auto c = array.arrayClass();
  auto text = c == ArrayClass::Enumeration ? toUtf8(array.enumerationClass().name()) : std::string(className(c));
  auto extents = array.dimensions();
  for (std::size_t d = 0; d < extents.size(); ++d)
    text += (d == 0 ? " " : "x") + std::to_string(extents[d]);
  text += ':';
  if (array.isEmpty())
    return text;
  std::string_view between = c == ArrayClass::Char ? "" : c == ArrayClass::Cell ? " | " : " ";
  std::string_view betweenRows = c == ArrayClass::Char ? ";" : c == ArrayClass::Cell ? " | " : "; ";
  auto rows = extents.size() == 2 ? extents[0] : 1, columns = array.count() / rows;
  for (std::uint64_t r = 0; r < rows; ++r) {
    for (std::uint64_t k = 0; k < columns; ++k) {
      text += k > 0 ? between : r > 0 ? betweenRows : " ";
      text += describeElement(array, k * rows + r);
    }
  }
  return text;
}

TEST(Expression, EvaluatesAsTheTableSays) {
  auto rows = readTable("expressions.txt");
  ASSERT_GT(rows.size(), 400u);
  auto workspace = workspaceWithVariables();
  for (auto& [expression, expected, line] : rows) {
    EvaluationFailure failure;
    auto actual = describe(workspace.evaluate(fromUtf8(expression).value(), &failure));
    EXPECT_EQ(actual, expected) << "expressions.txt:" << line << ": " << expression << "  " << failure.text;
  }
}

TEST(Expression, EveryResultOfTheTableCanBeWrittenAsAnExpressionAgain) {
  auto workspace = workspaceWithVariables();
  for (auto& row : readTable("expressions.txt")) {
    auto array = workspace.evaluate(fromUtf8(row.text).value());
    if (!array)
      continue;
    auto text = expressionText(array);
    ASSERT_TRUE(text) << row.text;
    EXPECT_EQ(describe(workspace.evaluate(*text)), describe(array)) << toUtf8(*text);
  }
}

TEST(Expression, AFailureSaysWhereAndWhy) {
  struct {
    std::u16string_view text;
    std::size_t position;
    std::string_view word;
  } failures[] = {{u"1 + foo", 4, "foo"}, {u"[1 2", 4, "complete"}, {u"2 * 'abc", 4, "quote"}, {u"x(9)", 0, "beyond"}};
  auto workspace = workspaceWithVariables();
  for (auto& [text, position, word] : failures) {
    EvaluationFailure failure;
    EXPECT_FALSE(workspace.evaluate(text, &failure));
    EXPECT_EQ(failure.position, position) << toUtf8(text);
    EXPECT_NE(failure.text.find(word), failure.text.npos) << failure.text;
  }
}

//----------------------------------------------------------------------------------------------------------------------
// Random texts

std::u16string randomTokens(std::mt19937& random, std::size_t count) {
  static constexpr std::u16string_view tokens[] = {
      u"1",    u"2.5",        u"'a'",        u"\"b\"", u"x",       u"m",   u"c",     u"k",      u"[",   u"]",
      u"{",    u"}",          u"(",          u")",     u",",       u";",   u":",     u"+",      u"-",   u"*",
      u".*",   u"/",          u"\\",         u"^",     u".^",      u"'",   u"~",     u"==",     u"~=",  u"<",
      u"&",    u"&&",         u"||",         u" ",     u" ",       u"\n",  u"...\n", u"%",      u"end", u"zeros",
      u"int8", u"Colors.Red", u"char.empty", u"1e9",   u"size",    u"max", u"0x1F",  u"[]",     u"\"",  u"é",
      u".",    u"=",          u"true",       u"sum",   u"reshape", u"{}",  u"int64", u"repmat", u"5:",  u"@"};
  std::u16string text;
  while (count-- > 0)
    text += tokens[random() % std::size(tokens)];
  return text;
}

TEST(Expression, NoTextOfRandomTokensDoesHarm) {
  EvaluationLimits small; // so that a lucky text does not take long
  small.steps = 100000;
  small.bytes = 1 << 20;
  auto workspace = workspaceWithVariables(small);
  std::mt19937 random(20240717);
  int understood = 0;
  for (int i = 0; i < 60000; ++i) {
    auto text = randomTokens(random, 1 + random() % 12);
    EvaluationFailure failure{999, {}};
    auto array = workspace.evaluate(text, &failure);
    understood += array ? 1 : 0;
    ASSERT_TRUE(array || (!failure.text.empty() && failure.position <= text.size())) << toUtf8(text);
  }
  EXPECT_GT(understood, 1000); // else the texts would test nothing but the tokenizer
}

TEST(Expression, AnyPrefixOfAGoodTextIsHarmless) {
  auto workspace = workspaceWithVariables();
  for (auto& row : readTable("expressions.txt")) {
    auto text = fromUtf8(row.text).value();
    for (std::size_t length = 0; length < text.size(); ++length)
      workspace.evaluate(std::u16string_view(text).substr(0, length));
  }
}

//----------------------------------------------------------------------------------------------------------------------
// The short way and the long way

void expectBothWaysAlike(StandaloneWorkspace& workspace, const std::u16string& text) {
  auto shortWay = workspace.evaluate(text), longWay = workspace.evaluateWithoutShortcut(text);
  RC_ASSERT(shortWay == longWay);
}

TEST(PlainLiteral, IsReadAsTheEvaluatorReadsIt) {
  StandaloneWorkspace workspace;
  auto digits = rc::gen::container<std::string>(rc::gen::elementOf(std::string("0123456789")));
  auto sign = rc::gen::element<std::string>("", "", "-", "+", "--", " ");
  auto exponent = rc::gen::element<std::string>("", "e3", "E-7", "d+2", "e", "e400", "e-330", ".", "'", "x", " ");
  auto dot = rc::gen::element<std::string>("", ".", "..", "...");
  EXPECT_TRUE(rc::check(
      "numbers", [&] { expectBothWaysAlike(workspace, fromAscii(*sign + *digits + *dot + *digits + *exponent)); }));
  EXPECT_TRUE(rc::check("doubles", [&] {
    auto bits = *rc::gen::arbitrary<std::uint64_t>();
    double value;
    std::memcpy(&value, &bits, sizeof value);
    auto text = fromAscii(shortestLiteral(value));
    expectBothWaysAlike(workspace, text);
    RC_ASSERT(std::isnan(value) || workspace.evaluate(text) == HostArray::scalar(value));
  }));
  EXPECT_TRUE(rc::check("texts", [&] {
    auto inner = *rc::gen::container<std::string>(rc::gen::elementOf(std::string("ab'\" \n%.")));
    expectBothWaysAlike(workspace, fromAscii("'" + inner + "'"));
  }));
}

TEST(PlainLiteral, TrueCanBeAVariableAsWell) {
  StandaloneWorkspace workspace;
  EXPECT_EQ(workspace.evaluate(u"true"), HostArray::scalar(true));
  workspace.setVariable(u"true", HostArray::scalar(7.0));
  EXPECT_EQ(workspace.evaluate(u"true"), HostArray::scalar(7.0));
}

TEST(PlainLiteral, IntegersAreReadDigitForDigit) {
  EXPECT_EQ(parseIntegerLiteral(u"9007199254740993")->as<std::int64_t>(), 9007199254740993);
  EXPECT_EQ(parseIntegerLiteral(u" - 9223372036854775808 ")->as<std::int64_t>(),
            std::numeric_limits<std::int64_t>::min());
  EXPECT_FALSE(parseIntegerLiteral(u"9223372036854775808")->as<std::int64_t>());
  EXPECT_EQ(parseIntegerLiteral(u"-0")->as<std::uint8_t>(), 0);
  EXPECT_FALSE(parseIntegerLiteral(u"-1")->as<std::uint8_t>());
  for (auto text : {u"", u"-", u"1.0", u"1e3", u"1 2", u"18446744073709551616"})
    EXPECT_FALSE(parseIntegerLiteral(text)) << toUtf8(text);
}

//----------------------------------------------------------------------------------------------------------------------
// Limits

std::u16string repeated(std::u16string_view text, std::size_t times) {
  std::u16string result;
  while (times-- > 0)
    result += text;
  return result;
}

TEST(ExpressionLimits, NestingIsBoundedAndLengthAloneIsNot) {
  StandaloneWorkspace workspace;
  auto nested = [&](std::u16string_view open, std::u16string_view close, std::size_t depth) {
    return bool(workspace.evaluate(repeated(open, depth) + u"1" + repeated(close, depth)));
  };
  for (auto [open, close] : {std::pair(u"(", u")"), std::pair(u"[", u"]"), std::pair(u"{", u"}"), std::pair(u"-", u""),
                             std::pair(u"abs(", u")")}) {
    EXPECT_TRUE(nested(open, close, 190)) << toUtf8(open);
    EXPECT_FALSE(nested(open, close, 100000)) << toUtf8(open);
  }
  EXPECT_FALSE(workspace.evaluate(u"c" + repeated(u"{1}", 100000)));
  // The deepest trees that the bound lets through: every kind of operator on the way from bracket to bracket.
  workspace.evaluate(repeated(u"(0||1&&1|1&1==1:1+1*2^", 199) + u"1" + repeated(u")", 199));
  workspace.evaluate(repeated(u"[1,2;{0||1&&1|1&1==1:1+1*2^", 99) + u"1" + repeated(u"}]", 99));

  EXPECT_EQ(workspace.evaluate(u"1" + repeated(u"+1", 100000)), HostArray::scalar(100001.0));
  EXPECT_EQ(workspace.evaluate(repeated(u"1^-", 100000) + u"1"), HostArray::scalar(1.0));
  EXPECT_EQ(workspace.evaluate(u"[1]" + repeated(u"'", 100000)), HostArray::scalar(1.0));
  EXPECT_EQ(workspace.evaluate(u"[" + repeated(u"1 ", 100000) + u"]").count(), 100000u);
}

TEST(ExpressionLimits, EachStopsTheEvaluation) {
  auto evaluates = [](std::u16string_view text, EvaluationLimits limits) {
    return bool(StandaloneWorkspace(nullptr, limits).evaluate(text));
  };
  struct {
    std::u16string_view text;
    EvaluationLimits enough, tooLittle;
  } cases[] = {
      {u"(((1)))", {.depth = 3}, {.depth = 2}},         {u"-5", {.depth = 1}, {.depth = 0}},
      {u"12345", {.length = 5}, {.length = 4}},         {u"zeros(10,10)", {.elements = 100}, {.elements = 99}},
      {u"'abcde'", {.elements = 5}, {.elements = 4}},   {u"zeros(10,10)", {.bytes = 1000}, {.bytes = 799}},
      {u"zeros(10,10)", {.steps = 200}, {.steps = 99}},
  };
  for (auto& [text, enough, tooLittle] : cases) {
    EXPECT_TRUE(evaluates(text, enough)) << toUtf8(text);
    EXPECT_FALSE(evaluates(text, tooLittle)) << toUtf8(text);
  }
}

TEST(ExpressionLimits, HugeExtentsOfEmptyArraysCostNothing) {
  StandaloneWorkspace workspace;
  for (auto text : {u"sum(zeros(0,2^59,2^59),2)", u"[zeros(0,2^59); zeros(0,2^59)]", u"zeros(0,2^40)*zeros(2^40,0)",
                    u"[]\\zeros(0,2^59)", u"zeros(0,2^59)'", u"zeros(0,2^59) + 1", u"zeros(0,2^59) == zeros(0,2^59)",
                    u"\"a\" + string.empty(0,2^59)", u"int8(zeros(0,2^59))"})
    EXPECT_TRUE(workspace.evaluate(text)) << toUtf8(text);
}

TEST(ExpressionLimits, GreedyTextsEndWithoutAResult) {
  StandaloneWorkspace workspace;
  for (auto text : {u"zeros(1e9)", u"zeros(2^40,0)*zeros(0,2^40)", u"repmat(zeros(1e4),1e4,1e4)", u"1:1e18",
                    u"eye(20000)^1e9", u"ones(3000)*ones(3000)", u"reshape(1,[1e300 1])", u"zeros(1e5,1)+zeros(1,1e5)",
                    u"linspace(0,1,1e12)", u"cell(1e5,1e5)", u"zeros(Inf)", u"int8(1):int64(9223372036854775807)"})
    EXPECT_FALSE(workspace.evaluate(text)) << toUtf8(text);
}

} // namespace
} // namespace kavra
