#include "tavo/model/LinkPool.h"

#include <algorithm>

namespace tavo {

Link* LinkPool::create() {
  if (!free_) {
    addChunk(chunkSize_);
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

void LinkPool::addChunk(std::size_t count) {
  chunks_.reserve(chunks_.size() + 1);
  chunks_.push_back(std::make_unique<Link[]>(count));
  for (std::size_t i = count; i-- > 0;)
    release(&chunks_.back()[i]);
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
