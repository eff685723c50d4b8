#include "zelkor/services/ProxySource.impl.h"

#include "tavo/model/Transaction.h"
#include "zelkor/services/ProxiableElement.h"
#include "zelkor/services/Proxies.h"
#include "zelkor/services/ProxyTarget.impl.h"
#include "zelkor/services/Resolver.h"

namespace zelkor::services::proxy {

ProxySource ProxySource::createProxySource(const ProxiableElement& target, const tavo::ModelElement& owner,
                                           const Resolver& resolver, bool bindNow) {
  tavo::Transaction transaction(owner.model());
  const auto proxyTarget = resolver.createProxyTarget(target);
  auto source = ProxySource::create(owner.model());
  static_cast<Impl&>(source.object()).setTarget(proxyTarget);
  if (bindNow)
    proxyTarget.bindTo(target);
  transaction.commit();
  return source;
}

ProxiableElement ProxySource::Impl::getTargetElement() const {
  const auto* target = static_cast<ProxyTarget::Impl*>(tavo::targetOf(storage().target));
  if (!target)
    return {};
  // Mostly it is bound: then no handle of the target is needed to get at it.
  const auto& bound = target->getElement();
  return bound ? ProxiableElement(bound.get()) : target->resolve();
}

ProxiableElement ProxySource::Impl::findTargetElement() const {
  const auto target = getTarget();
  return target ? target.findElement() : ProxiableElement();
}

bool ProxySource::Impl::pointsTo(const ProxiableElement& element) const {
  const auto target = getTarget();
  return target && element && target.targetId() == element.Uuid();
}

Resolver ProxySource::Impl::getResolver() const {
  const auto target = getTarget();
  return target ? target.resolver() : Resolver();
}

tavo::String ProxySource::Impl::getTargetName() const {
  const auto target = getTarget();
  return target ? target.targetName() : tavo::String();
}

void ProxySource::Impl::aboutToDestroy() {
  Base::aboutToDestroy();
  // A target lives as long as something refers to it, wherever that is destroyed.
  const auto target = getTarget();
  setTarget({});
  destroyIfUnused(target);
}

} // namespace zelkor::services::proxy
