#pragma once

#include "tavo/meta/Builder.h"
#include "tests/tavo/handwritten/Shelf.h"

namespace library {

class Labelled::Impl : public tavo::ModelElement::Impl {
public:
  using Base = tavo::ModelElement::Impl;
  struct Storage : Base::Storage {
    tavo::String Name;
    std::optional<tavo::String> note;
  };
  struct Index {
    static constexpr tavo::PropertyIndex Name = Base::propertyCount + 0;
    static constexpr tavo::PropertyIndex note = Base::propertyCount + 1;
  };
  static constexpr tavo::PropertyIndex propertyCount = Base::propertyCount + 2;
  class BuilderImpl;

  using Base::Base;
  Labelled This() { return Labelled(this); }

  const tavo::String& getP_Name() const { return storage().Name; }
  void setP_Name(const tavo::String& value);
  const std::optional<tavo::String>& getNote() const { return storage().note; }
  void setNote(const std::optional<tavo::String>& value);

  virtual void setName(const tavo::String& name);

private:
  Storage& storage() { return storageAs<Storage>(); }
  const Storage& storage() const { return storageAs<Storage>(); }
};

class Labelled::Impl::BuilderImpl : public Base::BuilderImpl {
public:
  using Base::BuilderImpl::BuilderImpl;
  void doSetP_Name(const tavo::String& value) { setValue<tavo::String>(Index::Name, value); }
  tavo::String getP_Name() const { return value<tavo::String>(Index::Name); }
  void doSetNote(const std::optional<tavo::String>& value) {
    setValue<std::optional<tavo::String>>(Index::note, value);
  }
};

class Shelf::Impl : public Labelled::Impl {
public:
  using Base = Labelled::Impl;
  struct Storage : Base::Storage {
    tavo::ListField books;
    tavo::ListField authors;
    tavo::ChildField display = nullptr;
  };
  struct Index {
    static constexpr tavo::PropertyIndex books = Base::propertyCount + 0;
    static constexpr tavo::PropertyIndex authors = Base::propertyCount + 1;
    static constexpr tavo::PropertyIndex display = Base::propertyCount + 2;
  };
  static constexpr tavo::PropertyIndex propertyCount = Base::propertyCount + 3;
  class BuilderImpl;

  using Base::Base;
  Shelf This() { return Shelf(this); }

  tavo::IndexedMapView<Book, std::u16string_view, std::uint32_t> getBooks() const;
  tavo::MutableView<Book, tavo::IndexedMapView<Book, std::u16string_view, std::uint32_t>> getBooksMutable();
  tavo::View<Author> getAuthors() const;
  tavo::MutableView<Author, tavo::View<Author>> getAuthorsMutable();
  Book getDisplay() const;
  tavo::MutableChild<Book> getDisplayMutable();

private:
  const tavo::MetaProperty& at(tavo::PropertyIndex index) const { return objectClass().at(index); }
};

class Shelf::Impl::BuilderImpl : public Base::BuilderImpl {
public:
  using Base::BuilderImpl::BuilderImpl;
  void doAddBooks(tavo::ModelElement::Impl::BuilderImpl child) {
    setOrAdd(metaClass().at(Index::books), std::move(child));
  }
};

class Shelf::Builder : public tavo::BuilderBase<Shelf::Impl::BuilderImpl, Shelf, Shelf::Builder> {
public:
  using BuilderBase::BuilderBase;
};

class Book::Impl : public Labelled::Impl {
public:
  using Base = Labelled::Impl;
  struct Storage : Base::Storage {
    std::uint32_t p_Index = 0;
    double price = 9.5;
    std::vector<std::uint64_t> editions;
    tavo::ListField writers;
    tavo::LinkField sequel = nullptr;
  };
  struct Index {
    static constexpr tavo::PropertyIndex shelf = Base::propertyCount + 0;
    static constexpr tavo::PropertyIndex p_Index = Base::propertyCount + 1;
    static constexpr tavo::PropertyIndex price = Base::propertyCount + 2;
    static constexpr tavo::PropertyIndex editions = Base::propertyCount + 3;
    static constexpr tavo::PropertyIndex writers = Base::propertyCount + 4;
    static constexpr tavo::PropertyIndex sequel = Base::propertyCount + 5;
  };
  static constexpr tavo::PropertyIndex propertyCount = Base::propertyCount + 6;
  class BuilderImpl;

  using Base::Base;
  Book This() { return Book(this); }

  Shelf getShelf() const;
  void setShelf(const Shelf& value);
  std::uint32_t getP_Index() const { return storage().p_Index; }
  void setP_Index(std::uint32_t value);
  double getPrice() const { return storage().price; }
  void setPrice(double value);
  void aboutToSetPrice(double value);
  const std::vector<std::uint64_t>& getEditions() const { return storage().editions; }
  void setEditions(const std::vector<std::uint64_t>& value);
  tavo::MapView<Author, std::u16string_view> getWriters() const;
  tavo::MutableView<Author, tavo::MapView<Author, std::u16string_view>> getWritersMutable();
  Book getSequel() const;
  void setSequel(const Book& value);

  void aboutToDestroy() override;

private:
  Storage& storage() { return storageAs<Storage>(); }
  const Storage& storage() const { return storageAs<Storage>(); }
  const tavo::MetaProperty& at(tavo::PropertyIndex index) const { return objectClass().at(index); }
};

class Book::Impl::BuilderImpl : public Base::BuilderImpl {
public:
  using Base::BuilderImpl::BuilderImpl;
  void doSetP_Index(std::uint32_t value) { setValue<std::uint32_t>(Index::p_Index, value); }
  void doSetPrice(double value) { setValue<double>(Index::price, value); }
};

class Book::Builder : public tavo::BuilderBase<Book::Impl::BuilderImpl, Book, Book::Builder> {
public:
  using BuilderBase::BuilderBase;
};

class Author::Impl : public Labelled::Impl {
public:
  using Base = Labelled::Impl;
  struct Storage : Base::Storage {
    tavo::ListField works;
  };
  struct Index {
    static constexpr tavo::PropertyIndex works = Base::propertyCount + 0;
  };
  static constexpr tavo::PropertyIndex propertyCount = Base::propertyCount + 1;

  using Base::Base;
  Author This() { return Author(this); }

  tavo::View<Book> getWorks() const;
};

const tavo::PackageDecl& package();

} // namespace library
