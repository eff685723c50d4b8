#include "tools/zelkor/text/ExactFacts.h"

#include "tools/zelkor/text/Errors.h"
#include "tools/zelkor/text/ObjectPaths.h"
#include "tools/zelkor/text/Texts.h"

#include "tavo/core/Error.h"
#include "tavo/value/Value.h"

#include <algorithm>
#include <set>

namespace zelkor::text {

using tavo::Datatype;
using tavo::MetaProperty;
using tavo::ModelElement;

std::optional<Fact> factOf(const Datatype& type, const void* value) {
  if (type.kind == Datatype::Kind::string)
    return narrow(*static_cast<const tavo::String*>(value));
  if (type.kind == Datatype::Kind::optional) {
    auto* inner = type.contained(value);
    return inner ? factOf(type.element(), inner) : Fact(Absent());
  }
  if (type.kind == Datatype::Kind::sequence) {
    std::vector<std::string> items;
    for (std::size_t i = 0; i < type.length(value); ++i) {
      auto item = factOf(type.element(), type.at(value, i));
      if (!item || !std::holds_alternative<std::string>(*item))
        return {};
      items.push_back(std::get<std::string>(*item));
    }
    return items;
  }
  if (!type.write)
    return {};
  std::string text;
  type.write(value, text);
  return text;
}

bool readFact(const Fact& fact, const Datatype& type, void* value) {
  if (type.kind == Datatype::Kind::optional)
    return std::holds_alternative<Absent>(fact) || readFact(fact, type.element(), type.emplace(value));
  if (auto* items = std::get_if<std::vector<std::string>>(&fact); items && type.kind == Datatype::Kind::sequence) {
    return std::all_of(items->begin(), items->end(), [&](auto& item) {
      tavo::Value element(type.element());
      bool isRead = readFact(item, type.element(), element.data());
      type.append(value, element.data());
      return isRead;
    });
  }
  auto* text = std::get_if<std::string>(&fact);
  if (text && type.kind == Datatype::Kind::string) {
    *static_cast<tavo::String*>(value) = wide(*text);
    return true;
  }
  return text && type.read && type.read(value, *text);
}

bool followsFromOwner(const ModelElement& object) {
  return object.objectClass().has(tavo::ClassFlag::derivedIdentity) && object.container() &&
         !object.object().containingProperty()->isMany();
}

bool isSequence(const MetaProperty& feature) {
  return feature.isMany() && feature.collection() == tavo::CollectionKind::sequence;
}

bool isAttribute(const MetaProperty& property) {
  return property.kind() == tavo::FeatureKind::attribute && property.isSaved();
}

namespace {

class Comparison {
public:
  Comparison(const tavo::Model& built, const tavo::Model& wanted, const std::string& file)
      : from_(built), to_(wanted), file_(file) {}

  ExactFacts run() {
    for (auto& [path, object] : from_.objects()) {
      if (!isGone(path, object) && !isSame(path, object)) {
        gone_.insert(path + "/");
        if (!to_.find(path))
          facts_[path] = {Absent(), {}};
      }
    }
    if (from_.topLevel() != to_.topLevel())
      facts_[topLevelOrder] = {to_.topLevel(), {}};
    for (auto& [path, object] : to_.objects()) {
      auto found = from_.find(path);
      if (found && !isGone(path, found) && isSame(path, found))
        compare(path, found, object);
      else
        describe(path, object);
    }
    for (auto& [path, names] : to_.sequences())
      compareOrder(path, names);
    return std::move(facts_);
  }

private:
  bool isSame(const std::string& path, const ModelElement& object) const {
    auto other = to_.find(path);
    return other && &other.objectClass() == &object.objectClass();
  }

  /// Whether something that holds the object, or the object itself, is left out.
  bool isGone(const std::string& path, const ModelElement& object) const {
    if (gone_.contains(path + "/"))
      return true;
    auto owner = object.container();
    return owner && isGone(from_.pathOf(owner), owner);
  }

  void say(const std::string& path, std::optional<Fact> fact) {
    if (!fact)
      tavo::raise(TextError::CannotDescribe, file_, path + ".");
    facts_[path] = {std::move(*fact), {}};
  }

  /// Where a reference leads, as a fact.
  static Fact targetsOf(const ModelElement& object, const MetaProperty& reference, const ObjectPaths& paths) {
    std::vector<std::string> names;
    for (auto& target : objectsIn(object, reference))
      names.push_back(paths.pathOf(target));
    if (reference.isMany())
      return names;
    return names.empty() ? Fact(Absent()) : Fact(names[0]);
  }

  void compare(const std::string& path, const ModelElement& from, const ModelElement& to) {
    if (from.Uuid() != to.Uuid()) {
      if (!followsFromOwner(to) ||
          to.Uuid() != tavo::derivedUuid(to.container().Uuid(), to.object().containingProperty()->id()))
        say(path, tavo::toText(to.Uuid()));
    }
    for (auto* property : to.objectClass().properties()) {
      if (!property->isSaved())
        continue;
      auto inner = path + "/" + std::string(property->name());
      if (isAttribute(*property)) {
        auto wanted = to.getPropertyValue(*property);
        auto present = from.getPropertyValue(*property);
        // What a target leads to follows from the identities.
        bool follows = property->name() == "targetId" && from_.find(pathOfTarget(path));
        if (!follows && !(present == wanted))
          say(inner, factOf(*wanted.type(), wanted.data()));
      } else if (property->isReference()) {
        auto wanted = targetsOf(to, *property, to_);
        if (wanted != targetsOf(from, *property, from_))
          say(inner, wanted);
      }
    }
  }

  /// "Profile/tags/A" for "CurrentModelResolver /proxies/(Profile/tags/A)".
  static std::string pathOfTarget(const std::string& path) {
    auto open = path.find("/(");
    return open == path.npos ? std::string() : path.substr(open + 2, path.rfind(')') - open - 2);
  }

  void describe(const std::string& path, const ModelElement& object) {
    say(path, tavo::toText(object.Uuid()));
    auto* feature = object.container() ? object.object().containingProperty() : nullptr;
    if (!feature || feature->target() != &object.objectClass())
      say(path + "/" + classFact, std::string(object.objectClass().qualifiedName()));
    for (auto* property : object.objectClass().properties()) {
      if (!property->isSaved())
        continue;
      auto inner = path + "/" + std::string(property->name());
      if (isAttribute(*property)) {
        auto value = object.getPropertyValue(*property);
        if (!property->isDefault(value.data()))
          say(inner, factOf(*value.type(), value.data()));
      } else if (property->isReference() && !objectsIn(object, *property).empty()) {
        say(inner, targetsOf(object, *property, to_));
      }
    }
  }

  void compareOrder(const std::string& path, const std::vector<std::string>& wanted) {
    std::vector<std::string> present;
    if (auto found = from_.sequences().find(path); found != from_.sequences().end())
      present = found->second;
    std::erase_if(present, [&](auto& name) { return gone_.contains(path + "/" + name + "/"); });
    std::set<std::string> added(wanted.begin(), wanted.end());
    for (auto& name : present)
      added.erase(name);
    present.insert(present.end(), added.begin(), added.end());
    if (present != wanted)
      facts_[path] = {wanted, {}};
  }

  ObjectPaths from_, to_;
  const std::string& file_;
  std::set<std::string> gone_; ///< paths of left out objects, each with a slash at the end
  ExactFacts facts_;
};

} // namespace

ExactFacts differences(const tavo::Model& built, const tavo::Model& wanted, const std::string& file) {
  return Comparison(built, wanted, file).run();
}

} // namespace zelkor::text
