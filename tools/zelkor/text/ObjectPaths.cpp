#include "tools/zelkor/text/ObjectPaths.h"

#include "tools/zelkor/text/Texts.h"

#include "tavo/meta/MetaRegistry.h"
#include "tavo/model/ModelElementDatatype.h"
#include "tavo/value/Value.h"
#include "zelkor/framework/NamedElement.h"
#include "zelkor/profile/DefaultStereotypePair.h"
#include "zelkor/services/ProxyTarget.h"
#include "zelkor/services/Resolver.h"

#include <set>

namespace zelkor::text {
namespace {

using services::proxy::ProxyTarget;
using tavo::ModelElement;

/// What tells an object from its siblings.
std::string keyOf(const ModelElement& object) {
  if (auto resolver = object.as<services::proxy::Resolver>())
    return narrow(resolver.uRI());
  if (auto named = object.as<internal::NamedElement>())
    return narrow(named.p_Name());
  if (auto pair = object.as<profile::DefaultStereotypePair>())
    return narrow(pair.key());
  return {};
}

std::string unique(const std::string& path, std::set<std::string>& taken) {
  auto result = path;
  for (int number = 2; !taken.insert(result).second; ++number)
    result = path + "#" + std::to_string(number);
  return result;
}

} // namespace

std::vector<ModelElement> objectsIn(const ModelElement& owner, const tavo::MetaProperty& feature) {
  auto value = owner.getPropertyValue(feature);
  if (feature.isMany())
    return value.as<std::vector<ModelElement>>();
  auto child = value.as<ModelElement>();
  return child ? std::vector<ModelElement>{child} : std::vector<ModelElement>();
}

ObjectPaths::ObjectPaths(const tavo::Model& model) {
  std::set<std::string> taken;
  for (auto& object : model.topLevel()) {
    auto key = object.as<services::proxy::Resolver>() ? " " + keyOf(object) : std::string();
    topLevel_.push_back(unique(std::string(object.objectClass().name()) + key, taken));
    visit(object, topLevel_.back());
  }
  visitTargets();
}

ModelElement ObjectPaths::find(const std::string& path) const {
  auto found = objects_.find(path);
  return found == objects_.end() ? ModelElement() : found->second;
}

const std::string& ObjectPaths::pathOf(const ModelElement& object) const {
  static const std::string none;
  auto found = paths_.find(object.Uuid());
  return found == paths_.end() ? none : found->second;
}

void ObjectPaths::enter(const ModelElement& object, const std::string& path) {
  objects_[path] = object;
  paths_[object.Uuid()] = path;
}

void ObjectPaths::visit(const ModelElement& object, const std::string& path) {
  enter(object, path);
  for (auto* feature : object.objectClass().containments()) {
    if (!feature->isSaved())
      continue;
    std::set<std::string> taken;
    auto inner = path + "/" + std::string(feature->name());
    for (auto& child : objectsIn(object, *feature)) {
      if (child.as<ProxyTarget>()) {
        targets_.emplace_back(inner, child);
        continue;
      }
      auto last = feature->isMany() ? unique(keyOf(child), taken) : std::string();
      if (feature->isMany() && feature->collection() == tavo::CollectionKind::sequence)
        sequences_[inner].push_back(last);
      auto place = inner;
      if (feature->isMany())
        place.append("/").append(last);
      visit(child, place);
    }
  }
}

void ObjectPaths::visitTargets() {
  std::set<std::string> taken;
  for (auto& [feature, object] : targets_) {
    auto id = object.cast<ProxyTarget>().targetId();
    auto known = paths_.find(id);
    auto name = known == paths_.end() ? tavo::toText(id) : known->second;
    auto path = feature;
    path.append("/(").append(name).append(")");
    enter(object, unique(path, taken));
  }
}

} // namespace zelkor::text
