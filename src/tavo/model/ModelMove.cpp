// The contents of a model move into another, and stand-ins give way to what they stood for.
#include "tavo/model/ModelData.h"

#include "tavo/core/Errors.h"
#include "tavo/model/FeatureFields.h"

#include <algorithm>

namespace tavo {

using Impl = ModelElement::Impl;

namespace {

/// Calls `visit(link)` for each link that leads to a stand-in, which has none of its own; they may be unlinked
/// meanwhile.
template <class Visit>
void forEachLinkTo(Impl& standIn, LoneLink* incoming, const Visit& visit) {
  while (incoming) {
    LoneLink& link = *incoming;
    incoming = link.next;
    visit(link);
  }
  for (const MetaProperty* property : standIn.objectClass().references())
    if (property->opposite())
      forEachLink(standIn, *property, [&](Link& link) { visit(*link.twin()); });
}

/// An object that is about to come into a collection.
struct Newcomer {
  ItemList* list;
  const Impl* object;
};

/// What each for itself may come into a map may still clash with another newcomer.
void requireDifferentKeys(std::span<const Newcomer> newcomers) {
  const MetaProperty& property = *newcomers.front().list->property();
  for (std::size_t which = 0; which < 2; ++which) {
    const MetaProperty* key = property.key(which);
    if (!key)
      continue;
    std::vector<const void*> values;
    for (const Newcomer& each : newcomers)
      if (!each.object->isProxy())
        values.push_back(each.object->field(*key));
    const auto compare = key->datatype()->compare;
    std::sort(values.begin(), values.end(), [&](auto* a, auto* b) { return compare(a, b) < 0; });
    const auto twice =
        std::adjacent_find(values.begin(), values.end(), [&](auto* a, auto* b) { return compare(a, b) == 0; });
    if (twice != values.end())
      raise(FrameworkError::UniquenessConstraint, property.name(), errorArgument(valueText(*key->datatype(), *twice)));
  }
}

} // namespace

void ModelData::giveWay(Impl& standIn, Impl& object) {
  // The standing-in end of each link is replaced; the other end keeps its place in its list.
  forEachLinkTo(standIn, standIn.incoming_, [&](Link& link) {
    Impl& source = *link.source();
    const MetaProperty& feature = link.feature();
    void* previous = feature.isMany() ? listField(source, feature).list->previousOf(&link) : nullptr;
    unlink(link);
    this->link(source, feature, object, previous);
  });
  bury(standIn);
  if (!isRecording())
    release(standIn);
}

std::vector<ModelData::Replacement> ModelData::replacementsFor(ModelData& other) const {
  std::vector<Replacement> replacements;
  other.forEachExtent([&](const Extent& extent) {
    extent.forEach([&](Impl& arriving) {
      Impl* here = arriving.isAlive() ? identities_.find(arriving.uuid()) : nullptr;
      if (!here)
        return;
      if (here->isProxy() && arriving.isA(here->objectClass()))
        replacements.push_back({here, &arriving});
      else if (arriving.isProxy() && here->isA(arriving.objectClass()))
        replacements.push_back({&arriving, here});
      else
        raise(FrameworkError::DuplicateIdentity, name_, toText(arriving.uuid()));
    });
  });
  return replacements;
}

void ModelData::reserveArrival(ModelData& other, const std::vector<Replacement>& replacements) {
  std::vector<Newcomer> newcomers;
  std::size_t links = 0;
  for (const auto& [standIn, object] : replacements)
    forEachLinkTo(*standIn, standIn->incoming_, [&, object = object](Link& link) {
      ++links;
      if (const MetaProperty& feature = link.feature(); feature.isMany())
        newcomers.push_back({listField(*link.source(), feature).list, object});
      if (const MetaProperty* opposite = link.feature().opposite(); opposite && opposite->isMany())
        // In memory of the model that still has the object, and keeps it if something fails.
        newcomers.push_back({&object->data().listFor(*object, *opposite), link.source()});
    });
  std::sort(newcomers.begin(), newcomers.end(),
            [](const Newcomer& a, const Newcomer& b) { return std::less<>()(a.list, b.list); });
  for (auto from = newcomers.begin(); from != newcomers.end();) {
    const auto to = std::find_if(from, newcomers.end(), [&](const Newcomer& each) { return each.list != from->list; });
    for (auto each = from; each != to; ++each)
      requireFree(*each->list, *each->object);
    requireDifferentKeys({from, to});
    from->list->reserve(from->list->size() + static_cast<std::size_t>(to - from));
    from->list->reserveSearch();
    from = to;
  }
  for (const auto& [standIn, object] : replacements)
    forEachLinkTo(*standIn, standIn->incoming_, [](Link& link) {
      for (const Link* end : {&link, link.twin()})
        if (end && end->feature().isMany())
          listField(*end->source(), end->feature()).list->reserveChanges();
    });

  const std::size_t arriving = other.identities_.size();
  reserveIdentities(arriving);
  for (const auto& [metaClass, extent] : other.extents_)
    extentFor(*metaClass).reserveAdoption(*extent);
  if (links > 0)
    links_.reserve(2 * links);
  links_.reserveAdoption(other.links_);
  lists_.reserveAdoption(other.lists_);
  topLevel_.reserve(topLevel_.size() + other.topLevel_.size());
  topLevel_.reserveChanges(); // undo takes them out in the order of memory
  // A link that is led elsewhere takes two records, and a third where it takes the place of another.
  if (isRecording())
    log_.open().reserveRecords(arriving + 3 * links + replacements.size());
}

void ModelData::adoptContents(ModelData& other) {
  requireChangeable();
  other.requireChangeable();
  if (&other == this)
    return;
  if (other.inTransaction())
    raise(FrameworkError::MoveInsideTransaction);
  const auto replacements = replacementsFor(other);
  std::vector<Change> gone;
  if (!other.listeners_.empty())
    other.forEachExtent([&](const Extent& extent) {
      extent.forEach([&](Impl& object) {
        if (object.isAlive())
          gone.push_back({Change::Kind::destroyed, ModelElement(&object), object.uuid(), &object.objectClass()});
      });
    });
  OneChange change(*this);
  reserveArrival(other, replacements);

  // From here on nothing can fail.
  for (const auto& [metaClass, extent] : other.extents_) {
    extent->forEach([&](Impl& object) {
      identities_.insert(object);
      if (!object.isAlive())
        return;
      Record record(object.container_ ? Record::Kind::state : Record::Kind::placement, &object);
      record.changesLife = true;
      keep(record);
    });
    extentFor(*metaClass).adopt(*extent);
  }
  alive_ += std::exchange(other.alive_, 0);
  links_.adopt(other.links_);
  lists_.adopt(other.lists_);
  for (void* item = other.topLevel_.first(); item;) {
    void* next = other.topLevel_.nextOf(item); // while the item has its place there
    topLevel_.append(item);
    item = next;
  }
  other.topLevel_.clear();
  found_.clear();
  other.found_.clear();
  other.identities_.clear();
  for (const auto& [standIn, object] : replacements)
    giveWay(*standIn, *object);
  log_.forgetAllOf(other.log_);
  const Model emptied(&other);
  change.commit();
  if (!emptied || gone.empty())
    return;
  OneChange answers(other); // of listeners, which are announced in turn
  other.notify(ChangeSet(other, std::move(gone)));
  answers.commit();
}

} // namespace tavo
