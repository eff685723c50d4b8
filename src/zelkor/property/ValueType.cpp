#include "zelkor/property/ValueType.impl.h"

#include "kavra/Host.h"
#include "tavo/model/Transaction.h"
#include "zelkor/clone/CopyTransaction.h"
#include "zelkor/framework/Errors.h"
#include "zelkor/framework/HostCalls.h"
#include "zelkor/property/RealType.impl.h"
#include "zelkor/property/TypeLookup.h"
#include "zelkor/property/UnitQueryClientWrapper.h"
#include "zelkor/services/Proxies.h"
#include "zelkor/services/WorkspaceWrapper.h"

#include <stdexcept>

namespace zelkor::property {
namespace {

namespace proxy = services::proxy;

tavo::String render(std::span<const std::uint64_t> dimensions) {
  std::string text = "[";
  for (const std::uint64_t extent : dimensions) {
    if (text.size() > 1)
      text += ' ';
    text += std::to_string(extent);
  }
  return tavo::String::fromUtf8(dimensions.empty() ? "[1]" : text + "]");
}

/// Whether two lists of extents agree but for extents below 2.
bool sameShape(std::span<const std::uint64_t> a, std::span<const std::uint64_t> b) {
  const auto next = [](auto& rest) -> std::uint64_t {
    while (!rest.empty()) {
      const std::uint64_t extent = rest.front();
      rest = rest.subspan(1);
      if (extent > 1)
        return extent;
    }
    return 0;
  };
  for (;;) {
    const std::uint64_t extent = next(a);
    if (extent != next(b))
      return false;
    if (extent == 0)
      return true;
  }
}

/// The extents that an object of a class unknown here reports of itself.
std::vector<std::uint64_t> opaqueExtents(const kavra::HostArray& array) {
  std::vector<std::uint64_t> extents;
  for (const double extent : callHost([&] { return kavra::host().sizeOf(array); }))
    if (extent > 1.0)
      extents.push_back(extent < 0x1p64 ? static_cast<std::uint64_t>(extent) : ~std::uint64_t{0});
  return extents;
}

[[noreturn]] void raiseCannotEval(const tavo::Model& model, const tavo::String& text) {
  const auto reason = proxy::WorkspaceWrapper::get(model).whyNot(text);
  if (reason.empty())
    raise(PropertyError::CannotEvalExpression, text);
  raiseBecause(std::runtime_error(reason), PropertyError::CannotEvalExpression, text);
}

} // namespace

bool ValueType::staticDimensionsMatch(const kavra::HostArray& array, const std::vector<std::uint64_t>& dims) {
  if (dims.empty())
    return true;
  return array.arrayClass() == kavra::ArrayClass::Opaque ? sameShape(opaqueExtents(array), dims)
                                                         : sameShape(array.dimensions(), dims);
}

std::uint64_t ValueType::Impl::getLength() const {
  std::uint64_t length = 1;
  for (const std::uint64_t extent : getDimensions())
    length *= extent;
  return length;
}

tavo::String ValueType::Impl::renderDimensionsAsString(const std::vector<std::uint64_t>& dims) const {
  return render(dims);
}

tavo::String ValueType::Impl::renderValueDimensionsAsString(const kavra::HostArray& array) const {
  return render(array.dimensions());
}

std::vector<std::uint64_t> ValueType::Impl::getNormalizedDimensions() const {
  auto normalized = getDimensions();
  std::erase_if(normalized, [](std::uint64_t extent) { return extent < 2; });
  if (normalized.empty())
    normalized.push_back(1);
  return normalized;
}

bool ValueType::Impl::dimensionsMatch(const kavra::HostArray& array) const {
  return staticDimensionsMatch(array, getDimensions());
}

ValueType ValueType::Impl::getBaseType() const { return proxy::findTarget<ValueType>(getTypeProxy()); }

tavo::String ValueType::Impl::getRootName() const { return rootOf(ValueType(handle().get())).p_Name(); }

kavra::HostArray ValueType::Impl::evalExpression(const tavo::String& text) const {
  return proxy::WorkspaceWrapper::get(model()).evalExpression(text);
}

kavra::HostArray ValueType::Impl::validateExpression(const tavo::String& text) const {
  if (text.empty())
    return {};
  auto array = evalExpression(text);
  if (!array)
    raiseCannotEval(model(), text);
  validateValue(array);
  if (!isA(RealType::metaClass()))
    return array;
  const auto& real = static_cast<const RealType::Impl&>(*this);
  return real.typeMatches(array) ? array : real.castArray(array, text);
}

void ValueType::Impl::setBaseType(const ValueType& base) {
  for (BaseTypes chain(base); chain.type() != handle();)
    if (!chain.next()) {
      proxy::referTo(handle(), at(Index::typeProxy), base);
      return;
    }
  raise(PropertyError::BaseTypeCycle, getP_Name());
}

internal::NamedElement ValueType::Impl::clone(const tavo::Model& target,
                                              const internal::clone::CloneContext& context) const {
  internal::clone::CopyTransaction transaction(target, context);
  const auto copy = target.create(objectClass()).cast<ValueType>();
  {
    // A copy is no edit: what the original holds has been checked when it came in.
    const tavo::FrameworkUpdate unchecked(target);
    for (const auto* property : objectClass().properties())
      if (property->kind() == tavo::FeatureKind::attribute)
        copy.setPropertyValue(*property, getPropertyValue(*property));
  }
  if (const auto real = copy.as<RealType>())
    static_cast<RealType::Impl&>(real.object()).setUnitChecker(UnitQueryClientWrapper::get(target));
  const auto base = proxy::findTarget<ValueType>(getTypeProxy());
  const auto copiedBase = base && context ? target.find<ValueType>(context.getTargetUUID(base.Uuid())) : ValueType();
  if (copiedBase)
    proxy::referTo(copy, at(Index::typeProxy), copiedBase);
  else
    proxy::referAs(copy, at(Index::typeProxy), getTypeProxy());
  if (context)
    context.addSourceTargetPair(uuid(), copy.Uuid());
  transaction.commit();
  return copy;
}

} // namespace zelkor::property
