#include "tests/support/ErrorMatchers.h"
#include "tests/tavo/handwritten/Shelf.impl.h"

#include "tavo/model/ChangeSet.h"
#include "tavo/model/Transaction.h"

#include <gtest/gtest.h>

namespace {

using namespace library;

template <class Facade>
auto& impl(const Facade& facade) {
  return static_cast<typename Facade::Impl&>(facade.object());
}

class ModelTest : public testing::Test {
protected:
  void TearDown() override {
    if (model)
      tavo::checkInvariants(model);
  }
  Book book(const Shelf& shelf, std::u16string_view name, std::uint32_t index) {
    auto made = Book::create(model);
    made.setName(name);
    impl(made).setP_Index(index);
    impl(made).setShelf(shelf);
    return made;
  }
  tavo::Model model = tavo::Model::create();
};

TEST_F(ModelTest, HandlesAreFalseOnceTheirObjectIsDestroyedAndTrueAgainAfterUndo) {
  auto shelf = Shelf::create(model);
  auto dune = book(shelf, u"Dune", 0);
  const auto uuid = dune.Uuid();
  shelf.destroy();
  EXPECT_FALSE(shelf);
  EXPECT_FALSE(dune);
  EXPECT_ERROR(dune.p_Name(), "tavo:messages:NonExistentObject");
  EXPECT_FALSE(model.find(uuid));
  ASSERT_TRUE(model.undo());
  EXPECT_TRUE(dune);
  EXPECT_EQ(dune.shelf(), shelf);
  EXPECT_EQ(shelf.books().find(u"Dune"), dune);
  EXPECT_EQ(dune.price(), 9.5); // what the hook of the destruction wrote is taken back too
  model.destroy();
  EXPECT_FALSE(dune);
}

TEST_F(ModelTest, KeyedCollectionsFollowTheirKeysThroughRenameClashUndoAndRedo) {
  auto shelf = Shelf::create(model);
  std::vector<Book> books;
  for (std::uint32_t i = 0; i < 40; ++i)
    books.push_back(book(shelf, tavo::concat(u"book ", std::u16string(1, static_cast<char16_t>(u'A' + i))), i));
  EXPECT_ERROR(books[3].setName(u"book B"), "tavo:messages:UniquenessConstraint");
  EXPECT_ERROR(impl(books[3]).setP_Index(7), "tavo:messages:UniquenessConstraint");
  EXPECT_EQ(shelf.books().find(u"book D"), books[3]);
  books[3].setName(u"another");
  EXPECT_EQ(shelf.books().find(u"another"), books[3]);
  EXPECT_FALSE(shelf.books().find(u"book D"));
  EXPECT_EQ(shelf.books().findSecond(3), books[3]);
  EXPECT_EQ(shelf.books()[0], books[3]); // in the order of the keys
  model.undo();
  EXPECT_EQ(shelf.books().find(u"book D"), books[3]);
  EXPECT_FALSE(shelf.books().find(u"another"));
  model.redo();
  EXPECT_EQ(shelf.books().find(u"another"), books[3]);
  tavo::checkInvariants(model);
}

TEST_F(ModelTest, ReferencesAreKeptAtBothEnds) {
  auto shelf = Shelf::create(model);
  auto dune = book(shelf, u"Dune", 0);
  auto frank = Author::create(model);
  frank.setName(u"Frank");
  impl(dune).getWritersMutable().add(frank);
  EXPECT_EQ(frank.works().toVector(), std::vector{dune});
  EXPECT_EQ(dune.writers().find(u"Frank"), frank);
  frank.setName(u"Franklin");
  EXPECT_EQ(dune.writers().find(u"Franklin"), frank);
  impl(dune).setSequel(dune);
  dune.destroy();
  EXPECT_TRUE(frank.works().empty());
  tavo::checkInvariants(model);
  model.undo();
  EXPECT_EQ(frank.works().toVector(), std::vector{dune});
  EXPECT_EQ(dune.sequel(), dune);
}

TEST_F(ModelTest, WhatWaitsForTheCommitRunsOnceAfterItAndNotWhenItsSavepointIsRolledBack) {
  auto shelf = Shelf::create(model);
  std::vector<std::string> log;
  const auto note = [&](std::string what) {
    model.afterCommit([&, what] { log.push_back(what + (model.undoSerial() ? " committed" : "")); });
  };
  model.clearHistory();
  {
    tavo::Transaction outer(model);
    note("first");
    {
      tavo::Transaction inner(model);
      shelf.setName(u"given up");
      note("given up");
    }
    {
      tavo::Transaction inner(model);
      shelf.setName(u"kept");
      note("second");
      inner.commit();
    }
    EXPECT_TRUE(log.empty());
    outer.commit();
  }
  EXPECT_EQ(log, (std::vector<std::string>{"first committed", "second committed"}));
  {
    tavo::Transaction abandoned(model);
    note("abandoned");
  }
  note("outside");
  EXPECT_EQ(log.back(), "outside committed");
  EXPECT_EQ(log.size(), 3u);
}

TEST_F(ModelTest, AnUnloggedUpdateLeavesNoStepAndUndoStaysRightAroundIt) {
  auto shelf = Shelf::create(model);
  model.clearHistory();
  shelf.setName(u"by hand");
  int heard = 0;
  const auto token = model.addShallowListener([&] { ++heard; });
  {
    const tavo::UnloggedUpdate following(model);
    impl(shelf).setNote(tavo::String(u"followed"));
  }
  EXPECT_EQ(heard, 0);
  EXPECT_TRUE(model.undo());
  EXPECT_FALSE(model.canUndo());
  EXPECT_EQ(shelf.p_Name(), u"");
  EXPECT_EQ(shelf.note(), tavo::String(u"followed"));
}

} // namespace
