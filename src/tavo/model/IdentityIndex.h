// The identity index of a model: from UUIDs to objects, one probe in a table of pointers.
#pragma once

#include "tavo/model/ModelElement.h"

#include <cstring>
#include <memory>

namespace tavo {

/// Internal. Holds every object of the model, dead ones too: undo and redo then have nothing to do here. An entry is a
/// pointer with a tag of sixteen bits of its hash, so that a search touches hardly any object but the one it is for.
class IdentityIndex {
public:
  /// Room for `count` objects; may raise std::bad_alloc. `forEachObject(insert)` lists all objects that are in the
  /// index, in the order of memory: that is faster than going through the old table.
  template <class ForEachObject>
  void reserve(std::size_t count, const ForEachObject& forEachObject) {
    if (entries_ && (count * 3) / 2 <= mask_)
      return;
    std::size_t wanted = entries_ ? mask_ + 1 : 8;
    while ((count * 3) / 2 > wanted - 1)
      wanted *= 2;
    auto grown = std::make_unique<std::uint64_t[]>(wanted);
    entries_ = std::move(grown);
    mask_ = wanted - 1;
    count_ = 0;
    // Each place in the new table is somewhere else in memory; they are fetched some objects ahead.
    constexpr std::size_t objectsAhead = 16;
    ModelElement::Impl* waiting[objectsAhead] = {};
    std::size_t next = 0;
    forEachObject([&](ModelElement::Impl& object) {
      foresee(object.uuid());
      if (ModelElement::Impl* due = std::exchange(waiting[next++ % objectsAhead], &object))
        insert(*due);
    });
    for (ModelElement::Impl* object : waiting)
      if (object)
        insert(*object);
  }

  void insert(ModelElement::Impl& object) noexcept {
    const std::size_t hash = hashUuid(object.uuid());
    std::size_t at = hash & mask_;
    for (; entries_[at]; ++probes)
      at = (at + 1) & mask_;
    entries_[at] = pack(object, hash);
    ++count_;
    ++probes;
  }

  void erase(const ModelElement::Impl& object) noexcept {
    const std::size_t hash = hashUuid(object.uuid());
    std::size_t hole = hash & mask_;
    ++probes;
    for (; entries_[hole] != pack(object, hash); ++probes)
      hole = (hole + 1) & mask_;
    entries_[hole] = 0;
    --count_;
    for (std::size_t at = (hole + 1) & mask_; entries_[at]; at = (at + 1) & mask_) {
      const std::size_t home = hashUuid(unpack(entries_[at])->uuid()) & mask_;
      if (((at - home) & mask_) >= ((at - hole) & mask_)) {
        entries_[hole] = std::exchange(entries_[at], 0);
        hole = at;
      }
    }
  }

  /// The live object of that identity, or null.
  ModelElement::Impl* find(const Uuid& uuid) const noexcept {
    if (!entries_)
      return nullptr;
    const std::size_t hash = hashUuid(uuid);
    ++probes;
    for (std::size_t at = hash & mask_; entries_[at]; at = (at + 1) & mask_, ++probes)
      if (((entries_[at] ^ hash) & tagMask) == 0) {
        ModelElement::Impl* object = unpack(entries_[at]);
        if (object->uuid() == uuid && object->isAlive())
          return object;
      }
    return nullptr;
  }

  /// Lets the processor fetch the place of an identity that is going to be looked for: among a million objects that
  /// takes longer than making one.
  void foresee(const Uuid& uuid) const noexcept {
    if (entries_)
      __builtin_prefetch(&entries_[hashUuid(uuid) & mask_], 1);
  }

  mutable std::uint64_t probes = 0; ///< entries looked at, for the benchmarks

  std::size_t size() const { return count_; }
  void clear() noexcept {
    entries_.reset();
    mask_ = 0;
    count_ = 0;
  }

private:
  // User-space addresses have 47 bits on the platforms that this library is built for.
  static constexpr std::uint64_t tagMask = 0xffffull << 48;
  static_assert(sizeof(void*) == 8);

  static std::uint64_t pack(const ModelElement::Impl& object, std::size_t hash) {
    return reinterpret_cast<std::uint64_t>(&object) | (hash & tagMask);
  }
  static ModelElement::Impl* unpack(std::uint64_t entry) {
    return reinterpret_cast<ModelElement::Impl*>(entry & ~tagMask);
  }

  std::unique_ptr<std::uint64_t[]> entries_;
  std::size_t mask_ = 0;
  std::size_t count_ = 0;
};

} // namespace tavo
