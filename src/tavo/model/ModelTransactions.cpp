// Transactions of a model, its steps back and forth, and who is told about them.
#include "tavo/model/ModelData.h"

#include "tavo/core/Errors.h"
#include "tavo/model/Transaction.h"

#include <algorithm>
#include <cstdio>
#include <stdexcept>

namespace tavo {
namespace {

constexpr int mostListenerRounds = 16;

ListenerErrorHandler& listenerErrorHandler() {
  static ListenerErrorHandler handler = [](const std::exception& error) {
    std::fprintf(stderr, "a listener failed: %s\n", error.what());
  };
  return handler;
}

void reportListenerError(const std::exception& error) noexcept {
  try {
    listenerErrorHandler()(error);
  } catch (...) {
    // The handler is the last resort; what it cannot report is lost.
  }
}

/// Runs what somebody else gave: its exceptions are reported and stop nothing.
template <class Function>
void runReported(Function&& action) noexcept {
  try {
    action();
  } catch (const std::exception& error) {
    reportListenerError(error);
  } catch (...) {
    reportListenerError(std::runtime_error("an exception of an unknown type"));
  }
}

} // namespace

void setListenerErrorHandler(ListenerErrorHandler handler) { listenerErrorHandler() = std::move(handler); }

void ModelData::commit() {
  if (transactionDepth_ > 1) {
    --transactionDepth_;
    return;
  }
  const Model alive(this); // listeners may drop the last handle of the model
  if (!listeners_.empty() && log_.openSize() > 0) {
    // Still inside: what a listener changes joins this step.
    std::size_t from = 0;
    int round = 0;
    for (; from < log_.openSize() && round < mostListenerRounds; ++round) {
      const std::size_t end = log_.openSize();
      notify(ChangeSet(*this, *log_.current(), from, end, false));
      from = end;
    }
    if (from < log_.openSize())
      runReported([&] { raise(FrameworkError::TooManyListenerRounds, round); });
  }
  --transactionDepth_;
  log_.close();
  if (deferred_.empty())
    return;
  auto actions = std::exchange(deferred_, {});
  for (auto& action : actions)
    runReported(action);
  actions.clear();
  if (deferred_.capacity() == 0) // the room is used again, unless an action has made some
    deferred_ = std::move(actions);
}

void ModelData::rollback(const Savepoint& savepoint) noexcept {
  log_.rollbackTo(savepoint.records);
  while (deferred_.size() > savepoint.actions)
    deferred_.pop_back();
  --transactionDepth_;
}

void ModelData::afterCommit(Action action) {
  if (inTransaction())
    deferred_.push_back(std::move(action));
  else
    runReported(action);
}

void ModelData::undo(bool forward) {
  if (inTransaction())
    raise(FrameworkError::UndoInsideTransaction);
  requireWritable();
  ++frameworkUpdates_;
  Step& step = forward ? log_.redo() : log_.undo();
  --frameworkUpdates_;
  if (listeners_.empty())
    return;
  const Model alive(this);
  announcingHistory_ = true; // the history must not move under the listeners
  notify(ChangeSet(*this, step, 0, step.size(), !forward));
  announcingHistory_ = false;
}

void ModelData::notify(const ChangeSet& changes) noexcept {
  for (std::size_t i = 0; i < listeners_.size(); ++i) { // listeners may come meanwhile
    // None goes before the end of this function, which does not nest: a listener's changes join the step, or are
    // refused.
    ListenerToken::Entry& entry = *listeners_[i];
    if (!entry.active)
      continue;
    ++entry.running;
    runReported([&] { entry.listen(changes); });
    if (--entry.running == 0 && !entry.active)
      entry.stop();
  }
  std::erase_if(listeners_, [](const auto& entry) { return !entry->active; });
}

std::shared_ptr<ListenerToken::Entry> ModelData::listen(std::function<void(const ChangeSet&)> listener) {
  auto entry = std::make_shared<ListenerToken::Entry>();
  entry->listen = std::move(listener);
  listeners_.push_back(entry);
  return entry;
}

// Transactions

Transaction::Transaction(Model model) : model_(std::move(model)), savepoint_(model_.data().begin()) {}

void Transaction::commit() {
  if (std::exchange(open_, false))
    model_.get()->commit();
}

void Transaction::rollback() noexcept {
  if (std::exchange(open_, false))
    model_.get()->rollback(savepoint_);
}

} // namespace tavo
