// The resolvers of a model by class and URI: the same search for every class of resolver.
#pragma once

#include "tavo/model/Transaction.h"
#include "zelkor/services/ModelResolver.h"

namespace zelkor::services::proxy {

/// All resolvers of a class at the top of the model, in the model's order.
template <class Facade>
std::vector<Facade> resolversOf(const tavo::Model& model) {
  std::vector<Facade> found;
  for (const auto& element : model.topLevel())
    if (auto resolver = element.as<Facade>())
      found.push_back(std::move(resolver));
  return found;
}

/// The first one whose URI is exactly the name, or an empty handle.
ZELKOR_EXPORT ModelResolver findResolver(const tavo::Model& model, const tavo::MetaClass& resolverClass,
                                         std::u16string_view name);
template <class Facade>
Facade findResolver(const tavo::Model& model, std::u16string_view name) {
  return findResolver(model, Facade::metaClass(), name).template as<Facade>();
}

/// Whether the model has one of the resolver's targets, and so is the one that the resolver means.
ZELKOR_EXPORT bool hasTargetOf(const Resolver& resolver, const tavo::Model& model);

template <class Facade>
Facade findOrCreateResolver(const tavo::Model& model, const tavo::String& name) {
  if (auto known = findResolver<Facade>(model, name))
    return known;
  tavo::Transaction transaction(model);
  auto made = Facade::create(model);
  made.setURI(name);
  transaction.commit();
  return made;
}

} // namespace zelkor::services::proxy
