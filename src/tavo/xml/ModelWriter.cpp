#include "tavo/collection/ItemList.h"
#include "tavo/core/Errors.h"
#include "tavo/core/Utf.h"
#include "tavo/model/FeatureFields.h"
#include "tavo/model/ModelData.h"
#include "tavo/xml/DocumentFrame.h"
#include "tavo/xml/ModelXml.h"
#include "tavo/xml/XmlFormat.h"
#include "tavo/xml/XmlLimit.h"
#include "tavo/xml/XmlText.h"
#include "tavo/xml/XmlWriter.h"

#include <algorithm>
#include <cstring>

namespace tavo {
namespace {

using Impl = ModelElement::Impl;
namespace xf = xmlformat;

/// What the head says about one class, and what the body needs to know of it.
struct ClassEntry {
  const MetaClass* metaClass;
  std::string name;
  bool hasOpposites = false; ///< so that objects may be referred to from there
  struct Feature {
    const MetaProperty* property;
    std::string name;
    const MetaProperty* reference = nullptr; ///< that is all there is to say of what this holds
    bool used = false;
    bool skipped = false;
  };
  std::vector<Feature> features; ///< all saved ones, in the order of their indexes
};

/// How a value stands in the body.
enum class Form { attribute, element };

Form formOf(const Datatype& type, const void* value) {
  switch (type.kind) {
  case Datatype::Kind::string:
    return needsEscape(*static_cast<const String*>(value)) ? Form::element : Form::attribute;
  case Datatype::Kind::structure:
    return Form::element;
  case Datatype::Kind::optional: {
    const void* inner = type.contained(value);
    return inner ? formOf(type.element(), inner) : Form::element;
  }
  case Datatype::Kind::sequence:
    return type.element().write ? Form::attribute : Form::element;
  default:
    return Form::attribute;
  }
}

/// What leads to an object.
struct Use {
  std::uint32_t references = 0;
  bool inside = true;
  std::string anchor;
};

class Writer {
public:
  /// `tree` is the root of the only tree that is written; null for a whole model.
  Writer(ByteSink& sink, const WriteOptions& options, const Impl* tree) : xml_(sink), options_(options), tree_(tree) {}

  void write(const std::vector<Impl*>& roots) {
    for (Impl* root : roots)
      survey(*root);
    nameAnchors();
    xml_.start(xf::root).attribute(xf::format, xf::formatVersion);
    writeHead();
    xml_.start(xf::objects);
    for (Impl* root : roots)
      writeObjects(*root);
    xml_.end().end();
    xml_.finish();
  }

private:
  ClassEntry& entryOf(const MetaClass& metaClass) {
    if (last_ && last_->metaClass == &metaClass)
      return *last_;
    auto& entry = entries_[&metaClass];
    if (!entry) {
      entry = std::make_unique<ClassEntry>();
      entry->metaClass = &metaClass;
      entry->hasOpposites =
          std::ranges::any_of(metaClass.references(), [](auto* reference) { return reference->opposite() != nullptr; });
      for (const MetaProperty* property : metaClass.properties()) {
        if (!property->isSaved())
          continue;
        ClassEntry::Feature feature{property, std::string(property->name())};
        if (std::find(xf::reserved.begin(), xf::reserved.end(), property->name()) != xf::reserved.end())
          feature.name += '_';
        feature.skipped = isLeftOut(*property);
        feature.reference = property->isContainment() ? property->target()->soleReference() : nullptr;
        if (feature.reference && isLeftOut(*feature.reference))
          feature.reference = nullptr;
        entry->features.push_back(std::move(feature));
      }
    }
    return *(last_ = entry.get());
  }

  bool isLeftOut(const MetaProperty& property) const {
    return (property.isReference() && !options_.associations) ||
           std::find(options_.transient.begin(), options_.transient.end(), &property) != options_.transient.end();
  }

  /// An object on the way down a tree, and how far its features have been gone through.
  struct Step {
    Impl* object;
    ClassEntry* entry;
    std::size_t feature = 0;
    std::size_t child = 0; ///< of that feature
  };

  /// Goes down a tree without calling itself: how deep it may be is up to the limits, not to the stack. Calls, for each
  /// object, `enter(object, feature that holds it, position in there, depth)`, `pass(object, feature)` for each feature
  /// after its children, and `leave()`; features that this document leaves out are left out, and so are the children in
  /// those for which `isDone(object, feature)`.
  template <class Enter, class IsDone, class Pass, class Leave>
  void walk(Impl& root, const Enter& enter, const IsDone& isDone, const Pass& pass, const Leave& leave) {
    std::vector<Step> path;
    const auto goInto = [&](Impl& object, ClassEntry::Feature* in, std::size_t position) {
      path.push_back({&object, &entryOf(object.objectClass())});
      enter(object, in, position, path.size());
    };
    goInto(root, nullptr, 0);
    while (!path.empty()) {
      Step& step = path.back();
      if (step.feature == step.entry->features.size()) {
        leave();
        path.pop_back();
        continue;
      }
      ClassEntry::Feature& feature = step.entry->features[step.feature];
      const bool hasChildren = !feature.skipped && (step.child > 0 || !isDone(*step.object, feature));
      if (Impl* child = hasChildren ? childAt(*step.object, *feature.property, step.child) : nullptr) {
        goInto(*child, &feature, step.child++);
        continue;
      }
      if (!feature.skipped)
        pass(*step.object, feature);
      ++step.feature;
      step.child = 0;
    }
  }

  static Impl* childAt(Impl& object, const MetaProperty& property, std::size_t position) {
    if (property.kind() == FeatureKind::containsOne)
      return position == 0 ? object.one(property) : nullptr;
    if (property.kind() != FeatureKind::containsMany)
      return nullptr;
    ItemList* list = object.items(property);
    if (!list || position >= list->size())
      return nullptr;
    Impl* child = list->objectAt(position);
    list->foresee(position);
    // What soon comes holds others, which lie elsewhere in memory; each is there in time to say where the next one is.
    if (Impl* soon = list->foreseen(position + 4))
      forEachOnly(*soon, [](Impl& only) { fetch(only); });
    if (Impl* sooner = list->foreseen(position + 2))
      forEachOnly(*sooner, [](Impl& only) { forEachOnly(only, [](Impl& inner) { fetch(inner); }); });
    if (Impl* next = list->foreseen(position + 1))
      forEachOnly(*next, [](Impl& only) { forEachOnly(only, [](Impl& inner) { fetchReferences(inner); }); });
    return child;
  }

  template <class Visit>
  static void forEachOnly(Impl& object, const Visit& visit) {
    for (const MetaProperty* property : object.objectClass().containments())
      if (property->kind() == FeatureKind::containsOne)
        if (Impl* only = object.one(*property))
          visit(*only);
  }

  static void fetch(const Impl& object) {
    constexpr std::size_t cacheLine = 64;
    const auto* bytes = reinterpret_cast<const std::byte*>(&object);
    __builtin_prefetch(bytes);
    __builtin_prefetch(bytes + cacheLine);
    __builtin_prefetch(bytes + 2 * cacheLine - 1); // it may begin anywhere in the first one
  }

  static void fetchReferences(Impl& object) {
    for (const MetaProperty* property : object.objectClass().references())
      if (property->kind() == FeatureKind::refersOne)
        __builtin_prefetch(linkField(object, *property));
  }

  /// Goes through the tree once to see which classes, features and targets occur.
  void survey(Impl& root) {
    constexpr std::size_t above = 2; // the document and its list of objects
    const std::size_t most = Limits::current().nesting;
    walk(
        root,
        [&](Impl& object, ClassEntry::Feature* in, std::size_t, std::size_t depth) {
          if (depth + above > most)
            raise(FrameworkError::LimitExceeded, object.objectClass().name(), XmlLimit::nesting,
                  static_cast<unsigned long long>(most));
          if (in)
            in->used = true;
        },
        [](Impl&, ClassEntry::Feature&) { return false; },
        [this](Impl& object, ClassEntry::Feature& feature) { survey(object, feature); }, [] {});
  }

  void survey(Impl& object, ClassEntry::Feature& feature) {
    const MetaProperty& property = *feature.property;
    switch (property.kind()) {
    case FeatureKind::attribute:
      feature.used = feature.used || !property.isDefault(object.field(property));
      break;
    case FeatureKind::refersOne:
      if (Impl* target = object.one(property)) {
        feature.used = true;
        ++useOf(*target).references;
      }
      break;
    case FeatureKind::refersMany:
      if (ItemList* list = object.items(property))
        for (std::size_t i = 0; i < list->size(); ++i) {
          feature.used = true;
          ++useOf(*list->objectAt(i)).references;
        }
      break;
    default:
      break;
    }
  }

  /// Mostly many references in a row lead to one target.
  Use& useOf(Impl& target) {
    if (lastTarget_ != &target) {
      lastUse_ = &targets_[&target];
      lastTarget_ = &target;
    }
    return *lastUse_;
  }

  bool isInside(const Impl& target) const {
    if (target.isProxy())
      return false;
    if (!tree_)
      return true;
    for (const Impl* at = &target; at; at = at->container())
      if (at == tree_)
        return true;
    return false;
  }

  /// Objects that are referred to more than once get a short anchor: the beginning of their identity, as long as it
  /// must be. It changes only when they do, so files keep their lines.
  void nameAnchors() {
    std::vector<std::pair<std::string, Impl*>> several;
    for (auto& [target, use] : targets_) {
      use.inside = isInside(*target);
      if (!use.inside)
        outside_.push_back(target);
      else if (use.references > 1) {
        std::string text = toText(target->uuid());
        std::erase(text, '-');
        several.emplace_back(std::move(text), target);
      }
    }
    std::sort(several.begin(), several.end());
    for (std::size_t i = 0; i < several.size(); ++i) {
      const auto shared = [&](std::size_t j) {
        const auto& [a, b] = std::mismatch(several[i].first.begin(), several[i].first.end(), several[j].first.begin());
        return static_cast<std::size_t>(a - several[i].first.begin());
      };
      const std::size_t length =
          std::max({std::size_t{7}, i ? shared(i - 1) : 0, i + 1 < several.size() ? shared(i + 1) : 0}) + 1;
      targets_[several[i].second].anchor = several[i].first.substr(0, length);
    }
    std::sort(outside_.begin(), outside_.end(), [](Impl* a, Impl* b) { return a->uuid() < b->uuid(); });
    for (Impl* object : outside_)
      entryOf(object->objectClass());
  }

  void writeHead() {
    std::vector<ClassEntry*> entries;
    std::vector<const MetaPackage*> packages;
    const auto addPackage = [&](const MetaPackage& package) {
      if (std::find(packages.begin(), packages.end(), &package) == packages.end())
        packages.push_back(&package);
    };
    for (const auto& [metaClass, entry] : entries_) {
      entries.push_back(entry.get());
      addPackage(metaClass->package());
      for (const auto& feature : entry->features) // inherited ones may be of another package
        if (feature.used)
          addPackage(feature.property->owner().package());
    }
    std::sort(packages.begin(), packages.end(), [](auto* a, auto* b) { return a->name() < b->name(); });
    std::sort(entries.begin(), entries.end(),
              [](auto* a, auto* b) { return a->metaClass->qualifiedName() < b->metaClass->qualifiedName(); });
    // Two classes of one short name are told apart by their full names.
    for (ClassEntry* entry : entries) {
      const auto sameName = [&](const ClassEntry* other) {
        return other->metaClass->name() == entry->metaClass->name();
      };
      entry->name = std::count_if(entries.begin(), entries.end(), sameName) > 1 ? entry->metaClass->qualifiedName()
                                                                                : entry->metaClass->name();
    }
    DocumentHead head;
    for (const MetaPackage* package : packages)
      head.families.push_back(
          {std::string(package->name()), std::string(package->version()), std::string(package->uri()), {}});
    for (const ClassEntry* entry : entries) {
      auto& described = head.classes.emplace_back();
      described.name = entry->name;
      described.family = entry->metaClass->package().name();
      described.id = entry->metaClass->id();
      for (const auto& feature : entry->features)
        if (feature.used)
          described.features.push_back({feature.name, feature.property->id(), {}});
    }
    for (const Impl* object : outside_)
      head.outsiders.push_back({entryOf(object->objectClass()).name, object->uuid(), {}});
    tavo::writeHead(xml_, head);
  }

  void writeObjects(Impl& root) {
    walk(
        root,
        [this](Impl& object, ClassEntry::Feature* in, std::size_t position, std::size_t) {
          startObject(object, in, position);
        },
        [this](Impl& object, ClassEntry::Feature& feature) { return areReferences(object, feature); },
        [this](Impl& object, ClassEntry::Feature& feature) {
          if (feature.used)
            writeAsElement(object, feature);
        },
        [this] { xml_.end(); });
  }

  static bool hasDerivedIdentity(const Impl& object, const MetaProperty& in, std::size_t position) {
    if (!in.givesIdentityTo(object.objectClass()))
      return false;
    const MetaProperty* key = in.key(0);
    return object.uuid() == in.derivedIdentity(object.container()->uuid(),
                                               key ? *static_cast<const Uuid*>(object.field(*key)) : Uuid{}, position);
  }

  std::string_view anchorOf(Impl& object, const ClassEntry& entry) const {
    if (!object.isReferredTo() && !entry.hasOpposites)
      return {};
    const auto use = targets_.find(&object);
    return use == targets_.end() ? std::string_view() : use->second.anchor;
  }

  /// Whether the objects in a feature can stand as references to what they lead to, since there is nothing else to say.
  bool areReferences(Impl& object, const ClassEntry::Feature& feature) {
    const MetaProperty& property = *feature.property;
    if (!feature.reference)
      return false;
    for (std::size_t i = 0; Impl* child = childAt(object, property, i); ++i)
      if (i == xf::mostInAttribute || &child->objectClass() != property.target() || !child->one(*feature.reference) ||
          !hasDerivedIdentity(*child, property, i) || !anchorOf(*child, entryOf(child->objectClass())).empty())
        return false;
    return true;
  }

  /// Opens an object's element and writes its attributes.
  void startObject(Impl& object, const ClassEntry::Feature* holder, std::size_t position) {
    const ClassEntry& entry = entryOf(object.objectClass());
    const MetaProperty* in = holder ? holder->property : nullptr;
    xml_.start(holder ? holder->name : entry.name);
    if (in && in->target() != &object.objectClass())
      xml_.attribute(xf::classAttribute, entry.name);
    if (!in || !hasDerivedIdentity(object, *in, position)) {
      char text[36];
      toText(object.uuid(), text);
      xml_.attribute(xf::uuid, std::string_view(text, sizeof text));
    }
    if (const auto anchor = anchorOf(object, entry); !anchor.empty())
      xml_.attribute(xf::anchor, anchor);
    for (const auto& feature : entry.features)
      if (feature.used && !feature.skipped)
        writeAsAttribute(object, feature);
  }

  void writeAsAttribute(Impl& object, const ClassEntry::Feature& feature) {
    const MetaProperty& property = *feature.property;
    if (property.kind() != FeatureKind::attribute) {
      text_.clear();
      if (property.isReference())
        appendReferences(object, property);
      else if (areReferences(object, feature))
        for (std::size_t i = 0; Impl* child = childAt(object, property, i); ++i)
          appendReferences(*child, *feature.reference);
      if (!text_.empty())
        xml_.attribute(feature.name, text_);
      return;
    }
    const void* value = object.field(property);
    const Datatype& type = *property.datatype();
    if (!property.isDefault(value) && formOf(type, value) == Form::attribute)
      writePlain(feature.name, type, value);
  }

  /// Appends what a reference leads to, unless that is too much for an attribute.
  void appendReferences(Impl& object, const MetaProperty& property) {
    const auto append = [this](Impl& target) { (text_ += text_.empty() ? "" : " ") += reference(target); };
    if (property.kind() == FeatureKind::refersOne) {
      if (Impl* target = object.one(property))
        append(*target);
      return;
    }
    ItemList* list = object.items(property);
    for (std::size_t i = 0; list && list->size() <= xf::mostInAttribute && i < list->size(); ++i)
      append(*list->objectAt(i));
  }

  void writePlain(std::string_view name, const Datatype& type, const void* value) {
    switch (type.kind) {
    case Datatype::Kind::string:
      xml_.attribute(name, static_cast<const String*>(value)->view());
      return;
    case Datatype::Kind::optional:
      writePlain(name, type.element(), type.contained(value));
      return;
    default:
      break;
    }
    text_.clear();
    if (type.kind == Datatype::Kind::sequence)
      for (std::size_t i = 0; i < type.length(value); ++i) {
        if (i)
          text_ += ' ';
        type.element().write(type.at(value, i), text_);
      }
    else
      type.write(value, text_);
    xml_.attribute(name, text_);
  }

  void writeAsElement(Impl& object, const ClassEntry::Feature& feature) {
    const MetaProperty& property = *feature.property;
    switch (property.kind()) {
    case FeatureKind::attribute: {
      const void* value = object.field(property);
      if (!property.isDefault(value) && formOf(*property.datatype(), value) == Form::element)
        writeValueElement(feature.name, *property.datatype(), value);
      return;
    }
    case FeatureKind::refersMany:
      if (ItemList* list = object.items(property); list && list->size() > xf::mostInAttribute)
        for (std::size_t i = 0; i < list->size(); ++i)
          xml_.start(feature.name).attribute(xf::ref, reference(*list->objectAt(i))).end();
      return;
    default:
      return;
    }
  }

  void writeValueElement(std::string_view name, const Datatype& type, const void* value) {
    switch (type.kind) {
    case Datatype::Kind::optional:
      if (const void* inner = type.contained(value))
        writeValueElement(name, type.element(), inner);
      else
        xml_.start(name).attribute(xf::none, true).end();
      return;
    case Datatype::Kind::sequence:
      xml_.start(name);
      for (std::size_t i = 0; i < type.length(value); ++i)
        writeValueElement(xf::item, type.element(), type.at(value, i));
      xml_.end();
      return;
    case Datatype::Kind::structure:
      writeStruct(name, type, value);
      return;
    case Datatype::Kind::string: {
      const auto& text = *static_cast<const String*>(value);
      xml_.start(name);
      if (needsEscape(text))
        xml_.attribute(xf::escaped, true).attribute(xf::value, escapeText(text).view());
      else
        xml_.attribute(xf::value, text.view());
      xml_.end();
      return;
    }
    default:
      xml_.start(name);
      writePlain(xf::value, type, value);
      xml_.end();
    }
  }

  void writeStruct(std::string_view name, const Datatype& type, const void* value) {
    const auto at = [&](const DatatypeField& field) { return static_cast<const std::byte*>(value) + field.offset; };
    const bool escape = std::any_of(type.fields.begin(), type.fields.end(), [&](const DatatypeField& field) {
      return field.datatype().kind == Datatype::Kind::string &&
             needsEscape(*reinterpret_cast<const String*>(at(field)));
    });
    xml_.start(name);
    if (escape)
      xml_.attribute(xf::escaped, true);
    for (const auto& field : type.fields)
      if (escape && field.datatype().kind == Datatype::Kind::string)
        xml_.attribute(field.name, escapeText(*reinterpret_cast<const String*>(at(field))).view());
      else
        writePlain(field.name, field.datatype(), at(field));
    xml_.end();
  }

  std::string_view reference(Impl& target) {
    const Use& use = useOf(target);
    if (!use.anchor.empty())
      return use.anchor;
    toText(target.uuid(), uuidText_);
    return {uuidText_, sizeof uuidText_};
  }

  XmlWriter xml_;
  const WriteOptions& options_;
  const Impl* tree_;
  boost::unordered_flat_map<const MetaClass*, std::unique_ptr<ClassEntry>> entries_;
  ClassEntry* last_ = nullptr;
  boost::unordered_flat_map<Impl*, Use> targets_;
  Impl* lastTarget_ = nullptr;
  Use* lastUse_ = nullptr;
  std::vector<Impl*> outside_;
  std::string text_;
  char uuidText_[36];
};

template <class Write>
String textOf(const Write& write) {
  std::string bytes;
  MemorySink sink(bytes);
  write(sink);
  return String(toUtf16(bytes));
}

} // namespace

void writeModel(const Model& model, ByteSink& sink, const WriteOptions& options) {
  std::vector<Impl*> roots;
  for (const ModelElement& element : model.topLevel()) {
    if (element.isProxy())
      continue; // written with those who refer to it
    if (!element.objectClass().has(ClassFlag::isRoot))
      raise(FrameworkError::UncontainedObject, toText(element.Uuid()), element.objectClass().name());
    roots.push_back(element.get());
  }
  Writer(sink, options, nullptr).write(roots);
}

void writeTree(const ModelElement& root, ByteSink& sink, const WriteOptions& options) {
  Writer(sink, options, &root.object()).write({&root.object()});
}

String modelText(const Model& model, const WriteOptions& options) {
  return textOf([&](ByteSink& sink) { writeModel(model, sink, options); });
}

String treeText(const ModelElement& root, const WriteOptions& options) {
  return textOf([&](ByteSink& sink) { writeTree(root, sink, options); });
}

Fingerprint saveModel(const Model& model, const std::filesystem::path& path, const Expectation& expected) {
  return saveAtomically(
      path, [&](ByteSink& sink) { writeModel(model, sink); }, expected);
}

} // namespace tavo
