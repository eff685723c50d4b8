#include "zelkor/property/TypeCatalog.impl.h"

#include "kavra/Literals.h"
#include "tavo/model/Transaction.h"
#include "zelkor/property/BooleanType.h"
#include "zelkor/property/BuiltInTypes.h"
#include "zelkor/property/FloatType.h"
#include "zelkor/property/IntegerType.h"
#include "zelkor/property/StringType.h"
#include "zelkor/property/ValueTypeDescriptor.h"

namespace zelkor::property {
namespace {

tavo::String describe(const ValueType& type) {
  if (type.as<BooleanType>())
    return u"true or false";
  if (type.as<IntegerType>())
    return tavo::concat(u"whole numbers, held as ", type.getName());
  if (type.as<FloatType>())
    return tavo::concat(u"floating-point numbers, held as ", type.getName());
  if (type.as<StringType>())
    return u"text";
  return u"a list of names";
}

ValueTypeDescriptor makeDescriptor(const tavo::Model& model, const ValueType& type) {
  const auto descriptor = ValueTypeDescriptor::make(model);
  descriptor.setName(type.getName());
  descriptor.setDataType(type.getName());
  descriptor.setDimensions(type.renderDimensionsAsString(type.dimensions()));
  descriptor.setDescription(describe(type));
  if (const auto integer = type.as<IntegerType>()) {
    descriptor.setComplexity(u"real");
    descriptor.setMinimum(tavo::String::fromUtf8(std::to_string(integer.getMinValue().value_or(0))));
    descriptor.setMaximum(tavo::String::fromUtf8(std::to_string(integer.getMaxValue().value_or(0))));
  }
  if (const auto real = type.as<FloatType>()) {
    descriptor.setComplexity(u"real");
    descriptor.setMinimum(tavo::String::fromUtf8(kavra::shortestLiteral(real.getMinValue().value_or(0))));
    descriptor.setMaximum(tavo::String::fromUtf8(kavra::shortestLiteral(real.getMaxValue().value_or(0))));
  }
  return descriptor;
}

} // namespace

TypeCatalog TypeCatalog::createTypeCatalog(const tavo::Model& model) {
  tavo::Transaction transaction(model);
  auto catalog = TypeCatalog::create(model);
  catalog.initialize();
  transaction.commit();
  return catalog;
}

TypeCatalog TypeCatalog::getCatalog(const tavo::Model& model) {
  return model ? model.findTopLevel<TypeCatalog>() : TypeCatalog();
}

std::vector<ValueType> TypeCatalog::Impl::getValueTypes() const { return getP_valueType().toVector(); }

ValueTypeDescriptor TypeCatalog::Impl::getBuiltInValueTypeDescriptor(const tavo::String& name) const {
  return getP_BuiltInValueTypes().find(name);
}

void TypeCatalog::Impl::initialize() {
  tavo::Transaction transaction(model());
  for (const auto& type : createBuiltInTypes(model()))
    getP_valueTypeMutable().add(type);
  for (const auto& type : getValueTypes())
    getP_BuiltInValueTypesMutable().add(makeDescriptor(model(), type));
  transaction.commit();
}

} // namespace zelkor::property
