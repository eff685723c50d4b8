// Views of collections: what facades hand out. A view is a handle of its owner and a feature; it copies nothing and
// always shows the present state.
#pragma once

#include "tavo/meta/MetaRegistry.h"
#include "tavo/model/ModelElement.h"

#include <iterator>

namespace tavo {

/// The untyped side of all views. Using a view whose owner has been destroyed raises NonExistentObject.
class TAVO_EXPORT ObjectView {
public:
  ObjectView(ModelElement owner, const MetaProperty& property) : owner_(std::move(owner)), property_(&property) {}

  std::size_t size() const;
  bool empty() const { return size() == 0; }
  bool contains(const ModelElement& element) const;
  const MetaProperty& property() const { return *property_; }

  /// The object at a position; raises std::out_of_range past the end. Maps are in the order of their keys.
  ModelElement::Impl* objectAt(std::size_t position) const;
  /// The object of that key in a map's index; null when there is none.
  ModelElement::Impl* findKey(std::size_t which, const void* key) const;
  ModelElement::Impl* findText(std::size_t which, std::u16string_view key) const;

  void add(ModelElement::Impl* item, std::size_t position = static_cast<std::size_t>(-1)) const;
  void remove(ModelElement::Impl* item) const;
  void clear() const;

protected:
  std::uint32_t version() const;
  [[noreturn]] void raiseChanged() const;

  ModelElement owner_;
  const MetaProperty* property_;
};

/// A read-only view of a to-many feature. Iterating while the collection changes raises
/// CollectionChangedWhileIterating; to change what is iterated, iterate over `toVector()`.
template <class Facade>
class View : public ObjectView {
public:
  using Item = Facade;
  using ObjectView::ObjectView;

  class Iterator {
  public:
    using iterator_category = std::input_iterator_tag;
    using value_type = Facade;
    using difference_type = std::ptrdiff_t;
    using pointer = const Facade*;
    using reference = Facade;

    Facade operator*() const {
      requireUnchanged();
      return Facade(view_->objectAt(position_));
    }
    Iterator& operator++() {
      requireUnchanged();
      ++position_;
      return *this;
    }
    void operator++(int) { ++*this; }
    friend bool operator==(const Iterator& a, const Iterator& b) { return a.position_ == b.position_; }

  private:
    friend class View;
    Iterator(const View& view, std::size_t position) : view_(&view), position_(position), version_(view.version()) {}
    void requireUnchanged() const {
      if (view_->version() != version_)
        view_->raiseChanged();
    }

    const View* view_;
    std::size_t position_;
    std::uint32_t version_;
  };

  Iterator begin() const { return Iterator(*this, 0); }
  Iterator end() const { return Iterator(*this, size()); }
  Facade operator[](std::size_t position) const { return Facade(objectAt(position)); }
  Facade front() const { return (*this)[0]; }
  Facade back() const { return (*this)[size() - 1]; }

  std::vector<Facade> toVector() const {
    std::vector<Facade> all;
    const std::size_t count = size();
    all.reserve(count);
    for (std::size_t i = 0; i < count; ++i)
      all.push_back((*this)[i]);
    return all;
  }

protected:
  // Changing is for the mutable views.
  using ObjectView::add;
  using ObjectView::clear;
  using ObjectView::remove;
};

/// A view of a map. Key is what lookups take: a text view for string keys.
template <class Facade, class Key>
class MapView : public View<Facade> {
public:
  using View<Facade>::View;

  /// The object of that key, or an empty handle.
  Facade find(const Key& key) const {
    if constexpr (std::is_convertible_v<Key, std::u16string_view>)
      return Facade(this->findText(0, key));
    else
      return Facade(this->findKey(0, &key));
  }
  bool has(const Key& key) const { return static_cast<bool>(find(key)); }
};

/// A view of a map with a second index.
template <class Facade, class Key, class SecondKey>
class IndexedMapView : public MapView<Facade, Key> {
public:
  using MapView<Facade, Key>::MapView;

  Facade findSecond(const SecondKey& key) const {
    if constexpr (std::is_convertible_v<SecondKey, std::u16string_view>)
      return Facade(this->findText(1, key));
    else
      return Facade(this->findKey(1, &key));
  }
};

/// A view through which a collection changes. `Base` is one of the views above.
template <class Base>
class Mutable : public Base {
public:
  using Base::Base;
  using typename Base::Item;

  /// At the end of a sequence. Raises CannotAddSecondObject for an object that is contained already,
  /// UniquenessConstraint for a key that is taken.
  void add(const Item& item) const { ObjectView::add(item.get()); }
  /// Before the object that is at `position` of a sequence. Finding the place takes time that grows with the sequence.
  void insert(std::size_t position, const Item& item) const { ObjectView::add(item.get(), position); }
  /// Takes out; contained objects become top-level and live on. Nothing when the object is not in there.
  void remove(const Item& item) const { ObjectView::remove(item.get()); }
  void clear() const { ObjectView::clear(); }
};

/// A to-one containment through which its child is put in or taken out.
template <class Facade>
class MutableChild {
public:
  MutableChild(ModelElement owner, const MetaProperty& property) : owner_(std::move(owner)), property_(&property) {}

  Facade get() const { return Facade(owner_.object().one(*property_)); }
  /// Raises CannotAddSecondObject when there is one already, or when the object is contained elsewhere.
  void add(const Facade& child) const { owner_.object().add(*property_, child.get()); }
  void remove() const { owner_.object().remove(*property_, owner_.object().one(*property_)); }
  /// Destroys the child, if there is one.
  void destroy() const {
    if (const Facade child = get())
      child.destroy();
  }
  /// Destroys the child, if there is one, and puts another in.
  void replace(const Facade& child) const { owner_.object().replace(*property_, child.get()); }

private:
  ModelElement owner_;
  const MetaProperty* property_;
};

} // namespace tavo
