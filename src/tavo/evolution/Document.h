// A model file as it stands: objects with their features as texts, of whatever version of their schemas. What evolution
// works on, since a file of another version fits no class of today.
#pragma once

#include "tavo/evolution/History.h"

#include <boost/intrusive/list.hpp>

#include <algorithm>
#include <deque>
#include <memory_resource>
#include <optional>

namespace tavo::evolution {

struct Object;

/// A plain value, or the target of a to-one reference, as the file spells it.
struct Attribute {
  const FeatureRecord* feature;
  std::string_view text;
};

/// What stands in the element of a value: `value`, `escaped` and `none`, or the fields of a structure.
struct Fields {
  std::vector<std::pair<std::string_view, std::string_view>> fields{};
};

/// A value that is an element of its own.
struct ValueElement {
  const FeatureRecord* feature;
  Fields own{};
  std::vector<Fields> items{}; ///< of a list
};

/// One target of a to-many reference.
struct Reference {
  const FeatureRecord* feature;
  std::string_view target; ///< an identity or an anchor
};

/// The objects of one owner, or those at the top: linked, so that each can go at once however many there are.
using Sibling = boost::intrusive::list_base_hook<boost::intrusive::link_mode<boost::intrusive::normal_link>>;
using ObjectList =
    boost::intrusive::list<Object, boost::intrusive::base_hook<Sibling>, boost::intrusive::constant_time_size<false>>;

/// An object of a document, which owns it.
struct TAVO_EXPORT Object : Sibling {
  const ClassRecord* record; ///< null once it has been removed
  const FeatureRecord* in;   ///< the containment that holds it; null at the top
  Object* owner;             ///< null at the top
  Uuid uuid;
  std::string_view anchor{};
  std::uint64_t line; ///< in the file; 0 for one that evolution has made
  std::pmr::vector<Attribute> attributes;
  std::vector<ValueElement> values{};
  std::vector<Reference> references{};
  ObjectList children{};

  Object(const ClassRecord& itsRecord, const FeatureRecord* itsPlace, Object* itsOwner, const Uuid& itsUuid,
         std::uint64_t itsLine, std::pmr::memory_resource* memory)
      : record(&itsRecord), in(itsPlace), owner(itsOwner), uuid(itsUuid), line(itsLine), attributes(memory) {}
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;

  bool isA(const ClassRecord& other) const { return record->isA(other); }
  /// Null when the file does not say.
  const std::string_view* find(const FeatureRecord& feature) const;
  /// Empty when the file does not say.
  std::string_view text(const FeatureRecord& feature) const;
  /// The child in a to-one containment; null when there is none.
  Object* child(const FeatureRecord& feature);
  const Object* child(const FeatureRecord& feature) const { return const_cast<Object*>(this)->child(feature); }
  std::vector<Object*> childrenIn(const FeatureRecord& feature);
};

/// Lets the processor fetch an object that comes next: among millions, each is waited for otherwise.
inline void foresee(const void* object) {
  constexpr std::size_t cacheLine = 64;
  for (std::size_t byte = 0; byte < sizeof(Object); byte += cacheLine)
    __builtin_prefetch(static_cast<const std::byte*>(object) + byte);
}

class TAVO_EXPORT Document {
public:
  struct FamilyVersion {
    const Family* family;
    Version version;
  };
  struct Outsider {
    const ClassRecord* record;
    Uuid uuid;
  };

  explicit Document(std::string name) : name_(std::move(name)) {}
  Document(const Document&) = delete;
  Document& operator=(const Document&) = delete;

  /// Of the file, for errors.
  const std::string& name() const { return name_; }
  std::string placeOf(const Object& object) const;

  std::vector<FamilyVersion>& families() { return families_; }
  /// The version of the schema that the objects of a family follow; the present one where the document has none.
  Version versionOf(const Family& family) const;
  void setVersion(const Family& family, Version version);

  const ObjectList& top() const { return top_; }
  const std::vector<Outsider>& outsiders() const { return outsiders_; }
  /// All objects in the order of the file, owners first. A visit may remove the object or move it away, and whatever is
  /// below it, but nothing beside it; it may add objects anywhere, which are visited if they come later in this order.
  template <class Visit>
  void each(const Visit& visit);
  /// Those of one class, to which a visit adds no others.
  template <class Visit>
  void each(const ClassRecord& record, const Visit& visit);
  /// Null when there is none.
  Object* find(const Uuid& uuid) const;
  /// What a reference leads to; null when it leads out of the document.
  Object* target(std::string_view reference) const;
  /// How references to an object are written, whatever else the document calls it.
  std::string_view referenceTo(const Object& object);

  /// A new object, at the top where `owner` is null. Raises DuplicateIdentity; while a file is read, `close` does.
  Object& add(const ClassRecord& record, Object* owner, const FeatureRecord* in, const Uuid& uuid,
              std::uint64_t line = 0);
  /// The same under the identity that follows from the place in a to-one containment.
  Object& addPart(const ClassRecord& record, Object& owner, const FeatureRecord& in) {
    return add(record, &owner, &in, in.derivedIdentity(owner.uuid, {}, 0));
  }
  void addOutsider(const ClassRecord& record, const Uuid& uuid) { outsiders_.push_back({&record, uuid}); }
  /// Takes an object out, with all that it contains. References to it stay until `dropDanglingReferences`.
  void remove(Object& object);
  void move(Object& object, Object* owner, const FeatureRecord* in);
  /// Makes it an object of another class.
  void become(Object& object, const ClassRecord& record);
  /// An empty text is a value like any other.
  void set(Object& object, const FeatureRecord& feature, std::string_view text) {
    setKept(object, feature, keep(text));
  }
  /// The same with a text that the document keeps already, as it does all that stand in its objects.
  static void setKept(Object& object, const FeatureRecord& feature, std::string_view text);
  void setAnchor(Object& object, std::string_view anchor);
  static void clear(Object& object, const FeatureRecord& feature);
  /// Puts the value of one feature under another.
  static void rename(Object& object, const FeatureRecord& from, const FeatureRecord& to);
  /// Takes out references to objects that are gone; the number of them.
  std::size_t dropDanglingReferences();

  /// Gives anchors to those objects that files give them to, and lets references use them: what is referred to more
  /// than once goes by the beginning of its identity.
  void renewAnchors();

  /// What a step knows of an object and files do not say, for the steps after it; empty where nobody has said anything.
  void remark(const Object& object, std::string_view text) { remarks_[&object] = text; }
  std::string_view remarkOf(const Object& object) const;

  /// The text, kept as long as the document. Raises FileGrowsTooLarge when evolution makes many times of what was read.
  std::string_view keep(std::string_view text);
  /// How much evolution may make of what was read, in memory or in a file.
  std::size_t mostBytes() const { return mostBytes_; }

  /// Says that all has been read, so that objects can be found. Raises DuplicateIdentity, and DanglingReference and
  /// InvalidText for references that lead nowhere, or to an object that they cannot lead to, so that steps need not
  /// ask.
  void close();

private:
  /// Lets an object be found.
  void enter(Object& object);
  ObjectList& listOf(Object* owner) { return owner ? owner->children : top_; }
  using Classes = std::vector<const ClassRecord*>;
  /// All objects for which `mayHold` says so about their owners, and those at the top.
  template <class MayHold, class Visit>
  void eachBelow(const MayHold& mayHold, const Visit& visit);
  /// The classes of which there may be objects that contain some of a class, at whatever depth.
  Classes holdersOf(const ClassRecord& record) const;

  std::string name_;
  std::pmr::monotonic_buffer_resource arena_{64 << 10};
  std::size_t keptBytes_ = 0;
  std::size_t mostBytes_ = std::numeric_limits<std::size_t>::max();
  std::pmr::deque<Object> objects_{&arena_}; ///< as they came, each with its attributes: they are gone through in order
  Classes classes_;                          ///< that objects have or had: steps that look for others need not look
  std::vector<FamilyVersion> families_;
  ObjectList top_;
  std::vector<Outsider> outsiders_;
  bool isRead_ = false; ///< all of the file
  bool removedSome_ = false;
  boost::unordered_flat_map<Uuid, Object*, UuidHash> byUuid_;
  boost::unordered_flat_map<std::string_view, Object*> byAnchor_;
  boost::unordered_flat_map<const Object*, std::string_view> remarks_;
};

template <class MayHold, class Visit>
void Document::eachBelow(const MayHold& mayHold, const Visit& visit) {
  struct Level {
    ObjectList* objects;
    ObjectList::iterator next;
  };
  std::vector<Level> levels{{&top_, top_.begin()}};
  while (!levels.empty()) {
    auto& [objects, next] = levels.back();
    if (next == objects->end()) {
      levels.pop_back();
      continue;
    }
    Object& object = *next++; // now, since the visit may take it out
    foresee(next.pointed_node());
    visit(object);
    if (object.record && mayHold(*object.record))
      levels.push_back({&object.children, object.children.begin()});
  }
}

template <class Visit>
void Document::each(const Visit& visit) {
  eachBelow([](const ClassRecord&) { return true; }, visit);
}

template <class Visit>
void Document::each(const ClassRecord& record, const Visit& visit) {
  if (std::ranges::none_of(classes_, [&](const ClassRecord* held) { return held->isA(record); }))
    return;
  const Classes holders = holdersOf(record);
  eachBelow([&](const ClassRecord& owner) { return std::ranges::find(holders, &owner) != holders.end(); },
            [&](Object& object) {
              if (object.isA(record))
                visit(object);
            });
}

} // namespace tavo::evolution
