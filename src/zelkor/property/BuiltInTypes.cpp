#include "zelkor/property/BuiltInTypes.h"

#include "tavo/model/Transaction.h"
#include "zelkor/property/BooleanType.h"
#include "zelkor/property/FloatType.h"
#include "zelkor/property/IntegerType.h"
#include "zelkor/property/StringArrayType.h"
#include "zelkor/property/StringType.h"

#include <limits>

namespace zelkor::property {
namespace {

template <class T>
void addInteger(std::vector<ValueType>& types, const tavo::Model& model, const char16_t* name) {
  using Limits = std::numeric_limits<T>;
  // Bounds are signed, so "uint64" ends where "int64" does.
  constexpr auto highest = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
  const auto type = IntegerType::makeIntegerType(model);
  type.setName(name);
  type.setMax(static_cast<std::int64_t>(std::min<std::uint64_t>(Limits::max(), highest)));
  type.setMin(static_cast<std::int64_t>(Limits::min()));
  types.push_back(type);
}

template <class T>
void addFloat(std::vector<ValueType>& types, const tavo::Model& model, const char16_t* name) {
  const auto type = FloatType::makeFloatType(model);
  type.setName(name);
  type.setMax(static_cast<double>(std::numeric_limits<T>::max()));
  type.setMin(static_cast<double>(std::numeric_limits<T>::lowest()));
  types.push_back(type);
}

void add(std::vector<ValueType>& types, const ValueType& type, const char16_t* name) {
  type.setName(name);
  types.push_back(type);
}

} // namespace

std::vector<ValueType> createBuiltInTypes(const tavo::Model& model) {
  tavo::Transaction transaction(model);
  std::vector<ValueType> types;
  add(types, BooleanType::makeBooleanType(model), u"boolean");
  addInteger<std::int64_t>(types, model, u"int64");
  addInteger<std::int32_t>(types, model, u"int32");
  addInteger<std::int16_t>(types, model, u"int16");
  addInteger<std::int8_t>(types, model, u"int8");
  addInteger<std::uint64_t>(types, model, u"uint64");
  addInteger<std::uint32_t>(types, model, u"uint32");
  addInteger<std::uint16_t>(types, model, u"uint16");
  addInteger<std::uint8_t>(types, model, u"uint8");
  addFloat<double>(types, model, u"double");
  addFloat<float>(types, model, u"single");
  add(types, StringType::makeStringType(model), u"string");
  add(types, StringArrayType::makeStringArrayType(model), u"stringArray");
  transaction.commit();
  return types;
}

} // namespace zelkor::property
