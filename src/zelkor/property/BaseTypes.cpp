#include "zelkor/property/BaseTypes.h"

#include "zelkor/framework/Errors.h"
#include "zelkor/property/ValueType.impl.h"
#include "zelkor/services/ProxySource.h"

namespace zelkor::property {

bool BaseTypes::next() {
  const auto proxy = static_cast<ValueType::Impl&>(type_.object()).getTypeProxy();
  auto base = proxy ? proxy.getTargetElement().as<ValueType>() : ValueType();
  if (!base)
    return false;
  if (base == passed_)
    raise(PropertyError::BaseTypeCycle, base.getName());
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

kavra::ArrayClass rootClass(const ValueType& type, bool (*accepts)(kavra::ArrayClass), kavra::ArrayClass otherwise) {
  const auto root = rootOf(type);
  const auto named = kavra::classNamed(root.p_Name());
  return named && accepts(*named) ? *named : otherwise;
}

} // namespace zelkor::property
