// The changes of a model: each checks, reserves, records and applies, in this order.
#include "tavo/model/ModelData.h"

#include "tavo/core/Errors.h"
#include "tavo/model/FeatureFields.h"

#include <boost/container/small_vector.hpp>

#include <cassert>

namespace tavo {

using Impl = ModelElement::Impl;

namespace {

String keyText(const MetaProperty& key, const void* value) { return errorArgument(valueText(*key.datatype(), value)); }

} // namespace

void ModelData::requireFree(const ItemList& list, const Impl& object) {
  const MetaProperty* property = list.property();
  if (!property)
    return;
  if (property->key(0) && !object.isProxy()) {
    for (std::size_t which = 0; which < 2; ++which)
      if (const MetaProperty* key = property->key(which); key && list.findKey(which, object.field(*key)))
        raise(FrameworkError::UniquenessConstraint, property->name(), keyText(*key, object.field(*key)));
    return;
  }
  const bool unique = property->key(0) || property->collection() == CollectionKind::set || property->opposite();
  if (property->isReference() && unique && list.find(object))
    raise(FrameworkError::UniquenessConstraint, property->name(), toText(object.uuid()));
}

void ModelData::requireChangeable() const {
  requireWritable();
  if (recording_ == Recording::silent)
    raise(FrameworkError::ChangeMustBeRecorded);
}

ItemList& ModelData::listFor(Impl& owner, const MetaProperty& property) {
  ListField& field = listField(owner, property);
  if (!field.list)
    field.list = lists_.create(&property);
  return *field.list;
}

Placement ModelData::makeRoom(Impl* container, const MetaProperty* property) {
  Placement place{container, nullptr, property ? property->index() : PropertyIndex(0), true};
  if (container && !property->isMany())
    return place;
  ItemList& list = container ? listFor(*container, *property) : topLevel_;
  list.reserveOne();
  place.previous = static_cast<Impl*>(list.last());
  return place;
}

void ModelData::prepareDetach(Impl& object) {
  if (!object.isPlaced_)
    return;
  if (!object.container_)
    topLevel_.reserveChangeAt(&object);
  else if (const MetaProperty& property = *object.containingProperty(); property.isMany())
    listField(*object.container_, property).list->reserveChangeAt(&object);
}

void ModelData::prepareUnlink(const Link& link) {
  if (const MetaProperty& feature = link.feature(); feature.isMany())
    listField(*link.source(), feature).list->reserveChangeAt(const_cast<Link*>(&link));
  if (Link* twin = link.twin(); twin && twin->feature().isMany())
    listField(*twin->source(), twin->feature()).list->reserveChangeAt(twin);
}

// Objects

Impl& ModelData::construct(const MetaClass& metaClass, const Uuid& uuid, bool proxy) {
  Impl& object = *extentFor(metaClass).create(uuid);
  object.isProxy_ = proxy;
  ++alive_;
  return object;
}

Impl* ModelData::create(const MetaClass& metaClass, const WantedIdentity& wanted, Impl* container,
                        const MetaProperty* property, bool proxy, const Birth& birth) {
  requireChangeable();
  reserveIdentities(1);
  Uuid uuid = wanted.uuid.is_nil() ? randomUuid() : wanted.uuid;
  IdentityIndex::Spot spot = identities_.spotFor(uuid);
  if (spot.known && wanted.follows) {
    uuid = randomUuid();
    spot = identities_.spotFor(uuid);
  }
  Impl* standIn = spot.known;
  if (standIn && (proxy || !standIn->isProxy() || !metaClass.isA(standIn->objectClass())))
    raise(FrameworkError::DuplicateIdentity, name_, toText(uuid));

  OneChange change(*this);
  const Placement last = makeRoom(container, property);
  reserveRecord();
  Impl& object = construct(metaClass, uuid, proxy);
  identities_.insertAt(spot, object);

  Record record(Record::Kind::placement, &object);
  record.changesLife = true;
  keep(record);
  birth(object);
  if (container && property->isMany())
    requireFree(*listField(*container, *property).list, object);
  place(object, last);
  if (standIn)
    giveWay(*standIn, object);
  const ModelElement handle(&object); // a listener may destroy what has just been made
  change.commit();
  return &handle.object();
}

Impl* ModelData::createUnplaced(const MetaClass& metaClass, const Uuid& uuid, bool proxy) {
  assert(!isRecording());
  if (!waits(metaClass))
    reserveIdentities(1);
  return &construct(metaClass, uuid, proxy);
}

bool ModelData::enter(Impl& object) noexcept { return waits(object.objectClass()) || identities_.insertIfNew(object); }

const Impl* ModelData::enterFollowers() {
  const auto forEachWaiting = [this](const auto& visit) {
    forEachExtent([&](const Extent& extent) {
      if (waits(extent.metaClass()))
        visit(extent);
    });
  };
  std::size_t waiting = 0;
  forEachWaiting([&](const Extent& extent) { waiting += extent.size(); });
  reserveIdentities(waiting + waiting / 8); // the first changes are not to make it grow again
  const Impl* clash = identities_.insertAllNew(
      [&](const auto& insert) { forEachWaiting([&](const Extent& extent) { extent.forEach(insert); }); });
  followersWait_ = false;
  return clash;
}

void ModelData::placeLast(Impl& object, Impl* container, const MetaProperty* property) {
  const Placement last = makeRoom(container, property);
  if (container && property->isMany())
    requireFree(*listField(*container, *property).list, object);
  place(object, last);
}

// Values

template <class Visit>
void ModelData::forEachKeyedHolder(Impl& object, const MetaProperty& key, const Visit& visit) {
  const auto visitIfKeyed = [&](const MetaProperty& holder, Impl& owner, void* item) {
    if (!holder.isMany())
      return;
    for (std::size_t which = 0; which < 2; ++which)
      if (holder.key(which) && holder.key(which)->index() == key.index())
        visit(*listField(owner, holder).list, which, item);
  };
  if (object.container_ && object.isPlaced_)
    visitIfKeyed(object.container_->objectClass().at(object.containing_), *object.container_, &object);
  for (const MetaProperty* property : object.objectClass().references())
    if (property->opposite() && property->opposite()->key(0))
      forEachLink(object, *property,
                  [&](Link& link) { visitIfKeyed(*property->opposite(), *link.target, link.twin()); });
  if (key.keysIncoming())
    for (LoneLink* link = object.incoming_; link; link = link->next)
      visitIfKeyed(link->feature(), *link->from, link);
}

void ModelData::writeAttribute(Impl& object, const MetaProperty& property, void* value) {
  requireWritable();
  if (object.isProxy())
    raise(FrameworkError::CannotModifyProxy, object.objectClass().name(), property.name());
  const Datatype& type = *property.datatype();
  if (type.equal(object.field(property), value))
    return;
  if (property.isKey()) {
    requireChangeable();
    forEachKeyedHolder(object, property, [&](ItemList& list, std::size_t which, void*) {
      if (list.hasOther(which, value, object))
        raise(FrameworkError::UniquenessConstraint, list.property()->name(), keyText(property, value));
    });
  }
  if (!isRecording()) {
    swapAttribute(object, property, value);
    return;
  }

  OneChange change(*this);
  reserveRecord();
  Record record(Record::Kind::attribute, &object);
  record.property = property.index();
  Record& kept = *keep(record);
  type.move(kept.value, value);
  swapAttribute(object, property, kept.value);
  change.commit();
}

void ModelData::swapAttribute(Impl& object, const MetaProperty& property, void* value) noexcept {
  void* field = object.field(property);
  if (!property.isKey()) {
    property.datatype()->swap(field, value);
    return;
  }
  forEachKeyedHolder(object, property,
                     [](ItemList& list, std::size_t which, void* item) { list.unindex(which, item); });
  property.datatype()->swap(field, value);
  forEachKeyedHolder(object, property,
                     [](ItemList& list, std::size_t which, void* item) { list.reindex(which, item); });
}

// Containment and references

void ModelData::attach(Impl& child, Impl* container, const MetaProperty* property, Impl* previous) {
  requireChangeable();
  OneChange change(*this);
  Placement place = makeRoom(container, property);
  place.previous = previous;
  if (container && property->isMany())
    requireFree(*listField(*container, *property).list, child);
  prepareDetach(child);
  if (!container || property->isMany())
    (container ? *listField(*container, *property).list : topLevel_).reserveChangeAt(previous);
  reserveRecord();

  Record record(Record::Kind::placement, &child);
  record.otherAlive = true;
  record.place = detach(child);
  keep(record);
  this->place(child, place);
  change.commit();
}

void ModelData::link(Impl& source, const MetaProperty& property, Impl& target, void* previous) {
  requireChangeable();
  OneChange change(*this);
  const MetaProperty* opposite = property.opposite();
  const auto prepare = [this](Impl& owner, const MetaProperty& feature, const Impl& item) -> ItemList* {
    if (!feature.isMany())
      return nullptr;
    ItemList& list = listFor(owner, feature);
    requireFree(list, item);
    list.reserveOne();
    return &list;
  };
  if (opposite && opposite->kind() == FeatureKind::refersOne)
    if (Link* former = linkField(target, *opposite)) {
      // Adding what is there already is refused before anything is taken away.
      if (property.isMany() && former->target == &source)
        raise(FrameworkError::UniquenessConstraint, property.name(), toText(target.uuid()));
      unlink(*former);
    }
  ItemList* list = prepare(source, property, target);
  ItemList* opposed = opposite ? prepare(target, *opposite, source) : nullptr;
  void* behind = previous == atTheEnd ? (list ? list->last() : nullptr) : previous;
  if (list)
    list->reserveChangeAt(behind);
  reserveRecord();
  Link* made = nullptr;
  if (opposite) {
    made = links_.createPair();
    made->paired = true;
    *made->twin() = {&source, 0, opposite->index(), true, false};
  } else {
    LoneLink* lone = links_.createLone();
    lone->from = &source;
    made = lone;
  }
  made->target = &target;
  made->property = property.index();

  keep(Record(made));
  void* twinBehind = opposed ? opposed->last() : nullptr;
  toggle(*made, behind, twinBehind);
  change.commit();
}

void ModelData::unlink(Link& link) {
  requireChangeable();
  if (!isRecording()) {
    prepareUnlink(link);
    void* ignored = nullptr;
    toggle(link, ignored, ignored);
    release(link);
    return;
  }
  OneChange change(*this);
  prepareUnlink(link);
  reserveRecord();
  Record record(&link);
  record.otherAlive = true;
  toggle(link, record.position.previous, record.position.twinPrevious);
  keep(record);
  change.commit();
}

void ModelData::destroyTree(Impl& root, bool withHooks, bool withContents) {
  requireChangeable();
  OneChange change(*this);
  boost::container::small_vector<Impl*, 16> tree; // most trees are single objects
  if (withHooks) {
    // Hooks may change what they find, so the tree is gathered again when they have run.
    tree.push_back(&root);
    for (std::size_t i = 0; i < tree.size(); ++i) {
      if (!tree[i]->isAlive())
        continue;
      tree[i]->aboutToDestroy();
      if (tree[i]->isAlive() && withContents)
        forEachChild(*tree[i], [&](Impl& child) { tree.push_back(&child); });
    }
    tree.clear();
    if (!root.isAlive()) { // a hook did it
      change.commit();
      return;
    }
  }
  if (!withContents) {
    forEachChild(root, [&](Impl& child) { tree.push_back(&child); });
    for (Impl* child : tree)
      attach(*child, nullptr, nullptr, static_cast<Impl*>(topLevel_.last()));
    tree.clear();
  }
  tree.push_back(&root);
  for (std::size_t i = 0; i < tree.size(); ++i)
    forEachChild(*tree[i], [&](Impl& child) { tree.push_back(&child); });

  for (std::size_t i = tree.size(); i-- > 0;)
    clearReferences(*tree[i]);
  for (std::size_t i = tree.size(); i-- > 1;) {
    reserveRecord();
    Record record(Record::Kind::state, tree[i]);
    record.otherAlive = true;
    record.changesLife = true;
    keep(record);
    setAlive(*tree[i], false);
  }
  bury(root);
  if (!isRecording())
    for (Impl* object : tree)
      release(*object);
  change.commit();
}

void ModelData::bury(Impl& object) {
  prepareDetach(object);
  reserveRecord();
  Record record(Record::Kind::placement, &object);
  record.otherAlive = true;
  record.changesLife = true;
  record.place = detach(object);
  keep(record);
  setAlive(object, false);
}

void ModelData::clearReferences(Impl& object) {
  clearReferencesTo(object);
  for (const MetaProperty* property : object.objectClass().references())
    forEachLink(object, *property, [&](Link& link) { unlink(link); });
}

void ModelData::clearReferencesTo(Impl& object) {
  while (object.incoming_)
    unlink(*object.incoming_);
  for (const MetaProperty* property : object.objectClass().references())
    if (property->opposite())
      forEachLink(object, *property, [&](Link& link) { unlink(link); });
}

} // namespace tavo
