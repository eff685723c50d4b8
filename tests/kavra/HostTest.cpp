#include "kavra/Host.h"

#include "kavra/Rendering.h"
#include "kavra/standalone/EnumerationFile.h"
#include "kavra/standalone/StandaloneHost.h"
#include "tests/kavra/ErrorOf.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <fstream>
#include <unistd.h>

namespace kavra {
namespace {

/// A folder of its own for each test.
class HostTest : public ::testing::Test {
protected:
  HostTest() {
    static std::atomic<int> serial = 0;
    auto name = "kavra-" + std::to_string(::getpid()) + "-" + std::to_string(++serial);
    folder = std::filesystem::temp_directory_path() / name;
    std::filesystem::create_directories(folder / "deeper");
  }
  ~HostTest() override { std::filesystem::remove_all(folder); }

  std::filesystem::path write(const std::filesystem::path& name, std::string_view text) {
    std::ofstream(folder / name, std::ios::binary) << text;
    return folder / name;
  }

  std::filesystem::path folder;
};

//----------------------------------------------------------------------------------------------------------------------
// Installing

TEST_F(HostTest, TheStandaloneHostIsThereUntilAnotherOrNoneTakesItsPlace) {
  ASSERT_TRUE(isHostAvailable());
  auto& standalone = host();
  {
    ScopedHost none(nullptr);
    EXPECT_FALSE(isHostAvailable());
    EXPECT_EQ(errorOf([] { host(); }).id(), "kavra:messages:NoHost");
    {
      auto another = makeStandaloneHost();
      ScopedHost inner(another);
      EXPECT_EQ(&host(), another.get());
    }
    EXPECT_FALSE(isHostAvailable());
  }
  EXPECT_EQ(&host(), &standalone);
  EXPECT_NO_THROW(host().units().checkUnit(u"km"));
  EXPECT_EQ(errorOf([] { Host(Host::Parts{}); }).id(), "kavra:messages:IncompleteHost");
}

TEST_F(HostTest, WorkspacesOfModelsAreApart) {
  auto host = makeStandaloneHost();
  int one = 0, other = 0;
  host->workspaces().of(&one)->setVariable(u"speed", HostArray::scalar(5.0));
  EXPECT_EQ(host->workspaces().of(&one)->evaluate(u"2*speed"), HostArray::scalar(10.0));
  EXPECT_FALSE(host->workspaces().of(&other)->evaluate(u"speed"));

  auto held = host->workspaces().of(&one);
  host->workspaces().release(&one);
  EXPECT_FALSE(host->workspaces().of(&one)->evaluate(u"speed"));
  EXPECT_TRUE(held->evaluate(u"speed")); // whoever still holds it may go on
}

TEST_F(HostTest, VariablesAreSetClearedAndListed) {
  StandaloneWorkspace workspace;
  workspace.setVariable(u"b", HostArray::scalar(1.0));
  workspace.setVariable(u"a", HostArray::scalar(2.0));
  workspace.setVariable(u"pi", HostArray::scalar(3.0)); // a variable comes before a function
  EXPECT_EQ(workspace.evaluate(u"pi"), HostArray::scalar(3.0));
  EXPECT_EQ(workspace.variableNames(), (std::vector<std::u16string>{u"a", u"b", u"pi"}));
  workspace.setVariable(u"b", {});
  workspace.clearVariable(u"pi");
  EXPECT_EQ(workspace.variableNames(), std::vector<std::u16string>{u"a"});
  workspace.clearAllVariables();
  EXPECT_FALSE(workspace.variable(u"a"));
  for (auto name : {u"1a", u"", u"a b", u"end"})
    EXPECT_EQ(errorOf([&] { workspace.setVariable(name, HostArray::scalar(1.0)); }).id(),
              "kavra:messages:InvalidVariableName");
}

TEST_F(HostTest, ReportsGoToTheInstalledHost) {
  auto parts = standaloneParts();
  auto recorder = std::make_shared<RecordingDiagnostics>();
  parts.diagnostics = recorder;
  ScopedHost scoped(std::make_shared<Host>(parts));
  report({Severity::HighPriorityWarning, "Some:Id", {u"argument"}, "Something is wrong.", {"the cause"}});
  ASSERT_EQ(recorder->diagnostics.size(), 1u);
  EXPECT_EQ(recorder->diagnostics[0].id, "Some:Id");
  EXPECT_EQ(recorder->diagnostics[0].causes, std::vector<std::string>{"the cause"});

  ScopedHost none(nullptr);
  ::testing::internal::CaptureStderr();
  report({Severity::Warning, "Some:Id", {}, "Something is wrong.", {"the cause"}});
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "warning: Something is wrong. [Some:Id]\n  because: the cause\n");
}

//----------------------------------------------------------------------------------------------------------------------
// Search path

TEST_F(HostTest, TheSearchPathFindsRegularFilesByBareName) {
  write("a.xml", "1");
  write("deeper/a.xml", "2");
  write("deeper/b.xml", "3");
  std::filesystem::create_directory(folder / "folder.xml");
  SearchPath path({folder / "missing", folder, folder / "deeper"});
  EXPECT_EQ(path.find("a.xml"), folder / "a.xml");
  EXPECT_EQ(path.find("b.xml"), folder / "deeper" / "b.xml");
  for (auto name : {"c.xml", "folder.xml", "deeper/b.xml", "../a.xml", "..", ".", "", "/etc/passwd"})
    EXPECT_FALSE(path.find(name)) << name;
}

TEST_F(HostTest, TheSearchPathComesFromTheEnvironment) {
  ::setenv("ZELKOR_PATH", "/one::/two/three:", 1);
  EXPECT_EQ(SearchPath::fromEnvironment().folders(), (std::vector<std::filesystem::path>{"/one", "/two/three"}));
  ::unsetenv("ZELKOR_PATH");
  EXPECT_TRUE(SearchPath::fromEnvironment().folders().empty());
}

//----------------------------------------------------------------------------------------------------------------------
// Classes

TEST_F(HostTest, EnumerationsAreRegisteredOrFoundInFiles) {
  auto searchPath = std::make_shared<SearchPath>(std::vector{folder});
  StandaloneClassRegistry classes(searchPath);
  EXPECT_FALSE(classes.findClass(u"Colors"));
  EXPECT_EQ(errorOf([&] { classes.defaultMemberPosition(u"Colors"); }).id(), "kavra:messages:NoSuchEnumeration");

  write("Colors.enum.toml", "members = [{ name = \"OnPath\" }]\n");
  EXPECT_EQ(classes.findClass(u"Colors")->enumeration->members()[0].name, u"OnPath");
  write("deeper/Colors.enum.toml", "default = \"B\"\nmembers = [{ name = \"A\" }, { name = \"B\" }]\n");
  classes.addFolder(folder / "deeper");
  classes.forgetFiles();
  EXPECT_EQ(classes.findClass(u"Colors")->enumeration->members()[0].name, u"A");
  EXPECT_EQ(classes.defaultMemberPosition(u"Colors"), 2);
  classes.defineEnumeration({u"Colors", {{u"Registered", 3}}, 1});
  EXPECT_EQ(classes.findClass(u"Colors")->enumeration->members()[0].name, u"Registered");
  classes.removeClass(u"Colors");
  classes.removeFolder(folder / "deeper");
  EXPECT_EQ(classes.findClass(u"Colors")->enumeration->members()[0].name, u"OnPath");

  classes.defineClass(u"Plain");
  EXPECT_FALSE(classes.findClass(u"Plain")->isEnumeration());
  EXPECT_FALSE(classes.findClass(u"../Colors"));
}

TEST_F(HostTest, AClassThatCannotBeReadIsAnErrorButNeverOneOfEvaluation) {
  auto classes = std::make_shared<StandaloneClassRegistry>(std::make_shared<SearchPath>(std::vector{folder}));
  write("Broken.enum.toml", "members = 5\n");
  EXPECT_EQ(errorOf([&] { classes->findClass(u"Broken"); }).id(), "kavra:messages:InvalidEnumerationFile");
  EvaluationFailure failure;
  EXPECT_FALSE(StandaloneWorkspace(classes).evaluate(u"Broken.Red", &failure));
  EXPECT_NE(failure.text.find("Broken.enum.toml:1"), failure.text.npos) << failure.text;
}

TEST_F(HostTest, AnEnumerationFileReadsBackAsItWasWritten) {
  EnumerationDefinition definition{u"paint.Tone", {{u"Dark", -5}, {u"Light", 2147483647}, {u"Same", -5}}, 2};
  auto file = folder / enumerationFileName(definition.name);
  EXPECT_EQ(file.filename(), "paint.Tone.enum.toml");
  write("paint.Tone.enum.toml", renderEnumeration(definition));
  EXPECT_EQ(readEnumerationFile(u"paint.Tone", file), definition);
  EXPECT_EQ(errorOf([&] { readEnumerationFile(u"E", folder / "missing"); }).id(),
            "kavra:messages:CannotReadEnumerationFile");
}

TEST_F(HostTest, AnEnumerationFileNamesTheLineOfItsFault) {
  struct {
    std::string_view text, line, word;
  } faults[] = {
      {"members = [\n  { name = \"A\" \n", "2", ""},
      {"\n\n", "1", "members"},
      {"members = []\n", "1", "at least one"},
      {"members = [\n{ name = \"A\" },\n{ name = \"A\" }]\n", "3", "twice"},
      {"members = [{ name = \"1A\" }]\n", "1", "valid name"},
      {"members = [{ name = \"a.b\" }]\n", "1", "valid name"},
      {"members = [{ value = 1 }]\n", "1", "name"},
      {"members = [{ name = \"A\", value = 1.5 }]\n", "1", "integer"},
      {"members = [{ name = \"A\", value = 2147483648 }]\n", "1", "32 bits"},
      {"members = [{ name = \"A\", value = 2147483647 },\n{ name = \"B\" }]\n", "2", "32 bits"},
      {"members = [{ name = \"A\", valeu = 1 }]\n", "1", "valeu"},
      {"members = [{ name = \"A\" }]\ndefualt = \"A\"\n", "2", "defualt"},
      {"members = [{ name = \"A\" }]\ndefault = \"B\"\n", "2", "default"},
      {"members = [{ name = \"A\" }]\ndefault = 1\n", "2", "default"},
  };
  for (auto& [text, line, word] : faults) {
    auto error = errorOf([&, toml = text] { parseEnumeration(u"E", toml, "E.enum.toml"); });
    EXPECT_EQ(error.id(), "kavra:messages:InvalidEnumerationFile") << text;
    std::string_view what = error.what();
    EXPECT_EQ(what.find("E.enum.toml:" + std::string(line) + ": "), 0u) << text << what;
    EXPECT_NE(what.find(word), what.npos) << text << what;
  }
}

TEST_F(HostTest, DefinitionsOfEnumerationsAreChecked) {
  struct {
    EnumerationDefinition definition;
    std::u16string_view culprit;
  } refusals[] = {
      {{u"1E", {{u"A", 0}}, 1}, u"1E"},   {{u"E", {{u"A", 0}, {u"A", 1}}, 1}, u"A"},
      {{u"E", {{u"a b", 0}}, 1}, u"a b"}, {{u"E", {{u"A", 0}}, 2}, u""},
      {{u"E", {{u"A", 0}}, 0}, u""},
  };
  for (auto& [definition, culprit] : refusals) {
    auto error = errorOf([given = definition] { EnumerationClass::define(given); });
    EXPECT_EQ(error.id(), "kavra:messages:InvalidEnumeration");
    EXPECT_EQ(error.arguments()[1], culprit);
  }
  EnumerationDefinition good{u"E", {{u"A", 0}}, 1};
  EXPECT_EQ(&EnumerationClass::define(good), &EnumerationClass::define(good));
}

//----------------------------------------------------------------------------------------------------------------------
// Texts of arrays

TEST_F(HostTest, ArraysHaveReadableTexts) {
  StandaloneWorkspace workspace;
  std::pair<std::u16string_view, std::u16string_view> texts[] = {
      {u"0.1", u"0.1"},
      {u"'hello'", u"hello"},
      {u"\"hello\"", u"hello"},
      {u"[1 2; 3 4]", u"[1 2; 3 4]"},
      {u"int8([1 2])", u"int8 [1 2]"},
      {u"int8(1)", u"1"},
      {u"{1, 'a', {}}", u"{1, 'a', 0-by-0 cell}"},
      {u"[true false]", u"[true false]"},
      {u"[]", u"[]"},
      {u"zeros(1000)", u"1000-by-1000 double"},
      {u"zeros(2,2,2)", u"2-by-2-by-2 double"},
  };
  for (auto& [expression, text] : texts)
    EXPECT_EQ(displayText(workspace.evaluate(expression)), text);
  EXPECT_EQ(displayText(HostArray::opaque(u"Thing", {1, 2})), u"1-by-2 Thing");
  EXPECT_FALSE(expressionText(HostArray::cell({1, 1}, {HostArray::opaque(u"Thing", {1, 1})})));

  auto awkward = HostArray::chars(std::u16string(u"a\n'\0\xd800z", 6));
  EXPECT_EQ(workspace.evaluate(*expressionText(awkward)), awkward);
  auto strings = HostArray::strings({1, 2}, {u"\t", u"\"q\""});
  EXPECT_EQ(workspace.evaluate(*expressionText(strings)), strings);
}

} // namespace
} // namespace kavra
