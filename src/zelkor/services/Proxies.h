// Pointing a feature of an element at an element of any model: what all features that hold a proxy have in common.
#pragma once

#include "zelkor/services/ProxiableElement.h"
#include "zelkor/services/ProxySource.h"
#include "zelkor/services/ProxyTarget.h"
#include "zelkor/services/Resolver.h"

namespace zelkor::services::proxy {

/// Makes `feature`, a to-one containment of a ProxySource in `owner`, refer to `target`. Nothing happens when it does
/// so already. Raises ModelCannotBeReferred when the target is in a model that others cannot name.
ZELKOR_EXPORT void referTo(const tavo::ModelElement& owner, const tavo::MetaProperty& feature,
                           const ProxiableElement& target);

/// Makes `feature` of `owner` refer to what `source` refers to, whether or not that can be had, and in whatever model
/// the owner is.
ZELKOR_EXPORT void referAs(const tavo::ModelElement& owner, const tavo::MetaProperty& feature,
                           const ProxySource& source);

/// The same for a reference that is there already.
ZELKOR_EXPORT void referTo(const ProxySource& source, const ProxiableElement& target);
ZELKOR_EXPORT void referAs(const ProxySource& copy, const ProxySource& source);

/// Adds a source to `feature`, a to-many containment of `owner`, that refers to `target` through `resolver`.
ZELKOR_EXPORT void addReference(const tavo::ModelElement& owner, const tavo::MetaProperty& feature,
                                const ProxiableElement& target, const Resolver& resolver);

/// The same for what `source` refers to, whether or not that can be had.
ZELKOR_EXPORT void addReference(const tavo::ModelElement& owner, const tavo::MetaProperty& feature,
                                const ProxySource& source);

/// Makes `feature` of `owner` refer to nothing.
ZELKOR_EXPORT void referToNothing(const tavo::ModelElement& owner, const tavo::MetaProperty& feature);

/// What `source` refers to; empty without a source or when the target cannot be had.
ZELKOR_EXPORT ProxiableElement findTarget(const ProxySource& source);

/// The same as a `Facade`; empty when it is something else.
template <class Facade>
Facade findTarget(const ProxySource& source) {
  return findTarget(source).template as<Facade>();
}

/// The identity of what `source` refers to, whether or not that can be had; nil without a source or target.
ZELKOR_EXPORT tavo::Uuid targetIdOf(const ProxySource& source);

/// A target that nothing is known of but how to find it again.
ZELKOR_EXPORT ProxyTarget createTarget(const Resolver& resolver, const tavo::Uuid& targetId,
                                       const tavo::Uuid& targetClassId, const tavo::String& targetName);

/// What messages and events call a model: the URI of its identifier, else the model's own name.
ZELKOR_EXPORT tavo::String nameForMessages(const tavo::Model& model);

/// What messages call an element of another model: the qualified name, or the model's name, a dot and the name.
ZELKOR_EXPORT tavo::String nameForMessages(const ProxiableElement& element);

/// Takes away a target that nothing refers to any more.
ZELKOR_EXPORT void destroyIfUnused(const ProxyTarget& target);

/// Lets `resolver` take over the targets that resolvers of the same URI have left behind.
ZELKOR_EXPORT void adoptLostTargets(const Resolver& resolver);

} // namespace zelkor::services::proxy
