// Streaming XML output: the same calls give the same bytes.
#pragma once

#include "tavo/Export.h"
#include "tavo/core/Limits.h"
#include "tavo/core/String.h"
#include "tavo/io/Bytes.h"

#include <charconv>
#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tavo {

/// Writes one document in UTF-8: each element on a line of its own, indented by its depth, attributes in the order of
/// the calls. An element holds either text or elements, so that indentation is never part of a text. What is written
/// comes back from the reader as it was: CR everywhere, and LF and TAB in attributes, are character references.
///
/// Text that XML cannot carry raises InvalidText (where, why); see needsEscape. What the reader would refuse with the
/// same limits raises LimitExceeded here: a file that cannot be read back is worse than none. Names are ASCII and the
/// caller's responsibility, and so is the nesting of calls. Bytes go to the sink in blocks and, at the end, by
/// `finish`.
class TAVO_EXPORT XmlWriter {
public:
  /// The sink must outlive the writer. Writes the XML declaration.
  explicit XmlWriter(ByteSink& sink, const Limits& limits = Limits::current());
  XmlWriter(const XmlWriter&) = delete;
  XmlWriter& operator=(const XmlWriter&) = delete;

  /// Opens an element; the name must live until it is ended.
  XmlWriter& start(std::string_view name);
  /// An attribute of the element that was just started.
  XmlWriter& attribute(std::string_view name, std::u16string_view value);
  XmlWriter& attribute(std::string_view name, std::string_view utf8);
  XmlWriter& attribute(std::string_view name, const char* utf8) { return attribute(name, std::string_view(utf8)); }
  /// A template, so that no text pointer turns into it.
  template <std::same_as<bool> Bool>
  XmlWriter& attribute(std::string_view name, Bool value) {
    return attribute(name, std::string_view(value ? "true" : "false"));
  }
  /// The shortest text that reads back as the same number.
  template <class Number>
  requires(std::integral<Number> || std::same_as<Number, double> || std::same_as<Number, float>) &&
      (!std::same_as<Number, bool> && !std::same_as<Number, char> &&
       !std::same_as<Number, char16_t>)XmlWriter& attribute(std::string_view name, Number value) {
    char digits[32];
    const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    return attribute(name, std::string_view(digits, static_cast<std::size_t>(end - digits)));
  }
  /// All of the text of the innermost element, which has no elements.
  XmlWriter& text(std::u16string_view value);
  XmlWriter& text(std::string_view utf8);
  /// Closes the innermost element.
  XmlWriter& end();

  /// Ends the document, all elements of which are closed, and hands over what is left. A writer that is abandoned, as
  /// when an exception passes, writes nothing more.
  void finish();

private:
  enum class Content { none, text, elements };
  struct Element {
    std::string_view name;
    Content content;
  };

  void beginLine();
  void closeTag(std::string_view ending);
  void beginAttribute(std::string_view name);
  /// Returns the size that the text has for the reader, in UTF-8.
  std::size_t append(std::u16string_view text, bool inAttribute);
  void flushIfFull();
  void flush();
  void require(bool within, std::string_view limit, std::uint64_t value) const;

  ByteSink& sink_;
  Limits limits_;
  std::string buffer_;
  std::uint64_t flushed_ = 0;
  std::vector<Element> open_;
  std::size_t tagStart_ = 0; ///< in the buffer; a tag is never split
  std::size_t attributes_ = 0;
  bool tagOpen_ = false;
};

} // namespace tavo
