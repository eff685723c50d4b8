#include "zelkor/property/BuiltInTypes.h"

#include "tavo/model/Transaction.h"
#include "zelkor/property/BooleanType.h"
#include "zelkor/property/FloatType.impl.h"
#include "zelkor/property/IntegerType.impl.h"
#include "zelkor/property/StringArrayType.h"
#include "zelkor/property/StringType.h"
#include "zelkor/property/UnitQueryClientWrapper.h"

#include <limits>

namespace zelkor::property {
namespace {

class Maker {
public:
  Maker(const tavo::Model& model, const tavo::Uuid& owner) : model_(model), owner_(owner) {}

  template <class Type>
  Type add(const char* name) {
    auto uuid = owner_.is_nil() ? tavo::Uuid{} : tavo::nameUuid(owner_, name);
    if (model_.find(uuid))
      uuid = {}; // a type that has got another name since
    const auto type = Type::create(model_, uuid);
    type.setName(tavo::String::fromUtf8(name));
    types.push_back(type);
    return type;
  }

  template <class T>
  void addInteger(const char* name) {
    using Limits = std::numeric_limits<T>;
    // Bounds are signed, so "uint64" ends where "int64" does.
    constexpr auto highest = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    const auto type = addNumeric<IntegerType>(name);
    type.setMax(static_cast<std::int64_t>(std::min<std::uint64_t>(Limits::max(), highest)));
    type.setMin(static_cast<std::int64_t>(Limits::min()));
  }

  template <class T>
  void addFloat(const char* name) {
    const auto type = addNumeric<FloatType>(name);
    type.setMax(static_cast<double>(std::numeric_limits<T>::max()));
    type.setMin(static_cast<double>(std::numeric_limits<T>::lowest()));
  }

  std::vector<ValueType> types{};

private:
  template <class Type>
  Type addNumeric(const char* name) {
    const auto type = add<Type>(name);
    static_cast<typename Type::Impl&>(type.object()).setUnitChecker(UnitQueryClientWrapper::get(model_));
    return type;
  }

  const tavo::Model& model_;
  const tavo::Uuid& owner_;
};

} // namespace

std::vector<ValueType> createBuiltInTypes(const tavo::Model& model, const tavo::Uuid& owner) {
  tavo::Transaction transaction(model);
  Maker maker(model, owner);
  maker.add<BooleanType>("boolean");
  maker.addInteger<std::int64_t>("int64");
  maker.addInteger<std::int32_t>("int32");
  maker.addInteger<std::int16_t>("int16");
  maker.addInteger<std::int8_t>("int8");
  maker.addInteger<std::uint64_t>("uint64");
  maker.addInteger<std::uint32_t>("uint32");
  maker.addInteger<std::uint16_t>("uint16");
  maker.addInteger<std::uint8_t>("uint8");
  maker.addFloat<double>("double");
  maker.addFloat<float>("single");
  maker.add<StringType>("string");
  maker.add<StringArrayType>("stringArray");
  transaction.commit();
  return maker.types;
}

} // namespace zelkor::property
