#include "tavo/collection/ItemList.h"

#include "tavo/core/Hash.h"

#include <algorithm>
#include <array>
#include <bit>
#include <memory>
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

ListField::~ListField() {
  if (list) // in memory of the model
    list->~ItemList();
}

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

// What a list is made of

std::size_t ItemList::indexCount() const {
  if (isMap())
    return property_->key(1) ? 2 : 1;
  return holdsLinks() ? 1 : 0;
}

template <class Visit>
void ItemList::forEachIndex(const Visit& visit) const {
  for (std::size_t which = 0; which < indexCount(); ++which)
    if (many_->indexes[which].isBuilt())
      visit(many_->indexes[which], which);
}

std::uint32_t& ItemList::slotOf(void* item) const {
  return holdsLinks() ? static_cast<Link*>(item)->slot : static_cast<ModelElement::Impl*>(item)->slot_;
}

std::uint32_t ItemList::hashOf(std::size_t which, const ModelElement::Impl& object) const {
  if (isIdentityIndexed() || object.isProxy())
    return identityHash(object);
  const MetaProperty& key = *property_->key(which);
  return fold(key.datatype()->hash(object.field(key)));
}

std::uint32_t ItemList::fewPositionOf(const void* item) const {
  return static_cast<std::uint32_t>(std::find(fewItems(), fewItems() + count_, item) - fewItems());
}

/// Whether the order of a map has one item before the other.
bool ItemList::isBefore(void* a, void* b) const {
  const ModelElement::Impl& left = *objectOf(a);
  const ModelElement::Impl& right = *objectOf(b);
  if (left.isProxy() || right.isProxy())
    return left.isProxy() && (!right.isProxy() || left.uuid() < right.uuid());
  const MetaProperty& key = *property_->key(0);
  return key.datatype()->compare(left.field(key), right.field(key)) < 0;
}

void ItemList::clear() noexcept {
  if (form_ == Form::array)
    delete[] array_;
  if (isMany())
    delete many_;
  form_ = Form::inPlace;
  count_ = 0;
  ++version_;
}

// Room

void ItemList::reserve(std::size_t count) {
  if (count > few)
    growToMany(count);
  else if (count > fewest && form_ == Form::inPlace) {
    auto* array = new void*[few];
    std::copy_n(inPlace_, count_, array);
    array_ = array;
    form_ = Form::array;
  }
}

void ItemList::growToMany(std::size_t count) {
  const bool isNew = !isMany();
  auto made = isNew ? std::make_unique<Many>() : nullptr;
  Many& many = isNew ? *made : *many_;
  if (count > many.items.capacity()) {
    // Free slots count: there are as many slots as the list ever had items.
    const std::size_t room = std::max<std::size_t>({2 * few, count, many.items.size() / 8 * 9});
    if (many.neighbours.capacity() > 0)
      many.neighbours.reserve(room);
    many.items.reserve(room);
  }
  for (std::size_t which = 0; which < indexCount(); ++which) {
    if (many.indexes[which].isBuilt())
      many.indexes[which].reserve(count);
    else if (isMap()) { // others are indexed when somebody looks for an item
      many.indexes[which].reserve(count);
      for (std::uint32_t i = 0; i < count_; ++i)
        many.indexes[which].insert(hashOf(which, *objectOf(fewItems()[i])), i);
    }
  }
  if (!isNew)
    return;
  many.items.assign(fewItems(), fewItems() + count_);
  for (std::uint32_t i = 0; i < count_; ++i)
    slotOf(many.items[i]) = i;
  if (form_ == Form::array)
    delete[] array_;
  many_ = made.release();
  form_ = Form::many;
}

void ItemList::reserveChanges() {
  if (isMany() && isInOrder())
    many_->neighbours.reserve(many_->items.capacity());
}

void ItemList::reserveSearch() const {
  if (!isMany() || !isIdentityIndexed() || many_->indexes[0].isBuilt())
    return;
  KeyIndex index;
  index.reserve(many_->items.capacity()); // what undo puts back finds room
  for (std::uint32_t slot = 0; slot < many_->items.size(); ++slot)
    if (void* item = many_->items[slot])
      index.insert(hashOf(0, *objectOf(item)), slot);
  many_->indexes[0] = std::move(index);
}

// Changes

/// Puts an item into a slot, and into the indexes.
void ItemList::enter(void* item, std::uint32_t slot) const noexcept {
  many_->items[slot] = item;
  slotOf(item) = slot;
  forEachIndex([&](KeyIndex& index, std::size_t which) { index.insert(hashOf(which, *objectOf(item)), slot); });
}

void ItemList::move(std::uint32_t from, std::uint32_t to) noexcept {
  void* item = many_->items[from];
  forEachIndex([&](KeyIndex& index, std::size_t which) { index.erase(hashOf(which, *objectOf(item)), from); });
  enter(item, to);
}

/// Lets the middle change at a cost that does not depend on the size, if there is room; else items move up or down.
void ItemList::giveNeighbours() noexcept {
  if (!isInOrder() || many_->neighbours.capacity() < many_->items.capacity())
    return;
  const auto size = static_cast<std::uint32_t>(many_->items.size());
  many_->neighbours.resize(size);
  for (std::uint32_t slot = 0; slot < size; ++slot)
    many_->neighbours[slot] = {slot == 0 ? none : slot - 1, slot + 1 == size ? none : slot + 1};
  many_->head = 0;
  many_->tail = size - 1;
  many_->free = none;
}

void ItemList::insertAfter(void* item, void* previous) noexcept {
  ++version_;
  if (!isMany()) {
    void** items = fewItems();
    std::uint32_t at = 0;
    if (isMap())
      while (at < count_ && !isBefore(item, items[at]))
        ++at;
    else
      at = previous ? fewPositionOf(previous) + 1 : 0;
    std::copy_backward(items + at, items + count_, items + count_ + 1);
    items[at] = item;
    ++count_;
    return;
  }
  Many& many = *many_;
  if (isMap())
    previous = last(); // its order is another one
  const bool atTheEnd = previous == last();
  // Nothing grows here: reserveOne, or the state that undo goes back to, made the room.
  if (!atTheEnd)
    giveNeighbours();
  if (isInOrder()) {
    auto slot = static_cast<std::uint32_t>(many.items.size());
    many.items.push_back(nullptr);
    for (const std::uint32_t after = previous ? slotOf(previous) + 1 : 0; slot > after; --slot)
      move(slot - 1, slot);
    enter(item, slot);
    many.ordered = false;
    ++count_;
    return;
  }
  std::uint32_t slot = many.free;
  if (slot != none)
    many.free = many.neighbours[slot].next;
  else {
    slot = static_cast<std::uint32_t>(many.items.size());
    many.items.push_back(nullptr);
    many.neighbours.push_back({});
  }
  const std::uint32_t before = previous ? slotOf(previous) : none;
  const std::uint32_t after = previous ? many.neighbours[before].next : many.head;
  many.neighbours[slot] = {before, after};
  (before == none ? many.head : many.neighbours[before].next) = slot;
  (after == none ? many.tail : many.neighbours[after].previous) = slot;
  enter(item, slot);
  // Appending keeps an order that is there: a list that is filled and read in turn must not sort each time.
  if (many.ordered && !isMap() && atTheEnd && many.order.size() == count_ && many.order.capacity() > count_)
    many.order.push_back(slot);
  else
    many.ordered = false;
  ++count_;
}

void* ItemList::take(void* item) noexcept {
  ++version_;
  if (!isMany()) {
    void** items = fewItems();
    const std::uint32_t at = fewPositionOf(item);
    std::copy(items + at + 1, items + count_, items + at);
    --count_;
    return at == 0 ? nullptr : items[at - 1];
  }
  Many& many = *many_;
  const std::uint32_t slot = slotOf(item);
  if (item != last())
    giveNeighbours();
  forEachIndex([&](KeyIndex& index, std::size_t which) { index.erase(hashOf(which, *objectOf(item)), slot); });
  --count_;
  if (many.ordered && !many.order.empty() && many.order.back() == slot)
    many.order.pop_back();
  else
    many.ordered = false;
  if (isInOrder()) {
    for (std::uint32_t after = slot + 1; after < many.items.size(); ++after)
      move(after, after - 1);
    many.items.pop_back();
    return slot == 0 ? nullptr : many.items[slot - 1];
  }
  const Neighbours node = many.neighbours[slot];
  (node.previous == none ? many.head : many.neighbours[node.previous].next) = node.next;
  (node.next == none ? many.tail : many.neighbours[node.next].previous) = node.previous;
  many.items[slot] = nullptr;
  many.neighbours[slot] = {none, many.free};
  many.free = slot;
  return node.previous == none ? nullptr : many.items[node.previous];
}

void ItemList::unindex(std::size_t which, void* item) noexcept {
  if (isMany() && many_->indexes[which].isBuilt())
    many_->indexes[which].erase(hashOf(which, *objectOf(item)), slotOf(item));
}

void ItemList::reindex(std::size_t which, void* item) noexcept {
  ++version_;
  if (!isMany()) {
    take(item);
    insertAfter(item, nullptr);
    return;
  }
  if (many_->indexes[which].isBuilt())
    many_->indexes[which].insert(hashOf(which, *objectOf(item)), slotOf(item));
  if (which == 0)
    many_->ordered = false;
}

// Order

void* ItemList::first() const {
  if (count_ == 0)
    return nullptr;
  if (!isMany())
    return fewItems()[0];
  return many_->items[isInOrder() ? 0 : many_->head];
}

void* ItemList::last() const {
  if (count_ == 0)
    return nullptr;
  if (!isMany())
    return fewItems()[count_ - 1];
  return isInOrder() ? many_->items.back() : many_->items[many_->tail];
}

void* ItemList::nextOf(void* item) const {
  if (!isMany()) {
    const std::uint32_t next = fewPositionOf(item) + 1;
    return next < count_ ? fewItems()[next] : nullptr;
  }
  const std::uint32_t slot = slotOf(item);
  if (isInOrder())
    return slot + 1 < count_ ? many_->items[slot + 1] : nullptr;
  const std::uint32_t next = many_->neighbours[slot].next;
  return next == none ? nullptr : many_->items[next];
}

void* ItemList::previousOf(void* item) const {
  if (!isMany()) {
    const std::uint32_t position = fewPositionOf(item);
    return position == 0 ? nullptr : fewItems()[position - 1];
  }
  const std::uint32_t slot = slotOf(item);
  if (isInOrder())
    return slot == 0 ? nullptr : many_->items[slot - 1];
  const std::uint32_t previous = many_->neighbours[slot].previous;
  return previous == none ? nullptr : many_->items[previous];
}

void* ItemList::at(std::size_t position) {
  if (!isMany())
    return fewItems()[position];
  if (!isMap()) {
    if (isInOrder())
      return many_->items[position];
    // The ends are known without an order: so a list may be emptied, or filled, from either.
    if (position == 0)
      return first();
    if (position + 1 == count_)
      return last();
  }
  if (!many_->ordered)
    makeOrder();
  return many_->items[many_->order[position]];
}

void ItemList::makeOrder() {
  Many& many = *many_;
  many.ordered = false;
  many.order.clear();
  // So that appending to a list that is being read stays cheap.
  many.order.reserve(isMap() ? count_ : many.items.capacity());
  if (isInOrder())
    for (std::uint32_t slot = 0; slot < count_; ++slot)
      many.order.push_back(slot);
  else
    for (std::uint32_t slot = many.head; slot != none; slot = many.neighbours[slot].next)
      many.order.push_back(slot);
  if (isMap())
    sortByKey();
  many.ordered = true;
}

/// Sorting by the beginnings of the keys, gathered in one place, spares most of the way to the objects.
void ItemList::sortByKey() {
  const MetaProperty& key = *property_->key(0);
  const Datatype& type = *key.datatype();
  std::vector<std::uint32_t>& order = many_->order;
  const auto object = [&](std::uint32_t slot) { return objectOf(many_->items[slot]); };
  struct Entry {
    KeyBeginning beginning;
    std::uint32_t slot;
  };
  const auto standInsEnd =
      std::partition(order.begin(), order.end(), [&](std::uint32_t slot) { return object(slot)->isProxy(); });
  std::sort(order.begin(), standInsEnd,
            [&](std::uint32_t a, std::uint32_t b) { return object(a)->uuid() < object(b)->uuid(); });

  std::vector<Entry> entries;
  entries.reserve(order.size());
  for (auto slot = standInsEnd; slot != order.end(); ++slot)
    entries.push_back({beginningOf(type, object(*slot)->field(key)), *slot});
  const auto less = [&](const Entry& a, const Entry& b) {
    if (a.beginning != b.beginning)
      return a.beginning < b.beginning;
    return type.compare(object(a.slot)->field(key), object(b.slot)->field(key)) < 0;
  };
  if (std::is_sorted(entries.begin(), entries.end(), less))
    return;
  std::sort(entries.begin(), entries.end(), less);
  std::transform(entries.begin(), entries.end(), standInsEnd, [](const Entry& entry) { return entry.slot; });
}

void ItemList::foresee(std::size_t position) const {
  constexpr std::size_t itemsAhead = 8;
  constexpr std::size_t slotsAhead = 2 * itemsAhead; // a slot has to be there before its item can be fetched
  constexpr std::size_t cacheLine = 64;
  if (!isMany() || !(many_->ordered || (isInOrder() && !isMap())) || position + slotsAhead >= count_)
    return;
  const auto slotAt = [&](std::size_t at) { return many_->ordered ? many_->order[at] : at; };
  __builtin_prefetch(&many_->items[slotAt(position + slotsAhead)]);
  const auto* item = static_cast<const std::byte*>(many_->items[slotAt(position + itemsAhead)]);
  __builtin_prefetch(item);
  __builtin_prefetch(item + cacheLine);
  __builtin_prefetch(item + 2 * cacheLine - 1);
}

ModelElement::Impl* ItemList::foreseen(std::size_t position) const {
  if (!isMany() || position >= count_)
    return nullptr;
  if (many_->ordered)
    return objectOf(many_->items[many_->order[position]]);
  return isInOrder() && !isMap() ? objectOf(many_->items[position]) : nullptr;
}

// Looking for items

template <class Matches>
void* ItemList::search(std::size_t which, std::uint32_t hash, const Matches& matches) const {
  if (isMany()) {
    const std::uint32_t slot =
        many_->indexes[which].find(hash, [&](std::uint32_t at) { return matches(*objectOf(many_->items[at])); });
    return slot == KeyIndex::npos ? nullptr : many_->items[slot];
  }
  // Whoever asks for one owner after another finds their lists side by side, and what these hold as well. The processor
  // foresees that only as long as nothing else is done in between.
  constexpr std::size_t ahead = 256;
  if (count_ <= fewest) {
    __builtin_prefetch(reinterpret_cast<const std::byte*>(this) + ahead);
    for (std::uint32_t i = 0; i < count_; ++i)
      __builtin_prefetch(static_cast<const std::byte*>(fewItems()[i]) + ahead);
  }
  for (std::uint32_t i = 0; i < count_; ++i)
    if (matches(*objectOf(fewItems()[i])))
      return fewItems()[i];
  return nullptr;
}

void* ItemList::find(const ModelElement::Impl& object) const {
  if (!holdsLinks()) {
    auto* item = const_cast<ModelElement::Impl*>(&object);
    if (!isMany())
      return fewPositionOf(item) < count_ ? item : nullptr;
    // A child knows its slot.
    return object.slot_ < many_->items.size() && many_->items[object.slot_] == item ? item : nullptr;
  }
  const auto isIt = [&](const ModelElement::Impl& other) { return &other == &object; };
  if (!isMany() || isMap())
    return search(0, isMany() ? hashOf(0, object) : 0, isIt);
  if (count_ == 0 || !object.isA(*property_->target()) || object.state() == ObjectState::zombie)
    return nullptr;

  // Mostly the other end has few references, so that this one needs no index.
  const ModelElement::Impl* owner = static_cast<Link*>(first())->source();
  if (const MetaProperty* opposite = property_->opposite()) {
    if (opposite->kind() == FeatureKind::refersOne) {
      const Link* there = *static_cast<const LinkField*>(object.field(*opposite));
      return there && there->target == owner ? there->twin() : nullptr;
    }
    const ItemList* there = static_cast<const ListField*>(object.field(*opposite))->list;
    if (!there || !there->isMany()) {
      for (std::uint32_t i = 0; there && i < there->count_; ++i)
        if (const auto* link = static_cast<const Link*>(there->fewItems()[i]); link->target == owner)
          return link->twin();
      return nullptr;
    }
  }
  reserveSearch();
  return search(0, hashOf(0, object), isIt);
}

void* ItemList::findKey(std::size_t which, const void* key) const {
  const MetaProperty& attribute = *property_->key(which);
  const Datatype& type = *attribute.datatype();
  return search(which, isMany() ? fold(type.hash(key)) : 0, [&](const ModelElement::Impl& object) {
    return type.equal(object.field(attribute), key) && !object.isProxy();
  });
}

void* ItemList::findText(std::size_t which, std::u16string_view key) const {
  const MetaProperty& attribute = *property_->key(which);
  return search(which, isMany() ? fold(static_cast<std::size_t>(hashText(key))) : 0,
                [&](const ModelElement::Impl& object) {
                  return *static_cast<const String*>(object.field(attribute)) == key && !object.isProxy();
                });
}

void ItemList::foreseeKey(std::size_t which, const void* key) const {
  if (isMany())
    many_->indexes[which].foresee(fold(property_->key(which)->datatype()->hash(key)));
}

bool ItemList::hasOther(std::size_t which, const void* key, const ModelElement::Impl& object) const {
  void* found = findKey(which, key);
  return found && objectOf(found) != &object;
}

// Checks

void ItemList::check() const {
  std::uint32_t counted = 0;
  void* before = nullptr;
  for (void* item = first(); item; before = item, item = nextOf(item), ++counted) {
    if (previousOf(item) != before || counted >= count_ || (isMany() && many_->items[slotOf(item)] != item))
      throw std::logic_error("a list is not linked as it should be");
    if (before && !isMany() && isMap() && isBefore(item, before))
      throw std::logic_error("a short map is not in the order of its keys");
    ModelElement::Impl* object = objectOf(item);
    // A sequence of references may hold an object several times.
    const auto requireObject = [&](void* found) {
      if (!found || objectOf(found) != object)
        throw std::logic_error("an index does not find an item of its list");
    };
    requireObject(find(*object));
    if (isMap() && !object->isProxy())
      for (std::size_t which = 0; which < indexCount(); ++which)
        requireObject(findKey(which, object->field(*property_->key(which))));
  }
  if (isMany())
    forEachIndex([&](KeyIndex& index, std::size_t) {
      if (index.count() != count_)
        throw std::logic_error("an index holds what its list does not");
    });
  if (counted != count_ || last() != before)
    throw std::logic_error("a list does not hold as many items as it counts");
}

} // namespace tavo
