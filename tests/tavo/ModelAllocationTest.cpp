// What happens when memory runs out: nothing. Every operation is tried with each of its allocations failing in turn.
#include "tests/support/Allocations.h"
#include "tests/support/StateDump.h"
#include "tests/tavo/fixture/Book.builder.h"
#include "tests/tavo/fixture/Node.h"
#include "tests/tavo/fixture/Shelf.builder.h"

#include "tavo/model/ChangeSet.h"
#include "tavo/model/ModelElementDatatype.h"
#include "tavo/model/Transaction.h"

#include <gtest/gtest.h>

namespace {

using graph::Node;

const tavo::MetaProperty& feature(std::string_view name) { return Node::metaClass().property(name); }
tavo::ModelElement::Impl& impl(const tavo::ModelElement& handle) { return handle.object(); }

class ModelAllocationTest : public testing::Test {
protected:
  /// `attempt` succeeds once memory suffices and leaves no trace of the failures before.
  template <class Attempt>
  void sweep(const char* what, const Attempt& attempt) {
    SCOPED_TRACE(what);
    std::string before = testsupport::dumpState(model);
    testsupport::failEachAllocation(
        attempt,
        [&](std::size_t count) {
          tavo::checkInvariants(model);
          ASSERT_EQ(testsupport::dumpState(model), before) << "allocation " << count;
          // What was taken out of use by the failure must be of use again.
          tavo::Transaction unfinished(model);
          model.create<Node>();
        },
        [&] {
          EXPECT_TRUE(model.undo());
          EXPECT_EQ(withoutHistory(testsupport::dumpState(model)), withoutHistory(before));
          before = testsupport::dumpState(model);
        });
    const std::string after = testsupport::dumpState(model);
    EXPECT_NE(after, before);
    tavo::checkInvariants(model);
    travel();
    EXPECT_EQ(testsupport::dumpState(model, false), after.substr(0, after.find('\n') + 1) + withoutHistory(after));
  }

  /// Undo and redo of the last step: there and back without any memory.
  void travel() {
    const std::size_t allocations = testsupport::allocations();
    model.undo();
    model.redo();
    EXPECT_EQ(testsupport::allocations(), allocations);
    tavo::checkInvariants(model);
  }
  static std::string withoutHistory(const std::string& dump) {
    const std::size_t history = dump.find('\n') + 1;
    return dump.substr(dump.find('\n', history) + 1);
  }
  Node node(std::u16string_view name) {
    auto made = model.create<Node>();
    made.setName(name);
    return made;
  }

  tavo::Model model = tavo::Model::create();
};

TEST_F(ModelAllocationTest, ObjectsAndValues) {
  for (int i = 0; i < 20; ++i) // past every growth of pool, list and index
    sweep("create", [&] { model.create<Node>(); });
  auto node = model.create<Node>();
  sweep("short text", [&] { node.setName(u"short"); });
  sweep("long text", [&] { node.setName(u"longer than in place"); });
  auto book = library::Book::create(model);
  sweep("vector", [&] { book.setEditions({1, 2, 3}); });
  sweep("optional", [&] { book.setNote(tavo::String(u"a note that is not short")); });
  sweep("destroy with a hook that writes", [&] { book.destroy(); });
}

TEST_F(ModelAllocationTest, EveryKindOfCollectionPastItsGrowth) {
  auto owner = node(u"owner");
  for (const char* name : {"children", "named", "peers", "friends", "followers", "left", "index"})
    for (int i = 0; i < 20; ++i) {
      const auto item = node(std::u16string(1, static_cast<char16_t>(u'a' + i)));
      sweep(name, [&] { impl(owner).add(feature(name), &impl(item)); });
    }
  const auto first = node(u"first");
  for (const char* name : {"only", "leader", "partner", "mark"}) {
    const auto item = node(u"item");
    sweep(name, [&] { impl(owner).setOne(feature(name), &impl(item)); });
  }
  const auto stolen = node(u"stolen");
  impl(first).setOne(feature("partner"), &impl(stolen));
  sweep("steal", [&] { impl(owner).setOne(feature("partner"), &impl(stolen)); });
  const auto keyed = owner.getPropertyValue(feature("named")).as<std::vector<tavo::ModelElement>>()[4];
  sweep("re-key",
        [&] { keyed.setPropertyValue(feature("name"), tavo::Value::of(tavo::String(u"a key that is not short"))); });
  sweep("remove", [&] { impl(owner).remove(feature("named"), &impl(keyed)); });
  sweep("destroy", [&] { owner.destroy(); });
}

TEST_F(ModelAllocationTest, BuildersTransactionsAndListeners) {
  library::Shelf::Builder shelf(model);
  shelf.doSetName(u"a shelf of some length");
  for (std::uint32_t i = 0; i < 12; ++i) {
    library::Book::Builder book;
    book.doSetName(tavo::concat(u"a book that is not short ", std::u16string(1, static_cast<char16_t>(u'a' + i))));
    book.doSetNumber(i);
    shelf.doAddBooks(book);
  }
  sweep("builder", [&] { shelf.doCreate(); });

  auto kept = node(u"kept");
  sweep("several changes", [&] {
    tavo::Transaction transaction(model);
    for (int i = 0; i < 9; ++i)
      impl(kept).add(feature("children"), &impl(node(u"a child with a long name")));
    transaction.commit();
  });

  // What a listener fails in is reported and does not take back the commit.
  int failures = 0;
  tavo::setListenerErrorHandler([&](const std::exception&) { ++failures; });
  auto rank = std::uint32_t{0};
  const auto token = model.addListener([&](const tavo::ChangeSet& changes) { (void)changes.changes().size(); });
  const auto expectRank = [&](std::uint32_t expected) {
    EXPECT_EQ(kept.getPropertyValue(feature("rank")), tavo::Value::of(expected));
    tavo::checkInvariants(model);
  };
  testsupport::failEachAllocation([&] { kept.setPropertyValue(feature("rank"), tavo::Value::of(rank + 1)); },
                                  [&](std::size_t) { expectRank(rank); }, [&] { expectRank(++rank); });
  EXPECT_GT(failures, 0);
  tavo::setListenerErrorHandler([](const std::exception& error) { std::fprintf(stderr, "%s\n", error.what()); });
}

} // namespace
