// Facades in the form that the generator writes. This one package is kept by hand, so that the framework can be tested
// without the generator.
#pragma once

#include "tavo/collection/Views.h"
#include "tavo/core/String.h"
#include "tavo/model/Model.h"

#include <optional>

namespace library {

class Author;
class Book;
class Shelf;

/// Something with a name.
class Labelled : public tavo::ModelElement {
public:
  class Impl;
  class Constrainables;

  Labelled() noexcept = default;
  explicit Labelled(tavo::ModelElement::Impl* object) noexcept : tavo::ModelElement(object) {}

  static const tavo::ClassDecl& declaration();
  static const tavo::MetaClass& metaClass();

  const tavo::String& p_Name() const;
  const std::optional<tavo::String>& note() const;

  void setName(const tavo::String& name) const;
};

/// Books in order.
class Shelf : public Labelled {
public:
  class Impl;
  class Builder;
  class Constrainables;

  Shelf() noexcept = default;
  explicit Shelf(tavo::ModelElement::Impl* object) noexcept : Labelled(object) {}

  static const tavo::ClassDecl& declaration();
  static const tavo::MetaClass& metaClass();
  static Shelf create(const tavo::Model& model, const tavo::Uuid& uuid = {});

  tavo::IndexedMapView<Book, std::u16string_view, std::uint32_t> books() const;
  tavo::View<Author> authors() const;
  Book display() const;
};

class Book : public Labelled {
public:
  class Impl;
  class Builder;
  class Constrainables;

  Book() noexcept = default;
  explicit Book(tavo::ModelElement::Impl* object) noexcept : Labelled(object) {}

  static const tavo::ClassDecl& declaration();
  static const tavo::MetaClass& metaClass();
  static Book create(const tavo::Model& model, const tavo::Uuid& uuid = {});

  Shelf shelf() const;
  std::uint32_t p_Index() const;
  double price() const;
  const std::vector<std::uint64_t>& editions() const;
  tavo::MapView<Author, std::u16string_view> writers() const;
  Book sequel() const;
};

class Author : public Labelled {
public:
  class Impl;
  class Builder;
  class Constrainables;

  Author() noexcept = default;
  explicit Author(tavo::ModelElement::Impl* object) noexcept : Labelled(object) {}

  static const tavo::ClassDecl& declaration();
  static const tavo::MetaClass& metaClass();
  static Author create(const tavo::Model& model, const tavo::Uuid& uuid = {});

  tavo::View<Book> works() const;
};

} // namespace library
