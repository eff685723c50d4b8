#include "tools/zelkor/text/Identities.h"

#include "tools/zelkor/text/Errors.h"

#include "kavra/Rendering.h"
#include "kavra/Text.h"
#include "tavo/core/Uuid.h"
#include "tavo/model/ModelElementDatatype.h"
#include "tavo/value/Value.h"
#include "tavo/xml/ModelXml.h"
#include "zelkor/profile/DefaultStereotypePair.h"
#include "zelkor/property/Enumeration.h"
#include "zelkor/property/PropertyDefinition.h"
#include "zelkor/property/Value.h"
#include "zelkor/services/CurrentModelResolver.h"
#include "zelkor/services/Proxies.h"
#include "zelkor/services/ProxyTarget.h"
#include "zelkor/services/Resolver.h"

#include <algorithm>
#include <set>
#include <unordered_map>

namespace zelkor::text {
namespace {

using services::proxy::ProxyTarget;
using tavo::ModelElement;
using tavo::Uuid;

/// The space of identities that are derived from names. Changing it would give every profile new identities.
const Uuid derivedSpace = *tavo::parseUuid("5b1c7d0e-52a4-4f7d-9b32-0a6c8f1de947");

std::string utf8(const tavo::String& text) { return kavra::toUtf8(text); }

std::vector<ModelElement> children(const ModelElement& owner, const tavo::MetaProperty& feature) {
  auto value = owner.getPropertyValue(feature);
  if (feature.isMany())
    return value.as<std::vector<ModelElement>>();
  auto child = value.as<ModelElement>();
  return child ? std::vector<ModelElement>{child} : std::vector<ModelElement>();
}

/// What tells an object from its siblings.
std::string keyOf(const ModelElement& object) {
  if (auto resolver = object.as<services::proxy::Resolver>())
    return utf8(resolver.uRI());
  if (auto named = object.as<internal::NamedElement>())
    return utf8(named.p_Name());
  if (auto pair = object.as<profile::DefaultStereotypePair>())
    return utf8(pair.key());
  return {};
}

class PathWalk {
public:
  explicit PathWalk(const tavo::Model& model) {
    std::set<std::string> taken;
    for (auto& object : model.topLevel()) {
      auto key = object.as<services::proxy::Resolver>() ? " " + keyOf(object) : std::string();
      auto path = unique(std::string(object.objectClass().name()) + key, taken);
      topLevel.push_back(path);
      visit(object, path);
    }
    visitTargets();
  }

  std::map<std::string, ModelElement> objects;
  std::vector<std::string> topLevel;

private:
  static std::string unique(const std::string& path, std::set<std::string>& taken) {
    auto result = path;
    for (int number = 2; !taken.insert(result).second; ++number)
      result = path + "#" + std::to_string(number);
    return result;
  }

  void visit(const ModelElement& object, const std::string& path) {
    objects[path] = object;
    paths_[object.Uuid()] = path;
    for (auto* feature : object.objectClass().containments()) {
      if (!feature->isSaved())
        continue;
      std::set<std::string> taken;
      auto inner = path + "/" + std::string(feature->name());
      for (auto& child : children(object, *feature)) {
        if (auto target = child.as<ProxyTarget>())
          targets_.emplace_back(inner, target);
        else
          visit(child, feature->isMany() ? unique(inner + "/" + keyOf(child), taken) : inner);
      }
    }
  }

  /// Targets are known by what they lead to, which has a path when it is in the same model.
  void visitTargets() {
    std::set<std::string> taken;
    for (auto& [path, target] : targets_) {
      auto known = paths_.find(target.targetId());
      auto name = known == paths_.end() ? tavo::toText(target.targetId()) : known->second;
      std::string place(path);
      place.append("/(").append(name).append(")");
      objects[unique(place, taken)] = target;
    }
  }

  std::unordered_map<Uuid, std::string, tavo::UuidHash> paths_;
  std::vector<std::pair<std::string, ProxyTarget>> targets_;
};

/// The path of the resolver of references within a model, which has no URI.
constexpr std::string_view ownResolver = "CurrentModelResolver ";

/// What a feature at the end of a path is set to.
struct AttributePath {
  std::string object, feature;
};

AttributePath splitPath(const std::string& path) {
  auto slash = path.rfind('/');
  return slash == path.npos ? AttributePath{path, {}} : AttributePath{path.substr(0, slash), path.substr(slash + 1)};
}

/// An attribute whose value is one text or one identity, which is what can be given by path.
bool isPlainAttribute(const tavo::MetaProperty& property) {
  return property.kind() == tavo::FeatureKind::attribute && property.isSaved() &&
         (*property.datatype() == tavo::datatypeOf<tavo::String>() || *property.datatype() == tavo::datatypeOf<Uuid>());
}

std::string plainText(const tavo::Value& value) {
  if (auto* uuid = value.holds<Uuid>() ? &value.as<Uuid>() : nullptr)
    return tavo::toText(*uuid);
  return utf8(value.as<tavo::String>());
}

/// Everything about a definition that makes usages look again, as one text.
std::string contentOf(const property::PropertyDefinition& definition, const Uuid& type) {
  std::string text = tavo::toText(type);
  auto add = [&](const std::string& part) { text += "\n" + part; };
  auto value = definition.defaultValue();
  add(value ? utf8(value.storedExpression()) : std::string());
  add(value ? utf8(value.units()) : std::string());
  add(utf8(definition.getUnit()));
  for (auto& bound : {definition.getMin(), definition.getMax()})
    add(kavra::toUtf8(kavra::expressionText(bound).value_or(u"-")));
  for (auto extent : definition.getDimensions())
    add(std::to_string(extent));
  if (auto enumeration = definition.getType().as<property::Enumeration>())
    add(utf8(enumeration.getKavraEnumName()));
  return text;
}

/// The type that a definition shares with others: of an own one, its base.
property::ValueType sharedType(const property::PropertyDefinition& definition) {
  auto owned = definition.ownedType();
  return owned ? owned.getBaseType() : definition.getType();
}

constexpr std::string_view targetsOf = "/proxies/(";

/// Makes the targets that nothing refers to any more but that a file still holds: nothing else would make them.
void makeUnusedTargets(const tavo::Model& model, const std::map<std::string, std::string>& given) {
  auto objects = objectsByPath(model);
  for (auto& [path, identity] : given) {
    auto at = path.find(targetsOf);
    if (at == path.npos || path.back() != ')' || objects.contains(path))
      continue;
    auto owner = objects.find(path.substr(0, at));
    auto resolver =
        owner == objects.end() ? services::proxy::Resolver() : owner->second.as<services::proxy::Resolver>();
    if (!resolver && path.substr(0, at) == ownResolver)
      resolver = services::proxy::CurrentModelResolver::createResolver(model);
    auto name = path.substr(at + targetsOf.size(), path.size() - at - targetsOf.size() - 1);
    auto target = objects.find(name);
    auto id = target == objects.end() ? tavo::parseUuid(name) : std::optional(target->second.Uuid());
    auto targetClass = given.find(path + "/targetClassId");
    auto classId = targetClass == given.end() ? std::nullopt : tavo::parseUuid(targetClass->second);
    if (resolver && id && classId)
      services::proxy::createTarget(resolver, *id, *classId, {});
  }
}

class Renumbering {
public:
  Renumbering(const tavo::Model& model, const IdentitySources& sources, Findings& findings)
      : model_(model), sources_(sources), findings_(findings), walk_((makeUnusedTargets(model, sources.given), model)) {
    if (sources.before)
      before_ = objectsByPath(sources.before);
  }

  tavo::Model run() {
    for (auto& [path, object] : walk_.objects)
      choose(path, object);
    for (auto& [path, object] : walk_.objects) {
      if (auto definition = object.as<property::PropertyDefinition>())
        chooseVersion(path, definition);
    }
    if (!findings_.empty())
      return {};
    auto copy = tavo::Model::create();
    tavo::readModel(ordered(replaced(tavo::modelText(model_).view())), "the profile", copy);
    setAttributes(copy);
    copy.clearHistory();
    return copy;
  }

private:
  /// The path before things were renamed.
  std::string formerPath(const std::string& path) const {
    std::string former, present;
    for (std::size_t start = 0; start <= path.size();) {
      auto end = std::min(path.find('/', start), path.size());
      auto part = path.substr(start, end - start);
      present += (present.empty() ? "" : "/") + part;
      auto renamed = sources_.was.find(present);
      former += (former.empty() ? "" : "/") + (renamed == sources_.was.end() ? part : renamed->second);
      start = end + 1;
    }
    return former;
  }

  ModelElement before(const std::string& path) const {
    for (auto& candidate : {path, formerPath(path)}) {
      if (auto found = before_.find(candidate); found != before_.end())
        return found->second;
    }
    return {};
  }

  void choose(const std::string& path, const ModelElement& object) {
    Uuid chosen;
    auto given = sources_.given.find(path);
    auto former = before(path);
    if (given != sources_.given.end())
      chosen = tavo::parseUuid(given->second).value_or(Uuid{});
    else if (former && &former.objectClass() == &object.objectClass())
      chosen = former.Uuid();
    else
      chosen = tavo::nameUuid(derivedSpace, sources_.profileName + "/" + formerPath(path));
    // A derived identity of an object whose owner has one is not in the file and needs no place in the map.
    auto [taken, isNew] = pathOf_.emplace(chosen, path);
    if (!isNew && !object.objectClass().has(tavo::ClassFlag::derivedIdentity))
      findings_.add({}, path, TextError::SharedIdentity, tavo::toText(chosen), taken->second, path);
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

  /// The document with the final identities. The present ones are fresh and random, so they stand for nothing else.
  std::u16string replaced(std::u16string_view document) const {
    constexpr std::size_t length = 36;
    std::u16string result;
    result.reserve(document.size());
    for (std::size_t i = 0; i < document.size();) {
      if (i + length <= document.size() && document[i + 8] == u'-' && document[i + 13] == u'-' &&
          document[i + 18] == u'-' && document[i + 23] == u'-') {
        auto uuid = tavo::parseUuid(kavra::toUtf8(document.substr(i, length)));
        auto found = uuid ? final_.find(*uuid) : final_.end();
        if (found != final_.end()) {
          result += kavra::fromAscii(tavo::toText(found->second));
          i += length;
          continue;
        }
      }
      result += document[i++];
    }
    return result;
  }

  /// The document with its top-level objects in the order that is asked for. Each starts a line, indented by four.
  std::u16string ordered(std::u16string document) const {
    if (sources_.order.empty())
      return document;
    std::vector<std::size_t> starts;
    auto end = document.rfind(u"\n  </objects>");
    for (auto at = document.find(u"\n    <", document.find(u"\n  <objects>")); at < end;
         at = document.find(u"\n    <", at + 1)) {
      if (document[at + 6] != u'/')
        starts.push_back(at);
    }
    if (starts.size() != walk_.topLevel.size())
      return document;
    starts.push_back(end);

    std::vector<std::size_t> places(walk_.topLevel.size());
    std::vector<std::size_t> turn(places.size());
    for (std::size_t i = 0; i < places.size(); ++i) {
      turn[i] = i;
      auto found = std::find(sources_.order.begin(), sources_.order.end(), walk_.topLevel[i]);
      places[i] = static_cast<std::size_t>(found - sources_.order.begin());
    }
    std::stable_sort(turn.begin(), turn.end(), [&](auto a, auto b) { return places[a] < places[b]; });
    auto result = document.substr(0, starts[0]);
    for (auto i : turn)
      result += document.substr(starts[i], starts[i + 1] - starts[i]);
    return result + document.substr(end);
  }

  void setAttributes(const tavo::Model& copy) {
    std::map<std::string, ModelElement> objects;
    for (auto& [path, text] : sources_.given) {
      if (walk_.objects.contains(path))
        continue;
      if (objects.empty())
        objects = objectsByPath(copy);
      auto [owner, feature] = splitPath(path);
      auto object = objects.find(owner);
      auto* property = object == objects.end() ? nullptr : object->second.objectClass().findProperty(feature);
      if (!property || !isPlainAttribute(*property)) {
        findings_.add({}, path, TextError::UnknownPath, path);
        continue;
      }
      if (*property->datatype() == tavo::datatypeOf<Uuid>()) {
        auto uuid = tavo::parseUuid(text).value_or(Uuid{});
        object->second.object().writeAttribute(*property, &uuid);
      } else {
        tavo::String value(kavra::fromUtf8(text).value_or(u""));
        object->second.object().writeAttribute(*property, &value);
      }
    }
  }

  const tavo::Model& model_;
  const IdentitySources& sources_;
  Findings& findings_;
  PathWalk walk_;
  std::map<std::string, ModelElement> before_;
  std::unordered_map<Uuid, std::string, tavo::UuidHash> pathOf_;
  std::unordered_map<Uuid, Uuid, tavo::UuidHash> final_;
};

} // namespace

std::map<std::string, ModelElement> objectsByPath(const tavo::Model& model) { return PathWalk(model).objects; }

std::vector<std::string> topLevelPaths(const tavo::Model& model) { return PathWalk(model).topLevel; }

tavo::Model withIdentities(const tavo::Model& model, const IdentitySources& sources, Findings& findings) {
  return Renumbering(model, sources, findings).run();
}

void describeDifferences(const tavo::Model& built, const tavo::Model& wanted, ProfileText& profile) {
  PathWalk from(built), to(wanted);
  if (from.topLevel != to.topLevel)
    profile.order = to.topLevel;
  for (auto& [path, object] : to.objects) {
    auto found = from.objects.find(path);
    if (found == from.objects.end() && (object.as<ProxyTarget>() || path == ownResolver)) {
      profile.identities[path] = {tavo::toText(object.Uuid()), {}};
      if (auto target = object.as<ProxyTarget>()) {
        profile.identities[path + "/targetClassId"] = {tavo::toText(target.targetClassId()), {}};
        profile.identities[path + "/targetName"] = {utf8(target.targetName()), {}};
      }
      continue;
    }
    if (found == from.objects.end() || &found->second.objectClass() != &object.objectClass())
      tavo::raise(TextError::CannotDescribe, profile.file, "the object " + path);
    if (found->second.Uuid() != object.Uuid() && !object.objectClass().has(tavo::ClassFlag::derivedIdentity))
      profile.identities[path] = {tavo::toText(object.Uuid()), {}};
    for (auto* property : object.objectClass().properties()) {
      // What a target leads to follows from the identities.
      if (!isPlainAttribute(*property) || property->name() == "targetId")
        continue;
      auto wantedText = plainText(object.getPropertyValue(*property));
      if (plainText(found->second.getPropertyValue(*property)) != wantedText)
        profile.identities[path + "/" + std::string(property->name())] = {wantedText, {}};
    }
  }
  for (auto& [path, object] : from.objects) {
    if (!to.objects.contains(path))
      tavo::raise(TextError::CannotDescribe, profile.file, "that there is no " + path);
  }
}

} // namespace zelkor::text
