#include "kavra/EnumerationClass.h"
#include "kavra/Text.h"
#include "kavra/standalone/Conversion.h"
#include "kavra/standalone/Functions.h"

namespace kavra::standalone {
namespace {

template <ArrayClass To>
HostArray conversion(const Call& call) {
  return convert(call.budget, call[0], To);
}

HostArray classOfArray(const Call& call) {
  auto& array = call[0];
  if (array.arrayClass() == ArrayClass::Enumeration)
    return HostArray::chars(array.enumerationClass().name());
  if (array.arrayClass() == ArrayClass::Opaque)
    return HostArray::chars(array.opaqueClassName());
  return HostArray::chars(fromAscii(className(array.arrayClass())));
}

HostArray sameText(const Call& call) {
  auto a = call[0].asText(), b = call[1].asText();
  return HostArray::scalar(a && b && *a == *b);
}

constexpr FunctionEntry entries[] = {
    {u"double", 1, 1, conversion<ArrayClass::Double>},
    {u"single", 1, 1, conversion<ArrayClass::Single>},
    {u"int8", 1, 1, conversion<ArrayClass::Int8>},
    {u"uint8", 1, 1, conversion<ArrayClass::Uint8>},
    {u"int16", 1, 1, conversion<ArrayClass::Int16>},
    {u"uint16", 1, 1, conversion<ArrayClass::Uint16>},
    {u"int32", 1, 1, conversion<ArrayClass::Int32>},
    {u"uint32", 1, 1, conversion<ArrayClass::Uint32>},
    {u"int64", 1, 1, conversion<ArrayClass::Int64>},
    {u"uint64", 1, 1, conversion<ArrayClass::Uint64>},
    {u"logical", 1, 1, conversion<ArrayClass::Logical>},
    {u"char", 1, 1, conversion<ArrayClass::Char>},
    {u"string", 1, 1, conversion<ArrayClass::String>},
    {u"class", 1, 1, classOfArray},
    {u"strcmp", 2, 2, sameText},
};

} // namespace

std::span<const FunctionEntry> conversionFunctions() { return entries; }

} // namespace kavra::standalone
