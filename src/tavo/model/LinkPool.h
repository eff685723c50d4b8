// The links and lists of a model.
#pragma once

#include "tavo/collection/ItemList.h"

#include <memory>
#include <vector>

namespace tavo {

/// Internal. Records of one kind in chunks, which never move: without what the heap needs for each of them.
template <class T>
class RecordPool {
public:
  template <class... Arguments>
  T* create(Arguments... arguments) {
    if (!free_)
      grow();
    Slot* slot = free_;
    free_ = slot->next;
    return ::new (slot) T{arguments...};
  }
  /// Takes back a record that has been destroyed, if its class has a destructor.
  void release(T* record) noexcept;
  void addChunk(std::size_t count);
  /// Takes over all records of another pool; `reserveAdoption` has made the room.
  void adopt(RecordPool& other) noexcept;
  void reserveAdoption(const RecordPool& other) { chunks_.reserve(chunks_.size() + other.chunks_.size()); }

private:
  union Slot {
    Slot() : next(nullptr) {}
    Slot(const Slot&) = delete;
    Slot& operator=(const Slot&) = delete;
    ~Slot() {}
    Slot* next; ///< of a free one
    T record;
  };
  void grow();
  void putOnFreeList(Slot* slot) noexcept;

  static constexpr std::size_t smallestChunk = 8;
  static constexpr std::size_t largestChunk = 1024;

  std::vector<std::unique_ptr<Slot[]>> chunks_;
  std::size_t chunkSize_ = smallestChunk;
  Slot* free_ = nullptr;
};

/// Internal. All links of a model.
class LinkPool {
public:
  /// A link that is a pair with its twin, or a lone one.
  Link* createPair() { return &pairs_.create()->ends[0]; }
  LoneLink* createLone() { return lone_.create(); }
  /// Releases a link, and its twin.
  void release(Link* link) noexcept;
  /// Room for so many more links, of either kind.
  void reserve(std::size_t count);
  /// Takes over all links of another pool; `reserveAdoption` has made the room.
  void adopt(LinkPool& other) noexcept;
  void reserveAdoption(const LinkPool& other);

private:
  RecordPool<LinkPair> pairs_;
  RecordPool<LoneLink> lone_;
};

} // namespace tavo
