// The XML reader against another parser: what ours takes, the other takes with the same content; what ours refuses as
// malformed, the other refuses, except for what ours is meant to refuse. Those are document types, processing
// instructions, other encodings and versions, and whatever is over a limit. Names beyond ASCII are not compared: the
// two follow different editions of the standard there.
#include "tests/fuzz/Fuzz.h"

#include "tavo/core/Error.h"
#include "tavo/core/Errors.h"
#include "tavo/xml/XmlReader.h"

#include <libxml/parser.h>

#include <algorithm>
#include <cstring>
#include <string>

namespace {

/// Elements, attributes in their order, and text, as one string.
class Content {
public:
  void start(std::string_view name) { event('<', name); }
  void attribute(std::string_view name, std::string_view value) {
    event('@', name);
    event('=', value);
  }
  void end(std::string_view name) { event('>', name); }
  void text(std::string_view piece) {
    if (!inText_)
      content_ += '"';
    inText_ = true;
    content_ += piece;
  }

  const std::string& get() const { return content_; }
  bool hasOtherNames() const { return hasOtherNames_; }

private:
  void event(char kind, std::string_view text) {
    inText_ = false;
    if (kind != '=' && std::any_of(text.begin(), text.end(), [](char c) { return (c & 0x80) != 0; }))
      hasOtherNames_ = true;
    ((content_ += kind) += text) += '\n';
  }

  std::string content_;
  bool inText_ = false;
  bool hasOtherNames_ = false;
};

class Ours final : public tavo::XmlHandler {
public:
  void startElement(const tavo::XmlReader&, std::string_view name,
                    std::span<const tavo::XmlAttribute> attributes) override {
    content.start(name);
    for (const auto& attribute : attributes)
      content.attribute(attribute.name, attribute.value);
  }
  void endElement(const tavo::XmlReader&, std::string_view name) override { content.end(name); }
  void text(const tavo::XmlReader&, std::string_view text) override { content.text(text); }

  Content content;
};

std::string_view textOf(const xmlChar* text) { return reinterpret_cast<const char*>(text); }

/// Whether the other parser takes the document.
bool readByOther(std::string_view document, Content& content) {
  xmlSAXHandler handler{};
  handler.startElement = [](void* to, const xmlChar* name, const xmlChar** attributes) {
    auto& all = *static_cast<Content*>(to);
    all.start(textOf(name));
    for (; attributes && *attributes; attributes += 2)
      all.attribute(textOf(attributes[0]), textOf(attributes[1]));
  };
  handler.endElement = [](void* to, const xmlChar* name) { static_cast<Content*>(to)->end(textOf(name)); };
  handler.characters = [](void* to, const xmlChar* text, int size) {
    static_cast<Content*>(to)->text({reinterpret_cast<const char*>(text), static_cast<std::size_t>(size)});
  };
  handler.cdataBlock = handler.ignorableWhitespace = handler.characters;
  auto* const context = xmlNewParserCtxt();
  fuzz::require(context, "the other parser can be made");
  *context->sax = handler;
  context->userData = &content;
  // Read whole: fed in pieces, it leaves line ends in character data sections as they are.
  xmlFreeDoc(xmlCtxtReadMemory(context, document.data(), static_cast<int>(document.size()), nullptr, nullptr,
                               XML_PARSE_NONET | XML_PARSE_NOENT | XML_PARSE_HUGE));
  const bool isGood = context->wellFormed != 0;
  xmlFreeParserCtxt(context);
  return isGood;
}

/// Whether ours is meant to refuse what may well be well-formed, or what the other takes although it is not: in a
/// declaration it wants no space before "standalone".
bool isMeant(const tavo::Error& error) {
  if (error.id() != tavo::FrameworkError::MalformedXml)
    return true;
  const auto fault = error.arguments().back().toUtf8();
  return fault.find("accepted") != fault.npos || fault.find("it seems") != fault.npos ||
         fault.find("XML declaration not well-formed") != fault.npos;
}

void ignore(void*, const char*, ...) {}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto document = fuzz::textOf(data, size);
  Ours ours;
  bool isGood = true;
  try {
    tavo::readXml(document, "fuzz", ours);
  } catch (const tavo::Error& error) {
    if (isMeant(error))
      return 0;
    isGood = false;
  }
  if (document.empty())
    return 0;
  // In two pieces it is the same.
  Ours pieces;
  try {
    tavo::XmlReader reader("fuzz", pieces);
    reader.feed(document.substr(0, size / 2));
    reader.feed(document.substr(size / 2));
    reader.finish();
    fuzz::require(isGood && pieces.content.get() == ours.content.get(), "pieces read like the whole");
  } catch (const tavo::Error&) {
    fuzz::require(!isGood, "pieces are taken like the whole");
  }
  if (document.find('\0') != document.npos) { // the other takes it for the end
    fuzz::require(!isGood, "a document has no null character");
    return 0;
  }
  Content other;
  const bool isGoodForOther = readByOther(document, other);
  if (ours.content.hasOtherNames() || other.hasOtherNames())
    return 0;
  // The targets of instructions are names, too, but the other may not tell of them. And it wants no space in a document
  // type, of which ours takes none.
  const std::size_t start = document.starts_with("<?xml ") ? 1 : 0;
  if (!isGood && (document.find("<?", start) != document.npos || document.find("<!DOCTYPE") != document.npos))
    return 0;
  fuzz::require(isGood == isGoodForOther, "both parsers take the document, or none");
  fuzz::require(!isGood || ours.content.get() == other.get(), "both parsers find the same in it");
  return 0;
}

// NOLINTNEXTLINE(readability-identifier-naming): the name by which the fuzzer calls it
extern "C" int LLVMFuzzerInitialize(int*, char***) {
  xmlSetGenericErrorFunc(nullptr, ignore);
  return 0;
}
