#include "tavo/model/ModelElement.h"

#include "tavo/core/Errors.h"
#include "tavo/meta/Builder.h"
#include "tavo/model/ModelData.h"
#include "tavo/model/ModelElementDatatype.h"
#include "tavo/model/Transaction.h"

#include <algorithm>

namespace tavo {
namespace {

/// What may come into a feature that holds objects.
void requireFitting(const ModelElement::Impl& owner, const MetaProperty& property, const ModelElement::Impl* item) {
  if (!item || !item->isAlive())
    raise(FrameworkError::CannotAddNonExistentObject, property.name());
  if (&item->data() != &owner.data())
    raise(FrameworkError::CannotCreateCrossModelAssociation, property.name());
  if (!item->isA(*property.target()))
    raise(FrameworkError::CannotAddIncompatibleTypes, item->objectClass().name(), property.name(),
          property.target()->name());
}

/// For objects that are reached not through a handle but through themselves. What is gone may have no model any more.
void requireAlive(const ModelElement::Impl& object) {
  if (!object.isAlive())
    raise(FrameworkError::NonExistentObject, object.objectClass().name());
}

/// A feature that a new target replaces the former of.
bool isToOneReference(const MetaProperty& property) {
  return property.kind() == FeatureKind::refersOne || property.kind() == FeatureKind::container;
}

/// The objects in a value for a feature: one handle, or a vector of them.
template <class Objects>
const Objects& requireObjects(const Value& value, const MetaProperty& property) {
  if (!value.holds<Objects>())
    raise(FrameworkError::InvalidValue, value.toText(), property.name(), property.target()->name());
  return value.as<Objects>();
}

/// The item behind which something at `position` of an ordered list stands.
void* itemBefore(ItemList& list, std::size_t position) {
  if (position >= list.size())
    return list.last();
  return position == 0 ? nullptr : list.at(position - 1);
}

const PackageDecl& frameworkPackage() {
  static const ClassDecl& (*const classes[])() = {&ModelElement::declaration};
  static const PackageDecl package{.name = "tavo",
                                   .version = "1.0",
                                   .uri = "http://schema.zelkor.example/tavo/tavo/1.0",
                                   .depends = {},
                                   .namespaces = {},
                                   .datatypes = {},
                                   .classes = classes};
  return package;
}

} // namespace

// Handles

const ClassDecl& ModelElement::declaration() {
  static const ClassDecl declared{.name = "ModelElement",
                                  .qualifiedName = "tavo.ModelElement",
                                  .id = "3f1a6c1e-5d0f-3f67-9a51-8f6c6f0d8a10",
                                  .flags = ClassFlag::isAbstract,
                                  .base = nullptr,
                                  .package = &frameworkPackage,
                                  .storageSize = sizeof(Impl::Storage),
                                  .builtOn = {},
                                  .construct = nullptr,
                                  .destroyStorage = nullptr,
                                  .properties = {},
                                  .operations = {},
                                  .since = {},
                                  .doc = "The root of all model classes."};
  return declared;
}

const MetaClass& ModelElement::metaClass() {
  static const MetaClass& known = MetaRegistry::instance().require(declaration());
  return known;
}

tavo::Model ModelElement::model() const { return object().model(); }
const MetaClass& ModelElement::objectClass() const { return object().objectClass(); }
bool ModelElement::isA(const MetaClass& metaClass) const { return object().isA(metaClass); }
ModelElement ModelElement::container() const { return ModelElement(object().container()); }
ElementProxy ModelElement::elemProxy() const { return {object().uuid(), &object().objectClass()}; }
void ModelElement::destroy() const { object().doDestroy(); }

Value ModelElement::getPropertyValue(const MetaProperty& property) const { return object().getPropertyValue(property); }
void ModelElement::setPropertyValue(const MetaProperty& property, const Value& value) const {
  object().setPropertyValue(property, value);
}
bool ModelElement::hasPropertyValue(const MetaProperty& property) const { return object().hasPropertyValue(property); }

void ModelElement::raiseNonExistent() const {
  // A zombie still knows its class, a handle that never had an object knows nothing.
  raise(FrameworkError::NonExistentObject, object_ ? object_->objectClass().name() : std::string_view("ModelElement"));
}

void ModelElement::raiseBadCast(const MetaClass& wanted) const {
  raise(FrameworkError::CannotCastIncompatibleTypes, objectClass().name(), wanted.name());
}

// Objects

Model ModelElement::Impl::model() const { return Model(home_->model); }
bool ModelElement::Impl::isA(const MetaClass& metaClass) const { return objectClass().isA(metaClass); }

const MetaProperty* ModelElement::Impl::containingProperty() const {
  return container_ ? &container_->objectClass().at(containing_) : nullptr;
}

std::vector<ModelElement> ModelElement::Impl::referrers(const MetaProperty& reference) const {
  std::vector<ModelElement> found;
  for (const LoneLink* link = incoming_; link; link = link->next)
    if (&link->feature() == &reference)
      found.emplace_back(link->from);
  std::reverse(found.begin(), found.end());
  return found;
}

bool ModelElement::Impl::runsHooks() const { return data().frameworkUpdateDepth() == 0; }

const MetaProperty& ModelElement::Impl::getPropertyByIndex(PropertyIndex index) const {
  return objectClass().property(index);
}

Value ModelElement::Impl::getPropertyValue(const MetaProperty& property) const {
  if (!isA(property.owner()))
    raise(FrameworkError::NoSuchProperty, property.name(), objectClass().name());
  switch (property.kind()) {
  case FeatureKind::attribute:
  case FeatureKind::runtime:
    return Value::copyOf(*property.datatype(), field(property));
  case FeatureKind::derived:
    return property.declaration().derive(*this);
  case FeatureKind::containsOne:
  case FeatureKind::refersOne:
  case FeatureKind::container:
    return Value::of(ModelElement(one(property)));
  case FeatureKind::containsMany:
  case FeatureKind::refersMany:
    break;
  }
  std::vector<ModelElement> objects;
  if (ItemList* list = items(property)) {
    objects.reserve(list->size());
    for (std::size_t i = 0; i < list->size(); ++i)
      objects.emplace_back(list->objectAt(i));
  }
  return Value::of(std::move(objects));
}

void ModelElement::Impl::setPropertyValue(const MetaProperty& property, const Value& value) {
  requireAlive(*this);
  if (!isA(property.owner()))
    raise(FrameworkError::NoSuchProperty, property.name(), objectClass().name());
  if (!property.isWritable())
    raise(FrameworkError::CannotSetReadOnlyProperty, property.name(), objectClass().name());
  if (property.kind() != FeatureKind::runtime)
    requireWritable(property);
  const auto setter = runsHooks() ? property.declaration().set : nullptr;
  switch (property.kind()) {
  case FeatureKind::attribute:
  case FeatureKind::runtime: {
    if (!value.type() || !(*value.type() == *property.datatype()))
      raise(FrameworkError::InvalidValue, value.toText(), property.name(), property.datatype()->name);
    if (setter)
      return setter(*this, value);
    Value copy = value;
    if (property.kind() == FeatureKind::attribute)
      writeAttribute(property, copy.data());
    else
      property.datatype()->swap(field(property), copy.data());
    return;
  }
  case FeatureKind::containsOne:
  case FeatureKind::refersOne:
  case FeatureKind::container: {
    const auto& target = requireObjects<ModelElement>(value, property);
    if (target.get())
      requireFitting(*this, property, target.get());
    if (setter)
      return setter(*this, value);
    setOne(property, target.get());
    return;
  }
  case FeatureKind::containsMany:
  case FeatureKind::refersMany: {
    const auto& wanted = requireObjects<std::vector<ModelElement>>(value, property);
    Transaction transaction(model());
    if (ItemList* list = items(property))
      while (void* first = list->first())
        remove(property, list->objectOf(first));
    for (const auto& item : wanted)
      add(property, item.get());
    transaction.commit();
    return;
  }
  case FeatureKind::derived:
    return;
  }
}

bool ModelElement::Impl::hasPropertyValue(const MetaProperty& property) const {
  if (!isA(property.owner()))
    raise(FrameworkError::NoSuchProperty, property.name(), objectClass().name());
  switch (property.kind()) {
  case FeatureKind::attribute:
  case FeatureKind::runtime:
    return !property.isDefault(field(property));
  case FeatureKind::derived:
    return !getPropertyValue(property).isEmpty();
  case FeatureKind::containsOne:
  case FeatureKind::refersOne:
  case FeatureKind::container:
    return one(property) != nullptr;
  case FeatureKind::containsMany:
  case FeatureKind::refersMany:
    return items(property) && items(property)->size() > 0;
  }
  return false;
}

Value ModelElement::Impl::getOldValue(const MetaProperty& property) const {
  if (property.kind() == FeatureKind::attribute && data().log().hasOpenStep()) {
    const Record* found = nullptr;
    data().log().current()->forEach([&](Record& record) {
      if (!found && record.kind == Record::Kind::attribute && record.object == this &&
          record.property == property.index())
        found = &record;
    });
    if (found)
      return Value::copyOf(*property.datatype(), found->value);
  }
  return getPropertyValue(property);
}

void ModelElement::Impl::requireWritable(const MetaProperty& property) const {
  requireAlive(*this);
  data().requireWritable();
  if (isProxy())
    raise(FrameworkError::CannotModifyProxy, objectClass().name(), property.name());
}

void ModelElement::Impl::writeAttribute(const MetaProperty& property, void* value) {
  requireAlive(*this);
  data().writeAttribute(*this, property, value);
}

ModelElement::Impl* ModelElement::Impl::one(const MetaProperty& property) const {
  switch (property.kind()) {
  case FeatureKind::containsOne:
    return *static_cast<const ChildField*>(field(property));
  case FeatureKind::refersOne: {
    const Link* link = *static_cast<const LinkField*>(field(property));
    return link ? link->target : nullptr;
  }
  case FeatureKind::container:
    return container_ && containingProperty() == property.opposite() ? container_ : nullptr;
  default:
    return nullptr;
  }
}

ItemList* ModelElement::Impl::items(const MetaProperty& property) const {
  return static_cast<const ListField*>(field(property))->list;
}

void ModelElement::Impl::setOne(const MetaProperty& property, Impl* target) {
  requireWritable(property);
  Impl* present = one(property);
  if (present == target)
    return;
  if (target)
    requireFitting(*this, property, target);
  switch (property.kind()) {
  case FeatureKind::container:
    if (target)
      target->add(*property.opposite(), this);
    else
      present->remove(*property.opposite(), this);
    return;
  case FeatureKind::containsOne:
    if (target)
      add(property, target);
    else
      remove(property, present);
    return;
  default: {
    Link* former = *static_cast<LinkField*>(field(property));
    if (!former)
      return data().link(*this, property, *target, ModelData::atTheEnd);
    Transaction transaction(model());
    data().unlink(*former);
    if (target)
      data().link(*this, property, *target, ModelData::atTheEnd);
    transaction.commit();
  }
  }
}

void ModelElement::Impl::add(const MetaProperty& property, Impl* item, std::size_t position) {
  requireWritable(property);
  requireFitting(*this, property, item);
  if (isToOneReference(property))
    return setOne(property, item);
  if (property.isReference()) {
    ItemList* list = items(property);
    data().link(*this, property, *item, list ? itemBefore(*list, position) : nullptr);
    return;
  }
  if (item->isProxy())
    raise(FrameworkError::CannotModifyProxy, item->objectClass().name(), property.name());
  if (item == this)
    raise(FrameworkError::ContainmentCycle, property.name(), item->objectClass().name());
  if (item->container_ || (property.kind() == FeatureKind::containsOne && one(property)))
    raise(FrameworkError::CannotAddSecondObject, property.name(), item->objectClass().name());
  // Only what has contents can contain this: so building a deep tree from above does not climb it each time.
  for (const Impl* above = item->hasContents() ? this : nullptr; above; above = above->container_)
    if (above == item)
      raise(FrameworkError::ContainmentCycle, property.name(), item->objectClass().name());
  void* previous = nullptr;
  if (property.kind() == FeatureKind::containsMany)
    if (ItemList* list = items(property))
      previous = itemBefore(*list, position);
  data().attach(*item, this, &property, static_cast<Impl*>(previous));
}

void ModelElement::Impl::remove(const MetaProperty& property, Impl* item) {
  requireWritable(property);
  if (!item || !item->isAlive() || !item->isA(*property.target()))
    return;
  if (isToOneReference(property)) {
    if (one(property) == item)
      setOne(property, nullptr);
    return;
  }
  if (property.isReference()) {
    ItemList* list = items(property);
    if (void* link = list ? list->find(*item) : nullptr)
      data().unlink(*static_cast<Link*>(link));
    return;
  }
  if (item->container_ == this && item->containing_ == property.index())
    data().attach(*item, nullptr, nullptr, static_cast<Impl*>(data().topLevel().last()));
}

bool ModelElement::Impl::hasContents() const {
  for (const MetaProperty* property : objectClass().containments())
    if (property->isMany() ? items(*property) && items(*property)->size() > 0 : one(*property) != nullptr)
      return true;
  return false;
}

void ModelElement::Impl::replace(const MetaProperty& property, Impl* child) {
  requireWritable(property);
  Impl* present = one(property);
  if (present == child)
    return;
  Transaction transaction(model());
  if (present)
    present->doDestroy();
  add(property, child);
  transaction.commit();
}

ModelElement::Impl* ModelElement::Impl::createInto(const MetaProperty& property, const BuilderImpl& builder,
                                                   const tavo::Uuid& uuid) {
  const MetaClass& metaClass = builder.metaClass();
  Transaction transaction(model());
  const auto values = [&](Impl& object) { builder.writeValues(object); };
  // The key of a child of a map is in the builder; whoever wants the identity that follows from it gives that.
  const bool isDerived = uuid.is_nil() && !property.key(0);
  requireRoomFor(property, metaClass);
  const auto identity =
      isDerived ? WantedIdentity::followingFrom(placeIdentity(property, metaClass, {})) : WantedIdentity(uuid);
  const ModelElement made(data().create(metaClass, identity, this, &property, false, values));
  builder.applyTo(made.object());
  made.object().cascadeCreation(builder);
  transaction.commit();
  return &made.object(); // a listener may have destroyed what has just been made
}

ModelElement::Impl* ModelElement::Impl::createInto(const MetaProperty& property, const MetaClass& metaClass,
                                                   const Birth& birth, const tavo::Uuid& key) {
  requireRoomFor(property, metaClass);
  const auto identity = WantedIdentity::followingFrom(placeIdentity(property, metaClass, key));
  return data().create(metaClass, identity, this, &property, false, birth);
}

void ModelElement::Impl::requireRoomFor(const MetaProperty& property, const MetaClass& metaClass) const {
  requireWritable(property);
  if (!metaClass.isA(*property.target()))
    raise(FrameworkError::CannotAddIncompatibleTypes, metaClass.name(), property.name(), property.target()->name());
  if (property.kind() == FeatureKind::containsOne && one(property))
    raise(FrameworkError::CannotAddSecondObject, property.name(), metaClass.name());
}

Uuid ModelElement::Impl::placeIdentity(const MetaProperty& property, const MetaClass& metaClass,
                                       const tavo::Uuid& key) const {
  if (!property.givesIdentityTo(metaClass))
    return {};
  const ItemList* siblings = property.isMany() ? items(property) : nullptr;
  return property.derivedIdentity(uuid_, key, siblings ? siblings->size() : 0);
}

void ModelElement::Impl::doDestroy(bool withHooks, bool withContents) {
  requireAlive(*this);
  data().destroyTree(*this, withHooks, withContents);
}

void ModelElement::Impl::disassociateIncoming() {
  Transaction transaction(model());
  data().clearReferencesTo(*this);
  transaction.commit();
}

void ModelElement::Impl::basicDisassociateAll() {
  Transaction transaction(model());
  data().clearReferences(*this);
  transaction.commit();
}

void ModelElement::Impl::inverseAdd(Impl& element, const MetaProperty& property) { add(property, &element); }

void ModelElement::Impl::inverseRemove(Impl& element, const MetaProperty& property) { remove(property, &element); }

bool ModelElement::Impl::inverseContainsProxyTo(const Impl& element, const MetaProperty& property) const {
  if (!property.isMany() || !items(property))
    return false;
  ItemList& list = *items(property);
  for (void* item = list.first(); item; item = list.nextOf(item))
    if (list.objectOf(item)->isProxy() && list.objectOf(item)->uuid() == element.uuid())
      return true;
  return false;
}

void ModelElement::Impl::cascadeCreation(const BuilderImpl& builder) { builder.createContents(*this); }

} // namespace tavo
