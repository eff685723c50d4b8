#include "tavo/model/ModelData.h"

#include "tavo/core/Errors.h"
#include "tavo/model/FeatureFields.h"

#include <algorithm>

namespace tavo {

using Impl = ModelElement::Impl;

// Life

ModelData::ModelData(Constellation* home) : constellation_(home) { home->models_.push_back(this); }

void ModelData::dropLastHandle() noexcept {
  close();
  if (--handles == 0)
    delete this;
}

void ModelData::close() noexcept {
  if (!open_)
    return;
  const Model alive(this); // what ends with the model may hold its last handle, or ask for others
  open_ = false;
  if (constellation_)
    std::erase(constellation_->models_, this);
  constellation_ = nullptr;
  for (const auto& entry : listeners_)
    entry->stop();
  dropContents();
  for (const auto& action : std::exchange(endActions_, {}))
    action();
}

void ModelData::dropContents() noexcept {
  log_.rollbackTo(0);
  log_.clear();
  // Values may hold handles, and their destructors may look at them: so all objects are dead before the first one goes,
  // and the model is empty.
  forEachExtent([this](const Extent& extent) { extent.forEach([this](Impl& object) { setAlive(object, false); }); });
  identities_.clear();
  followersWait_ = false;
  topLevel_.clear();
  found_.clear();
  recentExtents_ = {};
  const LinkPool links = std::exchange(links_, {});
  const RecordPool<ItemList> lists = std::exchange(lists_, {});
  for (auto& [metaClass, extent] : std::exchange(extents_, {}))
    Extent::orphan(std::move(extent));
}

void ModelData::raiseNotWritable() { raise(FrameworkError::ModelFrozen); }

void ModelData::requireStillHistory() const {
  if (announcingHistory_)
    raise(FrameworkError::ModelFrozen);
}

Extent* ModelData::extentOf(const MetaClass& metaClass) const {
  const auto found = extents_.find(&metaClass);
  return found == extents_.end() ? nullptr : found->second.get();
}

Extent& ModelData::extentFor(const MetaClass& metaClass) {
  Extent*& recent =
      recentExtents_[reinterpret_cast<std::uintptr_t>(&metaClass) / alignof(std::max_align_t) % recentExtents_.size()];
  if (recent && &recent->metaClass() == &metaClass)
    return *recent;
  if (const auto known = extents_.find(&metaClass); known != extents_.end())
    return *(recent = known->second.get());
  auto extent = std::make_unique<Extent>(this, metaClass);
  return *(recent = extents_.emplace(&metaClass, std::move(extent)).first->second.get());
}

Impl* ModelData::findTopLevel(const MetaClass& metaClass) {
  for (const auto& [known, object] : found_)
    if (known == &metaClass)
      return object;
  Impl* object = searchTopLevel(metaClass);
  if (found_.size() == found_.capacity())
    found_.clear();
  found_.push_back({&metaClass, object});
  return object;
}

Impl* ModelData::searchTopLevel(const MetaClass& metaClass) {
  const auto fits = [](const Impl& object) { return object.isAlive() && !object.container() && !object.isProxy(); };
  // Mostly a model has one object of the class that is asked for: then its pool knows it, however many others there
  // are.
  std::size_t ofClass = 0;
  forEachExtent([&](const Extent& extent) { ofClass += extent.metaClass().isA(metaClass) ? extent.size() : 0; });
  if (ofClass < topLevel_.size()) {
    Impl* found = nullptr;
    bool several = false;
    forEachExtent([&](const Extent& extent) {
      if (extent.metaClass().isA(metaClass))
        extent.forEach([&](Impl& object) {
          if (fits(object))
            several = std::exchange(found, &object) != nullptr || several;
        });
    });
    if (!several)
      return found;
  }
  for (void* item = topLevel_.first(); item; item = topLevel_.nextOf(item))
    if (auto* object = static_cast<Impl*>(item); object->isA(metaClass) && fits(*object))
      return object;
  return nullptr;
}

void ModelData::growIdentities(std::size_t more) {
  identities_.reserve(identities_.size() + more, [this](const auto& insert) {
    forEachExtent([&](const Extent& each) {
      if (!waits(each.metaClass()))
        each.forEach(insert);
    });
  });
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
    topLevelChanged(object);
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
    topLevelChanged(object);
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

void ModelData::toggle(Link& link, void*& previous, void*& twinPrevious) noexcept {
  const auto connect = [](Link& end, void* behind) {
    const MetaProperty& feature = end.feature();
    if (feature.kind() == FeatureKind::refersOne)
      linkField(*end.source(), feature) = &end;
    else
      listField(*end.source(), feature).list->insertAfter(&end, behind);
  };
  const auto disconnect = [](Link& end) -> void* {
    const MetaProperty& feature = end.feature();
    if (feature.kind() != FeatureKind::refersOne)
      return listField(*end.source(), feature).list->take(&end);
    linkField(*end.source(), feature) = nullptr;
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
      auto& lone = static_cast<LoneLink&>(link);
      lone.previous = nullptr;
      lone.next = link.target->incoming_;
      if (lone.next)
        lone.next->previous = &lone;
      link.target->incoming_ = &lone;
    }
    return;
  }
  previous = disconnect(link);
  if (twin)
    twinPrevious = disconnect(*twin);
  else {
    const auto& lone = static_cast<LoneLink&>(link);
    (lone.previous ? lone.previous->next : link.target->incoming_) = lone.next;
    if (lone.next)
      lone.next->previous = lone.previous;
  }
}

void ModelData::release(Impl& object) noexcept {
  // What is destroyed has no links any more; but objects that came from another model, and whose coming is taken back,
  // have those they came with. A pair goes with the second of its objects.
  for (const MetaProperty* property : object.objectClass().references())
    forEachLink(object, *property, [this](Link& link) {
      link.linked = false;
      if (const Link* twin = link.twin(); !twin || !twin->linked)
        links_.release(&link);
    });
  for (const auto features : {object.objectClass().containments(), object.objectClass().references()})
    for (const MetaProperty* property : features)
      if (property->isMany())
        if (ItemList* list = std::exchange(listField(object, *property).list, nullptr)) {
          list->~ItemList();
          lists_.release(list);
        }
  identities_.erase(object);
  Extent::of(object).release(object);
}

void ModelData::release(Link& link) noexcept { links_.release(&link); }

} // namespace tavo
