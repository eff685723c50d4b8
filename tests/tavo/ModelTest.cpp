#include "tests/support/ErrorMatchers.h"
#include "tests/tavo/fixture/Author.builder.h"
#include "tests/tavo/fixture/Book.builder.h"
#include "tests/tavo/fixture/Node.h"
#include "tests/tavo/fixture/Shelf.builder.h"

#include "tavo/model/ChangeSet.h"
#include "tavo/model/Transaction.h"

#include <gtest/gtest.h>

namespace {

using namespace library;

class ModelTest : public testing::Test {
protected:
  void TearDown() override {
    if (model)
      tavo::checkInvariants(model);
  }
  Book book(const Shelf& shelf, std::u16string_view name, std::uint32_t index) {
    auto made = Book::create(model);
    made.setName(name);
    made.setNumber(index);
    shelf.getBooksMutable().add(made);
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
  EXPECT_ERROR(dune.name(), "tavo:messages:NonExistentObject");
  EXPECT_FALSE(model.find(uuid));
  ASSERT_TRUE(model.undo());
  EXPECT_TRUE(dune);
  EXPECT_EQ(dune.shelf(), shelf);
  EXPECT_EQ(shelf.books().find(u"Dune"), dune);
  EXPECT_EQ(dune.price(), 9.5); // what the hook of the destruction wrote is taken back too
  model.destroy();
  EXPECT_FALSE(dune);
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

TEST_F(ModelTest, ATransactionRollsBackAfterACreationThatFailed) {
  tavo::Transaction transaction(model);
  Shelf::create(model);
  EXPECT_ERROR(model.create(Labelled::metaClass()), "tavo:messages:NoSuchType");
  transaction.rollback();
  EXPECT_EQ(model.objectCount(), 0u);
}

TEST_F(ModelTest, AnUnloggedUpdateLeavesNoStepAndUndoStaysRightAroundIt) {
  auto shelf = Shelf::create(model);
  model.clearHistory();
  shelf.setName(u"by hand");
  int heard = 0;
  const auto token = model.addShallowListener([&] { ++heard; });
  {
    const tavo::UnloggedUpdate following(model);
    shelf.setNote(tavo::String(u"followed"));
  }
  EXPECT_EQ(heard, 0);
  EXPECT_TRUE(model.undo());
  EXPECT_FALSE(model.canUndo());
  EXPECT_EQ(shelf.name(), u"");
  EXPECT_EQ(shelf.note(), tavo::String(u"followed"));

  // Only values, and no keys: what the history comes back to must fit.
  const tavo::UnloggedUpdate following(model);
  EXPECT_ERROR(shelf.setName(u"by hand"), "tavo:messages:ChangeMustBeRecorded");
  EXPECT_ERROR(Shelf::create(model), "tavo:messages:ChangeMustBeRecorded");
  EXPECT_ERROR(shelf.destroy(), "tavo:messages:ChangeMustBeRecorded");
}

TEST_F(ModelTest, TheOldValueIsThatBeforeTheOutermostTransaction) {
  auto shelf = Shelf::create(model);
  shelf.setName(u"old");
  const auto old = [&] { return shelf.object().getOldValue(Shelf::metaClass().property("name")).toText(); };
  tavo::Transaction outer(model);
  EXPECT_EQ(old(), "old");
  shelf.setName(u"new");
  {
    tavo::Transaction inner(model);
    shelf.setName(u"newer");
    EXPECT_EQ(old(), "old");
  }
  EXPECT_EQ(old(), "old");
  outer.commit();
  EXPECT_EQ(old(), "new");
}

TEST_F(ModelTest, TheFirstTopLevelObjectOfAClassIsFoundAmongManyOthers) {
  for (int i = 0; i < 50; ++i)
    Shelf::create(model);
  EXPECT_FALSE(model.findTopLevel<Author>());
  const auto owned = Book::create(model);
  model.createProxy(Book::metaClass(), tavo::randomUuid());
  auto shelf = Shelf::create(model);
  shelf.getDisplayMutable().add(owned);
  EXPECT_FALSE(model.findTopLevel<Book>());
  const auto first = Book::create(model);
  EXPECT_EQ(model.findTopLevel<Book>(), first);
  const auto second = Book::create(model);
  EXPECT_EQ(model.findTopLevel<Book>(), first);
  EXPECT_EQ(model.findTopLevel<Labelled>(), model.topLevel().front());
  first.destroy();
  EXPECT_EQ(model.findTopLevel<Book>(), second);

  // Whatever brings objects to the top level, or takes them away, is seen.
  EXPECT_TRUE(model.undo());
  EXPECT_EQ(model.findTopLevel<Book>(), first);
  static_cast<Shelf::Impl&>(model.findTopLevel<Shelf>().object()).getDisplayMutable().add(first);
  EXPECT_EQ(model.findTopLevel<Book>(), second);
  shelf.getDisplayMutable().remove();
  second.destroy();
  EXPECT_EQ(model.findTopLevel<Book>(), owned);
  const auto other = tavo::Model::create();
  EXPECT_FALSE(other.findTopLevel<Book>());
  model.moveContentsTo(other);
  EXPECT_EQ(other.findTopLevel<Book>(), owned);
  EXPECT_FALSE(model.findTopLevel<Book>());
}

TEST_F(ModelTest, AddingToAReferenceToOneReplacesAndRemovingClearsWhatIsThere) {
  auto dune = Book::create(model), emma = Book::create(model);
  auto shelf = Shelf::create(model);
  const auto& sequel = Book::metaClass().property("sequel");
  dune.object().add(sequel, emma.get());
  EXPECT_EQ(dune.sequel(), emma);
  dune.object().add(sequel, dune.get());
  dune.object().remove(sequel, emma.get());
  EXPECT_EQ(dune.sequel(), dune);
  dune.object().remove(sequel, dune.get());
  EXPECT_FALSE(dune.sequel());
  dune.object().add(Book::metaClass().property("shelf"), shelf.get());
  EXPECT_EQ(shelf.books().find(u""), dune);
}

TEST_F(ModelTest, WhatIsRefusedSaysWhyAndLeavesTheModelAsItWas) {
  const auto shelf = Shelf::create(model);
  const auto dune = book(shelf, u"Dune", 0), emma = book(shelf, u"Emma", 1);
  const auto writer = Author::create(model), gone = Author::create(model);
  gone.destroy();
  const auto elsewhere = tavo::Model::create();
  const auto stranger = Book::create(elsewhere);
  const auto standIn = model.createProxy(Book::metaClass(), tavo::randomUuid()).cast<Book>();
  const auto node = graph::Node::create(model), inner = graph::Node::create(model);
  node.getChildrenMutable().add(inner);
  const auto property = [](const tavo::ModelElement& of, std::string_view name) -> const tavo::MetaProperty& {
    return of.objectClass().property(name);
  };
  const auto set = [&](const tavo::ModelElement& of, std::string_view name, const tavo::Value& value) {
    of.setPropertyValue(property(of, name), value);
  };
  const auto add = [&](const tavo::ModelElement& to, std::string_view name, const tavo::ModelElement& item) {
    to.object().add(property(to, name), item.get());
  };
  const auto text = [](std::u16string_view of) { return tavo::Value::of(tavo::String(of)); };
  const auto handle = [](const tavo::ModelElement& of) { return tavo::Value::of(of); };
  const auto id = [](const tavo::ModelElement& of) { return tavo::String::fromUtf8(tavo::toText(of.Uuid())); };
  Shelf::Builder builder(model);

  const struct {
    std::function<void()> attempt;
    const char* key;
    std::vector<tavo::String> arguments;
  } rows[] = {
      {[&] { add(shelf, "books", writer); }, "CannotAddIncompatibleTypes", {u"Author", u"books", u"Book"}},
      {[&] { set(dune, "sequel", handle(shelf)); }, "CannotAddIncompatibleTypes", {u"Shelf", u"sequel", u"Book"}},
      {[&] { builder.setOrAdd(property(shelf, "books"), Author::Builder()); },
       "CannotAddIncompatibleTypes",
       {u"Author", u"books", u"Book"}},
      {[&] { shelf.getAuthorsMutable().add(gone); }, "CannotAddNonExistentObject", {u"authors"}},
      {[&] { dune.getWritersMutable().add({}); }, "CannotAddNonExistentObject", {u"writers"}},
      {[&] { set(dune, "sequel", handle(gone)); }, "CannotAddNonExistentObject", {u"sequel"}},
      {[&] { shelf.getDisplayMutable().add(dune); }, "CannotAddSecondObject", {u"display", u"Book"}},
      {[&] { node.getOnlyMutable().add(inner); }, "CannotAddSecondObject", {u"only", u"Node"}},
      {[&] { shelf.cast<Book>(); }, "CannotCastIncompatibleTypes", {u"Shelf", u"Book"}},
      {[&] { dune.setSequel(stranger); }, "CannotCreateCrossModelAssociation", {u"sequel"}},
      {[&] { shelf.getBooksMutable().add(stranger); }, "CannotCreateCrossModelAssociation", {u"books"}},
      {[&] { Book::create({}); }, "CannotCreateWithoutModel", {u"Book"}},
      {[&] { Book::Builder().doCreate(); }, "CannotCreateWithoutModel", {u"Book"}},
      {[&] { standIn.setName(u"x"); }, "CannotModifyProxy", {u"Book", u"name"}},
      {[&] { standIn.setSequel(dune); }, "CannotModifyProxy", {u"Book", u"sequel"}},
      {[&] { shelf.getBooksMutable().add(standIn); }, "CannotModifyProxy", {u"Book", u"books"}},
      {[&] { set(dune, "isbn", text(u"1")); }, "CannotSetReadOnlyProperty", {u"isbn", u"Book"}},
      {[&] {
         const tavo::Transaction open(model);
         for (const Book each : shelf.books())
           each.setName(u"renamed");
       },
       "CollectionChangedWhileIterating",
       {u"books"}},
      {[&] { inner.getChildrenMutable().add(node); }, "ContainmentCycle", {u"children", u"Node"}},
      {[&] { inner.getOnlyMutable().add(inner); }, "ContainmentCycle", {u"only", u"Node"}},
      {[&] { Book::create(model, dune.Uuid()); }, "DuplicateIdentity", {u"", id(dune)}},
      {[&] { dune.setPrice(-1); }, "InvalidValue", {u"-1.000000", u"price", u"a positive number"}},
      {[&] { set(dune, "price", tavo::Value::of(-1.0)); },
       "InvalidValue",
       {u"-1.000000", u"price", u"a positive number"}},
      {[&] { set(dune, "price", text(u"9")); }, "InvalidValue", {u"9", u"price", u"double"}},
      {[&] { set(dune, "price", text(u"a\xD800")); }, "InvalidValue", {u"a\\uD800", u"price", u"double"}},
      {[&] { set(dune, "price", {}); }, "InvalidValue", {u"nothing", u"price", u"double"}},
      {[&] { set(dune, "sequel", text(u"9")); }, "InvalidValue", {}},
      {[&] { builder.setOrAdd(property(shelf, "name"), tavo::Value::of(1.0)); },
       "InvalidValue",
       {u"1", u"name", u"string"}},
      {[&] { property(dune, "prize"); }, "NoSuchProperty", {u"prize", u"Book"}},
      {[&] { dune.object().getPropertyByIndex(99); }, "NoSuchProperty", {u"99", u"Book"}},
      {[&] { shelf.setPropertyValue(property(dune, "price"), tavo::Value::of(1.0)); },
       "NoSuchProperty",
       {u"price", u"Shelf"}},
      {[&] { shelf.getPropertyValue(property(dune, "price")); }, "NoSuchProperty", {u"price", u"Shelf"}},
      {[&] { builder.setOrAdd(property(dune, "price"), tavo::Value::of(1.0)); },
       "NoSuchProperty",
       {u"price", u"Shelf"}},
      {[&] { tavo::MetaRegistry::instance().classNamed("library.Ghost"); }, "NoSuchType", {u"library.Ghost"}},
      {[&] { model.create(Labelled::metaClass()); }, "NoSuchType", {u"library.Labelled"}},
      {[&] { gone.setName(u"x"); }, "NonExistentObject", {u"Author"}},
      {[&] { Book().price(); }, "NonExistentObject", {u"ModelElement"}},
      {[&] { tavo::modelText(model); }, "UncontainedObject", {id(writer), u"Author"}},
      {[&] { emma.setNumber(0); }, "UniquenessConstraint", {u"books", u"0"}},
      {[&] { tavo::readModel(tavo::treeText(dune), "again", model); }, "DuplicateIdentity", {}},
      {[&] {
         const tavo::Transaction open(model);
         model.undo();
       },
       "UndoInsideTransaction",
       {}},
      {[&] {
         const tavo::Transaction open(elsewhere);
         elsewhere.moveContentsTo(model);
       },
       "MoveInsideTransaction",
       {}},
      {[&] {
         model.setFrozen(true);
         dune.setName(u"x");
       },
       "ModelFrozen",
       {}},
  };
  for (const auto& row : rows) {
    const auto before = testsupport::stateOf(model);
    EXPECT_TRUE(testsupport::raises(row.attempt, std::string("tavo:messages:") + row.key, row.arguments))
        << "row " << &row - rows;
    EXPECT_EQ(testsupport::stateOf(model), before) << "row " << &row - rows;
  }
  model.setFrozen(false);
}

TEST_F(ModelTest, ListenersThatNeverRestAreStoppedAndThoseOfAnUndoCannotWrite) {
  const auto shelf = Shelf::create(model);
  std::vector<std::string> reported;
  tavo::setListenerErrorHandler(
      [&](const std::exception& error) { reported.emplace_back(dynamic_cast<const tavo::Error&>(error).id().text()); });
  std::size_t rounds = 0;
  auto token = model.addShallowListener([&] { shelf.setName(tavo::String::fromUtf8(std::to_string(++rounds))); });
  shelf.setName(u"start");
  EXPECT_EQ(reported, std::vector<std::string>{"tavo:messages:TooManyListenerRounds"});
  EXPECT_EQ(rounds, 16u);
  EXPECT_EQ(shelf.name(), u"16");
  EXPECT_TRUE(model.undo()); // is announced, too; what it took back is not to be written over
  EXPECT_EQ(reported.back(), "tavo:messages:ModelFrozen");
  EXPECT_EQ(shelf.name(), u"");
  token.reset();
  tavo::setListenerErrorHandler([](const std::exception& error) { std::fprintf(stderr, "%s\n", error.what()); });
}

} // namespace
