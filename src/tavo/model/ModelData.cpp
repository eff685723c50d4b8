#include "tavo/model/ModelData.h"

#include "tavo/core/Error.h"
#include "tavo/core/Errors.h"

#include <algorithm>
#include <cassert>
#include <cstdio>
#include <stdexcept>

namespace tavo {
namespace {

using Impl = ModelElement::Impl;

constexpr int mostListenerRounds = 16;

ListenerErrorHandler& listenerErrorHandler() {
  static ListenerErrorHandler handler = [](const std::exception& error) {
    std::fprintf(stderr, "a listener failed: %s\n", error.what());
  };
  return handler;
}

void reportListenerError(const std::exception& error) noexcept {
  try {
    listenerErrorHandler()(error);
  } catch (...) {
    // The handler is the last resort; what it cannot report is lost.
  }
}

/// Runs what somebody else gave: its exceptions are reported and stop nothing.
template <class Action>
void runReported(const Action& action) noexcept {
  try {
    action();
  } catch (const std::exception& error) {
    reportListenerError(error);
  } catch (...) {
    reportListenerError(std::runtime_error("an exception of an unknown type"));
  }
}

/// A change that joins the running transaction, or is one of its own.
class OneChange {
public:
  explicit OneChange(ModelData& model)
      : model_(model), savepoint_(model.log().openSize()), deferred_(model.deferredCount()) {
    model_.begin();
  }
  OneChange(const OneChange&) = delete;
  OneChange& operator=(const OneChange&) = delete;
  ~OneChange() {
    if (open_)
      model_.rollback(savepoint_, deferred_);
  }
  void commit() {
    open_ = false;
    model_.commit();
  }

private:
  ModelData& model_;
  std::size_t savepoint_;
  std::size_t deferred_;
  bool open_ = true;
};

String keyText(const MetaProperty& key, const void* value) { return errorArgument(valueText(*key.datatype(), value)); }

/// What must hold before an object comes into a map.
void requireFreeKeys(const ItemList& list, const Impl& object) {
  for (std::size_t which = 0; which < 2; ++which)
    if (const MetaProperty* key = list.property() ? list.property()->key(which) : nullptr)
      if (list.findKey(which, object.field(*key)))
        raise(FrameworkError::UniquenessConstraint, list.property()->name(), keyText(*key, object.field(*key)));
}

LinkField& linkField(Impl& object, const MetaProperty& property) {
  return *static_cast<LinkField*>(object.field(property));
}
ChildField& childField(Impl& object, const MetaProperty& property) {
  return *static_cast<ChildField*>(object.field(property));
}
ListField& listField(Impl& object, const MetaProperty& property) {
  return *static_cast<ListField*>(object.field(property));
}

/// Calls `visit(link)` for the links that `object` itself holds in a feature; they may be unlinked meanwhile.
template <class Visit>
void forEachLink(Impl& object, const MetaProperty& property, const Visit& visit) {
  if (property.kind() == FeatureKind::refersOne) {
    if (Link* link = linkField(object, property))
      visit(*link);
  } else if (ItemList* list = listField(object, property).list) {
    for (void* item = list->first(); item;) {
      void* next = list->nextOf(item);
      visit(*static_cast<Link*>(item));
      item = next;
    }
  }
}

template <class Visit>
void forEachChild(Impl& object, const Visit& visit) {
  for (const MetaProperty* property : object.objectClass().containments())
    if (property->kind() == FeatureKind::containsOne) {
      if (Impl* child = childField(object, *property))
        visit(*child);
    } else if (ItemList* list = listField(object, *property).list) {
      for (void* item = list->first(); item; item = list->nextOf(item))
        visit(*static_cast<Impl*>(item));
    }
}

} // namespace

void setListenerErrorHandler(ListenerErrorHandler handler) { listenerErrorHandler() = std::move(handler); }

ListField::~ListField() { delete list; }

// Links

Link* LinkPool::create() {
  if (!free_) {
    chunks_.reserve(chunks_.size() + 1);
    chunks_.push_back(std::make_unique<Link[]>(chunkSize_));
    for (std::size_t i = chunkSize_; i-- > 0;) {
      chunks_.back()[i].next = free_;
      free_ = &chunks_.back()[i];
    }
    chunkSize_ = std::min<std::size_t>(chunkSize_ * 2, 4096);
  }
  Link* link = free_;
  free_ = link->next;
  *link = Link{};
  return link;
}

void LinkPool::release(Link* link) noexcept {
  link->next = free_;
  free_ = link;
}

void LinkPool::clear() noexcept {
  chunks_.clear();
  chunkSize_ = smallestLinkChunk;
  free_ = nullptr;
}

void LinkPool::adopt(LinkPool& other) noexcept {
  for (auto& chunk : other.chunks_)
    chunks_.push_back(std::move(chunk));
  other.chunks_.clear();
  while (Link* link = other.free_) {
    other.free_ = link->next;
    release(link);
  }
}

// Life

ModelData::ModelData(Constellation* home) : constellation(home) { home->models_.push_back(this); }

ModelData::~ModelData() { close(); }

void ModelData::removeRef() noexcept {
  if (--handles_ == 0)
    delete this;
}

void ModelData::close() noexcept {
  if (!open_)
    return;
  open_ = false;
  if (constellation)
    std::erase(constellation->models_, this);
  constellation = nullptr;
  for (const auto& entry : listeners_)
    entry->stop();
  dropContents();
  for (const auto& action : std::exchange(endActions, {}))
    action();
}

void ModelData::dropContents() noexcept {
  log_.rollbackTo(0);
  log_.clear();
  identities_.clear();
  for (auto& [metaClass, extent] : extents_)
    Extent::orphan(std::move(extent));
  extents_.clear();
  lastExtent_ = nullptr;
  topLevel_.clear();
  links_.clear();
  alive_ = 0;
}

void ModelData::requireWritable() const {
  assert(thread_ == std::this_thread::get_id() && "a model belongs to one thread");
  if (!isOpenForWriting())
    raise(FrameworkError::ModelFrozen);
}

void ModelData::requireStillHistory() const {
  if (undoing_)
    raise(FrameworkError::ModelFrozen);
}

Extent* ModelData::extentOf(const MetaClass& metaClass) const {
  const auto found = extents_.find(&metaClass);
  return found == extents_.end() ? nullptr : found->second.get();
}

Extent& ModelData::extentFor(const MetaClass& metaClass) {
  if (lastExtent_ && &lastExtent_->metaClass() == &metaClass)
    return *lastExtent_;
  if (const auto known = extents_.find(&metaClass); known != extents_.end())
    return *(lastExtent_ = known->second.get());
  auto extent = std::make_unique<Extent>(this, metaClass);
  return *(lastExtent_ = extents_.emplace(&metaClass, std::move(extent)).first->second.get());
}

void ModelData::reserveIdentities(std::size_t more) {
  identities_.reserve(identities_.size() + more,
                      [this](const auto& insert) { forEachExtent([&](const Extent& each) { each.forEach(insert); }); });
}

ItemList& ModelData::listFor(Impl& owner, const MetaProperty& property) {
  ListField& field = listField(owner, property);
  if (!field.list)
    field.list = new ItemList(&property);
  return *field.list;
}

void ModelData::reserveRecord() {
  if (!unlogged)
    log_.open().reserveRecord();
}

Record* ModelData::keep(const Record& record) noexcept {
  if (unlogged)
    return nullptr;
  Step& step = *log_.current();
  auto* kept = ::new (step.reserveRecord()) Record(record);
  step.keepRecord();
  ++log_.recordsWritten;
  return kept;
}

// What the log does again and again: none of this may fail.

Placement ModelData::detach(Impl& object) noexcept {
  if (!object.isPlaced_)
    return {};
  object.isPlaced_ = false;
  Impl* container = object.container_;
  Placement place{container, nullptr, object.containing_, true};
  object.container_ = nullptr;
  if (!container) {
    place.previous = static_cast<Impl*>(topLevel_.take(&object));
    return place;
  }
  const MetaProperty& property = container->objectClass().at(object.containing_);
  if (property.kind() == FeatureKind::containsOne)
    childField(*container, property) = nullptr;
  else
    place.previous = static_cast<Impl*>(listField(*container, property).list->take(&object));
  return place;
}

void ModelData::place(Impl& object, const Placement& place) noexcept {
  if (!place.placed)
    return;
  object.isPlaced_ = true;
  object.container_ = place.container;
  object.containing_ = place.property;
  if (!place.container) {
    topLevel_.insertAfter(&object, place.previous);
    return;
  }
  const MetaProperty& property = place.container->objectClass().at(place.property);
  if (property.kind() == FeatureKind::containsOne)
    childField(*place.container, property) = &object;
  else
    listField(*place.container, property).list->insertAfter(&object, place.previous);
}

void ModelData::setAlive(Impl& object, bool alive) noexcept {
  if (object.isAlive() == alive)
    return;
  object.state_ = alive ? ObjectState::alive : ObjectState::dead;
  alive_ = alive ? alive_ + 1 : alive_ - 1;
}

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
                  [&](Link& link) { visitIfKeyed(*property->opposite(), *link.target, link.twinOrPrevious); });
  if (key.keysIncoming())
    for (Link* link = object.incoming_; link; link = link->next)
      visitIfKeyed(link->feature(), *link->source, link);
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

void ModelData::toggle(Link& link, void*& previous, void*& twinPrevious) noexcept {
  const auto connect = [](Link& end, void* behind) {
    const MetaProperty& feature = end.feature();
    if (feature.kind() == FeatureKind::refersOne)
      linkField(*end.source, feature) = &end;
    else
      listField(*end.source, feature).list->insertAfter(&end, behind);
  };
  const auto disconnect = [](Link& end) -> void* {
    const MetaProperty& feature = end.feature();
    if (feature.kind() != FeatureKind::refersOne)
      return listField(*end.source, feature).list->take(&end);
    linkField(*end.source, feature) = nullptr;
    return nullptr;
  };
  Link* twin = link.twin();
  link.linked = !link.linked;
  if (twin)
    twin->linked = link.linked;
  if (link.linked) {
    connect(link, previous);
    if (twin)
      connect(*twin, twinPrevious);
    else {
      link.twinOrPrevious = nullptr;
      link.next = link.target->incoming_;
      if (link.next)
        link.next->twinOrPrevious = &link;
      link.target->incoming_ = &link;
    }
    return;
  }
  previous = disconnect(link);
  if (twin)
    twinPrevious = disconnect(*twin);
  else {
    (link.twinOrPrevious ? link.twinOrPrevious->next : link.target->incoming_) = link.next;
    if (link.next)
      link.next->twinOrPrevious = link.twinOrPrevious;
  }
}

void ModelData::release(Impl& object) noexcept {
  identities_.erase(object);
  Extent::of(object).release(object);
}

void ModelData::release(Link& link) noexcept {
  if (Link* twin = link.twin())
    links_.release(twin);
  links_.release(&link);
}

// Changes

Impl* ModelData::create(const MetaClass& metaClass, const Uuid& wanted, Impl* container, const MetaProperty* property,
                        bool proxy) {
  requireWritable();
  const Uuid uuid = wanted.is_nil() ? randomUuid() : wanted;
  Impl* standIn = wanted.is_nil() ? nullptr : identities_.find(uuid);
  if (standIn && (proxy || !standIn->isProxy()))
    raise(FrameworkError::DuplicateIdentity, name, toText(uuid));

  OneChange change(*this);
  Extent& extent = extentFor(metaClass);
  identities_.reserve(identities_.size() + 1,
                      [this](const auto& insert) { forEachExtent([&](const Extent& each) { each.forEach(insert); }); });
  ItemList* list = !container                                      ? &topLevel_
                   : property->kind() == FeatureKind::containsMany ? &listFor(*container, *property)
                                                                   : nullptr;
  if (list)
    list->reserveOne();
  reserveRecord();
  Impl* object = extent.create(uuid);

  identities_.insert(*object);
  object->isProxy_ = proxy;
  ++alive_;
  Record record(Record::Kind::placement, object);
  record.changesLife = true;
  keep(record);
  void* last = list ? list->last() : nullptr;
  place(*object, {container, static_cast<Impl*>(last), property ? property->index() : PropertyIndex(0), true});
  if (standIn)
    giveWay(*standIn, *object);
  const ModelElement handle(object); // a listener may destroy what has just been made
  change.commit();
  return &handle.object();
}

Impl* ModelData::createUnplaced(const MetaClass& metaClass, const Uuid& uuid, bool proxy) {
  assert(unlogged);
  Extent& extent = extentFor(metaClass);
  reserveIdentities(1);
  Impl* object = extent.create(uuid);
  identities_.insert(*object);
  object->isProxy_ = proxy;
  ++alive_;
  return object;
}

void ModelData::placeLast(Impl& object, Impl* container, const MetaProperty* property) {
  ItemList* list = !container ? &topLevel_ : property->isMany() ? &listFor(*container, *property) : nullptr;
  if (list) {
    requireFreeKeys(*list, object);
    list->reserveOne();
  }
  void* last = list ? list->last() : nullptr;
  place(object, {container, static_cast<Impl*>(last), property ? property->index() : PropertyIndex(0), true});
}

void ModelData::writeAttribute(Impl& object, const MetaProperty& property, void* value) {
  requireWritable();
  if (object.isProxy())
    raise(FrameworkError::CannotModifyProxy, object.objectClass().name(), property.name());
  const Datatype& type = *property.datatype();
  if (type.equal(object.field(property), value))
    return;
  if (property.isKey())
    forEachKeyedHolder(object, property, [&](ItemList& list, std::size_t which, void*) {
      if (list.hasOther(which, value, object))
        raise(FrameworkError::UniquenessConstraint, list.property()->name(), keyText(property, value));
    });
  if (unlogged) {
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

void ModelData::attach(Impl& child, Impl* container, const MetaProperty* property, Impl* previous) {
  requireWritable();
  OneChange change(*this);
  if (!container)
    topLevel_.reserveOne();
  else if (property->kind() == FeatureKind::containsMany) {
    ItemList& list = listFor(*container, *property);
    requireFreeKeys(list, child);
    list.reserveOne();
  }
  reserveRecord();

  Record record(Record::Kind::placement, &child);
  record.alive = true;
  record.place = detach(child);
  keep(record);
  place(child, {container, previous, property ? property->index() : PropertyIndex(0), true});
  change.commit();
}

void ModelData::link(Impl& source, const MetaProperty& property, Impl& target, void* previous) {
  requireWritable();
  OneChange change(*this);
  const MetaProperty* opposite = property.opposite();
  ItemList* list = nullptr;
  ItemList* opposed = nullptr;
  const auto prepare = [this](Impl& owner, const MetaProperty& feature, Impl& item) -> ItemList* {
    if (!feature.isMany())
      return nullptr;
    ItemList& prepared = listFor(owner, feature);
    requireFreeKeys(prepared, item);
    if (!feature.key(0) && (feature.collection() == CollectionKind::set || feature.opposite()) && prepared.find(item))
      raise(FrameworkError::UniquenessConstraint, feature.name(), toText(item.uuid()));
    prepared.reserveOne();
    return &prepared;
  };
  if (opposite && opposite->kind() == FeatureKind::refersOne)
    if (Link* former = linkField(target, *opposite)) {
      // Adding what is there already is refused before anything is taken away.
      if (property.isMany() && former->target == &source)
        raise(FrameworkError::UniquenessConstraint, property.name(), toText(target.uuid()));
      unlink(*former);
    }
  list = prepare(source, property, target);
  if (opposite)
    opposed = prepare(target, *opposite, source);
  reserveRecord();
  Link* made = links_.create();
  if (opposite) {
    Link* twin = nullptr;
    try {
      twin = links_.create();
    } catch (...) {
      links_.release(made);
      throw;
    }
    *twin = Link{&target, &source, made, nullptr, 0, opposite->index(), true, false};
    made->paired = true;
    made->twinOrPrevious = twin;
  }
  made->source = &source;
  made->target = &target;
  made->property = property.index();

  keep(Record(made));
  void* behind = previous == atEnd ? (list ? list->last() : nullptr) : previous;
  void* twinBehind = opposed ? opposed->last() : nullptr;
  toggle(*made, behind, twinBehind);
  change.commit();
}

void ModelData::unlink(Link& link) {
  requireWritable();
  if (unlogged) {
    void* ignored = nullptr;
    toggle(link, ignored, ignored);
    release(link);
    return;
  }
  OneChange change(*this);
  reserveRecord();
  Record record(&link);
  record.alive = true;
  toggle(link, record.position.previous, record.position.twinPrevious);
  keep(record);
  change.commit();
}

void ModelData::giveWay(Impl& standIn, Impl& object) {
  // The standing-in end of each link is replaced; the other end keeps its place in its list.
  const auto redirect = [&](Link& link) {
    Impl& source = *link.source;
    const MetaProperty& feature = link.feature();
    void* previous = feature.isMany() ? listField(source, feature).list->previousOf(&link) : nullptr;
    unlink(link);
    this->link(source, feature, object, previous);
  };
  while (standIn.incoming_)
    redirect(*standIn.incoming_);
  for (const MetaProperty* property : standIn.objectClass().references())
    if (property->opposite())
      forEachLink(standIn, *property, [&](Link& link) { redirect(*link.twinOrPrevious); });
  destroyTree(standIn, false, true);
}

void ModelData::destroyTree(Impl& root, bool withHooks, bool withContents) {
  requireWritable();
  OneChange change(*this);
  std::vector<Impl*> tree;
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
    disassociate(*tree[i]);
  for (std::size_t i = tree.size(); i-- > 1;) {
    reserveRecord();
    Record record(Record::Kind::state, tree[i]);
    record.alive = true;
    record.changesLife = true;
    keep(record);
    setAlive(*tree[i], false);
  }
  reserveRecord();
  Record record(Record::Kind::placement, &root);
  record.alive = true;
  record.changesLife = true;
  record.place = detach(root);
  keep(record);
  setAlive(root, false);
  if (unlogged)
    for (Impl* object : tree)
      release(*object);
  change.commit();
}

void ModelData::disassociate(Impl& object) {
  disassociateIncoming(object);
  for (const MetaProperty* property : object.objectClass().references())
    forEachLink(object, *property, [&](Link& link) { unlink(link); });
}

void ModelData::disassociateIncoming(Impl& object) {
  while (object.incoming_)
    unlink(*object.incoming_);
  for (const MetaProperty* property : object.objectClass().references())
    if (property->opposite())
      forEachLink(object, *property, [&](Link& link) { unlink(link); });
}

void ModelData::adoptContents(ModelData& other) {
  requireWritable();
  other.requireWritable();
  if (&other == this)
    return;
  if (other.inTransaction())
    raise(FrameworkError::UndoInsideTransaction);
  std::vector<std::pair<Impl*, Impl*>> standIns; // stand-in, object
  other.forEachExtent([&](const Extent& extent) {
    extent.forEach([&](Impl& object) {
      Impl* here = object.isAlive() ? identities_.find(object.uuid()) : nullptr;
      if (!here)
        return;
      if (here->isProxy())
        standIns.emplace_back(here, &object);
      else if (object.isProxy())
        standIns.emplace_back(&object, here);
      else
        raise(FrameworkError::DuplicateIdentity, name, toText(object.uuid()));
    });
  });

  OneChange change(*this);
  const std::size_t arriving = other.identities_.size();
  identities_.reserve(identities_.size() + arriving,
                      [this](const auto& insert) { forEachExtent([&](const Extent& each) { each.forEach(insert); }); });
  for (const auto& [metaClass, extent] : other.extents_)
    extentFor(*metaClass).reserveAdoption(*extent);
  links_.reserveAdoption(other.links_);
  topLevel_.reserve(topLevel_.size() + other.topLevel_.size());
  if (!unlogged)
    log_.open().reserveRecords(arriving);

  // From here on only stand-ins that give way can fail.
  other.log_.clear();
  for (auto& [metaClass, extent] : other.extents_) {
    extent->forEach([&](Impl& object) {
      identities_.insert(object);
      Record record(object.container_ ? Record::Kind::state : Record::Kind::placement, &object);
      record.changesLife = true;
      keep(record);
    });
    extentFor(*metaClass).adopt(*extent);
  }
  alive_ += std::exchange(other.alive_, 0);
  links_.adopt(other.links_);
  for (void* item = other.topLevel_.first(); item;) {
    void* next = other.topLevel_.nextOf(item);
    other.topLevel_.take(item);
    topLevel_.append(item);
    item = next;
  }
  other.identities_.clear();
  other.lastExtent_ = nullptr;
  other.extents_.clear();
  for (const auto& [standIn, object] : standIns)
    giveWay(*standIn, *object);
  change.commit();
}

// Transactions

void ModelData::commit() {
  if (transactionDepth_ > 1) {
    --transactionDepth_;
    return;
  }
  const Model alive(this); // listeners may drop the last handle of the model
  if (!listeners_.empty() && log_.openSize() > 0) {
    // Still inside: what a listener changes joins this step.
    std::size_t from = 0;
    int round = 0;
    for (; from < log_.openSize() && round < mostListenerRounds; ++round) {
      const std::size_t end = log_.openSize();
      notify(*log_.current(), from, false);
      from = end;
    }
    if (from < log_.openSize())
      runReported([&] { raise(FrameworkError::TooManyListenerRounds, round); });
  }
  --transactionDepth_;
  log_.close();
  for (const auto& action : std::exchange(deferred_, {}))
    runReported(action);
}

void ModelData::rollback(std::size_t savepoint, std::size_t deferred) noexcept {
  log_.rollbackTo(savepoint);
  deferred_.resize(std::min(deferred, deferred_.size()));
  --transactionDepth_;
}

void ModelData::afterCommit(std::function<void()> action) {
  if (inTransaction())
    deferred_.push_back(std::move(action));
  else
    runReported(action);
}

void ModelData::undo(bool forward) {
  if (inTransaction())
    raise(FrameworkError::UndoInsideTransaction);
  requireWritable();
  ++frameworkUpdates;
  Step& step = forward ? log_.redo() : log_.undo();
  --frameworkUpdates;
  if (listeners_.empty())
    return;
  const Model alive(this);
  undoing_ = true; // the history must not move under the listeners
  notify(step, 0, !forward);
  undoing_ = false;
}

void ModelData::notify(Step& step, std::size_t from, bool undone) noexcept {
  const ChangeSet changes(*this, step, from, undone);
  for (std::size_t i = 0; i < listeners_.size(); ++i) { // listeners may come meanwhile
    const std::shared_ptr<ListenerToken::Entry> entry = listeners_[i];
    if (!entry->active)
      continue;
    ++entry->running;
    runReported([&] { entry->listen(changes); });
    if (--entry->running == 0 && !entry->active)
      entry->stop();
  }
  std::erase_if(listeners_, [](const auto& entry) { return !entry->active; });
}

std::shared_ptr<ListenerToken::Entry> ModelData::listen(std::function<void(const ChangeSet&)> listener) {
  auto entry = std::make_shared<ListenerToken::Entry>();
  entry->listen = std::move(listener);
  listeners_.push_back(entry);
  return entry;
}

// Invariants

void checkInvariants(const Model& model) {
  ModelData& data = model.data();
  const auto require = [](bool holds, const char* what) {
    if (!holds)
      throw std::logic_error(what);
  };
  std::size_t alive = 0;
  std::size_t known = 0;
  data.topLevel_.check();
  data.forEachExtent([&](const Extent& extent) {
    require(extent.model() == &data, "an extent belongs to another model");
    extent.forEach([&](Impl& object) {
      ++known;
      if (!object.isAlive())
        return;
      ++alive;
      require(data.find(object.uuid()) == &object, "the identity index does not find an object");
      require(object.isPlaced_, "a live object is in no list");
      if (Impl* container = object.container_) {
        require(container->isAlive(), "the container of a live object is dead");
        const MetaProperty& property = container->objectClass().at(object.containing_);
        require(property.isContainment(), "an object is contained by a feature that is no containment");
        require(property.kind() == FeatureKind::containsOne
                    ? childField(*container, property) == &object
                    : listField(*container, property).list->find(object) != nullptr,
                "a container does not hold its child");
      } else {
        require(data.topLevel_.find(object) != nullptr, "an object without a container is not top-level");
      }
      for (const MetaProperty* property : object.objectClass().references())
        forEachLink(object, *property, [&](Link& link) {
          require(link.linked && link.source == &object && link.property == property->index(),
                  "a link does not know its source");
          require(link.target->isAlive() && &link.target->data() == &data, "a reference leads out of the model");
          require(link.paired == (property->opposite() != nullptr), "a link and its feature differ about the opposite");
          require(!link.paired ||
                      (link.twin()->twin() == &link && link.twin()->source == link.target && link.twin()->linked),
                  "the two ends of an association disagree");
        });
      for (Link* link = object.incoming_; link; link = link->next)
        require(link->linked && link->target == &object && link->source->isAlive() &&
                    (!link->next || link->next->twinOrPrevious == link),
                "the chain of incoming references is broken");
      for (const MetaProperty* property : object.objectClass().properties())
        if (property->isMany())
          if (ItemList* list = listField(object, *property).list)
            list->check();
    });
  });
  require(alive == data.alive_, "the number of objects is wrong");
  require(known == data.identities_.size(), "the identity index holds another number of objects");
}

} // namespace tavo
