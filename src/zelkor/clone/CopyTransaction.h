// The transaction of a copy.
#pragma once

#include "tavo/model/Transaction.h"
#include "zelkor/clone/CloneContext.h"

#include <optional>

namespace zelkor::internal::clone {

/// What is copied is noted in the context, which may be in a model of its own: a copy that fails leaves neither.
class CopyTransaction {
public:
  CopyTransaction(const tavo::Model& target, const CloneContext& context) : copying_(target) {
    if (context)
      noting_.emplace(context.model());
  }

  void commit() {
    if (noting_)
      noting_->commit();
    copying_.commit();
  }

private:
  tavo::Transaction copying_;
  std::optional<tavo::Transaction> noting_;
};

} // namespace zelkor::internal::clone
