#include "tavo/collection/ItemList.h"

#include "tavo/core/Hash.h"

#include <algorithm>
#include <array>
#include <bit>
#include <stdexcept>

namespace tavo {
namespace {

std::uint32_t fold(std::size_t hash) {
  return static_cast<std::uint32_t>(mixBits(hash ^ hashKeys[2], 0x9e3779b97f4a7c15ull));
}

/// The first 16 bytes of a key as two numbers that compare as the keys do; equal where the type has no such form.
using KeyBeginning = std::array<std::uint64_t, 2>;

KeyBeginning beginningOf(const Datatype& type, const void* key) {
  KeyBeginning beginning{};
  if (type.kind == Datatype::Kind::string) {
    const std::u16string_view text = *static_cast<const String*>(key);
    for (std::size_t i = 0; i < 8; ++i)
      beginning[i / 4] = beginning[i / 4] << 16 | (i < text.size() ? text[i] : 0u);
  } else if (type.kind == Datatype::Kind::uuid) {
    const auto& uuid = *static_cast<const Uuid*>(key);
    for (std::size_t i = 0; i < 16; ++i)
      beginning[i / 8] = beginning[i / 8] << 8 | uuid.data[i];
  }
  return beginning;
}

std::uint32_t identityHash(const ModelElement::Impl& object) { return fold(reinterpret_cast<std::size_t>(&object)); }

} // namespace

ListField::~ListField() { delete list; }

void KeyIndex::reserve(std::size_t count) {
  const std::size_t wanted = std::bit_ceil(count * 3 / 2 + 8);
  if (entries_ && wanted <= mask_ + 1)
    return;
  KeyIndex grown;
  grown.entries_ = std::make_unique<Entry[]>(wanted);
  grown.mask_ = wanted - 1;
  if (entries_)
    for (std::size_t at = 0; at <= mask_; ++at)
      if (entries_[at].slot != npos)
        grown.insert(entries_[at].hash, entries_[at].slot);
  *this = std::move(grown);
}

void KeyIndex::insert(std::uint32_t hash, std::uint32_t slot) noexcept {
  std::size_t at = hash & mask_;
  while (entries_[at].slot != npos)
    at = (at + 1) & mask_;
  entries_[at] = {hash, slot};
}

void KeyIndex::erase(std::uint32_t hash, std::uint32_t slot) noexcept {
  std::size_t hole = hash & mask_;
  while (entries_[hole].slot != slot || entries_[hole].hash != hash)
    hole = (hole + 1) & mask_;
  // Close the hole, so that no search has to pass over deleted entries.
  for (std::size_t at = (hole + 1) & mask_; entries_[at].slot != npos; at = (at + 1) & mask_) {
    const std::size_t home = entries_[at].hash & mask_;
    if (((at - home) & mask_) >= ((at - hole) & mask_)) {
      entries_[hole] = entries_[at];
      hole = at;
    }
  }
  entries_[hole] = {};
}

std::size_t KeyIndex::count() const {
  return static_cast<std::size_t>(
      std::count_if(entries_.get(), entries_.get() + mask_ + 1, [](const Entry& entry) { return entry.slot != npos; }));
}

ItemList::ItemList(const MetaProperty* property)
    : property_(property), links_(property && property->isReference()), keyed_(property && property->key(0)) {}

std::size_t ItemList::indexCount() const {
  if (keyed_)
    return property_->key(1) ? 2 : 1;
  return links_ ? 1 : 0;
}

std::uint32_t& ItemList::slotOf(void* item) const {
  return links_ ? static_cast<Link*>(item)->slot : static_cast<ModelElement::Impl*>(item)->slot_;
}

std::uint32_t ItemList::hashOf(std::size_t which, const ModelElement::Impl& object) const {
  if (isIdentityIndexed() || object.isProxy())
    return identityHash(object);
  const MetaProperty& key = *property_->key(which);
  return fold(key.datatype()->hash(object.field(key)));
}

void ItemList::reserve(std::size_t count) {
  // Free slots count: nodes_ holds as many slots as the list ever had items.
  if (count > nodes_.capacity())
    nodes_.reserve(std::max<std::size_t>({2, count, nodes_.size() * 2}));
  if (count < indexedFrom)
    return;
  KeyIndex built[2];
  for (std::size_t which = 0; which < indexCount(); ++which) {
    if (indexes_[which].isBuilt()) {
      indexes_[which].reserve(count);
      continue;
    }
    built[which].reserve(count);
    for (std::uint32_t slot = head_; slot != none; slot = nodes_[slot].next)
      built[which].insert(hashOf(which, *objectOf(nodes_[slot].item)), slot);
  }
  for (std::size_t which = 0; which < indexCount(); ++which)
    if (built[which].isBuilt())
      indexes_[which] = std::move(built[which]);
}

void ItemList::insertAfter(void* item, void* previous) noexcept {
  std::uint32_t slot = free_;
  if (slot != none)
    free_ = nodes_[slot].next;
  else {
    slot = static_cast<std::uint32_t>(nodes_.size());
    nodes_.push_back({}); // never grows: reserveOne, or the state that undo goes back to, made the room
  }
  const std::uint32_t before = previous ? slotOf(previous) : none;
  const std::uint32_t after = previous ? nodes_[before].next : head_;
  nodes_[slot] = {item, before, after};
  (before == none ? head_ : nodes_[before].next) = slot;
  (after == none ? tail_ : nodes_[after].previous) = slot;
  slotOf(item) = slot;
  for (std::size_t which = 0; which < indexCount(); ++which)
    if (indexes_[which].isBuilt())
      indexes_[which].insert(hashOf(which, *objectOf(item)), slot);
  // Appending keeps an order that is there: a list that is filled and read in turn must not sort each time.
  if (ordered_ && !keyed_ && after == none && order_.size() == count_ && order_.capacity() > order_.size())
    order_.push_back(slot);
  else
    ordered_ = false;
  ++count_;
  ++version_;
}

void* ItemList::take(void* item) noexcept {
  const std::uint32_t slot = slotOf(item);
  for (std::size_t which = 0; which < indexCount(); ++which)
    if (indexes_[which].isBuilt())
      indexes_[which].erase(hashOf(which, *objectOf(item)), slot);
  const Node node = nodes_[slot];
  (node.previous == none ? head_ : nodes_[node.previous].next) = node.next;
  (node.next == none ? tail_ : nodes_[node.next].previous) = node.previous;
  if (ordered_ && !order_.empty() && order_.back() == slot)
    order_.pop_back();
  else
    ordered_ = false;
  nodes_[slot] = {nullptr, none, free_};
  free_ = slot;
  --count_;
  ++version_;
  return node.previous == none ? nullptr : nodes_[node.previous].item;
}

void* ItemList::nextOf(void* item) const {
  const std::uint32_t next = nodes_[slotOf(item)].next;
  return next == none ? nullptr : nodes_[next].item;
}

void* ItemList::previousOf(void* item) const {
  const std::uint32_t previous = nodes_[slotOf(item)].previous;
  return previous == none ? nullptr : nodes_[previous].item;
}

void ItemList::makeOrder() {
  ordered_ = false;
  order_.clear();
  order_.reserve(nodes_.capacity()); // so that appending to a list that is being read stays cheap
  for (std::uint32_t slot = head_; slot != none; slot = nodes_[slot].next)
    order_.push_back(slot);
  if (keyed_)
    sortByKey();
  ordered_ = true;
}

/// Sorting by the beginnings of the keys, gathered in one place, spares most of the way to the objects.
void ItemList::sortByKey() {
  const MetaProperty& key = *property_->key(0);
  const Datatype& type = *key.datatype();
  const auto field = [&](std::uint32_t slot) { return objectOf(nodes_[slot].item)->field(key); };
  struct Entry {
    KeyBeginning beginning;
    std::uint32_t slot;
  };
  const auto isStandIn = [&](std::uint32_t slot) { return objectOf(nodes_[slot].item)->isProxy(); };
  const auto standInsEnd = std::partition(order_.begin(), order_.end(), isStandIn);
  std::sort(order_.begin(), standInsEnd, [&](std::uint32_t a, std::uint32_t b) {
    return objectOf(nodes_[a].item)->uuid() < objectOf(nodes_[b].item)->uuid();
  });

  std::vector<Entry> entries;
  entries.reserve(order_.size());
  for (auto slot = standInsEnd; slot != order_.end(); ++slot)
    entries.push_back({beginningOf(type, field(*slot)), *slot});
  const auto less = [&](const Entry& a, const Entry& b) {
    if (a.beginning != b.beginning)
      return a.beginning < b.beginning;
    return type.compare(field(a.slot), field(b.slot)) < 0;
  };
  if (std::is_sorted(entries.begin(), entries.end(), less))
    return;
  std::sort(entries.begin(), entries.end(), less);
  std::transform(entries.begin(), entries.end(), standInsEnd, [](const Entry& entry) { return entry.slot; });
}

void* ItemList::at(std::size_t position) {
  // The ends are known without an order: so a list may be emptied, or filled, from either.
  if (!keyed_ && position == 0)
    return first();
  if (!keyed_ && position + 1 == count_)
    return last();
  if (!ordered_)
    makeOrder();
  return nodes_[order_[position]].item;
}

void ItemList::foresee(std::size_t position) const {
  constexpr std::size_t itemsAhead = 8;
  constexpr std::size_t nodesAhead = 2 * itemsAhead; // a node has to be there before its item can be fetched
  constexpr std::size_t cacheLine = 64;
  if (!ordered_)
    return;
  if (position + nodesAhead < order_.size())
    __builtin_prefetch(&nodes_[order_[position + nodesAhead]]);
  if (position + itemsAhead < order_.size()) {
    const auto* item = static_cast<const std::byte*>(nodes_[order_[position + itemsAhead]].item);
    __builtin_prefetch(item);
    __builtin_prefetch(item + cacheLine);
  }
}

template <class Matches>
void* ItemList::search(std::size_t which, std::uint32_t hash, const Matches& matches) const {
  if (indexes_[which].isBuilt()) {
    const std::uint32_t slot =
        indexes_[which].find(hash, [&](std::uint32_t at) { return matches(*objectOf(nodes_[at].item)); });
    return slot == KeyIndex::npos ? nullptr : nodes_[slot].item;
  }
  for (std::uint32_t slot = head_; slot != none; slot = nodes_[slot].next)
    if (matches(*objectOf(nodes_[slot].item)))
      return nodes_[slot].item;
  return nullptr;
}

void* ItemList::find(const ModelElement::Impl& object) const {
  if (!links_) { // a child knows its slot
    const std::uint32_t slot = object.slot_;
    return slot < nodes_.size() && nodes_[slot].item == &object ? const_cast<ModelElement::Impl*>(&object) : nullptr;
  }
  return search(0, indexes_[0].isBuilt() ? hashOf(0, object) : 0,
                [&](const ModelElement::Impl& other) { return &other == &object; });
}

void* ItemList::findKey(std::size_t which, const void* key) const {
  const MetaProperty& attribute = *property_->key(which);
  const Datatype& type = *attribute.datatype();
  return search(which, indexes_[which].isBuilt() ? fold(type.hash(key)) : 0, [&](const ModelElement::Impl& object) {
    return type.equal(object.field(attribute), key) && !object.isProxy();
  });
}

void* ItemList::findText(std::size_t which, std::u16string_view key) const {
  const MetaProperty& attribute = *property_->key(which);
  return search(which, indexes_[which].isBuilt() ? fold(static_cast<std::size_t>(hashText(key))) : 0,
                [&](const ModelElement::Impl& object) {
                  return *static_cast<const String*>(object.field(attribute)) == key && !object.isProxy();
                });
}

bool ItemList::hasOther(std::size_t which, const void* key, const ModelElement::Impl& object) const {
  void* found = findKey(which, key);
  return found && objectOf(found) != &object;
}

void ItemList::unindex(std::size_t which, void* item) noexcept {
  if (indexes_[which].isBuilt())
    indexes_[which].erase(hashOf(which, *objectOf(item)), slotOf(item));
}

void ItemList::reindex(std::size_t which, void* item) noexcept {
  if (indexes_[which].isBuilt())
    indexes_[which].insert(hashOf(which, *objectOf(item)), slotOf(item));
  if (which == 0)
    ordered_ = false;
  ++version_;
}

void ItemList::check() const {
  std::uint32_t counted = 0;
  std::uint32_t before = none;
  for (std::uint32_t slot = head_; slot != none; before = slot, slot = nodes_[slot].next, ++counted) {
    if (nodes_[slot].previous != before || slotOf(nodes_[slot].item) != slot || counted >= count_)
      throw std::logic_error("a list is not linked as it should be");
    ModelElement::Impl* object = objectOf(nodes_[slot].item);
    // A sequence of references may hold an object several times.
    const auto requireObject = [&](void* found) {
      if (!found || objectOf(found) != object)
        throw std::logic_error("an index does not find an item of its list");
    };
    requireObject(find(*object));
    if (keyed_ && !object->isProxy())
      for (std::size_t which = 0; which < indexCount(); ++which)
        requireObject(findKey(which, object->field(*property_->key(which))));
  }
  for (std::size_t which = 0; which < indexCount(); ++which)
    if (indexes_[which].isBuilt() && indexes_[which].count() != count_)
      throw std::logic_error("an index holds what its list does not");
  if (counted != count_ || tail_ != before)
    throw std::logic_error("a list does not hold as many items as it counts");
}

} // namespace tavo
