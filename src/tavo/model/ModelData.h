// What is behind a Model: objects, indexes, history, listeners.
#pragma once

#include "tavo/model/ChangeSet.h"
#include "tavo/model/Extent.h"
#include "tavo/model/IdentityIndex.h"
#include "tavo/model/Model.h"
#include "tavo/model/UndoLog.h"

#include <thread>

namespace tavo {

/// Internal. The links of a model, in chunks.
class LinkPool {
public:
  Link* create();
  void release(Link* link) noexcept;
  void clear() noexcept;
  /// Takes over all links of another pool; `reserveAdoption` has made the room.
  void adopt(LinkPool& other) noexcept;
  void reserveAdoption(const LinkPool& other) { chunks_.reserve(chunks_.size() + other.chunks_.size()); }

private:
  std::vector<std::unique_ptr<Link[]>> chunks_;
  static constexpr std::size_t smallestLinkChunk = 8;
  std::size_t chunkSize_ = smallestLinkChunk;
  Link* free_ = nullptr;
};

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

/// Internal. One model. Everything that changes it is a member here or of UndoLog; every change is: reserve what may
/// fail, record, apply.
class ModelData {
public:
  explicit ModelData(Constellation* constellation);
  ~ModelData();

  void addRef() noexcept { ++handles_; }
  void removeRef() noexcept;
  bool isOpen() const { return open_; }
  /// Ends the model: handles of it and of its objects become false.
  void close() noexcept;

  // Objects

  ModelElement::Impl* create(const MetaClass& metaClass, const Uuid& uuid, ModelElement::Impl* container,
                             const MetaProperty* property, bool proxy = false);
  ModelElement::Impl* find(const Uuid& uuid) const { return identities_.find(uuid); }
  Extent* extentOf(const MetaClass& metaClass) const;
  template <class Visit>
  void forEachExtent(const Visit& visit) const {
    for (const auto& [metaClass, extent] : extents_)
      visit(*extent);
  }
  ItemList& topLevel() { return topLevel_; }
  std::size_t objectCount() const { return alive_; }
  void adoptContents(ModelData& other);

  // Reading a file, with `unlogged` set: an object is made, gets its values, and then its place.

  ModelElement::Impl* createUnplaced(const MetaClass& metaClass, const Uuid& uuid, bool proxy);
  void placeLast(ModelElement::Impl& object, ModelElement::Impl* container, const MetaProperty* property);
  /// Empties a model whose reading failed.
  void dropContents() noexcept;

  // Changes; each checks, reserves and records what it needs, or changes nothing.

  void writeAttribute(ModelElement::Impl& object, const MetaProperty& property, void* value);
  void attach(ModelElement::Impl& child, ModelElement::Impl* container, const MetaProperty* property,
              ModelElement::Impl* previous);
  /// Makes a reference, in a list behind the link `previous` (null: first) or at its end.
  void link(ModelElement::Impl& source, const MetaProperty& property, ModelElement::Impl& target, void* previous);
  static inline void* const atEnd = reinterpret_cast<void*>(1);
  void unlink(Link& link);
  void destroyTree(ModelElement::Impl& root, bool withHooks, bool withContents);
  void disassociate(ModelElement::Impl& object);
  void disassociateIncoming(ModelElement::Impl& object);

  // Transactions

  bool isOpenForWriting() const { return !frozen && !undoing_; }
  void requireWritable() const;
  /// Raises ModelFrozen while a step of the history is being announced.
  void requireStillHistory() const;
  void begin() { ++transactionDepth_; }
  /// Ends the innermost transaction; the outermost one announces its changes and becomes a step.
  void commit();
  /// Back to the savepoint, without the actions that came to wait for the commit since.
  void rollback(std::size_t savepoint, std::size_t deferred) noexcept;
  std::size_t deferredCount() const { return deferred_.size(); }
  void afterCommit(std::function<void()> action);
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

  Constellation* constellation = nullptr;
  String name;
  unsigned frameworkUpdates = 0;
  bool frozen = false;
  /// While true, changes are not recorded: for reading into a model that had nothing to lose.
  bool unlogged = false;
  std::vector<std::function<void()>> endActions;

private:
  friend void checkInvariants(const Model& model);

  Extent& extentFor(const MetaClass& metaClass);
  void reserveIdentities(std::size_t count);
  ItemList& listFor(ModelElement::Impl& owner, const MetaProperty& property);
  template <class Visit>
  void forEachKeyedHolder(ModelElement::Impl& object, const MetaProperty& key, const Visit& visit);
  /// Lets the object take over every reference to its stand-in, which is destroyed.
  void giveWay(ModelElement::Impl& standIn, ModelElement::Impl& object);
  void notify(Step& step, std::size_t from, bool undone) noexcept;
  void reserveRecord();
  /// Adds a record for which there is room; null when the model is not logged.
  Record* keep(const Record& record) noexcept;

  std::size_t handles_ = 0;
  bool open_ = true;
  boost::unordered_flat_map<const MetaClass*, std::unique_ptr<Extent>> extents_;
  Extent* lastExtent_ = nullptr; ///< creation comes in runs of one class
  IdentityIndex identities_;
  std::size_t alive_ = 0;
  ItemList topLevel_{nullptr};
  LinkPool links_;
  UndoLog log_{*this};
  unsigned transactionDepth_ = 0;
  std::vector<std::function<void()>> deferred_; ///< wait for the outermost commit
  bool undoing_ = false;
  std::vector<std::shared_ptr<ListenerToken::Entry>> listeners_;
  std::thread::id thread_ = std::this_thread::get_id();
};

} // namespace tavo
