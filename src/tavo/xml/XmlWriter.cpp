#include "tavo/xml/XmlWriter.h"

#include "tavo/core/Error.h"
#include "tavo/core/Errors.h"
#include "tavo/core/Utf.h"
#include "tavo/xml/XmlText.h"

#include <algorithm>
#include <cassert>

namespace tavo {
namespace {

constexpr std::size_t blockSize = std::size_t{64} << 10;

/// What stands for a unit that has a meaning in XML or that readers would change; empty for all others.
std::string_view reference(char32_t unit, bool inAttribute) {
  switch (unit) {
  case '&':
    return "&amp;";
  case '<':
    return "&lt;";
  case '>':
    return "&gt;";
  case '\r':
    return "&#13;";
  case '"':
    return inAttribute ? "&quot;" : "";
  case '\n':
    return inAttribute ? "&#10;" : "";
  case '\t':
    return inAttribute ? "&#9;" : "";
  default:
    return {};
  }
}

/// Whether a text is the same in XML, wherever it stands, as most identifiers and numbers are.
bool isPlain(std::string_view utf8) {
  return std::ranges::all_of(
      utf8, [](char c) { return c >= ' ' && c <= '~' && reference(static_cast<unsigned char>(c), true).empty(); });
}

} // namespace

XmlWriter::XmlWriter(ByteSink& sink) : sink_(sink) {
  buffer_.reserve(blockSize + 4096);
  buffer_ += "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
}

XmlWriter& XmlWriter::start(std::string_view name) {
  closeTag();
  if (!open_.empty()) {
    assert(open_.back().content != Content::text && "an element holds either text or elements");
    open_.back().content = Content::elements;
  }
  flushIfFull();
  if (!open_.empty())
    beginLine();
  buffer_ += '<';
  buffer_ += name;
  open_.push_back({name, Content::none});
  tagOpen_ = true;
  return *this;
}

XmlWriter& XmlWriter::attribute(std::string_view name, std::u16string_view value) {
  assert(tagOpen_ && "attributes come before the content");
  buffer_.append(" ").append(name).append("=\"");
  append(value, true);
  buffer_ += '"';
  return *this;
}

XmlWriter& XmlWriter::attribute(std::string_view name, std::string_view utf8) {
  assert(tagOpen_ && "attributes come before the content");
  buffer_.append(" ").append(name).append("=\"");
  append(utf8, true);
  buffer_ += '"';
  return *this;
}

XmlWriter& XmlWriter::text(std::u16string_view value) {
  if (value.empty())
    return *this;
  assert(!open_.empty() && open_.back().content == Content::none && "an element holds one text or elements");
  closeTag();
  open_.back().content = Content::text;
  append(value, false);
  flushIfFull();
  return *this;
}

XmlWriter& XmlWriter::text(std::string_view utf8) { return text(toUtf16(utf8)); }

XmlWriter& XmlWriter::end() {
  assert(!open_.empty() && "nothing is open");
  const Element element = open_.back();
  open_.pop_back();
  if (element.content == Content::none) {
    buffer_ += "/>";
    tagOpen_ = false;
  } else {
    if (element.content == Content::elements)
      beginLine();
    buffer_.append("</").append(element.name).append(">");
  }
  if (open_.empty())
    buffer_ += '\n';
  return *this;
}

void XmlWriter::finish() {
  assert(open_.empty() && "an element is still open");
  sink_.write(buffer_);
  buffer_.clear();
}

void XmlWriter::beginLine() {
  buffer_ += '\n';
  buffer_.append(2 * open_.size(), ' ');
}

void XmlWriter::closeTag() {
  if (tagOpen_)
    buffer_ += '>';
  tagOpen_ = false;
}

void XmlWriter::append(std::u16string_view text, bool inAttribute) {
  if (needsEscape(text))
    raise(FrameworkError::InvalidText, open_.back().name, "it holds characters that XML cannot carry");
  std::size_t runStart = 0;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const auto replacement = reference(text[at], inAttribute);
    if (replacement.empty())
      continue;
    appendUtf8(buffer_, text.substr(runStart, at - runStart));
    buffer_ += replacement;
    runStart = at + 1;
  }
  appendUtf8(buffer_, text.substr(runStart));
}

void XmlWriter::append(std::string_view utf8, bool inAttribute) {
  if (isPlain(utf8))
    buffer_ += utf8;
  else
    append(toUtf16(utf8), inAttribute);
}

void XmlWriter::flushIfFull() {
  if (buffer_.size() < blockSize)
    return;
  sink_.write(buffer_);
  buffer_.clear();
}

} // namespace tavo
