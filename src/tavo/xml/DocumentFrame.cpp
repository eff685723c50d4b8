#include "tavo/xml/DocumentFrame.h"

#include "tavo/core/Errors.h"
#include "tavo/core/Utf.h"
#include "tavo/xml/XmlFormat.h"

#include <algorithm>
#include <utility>

namespace tavo {
namespace {

namespace xf = xmlformat;

class FrameReader final : public XmlHandler, private Whereabouts {
public:
  explicit FrameReader(const OpenDocument& open) : open_(open) {}

  void startElement(const XmlReader& reader, std::string_view name, std::span<const XmlAttribute> attributes) override {
    reader_ = &reader;
    const std::size_t depth = depth_++;
    if (depth == 0)
      return startDocument(name, attributes);
    if (depth == 1)
      return startSection(name);
    switch (section_) {
    case Section::families:
      return readFamily(name, attributes);
    case Section::dictionary:
      return depth == 2 ? readClass(name, attributes) : readFeature(name, attributes);
    case Section::outside:
      return readOutsider(name, attributes);
    case Section::objects:
      return objects_->start(*this, name, attributes);
    case Section::none:
      break;
    }
    raiseUnexpected(name, place());
  }

  void endElement(const XmlReader& reader, std::string_view) override {
    reader_ = &reader;
    --depth_;
    if (depth_ == 1)
      section_ = Section::none;
    else if (section_ == Section::objects)
      objects_->end(*this);
  }

  void text(const XmlReader& reader, std::string_view text) override {
    reader_ = &reader;
    const auto isBlank = [](char c) { return c == ' ' || c == '\n' || c == '\t' || c == '\r'; };
    if (!std::all_of(text.begin(), text.end(), isBlank))
      raiseInvalid(place(), "there is text between the elements");
  }

  void finish() {
    openObjects(); // a document may have none
    objects_->finish();
  }

private:
  enum class Section { none, families, dictionary, outside, objects };

  std::string place() const override { return reader_->place(); }
  std::uint64_t line() const override { return reader_->position().line; }

  void startDocument(std::string_view name, std::span<const XmlAttribute> attributes) {
    if (name != xf::root)
      raiseInvalid(place(), "this is no model file: it starts with \"" + std::string(name) + "\" instead of \"tavo\"");
    const std::string_view format = requireAttribute(attributes, xf::format, *this);
    if (format != xf::formatVersion)
      raise(FrameworkError::InvalidFamilyVersion, format, xf::root, xf::formatVersion, place());
  }

  void startSection(std::string_view name) {
    static constexpr std::pair<std::string_view, Section> sections[] = {{xf::families, Section::families},
                                                                        {xf::dictionary, Section::dictionary},
                                                                        {xf::outside, Section::outside},
                                                                        {xf::objects, Section::objects}};
    for (const auto& [known, section] : sections)
      if (known == name) {
        if (section <= lastSection_)
          break;
        section_ = lastSection_ = section;
        if (section == Section::objects)
          openObjects();
        return;
      }
    raiseUnexpected(name, place());
  }

  void openObjects() {
    if (!objects_)
      objects_ = open_(std::move(head_));
  }

  void readFamily(std::string_view element, std::span<const XmlAttribute> attributes) {
    if (element != xf::family || depth_ != 3)
      raiseUnexpected(element, place());
    head_.families.push_back({std::string(requireAttribute(attributes, xf::name, *this)),
                              std::string(requireAttribute(attributes, xf::version, *this)),
                              {},
                              place()});
  }

  void readClass(std::string_view element, std::span<const XmlAttribute> attributes) {
    if (element != xf::classEntry)
      raiseUnexpected(element, place());
    head_.classes.push_back({std::string(requireAttribute(attributes, xf::name, *this)),
                             std::string(requireAttribute(attributes, xf::family, *this)),
                             requireUuid(requireAttribute(attributes, xf::id, *this), *this), place()});
  }

  void readFeature(std::string_view element, std::span<const XmlAttribute> attributes) {
    if (element != xf::feature || depth_ != 4)
      raiseUnexpected(element, place());
    head_.classes.back().features.push_back({std::string(requireAttribute(attributes, xf::name, *this)),
                                             requireUuid(requireAttribute(attributes, xf::id, *this), *this), place()});
  }

  void readOutsider(std::string_view element, std::span<const XmlAttribute> attributes) {
    if (element != xf::element || depth_ != 3)
      raiseUnexpected(element, place());
    head_.outsiders.push_back({std::string(requireAttribute(attributes, xf::classAttribute, *this)),
                               requireUuid(requireAttribute(attributes, xf::uuid, *this), *this), place()});
  }

  const OpenDocument& open_;
  const XmlReader* reader_ = nullptr;
  DocumentHead head_;
  std::unique_ptr<ObjectsHandler> objects_;
  std::size_t depth_ = 0;
  Section section_ = Section::none;
  Section lastSection_ = Section::none;
};

} // namespace

void readDocument(ByteSource& source, const std::string& name, const Limits& limits, const OpenDocument& open) {
  FrameReader frame(open);
  XmlReader reader(name, frame, limits);
  reader.readAll(source);
  frame.finish();
}

void writeHead(XmlWriter& xml, const DocumentHead& head) {
  xml.start(xf::families);
  for (const auto& family : head.families)
    xml.start(xf::family)
        .attribute(xf::name, family.name)
        .attribute(xf::version, family.version)
        .attribute(xf::uri, family.uri)
        .end();
  xml.end().start(xf::dictionary);
  for (const auto& each : head.classes) {
    xml.start(xf::classEntry)
        .attribute(xf::name, each.name)
        .attribute(xf::family, each.family)
        .attribute(xf::id, toText(each.id));
    for (const auto& feature : each.features)
      xml.start(xf::feature).attribute(xf::name, feature.name).attribute(xf::id, toText(feature.id)).end();
    xml.end();
  }
  xml.end();
  if (head.outsiders.empty())
    return;
  xml.start(xf::outside);
  for (const auto& outsider : head.outsiders)
    xml.start(xf::element)
        .attribute(xf::classAttribute, outsider.className)
        .attribute(xf::uuid, toText(outsider.uuid))
        .end();
  xml.end();
}

const XmlAttribute* findAttribute(std::span<const XmlAttribute> attributes, std::string_view name) {
  for (const XmlAttribute& attribute : attributes)
    if (attribute.name == name)
      return &attribute;
  return nullptr;
}

void raiseInvalid(const std::string& place, const std::string& reason) {
  raise(FrameworkError::InvalidText, place, reason);
}

std::string_view requireAttribute(std::span<const XmlAttribute> attributes, std::string_view name,
                                  const Whereabouts& at) {
  if (const XmlAttribute* found = findAttribute(attributes, name))
    return found->value;
  raiseInvalid(at.place(), "the attribute \"" + std::string(name) + "\" is missing");
}

Uuid requireUuid(std::string_view text, const Whereabouts& at) {
  if (const auto uuid = parseUuid(text))
    return *uuid;
  raiseInvalid(at.place(), "\"" + beginningOf(text) + "\" is no identity");
}

void raiseUnexpected(std::string_view element, const std::string& place) {
  raiseInvalid(place, "the element \"" + std::string(element) + "\" has no place here");
}

} // namespace tavo
