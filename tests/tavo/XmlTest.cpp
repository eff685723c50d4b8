#include "tavo/core/Error.h"
#include "tavo/core/Errors.h"
#include "tavo/core/Utf.h"
#include "tavo/xml/XmlReader.h"
#include "tavo/xml/XmlText.h"
#include "tavo/xml/XmlWriter.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <limits>
#include <stdexcept>

namespace tavo {
namespace {

/// Writes down what it hears: "<name attribute=value>", "text", "</name>", one entry each.
class Recorder : public XmlHandler {
public:
  void startElement(const XmlReader&, std::string_view name, std::span<const XmlAttribute> attributes) override {
    std::string entry = "<" + std::string(name);
    for (const auto& attribute : attributes)
      entry.append(" ").append(attribute.name).append("=").append(attribute.value);
    heard.push_back(entry + ">");
  }
  void endElement(const XmlReader&, std::string_view name) override { heard.push_back("</" + std::string(name) + ">"); }
  void text(const XmlReader&, std::string_view text) override { heard.emplace_back(text); }

  std::vector<std::string> heard;
};

/// What a document says, or the identifier and arguments of the error.
std::vector<std::string> read(std::string_view document, const Limits& limits = {}, std::size_t blockSize = 1 << 20) {
  Recorder recorder;
  try {
    XmlReader reader("doc", recorder, limits);
    for (std::size_t at = 0; at < document.size(); at += blockSize)
      reader.feed(document.substr(at, blockSize));
    reader.finish();
  } catch (const Error& error) {
    recorder.heard = {std::string(error.id().text())};
    for (const auto& argument : error.arguments())
      recorder.heard.push_back(argument.toUtf8());
  }
  return recorder.heard;
}

using Strings = std::vector<std::string>;

TEST(XmlReaderTest, TextArrivesWholeHoweverItIsWritten) {
  EXPECT_EQ(read("<a>one &amp; <![CDATA[<two>]]><!-- and -->&#x33;<b x='1 \n 2' y=\"&quot;&#10;\"/> </a>"),
            (Strings{"<a>", "one & <two>3", "<b x=1   2 y=\"\n>", "</b>", " ", "</a>"}));
}

TEST(XmlReaderTest, AcceptsAMarkAndADeclarationOfUtf8) {
  for (const auto* head : {"", "\xEF\xBB\xBF", "<?xml version='1.0'?>", "<?xml version='1.0' encoding='utf-8'?>\n",
                           "\xEF\xBB\xBF<?xml version='1.0' encoding='UTF-8' standalone='yes'?>"})
    EXPECT_EQ(read(std::string(head) + "<a>\u20AC</a>"), (Strings{"<a>", "\u20AC", "</a>"})) << head;
}

TEST(XmlReaderTest, RefusesWhatIsMalformedOrCouldLoseOrDoSomething) {
  using namespace std::string_literals;
  const struct {
    std::string document, place, fault;
  } refusals[] = {
      {"", "doc:1:1", "no element found; the file ends too early, and may have been cut off"},
      {"<a>\n  <b></a>", "doc:2:8", "mismatched tag"},
      {"<a", "doc:1:1", "unclosed token; the file ends too early, and may have been cut off"},
      {"<a>", "doc:1:4", "no element found; the file ends too early, and may have been cut off"},
      {"<a/><b/>", "doc:1:5", "junk after document element"},
      {"<a/>text", "doc:1:5", "junk after document element"},
      {"<a x='1' x='2'/>", "doc:1:10", "duplicate attribute"},
      {"<a x='<'/>", "doc:1:7", "not well-formed (invalid token)"},
      {"<a>&nbsp;</a>", "doc:1:4", "undefined entity"},
      {"<a>&#0;</a>", "doc:1:4", "reference to invalid character number"},
      {"<a>&#xD800;</a>", "doc:1:4", "reference to invalid character number"},
      {"<a>\u00E9\0</a>"s, "doc:1:5", "not well-formed (invalid token)"},
      {"<a>\xFF</a>", "doc:1:4", "not well-formed (invalid token)"},
      {"<a>\xEF\xBF\xBE</a>", "doc:1:4", "not well-formed (invalid token)"},
      {"<a>\xED\xA0\x80</a>", "doc:1:4", "not well-formed (invalid token)"},
      {"<!DOCTYPE a><a/>", "doc:1:12", "document types (DOCTYPE) are not accepted"},
      {"<!DOCTYPE a [<!ENTITY b \"bb\"><!ENTITY c SYSTEM 'file:///etc/passwd'>]><a>&c;</a>", "doc:1:13",
       "document types (DOCTYPE) are not accepted"},
      {"<?style sheet?><a/>", "doc:1:1", "processing instructions are not accepted"},
      {"<a>\n<?do it?></a>", "doc:2:1", "processing instructions are not accepted"},
      {"<?xml version='1.1'?><a/>", "doc:1:1", "only XML 1.0 is accepted"},
      {"<?xml version='1.0' encoding='ISO-8859-1'?><a/>", "doc:1:1",
       "the encoding \"ISO-8859-1\" is not accepted, only UTF-8 is"},
      {"\xFF\xFE<\0a\0/\0>\0"s, "doc:1:1", "it is not encoded in UTF-8 but, it seems, in UTF-16 or UTF-32"},
      {"\0<\0a\0/\0>"s, "doc:1:1", "it is not encoded in UTF-8 but, it seems, in UTF-16 or UTF-32"},
  };
  for (const auto& [document, place, fault] : refusals)
    for (const std::size_t blockSize : {1u, 3u, 1000u})
      EXPECT_EQ(read(document, {}, blockSize), (Strings{"tavo:messages:MalformedXml", place, fault}))
          << document << " in blocks of " << blockSize;
}

TEST(XmlReaderTest, StopsAtItsLimits) {
  const Limits limits{.nesting = 3, .attributes = 2, .tokenBytes = 200'000, .fileBytes = 1'000'000};
  const std::string over(limits.tokenBytes + 1, 'x'), under(limits.tokenBytes - 20, 'x');
  const auto repeated = [](std::string_view text, std::size_t times) {
    std::string all;
    while (times-- > 0)
      all += text;
    return all;
  };
  const struct {
    std::string document, limit;
  } refusals[] = {
      {"<a><b><c><d/></c></b></a>", "the nesting of elements"},
      {"<a x='' y='' z=''/>", "the attributes of one element"},
      {"<a x='" + over + "'/>", "the bytes of one tag, comment or text"},
      {"<a " + over + "=''/>", "the bytes of one tag, comment or text"},
      {"<" + over + "/>", "the bytes of one tag, comment or text"},
      {"<a>" + over + "</a>", "the bytes of one tag, comment or text"},
      {"<a>" + repeated("x<!---->", over.size()) + "</a>", "the bytes of one tag, comment or text"},
      {"<a>" + repeated("&amp;", over.size() - 10) + "<![CDATA[xxxxxxxxxxx]]></a>",
       "the bytes of one tag, comment or text"},
      {"<a><![CDATA[" + over + "]]></a>", "the bytes of one tag, comment or text"},
      {"<a><!--" + over + "--></a>", "the bytes of one tag, comment or text"},
      // Never to end, so that nothing is found but that it goes on and on.
      {"<a x='" + over, "the bytes of one tag, comment or text"},
      {"<a><!--" + over, "the bytes of one tag, comment or text"},
      {"<a><?" + over, "the bytes of one tag, comment or text"},
      {"<!DOCTYPE a SYSTEM '" + over, "the bytes of one tag, comment or text"},
      {"<a>" + repeated("<b>" + under + "</b>", 6) + "</a>", "the size of a file in bytes"},
      {std::string(1'000'001, ' ') + "<a/>", "the size of a file in bytes"},
  };
  for (const auto& [document, limit] : refusals) {
    for (const std::size_t blockSize : {std::size_t{4096}, std::size_t{1} << 21}) {
      auto unlimited = limits;
      if (limit != "the size of a file in bytes")
        unlimited.fileBytes = 1 << 30;
      const auto error = read(document, unlimited, blockSize);
      ASSERT_EQ(error.size(), 4u) << document.substr(0, 20);
      EXPECT_EQ(error[0], "tavo:messages:LimitExceeded") << document.substr(0, 20) << " in blocks of " << blockSize;
      EXPECT_EQ(error[1].substr(0, 4), "doc:");
      EXPECT_EQ(error[2], limit);
    }
  }
  // Just inside of all of them.
  EXPECT_EQ(read("<a><b><c x='" + under + "' y=''>" + under + "</c></b></a>", limits).size(), 7u);
}

TEST(XmlReaderTest, GoesThroughLongTokensInTimeLinearInTheirLength) {
  // Witness is the number of reads: each asks for as much as is pending, so a token of 8 MiB arrives in a few of them.
  class Source final : public ByteSource {
  public:
    std::size_t read(char* to, std::size_t size) override {
      ++calls;
      return text.read(to, size);
    }
    std::string document = "<a x='" + std::string(8 << 20, 'x') + "'/>";
    MemorySource text{document};
    int calls = 0;
  } source;
  Recorder recorder;
  readXml(source, "doc", recorder);
  EXPECT_EQ(recorder.heard.size(), 2u);
  EXPECT_LT(source.calls, 20);
}

TEST(XmlReaderTest, WhatAHandlerThrowsComesOutAndNothingIsHeardAfterwards) {
  struct Stop {};
  class Thrower final : public Recorder {
  public:
    explicit Thrower(std::size_t after) : after_(after) {}
    void startElement(const XmlReader& reader, std::string_view name, std::span<const XmlAttribute> all) override {
      Recorder::startElement(reader, name, all);
      stopIfDue(reader);
    }
    void endElement(const XmlReader& reader, std::string_view name) override {
      Recorder::endElement(reader, name);
      stopIfDue(reader);
    }
    void text(const XmlReader& reader, std::string_view text) override {
      Recorder::text(reader, text);
      stopIfDue(reader);
    }
    std::string place;

  private:
    void stopIfDue(const XmlReader& reader) {
      place = reader.place();
      if (heard.size() == after_)
        throw Stop();
    }
    std::size_t after_;
  };
  const std::string document = "<a>one<b/>\n<b/>two</a>";
  const Strings places = {"doc:1:1", "doc:1:7", "doc:1:7", "doc:1:11", "doc:2:1",
                          "doc:2:1", "doc:2:5", "doc:2:8", "doc:2:8"};
  const auto all = read(document);
  ASSERT_EQ(all.size(), places.size());
  for (std::size_t after = 1; after <= all.size(); ++after) {
    Thrower handler(after);
    EXPECT_THROW(readXml(document, "doc", handler), Stop);
    EXPECT_EQ(handler.heard, Strings(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(after)));
    EXPECT_EQ(handler.place, places[after - 1]);
  }
}

std::string write(const std::function<void(XmlWriter&)>& content) {
  std::string document;
  MemorySink sink(document);
  XmlWriter writer(sink);
  content(writer);
  writer.finish();
  return document;
}

TEST(XmlWriterTest, WritesOneElementALineAndNumbersThatReadBack) {
  EXPECT_EQ(write([](XmlWriter& to) {
              to.start("model").attribute("name", u"caf\u00E9 <&>\"'\n").attribute("id", "plain & utf8 \u20AC");
              to.start("value").attribute("n", -5).attribute("big", std::numeric_limits<std::uint64_t>::max());
              to.attribute("real", 0.1).attribute("on", true).end();
              to.start("text").text(u"a\r\n <b>\t]]> \"").end();
              to.start("blank").text(u" ").end();
              to.start("outer").start("inner").text("").end().end();
              to.end();
            }),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<model name=\"caf\u00E9 &lt;&amp;&gt;&quot;'&#10;\" id=\"plain &amp; utf8 \u20AC\">\n"
            "  <value n=\"-5\" big=\"18446744073709551615\" real=\"0.1\" on=\"true\"/>\n"
            "  <text>a&#13;\n &lt;b&gt;\t]]&gt; \"</text>\n"
            "  <blank> </blank>\n"
            "  <outer>\n"
            "    <inner/>\n"
            "  </outer>\n"
            "</model>\n");
}

TEST(XmlWriterTest, RefusesTextThatXmlCannotCarry) {
  for (const std::u16string_view text : {u"\u0001", u"a\xD800", u"\xDC00\xD800", u"\xFFFF"}) {
    try {
      write([&](XmlWriter& to) { to.start("a").attribute("x", text).end(); });
      FAIL() << toPrintable(text);
    } catch (const Error& error) {
      EXPECT_EQ(error.id(), FrameworkError::InvalidText);
    }
  }
}

/// Sends a text through a document, once as an attribute and once as the text of an element, as the writer of a model
/// does.
void expectRoundTrip(std::u16string_view text) {
  const bool escaped = needsEscape(text);
  const String written = escaped ? escapeText(text) : String(text);
  const auto document = write([&](XmlWriter& to) { to.start("a").attribute("x", written).text(written).end(); });
  const auto heard = read(document);
  ASSERT_EQ(heard.size(), text.empty() ? 2u : 3u) << document;
  Strings back = {heard[0].substr(5, heard[0].size() - 6)};
  if (!text.empty())
    back.push_back(heard[1]);
  for (const auto& each : back) {
    const auto come = String::fromUtf8(each);
    const auto unescaped = escaped ? unescapeText(come) : come;
    ASSERT_TRUE(unescaped.has_value());
    ASSERT_EQ(*unescaped, text);
  }
  ASSERT_EQ(unescapeText(escapeText(text)), text);
}

RC_GTEST_PROP(XmlTextTest, AnyTextComesBack, ()) {
  const auto unit = rc::gen::oneOf(rc::gen::inRange<int>(0, 0x80), rc::gen::inRange<int>(0xD7F0, 0xE010),
                                   rc::gen::inRange<int>(0, 0x10000),
                                   rc::gen::element<int>('\\', 'u', '\r', '\n', '\t', ' ', '<', '&', ']', '>', '"', 0));
  std::u16string text;
  for (const int each : *rc::gen::container<std::vector<int>>(unit))
    text += static_cast<char16_t>(each);
  expectRoundTrip(text);
}

TEST(XmlTextTest, UnescapingTakesOnlyWhatEscapingWrites) {
  for (const std::u16string_view text : {u"\\", u"a\\n", u"\\u12", u"\\u12G4", u"\\U0001", u"\\u 123"})
    EXPECT_FALSE(unescapeText(text)) << toPrintable(text);
  EXPECT_EQ(unescapeText(u"\\\\u0041\\u000b"), u"\\u0041\u000B");
}

struct Node {
  std::string name;
  std::string attribute;
  std::string text; ///< empty in a node with children
  std::vector<Node> children;
};

Node anyNode(int depth) {
  const auto anyText = rc::gen::element<std::string>("", " ", "\n", "1 < 2", "\r\n", "\u20AC", "&&&&&&&&&&&&&&&&",
                                                     "a text, 30 or \u20AC 31 bytes long");
  Node node{*rc::gen::element<std::string>("a", "b", "longer-name"), *anyText, "", {}};
  for (int i = depth > 0 ? *rc::gen::inRange(0, 4) : 0; i > 0; --i)
    node.children.push_back(anyNode(depth - 1));
  if (node.children.empty())
    node.text = *anyText;
  return node;
}

void writeNode(XmlWriter& to, const Node& node) {
  to.start(node.name).attribute("x", node.attribute);
  for (const auto& child : node.children)
    writeNode(to, child);
  to.text(node.text).end();
}

RC_GTEST_PROP(XmlTest, WritesExactlyWhatCanBeReadWithTheSameLimits, ()) {
  const auto root = anyNode(3);
  const auto document = write([&](XmlWriter& to) { writeNode(to, root); });
  Limits limits{.nesting = *rc::gen::inRange<std::size_t>(1, 5),
                .attributes = *rc::gen::element<std::size_t>(0, 1, 1, 1, 1)};
  limits.tokenBytes = *rc::gen::inRange<std::size_t>(20, 110);
  limits.fileBytes = document.size() + *rc::gen::inRange<std::size_t>(0, 3) - 1;
  bool writes = true;
  try {
    std::string again;
    MemorySink sink(again);
    XmlWriter writer(sink, limits);
    writeNode(writer, root);
    writer.finish();
    RC_ASSERT(again == document);
  } catch (const Error& error) {
    RC_ASSERT(error.id() == FrameworkError::LimitExceeded);
    writes = false;
  }
  const bool reads = read(document, limits)[0] != FrameworkError::LimitExceeded.text();
  RC_ASSERT(reads == writes);
}

RC_GTEST_PROP(XmlTest, BlocksMakeNoDifferenceNotEvenToErrors, ()) {
  auto document = write([root = anyNode(3)](XmlWriter& to) { writeNode(to, root); });
  for (int i = *rc::gen::inRange(0, 4); i > 0; --i)
    document[*rc::gen::inRange<std::size_t>(0, document.size())] =
        *rc::gen::element('<', '>', '/', '&', ';', '"', 'a', ' ', '!', '-', ']', '\0', '\x80', '\xE2');
  RC_ASSERT(read(document) == read(document, {}, *rc::gen::inRange<std::size_t>(1, 20)));
}

TEST(XmlWriterTest, HandsOverInBlocksAndPassesOnWhatTheSinkRaises) {
  class Sink final : public ByteSink {
  public:
    void write(std::string_view bytes) override {
      if (++calls == 3)
        throw std::runtime_error("full");
      most = std::max(most, bytes.size());
    }
    std::size_t calls = 0, most = 0;
  } sink;
  XmlWriter writer(sink);
  writer.start("a");
  EXPECT_THROW(for (int i = 0; i < 1'000'000; ++i) writer.start("b").attribute("x", u"some text").end(),
               std::runtime_error);
  EXPECT_EQ(sink.calls, 3u);
  EXPECT_LT(sink.most, 70'000u);
}

} // namespace
} // namespace tavo
