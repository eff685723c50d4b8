// Transactions: a change of several steps that happens as a whole or not at all.
#pragma once

#include "tavo/model/Model.h"

namespace tavo {

/// Internal. Where a transaction began, for going back there.
struct Savepoint {
  std::size_t records;
  std::size_t actions; ///< that waited for the commit
};

/// Rolls back in its destructor unless it was committed. Transactions of a model nest like their scopes: an inner one
/// is a savepoint, the outermost one becomes one undo step and one event. A change outside any transaction is a
/// transaction of its own.
///
///     tavo::Transaction transaction(model);
///     ...
///     transaction.commit();
class TAVO_EXPORT Transaction {
public:
  /// Raises CannotCreateWithoutModel for an empty handle.
  explicit Transaction(Model model);
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;
  ~Transaction() {
    if (open_)
      rollback();
  }

  void commit();
  /// What the destructor would do, now.
  void rollback() noexcept;

private:
  Model model_;
  Savepoint savepoint_;
  bool open_ = true;
};

} // namespace tavo
