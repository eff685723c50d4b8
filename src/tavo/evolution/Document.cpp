#include "tavo/evolution/Document.h"

#include "tavo/core/Errors.h"

#include <algorithm>
#include <cstring>

namespace tavo::evolution {

//----------------------------------------------------------------------------------------------------------------------
// Objects

const std::string_view* Object::find(const FeatureRecord& feature) const {
  for (const Attribute& attribute : attributes)
    if (attribute.feature == &feature)
      return &attribute.text;
  return nullptr;
}

std::string_view Object::text(const FeatureRecord& feature) const {
  const auto* found = find(feature);
  return found ? *found : std::string_view();
}

Object* Object::child(const FeatureRecord& feature) {
  for (Object& object : children)
    if (object.in == &feature)
      return &object;
  return nullptr;
}

std::vector<Object*> Object::childrenIn(const FeatureRecord& feature) {
  std::vector<Object*> found;
  for (Object& object : children)
    if (object.in == &feature)
      found.push_back(&object);
  return found;
}

//----------------------------------------------------------------------------------------------------------------------
// Asking

std::string Document::placeOf(const Object& object) const {
  const Object* at = &object;
  while (at->line == 0 && at->owner)
    at = at->owner;
  return at->line == 0 ? name_ : name_ + ":" + std::to_string(at->line);
}

Version Document::versionOf(const Family& family) const {
  for (const auto& each : families_)
    if (each.family == &family)
      return each.version;
  return family.present();
}

void Document::setVersion(const Family& family, Version version) {
  for (auto& each : families_)
    if (each.family == &family) {
      each.version = version;
      return;
    }
  families_.push_back({&family, version});
}

Object* Document::find(const Uuid& uuid) const {
  const auto found = byUuid_.find(uuid);
  return found == byUuid_.end() || !found->second->record ? nullptr : found->second;
}

Object* Document::target(std::string_view reference) const {
  if (const auto uuid = parseUuid(reference))
    return find(*uuid);
  const auto found = byAnchor_.find(reference);
  return found == byAnchor_.end() || !found->second->record ? nullptr : found->second;
}

std::string_view Document::remarkOf(const Object& object) const {
  const auto found = remarks_.find(&object);
  return found == remarks_.end() ? std::string_view() : found->second;
}

Document::Classes Document::holdersOf(const ClassRecord& record) const {
  Classes wanted, holders;
  std::ranges::copy_if(classes_, std::back_inserter(wanted),
                       [&](const ClassRecord* held) { return held->isA(record); });
  while (!wanted.empty()) {
    const ClassRecord& held = *wanted.back();
    wanted.pop_back();
    for (const ClassRecord* owner : classes_)
      if (owner->mayContain(held) && std::ranges::find(holders, owner) == holders.end()) {
        holders.push_back(owner);
        wanted.push_back(owner);
      }
  }
  return holders;
}

std::string_view Document::referenceTo(const Object& object) { return keep(toText(object.uuid)); }

//----------------------------------------------------------------------------------------------------------------------
// Changing

std::string_view Document::keep(std::string_view text) {
  if (text.empty())
    return {};
  if (text.size() > mostBytes_ - keptBytes_)
    raise(FrameworkError::FileGrowsTooLarge, name_, mostBytes_);
  keptBytes_ += text.size();
  auto* const kept = static_cast<char*>(arena_.allocate(text.size(), 1));
  std::memcpy(kept, text.data(), text.size());
  return {kept, text.size()};
}

Object& Document::add(const ClassRecord& record, Object* owner, const FeatureRecord* in, const Uuid& uuid,
                      std::uint64_t line) {
  Object& object = objects_.emplace_back(record, in, owner, uuid, line, &arena_);
  if (isRead_) {
    enter(object);
    object.attributes.reserve(4); // most of what evolution makes has no more
  }
  listOf(owner).push_back(object);
  become(object, record);
  return object;
}

void Document::enter(Object& object) {
  const auto [known, isNew] = byUuid_.try_emplace(object.uuid, &object);
  if (!isNew && known->second->record)
    raise(FrameworkError::DuplicateIdentity, placeOf(object), toText(object.uuid));
  known->second = &object;
}

void Document::remove(Object& object) {
  listOf(object.owner).erase(ObjectList::s_iterator_to(object));
  removedSome_ = true;
  std::vector<Object*> waiting{&object};
  while (!waiting.empty()) {
    Object& each = *waiting.back();
    waiting.pop_back();
    each.record = nullptr;
    for (Object& child : each.children)
      waiting.push_back(&child);
    each.children.clear();
  }
}

void Document::move(Object& object, Object* owner, const FeatureRecord* in) {
  listOf(object.owner).erase(ObjectList::s_iterator_to(object));
  object.owner = owner;
  object.in = in;
  listOf(owner).push_back(object);
}

void Document::become(Object& object, const ClassRecord& record) {
  object.record = &record;
  if (std::ranges::find(classes_, &record) == classes_.end())
    classes_.push_back(&record);
}

void Document::setKept(Object& object, const FeatureRecord& feature, std::string_view text) {
  std::erase_if(object.values, [&](const ValueElement& value) { return value.feature == &feature; });
  for (Attribute& attribute : object.attributes)
    if (attribute.feature == &feature) {
      attribute.text = text;
      return;
    }
  object.attributes.push_back({&feature, text});
}

void Document::setAnchor(Object& object, std::string_view anchor) {
  object.anchor = keep(anchor);
  if (const auto [known, isNew] = byAnchor_.try_emplace(object.anchor, &object); !isNew && known->second != &object)
    raise(FrameworkError::InvalidText, placeOf(object), "two objects are called \"" + std::string(anchor) + "\"");
}

void Document::clear(Object& object, const FeatureRecord& feature) {
  const auto isOf = [&](const auto& each) { return each.feature == &feature; };
  std::erase_if(object.attributes, isOf);
  std::erase_if(object.values, isOf);
  std::erase_if(object.references, isOf);
}

void Document::rename(Object& object, const FeatureRecord& from, const FeatureRecord& to) {
  const auto change = [&](auto& list) {
    for (auto& each : list)
      if (each.feature == &from)
        each.feature = &to;
  };
  change(object.attributes);
  change(object.values);
  change(object.references);
  for (Object& child : object.children)
    if (child.in == &from)
      child.in = &to;
}

void Document::close() {
  // Texts that steps make come to some hundred bytes an object, besides the head; a file that makes them copy a long
  // one again and again is after the memory, or the disk.
  constexpr std::size_t bytesOfObject = 256, bytesOfHead = 64 << 10, times = 8;
  mostBytes_ = (bytesOfHead + keptBytes_ + objects_.size() * bytesOfObject) * times;

  // All at once: the processor looks for many places in a large table at the same time, and the table never grows.
  byUuid_.reserve(objects_.size());
  for (Object& object : objects_)
    enter(object);
  isRead_ = true;

  boost::unordered_flat_map<Uuid, const ClassRecord*, UuidHash> outside;
  for (const Outsider& each : outsiders_)
    outside.emplace(each.uuid, each.record);
  const auto check = [&](const Object& object, const FeatureRecord& feature, std::string_view reference) {
    const Object* inside = target(reference);
    const ClassRecord* record = inside ? inside->record : nullptr;
    if (!record)
      if (const auto uuid = parseUuid(reference))
        if (const auto found = outside.find(*uuid); found != outside.end())
          record = found->second;
    if (!record)
      raise(FrameworkError::DanglingReference, placeOf(object), feature.name(), reference);
    if (!record->isA(*feature.target))
      raise(FrameworkError::InvalidText, placeOf(object),
            "\"" + std::string(feature.name()) + "\" cannot refer to an object of class \"" +
                std::string(record->name()) + "\"");
  };
  for (const Object& object : objects_) {
    for (const Attribute& attribute : object.attributes)
      if (attribute.feature->isReference())
        check(object, *attribute.feature, attribute.text);
    for (const Reference& each : object.references)
      check(object, *each.feature, each.target);
  }
}

std::size_t Document::dropDanglingReferences() {
  if (!removedSome_)
    return 0;
  removedSome_ = false;
  // Those that led out of the document all the time are no business of ours.
  boost::unordered_flat_map<std::string_view, bool> gone;
  const auto isGone = [&](std::string_view reference) {
    const auto [found, isNew] = gone.try_emplace(reference, false);
    if (isNew && !target(reference)) {
      const auto uuid = parseUuid(reference);
      found->second = uuid ? byUuid_.contains(*uuid) : byAnchor_.contains(reference);
    }
    return found->second;
  };
  std::size_t dropped = 0;
  each([&](Object& object) {
    dropped += std::erase_if(object.attributes, [&](const Attribute& attribute) {
      return attribute.feature->isReference() && isGone(attribute.text);
    });
    dropped += std::erase_if(object.references, [&](const Reference& each) { return isGone(each.target); });
  });
  return dropped;
}

void Document::renewAnchors() {
  const auto eachReference = [this](const auto& visit) {
    each([&](Object& object) {
      for (Attribute& attribute : object.attributes)
        if (attribute.feature->isReference())
          visit(attribute.text);
      for (Reference& reference : object.references)
        visit(reference.target);
    });
  };
  boost::unordered_flat_map<const Object*, std::size_t> uses;
  eachReference([&](std::string_view reference) {
    if (const Object* object = target(reference))
      ++uses[object];
  });
  std::vector<std::pair<std::string, const Object*>> several;
  for (const auto& [object, count] : uses)
    if (count > 1) {
      std::string digits = toText(object->uuid);
      std::erase(digits, '-');
      several.emplace_back(std::move(digits), object);
    }
  std::ranges::sort(several);
  boost::unordered_flat_map<const Object*, std::string_view> anchors;
  for (std::size_t i = 0; i < several.size(); ++i) {
    const auto shared = [&](std::size_t other) {
      const auto& [a, b] = std::ranges::mismatch(several[i].first, several[other].first);
      return static_cast<std::size_t>(a - several[i].first.begin());
    };
    const std::size_t length =
        std::max({std::size_t{7}, i ? shared(i - 1) : 0, i + 1 < several.size() ? shared(i + 1) : 0}) + 1;
    anchors[several[i].second] = keep(std::string_view(several[i].first).substr(0, length));
  }

  eachReference([&](std::string_view& reference) {
    if (const Object* object = target(reference)) {
      const auto found = anchors.find(object);
      reference = found == anchors.end() ? referenceTo(*object) : found->second;
    }
  });
  byAnchor_.clear();
  each([&](Object& object) {
    const auto found = anchors.find(&object);
    object.anchor = found == anchors.end() ? std::string_view() : found->second;
    if (!object.anchor.empty())
      byAnchor_.emplace(object.anchor, &object);
  });
}

} // namespace tavo::evolution
