#include "zelkor/property/Value.impl.h"

#include "kavra/Host.h"
#include "tavo/model/Transaction.h"
#include "zelkor/framework/Errors.h"
#include "zelkor/property/Enumeration.h"
#include "zelkor/property/TypeLookup.h"
#include "zelkor/property/UnitQueryClientWrapper.h"
#include "zelkor/property/ValueCopies.h"
#include "zelkor/property/ValueType.h"
#include "zelkor/services/Proxies.h"

namespace zelkor::property {
namespace {

namespace proxy = services::proxy;

/// Whether the array is what the type would make of its text again. Enumerations may have changed meanwhile, and
/// singles are rounded after they have been checked, so their texts are always read anew.
bool isStillValid(const kavra::HostArray& array, const ValueType& type) {
  if (!array || array.arrayClass() == kavra::ArrayClass::Single || type.as<Enumeration>())
    return false;
  if (const auto real = type.as<RealType>(); real && !real.typeMatches(array))
    return false;
  try {
    type.validateValue(array);
    return true;
  } catch (const tavo::Error&) {
    // The text decides, with its own error.
    return false;
  }
}

/// A copy of a value in the model `home`, where `create` makes an object that is born with what it is given.
template <class Create>
Value copyOf(const Value::Impl& source, const tavo::Model& home, const Create& create) {
  tavo::Transaction transaction(home); // a copy that fails leaves nothing behind
  const auto type = source.getType();
  // Without its type a text cannot be checked, and is no reason to lose it; with an array that is still good, it need
  // not be evaluated again.
  const bool asItIs = !type || isStillValid(source.getCachedValue(), type);
  const auto textAndArray = [&](tavo::ModelElement::Impl& object) {
    if (!asItIs)
      return;
    auto& storage = object.storageAs<Value::Impl::Storage>();
    storage.cachedValue = source.getCachedValue();
    storage.storedExpression = source.getStoredExpression();
  };
  const Value copy(create(textAndArray));
  proxy::referAs(copy, source.objectClass().at(Value::Impl::Index::valueTypeProxy), source.getValueTypeProxy());
  if (!asItIs)
    try {
      copy.setExpression(source.getStoredExpression());
    } catch (const tavo::Error& error) {
      // A literal that has left its enumeration must not fail the copy of a whole model.
      if (error.id() != PropertyError::InvalidEnumPropValue)
        throw;
      copy.setExpression(type.makeDefaultExpression());
    }
  if (type) {
    copy.setUnits(source.getUnits());
  } else {
    const tavo::FrameworkUpdate unchecked(home);
    copy.setUnits(source.getUnits());
  }
  transaction.commit();
  return copy;
}

} // namespace

Value Value::make(const tavo::Model& model, const ValueType& type) {
  tavo::Transaction transaction(model);
  auto value = Value::create(model);
  value.initFromType(type);
  transaction.commit();
  return value;
}

bool Value::Impl::hasValue() const { return !getStoredExpression().empty(); }

ValueType Value::Impl::getType() const { return proxy::findTarget<ValueType>(getValueTypeProxy()); }

tavo::String Value::Impl::getExpression() const {
  if (hasValue())
    return getStoredExpression();
  const auto type = getType();
  return type ? type.makeDefaultExpression() : tavo::String();
}

kavra::HostArray Value::Impl::getValueIfExists() {
  if (getCachedValue() || !hasValue())
    return getCachedValue();
  const auto type = getType();
  // The array is only a shadow of the text: to look at it is no change, so nothing is logged and nobody hears of it.
  if (type)
    storage().cachedValue = type.validateExpression(getStoredExpression());
  return getCachedValue();
}

kavra::HostArray Value::Impl::castValue(const RealType& type) const {
  return getCachedValue() ? type.castArray(getCachedValue(), {}) : kavra::HostArray();
}

bool Value::Impl::typeMatches(const RealType& type) const {
  return !getCachedValue() || type.typeMatches(getCachedValue());
}

bool Value::Impl::dimensionsMatch(const RealType& type) const {
  return !getCachedValue() || type.dimensionsMatch(getCachedValue());
}

void Value::Impl::setExpression(const tavo::String& text) {
  // Evaluation comes before any write, so a text that the type refuses changes nothing.
  kavra::HostArray array = getCachedValue();
  if (text.empty()) {
    array = {};
  } else {
    const auto type = requireType(getValueTypeProxy());
    if (!type)
      raise(PropertyError::ValueHasNoType, text);
    if (kavra::isHostAvailable())
      array = type.validateExpression(text);
  }
  // Setting the text that is there already says nothing new; that its array was not known yet is no change.
  if (text == getStoredExpression() && !getCachedValue() && !isProxy()) {
    storage().cachedValue = std::move(array);
    return;
  }

  tavo::Transaction transaction(model());
  setCachedValue(array);
  setStoredExpression(text);
  transaction.commit();
}

void Value::Impl::setUnit(const tavo::String& units) { setUnits(units); }

void Value::Impl::setType(const ValueType& type) {
  if (const auto present = getValueTypeProxy(); present && present.pointsTo(type))
    return;
  tavo::Transaction transaction(model());
  if (hasValue() && !getCachedValue()) {
    // An array that is evaluated later belongs to the new type. Writing one and taking it back makes the log remember
    // that there was none, so that undo does not leave that array with the former type.
    setCachedValue(kavra::HostArray::scalar(0.0));
    setCachedValue({});
  }
  proxy::referTo(handle(), at(Index::valueTypeProxy), type);
  transaction.commit();
}

void Value::Impl::initFromType(const ValueType& type) {
  tavo::Transaction transaction(model());
  setType(type);
  setCachedValue({});
  const auto numeric = asNumeric(type);
  setUnits(numeric ? numeric.units() : tavo::String());
  transaction.commit();
}

void Value::Impl::initializeFrom(const Value& other) {
  const auto type = getType();
  const auto otherType = other.getType();
  if (!type || !otherType || !type.isA(otherType.objectClass()))
    raise(PropertyError::InitFromValueMismatch);

  tavo::Transaction transaction(model());
  setExpression(other.storedExpression());
  setUnits(other.units());
  transaction.commit();
}

void Value::Impl::aboutToSetUnits(const tavo::String& units) {
  if (units.empty() || model().frameworkUpdateDepth() > 0)
    return;
  const auto numeric = asNumeric(requireType(getValueTypeProxy()));
  if (!numeric)
    raise(PropertyError::CantHaveUnit);
  if (numeric.units().empty())
    raise(PropertyError::TypeDoesntHaveUnit);
  if (const auto checker = numeric.unitChecker())
    checker.checkCompatible(units, numeric.units());
}

Value Value::Impl::clone(const tavo::Model& target) const {
  return copyOf(*this, target,
                [&](const tavo::Birth& birth) { return target.create(Value::metaClass(), {}, birth).get(); });
}

//----------------------------------------------------------------------------------------------------------------------
// Copies elsewhere

Value cloneInto(const tavo::ModelElement& owner, const tavo::MetaProperty& feature, const Value& value) {
  return copyOf(static_cast<Value::Impl&>(value.object()), owner.model(), [&](const tavo::Birth& birth) {
    return owner.object().createInto(feature, Value::metaClass(), birth);
  });
}

ValueDraft::ValueDraft(const Value& original, const tavo::Model& home, const tavo::String& expression,
                       const tavo::String& units)
    : original_(original), expression_(expression), units_(units) {
  auto& object = static_cast<Value::Impl&>(original.object());
  const auto type = object.getType();
  // In its own model the copy is checked as the original would be, whose text has to be good still.
  if (!type || original.model() != home || !object.runsHooks() || !isStillValid(object.getCachedValue(), type))
    return;
  object.aboutToSetUnits(object.getUnits());
  if (!expression.empty())
    array_ = kavra::isHostAvailable() ? type.validateExpression(expression) : object.getCachedValue();
  if (units == u"*")
    units_ = object.getUnits();
  else
    object.aboutToSetUnits(units);
  isComplete_ = true;
}

Value ValueDraft::createIn(const tavo::ModelElement& owner, const tavo::MetaProperty& feature) const {
  if (!isComplete_) {
    auto value = cloneInto(owner, feature, original_);
    value.setExpression(expression_);
    if (units_ != u"*")
      value.setUnit(units_);
    return value;
  }
  const auto content = [this](tavo::ModelElement::Impl& object) {
    auto& storage = object.storageAs<Value::Impl::Storage>();
    storage.cachedValue = array_;
    storage.storedExpression = expression_;
    storage.units = units_;
  };
  Value value(owner.object().createInto(feature, Value::metaClass(), content));
  proxy::referAs(value, value.objectClass().at(Value::Impl::Index::valueTypeProxy), original_.valueTypeProxy());
  return value;
}

} // namespace zelkor::property
