#include "tools/zelkor/text/ProfileReader.h"
#include "tools/zelkor/text/ProfileWriter.h"
#include "tools/zelkor/text/Texts.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

namespace zelkor::text {
namespace {

struct Refusal {
  const char* toml;
  std::uint32_t line;
  const char* id;
  const char* words; ///< that the message has
};

TEST(ProfileReader, SaysWhereAndWhyATextIsWrong) {
  const Refusal refusals[] = {
      {"[profile\n", 1, "zelkor:text:Syntax", ""},
      {"[[stereotype]]\nname = Computer\n", 2, "zelkor:text:Syntax", "a text stands in quotes: \"Computer\""},
      {"[profile]\nname = \"1st\"\n", 2, "zelkor:text:InvalidName", "profile"},
      {"[profile]\nid = \"12\"\n", 2, "zelkor:text:InvalidIdentity", "\"12\""},
      {"[profile]\ndependsOn = [\"P\"]\n", 2, "zelkor:text:Cycle", "P -> P"},
      {"[profile]\ndependsOn = [\"A\",\n  \"A\"]\n", 3, "zelkor:text:DuplicateName", "the first is in line 2"},
      {"[profile]\n\nfriendlyname = \"x\"\n", 3, "zelkor:text:UnknownKey", "did you mean \"friendlyName\"?"},
      {"[[sterotype]]\n", 1, "zelkor:text:UnknownKey", "did you mean \"stereotype\"?"},
      {"[stereotype]\nname = \"A\"\n", 1, "zelkor:text:WrongKind", "[[stereotype]]"},
      {"[[type]]\nname = \"Mass\"\n", 1, "zelkor:text:MissingKey", "\"base\""},
      {"[[type]]\nname = \"double\"\nbase = \"single\"\n", 2, "zelkor:text:BuiltInName", "double"},
      {"[[type]]\nname = \"M\"\nbase = \"double\"\nmin = \"0\"\n", 4, "zelkor:text:WrongKind", "a number"},
      {"[[type]]\nname = \"M\"\nbase = \"double\"\ndimensions = [-1]\n", 4, "zelkor:text:WrongKind", "extents"},
      {"[[type]]\nname = \"M\"\nbase = \"double\"\nenumeration = \"E\"\n", 4, "zelkor:text:OneOf", "\"base\""},
      {"[[enumeration]]\nname = \"E\"\n", 1, "zelkor:text:MissingKey", "\"members\""},
      {"[[enumeration]]\nname = \"E\"\nmembers = []\n", 3, "zelkor:text:WrongKind", "list of names"},
      {"[[enumeration]]\nname = \"E\"\nmembers = [\"A\", \"A\"]\n", 3, "zelkor:text:DuplicateName", "member"},
      {"[[enumeration]]\nname = \"E\"\nmembers = [\n{name=\"A\", value=2147483648}]\n", 4, "zelkor:text:WrongKind",
       "32"},
      {"[[enumeration]]\nname = \"E\"\nmembers = [\"Red\"]\ndefault = \"Rde\"\n", 4, "zelkor:text:UnknownName",
       "did you mean \"Red\"?"},
      {"[[stereotype]]\nname = \"A\"\n[[stereotype]]\nname = \"A\"\n", 4, "zelkor:text:DuplicateName", "line 2"},
      {"[[stereotype]]\nname = \"A\"\nicon = \"cpu\"\n", 3, "zelkor:text:UnknownChoice", "processor"},
      {"[[stereotype]]\nname = \"A\"\nheaderColour = \"red\"\n", 3, "zelkor:text:WrongKind", "#1f77b4"},
      {"[[stereotype]]\nname = \"A\"\ndefaults = { ports = \"A\" }\n", 3, "zelkor:text:UnknownKey", "\"port\""},
      {"[[stereotype]]\nname = \"A\"\n[[stereotype.property]]\nname = \"p\"\n", 3, "zelkor:text:MissingKey",
       "\"type\""},
      {"[[set]]\nname = \"A\"\n[[set.property]]\nname = \"a b\"\ntype = \"double\"\n", 4, "zelkor:text:InvalidName",
       "property"},
      {"[[set]]\nname = \"A\"\n[[set.property]]\nname = \"p\"\ntype = \"double\"\ndefault = 2026-01-01\n", 6,
       "zelkor:text:WrongKind", "\"default\""},
      {"[[set]]\nname = \"A\"\n[[set.property]]\nname = \"p\"\ntype = \"double\"\ndefault = {expr=\"1\", value=1}\n", 6,
       "zelkor:text:OneOf", "\"expr\""},
      {"[[set]]\nname = \"A\"\ndescription = { escaped = \"\\\\uD80\" }\n", 3, "zelkor:text:WrongKind", "quotes"},
      {"[[set]]\nname = \"A\"\n[[set.type]]\nname = \"T\"\nkind = \"number\"\n", 5, "zelkor:text:UnknownChoice",
       "integer"},
      {"[[stereotype]]\nname = \"A\"\nlineColour = [1, 2, 4294967296]\n", 3, "zelkor:text:WrongKind", "[31, 119, 180]"},
      {"[exact]\n\"Profile\" = 5\n", 2, "zelkor:text:WrongKind", "Profile"},
  };
  for (auto& [toml, line, id, words] : refusals) {
    Findings findings("P.toml");
    readProfileText(toml, "P.toml", findings);
    auto found = findings.sorted();
    ASSERT_EQ(found.size(), 1u) << toml;
    EXPECT_EQ(found[0].place.line, line) << toml;
    EXPECT_EQ(found[0].id, id) << toml;
    EXPECT_NE(found[0].message.find(words), std::string::npos) << toml << found[0].message;
  }
}

TEST(ProfileReader, TellsAllFaultsInTheOrderOfTheText) {
  Findings findings("P.toml");
  readProfileText("[[type]]\nname = \"2\"\nbase = 5\n[[tag]]\n[[set]]\nname = \"S\"\nnmae = \"S\"\n", "P.toml",
                  findings);
  std::vector<std::string> lines;
  for (auto& finding : findings.sorted())
    lines.push_back(finding.line().substr(0, finding.line().find(' ')));
  EXPECT_EQ(lines, (std::vector<std::string>{"P.toml:2:8:", "P.toml:3:8:", "P.toml:4:1:", "P.toml:7:1:"}));
}

TEST(ProfileText, ComesBackFromWhatIsWritten) {
  std::ifstream file(ZELKOR_TEST_DATA "/everything.toml");
  const std::string toml(std::istreambuf_iterator<char>(file), {});
  Findings findings("P.toml");
  auto first = readProfileText(toml, "P.toml", findings);
  auto written = writeProfileText(first);
  auto second = readProfileText(written, "P.toml", findings);
  for (auto& finding : findings.sorted())
    ADD_FAILURE() << finding.line();
  EXPECT_EQ(first, second) << written;
  EXPECT_EQ(writeProfileText(second), written);
  EXPECT_EQ(second.stereotypes.at(0).defaults.at("component").value, "B.Base");
  EXPECT_EQ(second.stereotypes.at(0).lineColour->blue, 4294967295u);
  EXPECT_EQ(wide(second.tags.at(0).description).view(), std::u16string(1, char16_t(0xD800)) + u" \\ …");
}

TEST(ProfileReader, BoundsTheNestingOfLists) {
  std::string toml = "[[set]]\nname = \"S\"\n[[set.property]]\nname = \"p\"\ntype = \"double\"\ndefault = ";
  Findings findings("P.toml");
  readProfileText(toml + std::string(100'000, '['), "P.toml", findings);
  readProfileText(toml + "[[[1]]]\n", "P.toml", findings);
  ASSERT_EQ(findings.sorted().size(), 2u);
}

} // namespace
} // namespace zelkor::text
