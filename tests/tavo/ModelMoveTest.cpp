// Stand-ins, the objects that take their places, and contents that move from one model to another.
#include "tests/support/Allocations.h"
#include "tests/support/ErrorMatchers.h"
#include "tests/support/StateDump.h"
#include "tests/tavo/fixture/Author.h"
#include "tests/tavo/fixture/Node.h"

#include "tavo/collection/Views.h"
#include "tavo/model/ChangeSet.h"
#include "tavo/model/ModelElementDatatype.h"
#include "tavo/xml/ModelXml.h"

#include <gtest/gtest.h>

namespace {

using graph::Node;
using tavo::ModelElement;

const tavo::MetaProperty& feature(std::string_view name) { return Node::metaClass().property(name); }
void rename(const ModelElement& node, std::u16string_view name) {
  node.setPropertyValue(feature("name"), tavo::Value::of(tavo::String(name)));
}
void add(const ModelElement& owner, std::string_view name, const ModelElement& item) {
  owner.object().add(feature(name), item.get());
}
ModelElement one(const ModelElement& owner, std::string_view name) {
  return owner.getPropertyValue(feature(name)).as<ModelElement>();
}
std::vector<ModelElement> many(const ModelElement& owner, std::string_view name) {
  return owner.getPropertyValue(feature(name)).as<std::vector<ModelElement>>();
}
tavo::Uuid numbered(std::uint8_t number) {
  tavo::Uuid uuid = *tavo::parseUuid("11111111-1111-4111-8111-111111111100");
  uuid.data[15] = number;
  return uuid;
}

class ModelMoveTest : public testing::Test {
protected:
  void TearDown() override {
    tavo::checkInvariants(model);
    tavo::checkInvariants(other);
  }
  static Node node(const tavo::Model& in, std::u16string_view name, const tavo::Uuid& uuid = {}) {
    auto made = in.create<Node>(uuid);
    rename(made, name);
    return made;
  }
  static ModelElement standIn(const tavo::Model& in, std::uint8_t number) {
    return in.createProxy(Node::metaClass(), numbered(number));
  }
  std::string dump() const { return testsupport::dumpState(model) + testsupport::dumpState(other); }

  tavo::Model model = tavo::Model::create();
  tavo::Model other = tavo::Model::create();
};

TEST_F(ModelMoveTest, OnlyAnObjectOfItsClassTakesThePlaceOfAStandIn) {
  const auto owner = node(model, u"owner");
  add(owner, "mark", standIn(model, 1));
  library::Author::create(other, numbered(1));
  const std::string before = dump();
  EXPECT_ERROR(library::Author::create(model, numbered(1)), "tavo:messages:DuplicateIdentity");
  EXPECT_ERROR(other.moveContentsTo(model), "tavo:messages:DuplicateIdentity");
  EXPECT_EQ(dump(), before);
  EXPECT_FALSE(model.find(numbered(1))); // nobody takes it for the object
  const auto arrived = node(model, u"arrived", numbered(1));
  EXPECT_EQ(one(owner, "mark"), arrived);
  EXPECT_EQ(model.find(numbered(1)), arrived);
}

TEST_F(ModelMoveTest, AMapOfReferencesHoldsStandInsWithoutKeys) {
  const auto owner = node(model, u"owner");
  const auto unnamed = node(model, u"");
  add(owner, "index", unnamed);
  std::vector<ModelElement> standIns;
  for (std::uint8_t i = 12; i > 0; --i) {
    standIns.insert(standIns.begin(), standIn(model, i));
    add(owner, "index", standIns.front());
    tavo::checkInvariants(model);
  }
  EXPECT_ERROR(add(owner, "index", standIns[3]), "tavo:messages:UniquenessConstraint");
  const tavo::MapView<Node, std::u16string_view> index(owner, feature("index"));
  EXPECT_EQ(index.find(u""), unnamed);
  auto expected = standIns; // in the order of their identities, and then what has keys
  expected.push_back(unnamed);
  EXPECT_EQ(many(owner, "index"), expected);

  const auto text = tavo::modelText(model);
  const auto again = tavo::Model::create();
  tavo::readModel(text, "again.xml", again);
  EXPECT_EQ(tavo::modelText(again), text);
  tavo::checkInvariants(again);

  for (std::uint8_t i = 1; i <= 12; ++i) {
    EXPECT_ERROR(model.create<Node>(numbered(i)), "tavo:messages:UniquenessConstraint"); // it has no name yet
    rename(unnamed, std::u16string(i, u'x'));
    node(model, std::u16string(i, u'y'), numbered(i));
    rename(unnamed, u"");
  }
  EXPECT_EQ(index.find(u"yyy"), model.find(numbered(3)));
  while (model.undo())
    tavo::checkInvariants(model);
  while (model.redo())
    tavo::checkInvariants(model);
}

TEST_F(ModelMoveTest, AMapOfReferencesIsEmptiedFromAnySize) {
  const auto owner = node(model, u"owner");
  std::vector<Node> items;
  for (char16_t i = 0; i < 12; ++i) {
    items.push_back(node(model, std::u16string(1, static_cast<char16_t>(u'a' + i))));
    add(owner, "index", items.back());
  }
  const tavo::View<Node> index(owner, feature("index"));
  for (std::size_t i = 0; i < 8; ++i) {
    owner.object().remove(feature("index"), items[i].get());
    EXPECT_EQ(index.size(), 11 - i);
    tavo::checkInvariants(model);
  }
  owner.setPropertyValue(feature("index"), tavo::Value::of(std::vector<ModelElement>()));
  EXPECT_EQ(index.size(), 0u);
}

TEST_F(ModelMoveTest, StandInsOnBothSidesGiveWayAndTheMoveIsOneStep) {
  const auto here = node(model, u"here", numbered(1));
  const auto arriving = node(other, u"arriving", numbered(2));
  const auto inner = node(other, u"inner");
  const auto absent = standIn(model, 2);
  for (const char* name : {"mark", "index", "left"})
    add(here, name, absent);
  add(arriving, "leader", standIn(other, 1));
  add(arriving, "children", inner);
  add(inner, "mark", arriving);
  add(here, "peers", standIn(model, 3));
  add(arriving, "peers", standIn(other, 3)); // stays one
  const std::string before = testsupport::dumpState(model, false);

  other.moveContentsTo(model);
  EXPECT_EQ(one(here, "mark"), arriving);
  EXPECT_EQ(many(here, "index"), std::vector<ModelElement>{arriving});
  EXPECT_EQ(many(arriving, "right"), std::vector<ModelElement>{here});
  EXPECT_EQ(many(here, "followers"), std::vector<ModelElement>{arriving});
  EXPECT_EQ(many(here, "peers"), many(arriving, "peers"));
  EXPECT_EQ(model.objectCount(), 4u);
  EXPECT_EQ(other.objectCount(), 0u);
  EXPECT_FALSE(other.canUndo());
  tavo::checkInvariants(model);
  const std::string after = testsupport::dumpState(model, false);
  EXPECT_TRUE(model.undo());
  EXPECT_EQ(testsupport::dumpState(model, false), before);
  EXPECT_TRUE(model.redo());
  EXPECT_EQ(testsupport::dumpState(model, false), after);
}

TEST_F(ModelMoveTest, AClashIsFoundBeforeAnythingHasMoved) {
  using Prepare = std::function<void()>;
  const std::pair<const char*, Prepare> rows[] = {
      {"an object has the key already",
       [&] {
         const auto owner = node(model, u"owner");
         add(owner, "index", node(model, u"taken"));
         add(owner, "index", standIn(model, 1));
         node(other, u"taken", numbered(1));
       }},
      {"two arrive with one key",
       [&] {
         const auto owner = node(model, u"owner");
         add(owner, "index", standIn(model, 1));
         add(owner, "index", standIn(model, 2));
         node(other, u"same", numbered(1));
         node(other, u"same", numbered(2));
       }},
      {"two are met with one key",
       [&] {
         const auto owner = node(other, u"owner");
         add(owner, "index", standIn(other, 1));
         add(owner, "index", standIn(other, 2));
         node(model, u"same", numbered(1));
         node(model, u"same", numbered(2));
       }},
  };
  for (const auto& [what, prepare] : rows) {
    SCOPED_TRACE(what);
    model = tavo::Model::create();
    other = tavo::Model::create();
    prepare();
    const std::string before = dump();
    EXPECT_ERROR(other.moveContentsTo(model), "tavo:messages:UniquenessConstraint");
    EXPECT_EQ(dump(), before);
  }
}

TEST_F(ModelMoveTest, WithoutMemoryNothingMoves) {
  Node owner;
  std::string before;
  tavo::ListenerToken token;
  const auto prepare = [&] { // anew each time, since room that was made stays
    model = tavo::Model::create();
    other = tavo::Model::create();
    owner = node(model, u"owner");
    for (std::uint8_t i = 1; i <= 20; ++i) {
      const auto absent = standIn(model, i);
      for (const char* name : {"index", "peers", "left"})
        add(owner, name, absent);
      node(other, std::u16string(i, u'x'), numbered(i));
    }
    const auto meeting = node(other, u"meeting");
    add(meeting, "leader", other.createProxy(Node::metaClass(), owner.Uuid()));
    token = other.addListener([](const tavo::ChangeSet&) {});
    before = dump();
  };
  prepare();
  const std::size_t failures = testsupport::failEachAllocation([&] { other.moveContentsTo(model); },
                                                               [&](std::size_t count) {
                                                                 TearDown();
                                                                 EXPECT_EQ(dump(), before) << "allocation " << count;
                                                                 prepare();
                                                               });
  EXPECT_GT(failures, 10u);
  EXPECT_EQ(many(owner, "index").size(), 20u);
  EXPECT_EQ(model.objectCount(), 22u);
  EXPECT_EQ(other.objectCount(), 0u);
}

TEST_F(ModelMoveTest, AnEmptiedModelSaysWhatHasGone) {
  const auto moved = node(other, u"moved");
  std::vector<ModelElement> heard;
  const auto token = other.addListener([&](const tavo::ChangeSet& changes) {
    if (!heard.empty())
      return;
    EXPECT_TRUE(changes.touches(feature("name")));
    EXPECT_EQ(other.objectCount(), 0u);
    for (const auto& change : changes.changes()) {
      EXPECT_EQ(change.kind, tavo::Change::Kind::destroyed);
      heard.push_back(change.object);
    }
    node(other, u"new"); // it may be filled again
  });
  other.moveContentsTo(model);
  EXPECT_EQ(heard.front(), moved);
  EXPECT_EQ(moved.model(), model);
}

TEST_F(ModelMoveTest, AnArrivalThatIsTakenBackAndForgottenGivesBackItsLinks) {
  std::vector<Node> nodes;
  for (int i = 0; i < 300; ++i)
    nodes.push_back(node(model, u""));
  model.setUndoDepth(1);
  const auto mark = [&] {
    for (const auto& each : nodes)
      add(each, "mark", nodes.front());
  };
  for (int i = 0; i < 300; ++i)
    add(node(other, u""), "mark", other.create<Node>());
  other.moveContentsTo(model);
  model.undo();
  rename(nodes.front(), u"what is undone is forgotten");
  const std::size_t before = testsupport::allocations();
  mark();
  EXPECT_EQ(testsupport::allocations(), before);
}

} // namespace
