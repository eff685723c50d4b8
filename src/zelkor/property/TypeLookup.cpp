#include "zelkor/property/TypeLookup.h"

#include "tavo/core/Errors.h"
#include "tavo/core/Limits.h"
#include "zelkor/framework/Errors.h"
#include "zelkor/property/Enumeration.h"
#include "zelkor/property/ValueType.impl.h"

namespace zelkor::property {

ValueType requireType(const services::proxy::ProxySource& reference) {
  if (!reference)
    return {};
  try {
    return reference.getTargetElement().as<ValueType>();
  } catch (const tavo::Error& error) {
    if (error.id() != PropertyError::FailedProxyResolve)
      throw;
    raiseBecause(error, PropertyError::UnresolvedPropertyDefinition, reference.getTargetName());
  }
}

RealType asNumeric(const ValueType& type) { return type.as<Enumeration>() ? RealType() : type.as<RealType>(); }

bool BaseTypes::next() {
  const auto proxy = static_cast<ValueType::Impl&>(type_.object()).getTypeProxy();
  auto base = proxy ? proxy.getTargetElement().as<ValueType>() : ValueType();
  if (!base)
    return false;
  if (base == passed_)
    raise(PropertyError::BaseTypeCycle, base.getName());
  if (const auto most = tavo::Limits::current().nesting; steps_ >= most) // every property goes through all of them
    raise(tavo::FrameworkError::LimitExceeded, base.getName(), "the base types of one type", most);
  if (++steps_ == renewAt_) {
    renewAt_ *= 2;
    passed_ = base;
  }
  type_ = std::move(base);
  return true;
}

ValueType rootOf(const ValueType& type) {
  BaseTypes chain(type);
  while (chain.next()) {
  }
  return chain.type();
}

ValueType baseOf(const ValueType& type) {
  BaseTypes chain(type);
  return chain.next() ? chain.type() : ValueType();
}

} // namespace zelkor::property
