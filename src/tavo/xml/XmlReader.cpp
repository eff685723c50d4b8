#include "tavo/xml/XmlReader.h"

#include "tavo/core/Error.h"
#include "tavo/core/Errors.h"
#include "tavo/xml/XmlLimit.h"

#include <algorithm>
#include <boost/algorithm/string/predicate.hpp>
#include <exception>
#include <expat.h>
#include <new>
#include <utility>
#include <vector>

namespace tavo {
namespace {

/// What is read at once: the first for all that is normal, the second for what a host with huge limits lets pass.
constexpr std::size_t blockSize = std::size_t{64} << 10;
constexpr std::size_t largestBlock = std::size_t{1} << 30;

} // namespace

/// Stands between expat and the handler. No exception may pass through the C code, so each callback keeps what is
/// thrown, stops the parser, and the call that fed it throws again.
class XmlReader::Parser {
public:
  Parser(const XmlReader& reader, std::string name, XmlHandler& handler, const Limits& limits)
      : reader_(reader), name_(std::move(name)), handler_(handler), limits_(limits),
        expat_(::XML_ParserCreate("UTF-8")) {
    if (!expat_)
      throw std::bad_alloc();
#ifdef TAVO_EXPAT_CAN_DEFER
    // Newer releases put off looking at a token that a block does not end. What is pending is counted here, and blocks
    // grow with it, so nothing is to be put off: a tag that is complete must not count as one that goes on.
    ::XML_SetReparseDeferralEnabled(expat_, XML_FALSE);
#endif
    ::XML_SetUserData(expat_, this);
    ::XML_SetElementHandler(expat_, onStart, onEnd);
    ::XML_SetCharacterDataHandler(expat_, onText);
    ::XML_SetCommentHandler(expat_, onComment);
    ::XML_SetXmlDeclHandler(expat_, onDeclaration);
    ::XML_SetStartDoctypeDeclHandler(expat_, onDocumentType);
    ::XML_SetProcessingInstructionHandler(expat_, onInstruction);
  }
  Parser(const Parser&) = delete;
  Parser& operator=(const Parser&) = delete;
  ~Parser() { ::XML_ParserFree(expat_); }

  void parse(std::string_view bytes, bool last) {
    do {
      const auto piece = bytes.substr(0, nextSize());
      bytes.remove_prefix(piece.size());
      count(piece.size());
      lookAtStart(piece);
      check(::XML_Parse(expat_, piece.data(), static_cast<int>(piece.size()), last && bytes.empty()));
    } while (!bytes.empty());
  }

  /// Reads the next block straight into expat's buffer; false at the end of the source.
  bool readFrom(ByteSource& source) {
    const std::size_t size = nextSize();
    auto* const buffer = static_cast<char*>(::XML_GetBuffer(expat_, static_cast<int>(size)));
    if (!buffer)
      throw std::bad_alloc();
    const std::size_t got = source.read(buffer, size);
    count(got);
    lookAtStart({buffer, got});
    check(::XML_ParseBuffer(expat_, static_cast<int>(got), got == 0));
    return got != 0;
  }

  XmlPosition position() const {
    const auto byte = ::XML_GetCurrentByteIndex(expat_);
    return {::XML_GetCurrentLineNumber(expat_), ::XML_GetCurrentColumnNumber(expat_) + 1,
            byte < 0 ? 0 : static_cast<std::uint64_t>(byte)};
  }

  std::string place() const {
    const auto at = position();
    return name_ + ':' + std::to_string(at.line) + ':' + std::to_string(at.column);
  }

private:
  [[noreturn]] void refuse(std::string_view fault) const { raise(FrameworkError::MalformedXml, place(), fault); }
  [[noreturn]] void exceed(std::string_view limit, std::uint64_t value) const {
    raise(FrameworkError::LimitExceeded, place(), limit, value);
  }

  void count(std::size_t size) {
    fed_ += size;
    if (fed_ > limits_.fileBytes)
      exceed(XmlLimit::file, limits_.fileBytes);
  }

  /// What expat holds of a tag or comment that has not ended yet.
  std::size_t pending() const {
    const auto at = ::XML_GetCurrentByteIndex(expat_);
    return at < 0 ? 0 : static_cast<std::size_t>(fed_ - static_cast<std::uint64_t>(at));
  }

  /// Blocks grow with what is pending, as expat looks at a token from its start with each block that does not end it.
  std::size_t nextSize() const { return std::clamp(pending(), blockSize, largestBlock); }

  /// Refuses other encodings by name where the first bytes give them away; expat would just see faulty bytes.
  void lookAtStart(std::string_view bytes) {
    if (start_.size() >= 2)
      return;
    start_ += bytes.substr(0, 2 - start_.size());
    if (start_.size() == 2 && (start_ == "\xFF\xFE" || start_ == "\xFE\xFF" || start_.find('\0') != std::string::npos))
      refuse("it is not encoded in UTF-8 but, it seems, in UTF-16 or UTF-32");
  }

  void check(::XML_Status status) {
    if (failure_)
      std::rethrow_exception(std::exchange(failure_, nullptr));
    if (status != ::XML_STATUS_OK) {
      const auto code = ::XML_GetErrorCode(expat_);
      if (code == ::XML_ERROR_NO_MEMORY)
        throw std::bad_alloc();
      const bool atEnd = code == ::XML_ERROR_NO_ELEMENTS || code == ::XML_ERROR_UNCLOSED_TOKEN ||
                         code == ::XML_ERROR_PARTIAL_CHAR || code == ::XML_ERROR_UNCLOSED_CDATA_SECTION;
      refuse(::XML_ErrorString(code) +
             std::string(atEnd ? "; the file ends too early, and may have been cut off" : ""));
    }
    if (pending() > limits_.tokenBytes)
      exceedToken();
  }

  [[noreturn]] void exceedToken() const { exceed(XmlLimit::token, limits_.tokenBytes); }

  void startElement(const char* name, const char** attributes) {
    checkLast();
    flushText();
    if (++depth_ > limits_.nesting)
      exceed(XmlLimit::nesting, limits_.nesting);
    attributes_.clear();
    for (; *attributes; attributes += 2)
      attributes_.push_back({attributes[0], attributes[1]});
    if (attributes_.size() > limits_.attributes)
      exceed(XmlLimit::attributes, limits_.attributes);
    handler_.startElement(reader_, name, attributes_);
  }

  void endElement(const char* name) {
    flushText();
    --depth_;
    handler_.endElement(reader_, name);
  }

  void addText(std::string_view piece) {
    if (text_.size() + piece.size() > limits_.tokenBytes)
      exceedToken();
    text_ += piece;
  }

  void flushText() {
    if (text_.empty())
      return;
    handler_.text(reader_, text_);
    text_.clear();
  }

  /// A tag or comment that arrived whole was never pending, but counts as well.
  void checkLast() const {
    if (static_cast<std::size_t>(::XML_GetCurrentByteCount(expat_)) > limits_.tokenBytes)
      exceedToken();
  }

  void declare(const char* version, const char* encoding) const {
    if (version && std::string_view(version) != "1.0")
      refuse("only XML 1.0 is accepted");
    if (encoding && !boost::algorithm::iequals(encoding, "UTF-8"))
      refuse(std::string("the encoding \"") + encoding + "\" is not accepted, only UTF-8 is");
  }

  template <class Action>
  static void guarded(void* self, Action action) noexcept {
    auto& parser = *static_cast<Parser*>(self);
    if (parser.failure_)
      return; // expat may deliver what it has already found
    try {
      action(parser);
    } catch (...) {
      parser.failure_ = std::current_exception();
      ::XML_StopParser(parser.expat_, XML_FALSE);
    }
  }

  static void onStart(void* self, const char* name, const char** attributes) {
    guarded(self, [&](Parser& parser) { parser.startElement(name, attributes); });
  }
  static void onEnd(void* self, const char* name) {
    guarded(self, [&](Parser& parser) { parser.endElement(name); });
  }
  static void onText(void* self, const char* text, int size) {
    guarded(self, [&](Parser& parser) { parser.addText({text, static_cast<std::size_t>(size)}); });
  }
  static void onComment(void* self, const char*) {
    guarded(self, [](Parser& parser) { parser.checkLast(); });
  }
  static void onDeclaration(void* self, const char* version, const char* encoding, int) {
    guarded(self, [&](Parser& parser) { parser.declare(version, encoding); });
  }
  static void onDocumentType(void* self, const char*, const char*, const char*, int) {
    guarded(self, [](Parser& parser) { parser.refuse("document types (DOCTYPE) are not accepted"); });
  }
  static void onInstruction(void* self, const char*, const char*) {
    guarded(self, [](Parser& parser) { parser.refuse("processing instructions are not accepted"); });
  }

  const XmlReader& reader_;
  std::string name_;
  XmlHandler& handler_;
  Limits limits_;
  ::XML_Parser expat_;
  std::exception_ptr failure_;
  std::uint64_t fed_ = 0;
  std::size_t depth_ = 0;
  std::string start_;
  std::string text_;
  std::vector<XmlAttribute> attributes_;
};

XmlReader::XmlReader(std::string name, XmlHandler& handler, const Limits& limits)
    : parser_(std::make_unique<Parser>(*this, std::move(name), handler, limits)) {}
XmlReader::~XmlReader() = default;

void XmlReader::feed(std::string_view bytes) { parser_->parse(bytes, false); }
void XmlReader::finish() { parser_->parse({}, true); }

void XmlReader::readAll(ByteSource& source) {
  while (parser_->readFrom(source)) {
  }
}

XmlPosition XmlReader::position() const { return parser_->position(); }
std::string XmlReader::place() const { return parser_->place(); }

void readXml(ByteSource& source, std::string name, XmlHandler& handler, const Limits& limits) {
  XmlReader(std::move(name), handler, limits).readAll(source);
}

void readXml(std::string_view text, std::string name, XmlHandler& handler, const Limits& limits) {
  XmlReader reader(std::move(name), handler, limits);
  reader.feed(text);
  reader.finish();
}

} // namespace tavo
