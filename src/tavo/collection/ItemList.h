// The one collection of the framework: an ordered list of children or links, with up to two key indexes.
//
// Internal: facades show collections through the views of Views.h.
#pragma once

#include "tavo/meta/MetaRegistry.h"
#include "tavo/model/ModelElement.h"

#include <memory>
#include <vector>

namespace tavo {

/// A hash index from keys to slots. It owns no keys: the caller hashes, and compares through the slot. Erasing and
/// inserting as many entries as there have been allocates nothing, so undo may do both.
class KeyIndex {
public:
  bool isBuilt() const { return entries_ != nullptr; }
  /// Room for `count` entries; may raise std::bad_alloc, changes nothing else.
  void reserve(std::size_t count);
  void insert(std::uint32_t hash, std::uint32_t slot) noexcept;
  void erase(std::uint32_t hash, std::uint32_t slot) noexcept;
  /// By counting; for checks.
  std::size_t count() const;

  /// The slot of the entry with this hash for which `matches(slot)` holds, or `npos`.
  template <class Matches>
  std::uint32_t find(std::uint32_t hash, const Matches& matches) const {
    for (std::size_t at = hash & mask_; entries_[at].slot != npos; at = (at + 1) & mask_)
      if (entries_[at].hash == hash && matches(entries_[at].slot))
        return entries_[at].slot;
    return npos;
  }

  static constexpr std::uint32_t npos = 0xffffffffu;

private:
  struct Entry {
    std::uint32_t hash = 0;
    std::uint32_t slot = npos;
  };
  std::unique_ptr<Entry[]> entries_;
  std::size_t mask_ = 0;
};

/// An item is a child (containment, or the top-level list of a model) or a link (reference). Items keep their slot
/// while they are in the list.
///
/// Adding, finding and removing cost the same at any size. Removal remembers the item's predecessor, so that putting it
/// back restores the order exactly; putting back what was there before allocates nothing and does not raise. Iteration
/// goes through an order that is made when it is first asked for after a change: by key for maps, as linked for the
/// others.
///
/// A stand-in has no values, so it has no keys either: a map of references holds it, ahead of what has keys, and finds
/// it by what it is.
class ItemList {
public:
  /// `property` is null for the top-level objects of a model.
  explicit ItemList(const MetaProperty* property);

  std::size_t size() const { return count_; }
  /// Changes with every change of the list.
  std::uint32_t version() const { return version_; }
  const MetaProperty* property() const { return property_; }

  /// Room for one more; may raise std::bad_alloc. Every insert on the way forward is preceded by it.
  void reserveOne() { reserve(count_ + 1); }
  void reserve(std::size_t count);
  /// Puts an item behind `previous` (null: first).
  void insertAfter(void* item, void* previous) noexcept;
  void append(void* item) noexcept { insertAfter(item, tail_ == none ? nullptr : nodes_[tail_].item); }
  /// Forgets all items at once; they keep their slots.
  void clear() noexcept { *this = ItemList(property_); }
  /// Takes an item out and returns its predecessor.
  void* take(void* item) noexcept;

  /// The item at a position of the order; positions are below size().
  void* at(std::size_t position);
  ModelElement::Impl* objectAt(std::size_t position) { return objectOf(at(position)); }
  /// Lets the processor fetch what a walk over the order, now at `position`, comes to soon: in the order of keys, items
  /// lie scattered in memory.
  void foresee(std::size_t position) const;
  void* first() const { return head_ == none ? nullptr : nodes_[head_].item; }
  void* last() const { return tail_ == none ? nullptr : nodes_[tail_].item; }
  /// The item linked behind `item`, or null.
  void* nextOf(void* item) const;
  void* previousOf(void* item) const;

  /// The item whose object is `object`, or null.
  void* find(const ModelElement::Impl& object) const;
  /// The item whose object has the key at `key` in index `which`.
  void* findKey(std::size_t which, const void* key) const;
  void* findText(std::size_t which, std::u16string_view key) const;
  /// Whether an object other than `object` has that key.
  bool hasOther(std::size_t which, const void* key, const ModelElement::Impl& object) const;

  /// Takes the item's entry out of a key index before its key changes, and puts it back after.
  void unindex(std::size_t which, void* item) noexcept;
  void reindex(std::size_t which, void* item) noexcept;

  ModelElement::Impl* objectOf(void* item) const {
    return links_ ? static_cast<Link*>(item)->target : static_cast<ModelElement::Impl*>(item);
  }

  /// For checkInvariants: raises std::logic_error with a description.
  void check() const;

private:
  static constexpr std::uint32_t none = 0xffffffffu;
  static constexpr std::size_t indexedFrom = 9; ///< shorter lists are searched through

  struct Node {
    void* item;
    std::uint32_t previous, next;
  };

  std::uint32_t& slotOf(void* item) const;
  bool isIdentityIndexed() const { return links_ && !keyed_; }
  std::uint32_t hashOf(std::size_t which, const ModelElement::Impl& object) const;
  template <class Matches>
  void* search(std::size_t which, std::uint32_t hash, const Matches& matches) const;
  std::size_t indexCount() const;
  void makeOrder();
  void sortByKey();

  const MetaProperty* property_;
  std::vector<Node> nodes_;
  std::uint32_t head_ = none, tail_ = none, free_ = none;
  std::uint32_t count_ = 0;
  std::uint32_t version_ = 0;
  bool links_;
  bool keyed_;
  bool ordered_ = false;
  KeyIndex indexes_[2];
  std::vector<std::uint32_t> order_;
};

} // namespace tavo
