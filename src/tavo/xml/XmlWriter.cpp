#include "tavo/xml/XmlWriter.h"

#include "tavo/core/Error.h"
#include "tavo/core/Errors.h"
#include "tavo/core/Utf.h"
#include "tavo/xml/XmlLimit.h"
#include "tavo/xml/XmlText.h"

#include <algorithm>
#include <array>
#include <cassert>

namespace tavo {
namespace {

constexpr std::size_t blockSize = std::size_t{64} << 10;
constexpr std::size_t deepestIndentation = 64; ///< in levels, so that files grow with their elements only

/// What stands for a unit that has a meaning in XML or that readers would change; empty for all others.
constexpr std::string_view reference(char32_t unit, bool inAttribute) {
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

/// The ASCII characters that are the same in XML wherever they stand: most texts have no others.
constexpr auto plainCharacters = [] {
  std::array<bool, 128> plain{};
  for (char32_t c = ' '; c <= '~'; ++c)
    plain[c] = reference(c, true).empty();
  return plain;
}();

constexpr bool isPlain(char32_t unit) { return unit < plainCharacters.size() && plainCharacters[unit]; }

bool isPlain(std::string_view utf8) {
  return std::ranges::all_of(utf8, [](char c) { return isPlain(char32_t{static_cast<unsigned char>(c)}); });
}

/// Appends a text of plain characters in one pass; any other leaves the output as it was.
bool appendIfPlain(std::string& out, std::u16string_view text) {
  const std::size_t before = out.size();
  out.resize(before + text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (!isPlain(char32_t{text[i]})) {
      out.resize(before);
      return false;
    }
    out[before + i] = static_cast<char>(text[i]);
  }
  return true;
}

} // namespace

XmlWriter::XmlWriter(ByteSink& sink, const Limits& limits) : sink_(sink), limits_(limits) {
  buffer_.reserve(blockSize + 4096);
  buffer_ += "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
}

XmlWriter& XmlWriter::start(std::string_view name) {
  if (!open_.empty()) {
    closeTag(">");
    assert(open_.back().content != Content::text && "an element holds either text or elements");
    open_.back().content = Content::elements;
    flushIfFull();
    beginLine();
  }
  tagStart_ = buffer_.size();
  buffer_ += '<';
  buffer_ += name;
  open_.push_back({name, Content::none});
  require(open_.size() <= limits_.nesting, XmlLimit::nesting, limits_.nesting);
  attributes_ = 0;
  tagOpen_ = true;
  return *this;
}

XmlWriter& XmlWriter::attribute(std::string_view name, std::u16string_view value) {
  beginAttribute(name);
  append(value, true);
  buffer_ += '"';
  return *this;
}

XmlWriter& XmlWriter::attribute(std::string_view name, std::string_view utf8) {
  if (!isPlain(utf8))
    return attribute(name, std::u16string_view(toUtf16(utf8)));
  beginAttribute(name);
  buffer_ += utf8;
  buffer_ += '"';
  return *this;
}

XmlWriter& XmlWriter::text(std::u16string_view value) {
  if (value.empty())
    return *this;
  assert(!open_.empty() && open_.back().content == Content::none && "an element holds one text or elements");
  closeTag(">");
  open_.back().content = Content::text;
  require(append(value, false) <= limits_.tokenBytes, XmlLimit::token, limits_.tokenBytes);
  flushIfFull();
  return *this;
}

XmlWriter& XmlWriter::text(std::string_view utf8) { return text(toUtf16(utf8)); }

XmlWriter& XmlWriter::end() {
  assert(!open_.empty() && "nothing is open");
  const Element element = open_.back();
  if (element.content == Content::none)
    closeTag("/>");
  open_.pop_back();
  if (element.content == Content::elements)
    beginLine();
  if (element.content != Content::none)
    buffer_.append("</").append(element.name).append(">");
  if (open_.empty())
    buffer_ += '\n';
  return *this;
}

void XmlWriter::finish() {
  assert(open_.empty() && "an element is still open");
  flush();
}

void XmlWriter::beginLine() {
  buffer_ += '\n';
  buffer_.append(2 * std::min(open_.size(), deepestIndentation), ' ');
}

void XmlWriter::beginAttribute(std::string_view name) {
  assert(tagOpen_ && "attributes come before the content");
  require(++attributes_ <= limits_.attributes, XmlLimit::attributes, limits_.attributes);
  buffer_.append(" ").append(name).append("=\"");
}

void XmlWriter::closeTag(std::string_view ending) {
  if (!tagOpen_)
    return;
  buffer_ += ending;
  tagOpen_ = false;
  require(buffer_.size() - tagStart_ <= limits_.tokenBytes, XmlLimit::token, limits_.tokenBytes);
}

std::size_t XmlWriter::append(std::u16string_view text, bool inAttribute) {
  if (appendIfPlain(buffer_, text))
    return text.size();
  if (needsEscape(text))
    raise(FrameworkError::InvalidText, open_.back().name, "it holds characters that XML cannot carry");
  const std::size_t before = buffer_.size();
  std::size_t added = 0; // by the references
  std::size_t runStart = 0;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const auto replacement = reference(text[at], inAttribute);
    if (replacement.empty())
      continue;
    appendUtf8(buffer_, text.substr(runStart, at - runStart));
    buffer_ += replacement;
    added += replacement.size() - 1;
    runStart = at + 1;
  }
  appendUtf8(buffer_, text.substr(runStart));
  return buffer_.size() - before - added;
}

void XmlWriter::flushIfFull() {
  if (buffer_.size() >= blockSize)
    flush();
}

void XmlWriter::flush() {
  flushed_ += buffer_.size();
  require(flushed_ <= limits_.fileBytes, XmlLimit::file, limits_.fileBytes);
  sink_.write(buffer_);
  buffer_.clear();
}

void XmlWriter::require(bool within, std::string_view limit, std::uint64_t value) const {
  if (!within)
    raise(FrameworkError::LimitExceeded, open_.empty() ? std::string_view("the document") : open_.back().name, limit,
          value);
}

} // namespace tavo
