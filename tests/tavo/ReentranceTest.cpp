// What others do while the model is in the middle of something: destructors of values, listeners, visitors of queries.
#include "tests/support/ErrorMatchers.h"
#include "tests/tavo/fixture/Node.h"
#include "tests/tavo/fixture/Observed.h"

#include "tavo/model/ChangeSet.h"
#include "tavo/model/ModelElementDatatype.h"
#include "tavo/model/Transaction.h"
#include "tavo/query/Query.h"

#include <gtest/gtest.h>

namespace {

using graph::Node;
using graph::Observed;

const tavo::MetaProperty& feature(std::string_view name) { return Node::metaClass().property(name); }

template <class Callback>
void onRelease(const Observed& observed, const Callback& callback) {
  observed.setWitness({std::shared_ptr<void>(new char, [callback](char* made) {
    delete made;
    callback();
  })});
}

class ReentranceTest : public testing::Test {
protected:
  void TearDown() override {
    if (model)
      tavo::checkInvariants(model);
  }
  void setRank(std::uint32_t rank) { node.setPropertyValue(feature("rank"), tavo::Value::of(rank)); }
  std::uint32_t rank() const { return node.getPropertyValue(feature("rank")).as<std::uint32_t>(); }
  void setMark(const tavo::ModelElement& target) { node.setPropertyValue(feature("mark"), tavo::Value::of(target)); }

  tavo::Model model = tavo::Model::create();
  Node node = model.create<Node>();
  Observed observed = model.create<Observed>();
};

TEST_F(ReentranceTest, DestructorsOfValuesMayWriteWhileTheHistoryForgets) {
  std::uint32_t released = 0;
  const auto observe = [&] { onRelease(observed, [&] { setRank(++released); }); };
  const auto drop = [&] { onRelease(observed, [] {}); };
  const std::pair<const char*, std::function<void()>> rows[] = {
      {"what was undone",
       [&] {
         observe();
         model.undo();
         setMark(node); // forgets it
       }},
      {"what is too long ago",
       [&] {
         observe();
         model.setUndoDepth(1);
         drop();
         setMark({});
       }},
      {"what is rolled back",
       [&] {
         const tavo::Transaction abandoned(model);
         setMark(node);
         observe();
         setMark({});
       }},
      {"everything",
       [&] {
         observe();
         drop();
         model.clearHistory();
       }},
  };
  for (const auto& [what, forget] : rows) {
    SCOPED_TRACE(what);
    const std::uint32_t before = released;
    forget();
    EXPECT_EQ(released, before + 1);
    tavo::checkInvariants(model);
    while (model.undo())
      tavo::checkInvariants(model);
    while (model.redo())
      tavo::checkInvariants(model);
    model.clearHistory();
    model.setUndoDepth(1000);
  }
}

TEST_F(ReentranceTest, ADestroyedObjectLeavesMemoryWithTheHistory) {
  int released = 0;
  onRelease(observed, [&] { ++released; });
  model.setUndoDepth(2);
  observed.destroy();
  setRank(1);
  EXPECT_EQ(released, 0);
  setRank(2);
  EXPECT_EQ(released, 1);
  EXPECT_TRUE(model.undo());
  EXPECT_TRUE(model.undo());
  EXPECT_FALSE(model.undo());
  EXPECT_EQ(rank(), 0u);
  EXPECT_FALSE(observed);
}

TEST_F(ReentranceTest, DestructorsOfValuesSeeAnEndedModelWhole) {
  int released = 0;
  for (const auto& each : {observed, model.create<Observed>()}) // the first to go looks at the other, whichever it is
    onRelease(each, [&] {
      ++released;
      EXPECT_FALSE(observed);
      EXPECT_FALSE(node);
      EXPECT_FALSE(node.get()->model()); // a handle that comes and goes
    });
  model = {};
  EXPECT_EQ(released, 2);
}

TEST_F(ReentranceTest, ARoundAnnouncesWhatWasWrittenBeforeIt) {
  std::vector<std::size_t> heard;
  const auto answering = model.addShallowListener([&] {
    if (rank() == 3)
      return;
    setMark(rank() == 1 ? node : tavo::ModelElement());
    setRank(rank() + 1);
  });
  const auto listening = model.addListener([&](const tavo::ChangeSet& changes) {
    heard.push_back(static_cast<std::size_t>(
        std::count_if(changes.changes().begin(), changes.changes().end(),
                      [](const tavo::Change& change) { return change.property == &feature("mark"); })));
    EXPECT_EQ(changes.touches(feature("mark")), heard.back() > 0);
  });
  setRank(1);
  EXPECT_EQ(heard, (std::vector<std::size_t>{0, 1, 1}));
}

TEST_F(ReentranceTest, TheHistoryStandsStillWhileItIsAnnounced) {
  int heard = 0;
  const auto token = model.addListener([&](const tavo::ChangeSet& changes) {
    ++heard;
    EXPECT_TRUE(changes.isUndo());
    EXPECT_FALSE(model.isOpenForWriting());
    EXPECT_ERROR(model.redo(), "tavo:messages:ModelFrozen");
    EXPECT_ERROR(model.clearHistory(), "tavo:messages:ModelFrozen");
    EXPECT_ERROR(model.create<Node>(), "tavo:messages:ModelFrozen");
  });
  model.undo();
  EXPECT_EQ(heard, 1);
}

TEST_F(ReentranceTest, AListenerMayHoldAndEndItsModelAndATokenMayOutliveIt) {
  auto own = tavo::Model::create();
  const auto inside = own.create<Node>();
  auto token = own.addListener([own](const tavo::ChangeSet& changes) {
    own.destroy();
    EXPECT_ERROR(changes.changes(), "tavo:messages:CannotCreateWithoutModel");
  });
  inside.setName(u"new");
  EXPECT_FALSE(inside);
  EXPECT_FALSE(own);
  token.reset();
}

TEST_F(ReentranceTest, VisitorsOfAQueryMayCreateAndDestroyAndEndTheModel) {
  const tavo::Query query(model);
  std::size_t visited = 0;
  query.forEach(Node::metaClass(), tavo::ClassMatch::exact, {}, [&](tavo::ModelElement::Impl& object) {
    for (int i = 0; i < 100; ++i)
      model.create<Node>();
    object.doDestroy();
    return ++visited < 50;
  });
  EXPECT_EQ(visited, 50u);
  tavo::checkInvariants(model);
  query.forEach(Node::metaClass(), tavo::ClassMatch::withSubclasses, {}, [&](tavo::ModelElement::Impl&) {
    model.destroy();
    return true;
  });
}

TEST_F(ReentranceTest, ADeadObjectCannotBeChangedThroughItself) {
  const auto other = model.create<Node>();
  tavo::ModelElement::Impl& dead = other.object();
  other.destroy();
  tavo::String name = u"name";
  for (const bool gone : {false, true}) { // kept for undo, and then not even that
    SCOPED_TRACE(gone);
    for (const auto& attempt : std::initializer_list<std::function<void()>>{
             [&] { dead.writeAttribute(feature("name"), &name); },
             [&] { dead.setPropertyValue(feature("name"), tavo::Value::of(name)); },
             [&] { dead.add(feature("peers"), node.get()); },
             [&] { dead.remove(feature("peers"), node.get()); },
             [&] { dead.setOne(feature("mark"), nullptr); },
             [&] { dead.replace(feature("only"), node.get()); },
             [&] { dead.doDestroy(); },
         })
      EXPECT_ERROR(attempt(), "tavo:messages:NonExistentObject", "Node");
    model.clearHistory();
  }
  model = {};
  EXPECT_ERROR(dead.doDestroy(), "tavo:messages:NonExistentObject");
}

} // namespace
