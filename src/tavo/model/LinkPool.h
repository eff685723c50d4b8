// The links of a model.
#pragma once

#include "tavo/collection/ItemList.h"

#include <memory>
#include <vector>

namespace tavo {

/// Internal. Links in chunks, which never move.
class LinkPool {
public:
  Link* create();
  void release(Link* link) noexcept;
  /// Room for so many more links.
  void reserve(std::size_t count) { addChunk(count); }
  /// Takes over all links of another pool; `reserveAdoption` has made the room.
  void adopt(LinkPool& other) noexcept;
  void reserveAdoption(const LinkPool& other) { chunks_.reserve(chunks_.size() + other.chunks_.size()); }

private:
  void addChunk(std::size_t count);

  static constexpr std::size_t smallestChunk = 8;

  std::vector<std::unique_ptr<Link[]>> chunks_;
  std::size_t chunkSize_ = smallestChunk;
  Link* free_ = nullptr;
};

} // namespace tavo
