#include "tavo/query/Query.h"

#include "tests/support/ErrorMatchers.h"
#include "tests/tavo/fixture/Author.h"
#include "tests/tavo/fixture/Book.query.h"
#include "tests/tavo/fixture/Shelf.h"

#include <gmock/gmock.h>

namespace {

using namespace library;
using testing::UnorderedElementsAre;

class QueryTest : public testing::Test {
protected:
  Book book(std::u16string_view name, double price) {
    auto made = Book::create(model);
    made.setName(name);
    made.setPrice(price);
    return made;
  }

  tavo::Model model = tavo::Model::create();
  tavo::Query query{model};
  Shelf shelf = Shelf::create(model);
  Book dune = book(u"Dune", 5);
  Book emma = book(u"Emma", 7);
  Book ulysses = book(u"Ulysses", 12);
};

TEST_F(QueryTest, TermsOnEveryKindOfFeatureSelectWhatTheySay) {
  shelf.getBooksMutable().add(dune);
  dune.setSequel(emma);
  dune.setNote(tavo::String(u""));
  auto frank = Author::create(model);
  emma.getWritersMutable().add(frank);

  const Book::Constrainables book(query);
  const std::pair<tavo::Term, std::vector<Book>> rows[] = {
      {tavo::Term(), {dune, emma, ulysses}},
      {book.price().less(7), {dune}},
      {book.price().greater(5) && book.price().less(12), {emma}},
      {book.price().equals(7) || book.price().equals(12), {emma, ulysses}},
      {book.price().differs(7), {dune, ulysses}},
      {book.name().startsWith(u"Du"), {dune}},
      {book.name().contains(u"ss"), {ulysses}},
      {!book.name().contains(u"e") && book.name().greater(u"A"), {emma}},
      {book.note().equals(std::nullopt), {emma, ulysses}},
      {book.shelf().is(shelf), {dune}},
      {book.sequel().is(emma), {dune}},
      {book.sequel().isEmpty(), {emma, ulysses}},
      {book.writers().contains(frank), {emma}},
      {book.writers().isEmpty(), {dune, ulysses}},
  };
  for (std::size_t row = 0; row < std::size(rows); ++row)
    EXPECT_THAT(query.select<Book>(book, rows[row].first), testing::UnorderedElementsAreArray(rows[row].second))
        << "row " << row;
}

TEST_F(QueryTest, TheClassMatchDecidesAboutSubclassesAndGoneObjectsAreNotFound) {
  const Labelled::Constrainables named(query);
  EXPECT_EQ(query.select<Labelled>().size(), 4u);
  EXPECT_THAT(query.select<Labelled>(tavo::ClassMatch::exact), testing::IsEmpty());
  // A term on a feature of books says nothing of shelves.
  EXPECT_THAT(query.select<Labelled>(Book::Constrainables(query).price().greater(0)),
              UnorderedElementsAre(dune, emma, ulysses));
  const Book::Constrainables exactly(query, Book::metaClass(), tavo::ClassMatch::exact);
  emma.destroy();
  model.createProxy(Book::metaClass(), tavo::randomUuid());
  EXPECT_THAT(query.select<Book>(exactly), UnorderedElementsAre(dune, ulysses));
  model.destroy();
  EXPECT_ERROR(query.select<Book>(), "tavo:messages:CannotCreateWithoutModel");
}

} // namespace
