// Random sequences of operations, run against a model in plain maps and vectors whose history is copies of itself.
#include "tests/support/ErrorMatchers.h"
#include "tests/support/StateDump.h"
#include "tests/tavo/fixture/Node.h"

#include "tavo/meta/MetaRegistry.h"
#include "tavo/model/ChangeSet.h"
#include "tavo/model/ModelElementDatatype.h"
#include "tavo/model/Transaction.h"

#include <algorithm>
#include <cstdlib>
#include <map>
#include <random>
#include <set>

namespace {

using graph::Node;
using tavo::FeatureKind;
using tavo::MetaProperty;

using Name = std::string;
constexpr int nobody = -1;

struct PlainNode {
  std::string name;
  std::uint32_t rank = 0;
  int container = nobody;
  Name containing;
  std::map<Name, std::vector<int>> objects; ///< of every feature that holds objects, to one or to many
};

const MetaProperty& feature(const Name& name) { return Node::metaClass().property(name); }

/// The reference: says what each operation does, or which error it raises, as simply as can be.
struct Plain {
  std::map<int, PlainNode> nodes;
  std::vector<int> top;
  std::size_t writes = 0;

  static bool isMany(const Name& name) { return feature(name).isMany(); }
  static Name oppositeOf(const Name& name) {
    const MetaProperty* opposite = feature(name).opposite();
    return opposite ? Name(opposite->name()) : Name();
  }
  std::vector<int>& held(int node, const Name& name) { return nodes.at(node).objects[name]; }
  static bool holds(const std::vector<int>& list, int node) {
    return std::find(list.begin(), list.end(), node) != list.end();
  }
  static void take(std::vector<int>& list, int node) { list.erase(std::find(list.begin(), list.end(), node)); }
  static void insert(std::vector<int>& list, std::size_t position, int node) {
    list.insert(list.begin() + static_cast<std::ptrdiff_t>(std::min(position, list.size())), node);
  }
  bool nameTaken(const std::vector<int>& list, const std::string& name, int except) const {
    return std::any_of(list.begin(), list.end(),
                       [&](int other) { return other != except && nodes.at(other).name == name; });
  }
  bool contains(int above, int node) const {
    for (; node != nobody; node = nodes.at(node).container)
      if (node == above)
        return true;
    return false;
  }

  void create(int node) {
    nodes[node];
    top.push_back(node);
    ++writes;
  }
  std::string rename(int node, const std::string& name) {
    if (nodes.at(node).name == name)
      return "";
    for (auto& [other, plain] : nodes)
      for (const char* map : {"named", "index"})
        if (holds(plain.objects[map], node) && nameTaken(plain.objects[map], name, node))
          return "UniquenessConstraint";
    nodes.at(node).name = name;
    ++writes;
    return "";
  }
  void setRank(int node, std::uint32_t rank) {
    writes += nodes.at(node).rank != rank;
    nodes.at(node).rank = rank;
  }
  std::string put(int owner, const Name& name, int child, std::size_t position) {
    if (owner == child)
      return "ContainmentCycle";
    if (nodes.at(child).container != nobody || (!isMany(name) && !held(owner, name).empty()))
      return "CannotAddSecondObject";
    if (contains(child, owner))
      return "ContainmentCycle";
    if (name == "named" && nameTaken(held(owner, name), nodes.at(child).name, nobody))
      return "UniquenessConstraint";
    take(top, child);
    insert(held(owner, name), position, child);
    nodes.at(child).container = owner;
    nodes.at(child).containing = name;
    ++writes;
    return "";
  }
  void takeOut(int owner, const Name& name, int child) {
    if (!holds(held(owner, name), child))
      return;
    take(held(owner, name), child);
    nodes.at(child).container = nobody;
    nodes.at(child).containing.clear();
    top.push_back(child);
    ++writes;
  }
  void unlink(int source, const Name& name, int target) {
    take(held(source, name), target);
    if (const Name opposite = oppositeOf(name); !opposite.empty())
      take(held(target, opposite), source);
    ++writes;
  }
  std::string link(int source, const Name& name, int target, std::size_t position) {
    auto& list = held(source, name);
    const Name opposite = oppositeOf(name);
    if (name == "index" && nameTaken(list, nodes.at(target).name, nobody))
      return "UniquenessConstraint";
    if (name != "peers" && holds(list, target))
      return isMany(name) ? "UniquenessConstraint" : "";
    if (!isMany(name) && !list.empty())
      unlink(source, name, list.front());
    if (!opposite.empty() && !isMany(opposite) && !held(target, opposite).empty())
      unlink(held(target, opposite).front(), name, target);
    insert(list, position, target);
    if (!opposite.empty())
      held(target, opposite).push_back(source);
    ++writes;
    return "";
  }
  void removeLink(int source, const Name& name, int target) {
    if (holds(held(source, name), target))
      unlink(source, name, target);
  }
  void destroy(int root) {
    std::set<int> gone;
    for (const auto& [node, plain] : nodes)
      if (contains(root, node))
        gone.insert(node);
    if (nodes.at(root).container != nobody)
      take(held(nodes.at(root).container, nodes.at(root).containing), root);
    else
      take(top, root);
    for (const int node : gone)
      nodes.erase(node);
    for (auto& [node, plain] : nodes)
      for (auto& [name, list] : plain.objects)
        std::erase_if(list, [&](int other) { return gone.contains(other); });
    ++writes;
  }
};

class RandomRun {
public:
  /// In a crowd, most things go into lists of a few owners, which become long.
  explicit RandomRun(std::uint32_t seed, bool isCrowd) : random_(seed), isCrowd_(isCrowd) {
    token_ = model_.addListener([this](const tavo::ChangeSet& changes) { heard(changes); });
  }

  void go(int operations) {
    for (int i = 0; isCrowd_ && i < 40; ++i) {
      create();
      rename(next_ - 1, "n" + std::to_string(i));
    }
    for (int i = 0; i < operations && !testing::Test::HasFailure(); ++i) {
      step();
      tavo::checkInvariants(model_);
      ASSERT_EQ(testsupport::dumpState(model_, false), render(plain_)) << "after operation " << i << ": " << said_;
      ASSERT_EQ(model_.canUndo(), !done_.empty()) << said_;
      ASSERT_EQ(model_.canRedo(), !undone_.empty()) << said_;
    }
    while (!open_.empty())
      closeTransaction(pick(2) == 0);
    // The whole history, there and back.
    const Plain end = plain_;
    before_ = std::nullopt;
    while (model_.undo()) {
    }
    tavo::checkInvariants(model_);
    ASSERT_EQ(testsupport::dumpState(model_, false), render(done_.empty() ? plain_ : done_.front()));
    while (model_.redo()) {
    }
    if (undone_.empty()) {
      ASSERT_EQ(testsupport::dumpState(model_, false), render(end));
    }
    model_.destroy();
    for (const auto& [node, handle] : handles_)
      ASSERT_FALSE(handle);
  }

private:
  struct Open {
    Plain before;
    std::unique_ptr<tavo::Transaction> transaction;
  };

  int pick(std::size_t below) { return static_cast<int>(random_() % below); }
  int anyNode() { return std::next(plain_.nodes.begin(), pick(plain_.nodes.size()))->first; }
  int anyOwner() { return isCrowd_ && pick(5) ? plain_.nodes.begin()->first : anyNode(); }
  Name anyOf(std::initializer_list<const char*> names) { return names.begin()[pick(names.size())]; }
  tavo::ModelElement::Impl& impl(int node) { return handles_.at(node).object(); }

  void step() {
    static const auto names = {"a", "b", "c", "d", "e", "a longer name", "f"};
    const std::size_t position = static_cast<std::size_t>(pick(4) ? 99 : pick(isCrowd_ ? 30 : 5));
    const int kind = plain_.nodes.empty() ? 0 : pick(100);
    if (kind < 14) {
      create();
    } else if (kind < 26) {
      rename(anyNode(), anyOf(names));
    } else if (kind < 30) {
      const int node = anyNode();
      const auto rank = static_cast<std::uint32_t>(pick(3));
      change(
          "rank", [&] { plain_.setRank(node, rank); },
          [&] { handles_.at(node).setPropertyValue(feature("rank"), tavo::Value::of(rank)); });
    } else if (kind < 46) {
      const int owner = anyOwner(), child = anyNode();
      const Name name = anyOf({"children", "named", "only"});
      change(
          "put into " + name, [&] { return plain_.put(owner, name, child, position); },
          [&] { impl(owner).add(feature(name), &impl(child), position); });
    } else if (kind < 52) {
      const int child = anyNode();
      if (plain_.nodes.at(child).container == nobody)
        return;
      const int owner = plain_.nodes.at(child).container;
      const Name name = plain_.nodes.at(child).containing;
      change(
          "take out of " + name, [&] { plain_.takeOut(owner, name, child); },
          [&] { impl(owner).remove(feature(name), &impl(child)); });
    } else if (kind < 76) {
      const int source = anyOwner(), target = anyNode();
      const Name name =
          anyOf({"peers", "friends", "leader", "followers", "partner", "partnerOf", "left", "right", "index", "mark"});
      change(
          "link " + name, [&] { return plain_.link(source, name, target, position); },
          [&] {
            if (feature(name).isMany())
              impl(source).add(feature(name), &impl(target), position);
            else
              impl(source).setOne(feature(name), &impl(target));
          });
    } else if (kind < 82) {
      const int source = anyOwner(), target = anyNode();
      const Name name = anyOf({"friends", "followers", "left", "right", "index"});
      change(
          "unlink " + name, [&] { plain_.removeLink(source, name, target); },
          [&] { impl(source).remove(feature(name), &impl(target)); });
    } else if (kind < 85) {
      const int node = anyNode();
      change(
          "destroy", [&] { plain_.destroy(node); }, [&] { handles_.at(node).destroy(); });
    } else if (kind < 90) {
      said_ = "begin";
      if (open_.size() < 3)
        open_.push_back({plain_, std::make_unique<tavo::Transaction>(model_)});
    } else if (kind < 94) {
      if (!open_.empty())
        closeTransaction(pick(3) != 0);
    } else {
      travel(kind < 97);
    }
  }

  void create() {
    ids_[next_] = tavo::randomUuid();
    change(
        "create", [&] { plain_.create(next_); }, [&] { handles_[next_] = model_.create<Node>(ids_.at(next_)); });
    ++next_;
  }

  void rename(int node, const std::string& name) {
    change(
        "rename", [&] { return plain_.rename(node, name); },
        [&] { handles_.at(node).setPropertyValue(feature("name"), tavo::Value::of(tavo::String::fromUtf8(name))); });
  }

  template <class Reference, class Action>
  void change(const std::string& what, const Reference& reference, const Action& action) {
    said_ = what;
    const Plain before = plain_;
    std::string error;
    if constexpr (std::is_void_v<decltype(reference())>)
      reference();
    else
      error = reference();
    if (!error.empty())
      plain_ = before;
    if (open_.empty() && plain_.writes != before.writes)
      keep(before);
    if (error.empty())
      ASSERT_NO_THROW(action()) << what;
    else
      ASSERT_TRUE(testsupport::raises(action, "tavo:messages:" + error, {})) << what;
  }

  void keep(const Plain& before) {
    done_.push_back(before);
    undone_.clear();
    before_ = before;
  }

  void closeTransaction(bool commit) {
    said_ = commit ? "commit" : "rollback";
    Open open = std::move(open_.back());
    open_.pop_back();
    if (!commit) {
      plain_ = open.before;
      open.transaction.reset();
      return;
    }
    if (open_.empty() && plain_.writes != open.before.writes)
      keep(open.before);
    open.transaction->commit();
  }

  void travel(bool back) {
    said_ = back ? "undo" : "redo";
    if (!open_.empty()) {
      ASSERT_TRUE(testsupport::raises([&] { back ? model_.undo() : model_.redo(); },
                                      "tavo:messages:UndoInsideTransaction", {}));
      return;
    }
    auto& from = back ? done_ : undone_;
    auto& to = back ? undone_ : done_;
    const bool possible = !from.empty();
    if (possible) {
      before_ = plain_;
      to.push_back(plain_);
      plain_ = from.back();
      from.pop_back();
    }
    ASSERT_EQ(back ? model_.undo() : model_.redo(), possible);
  }

  /// The change set must be the difference between the states before and after the step, and nothing else.
  void heard(const tavo::ChangeSet& changes) {
    if (!before_)
      return;
    const auto id = [this](int node) { return tavo::toText(ids_.at(node)); };
    std::multiset<std::string> expected;
    static const PlainNode none;
    std::set<int> all;
    for (const Plain* state : {&*before_, &plain_})
      for (const auto& [node, plain] : state->nodes)
        all.insert(node);
    for (const int node : all) {
      const bool was = before_->nodes.contains(node), is = plain_.nodes.contains(node);
      const PlainNode& old = was ? before_->nodes.at(node) : none;
      const PlainNode& now = is ? plain_.nodes.at(node) : none;
      if (was != is)
        expected.insert((is ? "created " : "destroyed ") + id(node));
      if (was && is && old.name != now.name)
        expected.insert("changed " + id(node) + " name " + old.name);
      if (was && is && old.rank != now.rank)
        expected.insert("changed " + id(node) + " rank " + std::to_string(old.rank));
      for (const MetaProperty* property : Node::metaClass().properties()) {
        if (property->datatype())
          continue;
        std::map<int, int> balance;
        const Name name(property->name());
        if (const auto found = old.objects.find(name); found != old.objects.end())
          for (const int other : found->second)
            --balance[other];
        if (const auto found = now.objects.find(name); found != now.objects.end())
          for (const int other : found->second)
            ++balance[other];
        for (const auto& [other, count] : balance)
          if (count != 0)
            expected.insert((count > 0 ? "added " : "removed ") + id(node) + " " + name + " " + id(other));
      }
    }
    std::multiset<std::string> actual;
    static const char* const kinds[] = {"created ", "destroyed ", "changed ", "added ", "removed "};
    for (const tavo::Change& change : changes.changes()) {
      std::string line = kinds[static_cast<int>(change.kind)] + tavo::toText(change.uuid);
      if (change.property)
        line += " " + std::string(change.property->name());
      if (change.other.get())
        line += " " + tavo::toText(change.other.get()->uuid());
      if (!change.before.isEmpty())
        line += " " + change.before.toText();
      actual.insert(line);
    }
    EXPECT_EQ(actual, expected) << "in the change set after: " << said_;
  }

  std::string render(Plain plain) const {
    const auto id = [this](int node) { return tavo::toText(ids_.at(node)); };
    std::vector<int> waiting = plain.top;
    std::string text =
        std::to_string(waiting.size()) + " top-level, " + std::to_string(plain.nodes.size()) + " in all\n";
    for (std::size_t i = 0; i < waiting.size(); ++i) {
      PlainNode& node = plain.nodes.at(waiting[i]);
      text += "Node " + id(waiting[i]) + " name=" + node.name + " rank=" + std::to_string(node.rank);
      for (const MetaProperty* property : Node::metaClass().properties()) {
        if (property->datatype())
          continue;
        const Name name(property->name());
        std::vector<int> list = node.objects[name];
        if (property->key(0))
          std::sort(list.begin(), list.end(),
                    [&](int a, int b) { return plain.nodes.at(a).name < plain.nodes.at(b).name; });
        std::string joined;
        for (const int other : list)
          joined += (joined.empty() ? "" : ", ") + id(other);
        text += " " + name + "=" + (property->isMany() ? "[" + joined + "]" : list.empty() ? "none" : joined);
        if (property->isContainment())
          waiting.insert(waiting.end(), list.begin(), list.end());
      }
      text += "\n";
    }
    return text;
  }

  std::mt19937 random_;
  bool isCrowd_;
  tavo::Model model_ = tavo::Model::create();
  std::map<int, Node> handles_; ///< of all nodes that ever were: undo makes them good again
  std::map<int, tavo::Uuid> ids_;
  Plain plain_;
  std::vector<Plain> done_, undone_;
  std::vector<Open> open_;
  std::optional<Plain> before_; ///< the state before the step that is being announced
  int next_ = 0;
  std::string said_;
  tavo::ListenerToken token_;
};

TEST(ModelRandomTest, BehavesLikeAModelOfPlainMaps) {
  std::random_device device;
  const char* given = std::getenv("ZELKOR_SEED");
  for (int run = 0; run < 40 && !HasFailure(); ++run) {
    const auto seed = given ? static_cast<std::uint32_t>(std::stoul(given)) : device();
    SCOPED_TRACE("run again with ZELKOR_SEED=" + std::to_string(seed));
    RandomRun(seed, false).go(150);
    if (run % 4 == 0)
      RandomRun(seed, true).go(200);
  }
}

} // namespace
