#include "zelkor/clone/CloneContext.impl.h"

#include "tavo/model/Transaction.h"
#include "zelkor/clone/UUIDElemPair.h"

namespace zelkor::internal::clone {

tavo::Uuid CloneContext::Impl::getTargetUUID(const tavo::Uuid& sourceUUID) const {
  const auto pair = getSourceTargetIDMap().find(sourceUUID);
  return pair ? pair.targetID() : tavo::Uuid{};
}

tavo::Uuid CloneContext::Impl::getSourceUUID(const tavo::Uuid& targetUUID) const {
  const auto pair = getSourceTargetIDMap().findSecond(targetUUID);
  return pair ? pair.sourceID() : tavo::Uuid{};
}

bool CloneContext::Impl::isTargetRemapComplete(const tavo::Uuid& targetUUID) const {
  const auto pair = getSourceTargetIDMap().findSecond(targetUUID);
  return pair && pair.targetRemapComplete();
}

std::vector<UUIDElemPair> CloneContext::Impl::getAllEntries() const { return getSourceTargetIDMap().toVector(); }

void CloneContext::Impl::addSourceTargetPair(const tavo::Uuid& sourceUUID, const tavo::Uuid& targetUUID) {
  if (getSourceTargetIDMap().find(sourceUUID))
    return;
  tavo::Transaction transaction(model());
  const auto pair = UUIDElemPair::create(model());
  pair.setSourceID(sourceUUID);
  pair.setTargetID(targetUUID);
  getSourceTargetIDMapMutable().add(pair);
  transaction.commit();
}

void CloneContext::Impl::markTargetRemapComplete(const tavo::Uuid& targetUUID) {
  if (const auto pair = getSourceTargetIDMap().findSecond(targetUUID))
    pair.setTargetRemapComplete(true);
}

} // namespace zelkor::internal::clone
