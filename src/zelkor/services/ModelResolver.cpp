#include "zelkor/services/ModelResolver.impl.h"

#include "tavo/model/Transaction.h"
#include "zelkor/services/CurrentModelResolver.impl.h"
#include "zelkor/services/LostModelResolver.impl.h"
#include "zelkor/services/ModelIdentifier.h"
#include "zelkor/services/ModelResolvers.h"
#include "zelkor/services/Proxies.h"

#include <algorithm>

namespace zelkor::services::proxy {

ModelResolver findResolver(const tavo::Model& model, const tavo::MetaClass& resolverClass, std::u16string_view name) {
  for (const auto& element : model.topLevel())
    if (element.isA(resolverClass) && ModelResolver(element.get()).uRI() == name)
      return ModelResolver(element.get());
  return {};
}

bool hasTargetOf(const Resolver& resolver, const tavo::Model& model) {
  return std::ranges::any_of(resolver.proxies().toVector(),
                             [&](const auto& target) { return static_cast<bool>(model.find(target.targetId())); });
}

ModelResolver ModelResolver::findModelResolver(const ModelIdentifier& identifier, const tavo::String& name,
                                               const tavo::MetaClass& resolverClass) {
  return identifier ? findResolver(identifier.model(), resolverClass, name) : ModelResolver();
}

void ModelResolver::Impl::setReferencedModel(const tavo::Model& referenced) {
  setBoundModel(referenced);
  for (const auto& target : getProxies().toVector()) {
    target.unbind();
    target.findElement();
  }
  if (isA(LostModelResolver::metaClass()) || getURI().empty())
    return;
  if (const auto lost = findResolver<LostModelResolver>(model(), getURI()))
    lost.setReferencedModel(referenced);
}

tavo::Model ModelResolver::Impl::getReferencedModel() const {
  // A model that held itself would never end, so this one class does not hold what it refers to.
  return isA(CurrentModelResolver::metaClass()) ? model() : getBoundModel();
}

void ModelResolver::Impl::aboutToDestroy() {
  Base::aboutToDestroy();
  if (isA(LostModelResolver::metaClass()) || isA(CurrentModelResolver::metaClass()))
    return;
  // What refers through this resolver keeps the name of the model and the identities, so that it is found again when
  // the model comes back.
  for (const auto& target : getProxies().toVector()) {
    if (!target.object().isReferredTo())
      continue;
    const auto lost = LostModelResolver::createResolver(model(), getURI());
    if (lost.findProxyTarget(target.targetId()))
      continue;
    getProxiesMutable().remove(target);
    lost.object().add(objectClass().at(Resolver::Impl::Index::proxies), target.get());
    target.unbind();
  }
}

CurrentModelResolver CurrentModelResolver::createResolver(const tavo::Model& model) {
  if (auto found = model.findTopLevel<CurrentModelResolver>())
    return found;
  return CurrentModelResolver::create(model);
}

void CurrentModelResolver::Impl::load() {
  // Its targets are in the model that it is in.
}

LostModelResolver LostModelResolver::createResolver(const tavo::Model& model, const tavo::String& name) {
  return findOrCreateResolver<LostModelResolver>(model, name);
}

void LostModelResolver::Impl::load() {
  // It does not know where its model is; a resolver that refers there again does.
  for (const auto& resolver : resolversOf<ModelResolver>(model()))
    if (!resolver.isA(LostModelResolver::metaClass()) && !getURI().empty() && resolver.uRI() == getURI())
      return resolver.load();
}

} // namespace zelkor::services::proxy
