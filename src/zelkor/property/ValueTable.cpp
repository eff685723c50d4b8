#include "zelkor/property/ValueTable.impl.h"

#include "tavo/model/Transaction.h"
#include "zelkor/parameter/ParameterUsage.h"
#include "zelkor/property/PropertyUsage.h"
#include "zelkor/property/Value.impl.h"
#include "zelkor/property/ValueTableEntry.impl.h"

namespace zelkor::property {
namespace {

/// What the element reads now: for one without an entry, the initial value of the usage that owns the table.
Value presentValue(const ValueTable::Impl& table, const tavo::Uuid& elemUUID) {
  bool isDefault = false;
  if (const auto usage = table.getP_PropertyUsage())
    return usage.getPropVal(elemUUID, isDefault);
  if (const auto usage = table.getP_ParameterUsage())
    return usage.getParameterVal(elemUUID, isDefault);
  return {};
}

/// The identities of an entry and its value, which follow from table and element; nil where another object has them.
struct EntryIdentities {
  EntryIdentities(const ValueTable::Impl& table, const tavo::Uuid& elemUUID)
      : entry(table.objectClass().at(ValueTable::Impl::Index::p_Entries).derivedIdentity(table.uuid(), elemUUID, 0)),
        value(ValueTableEntry::metaClass().at(ValueTableEntry::Impl::Index::p_Value).derivedIdentity(entry, {}, 0)) {
    if (table.model().find(entry))
      entry = {};
    if (table.model().find(value))
      value = {};
  }

  tavo::Uuid entry;
  tavo::Uuid value;
};

ValueTableEntry makeEntry(const tavo::Model& model, const tavo::Uuid& identity, const tavo::Uuid& elemUUID,
                          const Value& value) {
  tavo::Transaction transaction(model);
  auto entry = ValueTableEntry::create(model, identity);
  auto& object = static_cast<ValueTableEntry::Impl&>(entry.object());
  object.setP_ElemUUID(elemUUID);
  object.getP_ValueMutable().add(value);
  transaction.commit();
  return entry;
}

const Value::Impl& objectOf(const Value& value) { return static_cast<const Value::Impl&>(value.object()); }

} // namespace

ValueTable ValueTable::make(const tavo::Model& model) { return ValueTable::create(model); }

Value ValueTable::Impl::getValue(const tavo::Uuid& elemUUID) const {
  const auto entry = getP_Entries().find(elemUUID);
  return entry ? entry.getValue() : Value();
}

void ValueTable::Impl::addEntry(const tavo::Uuid& elemUUID, const tavo::String& expression, const tavo::String& unit) {
  tavo::Transaction transaction(model());
  const auto present = presentValue(*this, elemUUID);
  const EntryIdentities identities(*this, elemUUID);
  const auto value =
      present ? objectOf(present).cloneAs(model(), identities.value) : Value::create(model(), identities.value);
  value.setExpression(expression);
  if (unit != u"*")
    value.setUnit(unit);
  getP_EntriesMutable().add(makeEntry(model(), identities.entry, elemUUID, value));
  transaction.commit();
}

void ValueTable::Impl::addCopy(const tavo::Uuid& elemUUID, const Value& value) {
  tavo::Transaction transaction(model());
  const EntryIdentities identities(*this, elemUUID);
  const auto copy = objectOf(value).cloneAs(model(), identities.value);
  getP_EntriesMutable().add(makeEntry(model(), identities.entry, elemUUID, copy));
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
  return makeEntry(model, {}, elemUUID, value);
}

tavo::ModelElement ValueTableEntry::Impl::getP_Element() const { return model().find(getP_ElemUUID()); }

Value ValueTableEntry::Impl::getValue() const { return getP_Value(); }

void ValueTableEntry::Impl::setValue(const tavo::String& expression, const tavo::String& units) {
  tavo::Transaction transaction(model());
  const auto value = getP_Value();
  value.setExpression(expression);
  if (units != u"*")
    value.setUnit(units);
  transaction.commit();
}

} // namespace zelkor::property
