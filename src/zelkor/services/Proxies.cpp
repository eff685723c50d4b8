#include "zelkor/services/Proxies.h"

#include "tavo/meta/Builder.h"
#include "tavo/model/Transaction.h"
#include "zelkor/framework/Errors.h"
#include "zelkor/framework/NamedElement.h"
#include "zelkor/services/CurrentModelResolver.h"
#include "zelkor/services/LostModelResolver.h"
#include "zelkor/services/ModelIdentifier.h"
#include "zelkor/services/ModelResolvers.h"
#include "zelkor/services/ProxySource.impl.h"
#include "zelkor/services/ProxyTarget.builder.h"
#include "zelkor/services/ProxyTarget.impl.h"
#include "zelkor/services/Resolver.impl.h"

namespace zelkor::services::proxy {
namespace {

/// The resolver by which elements of `model` reach the model of `target`.
ModelResolver resolverFor(const tavo::Model& model, const ProxiableElement& target) {
  const tavo::Model home = target.model();
  if (home == model)
    return CurrentModelResolver::createResolver(model);
  if (const auto identifier = ModelIdentifier::getModelIdentifier(home))
    if (auto resolver = identifier.createResolver(model))
      return resolver;
  raise(PropertyError::ModelCannotBeReferred, nameForMessages(target));
}

ProxyTarget targetFor(const tavo::Model& model, const ProxiableElement& element) {
  return resolverFor(model, element).createProxyTarget(element);
}

/// The target by which elements of `model` reach what `known` stands for, whether or not that can be had.
ProxyTarget targetLike(const tavo::Model& model, const ProxyTarget& known) {
  // The common case, and the reason for targets of their own: nothing has to be looked for.
  if (model == known.model())
    return known;
  if (const auto element = known.findElement())
    return targetFor(model, element);
  const auto there = known.resolver();
  Resolver here;
  if (!there.uRI().empty())
    here = findResolver(model, there.objectClass(), there.uRI());
  if (!here)
    here = LostModelResolver::createResolver(model, there.uRI());
  const auto& object = static_cast<ProxyTarget::Impl&>(known.object());
  return createTarget(here, object.getTargetId(), object.getTargetClassId(), object.getTargetName());
}

ProxySource sourceIn(const tavo::ModelElement& owner, const tavo::MetaProperty& feature) {
  return ProxySource(owner.object().one(feature));
}

void createSource(const tavo::ModelElement& owner, const tavo::MetaProperty& feature, const ProxyTarget& target) {
  auto* source = owner.object().createInto(feature, ProxySource::metaClass(), tavo::Birth());
  static_cast<ProxySource::Impl&>(*source).setTarget(target);
}

void put(const tavo::ModelElement& owner, const tavo::MetaProperty& feature, const ProxyTarget& target) {
  if (const auto former = sourceIn(owner, feature)) {
    if (former.target() == target)
      return;
    former.destroy();
  }
  createSource(owner, feature, target);
}

} // namespace

void referTo(const tavo::ModelElement& owner, const tavo::MetaProperty& feature, const ProxiableElement& target) {
  const auto present = sourceIn(owner, feature);
  if (present && present.pointsTo(target))
    return;

  tavo::Transaction transaction(owner.model());
  put(owner, feature, targetFor(owner.model(), target));
  transaction.commit();
}

void referToNothing(const tavo::ModelElement& owner, const tavo::MetaProperty& feature) {
  if (const auto source = sourceIn(owner, feature))
    source.destroy();
}

void referAs(const tavo::ModelElement& owner, const tavo::MetaProperty& feature, const ProxySource& source) {
  const auto target = source ? source.target() : ProxyTarget();
  if (!target)
    return;
  tavo::Transaction transaction(owner.model());
  put(owner, feature, targetLike(owner.model(), target));
  transaction.commit();
}

void referTo(const ProxySource& source, const ProxiableElement& target) {
  tavo::Transaction transaction(source.model());
  static_cast<ProxySource::Impl&>(source.object()).setTarget(targetFor(source.model(), target));
  transaction.commit();
}

void referAs(const ProxySource& copy, const ProxySource& source) {
  const auto target = source.target();
  if (!target)
    return;
  tavo::Transaction transaction(copy.model());
  static_cast<ProxySource::Impl&>(copy.object()).setTarget(targetLike(copy.model(), target));
  transaction.commit();
}

void addReference(const tavo::ModelElement& owner, const tavo::MetaProperty& feature, const ProxiableElement& target,
                  const Resolver& resolver) {
  tavo::Transaction transaction(owner.model());
  const auto proxyTarget = resolver.createProxyTarget(target);
  createSource(owner, feature, proxyTarget);
  proxyTarget.bindTo(target);
  transaction.commit();
}

void addReference(const tavo::ModelElement& owner, const tavo::MetaProperty& feature, const ProxySource& source) {
  const auto target = source.target();
  if (!target)
    return;
  tavo::Transaction transaction(owner.model());
  createSource(owner, feature, targetLike(owner.model(), target));
  transaction.commit();
}

ProxiableElement findTarget(const ProxySource& source) {
  if (!source)
    return {};
  try {
    return source.getTargetElement();
  } catch (const tavo::Error& error) {
    // Whoever follows a reference to something missing sees nothing there; what is stored stays.
    if (error.id() != PropertyError::FailedProxyResolve)
      throw;
    return {};
  }
}

tavo::Uuid targetIdOf(const ProxySource& source) {
  const auto target = source ? source.target() : ProxyTarget();
  return target ? target.targetId() : tavo::Uuid{};
}

ProxyTarget createTarget(const Resolver& resolver, const tavo::Uuid& targetId, const tavo::Uuid& targetClassId,
                         const tavo::String& targetName) {
  if (auto known = resolver.findProxyTarget(targetId))
    return known;
  ProxyTarget::Impl::BuilderImpl builder(ProxyTarget::metaClass());
  builder.doSetTargetId(targetId);
  builder.doSetTargetClassId(targetClassId);
  builder.doSetTargetName(targetName);
  const auto& proxies = resolver.objectClass().at(Resolver::Impl::Index::proxies);
  return ProxyTarget(resolver.object().createInto(proxies, builder));
}

tavo::String nameForMessages(const tavo::Model& model) {
  const auto identifier = ModelIdentifier::getModelIdentifier(model);
  return identifier ? identifier.uRI() : model.name();
}

tavo::String nameForMessages(const ProxiableElement& element) {
  if (const auto* qualified = element.objectClass().findProperty("fullyQualifiedName"))
    return element.getPropertyValue(*qualified).as<tavo::String>();
  const auto named = element.as<internal::NamedElement>();
  const tavo::String name = named ? named.getName() : tavo::errorArgument(element.objectClass().name());
  const auto identifier = ModelIdentifier::getModelIdentifier(element.model());
  return identifier && !identifier.uRI().empty() ? tavo::concat(identifier.uRI(), u".", name) : name;
}

void destroyIfUnused(const ProxyTarget& target) {
  if (!target || target.object().isReferredTo())
    return;
  const auto resolver = target.resolver();
  target.destroy();
  if (resolver && resolver.isA(LostModelResolver::metaClass()) && resolver.proxies().empty())
    resolver.destroy();
}

void adoptLostTargets(const Resolver& resolver) {
  if (resolver.isA(LostModelResolver::metaClass()) || resolver.uRI().empty())
    return;
  const auto lost = findResolver<LostModelResolver>(resolver.model(), resolver.uRI());
  if (!lost)
    return;

  tavo::Transaction transaction(resolver.model());
  const auto& proxies = resolver.objectClass().at(Resolver::Impl::Index::proxies);
  for (const auto& target : lost.proxies().toVector())
    if (!resolver.findProxyTarget(target.targetId())) {
      lost.object().remove(proxies, target.get());
      resolver.object().add(proxies, target.get());
      target.unbind();
    }
  if (lost.proxies().empty())
    lost.destroy();
  transaction.commit();
}

} // namespace zelkor::services::proxy
