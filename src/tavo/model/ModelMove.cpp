// The contents of a model move into another, and stand-ins give way to what they stood for.
#include "tavo/model/ModelData.h"

#include "tavo/core/Errors.h"
#include "tavo/model/FeatureFields.h"
#include "tavo/model/Transaction.h"

namespace tavo {

using Impl = ModelElement::Impl;

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
        raise(FrameworkError::DuplicateIdentity, name_, toText(object.uuid()));
    });
  });

  Transaction change{Model(this)};
  const std::size_t arriving = other.identities_.size();
  reserveIdentities(arriving);
  for (const auto& [metaClass, extent] : other.extents_)
    extentFor(*metaClass).reserveAdoption(*extent);
  links_.reserveAdoption(other.links_);
  topLevel_.reserve(topLevel_.size() + other.topLevel_.size());
  if (isRecording())
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

} // namespace tavo
