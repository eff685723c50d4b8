#include "tavo/model/UndoLog.h"

#include "tavo/model/ModelData.h"

#include <algorithm>
#include <atomic>

namespace tavo {
namespace {

std::uint64_t nextSerial() {
  static std::atomic<std::uint64_t> serial{0};
  return ++serial;
}

} // namespace

void Step::addChunk() { reserveRecords(std::clamp<std::size_t>(last_->capacity * 4, 4, 1024)); }

void Step::reserveRecords(std::size_t count) {
  if (last_->capacity - last_->used >= count)
    return;
  auto* memory = static_cast<std::byte*>(::operator new(sizeof(Chunk) + count * sizeof(Record)));
  auto* chunk = ::new (memory) Chunk{memory + sizeof(Chunk), static_cast<std::uint32_t>(count)};
  chunk->previous = last_;
  last_->next = chunk;
  last_ = chunk;
}

void Step::popLast() noexcept {
  --size_;
  --last_->used;
  dropUnusedChunks();
}

void Step::dropUnusedChunks() noexcept {
  while (last_->used == 0 && last_->previous) {
    Chunk* emptied = last_;
    last_ = emptied->previous;
    last_->next = nullptr;
    ::operator delete(emptied);
  }
}

void Step::dropChunks() noexcept {
  while (last_->previous) {
    Chunk* dropped = last_;
    last_ = dropped->previous;
    ::operator delete(dropped);
  }
  first_.next = nullptr;
  first_.used = 0;
  size_ = 0;
}

void UndoLog::apply(Record& record) noexcept {
  switch (record.kind) {
  case Record::Kind::attribute: {
    const MetaProperty& property = record.object->objectClass().at(record.property);
    model_.swapAttribute(*record.object, property, record.value);
    break;
  }
  case Record::Kind::placement: {
    const Placement other = record.place;
    record.place = model_.detach(*record.object);
    model_.place(*record.object, other);
    const bool alive = record.object->isAlive();
    model_.setAlive(*record.object, record.otherAlive);
    record.otherAlive = alive;
    break;
  }
  case Record::Kind::state: {
    const bool alive = record.object->isAlive();
    model_.setAlive(*record.object, record.otherAlive);
    record.otherAlive = alive;
    break;
  }
  case Record::Kind::link:
    model_.toggle(*record.link, record.position.previous, record.position.twinPrevious);
    record.otherAlive = !record.otherAlive;
    break;
  }
}

void UndoLog::discard(Record& record) noexcept {
  switch (record.kind) {
  case Record::Kind::attribute: {
    const MetaProperty& property = record.object->objectClass().at(record.property);
    property.datatype()->destroy(record.value);
    break;
  }
  case Record::Kind::placement:
  case Record::Kind::state:
    if (record.changesLife &&
        record.otherAlive) // the state in force is the dead one, and nothing can bring the other back
      model_.release(*record.object);
    break;
  case Record::Kind::link:
    if (record.otherAlive)
      model_.release(*record.link);
    break;
  }
}

/// The record is off the step before it is discarded: the destructor of a value may write, which adds a record.
void UndoLog::discardLast() noexcept {
  Record& last = current_->last();
  Record record = last;
  if (last.kind == Record::Kind::attribute) {
    const Datatype& type = *last.object->objectClass().at(last.property).datatype();
    type.move(record.value, last.value);
    type.destroy(last.value);
  }
  current_->popLast();
  discard(record);
}

void UndoLog::discardRecords(Step& step, bool applied) noexcept {
  if (applied)
    step.forEach([&](Record& record) { discard(record); });
  else
    step.forEachReversed([&](Record& record) { discard(record); });
}

void UndoLog::recycle(Step* step) noexcept {
  std::unique_ptr<Step> owned(step);
  owned->clear();
  if (!spare_)
    spare_ = std::move(owned);
}

void UndoLog::rollbackTo(std::size_t size) noexcept {
  if (!current_)
    return;
  while (current_->size() > size) {
    apply(current_->last());
    discardLast();
  }
  if (size == 0)
    recycle(current_.release());
}

void UndoLog::close() noexcept {
  if (!current_)
    return;
  if (current_->size() == 0) {
    recycle(current_.release());
    return;
  }
  // What is forgotten may hold values whose destructors do anything: so it goes when the history is in order.
  Step* step = current_.release();
  Step* undone = std::exchange(undone_, nullptr);
  step->serial = nextSerial();
  step->previous = done_;
  step->next = nullptr;
  (done_ ? done_->next : oldest_) = step;
  done_ = step;
  ++count_;
  forgetUndone(undone);
  while (count_ > depth_)
    dropOldest();
}

void UndoLog::dropOldest() noexcept {
  Step* step = oldest_;
  oldest_ = step->next;
  (oldest_ ? oldest_->previous : done_) = nullptr;
  --count_;
  discardRecords(*step, true);
  recycle(step);
}

void UndoLog::forgetUndone(Step* step) noexcept {
  // What is farthest from today goes first: it was made last.
  while (step && step->next)
    step = step->next;
  while (step) {
    Step* previous = step->previous;
    discardRecords(*step, false);
    recycle(step);
    step = previous;
  }
}

Step& UndoLog::undo() noexcept {
  Step* step = done_;
  step->forEachReversed([this](Record& record) { apply(record); });
  done_ = step->previous;
  (done_ ? done_->next : oldest_) = nullptr;
  --count_;
  step->previous = nullptr;
  step->next = undone_;
  if (undone_)
    undone_->previous = step;
  undone_ = step;
  return *step;
}

Step& UndoLog::redo() noexcept {
  Step* step = undone_;
  step->forEach([this](Record& record) { apply(record); });
  undone_ = step->next;
  if (undone_)
    undone_->previous = nullptr;
  step->previous = done_;
  step->next = nullptr;
  (done_ ? done_->next : oldest_) = step;
  done_ = step;
  ++count_;
  return *step;
}

void UndoLog::setDepth(std::size_t depth) noexcept {
  depth_ = depth;
  while (count_ > depth_)
    dropOldest();
}

void UndoLog::clear() noexcept {
  forgetUndone(std::exchange(undone_, nullptr));
  while (oldest_)
    dropOldest();
}

void UndoLog::forgetAllOf(UndoLog& other) noexcept {
  Step* undone = std::exchange(other.undone_, nullptr);
  Step* done = std::exchange(other.oldest_, nullptr);
  other.done_ = nullptr;
  other.count_ = 0;
  forgetUndone(undone);
  while (done) {
    Step* step = std::exchange(done, done->next);
    discardRecords(*step, true);
    recycle(step);
  }
}

} // namespace tavo
