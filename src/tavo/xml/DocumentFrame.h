// The frame of a model's document, for whoever makes sense of what stands in it: the head as it is written, and the
// objects element by element. Internal.
#pragma once

#include "tavo/core/Uuid.h"
#include "tavo/xml/XmlReader.h"
#include "tavo/xml/XmlWriter.h"

#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace tavo {

/// What a document says about itself before its objects.
struct DocumentHead {
  struct Family {
    std::string name, version, uri, place;
  };
  struct Feature {
    std::string name;
    Uuid id;
    std::string place;
  };
  struct Class {
    std::string name, family;
    Uuid id;
    std::string place;
    std::vector<Feature> features{};
  };
  /// An object that a fragment refers to and does not hold.
  struct Outsider {
    std::string className;
    Uuid uuid;
    std::string place;
  };

  std::vector<Family> families{};
  std::vector<Class> classes{};
  std::vector<Outsider> outsiders{};
};

/// Where somebody reads at the moment: in a file, or in what evolution has made of one.
class Whereabouts {
public:
  virtual ~Whereabouts() = default;
  /// "file.xml:12:7", for errors.
  virtual std::string place() const = 0;
  virtual std::uint64_t line() const = 0;
};

/// Hears the elements below <objects>.
class ObjectsHandler {
public:
  virtual ~ObjectsHandler() = default;
  virtual void start(const Whereabouts& at, std::string_view name, std::span<const XmlAttribute> attributes) = 0;
  virtual void end(const Whereabouts& at) = 0;
  /// The document has ended well.
  virtual void finish() = 0;
};

/// Writes the head of a document behind its first tag.
void writeHead(XmlWriter& xml, const DocumentHead& head);

/// Called with the head when it is complete; the handler that it returns hears the objects.
using OpenDocument = std::function<std::unique_ptr<ObjectsHandler>(DocumentHead&& head)>;

/// Reads a whole document. Raises what an XmlReader raises, InvalidText for a frame that is not that of a model,
/// InvalidFamilyVersion for one of another format, and what the handlers raise.
void readDocument(ByteSource& source, const std::string& name, const Limits& limits, const OpenDocument& open);

// What both who make objects and who keep texts need

/// Null when there is none of that name.
const XmlAttribute* findAttribute(std::span<const XmlAttribute> attributes, std::string_view name);
/// Raises InvalidText at a place.
[[noreturn]] void raiseInvalid(const std::string& place, const std::string& reason);
std::string_view requireAttribute(std::span<const XmlAttribute> attributes, std::string_view name,
                                  const Whereabouts& at);
Uuid requireUuid(std::string_view text, const Whereabouts& at);
[[noreturn]] void raiseUnexpected(std::string_view element, const std::string& place);

/// Visits the texts between the blanks of a list.
template <class Visit>
void forEachWord(std::string_view text, const Visit& visit) {
  while (!text.empty()) {
    const std::size_t blank = std::min(text.find(' '), text.size());
    visit(text.substr(0, blank));
    text.remove_prefix(std::min(blank + 1, text.size()));
  }
}

} // namespace tavo
