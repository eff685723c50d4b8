// What must not grow faster than the model: judged by records and allocations, which are counted, and by the stack,
// which ends the process when something goes down a tree by calling itself.
#include "tests/support/Allocations.h"
#include "tests/support/ErrorMatchers.h"
#include "tests/tavo/fixture/Author.h"
#include "tests/tavo/fixture/Book.h"
#include "tests/tavo/fixture/Node.h"

#include "tavo/model/Transaction.h"
#include "tavo/xml/ModelXml.h"

#include <gtest/gtest.h>

namespace {

using graph::Node;

struct Cost {
  std::uint64_t records;
  std::size_t allocations;
};

template <class Action>
Cost costOf(const tavo::Model& model, const Action& action) {
  const auto records = model.recordsWritten();
  const auto allocations = testsupport::allocations();
  action();
  return {model.recordsWritten() - records, testsupport::allocations() - allocations};
}

TEST(ScaleTest, IdentitiesAreFoundHoweverManyThereAreAndHaveBeen) {
  constexpr std::uint32_t many = 300'000;          // enough for hashes to be looked at more precisely several times
  const auto identity = [](std::uint32_t number) { // hosts count
    tavo::Uuid uuid{};
    for (std::size_t i = 0; i < 4; ++i)
      uuid.data[12 + i] = static_cast<std::uint8_t>(number >> (24 - 8 * i));
    return uuid;
  };
  const auto model = tavo::Model::create();
  model.setUndoDepth(0); // what is destroyed is gone
  std::vector<tavo::ModelElement> objects;
  for (std::uint32_t i = 0; i < many; ++i)
    objects.push_back(model.create(library::Author::metaClass(), identity(i + 1)));
  for (std::uint32_t i = 0; i < many; ++i)
    ASSERT_EQ(model.find(identity(i + 1)), objects[i]) << i;

  for (std::uint32_t i = 0; i < many; ++i)
    if (i % 3 != 0)
      objects[i].destroy();
  for (std::uint32_t i = 0; i < many; ++i)
    ASSERT_EQ(static_cast<bool>(model.find(identity(i + 1))), i % 3 == 0) << i;
  EXPECT_FALSE(model.find(identity(many + 1)));
}

TEST(ScaleTest, ATargetOfAMillionReferencesGoesInOneStepThatIsLinearInThem) {
  constexpr std::size_t many = 1'000'000;
  const auto model = tavo::Model::create();
  const auto target = library::Book::create(model);
  {
    tavo::Transaction transaction(model);
    for (std::size_t i = 0; i < many; ++i)
      library::Book::create(model).setSequel(target);
    transaction.commit();
  }
  model.clearHistory();
  const auto last = model.topLevel().back().cast<library::Book>();

  const Cost destroyed = costOf(model, [&] { target.destroy(); });
  EXPECT_EQ(destroyed.records, many + 2);       // the price that its hook writes, and itself
  EXPECT_LT(destroyed.allocations, many / 100); // in chunks
  EXPECT_FALSE(last.sequel());
  EXPECT_EQ(costOf(model, [&] { model.undo(); }).allocations, 0u);
  EXPECT_EQ(last.sequel(), target);
  EXPECT_FALSE(model.canUndo());
  EXPECT_EQ(costOf(model, [&] { model.redo(); }).allocations, 0u);
  EXPECT_FALSE(last.sequel());
}

TEST(ScaleTest, BothEndsOfManyAssociationsGoAtOnce) {
  constexpr std::size_t many = 100'000;
  const auto model = tavo::Model::create();
  const auto writer = library::Author::create(model);
  {
    tavo::Transaction transaction(model);
    for (std::size_t i = 0; i < many; ++i)
      library::Book::create(model).getWritersMutable().add(writer);
    transaction.commit();
  }
  model.clearHistory();
  EXPECT_EQ(costOf(model, [&] { writer.setName(u"a key of every book's map"); }).records, 1u);
  const Cost destroyed = costOf(model, [&] { writer.destroy(); });
  EXPECT_EQ(destroyed.records, many + 1);
  EXPECT_LT(destroyed.allocations, many / 100);
  EXPECT_EQ(costOf(model, [&] { model.undo(); }).allocations, 0u);
  EXPECT_EQ(writer.works().size(), many);
  EXPECT_EQ(writer.works().back().writers().find(u"a key of every book's map"), writer);
}

class DeepTreeTest : public testing::Test {
protected:
  static constexpr std::size_t depth = 100'000;

  DeepTreeTest() {
    tavo::Transaction transaction(model);
    for (std::size_t i = 1; i < depth; ++i) {
      const auto below = Node::create(model);
      (i % 2 ? bottom.getOnlyMutable().add(below) : bottom.getChildrenMutable().add(below));
      bottom = below;
    }
    transaction.commit();
    model.clearHistory();
  }

  const tavo::Model model = tavo::Model::create();
  const Node top = Node::create(model);
  Node bottom = top;
};

TEST_F(DeepTreeTest, IsDestroyedAndRevivedWhole) {
  EXPECT_EQ(costOf(model, [&] { top.destroy(); }).records, depth);
  EXPECT_FALSE(bottom);
  EXPECT_EQ(model.objectCount(), 0u);
  model.undo();
  EXPECT_TRUE(bottom);
  tavo::checkInvariants(model);
  EXPECT_ERROR(bottom.getOnlyMutable().add(top), "tavo:messages:ContainmentCycle");
  model.redo();
  model.clearHistory();
}

TEST_F(DeepTreeTest, MovesToAnotherModelAndEndsWithIt) {
  const auto other = tavo::Model::create();
  model.moveContentsTo(other);
  EXPECT_EQ(bottom.model(), other);
  EXPECT_EQ(other.objectCount(), depth);
  other.destroy();
  EXPECT_FALSE(bottom);
}

TEST_F(DeepTreeTest, IsTooDeepToBeWrittenCopiedOrRead) {
  EXPECT_ERROR(tavo::modelText(model), "tavo:messages:LimitExceeded", "Node", "the nesting of elements", "256");
  EXPECT_ERROR(tavo::treeText(top), "tavo:messages:LimitExceeded");

  const auto shallow = tavo::Model::create();
  const auto outer = Node::create(shallow);
  outer.getOnlyMutable().add(Node::create(shallow));
  std::string document = tavo::modelText(shallow).toUtf8();
  const std::size_t inner = document.find("<only");
  const std::string end = document.substr(document.find("/>", inner) + 2);
  document.resize(inner);
  for (std::size_t i = 0; i < depth; ++i)
    document += "<only uuid=\"" + tavo::toText(tavo::randomUuid()) + "\">";
  for (std::size_t i = 0; i < depth; ++i)
    document += "</only>";
  document += end;
  const auto copy = tavo::Model::create();
  const auto read = [&](const tavo::ReadOptions& options) {
    tavo::MemorySource source(document);
    tavo::readModel(source, "deep.xml", copy, options);
  };
  EXPECT_ERROR(read({}), "tavo:messages:LimitExceeded");
  EXPECT_EQ(copy.objectCount(), 0u);
  tavo::ReadOptions unlimited;
  unlimited.limits.nesting = 2 * depth;
  read(unlimited);
  EXPECT_EQ(copy.objectCount(), depth + 1);
  tavo::Limits::setCurrent(unlimited.limits);
  const auto written = tavo::modelText(copy);
  tavo::Limits::setCurrent({});
  EXPECT_LT(written.size(), 400 * depth); // lines no longer than that, however deep
}

} // namespace
