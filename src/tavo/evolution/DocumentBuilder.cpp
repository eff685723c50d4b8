#include "tavo/core/Errors.h"
#include "tavo/evolution/Evolving.h"
#include "tavo/xml/XmlFormat.h"

#include <algorithm>

namespace tavo::evolution {
namespace {

namespace xf = xmlformat;

class Builder final : public ObjectsHandler {
public:
  Builder(const DocumentHead& head, Document& document) : document_(document) {
    for (const auto& family : head.families)
      addFamily(family);
    requireVersionsOfOneRelease(head);
    for (const auto& described : head.classes)
      addClass(described);
    for (const auto& outsider : head.outsiders)
      document_.addOutsider(*classNamed(outsider.className, [&] { return outsider.place; }).record, outsider.uuid);
  }

  /// The place, found out only when it is wanted: that costs a look at every line.
  auto here() const {
    return [this] { return at_->place(); };
  }

  void start(const Whereabouts& at, std::string_view name, std::span<const XmlAttribute> attributes) override {
    at_ = &at;
    if (frames_.empty())
      return startObject(classNamed(name, here()), nullptr, attributes);
    const Frame& frame = frames_.back();
    switch (frame.kind) {
    case Frame::Kind::object:
      return startInObject(frame, name, attributes);
    case Frame::Kind::value:
      if (name != xf::item)
        break;
      frame.object->values.back().items.push_back(fieldsOf(attributes));
      frames_.push_back({Frame::Kind::leaf, nullptr, nullptr});
      return;
    case Frame::Kind::leaf:
      break;
    }
    raiseUnexpected(name, at.place());
  }

  void end(const Whereabouts&) override { frames_.pop_back(); }
  void finish() override { document_.close(); }

private:
  /// A class in the file's dictionary, with its features by the names that the file gives them.
  struct Entry {
    const ClassRecord* record;
    std::vector<std::pair<std::string, const FeatureRecord*>> features{};
  };
  struct Frame {
    enum class Kind { object, value, leaf } kind; ///< nothing may stand in a leaf
    Object* object;
    const Entry* entry;
    std::vector<std::pair<const FeatureRecord*, std::size_t>> positions{}; ///< of the next children
  };

  void addFamily(const DocumentHead::Family& named) {
    const Family* family = findFamily(named.name);
    if (!family)
      raise(FrameworkError::UnknownFamily, named.place, named.name);
    const Version version = family->find(named.version);
    if (version == noVersion)
      raise(FrameworkError::InvalidFamilyVersion, named.version, named.name, family->versions.back(), named.place);
    if (isListed(*family))
      raiseInvalid(named.place, "the schema \"" + named.name + "\" is listed twice");
    document_.setVersion(*family, version);
  }

  bool isListed(const Family& family) const {
    const auto& listed = document_.families();
    return std::ranges::any_of(listed, [&](const auto& each) { return each.family == &family; });
  }

  void addClass(const DocumentHead::Class& described) {
    const ClassRecord* record = findClass(described.id);
    if (!record || !record->life.holds(document_.versionOf(*record->family)))
      raise(FrameworkError::UnknownClass, described.place, described.name, described.family);
    if (!isListed(*record->family))
      raiseInvalid(described.place, "the schema of the class \"" + described.name + "\" is not listed");
    Entry entry{record};
    for (const auto& feature : described.features) {
      const FeatureRecord* found = record->find(feature.id);
      if (!found || !found->life.holds(document_.versionOf(*found->owner->family)))
        raise(FrameworkError::UnknownFeature, feature.place, feature.name, described.name);
      for (const auto& [known, other] : entry.features)
        if (known == feature.name || other == found)
          raiseInvalid(feature.place, "the feature \"" + feature.name + "\" is listed twice");
      entry.features.emplace_back(feature.name, found);
    }
    const auto [found, isNew] = entries_.emplace(described.name, std::make_unique<Entry>(std::move(entry)));
    if (!isNew || !byRecord_.emplace(record, found->second.get()).second)
      raiseInvalid(described.place, "the class \"" + described.name + "\" is listed twice");
  }

  template <class Place>
  const Entry& classNamed(std::string_view name, const Place& where) const {
    const auto found = entries_.find(std::string(name));
    if (found == entries_.end())
      raiseInvalid(where(), "the class \"" + std::string(name) + "\" is not in the file's dictionary");
    return *found->second;
  }
  const Entry& entryOf(const ClassRecord& record) const {
    if (const auto found = byRecord_.find(&record); found != byRecord_.end())
      return *found->second;
    raise(FrameworkError::UnknownClass, at_->place(), record.name(), record.family->name());
  }

  const FeatureRecord& featureNamed(const Entry& entry, std::string_view name) const {
    for (const auto& [known, feature] : entry.features)
      if (known == name)
        return *feature;
    raise(FrameworkError::UnknownFeature, at_->place(), name, entry.record->name());
  }

  void startObject(const Entry& entry, const FeatureRecord* in, std::span<const XmlAttribute> attributes) {
    Object* owner = frames_.empty() ? nullptr : frames_.back().object;
    if (in && !entry.record->isA(*in->target))
      raiseInvalid(at_->place(), "\"" + std::string(in->name()) + "\" cannot hold an object of class \"" +
                                     std::string(entry.record->name()) + "\"");
    const std::size_t place = in ? position(*in) : 0;
    Uuid uuid{};
    if (const auto* given = findAttribute(attributes, xf::uuid))
      uuid = requireUuid(given->value, *at_);
    else if (in && in->givesIdentityTo(*entry.record))
      uuid = in->derivedIdentity(owner->uuid, keyOf(entry, *in, attributes), place);
    else
      raiseInvalid(at_->place(), "the object has no identity");
    if (uuid.is_nil())
      raiseInvalid(at_->place(), "the identity of the object is nil");
    Object& object = document_.add(*entry.record, owner, in, uuid, at_->line());
    frames_.push_back({Frame::Kind::object, &object, &entry});
    object.attributes.reserve(attributes.size());
    for (const XmlAttribute& attribute : attributes)
      if (attribute.name == xf::anchor)
        document_.setAnchor(object, attribute.value);
      else if (attribute.name != xf::uuid && attribute.name != xf::classAttribute)
        addAttribute(object, entry, attribute);
  }

  void addAttribute(Object& object, const Entry& entry, const XmlAttribute& attribute) {
    const auto& feature = featureNamed(entry, attribute.name);
    if (feature.kind == FeatureKind::attribute || feature.kind == FeatureKind::refersOne) {
      object.attributes.push_back({&feature, document_.keep(attribute.value)});
    } else if (feature.kind == FeatureKind::refersMany) {
      forEachWord(attribute.value, [&](std::string_view target) {
        object.references.push_back({&feature, document_.keep(target)});
      });
    } else {
      // Objects of which the file says only where they lead.
      const auto* reference = feature.target->soleReference(document_.versionOf(*feature.target->family));
      if (!reference || !feature.givesIdentityTo(*feature.target))
        raiseInvalid(at_->place(), "\"" + std::string(attribute.name) + "\" is no attribute");
      forEachWord(attribute.value, [&](std::string_view target) {
        auto& source = document_.add(*feature.target, &object, &feature,
                                     feature.derivedIdentity(object.uuid, {}, position(feature)), at_->line());
        source.attributes.push_back({reference, document_.keep(target)});
      });
    }
  }

  /// Of the next child of the innermost object in a feature.
  std::size_t position(const FeatureRecord& feature) {
    auto& positions = frames_.back().positions;
    for (auto& [known, next] : positions)
      if (known == &feature) {
        if (feature.kind == FeatureKind::containsOne)
          raiseInvalid(at_->place(), "\"" + std::string(feature.name()) + "\" holds one object only");
        return next++;
      }
    positions.emplace_back(&feature, 1);
    return 0;
  }

  /// The value of the attribute that keys a map of identities; nil for everything else.
  Uuid keyOf(const Entry& entry, const FeatureRecord& in, std::span<const XmlAttribute> attributes) const {
    const MetaProperty* key = in.today ? in.today->key(0) : nullptr;
    if (key && key->datatype()->kind == Datatype::Kind::uuid)
      for (const auto& [name, feature] : entry.features)
        if (feature->today == key)
          if (const auto* given = findAttribute(attributes, name))
            return requireUuid(given->value, *at_);
    return {};
  }

  void startInObject(const Frame& frame, std::string_view name, std::span<const XmlAttribute> attributes) {
    const auto& feature = featureNamed(*frame.entry, name);
    switch (feature.kind) {
    case FeatureKind::containsOne:
    case FeatureKind::containsMany: {
      const auto* named = findAttribute(attributes, xf::classAttribute);
      return startObject(named ? classNamed(named->value, here()) : entryOf(*feature.target), &feature, attributes);
    }
    case FeatureKind::refersMany:
      frame.object->references.push_back({&feature, document_.keep(requireAttribute(attributes, xf::ref, *at_))});
      frames_.push_back({Frame::Kind::leaf, nullptr, nullptr});
      return;
    case FeatureKind::attribute:
      if (std::ranges::find(frame.object->values, &feature, &ValueElement::feature) != frame.object->values.end())
        raiseInvalid(at_->place(), "\"" + std::string(feature.name()) + "\" stands twice in one object");
      frame.object->values.push_back({&feature, fieldsOf(attributes)});
      frames_.push_back({Frame::Kind::value, frame.object, nullptr});
      return;
    default:
      raiseUnexpected(name, at_->place());
    }
  }

  Fields fieldsOf(std::span<const XmlAttribute> attributes) {
    Fields fields;
    fields.fields.reserve(attributes.size());
    for (const XmlAttribute& attribute : attributes)
      fields.fields.emplace_back(document_.keep(attribute.name), document_.keep(attribute.value));
    return fields;
  }

  Document& document_;
  const Whereabouts* at_ = nullptr;
  boost::unordered_flat_map<std::string, std::unique_ptr<Entry>> entries_;
  boost::unordered_flat_map<const ClassRecord*, const Entry*> byRecord_;
  std::vector<Frame> frames_;
};

} // namespace

std::unique_ptr<ObjectsHandler> intoDocument(const DocumentHead& head, Document& document) {
  return std::make_unique<Builder>(head, document);
}

} // namespace tavo::evolution
