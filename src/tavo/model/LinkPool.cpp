#include "tavo/model/LinkPool.h"

#include <algorithm>

namespace tavo {

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
  chunkSize_ = smallestChunk;
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

} // namespace tavo
