#include "tavo/core/Errors.h"
#include "tavo/evolution/Evolving.h"
#include "tavo/xml/XmlFormat.h"

#include <algorithm>
#include <map>

namespace tavo::evolution {
namespace {

namespace xf = xmlformat;

std::string nameOf(const FeatureRecord& feature, const Document& document) {
  std::string name(feature.life.nameIn(document.versionOf(*feature.owner->family)));
  if (std::ranges::find(xf::reserved, name) != xf::reserved.end())
    name += '_';
  return name;
}

/// The names that classes and features go by in one document.
class Names {
public:
  explicit Names(const Document& document) : document_(document) {
    const_cast<Document&>(document).each([this](const Object& object) { survey(object); });
    for (const auto& outsider : document.outsiders())
      classes_[outsider.record];
    for (auto& [record, used] : classes_)
      std::ranges::sort(used.features, {}, [](const auto& each) { return each.first->order; });
    // Two classes of one short name are told apart by their full ones.
    std::map<std::string_view, int> users;
    for (auto& [record, used] : classes_)
      ++users[shortName(*record)];
    for (auto& [record, used] : classes_)
      used.name = users[shortName(*record)] > 1 ? fullName(*record) : std::string(shortName(*record));
  }

  struct Used {
    std::string name;
    std::vector<std::pair<const FeatureRecord*, std::string>> features{};

    const std::string& of(const FeatureRecord& feature) const {
      return std::ranges::find(features, &feature, &std::pair<const FeatureRecord*, std::string>::first)->second;
    }
  };
  const Used& of(const ClassRecord& record) const { return classes_.find(&record)->second; }
  /// In the order of their full names.
  std::vector<const ClassRecord*> classes() const {
    std::vector<const ClassRecord*> records;
    for (const auto& [record, used] : classes_)
      records.push_back(record);
    std::ranges::sort(records, {}, [this](const ClassRecord* record) { return fullName(*record); });
    return records;
  }

private:
  std::string_view shortName(const ClassRecord& record) const {
    return record.life.nameIn(document_.versionOf(*record.family));
  }
  std::string fullName(const ClassRecord& record) const {
    const auto& today = record.qualifiedName;
    return std::string(today.substr(0, today.rfind('.') + 1)) + std::string(shortName(record));
  }

  void survey(const Object& object) {
    const auto use = [&](const FeatureRecord& feature, Used& by) {
      for (const auto& [known, name] : by.features)
        if (known == &feature)
          return;
      by.features.emplace_back(&feature, nameOf(feature, document_));
    };
    if (object.owner)
      use(*object.in, classes_[object.owner->record]);
    auto& used = classes_[object.record];
    for (const auto& attribute : object.attributes)
      use(*attribute.feature, used);
    for (const auto& value : object.values)
      use(*value.feature, used);
    for (const auto& reference : object.references)
      use(*reference.feature, used);
  }

  const Document& document_;
  boost::unordered_flat_map<const ClassRecord*, Used> classes_;
};

DocumentHead headOf(const Document& document, const Names& names) {
  DocumentHead head;
  std::vector<const Family*> families;
  const auto addFamily = [&](const Family& family) {
    if (std::ranges::find(families, &family) == families.end())
      families.push_back(&family);
  };
  for (const ClassRecord* record : names.classes()) {
    const auto& used = names.of(*record);
    auto& described = head.classes.emplace_back();
    described.name = used.name;
    described.family = record->family->name();
    described.id = record->id;
    for (const auto& [feature, name] : used.features)
      described.features.push_back({name, feature->id, document.name()});
    described.place = document.name();
    for (const auto& [feature, name] : used.features)
      addFamily(*feature->owner->family);
    addFamily(*record->family);
  }
  std::ranges::sort(families, {}, [](const Family* family) { return family->name(); });
  for (const Family* family : families) {
    const Version version = document.versionOf(*family);
    head.families.push_back(
        {std::string(family->name()), std::string(family->versions[version]), family->uriOf(version), document.name()});
  }
  for (const auto& outsider : document.outsiders())
    head.outsiders.push_back({names.of(*outsider.record).name, outsider.uuid, document.name()});
  return head;
}

/// Tells objects to a handler, which may ask where they stood in the file.
class Teller final : private Whereabouts {
public:
  Teller(const Document& document, const Names& names, ObjectsHandler& handler)
      : document_(document), names_(names), handler_(handler) {}

  void tell() {
    std::vector<Step> path;
    for (const Object& top : document_.top()) {
      path.push_back(start(top));
      while (!path.empty()) {
        Step& step = path.back();
        at_ = step.object;
        if (step.next == step.parts.size()) {
          handler_.end(*this);
          path.pop_back();
          continue;
        }
        const Part part = step.parts[step.next++];
        if (constexpr std::size_t ahead = 2; step.next + ahead < step.parts.size())
          if (const Object* coming = step.parts[step.next + ahead].child)
            foresee(coming);
        if (part.child)
          path.push_back(start(*part.child));
        else
          tell(part);
      }
    }
    handler_.finish();
  }

private:
  /// What stands in an element of its own.
  struct Part {
    const FeatureRecord* feature;
    const Object* child = nullptr;
    const ValueElement* value = nullptr;
    const Reference* reference = nullptr;
  };
  struct Step {
    const Object* object;
    std::vector<Part> parts; ///< in the order of the features
    std::size_t next = 0;
  };

  std::string place() const override { return document_.placeOf(*at_); }
  std::uint64_t line() const override { return at_->line; }

  Step start(const Object& object) {
    at_ = &object;
    Step step{&object, partsOf(object)};
    const auto& used = names_.of(*object.record);
    attributes_.clear();
    if (object.in && object.in->target != object.record)
      attributes_.push_back({xf::classAttribute, used.name});
    char uuid[36];
    if (!followsFromPlace(object)) {
      toText(object.uuid, uuid);
      attributes_.push_back({xf::uuid, std::string_view(uuid, sizeof uuid)});
    }
    if (!object.anchor.empty())
      attributes_.push_back({xf::anchor, object.anchor});
    addAttributes(object, used, step.parts);
    handler_.start(*this, object.owner ? names_.of(*object.owner->record).of(*object.in) : used.name, attributes_);
    return step;
  }

  static std::vector<Part> partsOf(const Object& object) {
    std::vector<Part> parts;
    for (const auto& value : object.values)
      parts.push_back({.feature = value.feature, .value = &value});
    for (const auto& reference : object.references)
      parts.push_back({.feature = reference.feature, .reference = &reference});
    for (const Object& child : object.children)
      parts.push_back({.feature = child.in, .child = &child});
    if (!std::ranges::is_sorted(parts, {}, orderOf))
      std::ranges::stable_sort(parts, {}, orderOf);
    return parts;
  }

  /// Plain values, and of the parts those that are nothing but a few references, which are taken out of the parts.
  void addAttributes(const Object& object, const Names::Used& names, std::vector<Part>& parts) {
    plain_.assign(object.attributes.begin(), object.attributes.end());
    texts_.clear();
    for (auto first = parts.begin(); first != parts.end();) {
      const auto* feature = first->feature;
      const auto last = std::find_if(first, parts.end(), [&](const Part& part) { return part.feature != feature; });
      if (auto targets = targetsOf({first, last}); targets.empty()) {
        first = last;
      } else {
        plain_.push_back({feature, texts_.emplace_back(std::move(targets))});
        first = parts.erase(first, last);
      }
    }
    if (!std::ranges::is_sorted(plain_, {}, orderOf))
      std::ranges::stable_sort(plain_, {}, orderOf);
    for (const auto& attribute : plain_)
      attributes_.push_back({names.of(*attribute.feature), attribute.text});
  }

  /// Where parts lead, with blanks between them, if they are few and there is nothing else to say of any; else empty.
  std::string targetsOf(std::span<const Part> parts) const {
    std::string targets;
    if (parts.size() > xf::mostInAttribute)
      return targets;
    for (std::size_t i = 0; i < parts.size(); ++i) {
      const auto target = targetOf(parts[i], i);
      if (target.empty())
        return {};
      if (i != 0)
        targets += ' ';
      targets += target;
    }
    return targets;
  }

  /// Where a part leads, if there is nothing else to say of it; else empty.
  std::string_view targetOf(const Part& part, std::size_t position) const {
    if (part.reference)
      return part.reference->target;
    if (!part.child || part.child->record != part.feature->target || !part.child->anchor.empty() ||
        part.child->attributes.size() != 1 || !part.feature->givesIdentityTo(*part.child->record))
      return {};
    const auto& record = *part.child->record;
    const auto* sole = record.soleReference(document_.versionOf(*record.family));
    const auto& attribute = part.child->attributes.front();
    const bool isInPlace = part.child->uuid == part.feature->derivedIdentity(part.child->owner->uuid, {}, position);
    return sole == attribute.feature && isInPlace ? attribute.text : std::string_view();
  }

  /// Told of all other objects: a reader knows it, too.
  static bool followsFromPlace(const Object& object) {
    return object.in && object.in->kind == FeatureKind::containsOne && object.in->givesIdentityTo(*object.record) &&
           object.uuid == object.in->derivedIdentity(object.owner->uuid, {}, 0);
  }

  static constexpr auto orderOf = [](const auto& each) { return each.feature->order; };

  void tell(const Part& part) {
    const std::string_view name = names_.of(*at_->record).of(*part.feature);
    if (part.reference) {
      const XmlAttribute target{xf::ref, part.reference->target};
      handler_.start(*this, name, {&target, 1});
    } else {
      startFields(name, part.value->own);
      for (const auto& item : part.value->items) {
        startFields(xf::item, item);
        handler_.end(*this);
      }
    }
    handler_.end(*this);
  }

  void startFields(std::string_view name, const Fields& fields) {
    attributes_.clear();
    for (const auto& [field, text] : fields.fields)
      attributes_.push_back({field, text});
    handler_.start(*this, name, attributes_);
  }

  const Document& document_;
  const Names& names_;
  ObjectsHandler& handler_;
  const Object* at_ = nullptr;
  std::vector<Attribute> plain_; ///< those of the object, in the order of the features
  std::vector<XmlAttribute> attributes_;
  std::deque<std::string> texts_; ///< of references in attributes
};

/// Refuses what is many times as long as what the document was read from.
class BoundedSink final : public ByteSink {
public:
  BoundedSink(ByteSink& sink, const Document& document)
      : sink_(sink), document_(document), left_(document.mostBytes()) {}
  void write(std::string_view bytes) override {
    if (bytes.size() > left_)
      raise(FrameworkError::FileGrowsTooLarge, document_.name(), document_.mostBytes());
    left_ -= bytes.size();
    sink_.write(bytes);
  }

private:
  ByteSink& sink_;
  const Document& document_;
  std::size_t left_;
};

class TextHandler final : public ObjectsHandler {
public:
  explicit TextHandler(XmlWriter& xml) : xml_(xml) {}
  void start(const Whereabouts&, std::string_view name, std::span<const XmlAttribute> attributes) override {
    xml_.start(name);
    for (const auto& [attribute, value] : attributes)
      xml_.attribute(attribute, value);
  }
  void end(const Whereabouts&) override { xml_.end(); }
  void finish() override {}

private:
  XmlWriter& xml_;
};

} // namespace

void tell(const Document& document, const OpenDocument& open) {
  const Names names(document);
  const auto handler = open(headOf(document, names));
  Teller(document, names, *handler).tell();
}

void write(const Document& document, ByteSink& sink) {
  BoundedSink bounded(sink, document);
  XmlWriter xml(bounded);
  xml.start(xf::root).attribute(xf::format, xf::formatVersion);
  tell(document, [&](DocumentHead&& head) {
    writeHead(xml, head);
    xml.start(xf::objects);
    return std::make_unique<TextHandler>(xml);
  });
  xml.end().end();
  xml.finish();
}

} // namespace tavo::evolution
