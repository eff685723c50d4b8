// Streaming XML input: strict, bounded, and with a place for every error.
#pragma once

#include "tavo/Export.h"
#include "tavo/core/Limits.h"
#include "tavo/io/Bytes.h"

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace tavo {

class XmlReader;

struct XmlAttribute {
  std::string_view name;
  std::string_view value;
};

/// Where a reader stands; line and column count from one, columns in characters, bytes from zero.
struct XmlPosition {
  std::uint64_t line = 1;
  std::uint64_t column = 1;
  std::uint64_t byte = 0;
};

/// Hears what a reader reads, in order. Names and values are valid UTF-8 and live only during the call. What a handler
/// throws ends the reading and comes out of it unchanged; for an error, `reader.place()` says where the reader stands.
class TAVO_EXPORT XmlHandler {
public:
  virtual ~XmlHandler() = default;
  virtual void startElement(const XmlReader& reader, std::string_view name,
                            std::span<const XmlAttribute> attributes) = 0;
  virtual void endElement(const XmlReader& reader, std::string_view name) = 0;
  /// All text between two tags at once, references replaced, CDATA sections included; also when it is blank, as the
  /// indentation between elements is. The place is that of the tag behind it.
  virtual void text(const XmlReader& reader, std::string_view text) = 0;
};

/// Reads one document in pieces, as they come.
///
/// Accepted is well-formed XML 1.0 in UTF-8 (a byte order mark is fine), of elements, attributes, text, CDATA and
/// comments. Everything else is MalformedXml with its place: other encodings, document types (and with them entities of
/// one's own), processing instructions (they could carry what would be lost). Beyond the limits it is LimitExceeded.
/// After an error the reader is of no more use. Memory is bounded by the block size and the limit on tokens.
class TAVO_EXPORT XmlReader {
public:
  /// The name, of a file or of what else is read, stands in errors. The handler must outlive the reader.
  XmlReader(std::string name, XmlHandler& handler, const Limits& limits = Limits::current());
  XmlReader(const XmlReader&) = delete;
  XmlReader& operator=(const XmlReader&) = delete;
  ~XmlReader();

  /// Takes the next bytes of the document.
  void feed(std::string_view bytes);
  /// Says that the document ends here.
  void finish();
  /// Reads the source to its end, in blocks, and finishes.
  void readAll(ByteSource& source);

  XmlPosition position() const;
  /// The name, line and column, "file.xml:12:7": the first argument of errors about content.
  std::string place() const;

private:
  class Parser;
  std::unique_ptr<Parser> parser_;
};

/// Reads a whole document from a source, or from memory.
TAVO_EXPORT void readXml(ByteSource& source, std::string name, XmlHandler& handler,
                         const Limits& limits = Limits::current());
TAVO_EXPORT void readXml(std::string_view text, std::string name, XmlHandler& handler,
                         const Limits& limits = Limits::current());

} // namespace tavo
