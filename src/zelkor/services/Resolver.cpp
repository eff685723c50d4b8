#include "zelkor/services/Resolver.impl.h"

#include "tavo/model/Transaction.h"
#include "zelkor/services/Proxies.h"

namespace zelkor::services::proxy {

ProxyTarget Resolver::Impl::createProxyTarget(const ProxiableElement& element) {
  auto target = findProxyTarget(element.Uuid());
  if (!target) {
    tavo::Transaction transaction(model());
    adoptLostTargets(This());
    target = createTarget(This(), element.Uuid(), element.objectClass().id(), nameForMessages(element));
    transaction.commit();
  }
  return target;
}

ProxyTarget Resolver::Impl::findProxyTarget(const tavo::Uuid& targetId) const { return getProxies().find(targetId); }

} // namespace zelkor::services::proxy
