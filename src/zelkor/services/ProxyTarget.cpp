#include "zelkor/services/ProxyTarget.impl.h"

#include "zelkor/framework/Errors.h"
#include "zelkor/services/ModelResolver.h"
#include "zelkor/services/ProxiableElement.h"

#include <new>

namespace zelkor::services::proxy {
namespace {

ProxiableElement liveElement(const tavo::ModelElement& bound) {
  return bound ? ProxiableElement(bound.get()) : ProxiableElement();
}

} // namespace

ProxiableElement ProxyTarget::Impl::resolve() const {
  if (auto element = findElement())
    return element;

  const auto resolver = getResolver();
  const tavo::String uri = resolver ? resolver.uRI() : tavo::String();
  if (resolver)
    try {
      resolver.load();
    } catch (const std::bad_alloc&) {
      throw; // says nothing about the target
    } catch (const std::exception& error) {
      raiseBecause(error, PropertyError::FailedProxyResolve, getTargetName(), uri);
    }
  auto element = findElement();
  if (!element)
    raise(PropertyError::FailedProxyResolve, getTargetName(), uri);
  return element;
}

ProxiableElement ProxyTarget::Impl::findElement() const {
  if (auto bound = liveElement(getElement()))
    return bound;
  const auto resolver = getResolver().as<ModelResolver>();
  const auto referenced = resolver ? resolver.getReferencedModel() : tavo::Model();
  auto found = referenced ? referenced.find<ProxiableElement>(getTargetId()) : ProxiableElement();
  if (found)
    ProxyTarget(handle().get()).bindTo(found); // remembered for the next time; nobody sees a difference
  return found;
}

void ProxyTarget::Impl::bindTo(const ProxiableElement& element) { setElement(element); }

void ProxyTarget::Impl::unbind() { setElement({}); }

} // namespace zelkor::services::proxy
