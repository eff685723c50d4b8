#include "tools/zelkor/text/Identities.h"

#include "tools/zelkor/text/Errors.h"
#include "tools/zelkor/text/ExactFacts.h"
#include "tools/zelkor/text/ObjectPaths.h"
#include "tools/zelkor/text/Texts.h"

#include "kavra/Rendering.h"
#include "kavra/Text.h"
#include "tavo/meta/MetaRegistry.h"
#include "tavo/model/Transaction.h"
#include "tavo/value/Value.h"
#include "zelkor/property/Enumeration.h"
#include "zelkor/property/PropertyDefinition.h"
#include "zelkor/property/Value.h"

#include <algorithm>

namespace zelkor::text {
namespace {

using tavo::MetaProperty;
using tavo::ModelElement;
using tavo::Uuid;

/// The space of identities that are derived from names. Changing it would give every profile new identities.
const Uuid derivedSpace = *tavo::parseUuid("5b1c7d0e-52a4-4f7d-9b32-0a6c8f1de947");

//----------------------------------------------------------------------------------------------------------------------
// Versions of definitions

/// Everything about a definition that makes usages look again, as one text.
std::string contentOf(const property::PropertyDefinition& definition, const Uuid& type) {
  std::string text = tavo::toText(type);
  auto add = [&](const std::string& part) { text += "\n" + part; };
  auto value = definition.defaultValue();
  add(value ? narrow(value.storedExpression()) : std::string());
  add(value ? narrow(value.units()) : std::string());
  add(narrow(definition.getUnit()));
  for (auto& bound : {definition.getMin(), definition.getMax()})
    add(kavra::toUtf8(kavra::expressionText(bound).value_or(u"-")));
  for (auto extent : definition.getDimensions())
    add(std::to_string(extent));
  if (auto enumeration = definition.getType().as<property::Enumeration>())
    add(narrow(enumeration.getKavraEnumName()));
  return text;
}

/// The type that a definition shares with others: of an own one, its base.
property::ValueType sharedType(const property::PropertyDefinition& definition) {
  auto owned = definition.ownedType();
  return owned ? owned.getBaseType() : definition.getType();
}

//----------------------------------------------------------------------------------------------------------------------
// From a built model to the exact one

/// Makes the copy, object by object.
class ExactCopy {
public:
  ExactCopy(const tavo::Model& model, const IdentitySources& sources, const ExactFacts& facts, Findings& findings)
      : sources_(sources), facts_(facts), findings_(findings), paths_(model) {
    if (sources.before)
      before_ = ObjectPaths(sources.before);
    claim();
  }

  tavo::Model run() {
    for (auto& [path, object] : paths_.objects())
      choose(path, object);
    for (auto& [path, object] : paths_.objects()) {
      if (auto definition = object.as<property::PropertyDefinition>())
        chooseVersion(path, definition);
    }
    if (!findings_.empty())
      return {};
    copy_ = tavo::Model::create();
    copy_.setUndoDepth(0);
    tavo::Transaction transaction(copy_);
    copyObjects();
    copyReferences();
    for (auto& [path, fact] : facts_)
      establish(path, fact, false);
    for (auto& [path, fact] : facts_)
      establish(path, fact, true);
    transaction.commit();
    return findings_.empty() ? copy_ : tavo::Model();
  }

private:
  /// What goes on under another path than it had: by its identity, or by the name that it says it had.
  void claim() {
    for (auto& [path, text] : sources_.given) {
      auto uuid = tavo::parseUuid(text.value);
      if (auto former = uuid && sources_.before ? sources_.before.find(*uuid) : ModelElement())
        claim(before_.pathOf(former), path);
    }
    for (auto& [path, name] : sources_.was) { // owners come before what they hold
      auto owner = formerPath(path.substr(0, path.rfind('/')));
      auto same = owner + path.substr(path.rfind('/'));
      if (before_.find(same) && !claimed_.contains(same))
        continue; // it has its new name already
      if (auto former = owner + "/" + name.value; !sources_.before || before_.find(former))
        claim(former, path);
    }
  }
  void claim(const std::string& former, const std::string& path) {
    if (claimed_.try_emplace(former, path).second)
      formerPaths_[path] = former;
  }

  /// The path before things were renamed. What is new under a name that was another's has a path that nothing had.
  std::string formerPath(const std::string& path) const {
    std::string former;
    for (std::size_t start = 0; start <= path.size();) {
      auto end = std::min(path.find('/', start), path.size());
      auto present = path.substr(0, end);
      if (auto known = formerPaths_.find(present); known != formerPaths_.end())
        former = known->second;
      else
        former.append(start == 0 ? "" : "/").append(path, start, end - start);
      if (auto claimed = claimed_.find(former); claimed != claimed_.end() && claimed->second != present) {
        auto given = sources_.given.find(present);
        former += "\n" + (given == sources_.given.end() ? std::string() : given->second.value);
      }
      start = end + 1;
    }
    return former;
  }

  ModelElement before(const std::string& path) const { return before_.find(formerPath(path)); }

  Place placeOf(const std::string& path) const {
    if (auto fact = facts_.find(path); fact != facts_.end())
      return fact->second.place;
    for (auto* texts : {&sources_.given, &sources_.was}) {
      if (auto found = texts->find(path); found != texts->end())
        return found->second.place;
    }
    return {};
  }

  void choose(const std::string& path, const ModelElement& object) {
    auto former = before(path);
    if (auto was = sources_.was.find(path); was != sources_.was.end() && sources_.before && !former)
      findings_.add(was->second.place, path, TextError::UnknownFormer, was->second.value);
    auto given = sources_.given.find(path);
    auto fact = facts_.find(path);
    auto* exact = fact == facts_.end() ? nullptr : std::get_if<std::string>(&fact->second.value);
    if (isLeftOut(path))
      return;
    Uuid chosen;
    if (exact || given != sources_.given.end()) {
      auto uuid = tavo::parseUuid(exact ? *exact : given->second.value);
      if (!uuid || *uuid == Uuid{})
        return findings_.add(placeOf(path), path, TextError::InvalidIdentity, exact ? *exact : given->second.value);
      chosen = *uuid;
    } else if (followsFromOwner(object)) {
      return;
    } else if (former && &former.objectClass() == &object.objectClass()) {
      chosen = former.Uuid();
    } else {
      chosen = tavo::nameUuid(derivedSpace, sources_.profileName + "/" + formerPath(path));
    }
    auto [taken, isNew] = pathOf_.emplace(chosen, path);
    if (!isNew)
      findings_.add(std::max(placeOf(path), placeOf(taken->second)), path, TextError::SharedIdentity,
                    tavo::toText(chosen), taken->second, path);
    final_[object.Uuid()] = chosen;
  }

  Uuid finalOf(const Uuid& uuid) const {
    auto found = final_.find(uuid);
    return found == final_.end() ? uuid : found->second;
  }

  void chooseVersion(const std::string& path, const property::PropertyDefinition& definition) {
    auto type = sharedType(definition);
    auto content = contentOf(definition, type ? finalOf(type.Uuid()) : Uuid{});
    auto version = tavo::nameUuid(derivedSpace, sources_.profileName + "/" + formerPath(path) + "\n" + content);
    if (auto former = before(path).as<property::PropertyDefinition>()) {
      auto formerType = sharedType(former);
      if (contentOf(former, formerType ? formerType.Uuid() : Uuid{}) == content)
        version = former.currentVersionId();
    }
    final_[definition.currentVersionId()] = version;
  }

  const Fact* factAt(const std::string& path) const {
    auto found = facts_.find(path);
    return found == facts_.end() ? nullptr : &found->second.value;
  }

  /// What is not there in the exact model, or is something else.
  bool isLeftOut(const std::string& path) const {
    auto* fact = factAt(path);
    return (fact && std::holds_alternative<Absent>(*fact)) || factAt(path + "/" + classFact);
  }

  /// The place in the list at a path; that of things which the list does not name is the end.
  std::size_t listed(const std::string& list, const std::string& name) const {
    auto* fact = factAt(list);
    auto* names = fact ? std::get_if<std::vector<std::string>>(fact) : nullptr;
    return names ? static_cast<std::size_t>(std::find(names->begin(), names->end(), name) - names->begin())
                 : static_cast<std::size_t>(-1);
  }

  void copyObjects() {
    auto names = paths_.topLevel();
    for (auto& [path, fact] : facts_) {
      if (path.find('/') == path.npos && path != topLevelOrder && !paths_.find(path))
        names.push_back(path);
    }
    std::stable_sort(names.begin(), names.end(),
                     [&](auto& a, auto& b) { return listed(topLevelOrder, a) < listed(topLevelOrder, b); });
    for (auto& name : names) {
      if (auto object = paths_.find(name); object && !isLeftOut(name))
        copyTree(object, name, {});
      else if (!object || factAt(name + "/" + classFact))
        makeTopLevel(name);
    }
  }

  void copyTree(const ModelElement& object, const std::string& path, const Uuid& derived) {
    bool hasOwn = final_.contains(object.Uuid());
    auto made = copy_.create(object.objectClass(), hasOwn ? finalOf(object.Uuid()) : derived);
    enter(path, made);
    for (auto* property : object.objectClass().properties()) {
      if (!isAttribute(*property))
        continue;
      auto value = object.getPropertyValue(*property);
      if (value.holds<Uuid>())
        value = tavo::Value::of(finalOf(value.as<Uuid>()));
      made.object().writeAttribute(*property, value.data());
    }
    setAttributes(made, path);
    for (auto* feature : object.objectClass().containments()) {
      if (!feature->isSaved())
        continue;
      for (auto& child : objectsIn(object, *feature)) {
        auto& childPath = paths_.pathOf(child);
        if (isLeftOut(childPath))
          continue;
        copyTree(child, childPath, tavo::derivedUuid(made.Uuid(), feature->id()));
        put(objects_[childPath], made, *feature, childPath);
      }
    }
  }

  void enter(const std::string& path, const ModelElement& object) {
    objects_[path] = object;
    copiedPath_[object.Uuid()] = path;
  }

  void put(const ModelElement& object, const ModelElement& owner, const MetaProperty& feature,
           const std::string& path) const {
    auto list = path.substr(0, path.rfind('/'));
    if (!isSequence(feature) || !factAt(list))
      return owner.object().add(feature, object.get());
    auto place = [&](const std::string& of) { return listed(list, of.substr(list.size() + 1)); };
    auto present = objectsIn(owner, feature);
    auto after = std::find_if(present.begin(), present.end(),
                              [&](auto& other) { return place(copiedPath_.at(other.Uuid())) > place(path); });
    owner.object().add(feature, object.get(), static_cast<std::size_t>(after - present.begin()));
  }

  void copyReferences() {
    for (auto& [path, object] : paths_.objects()) {
      auto made = objects_.find(path);
      if (made == objects_.end())
        continue;
      for (auto* reference : object.objectClass().references()) {
        if (!reference->isSaved())
          continue;
        for (auto& target : objectsIn(object, *reference))
          refer(made->second, *reference, paths_.pathOf(target));
      }
    }
  }

  bool refer(const ModelElement& from, const MetaProperty& reference, const std::string& path) const {
    auto target = objects_.find(path);
    if (target == objects_.end() || !target->second.isA(*reference.target()))
      return false;
    if (reference.isMany())
      from.object().add(reference, target->second.get());
    else
      from.object().setOne(reference, target->second.get());
    return true;
  }

  /// Makes one fact hold; those about references wait for all objects. Owners come before what they hold, since paths
  /// are in order.
  void establish(const std::string& path, const At<Fact>& fact, bool withReferences) {
    if (path == topLevelOrder || objects_.contains(path) || (isLeftOut(path) && paths_.find(path)))
      return;
    for (auto slash = path.rfind('/'); slash != path.npos && slash > 0; slash = path.rfind('/', slash - 1)) {
      auto owner = objects_.find(path.substr(0, slash));
      if (owner == objects_.end())
        continue;
      auto rest = path.substr(slash + 1);
      if (rest == classFact)
        return;
      auto* feature = owner->second.objectClass().findProperty(rest.substr(0, rest.find('/')));
      bool isPlain = rest.find('/') == rest.npos;
      if (feature && isPlain && isAttribute(*feature) && setAttribute(owner->second, *feature, fact.value))
        return;
      if (feature && isPlain && feature->isReference() &&
          (!withReferences || setReference(owner->second, *feature, fact.value)))
        return;
      bool isOrder = isPlain && std::holds_alternative<std::vector<std::string>>(fact.value);
      if (feature && feature->isContainment() &&
          (isOrder ? isSequence(*feature) : isPlain != feature->isMany() && makeInside(owner->second, *feature, path)))
        return;
      break;
    }
    findings_.add(fact.place, path, TextError::UnknownPath, path);
  }

  static bool setAttribute(const ModelElement& object, const MetaProperty& attribute, const Fact& fact) {
    tavo::Value value(*attribute.datatype());
    if (!readFact(fact, *attribute.datatype(), value.data()))
      return false;
    object.object().writeAttribute(attribute, value.data());
    return true;
  }

  bool setReference(const ModelElement& object, const MetaProperty& reference, const Fact& fact) const {
    if (auto* path = std::get_if<std::string>(&fact))
      return !reference.isMany() && refer(object, reference, *path);
    for (auto& target : objectsIn(object, reference)) {
      if (reference.isMany())
        object.object().remove(reference, target.get());
      else
        object.object().setOne(reference, nullptr);
    }
    auto* paths = std::get_if<std::vector<std::string>>(&fact);
    return !paths || (reference.isMany() && std::all_of(paths->begin(), paths->end(),
                                                        [&](auto& path) { return refer(object, reference, path); }));
  }

  void makeTopLevel(const std::string& path) {
    auto* metaClass = classAt(path);
    if (!metaClass || !make(path, *metaClass))
      findings_.add(placeOf(path), path, TextError::UnknownPath, path);
  }

  bool makeInside(const ModelElement& owner, const MetaProperty& feature, const std::string& path) {
    auto* metaClass = factAt(path + "/" + classFact) ? classAt(path) : feature.target();
    auto object = metaClass && metaClass->isA(*feature.target()) ? make(path, *metaClass) : ModelElement();
    if (object)
      put(object, owner, feature, path);
    return static_cast<bool>(object);
  }

  const tavo::MetaClass* classAt(const std::string& path) const {
    auto* fact = factAt(path + "/" + classFact);
    auto* name = fact ? std::get_if<std::string>(fact) : nullptr;
    return name ? tavo::MetaRegistry::instance().findClass(*name) : nullptr;
  }

  /// What the facts say of the attributes of an object, before it is put where it is found by them.
  void setAttributes(const ModelElement& object, const std::string& path) const {
    auto prefix = path + "/";
    for (auto at = facts_.lower_bound(prefix); at != facts_.end() && at->first.starts_with(prefix); ++at) {
      auto* property = object.objectClass().findProperty(std::string_view(at->first).substr(prefix.size()));
      if (property && isAttribute(*property))
        setAttribute(object, *property, at->second.value);
    }
  }

  /// A new object with its attributes.
  ModelElement make(const std::string& path, const tavo::MetaClass& metaClass) {
    auto* fact = factAt(path);
    auto* text = fact ? std::get_if<std::string>(fact) : nullptr;
    auto uuid = text ? tavo::parseUuid(*text) : std::nullopt;
    if (!uuid || *uuid == Uuid{} || metaClass.isAbstract())
      return {};
    auto object = copy_.create(metaClass, *uuid);
    setAttributes(object, path);
    enter(path, object);
    return object;
  }

  const IdentitySources& sources_;
  const ExactFacts& facts_;
  Findings& findings_;
  ObjectPaths paths_;
  ObjectPaths before_;
  tavo::Model copy_;
  std::map<std::string, ModelElement> objects_; ///< of the copy
  std::unordered_map<Uuid, std::string, tavo::UuidHash> copiedPath_;
  std::unordered_map<Uuid, std::string, tavo::UuidHash> pathOf_;
  std::unordered_map<Uuid, Uuid, tavo::UuidHash> final_;
  std::map<std::string, std::string> formerPaths_; ///< of what stood elsewhere, by path
  std::map<std::string, std::string> claimed_;     ///< the paths that these have now, by those that they had
};

} // namespace

tavo::Model withIdentities(const tavo::Model& model, const IdentitySources& sources, const ExactFacts& facts,
                           Findings& findings) {
  return ExactCopy(model, sources, facts, findings).run();
}

} // namespace zelkor::text
