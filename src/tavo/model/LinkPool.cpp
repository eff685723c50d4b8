#include "tavo/model/LinkPool.h"

#include "tavo/core/Pages.h"

#include <algorithm>

namespace tavo {

template <class T>
void RecordPool<T>::grow() {
  addChunk(chunkSize_);
  chunkSize_ = std::min(chunkSize_ * 2, largestChunk);
}

template <class T>
void RecordPool<T>::release(T* record) noexcept {
  putOnFreeList(::new (record) Slot);
}

template <class T>
void RecordPool<T>::putOnFreeList(Slot* slot) noexcept {
  slot->next = free_;
  free_ = slot;
}

template <class T>
void RecordPool<T>::addChunk(std::size_t count) {
  chunks_.push_back(std::make_unique_for_overwrite<Slot[]>(count));
  providePages(chunks_.back().get(), count * sizeof(Slot));
  for (std::size_t i = count; i-- > 0;)
    putOnFreeList(&chunks_.back()[i]);
}

template <class T>
void RecordPool<T>::adopt(RecordPool& other) noexcept {
  for (auto& chunk : other.chunks_)
    chunks_.push_back(std::move(chunk));
  other.chunks_.clear();
  while (Slot* slot = other.free_) {
    other.free_ = slot->next;
    putOnFreeList(slot);
  }
}

template class RecordPool<ItemList>;
template class RecordPool<LinkPair>;
template class RecordPool<LoneLink>;

void LinkPool::release(Link* link) noexcept {
  if (link->paired)
    pairs_.release(reinterpret_cast<LinkPair*>(std::min(link, link->twin())));
  else
    lone_.release(static_cast<LoneLink*>(link));
}

void LinkPool::reserve(std::size_t count) {
  pairs_.addChunk(count);
  lone_.addChunk(count);
}

void LinkPool::adopt(LinkPool& other) noexcept {
  pairs_.adopt(other.pairs_);
  lone_.adopt(other.lone_);
}

void LinkPool::reserveAdoption(const LinkPool& other) {
  pairs_.reserveAdoption(other.pairs_);
  lone_.reserveAdoption(other.lone_);
}

} // namespace tavo
