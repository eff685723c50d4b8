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

  /// Lets the processor fetch the place of a hash that is going to be looked for.
  void foresee(std::uint32_t hash) const { __builtin_prefetch(&entries_[hash & mask_], 1); }

  static constexpr std::uint32_t npos = 0xffffffffu;

private:
  struct Entry {
    std::uint32_t hash = 0;
    std::uint32_t slot = npos;
  };
  std::unique_ptr<Entry[]> entries_;
  std::size_t mask_ = 0;
};

/// An item is a child (containment, or the top-level list of a model) or a link (reference).
///
/// Adding, finding and removing cost the same at any size. Removal remembers the item's predecessor, so that putting it
/// back restores the order exactly; putting back what was there before allocates nothing and does not raise.
///
/// Most lists of a model hold few items: up to three are in place, up to eight in an array. Longer lists are an array
/// too, in which each item knows its slot, for as long as they grow and shrink at their end; a change in the middle
/// gives the slots neighbours. The order of a map, which is that of its keys, is made when it is first asked for after
/// a change; a map of few items is kept in it.
///
/// A stand-in has no values, so it has no keys either: a map of references holds it, ahead of what has keys, and finds
/// it by what it is.
class ItemList {
public:
  /// `property` is null for the top-level objects of a model.
  explicit ItemList(const MetaProperty* property) : property_(property) {}
  ItemList(const ItemList&) = delete;
  ItemList& operator=(const ItemList&) = delete;
  ~ItemList() { clear(); }

  std::size_t size() const { return count_; }
  /// Changes with every change of the list.
  std::uint32_t version() const { return version_; }
  const MetaProperty* property() const { return property_; }

  /// Room for one more; may raise std::bad_alloc. Every insert on the way forward is preceded by it.
  void reserveOne() { reserve(count_ + 1); }
  void reserve(std::size_t count);
  /// What taking the item out, or putting another behind it, needs so that its cost does not grow with the list. Null
  /// stands for the beginning.
  void reserveChangeAt(void* item) {
    if (item != last())
      reserveChanges();
  }
  /// The same for all items, those too that are to come.
  void reserveChanges();
  /// What `find` would make when it is first called.
  void reserveSearch() const;
  /// Puts an item behind `previous` (null: first).
  void insertAfter(void* item, void* previous) noexcept;
  void append(void* item) noexcept { insertAfter(item, last()); }
  /// Forgets all items at once.
  void clear() noexcept;
  /// Takes an item out and returns its predecessor.
  void* take(void* item) noexcept;

  /// The item at a position of the order; positions are below size().
  void* at(std::size_t position);
  ModelElement::Impl* objectAt(std::size_t position) { return objectOf(at(position)); }
  /// Lets the processor fetch what a walk over the order, now at `position`, comes to soon: in the order of keys, items
  /// lie scattered in memory.
  void foresee(std::size_t position) const;
  /// The object that such a walk comes to at a position, if that can be said without making the order.
  ModelElement::Impl* foreseen(std::size_t position) const;
  void* first() const;
  void* last() const;
  /// The item behind `item`, or null; in the order in which items came, but for maps of few items.
  void* nextOf(void* item) const;
  void* previousOf(void* item) const;

  /// The item whose object is `object`, or null. May raise std::bad_alloc.
  void* find(const ModelElement::Impl& object) const;
  /// The item whose object has the key at `key` in index `which`.
  void* findKey(std::size_t which, const void* key) const;
  void* findText(std::size_t which, std::u16string_view key) const;
  /// Lets the processor fetch what looking for a key, or coming in under it, is going to touch first.
  void foreseeKey(std::size_t which, const void* key) const;
  /// Whether an object other than `object` has that key.
  bool hasOther(std::size_t which, const void* key, const ModelElement::Impl& object) const;

  /// Takes the item's entry out of a key index before its key changes, and puts it back after.
  void unindex(std::size_t which, void* item) noexcept;
  void reindex(std::size_t which, void* item) noexcept;

  ModelElement::Impl* objectOf(void* item) const {
    return holdsLinks() ? static_cast<Link*>(item)->target : static_cast<ModelElement::Impl*>(item);
  }

  /// For checkInvariants: raises std::logic_error with a description.
  void check() const;

private:
  static constexpr std::uint32_t none = 0xffffffffu;
  static constexpr std::uint32_t fewest = 3; ///< items that are in place
  static constexpr std::uint32_t few = 8;    ///< items of an array; longer lists are searched through an index

  enum class Form : std::uint32_t { inPlace, array, many };
  struct Neighbours {
    std::uint32_t previous, next;
  };
  struct Many {
    std::vector<void*> items;           ///< by slot; null in a free one
    std::vector<Neighbours> neighbours; ///< by slot; none while the slots are in order, without a free one
    std::uint32_t head = none, tail = none, free = none;
    bool ordered = false;
    std::vector<std::uint32_t> order;
    KeyIndex indexes[2];
  };

  bool holdsLinks() const { return property_ && property_->isReference(); }
  bool isMap() const { return property_ && property_->key(0); }
  bool isIdentityIndexed() const { return holdsLinks() && !isMap(); }
  bool isMany() const { return form_ == Form::many; }
  bool isInOrder() const { return many_->neighbours.empty(); }
  void** fewItems() { return form_ == Form::inPlace ? inPlace_ : array_; }
  void* const* fewItems() const { return form_ == Form::inPlace ? inPlace_ : array_; }
  std::uint32_t fewPositionOf(const void* item) const;
  bool isBefore(void* a, void* b) const;

  std::uint32_t& slotOf(void* item) const;
  std::uint32_t hashOf(std::size_t which, const ModelElement::Impl& object) const;
  template <class Visit>
  void forEachIndex(const Visit& visit) const;
  void enter(void* item, std::uint32_t slot) const noexcept;
  void move(std::uint32_t from, std::uint32_t to) noexcept;
  void giveNeighbours() noexcept;
  void growToMany(std::size_t count);
  template <class Matches>
  void* search(std::size_t which, std::uint32_t hash, const Matches& matches) const;
  void* findThroughOpposite(const ModelElement::Impl& object) const;
  std::size_t indexCount() const;
  void makeOrder();
  void sortByKey();

  const MetaProperty* property_;
  std::uint32_t version_ = 0;
  std::uint32_t count_ : 30 = 0;
  Form form_ : 2 = Form::inPlace;
  union {
    void* inPlace_[fewest];
    void** array_;
    Many* many_;
  };
};
static_assert(sizeof(ItemList) == 40);

} // namespace tavo
