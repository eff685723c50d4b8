// The log of changes: one mechanism for rollback, undo, redo, old values and change sets.
#pragma once

#include "tavo/collection/ItemList.h"

#include <memory>

namespace tavo {

/// Internal. Where an object is: in which feature of which container (or top-level), behind which sibling; and whether
/// it is alive.
struct Placement {
  ModelElement::Impl* container = nullptr;
  ModelElement::Impl* previous = nullptr;
  PropertyIndex property = 0;
  bool placed = false; ///< false: in no list (an object that does not exist yet, or no longer)
};

/// Internal. Where a link stands in the lists of both ends.
struct LinkPosition {
  void* previous;     ///< of the link in the source's list
  void* twinPrevious; ///< of the twin in the target's
};

/// Internal. One change. It holds the *other* value, and applying it swaps: so undo, redo and rollback are one
/// operation, which allocates nothing and cannot raise.
struct Record {
  enum class Kind : std::uint8_t {
    attribute, ///< object, property: the value
    placement, ///< object: its place; creation, destruction and moving
    state,     ///< object: alive or dead, within a tree that is destroyed as a whole
    link,      ///< a reference made or cleared
  };

  Kind kind;
  bool otherAlive = false;  ///< the other state of the object or link: whether it is there
  bool changesLife = false; ///< of placement: creation and destruction, rather than moving
  PropertyIndex property = 0;
  union {
    ModelElement::Impl* object;
    Link* link;
  };
  union {
    alignas(8) std::byte value[maxDatatypeSize];
    Placement place;
    LinkPosition position;
  };

  Record(Kind k, ModelElement::Impl* o) : kind(k), object(o), place() {}
  explicit Record(Link* l) : kind(Kind::link), link(l), position{nullptr, nullptr} {}
};
static_assert(sizeof(Record) <= 48);

/// Internal. The records of one outermost transaction: the first two in place, since a value is set by two, the others
/// in chunks that grow.
class Step {
public:
  Step() = default;
  Step(const Step&) = delete;
  Step& operator=(const Step&) = delete;
  ~Step() { dropChunks(); }

  std::size_t size() const { return size_; }
  /// Raw memory for one more record; may raise std::bad_alloc. The record counts once `keepRecord` is called.
  void* reserveRecord() {
    if (last_->used == last_->capacity)
      addChunk();
    return last_->memory + last_->used * sizeof(Record);
  }
  void keepRecord() noexcept {
    ++last_->used;
    ++size_;
  }
  Record& last() noexcept {
    dropUnusedChunks();
    return *record(*last_, last_->used - 1);
  }
  /// Room for so many records at once.
  void reserveRecords(std::size_t count);
  void popLast() noexcept;
  void clear() noexcept { dropChunks(); }

  template <class Visit>
  void forEach(const Visit& visit) {
    for (Chunk* chunk = &first_; chunk; chunk = chunk->next)
      for (std::size_t i = 0; i < chunk->used; ++i)
        visit(*record(*chunk, i));
  }
  template <class Visit>
  void forEachReversed(const Visit& visit) {
    for (Chunk* chunk = last_; chunk; chunk = chunk->previous)
      for (std::size_t i = chunk->used; i-- > 0;)
        visit(*record(*chunk, i));
  }

  std::uint64_t serial = 0; ///< the step's number in the process: later steps have higher ones
  Step* previous = nullptr; ///< the neighbours in the history, which owns the steps
  Step* next = nullptr;

private:
  /// A chunk's memory stands behind it, but for the one in place.
  struct Chunk {
    std::byte* memory;
    std::uint32_t capacity;
    std::uint32_t used = 0;
    Chunk* previous = nullptr;
    Chunk* next = nullptr;
  };
  static Record* record(Chunk& chunk, std::size_t index) {
    return std::launder(reinterpret_cast<Record*>(chunk.memory + index * sizeof(Record)));
  }
  void addChunk();
  /// Room that was reserved for records that were never kept, at the end.
  void dropUnusedChunks() noexcept;
  void dropChunks() noexcept;

  static constexpr std::uint32_t recordsInPlace = 2;

  alignas(8) std::byte inPlace_[recordsInPlace * sizeof(Record)];
  Chunk first_{inPlace_, recordsInPlace};
  Chunk* last_ = &first_;
  std::size_t size_ = 0;
};

/// Internal. The history of one model.
class UndoLog {
public:
  explicit UndoLog(ModelData& model) : model_(model) {}
  ~UndoLog() { clear(); }

  /// The step that takes the records of the running transaction.
  Step& open() {
    if (!current_)
      current_ = spare_ ? std::move(spare_) : std::make_unique<Step>();
    return *current_;
  }
  bool hasOpenStep() const { return current_ != nullptr; }
  std::size_t openSize() const { return current_ ? current_->size() : 0; }
  Step* current() const { return current_.get(); }

  /// Takes back and forgets the records of the open step from `size` on. Never raises.
  void rollbackTo(std::size_t size) noexcept;
  /// Closes the open step: unless nothing changed, it becomes the last one that can be undone, and what could be redone
  /// is forgotten.
  void close() noexcept;

  bool canUndo() const { return done_ != nullptr; }
  bool canRedo() const { return undone_ != nullptr; }
  Step* lastDone() const { return done_; }
  Step* firstUndone() const { return undone_; }
  /// Applies the step and moves it over; returns it.
  Step& undo() noexcept;
  Step& redo() noexcept;

  void setDepth(std::size_t depth) noexcept;
  std::size_t depth() const { return depth_; }
  void clear() noexcept;
  /// Clears the history of another model all of whose objects, dead ones too, are in this log's model now.
  void forgetAllOf(UndoLog& other) noexcept;

  /// Swaps the change of a record. Never raises.
  void apply(Record& record) noexcept;

  std::uint64_t recordsWritten = 0; ///< for the benchmarks

private:
  /// Forgets a record, and with it the object or link that only the record can bring back.
  void discard(Record& record) noexcept;
  void discardLast() noexcept;
  /// Forgets the records of a step, from the oldest when they stand, from the newest when they do not.
  void discardRecords(Step& step, bool applied) noexcept;
  void recycle(Step* step) noexcept;
  void dropOldest() noexcept;
  void forgetUndone(Step* step) noexcept;

  ModelData& model_;
  std::unique_ptr<Step> current_;
  Step* oldest_ = nullptr; ///< the steps that stand, oldest first
  Step* done_ = nullptr;   ///< the last of them
  Step* undone_ = nullptr; ///< the steps taken back, the one to redo first
  std::unique_ptr<Step> spare_;
  std::size_t count_ = 0;
  std::size_t depth_ = 1000;
};

} // namespace tavo
