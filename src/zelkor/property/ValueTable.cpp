#include "zelkor/property/ValueTable.impl.h"

#include "tavo/model/Transaction.h"
#include "zelkor/parameter/ParameterUsage.h"
#include "zelkor/property/PropertyUsage.h"
#include "zelkor/property/Value.impl.h"
#include "zelkor/property/ValueCopies.h"
#include "zelkor/property/ValueTableEntry.impl.h"

namespace zelkor::property {
namespace {

/// What elements without an entry read: the initial value of the usage that owns the table.
Value initialValue(const ValueTable::Impl& table) {
  if (const auto usage = table.getP_PropertyUsage())
    return usage.initialValue();
  if (const auto usage = table.getP_ParameterUsage())
    return usage.initialValue();
  return {};
}

/// The feature of an entry that holds its value.
const tavo::MetaProperty& valueOfEntry() {
  return ValueTableEntry::metaClass().at(ValueTableEntry::Impl::Index::p_Value);
}

/// What gives an entry its key.
auto keyOf(const tavo::Uuid& elemUUID) {
  return [&elemUUID](tavo::ModelElement::Impl& entry) {
    entry.storageAs<ValueTableEntry::Impl::Storage>().p_ElemUUID = elemUUID;
  };
}

/// Lets the processor fetch what making an entry is going to look for: among a million objects each of these identities
/// has its place in memory that nothing else was near to.
void foreseeEntry(const ValueTable::Impl& table, const tavo::Uuid& elemUUID) {
  const auto model = table.model();
  const auto entry =
      table.objectClass().at(ValueTable::Impl::Index::p_Entries).derivedIdentity(table.uuid(), elemUUID, 0);
  const auto value = valueOfEntry().derivedIdentity(entry, {}, 0);
  model.foresee(entry);
  model.foresee(value);
  model.foresee(Value::metaClass().at(Value::Impl::Index::valueTypeProxy).derivedIdentity(value, {}, 0));
}

/// An entry in its table, under the identity that follows from table and element unless another object has that.
ValueTableEntry addEntryFor(ValueTable::Impl& table, const tavo::Uuid& elemUUID) {
  const auto& entries = table.objectClass().at(ValueTable::Impl::Index::p_Entries);
  const auto key = keyOf(elemUUID);
  return ValueTableEntry(table.createInto(entries, ValueTableEntry::metaClass(), key, elemUUID));
}

} // namespace

ValueTable ValueTable::make(const tavo::Model& model) { return ValueTable::create(model); }

Value ValueTable::Impl::getValue(const tavo::Uuid& elemUUID) const {
  const auto entry = getP_Entries().find(elemUUID);
  return entry ? entry.getValue() : Value();
}

void ValueTable::Impl::addEntry(const tavo::Uuid& elemUUID, const tavo::String& expression, const tavo::String& unit) {
  tavo::Transaction transaction(model());
  foreseeEntry(*this, elemUUID);
  if (const auto initial = initialValue(*this)) {
    const ValueDraft draft(initial, model(), expression, unit);
    draft.createIn(addEntryFor(*this, elemUUID), valueOfEntry());
  } else {
    const Value value(
        addEntryFor(*this, elemUUID).object().createInto(valueOfEntry(), Value::metaClass(), tavo::Birth()));
    value.setExpression(expression);
    if (unit != u"*")
      value.setUnit(unit);
  }
  transaction.commit();
}

void ValueTable::Impl::addCopy(const tavo::Uuid& elemUUID, const Value& value) {
  tavo::Transaction transaction(model());
  cloneInto(addEntryFor(*this, elemUUID), valueOfEntry(), value);
  transaction.commit();
}

void ValueTable::Impl::removeEntry(const tavo::Uuid& elemUUID) {
  if (const auto entry = getP_Entries().find(elemUUID))
    entry.destroy();
}

void ValueTable::Impl::destroyAllEntries() {
  tavo::Transaction transaction(model());
  for (const auto& entry : getP_Entries().toVector())
    entry.destroy();
  transaction.commit();
}

void ValueTable::Impl::aboutToDestroy() {
  Base::aboutToDestroy();
  destroyAllEntries();
}

//----------------------------------------------------------------------------------------------------------------------
// Entries

ValueTableEntry ValueTableEntry::make(const tavo::Model& model, const tavo::Uuid& elemUUID, const Value& value) {
  tavo::Transaction transaction(model);
  const auto key = keyOf(elemUUID);
  ValueTableEntry entry(model.create(ValueTableEntry::metaClass(), {}, key).get());
  static_cast<Impl&>(entry.object()).getP_ValueMutable().add(value);
  transaction.commit();
  return entry;
}

tavo::ModelElement ValueTableEntry::Impl::getP_Element() const { return model().find(getP_ElemUUID()); }

Value ValueTableEntry::Impl::getValue() const { return getP_Value(); }

void ValueTableEntry::Impl::setValue(const tavo::String& expression, const tavo::String& units) {
  const auto value = getP_Value();
  if (units == u"*")
    return value.setExpression(expression);
  tavo::Transaction transaction(model());
  value.setExpression(expression);
  value.setUnit(units);
  transaction.commit();
}

} // namespace zelkor::property
