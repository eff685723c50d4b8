// What is behind a Model: objects, indexes, history, listeners.
#pragma once

#include "tavo/model/ChangeSet.h"
#include "tavo/model/Extent.h"
#include "tavo/model/IdentityIndex.h"
#include "tavo/model/LinkPool.h"
#include "tavo/model/Transaction.h"
#include "tavo/model/UndoLog.h"

#include <boost/container/static_vector.hpp>

#include <algorithm>
#include <array>
#include <cassert>
#include <thread>

namespace tavo {

struct ListenerToken::Entry {
  std::function<void(const ChangeSet&)> listen;
  bool active = true;
  unsigned running = 0; ///< calls that have not returned

  /// What a listener holds on to (its own model, often) is let go as soon as it cannot be called any more.
  void stop() noexcept {
    active = false;
    if (running == 0)
      listen = nullptr;
  }
};

/// Internal. What becomes of changes.
enum class Recording : std::uint8_t {
  steps,   ///< each can be undone, and is announced
  silent,  ///< they leave no trace; since the history goes on around them, only values may change, and no keys
  reading, ///< they leave no trace, and there is no history: a file is being read
};

/// Internal. The identity that a new object is to have; nil stands for a random one.
struct WantedIdentity {
  WantedIdentity(const Uuid& given) : uuid(given) {}
  static WantedIdentity followingFrom(const Uuid& place) {
    WantedIdentity wanted(place);
    wanted.follows = true;
    return wanted;
  }

  Uuid uuid;
  bool follows =
      false; ///< from a place, where a former child may have it, which has moved up: then a random one will do
};

/// Internal. One model. Everything that changes it is a member here or of UndoLog; every change is: reserve what may
/// fail, record, apply.
class ModelData : public ModelHandles {
public:
  explicit ModelData(Constellation* constellation);

  void dropLastHandle() noexcept;
  bool isOpen() const { return open_; }
  /// Ends the model: handles of it and of its objects become false.
  void close() noexcept;

  // What hosts set

  const String& name() const { return name_; }
  void setName(const String& name) { name_ = name; }
  Constellation* constellation() const { return constellation_; }
  void setConstellation(Constellation* home) { constellation_ = home; }
  void setFrozen(bool frozen) { frozen_ = frozen; }
  void atEnd(std::function<void()> action) { endActions_.push_back(std::move(action)); }
  unsigned frameworkUpdateDepth() const { return frameworkUpdates_; }
  void beginFrameworkUpdate() { ++frameworkUpdates_; }
  void endFrameworkUpdate() { --frameworkUpdates_; }
  /// Returns what was set before.
  Recording setRecording(Recording recording) { return std::exchange(recording_, recording); }

  // Objects

  ModelElement::Impl* create(const MetaClass& metaClass, const WantedIdentity& identity, ModelElement::Impl* container,
                             const MetaProperty* property, bool proxy = false, const Birth& birth = {});
  ModelElement::Impl* find(const Uuid& uuid) const { return identities_.find(uuid); }
  void foresee(const Uuid& uuid) const noexcept { identities_.foresee(uuid); }
  Extent* extentOf(const MetaClass& metaClass) const;
  template <class Visit>
  void forEachExtent(const Visit& visit) const {
    for (const auto& [metaClass, extent] : extents_)
      visit(*extent);
  }
  ItemList& topLevel() { return topLevel_; }
  /// The first top-level object that has the class, or null; stand-ins do not count.
  ModelElement::Impl* findTopLevel(const MetaClass& metaClass);
  std::size_t objectCount() const { return alive_; }
  std::uint64_t identityProbes() const { return identities_.probes; }
  void adoptContents(ModelData& other);

  // Reading a file: an object is made, gets its values, and then its place. It is not found by its identity before it
  // has been entered, which comes before the next one is made; false when another object has that identity.

  ModelElement::Impl* createUnplaced(const MetaClass& metaClass, const Uuid& uuid, bool proxy);
  bool enter(ModelElement::Impl& object) noexcept;
  /// From here on, objects of classes whose identities follow from their places are not entered one by one, but
  /// together: most objects of a large file are such ones, and an index that is filled at once need not grow.
  void letFollowersWait() { followersWait_ = true; }
  /// Enters them. Answers an object whose identity another one has, or null; if there is one, the contents have to go.
  const ModelElement::Impl* enterFollowers();
  void placeLast(ModelElement::Impl& object, ModelElement::Impl* container, const MetaProperty* property);
  /// Empties a model whose reading failed.
  void dropContents() noexcept;

  // Changes; each checks, reserves and records what it needs, or changes nothing.

  void writeAttribute(ModelElement::Impl& object, const MetaProperty& property, void* value);
  void attach(ModelElement::Impl& child, ModelElement::Impl* container, const MetaProperty* property,
              ModelElement::Impl* previous);
  /// Makes a reference, in a list behind the link `previous` (null: first) or at its end.
  void link(ModelElement::Impl& source, const MetaProperty& property, ModelElement::Impl& target, void* previous);
  static inline void* const atTheEnd = reinterpret_cast<void*>(1);
  void unlink(Link& link);
  void destroyTree(ModelElement::Impl& root, bool withHooks, bool withContents);
  /// Clears the references to and from an object, or only those to it.
  void clearReferences(ModelElement::Impl& object);
  void clearReferencesTo(ModelElement::Impl& object);

  // Transactions

  bool isOpenForWriting() const { return open_ && !frozen_ && !announcingHistory_; }
  void requireWritable() const {
    assert(thread_ == std::this_thread::get_id() && "a model belongs to one thread");
    if (!isOpenForWriting())
      raiseNotWritable();
  }
  /// Raises ModelFrozen while a step of the history is being announced.
  void requireStillHistory() const;
  Savepoint begin() {
    ++transactionDepth_;
    return {log_.openSize(), deferred_.size()};
  }
  /// Ends the innermost transaction; the outermost one announces its changes and becomes a step.
  void commit();
  /// Ends the innermost transaction and takes back what was changed since it began.
  void rollback(const Savepoint& savepoint) noexcept;
  void afterCommit(Action action);
  bool inTransaction() const { return transactionDepth_ > 0; }
  UndoLog& log() { return log_; }
  void undo(bool forward);

  // Listeners

  std::shared_ptr<ListenerToken::Entry> listen(std::function<void(const ChangeSet&)> listener);

  // Used by the log, which must not fail

  /// Takes an object out of its list and returns where it was.
  Placement detach(ModelElement::Impl& object) noexcept;
  void place(ModelElement::Impl& object, const Placement& place) noexcept;
  void setAlive(ModelElement::Impl& object, bool alive) noexcept;
  void swapAttribute(ModelElement::Impl& object, const MetaProperty& property, void* value) noexcept;
  /// Makes the ends of a link meet, or come apart; returns the former neighbours through the parameters.
  void toggle(Link& link, void*& previous, void*& twinPrevious) noexcept;
  void release(ModelElement::Impl& object) noexcept;
  void release(Link& link) noexcept;

private:
  class OneChange;
  struct Replacement {
    ModelElement::Impl* standIn;
    ModelElement::Impl* object;
  };
  struct Found {
    const MetaClass* metaClass;
    ModelElement::Impl* object;
  };

  friend void checkInvariants(const Model& model);

  Extent& extentFor(const MetaClass& metaClass);
  ModelElement::Impl* searchTopLevel(const MetaClass& metaClass);
  /// An object has come to the top level or gone from it.
  void topLevelChanged(const ModelElement::Impl& object) noexcept {
    const auto isOne = [&](const Found& each) { return object.isA(*each.metaClass); };
    found_.erase(std::remove_if(found_.begin(), found_.end(), isOne), found_.end());
  }
  void reserveIdentities(std::size_t more) {
    if (!identities_.hasRoomFor(identities_.size() + more))
      growIdentities(more);
  }
  void growIdentities(std::size_t more);
  bool waits(const MetaClass& metaClass) const { return followersWait_ && metaClass.has(ClassFlag::derivedIdentity); }
  ItemList& listFor(ModelElement::Impl& owner, const MetaProperty& property);
  /// The last place in a feature, or among the top-level objects; there is room for one more from then on.
  Placement makeRoom(ModelElement::Impl* container, const MetaProperty* property);
  /// Room for taking an object, or a link, out of the middle of its list.
  void prepareDetach(ModelElement::Impl& object);
  static void prepareUnlink(const Link& link);
  /// Calls `visit(list, which, item)` for each map that has the object under that key.
  template <class Visit>
  static void forEachKeyedHolder(ModelElement::Impl& object, const MetaProperty& key, const Visit& visit);
  ModelElement::Impl& construct(const MetaClass& metaClass, const Uuid& uuid, bool proxy);
  /// Lets the object take over every reference to its stand-in, which is destroyed.
  void giveWay(ModelElement::Impl& standIn, ModelElement::Impl& object);
  /// The stand-ins on either side that have to give way when the contents of `other` come here.
  std::vector<Replacement> replacementsFor(ModelData& other) const;
  /// Room for the rest of moving contents here, which then cannot fail.
  void reserveArrival(ModelData& other, const std::vector<Replacement>& replacements);
  /// Raises UniquenessConstraint unless the object may come into the list: what is unique is not there yet.
  static void requireFree(const ItemList& list, const ModelElement::Impl& object);
  [[noreturn]] static void raiseNotWritable();
  /// Raises unless keys, references and containments may change.
  void requireChangeable() const;
  /// Takes an object that has no references any more out of its place and out of life.
  void bury(ModelElement::Impl& object);
  void notify(const ChangeSet& changes) noexcept;
  bool isRecording() const { return recording_ == Recording::steps; }
  void reserveRecord() {
    if (isRecording())
      log_.open().reserveRecord();
  }
  /// Adds a record for which there is room; null when changes are not recorded.
  Record* keep(const Record& record) noexcept;

  bool open_ = true;
  bool frozen_ = false;
  bool announcingHistory_ = false; ///< which must not move under the listeners
  Recording recording_ = Recording::steps;
  unsigned frameworkUpdates_ = 0;
  unsigned transactionDepth_ = 0;
  Constellation* constellation_;
  String name_;
  boost::unordered_flat_map<const MetaClass*, std::unique_ptr<Extent>> extents_;
  std::array<Extent*, 16> recentExtents_{}; ///< by address of the class: creation comes in runs of a few classes
  IdentityIndex identities_;
  bool followersWait_ = false; ///< with being entered into the index, while a file is read
  std::size_t alive_ = 0;
  ItemList topLevel_{nullptr};
  boost::container::static_vector<Found, 8> found_; ///< in the top level as it is now: the same few, again and again
  LinkPool links_;
  RecordPool<ItemList> lists_;
  UndoLog log_{*this};
  std::vector<Action> deferred_; ///< wait for the outermost commit
  std::vector<std::function<void()>> endActions_;
  std::vector<std::shared_ptr<ListenerToken::Entry>> listeners_;
  std::thread::id thread_ = std::this_thread::get_id();
};

/// What a Transaction is, for changes in here: they cost so little that keeping a handle of the model would show.
class ModelData::OneChange {
public:
  explicit OneChange(ModelData& model) : model_(model), savepoint_(model.begin()) {}
  OneChange(const OneChange&) = delete;
  OneChange& operator=(const OneChange&) = delete;
  ~OneChange() {
    if (open_)
      model_.rollback(savepoint_);
  }
  void commit() {
    open_ = false;
    model_.commit();
  }

private:
  ModelData& model_;
  Savepoint savepoint_;
  bool open_ = true;
};

inline Record* ModelData::keep(const Record& record) noexcept {
  if (!isRecording())
    return nullptr;
  Step& step = *log_.current();
  auto* kept = ::new (step.reserveRecord()) Record(record);
  step.keepRecord();
  ++log_.recordsWritten;
  return kept;
}

} // namespace tavo
