#include "tavo/collection/ItemList.h"
#include "tavo/core/Errors.h"
#include "tavo/core/Hash.h"
#include "tavo/core/Utf.h"
#include "tavo/evolution/Evolving.h"
#include "tavo/model/ModelData.h"
#include "tavo/model/Transaction.h"
#include "tavo/xml/DocumentFrame.h"
#include "tavo/xml/ModelXml.h"
#include "tavo/xml/XmlFormat.h"
#include "tavo/xml/XmlText.h"

#include <boost/container/deque.hpp>
#include <boost/unordered/unordered_flat_map.hpp>

#include <algorithm>
#include <charconv>

namespace tavo {
namespace {

using Impl = ModelElement::Impl;
namespace xf = xmlformat;

/// Whether version `a` comes before `b`: numbers part by part; what is no number is older than every number.
bool isOlder(std::string_view a, std::string_view b) {
  const auto part = [](std::string_view& text) {
    int number = -1;
    std::from_chars(text.data(), text.data() + text.size(), number);
    const std::size_t dot = text.find('.');
    text = dot == std::string_view::npos ? std::string_view() : text.substr(dot + 1);
    return number;
  };
  while (!a.empty() || !b.empty()) {
    const int left = part(a);
    const int right = part(b);
    if (left != right)
      return left < right;
  }
  return false;
}

/// A class of the file's dictionary: the features by the names that the file gives them.
struct ClassEntry {
  std::string name;
  const MetaClass* metaClass = nullptr;
  std::vector<std::pair<std::string, const MetaProperty*>> features;

  const MetaProperty* find(std::string_view feature) const {
    for (const auto& [known, property] : features)
      if (known == feature)
        return property;
    return nullptr;
  }
};

/// When objects whose identities follow from their places can be found by them.
enum class Identities {
  oneByOne, ///< at once; a clash is reported where it is
  together, ///< at the end, which takes far less time; a clash is an IdentityClash
};

/// Two objects have one identity, and nobody knows where.
struct IdentityClash {};

/// Makes the objects of a document in a model.
class Reader final : public ObjectsHandler {
public:
  Reader(const Model& model, const ReadOptions& options, const DocumentHead& head, std::string document,
         Identities identities)
      : data_(model.data()), options_(options), document_(std::move(document)), identities_(identities) {
    if (identities_ == Identities::together)
      data_.letFollowersWait();
    for (const auto& family : head.families)
      readFamily(family);
    for (const auto& metaClass : head.classes)
      readClass(metaClass);
    for (const auto& outsider : head.outsiders)
      readOutsider(outsider);
  }

  /// The place where the document is being read, found out only when it is wanted: that costs a look at every line.
  auto here() const {
    return [this] { return place(); };
  }

  void start(const Whereabouts& at, std::string_view name, std::span<const XmlAttribute> attributes) override {
    at_ = &at;
    if (frames_.empty())
      return startObject(concrete(classNamed(name, here()), here()), nullptr, nullptr, attributes);
    startInObject(name, attributes);
  }

  void end(const Whereabouts& at) override {
    at_ = &at;
    endFrame();
  }

  /// References may lead forward, so they are made when every object is there.
  void finish() override {
    if (identities_ == Identities::together && data_.enterFollowers())
      throw IdentityClash();
    for (const Pending& pending : pending_) {
      const auto at = [&] { return document_ + ":" + std::to_string(pending.line); };
      const Target wanted = pending.isAnchored ? Target{{}, pending.target} : Target{awaited_[pending.target]};
      Impl* target = find(wanted);
      if (!target)
        raise(FrameworkError::DanglingReference, at(), pending.property->name(),
              pending.isAnchored ? anchors_[pending.target].name : toText(wanted.uuid));
      makeReference(*pending.source, *pending.property, *target, at);
    }
  }

private:
  static constexpr std::uint32_t noAnchor = 0xffffffffu;

  /// An open element below <objects>.
  struct Frame {
    enum class Kind { object, value, leaf } kind; ///< nothing may stand in a leaf
    Impl* object = nullptr;                       ///< of an object's element, and of the elements of its values
    const ClassEntry* entry = nullptr;
    const MetaProperty* property =
        nullptr; ///< that holds the object (none for a top-level one), or that is the value's
  };

  /// What a reference leads to, by identity or by anchor.
  struct Target {
    Uuid uuid{};
    std::uint32_t anchor = noAnchor;
  };

  /// A reference that waits for its target; a large file has millions of them.
  struct Pending {
    Impl* source;
    const MetaProperty* property;
    std::uint64_t line;
    std::uint32_t target; ///< an anchor, or the index of an identity
    bool isAnchored;
  };
  using ManyPending =
      boost::container::deque<Pending, void, boost::container::deque_options_t<boost::container::block_bytes<65536u>>>;

  struct Anchor {
    std::string name;
    Impl* object = nullptr;
  };

  // The head

  void readFamily(const DocumentHead::Family& family) {
    const MetaPackage* package = MetaRegistry::instance().findPackage(family.name);
    if (!package)
      raise(FrameworkError::UnknownFamily, family.place, family.name);
    families_.push_back(package);
    if (family.version == package->version())
      return;
    const auto versions = package->declaration().versions;
    const bool isKnown = std::find(versions.begin(), versions.end(), family.version) != versions.end();
    const bool isOld = isKnown || (versions.empty() && isOlder(family.version, package->version()));
    raise(isOld ? FrameworkError::OldFamilyVersion : FrameworkError::InvalidFamilyVersion, family.version, family.name,
          package->version(), family.place);
  }

  void readClass(const DocumentHead::Class& described) {
    auto entry = std::make_unique<ClassEntry>();
    entry->name = described.name;
    entry->metaClass = MetaRegistry::instance().findClass(described.id);
    if (!entry->metaClass)
      raise(FrameworkError::UnknownClass, described.place, described.name, described.family);
    if (std::find(families_.begin(), families_.end(), &entry->metaClass->package()) == families_.end())
      raiseInvalid(described.place, "the schema of the class \"" + entry->name + "\" is not listed");
    if (!classesByName_.emplace(entry->name, entry.get()).second ||
        !classes_.emplace(entry->metaClass, entry.get()).second)
      raiseInvalid(described.place, "the class \"" + entry->name + "\" is listed twice");
    for (const auto& feature : described.features) {
      const MetaProperty* property = entry->metaClass->findProperty(feature.id);
      if (!property || !property->isSaved())
        raise(FrameworkError::UnknownFeature, feature.place, feature.name, entry->name);
      for (const auto& [known, other] : entry->features)
        if (known == feature.name || other == property)
          raiseInvalid(feature.place, "the feature \"" + feature.name + "\" is listed twice");
      entry->features.emplace_back(feature.name, property);
    }
    dictionary_.push_back(std::move(entry));
  }

  void readOutsider(const DocumentHead::Outsider& outsider) {
    const auto where = [&] { return outsider.place; };
    const ClassEntry& entry = concrete(classNamed(outsider.className, where), where);
    if (data_.find(outsider.uuid))
      raise(FrameworkError::DuplicateIdentity, outsider.place, toText(outsider.uuid));
    Impl* object = data_.createUnplaced(*entry.metaClass, outsider.uuid, true);
    data_.enter(*object);
    given_.emplace(outsider.uuid, object);
    data_.placeLast(*object, nullptr, nullptr);
  }

  // The objects

  void startInObject(std::string_view name, std::span<const XmlAttribute> attributes) {
    const Frame frame = frames_.back();
    if (frame.kind == Frame::Kind::leaf)
      unexpected(name);
    if (frame.kind == Frame::Kind::value)
      return readItem(frame, name, attributes);
    const MetaProperty* property = frame.entry->find(name);
    if (!property)
      raise(FrameworkError::UnknownFeature, place(), name, frame.entry->name);
    switch (property->kind()) {
    case FeatureKind::containsOne:
    case FeatureKind::containsMany:
      startObject(childClass(*property, attributes), frame.object, property, attributes);
      return;
    case FeatureKind::refersMany:
      require(attributes, xf::ref);
      onlyAttributes(attributes, {xf::ref});
      refer(*frame.object, *property, require(attributes, xf::ref));
      frames_.push_back({Frame::Kind::leaf});
      return;
    case FeatureKind::attribute:
      startValue(frame, *property, attributes);
      return;
    default:
      unexpected(name);
    }
  }

  const ClassEntry& childClass(const MetaProperty& property, std::span<const XmlAttribute> attributes) {
    const XmlAttribute* named = findAttribute(attributes, xf::classAttribute);
    const ClassEntry* entry = nullptr;
    if (named)
      entry = &classNamed(named->value, here());
    else if (const auto found = classes_.find(property.target()); found != classes_.end())
      entry = found->second;
    else
      raise(FrameworkError::UnknownClass, place(), property.target()->name(), property.target()->package().name());
    if (!entry->metaClass->isA(*property.target()))
      raiseInvalid(place(),
                   "\"" + std::string(property.name()) + "\" cannot hold an object of class \"" + entry->name + "\"");
    return concrete(*entry, here());
  }

  void startObject(const ClassEntry& entry, Impl* container, const MetaProperty* property,
                   std::span<const XmlAttribute> attributes) {
    if (container && property->kind() == FeatureKind::containsOne && container->one(*property))
      raiseInvalid(place(), "\"" + std::string(property->name()) + "\" holds one object only");
    Uuid uuid{};
    if (const XmlAttribute* given = findAttribute(attributes, xf::uuid))
      uuid = readUuid(given->value);
    else if (!container || !property->givesIdentityTo(*entry.metaClass))
      raiseInvalid(place(), "the object has no identity");
    if (findAttribute(attributes, xf::uuid) && uuid.is_nil())
      raiseInvalid(place(), "the identity of the object is nil");

    Impl* object = createObject(entry, container, property, uuid, keyOf(entry, property, attributes));
    arriving_ = object;
    for (const XmlAttribute& attribute : attributes) {
      if (attribute.name == xf::uuid || attribute.name == xf::classAttribute)
        continue;
      if (attribute.name == xf::anchor) {
        Anchor& anchor = anchors_[anchorOf(attribute.value)];
        if (anchor.object)
          raiseInvalid(place(), "two objects are called \"" + anchor.name + "\"");
        anchor.object = object;
        continue;
      }
      readAttribute(*object, entry, attribute);
    }
    enterArriving();
    frames_.push_back({Frame::Kind::object, object, &entry, property});
  }

  /// An object gets its place when all its values are there: some of them, keys too, may stand in elements of their
  /// own.
  void endFrame() {
    const Frame frame = frames_.back();
    frames_.pop_back();
    if (frame.kind != Frame::Kind::object)
      return;
    try {
      data_.placeLast(*frame.object, frames_.empty() ? nullptr : frames_.back().object, frame.property);
    } catch (const Error& error) {             // a key that is taken: the model knows which, the file knows where
      if (identities_ == Identities::together) // and maybe an identity that follows from it
        throw IdentityClash();
      raiseBecause(error, FrameworkError::InvalidText, place(), "the object clashes with another");
    }
  }

  /// The value of the attribute that keys a map of identities; nil where it is missing, and for everything else.
  Uuid keyOf(const ClassEntry& entry, const MetaProperty* property, std::span<const XmlAttribute> attributes) const {
    const MetaProperty* key = property ? property->key(0) : nullptr;
    if (!key || key->datatype()->kind != Datatype::Kind::uuid)
      return {};
    for (const auto& [name, feature] : entry.features)
      if (feature == key)
        if (const XmlAttribute* given = findAttribute(attributes, name))
          return readUuid(given->value);
    return {};
  }

  /// An object can be found by its identity when its attributes have been read: meanwhile the processor fetches the
  /// place of the identity, which among a million others takes as long as all the rest.
  void enterArriving() {
    if (Impl* object = std::exchange(arriving_, nullptr))
      enter(*object);
  }
  void enter(Impl& object) {
    if (!data_.enter(object))
      raise(FrameworkError::DuplicateIdentity, place(), toText(object.uuid()));
  }

  /// An object that is not found by its identity yet. A nil identity stands for the one that follows from the place.
  Impl* createObject(const ClassEntry& entry, Impl* container, const MetaProperty* property, Uuid uuid,
                     const Uuid& key) {
    const bool derived = container && property->givesIdentityTo(*entry.metaClass);
    const ItemList* siblings = container && property->isMany() ? container->items(*property) : nullptr;
    if (siblings && !key.is_nil())
      siblings->foreseeKey(0, &key);
    const auto derivedIn = [&](const Uuid& owner) {
      return property->derivedIdentity(owner, key, siblings ? siblings->size() : 0);
    };
    if (uuid.is_nil())
      uuid = derivedIn(options_.freshIdentities ? originals_[container] : container->uuid());
    if (!options_.freshIdentities) {
      if (identities_ == Identities::oneByOne || !derived)
        data_.foresee(uuid);
      return data_.createUnplaced(*entry.metaClass, uuid, false);
    }
    if (given_.contains(uuid))
      raise(FrameworkError::DuplicateIdentity, place(), toText(uuid));
    const Uuid fresh = derived ? derivedIn(container->uuid()) : randomUuid();
    Impl* object = data_.createUnplaced(*entry.metaClass, fresh, false);
    given_.emplace(uuid, object);
    originals_.emplace(object, uuid);
    options_.freshIdentities(uuid, fresh);
    return object;
  }

  void readAttribute(Impl& object, const ClassEntry& entry, const XmlAttribute& attribute) {
    const MetaProperty* property = entry.find(attribute.name);
    if (!property)
      raise(FrameworkError::UnknownFeature, place(), attribute.name, entry.name);
    switch (property->kind()) {
    case FeatureKind::attribute:
      // The object is in no collection yet, so no index has to know.
      readPlain(*property, *property->datatype(), object.field(*property), attribute.value);
      return;
    case FeatureKind::refersOne:
      refer(object, *property, attribute.value);
      return;
    case FeatureKind::refersMany:
      forEachWord(attribute.value, [&](std::string_view target) { refer(object, *property, target); });
      return;
    case FeatureKind::containsOne:
    case FeatureKind::containsMany:
      readReferences(object, *property, attribute);
      return;
    default:
      raiseInvalid(place(), "\"" + std::string(attribute.name) + "\" is no attribute");
    }
  }

  /// Objects of which the file says only where they lead.
  void readReferences(Impl& owner, const MetaProperty& property, const XmlAttribute& attribute) {
    const MetaProperty* reference = property.target()->soleReference();
    if (!reference || !property.givesIdentityTo(*property.target()))
      raiseInvalid(place(), "\"" + std::string(attribute.name) + "\" is no attribute");
    enterArriving();
    const ClassEntry& entry = childClass(property, {});
    forEachWord(attribute.value, [&](std::string_view target) {
      if (property.kind() == FeatureKind::containsOne && owner.one(property))
        raiseInvalid(place(), "\"" + std::string(property.name()) + "\" holds one object only");
      Impl* object = createObject(entry, &owner, &property, {}, {});
      enter(*object);
      refer(*object, *reference, target);
      data_.placeLast(*object, &owner, &property);
    });
  }

  void readPlain(const MetaProperty& property, const Datatype& type, void* to, std::string_view text) {
    switch (type.kind) {
    case Datatype::Kind::string:
      *static_cast<String*>(to) = String::fromUtf8(text);
      return;
    case Datatype::Kind::optional:
      return readPlain(property, type.element(), type.emplace(to), text);
    case Datatype::Kind::sequence: {
      if (!type.element().read)
        break;
      Value empty(type);
      type.swap(to, empty.data());
      forEachWord(text, [&](std::string_view word) {
        Value element(type.element());
        readPlain(property, type.element(), element.data(), word);
        type.append(to, element.data());
      });
      return;
    }
    default:
      if (type.read && type.read(to, text))
        return;
    }
    raiseInvalid(place(), "\"" + beginningOf(text) + "\" is no " + std::string(type.name) + " for \"" +
                              std::string(property.name()) + "\"");
  }

  // Values that are elements

  void startValue(const Frame& owner, const MetaProperty& property, std::span<const XmlAttribute> attributes) {
    const Datatype& type = *property.datatype();
    const Datatype& inner = type.kind == Datatype::Kind::optional ? type.element() : type;
    Value value(type);
    if (findAttribute(attributes, xf::none)) {
      if (type.kind != Datatype::Kind::optional)
        raiseInvalid(place(), "\"" + std::string(property.name()) + "\" cannot be absent");
    } else {
      void* to = type.kind == Datatype::Kind::optional ? type.emplace(value.data()) : value.data();
      if (inner.kind != Datatype::Kind::sequence)
        readElementValue(property, inner, to, attributes);
      else
        onlyAttributes(attributes, {});
    }
    // The object is in no collection yet, so no index has to know.
    type.swap(owner.object->field(property), value.data());
    const bool isSequence = inner.kind == Datatype::Kind::sequence;
    frames_.push_back({isSequence ? Frame::Kind::value : Frame::Kind::leaf, owner.object, owner.entry, &property});
  }

  void readElementValue(const MetaProperty& property, const Datatype& type, void* to,
                        std::span<const XmlAttribute> attributes) {
    const bool escaped = findAttribute(attributes, xf::escaped) != nullptr;
    if (type.kind != Datatype::Kind::structure) {
      onlyAttributes(attributes, {xf::value, xf::escaped});
      const std::string_view text = require(attributes, xf::value);
      if (escaped && type.kind == Datatype::Kind::string)
        *static_cast<String*>(to) = unescaped(text);
      else
        readPlain(property, type, to, text);
      return;
    }
    std::size_t known = escaped ? 1 : 0;
    for (const DatatypeField& field : type.fields)
      if (const XmlAttribute* attribute = findAttribute(attributes, field.name)) {
        ++known;
        void* at = static_cast<std::byte*>(to) + field.offset;
        if (escaped && field.datatype().kind == Datatype::Kind::string)
          *static_cast<String*>(at) = unescaped(attribute->value);
        else
          readPlain(property, field.datatype(), at, attribute->value);
      }
    if (known != attributes.size())
      raise(FrameworkError::UnknownFeature, place(), property.name(), type.name);
  }

  void readItem(const Frame& frame, std::string_view name, std::span<const XmlAttribute> attributes) {
    if (name != xf::item)
      unexpected(name);
    const MetaProperty& property = *frame.property;
    const Datatype& declared = *property.datatype();
    const Datatype& type = declared.kind == Datatype::Kind::optional ? declared.element() : declared;
    Value element(type.element());
    readElementValue(property, type.element(), element.data(), attributes);
    void* field = frame.object->field(property);
    void* list = declared.kind == Datatype::Kind::optional ? const_cast<void*>(declared.contained(field)) : field;
    type.append(list, element.data());
    frames_.push_back({Frame::Kind::leaf});
  }

  // References

  void refer(Impl& source, const MetaProperty& property, std::string_view text) {
    if (property.kind() == FeatureKind::refersOne && source.one(property))
      raiseInvalid(place(), "\"" + std::string(property.name()) + "\" holds one object only");
    Target target;
    if (text.size() == 36)
      target.uuid = readUuid(text);
    else
      target.anchor = anchorOf(text);
    if (property.kind() == FeatureKind::refersOne && !property.opposite()) {
      if (Impl* known = find(target))
        return makeReference(source, property, *known, [this] { return place(); });
    }
    // Expat counts the lines when it is asked, so not before it is needed.
    const bool isAnchored = target.anchor != noAnchor;
    pending_.push_back({&source, &property, at_->line(),
                        isAnchored ? target.anchor : static_cast<std::uint32_t>(awaited_.size()), isAnchored});
    if (!isAnchored)
      awaited_.push_back(target.uuid);
  }

  template <class Place>
  void makeReference(Impl& source, const MetaProperty& property, Impl& target, const Place& at) {
    if (!target.isA(*property.target()))
      raiseInvalid(at(), "\"" + std::string(property.name()) + "\" cannot refer to an object of class \"" +
                             std::string(target.objectClass().name()) + "\"");
    try {
      data_.link(source, property, target, ModelData::atTheEnd);
    } catch (const Error& error) {
      raiseBecause(error, FrameworkError::InvalidText, at(), "the reference cannot be made");
    }
  }

  Impl* find(const Target& target) const {
    if (target.anchor != noAnchor)
      return anchors_[target.anchor].object;
    if (const auto found = given_.find(target.uuid); found != given_.end())
      return found->second;
    if (options_.freshIdentities)
      return nullptr;
    return arriving_ && arriving_->uuid() == target.uuid ? arriving_ : data_.find(target.uuid);
  }

  std::uint32_t anchorOf(std::string_view name) {
    const auto [found, isNew] =
        anchorIndex_.try_emplace(std::string(name), static_cast<std::uint32_t>(anchors_.size()));
    if (isNew)
      anchors_.push_back({std::string(name)});
    return found->second;
  }

  // Small things

  std::string place() const { return at_->place(); }

  [[noreturn]] void unexpected(std::string_view name) const { raiseUnexpected(name, place()); }

  std::string_view require(std::span<const XmlAttribute> attributes, std::string_view name) const {
    return requireAttribute(attributes, name, *at_);
  }

  void onlyAttributes(std::span<const XmlAttribute> attributes, std::initializer_list<std::string_view> known) const {
    for (const XmlAttribute& attribute : attributes)
      if (std::find(known.begin(), known.end(), attribute.name) == known.end())
        raiseInvalid(place(), "the attribute \"" + std::string(attribute.name) + "\" is unknown");
  }

  template <class Place>
  const ClassEntry& classNamed(std::string_view name, const Place& where) const {
    const auto found = classesByName_.find(std::string(name));
    if (found == classesByName_.end())
      raiseInvalid(where(), "the class \"" + std::string(name) + "\" is not in the file's dictionary");
    return *found->second;
  }

  template <class Place>
  static const ClassEntry& concrete(const ClassEntry& entry, const Place& where) {
    if (entry.metaClass->isAbstract())
      raiseInvalid(where(), "the class \"" + entry.name + "\" is abstract");
    return entry;
  }

  Uuid readUuid(std::string_view text) const { return requireUuid(text, *at_); }

  String unescaped(std::string_view utf8) const {
    if (auto text = unescapeText(toUtf16(utf8)))
      return *text;
    raiseInvalid(place(), "the text is not escaped as it says");
  }

  ModelData& data_;
  const ReadOptions& options_;
  const std::string document_;
  const Identities identities_;
  const Whereabouts* at_ = nullptr;
  std::vector<const MetaPackage*> families_;
  std::vector<std::unique_ptr<ClassEntry>> dictionary_;
  boost::unordered_flat_map<std::string, ClassEntry*, BytesHash> classesByName_;
  boost::unordered_flat_map<const MetaClass*, ClassEntry*> classes_;
  std::vector<Frame> frames_;
  Impl* arriving_ = nullptr; ///< whose attributes are being read
  ManyPending pending_;
  std::vector<Uuid> awaited_;
  std::vector<Anchor> anchors_;
  boost::unordered_flat_map<std::string, std::uint32_t, BytesHash> anchorIndex_;
  /// Objects by the identities that the file gives them, where the model does not know these.
  boost::unordered_flat_map<Uuid, Impl*, UuidHash> given_;
  boost::unordered_flat_map<Impl*, Uuid> originals_;
};

/// Marks a model as being read into: nothing is logged and hooks do not run; what was read goes again unless `keep` is
/// called.
class Reading {
public:
  explicit Reading(const Model& model) : model_(model), update_(model) {
    model_.data().setRecording(Recording::reading);
  }
  Reading(const Reading&) = delete;
  Reading& operator=(const Reading&) = delete;
  ~Reading() {
    ModelData& data = *model_.get();
    data.setRecording(Recording::steps);
    if (!kept_)
      data.dropContents();
  }
  void keep() { kept_ = true; }

private:
  Model model_;
  FrameworkUpdate update_;
  bool kept_ = false;
};

void readOnce(ByteSource& source, const std::string& name, const Model& model, const ReadOptions& options,
              Identities identities) {
  Reading reading(model);
  const OpenDocument intoModel = [&](DocumentHead&& head) {
    return std::make_unique<Reader>(model, options, head, name, identities);
  };
  readDocument(source, name, options.limits, [&](DocumentHead&& head) -> std::unique_ptr<ObjectsHandler> {
    if (!options.evolve || !evolution::isOld(head))
      return intoModel(std::move(head));
    if (options.evolved)
      for (const auto& family : head.families)
        options.evolved(family.name, family.version);
    return evolution::evolving(head, name, intoModel);
  });
  reading.keep();
}

void readInto(ByteSource& source, const std::string& name, const Model& model, const ReadOptions& options) {
  // Fresh identities are reported as they are given.
  if (!options.freshIdentities && source.restart())
    try {
      return readOnce(source, name, model, options, Identities::together);
    } catch (const IdentityClash&) {
      // Reading it once more finds out where.
      source.restart();
      ReadOptions again = options;
      again.evolved = {}; // which has been told
      return readOnce(source, name, model, again, Identities::oneByOne);
    }
  readOnce(source, name, model, options, Identities::oneByOne);
}

} // namespace

void readModel(ByteSource& source, const std::string& name, const Model& model, const ReadOptions& options) {
  ModelData& data = model.data();
  data.requireWritable();
  const bool untouched =
      data.objectCount() == 0 && !data.inTransaction() && !data.log().canUndo() && !data.log().canRedo();
  if (untouched)
    return readInto(source, name, model, options);
  const Model aside = Model::create();
  readInto(source, name, aside, options);
  aside.moveContentsTo(model);
}

void readModel(std::u16string_view text, const std::string& name, const Model& model, const ReadOptions& options) {
  const std::string utf8 = toUtf8(text);
  MemorySource source(utf8);
  readModel(source, name, model, options);
}

Fingerprint loadModel(const std::filesystem::path& path, const Model& model, const ReadOptions& options) {
  InputFile file(path);
  readModel(file, path.string(), model, options);
  return file.fingerprint();
}

} // namespace tavo
