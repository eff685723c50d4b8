#include "tests/tavo/handwritten/Shelf.impl.h"

#include "tests/tavo/handwritten/Shelf.query.h"

#include "tavo/core/Errors.h"

#include <cstddef>

// Storages derive from each other, so their layout is only conditionally the standard's business; both compilers
// support it.
#pragma GCC diagnostic ignored "-Winvalid-offsetof"

namespace library {

using tavo::FeatureKind;
using tavo::PropertyFlag;

// Labelled

namespace {

constexpr std::uint32_t visible = PropertyFlag::publicAccessor;

const tavo::PropertyDecl labelledProperties[] = {
    {.name = "Name",
     .id = "00000000-0000-3000-8000-000000000011",
     .kind = FeatureKind::attribute,
     .flags = visible,
     .offset = offsetof(Labelled::Impl::Storage, Name),
     .datatype = &tavo::datatypeOf<tavo::String>},
    {.name = "note",
     .id = "00000000-0000-3000-8000-000000000012",
     .kind = FeatureKind::attribute,
     .flags = visible,
     .offset = offsetof(Labelled::Impl::Storage, note),
     .datatype = &tavo::datatypeOf<std::optional<tavo::String>>},
};

} // namespace

const tavo::ClassDecl& Labelled::declaration() {
  static const tavo::ClassDecl declared{
      .name = "Labelled",
      .qualifiedName = "library.Labelled",
      .id = "00000000-0000-3000-8000-000000000010",
      .flags = tavo::ClassFlag::isAbstract,
      .base = &tavo::ModelElement::declaration,
      .package = &package,
      .storageSize = sizeof(Impl::Storage),
      .construct = nullptr,
      .destroyStorage = nullptr,
      .properties = labelledProperties,
      .operations = {},
  };
  return declared;
}

const tavo::MetaClass& Labelled::metaClass() {
  static const tavo::MetaClass& known = tavo::MetaRegistry::instance().require(declaration());
  return known;
}

const tavo::String& Labelled::p_Name() const { return impl<Impl>().getP_Name(); }
const std::optional<tavo::String>& Labelled::note() const { return impl<Impl>().getNote(); }
void Labelled::setName(const tavo::String& name) const { impl<Impl>().setName(name); }

void Labelled::Impl::setP_Name(const tavo::String& value) {
  tavo::String taken = value;
  writeAttribute(objectClass().at(Index::Name), &taken);
}

void Labelled::Impl::setNote(const std::optional<tavo::String>& value) {
  std::optional<tavo::String> taken = value;
  writeAttribute(objectClass().at(Index::note), &taken);
}

void Labelled::Impl::setName(const tavo::String& name) { setP_Name(name); }

Labelled::Constrainables::Constrainables(const tavo::Query& query)
    : Constrainables(query, Labelled::metaClass(), tavo::ClassMatch::withSubclasses) {}
tavo::AttributeTerms<tavo::String> Labelled::Constrainables::p_Name() const {
  return tavo::AttributeTerms<tavo::String>(at(Impl::Index::Name));
}
tavo::AttributeTerms<std::optional<tavo::String>> Labelled::Constrainables::note() const {
  return tavo::AttributeTerms<std::optional<tavo::String>>(at(Impl::Index::note));
}

// Shelf

namespace {

const tavo::PropertyDecl shelfProperties[] = {
    {.name = "books",
     .id = "00000000-0000-3000-8000-000000000021",
     .kind = FeatureKind::containsMany,
     .flags = visible | PropertyFlag::unique,
     .offset = offsetof(Shelf::Impl::Storage, books),
     .target = &Book::declaration,
     .collection = tavo::CollectionKind::map,
     .opposite = "shelf",
     .key = "Name",
     .secondKey = "p_Index"},
    {.name = "authors",
     .id = "00000000-0000-3000-8000-000000000022",
     .kind = FeatureKind::containsMany,
     .flags = visible | PropertyFlag::ordered,
     .offset = offsetof(Shelf::Impl::Storage, authors),
     .target = &Author::declaration},
    {.name = "display",
     .id = "00000000-0000-3000-8000-000000000023",
     .kind = FeatureKind::containsOne,
     .flags = visible,
     .offset = offsetof(Shelf::Impl::Storage, display),
     .target = &Book::declaration},
};

} // namespace

const tavo::ClassDecl& Shelf::declaration() {
  static const tavo::ClassDecl declared{
      .name = "Shelf",
      .qualifiedName = "library.Shelf",
      .id = "00000000-0000-3000-8000-000000000020",
      .flags = tavo::ClassFlag::isRoot,
      .base = &Labelled::declaration,
      .package = &package,
      .storageSize = sizeof(Impl::Storage),
      .construct = &tavo::detail::constructObject<Impl>,
      .destroyStorage = &tavo::detail::destroyStorage<Impl>,
      .properties = shelfProperties,
      .operations = {},
  };
  return declared;
}

const tavo::MetaClass& Shelf::metaClass() {
  static const tavo::MetaClass& known = tavo::MetaRegistry::instance().require(declaration());
  return known;
}

Shelf Shelf::create(const tavo::Model& model, const tavo::Uuid& uuid) { return model.create<Shelf>(uuid); }
tavo::IndexedMapView<Book, std::u16string_view, std::uint32_t> Shelf::books() const { return impl<Impl>().getBooks(); }
tavo::View<Author> Shelf::authors() const { return impl<Impl>().getAuthors(); }
Book Shelf::display() const { return impl<Impl>().getDisplay(); }

tavo::IndexedMapView<Book, std::u16string_view, std::uint32_t> Shelf::Impl::getBooks() const {
  return {handle(), at(Index::books)};
}
tavo::MutableView<Book, tavo::IndexedMapView<Book, std::u16string_view, std::uint32_t>> Shelf::Impl::getBooksMutable() {
  return {handle(), at(Index::books)};
}
tavo::View<Author> Shelf::Impl::getAuthors() const { return {handle(), at(Index::authors)}; }
tavo::MutableView<Author, tavo::View<Author>> Shelf::Impl::getAuthorsMutable() {
  return {handle(), at(Index::authors)};
}
Book Shelf::Impl::getDisplay() const { return Book(one(at(Index::display))); }
tavo::MutableChild<Book> Shelf::Impl::getDisplayMutable() { return {handle(), at(Index::display)}; }

// Book

namespace {

const double priceDefault = 9.5;

const tavo::PropertyDecl bookProperties[] = {
    {.name = "shelf",
     .id = "00000000-0000-3000-8000-000000000031",
     .kind = FeatureKind::container,
     .flags = visible | PropertyFlag::transient,
     .target = &Shelf::declaration,
     .opposite = "books"},
    {.name = "p_Index",
     .id = "00000000-0000-3000-8000-000000000032",
     .kind = FeatureKind::attribute,
     .flags = visible,
     .offset = offsetof(Book::Impl::Storage, p_Index),
     .datatype = &tavo::datatypeOf<std::uint32_t>},
    {.name = "price",
     .id = "00000000-0000-3000-8000-000000000033",
     .kind = FeatureKind::attribute,
     .flags = visible,
     .offset = offsetof(Book::Impl::Storage, price),
     .datatype = &tavo::datatypeOf<double>,
     .defaultValue = [] { return static_cast<const void*>(&priceDefault); },
     .hook =
         [](tavo::ModelElement::Impl& object, const void* value) {
           static_cast<Book::Impl&>(object).aboutToSetPrice(*static_cast<const double*>(value));
         }},
    {.name = "editions",
     .id = "00000000-0000-3000-8000-000000000034",
     .kind = FeatureKind::attribute,
     .flags = visible | PropertyFlag::ordered,
     .offset = offsetof(Book::Impl::Storage, editions),
     .datatype = &tavo::datatypeOf<std::vector<std::uint64_t>>},
    {.name = "writers",
     .id = "00000000-0000-3000-8000-000000000035",
     .kind = FeatureKind::refersMany,
     .flags = visible | PropertyFlag::unique,
     .offset = offsetof(Book::Impl::Storage, writers),
     .target = &Author::declaration,
     .collection = tavo::CollectionKind::map,
     .opposite = "works",
     .key = "Name"},
    {.name = "sequel",
     .id = "00000000-0000-3000-8000-000000000036",
     .kind = FeatureKind::refersOne,
     .flags = visible,
     .offset = offsetof(Book::Impl::Storage, sequel),
     .target = &Book::declaration},
};

} // namespace

const tavo::ClassDecl& Book::declaration() {
  static const tavo::ClassDecl declared{
      .name = "Book",
      .qualifiedName = "library.Book",
      .id = "00000000-0000-3000-8000-000000000030",
      .flags = tavo::ClassFlag::isRoot,
      .base = &Labelled::declaration,
      .package = &package,
      .storageSize = sizeof(Impl::Storage),
      .construct = &tavo::detail::constructObject<Impl>,
      .destroyStorage = &tavo::detail::destroyStorage<Impl>,
      .properties = bookProperties,
      .operations = {},
  };
  return declared;
}

const tavo::MetaClass& Book::metaClass() {
  static const tavo::MetaClass& known = tavo::MetaRegistry::instance().require(declaration());
  return known;
}

Book Book::create(const tavo::Model& model, const tavo::Uuid& uuid) { return model.create<Book>(uuid); }
Shelf Book::shelf() const { return impl<Impl>().getShelf(); }
std::uint32_t Book::p_Index() const { return impl<Impl>().getP_Index(); }
double Book::price() const { return impl<Impl>().getPrice(); }
const std::vector<std::uint64_t>& Book::editions() const { return impl<Impl>().getEditions(); }
tavo::MapView<Author, std::u16string_view> Book::writers() const { return impl<Impl>().getWriters(); }
Book Book::sequel() const { return impl<Impl>().getSequel(); }

Shelf Book::Impl::getShelf() const { return Shelf(one(at(Index::shelf))); }
void Book::Impl::setShelf(const Shelf& value) { setOne(at(Index::shelf), value.get()); }
void Book::Impl::setP_Index(std::uint32_t value) { writeAttribute(at(Index::p_Index), &value); }
void Book::Impl::setPrice(double value) {
  if (runsHooks())
    aboutToSetPrice(value);
  writeAttribute(at(Index::price), &value);
}
void Book::Impl::setEditions(const std::vector<std::uint64_t>& value) {
  std::vector<std::uint64_t> taken = value;
  writeAttribute(at(Index::editions), &taken);
}
tavo::MapView<Author, std::u16string_view> Book::Impl::getWriters() const { return {handle(), at(Index::writers)}; }
tavo::MutableView<Author, tavo::MapView<Author, std::u16string_view>> Book::Impl::getWritersMutable() {
  return {handle(), at(Index::writers)};
}
Book Book::Impl::getSequel() const { return Book(one(at(Index::sequel))); }
void Book::Impl::setSequel(const Book& value) { setOne(at(Index::sequel), value.get()); }

void Book::Impl::aboutToSetPrice(double value) {
  if (value < 0)
    tavo::raise(tavo::FrameworkError::InvalidValue, value, "price", "a positive number");
}

void Book::Impl::aboutToDestroy() { setPrice(0); }

Book::Constrainables::Constrainables(const tavo::Query& query)
    : Constrainables(query, Book::metaClass(), tavo::ClassMatch::withSubclasses) {}
tavo::ObjectTerms Book::Constrainables::shelf() const { return tavo::ObjectTerms(at(Impl::Index::shelf)); }
tavo::AttributeTerms<std::uint32_t> Book::Constrainables::p_Index() const {
  return tavo::AttributeTerms<std::uint32_t>(at(Impl::Index::p_Index));
}
tavo::AttributeTerms<double> Book::Constrainables::price() const {
  return tavo::AttributeTerms<double>(at(Impl::Index::price));
}
tavo::AttributeTerms<std::vector<std::uint64_t>> Book::Constrainables::editions() const {
  return tavo::AttributeTerms<std::vector<std::uint64_t>>(at(Impl::Index::editions));
}
tavo::CollectionTerms Book::Constrainables::writers() const { return tavo::CollectionTerms(at(Impl::Index::writers)); }
tavo::ObjectTerms Book::Constrainables::sequel() const { return tavo::ObjectTerms(at(Impl::Index::sequel)); }

// Author

namespace {

const tavo::PropertyDecl authorProperties[] = {
    {.name = "works",
     .id = "00000000-0000-3000-8000-000000000041",
     .kind = FeatureKind::refersMany,
     .flags = visible | PropertyFlag::transient,
     .offset = offsetof(Author::Impl::Storage, works),
     .target = &Book::declaration,
     .opposite = "writers"},
};

} // namespace

const tavo::ClassDecl& Author::declaration() {
  static const tavo::ClassDecl declared{
      .name = "Author",
      .qualifiedName = "library.Author",
      .id = "00000000-0000-3000-8000-000000000040",
      .flags = tavo::ClassFlag::isRoot,
      .base = &Labelled::declaration,
      .package = &package,
      .storageSize = sizeof(Impl::Storage),
      .construct = &tavo::detail::constructObject<Impl>,
      .destroyStorage = &tavo::detail::destroyStorage<Impl>,
      .properties = authorProperties,
      .operations = {},
  };
  return declared;
}

const tavo::MetaClass& Author::metaClass() {
  static const tavo::MetaClass& known = tavo::MetaRegistry::instance().require(declaration());
  return known;
}

Author Author::create(const tavo::Model& model, const tavo::Uuid& uuid) { return model.create<Author>(uuid); }
tavo::View<Book> Author::works() const { return impl<Impl>().getWorks(); }
tavo::View<Book> Author::Impl::getWorks() const { return {handle(), objectClass().at(Index::works)}; }

// The package

const tavo::PackageDecl& package() {
  static const tavo::ClassDecl& (*const classes[])() = {&Labelled::declaration, &Shelf::declaration, &Book::declaration,
                                                        &Author::declaration};
  static const tavo::PackageDecl declared{
      .name = "library",
      .version = "1.0",
      .uri = "http://schema.zelkor.example/tavo/library/1.0",
      .depends = {},
      .namespaces = {},
      .datatypes = {},
      .classes = classes,
  };
  return declared;
}

} // namespace library
