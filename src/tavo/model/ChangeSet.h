// What a listener hears: the net effect of one transaction.
#pragma once

#include "tavo/model/Model.h"
#include "tavo/value/Value.h"

namespace tavo {

class Step;

/// One net change.
struct Change {
  enum class Kind : std::uint8_t {
    created,   ///< `object` is new, with the values that it has
    destroyed, ///< `object` is gone (its handle is false, or it is in another model; see `uuid`)
    changed,   ///< attribute `property` of `object` had the value `before`
    added,     ///< `other` came into `property` of `object`
    removed,   ///< `other` left `property` of `object`
  };
  Kind kind;
  ModelElement object;
  tavo::Uuid uuid;            ///< of the object
  const MetaClass* metaClass; ///< of the object
  const MetaProperty* property =
      nullptr; ///< null for created and destroyed, and where `other` became or ceased to be top-level
  ModelElement other{};
  Value before{};
};

/// The net changes of one step, in the order of their first mention; what was changed and changed back does not appear.
/// It is worked out when it is asked for, so a listener that only wants to know *that* something changed costs nothing.
/// Valid during the call of the listener.
///
/// A model whose contents have moved into another one announces each of its objects as destroyed, with nothing about
/// the features that they were in.
class TAVO_EXPORT ChangeSet {
public:
  /// The records [from, end) of a step.
  ChangeSet(ModelData& model, Step& step, std::size_t from, std::size_t end, bool undone)
      : model_(model), step_(&step), from_(from), end_(end), undone_(undone) {}
  /// What is known already.
  ChangeSet(ModelData& model, std::vector<Change> changes)
      : model_(model), changes_(std::move(changes)), known_(true) {}

  Model model() const;
  /// Whether the step is being taken back rather than made.
  bool isUndo() const { return undone_; }
  /// Whether anything changed that one of these features holds: cheaper than all changes.
  bool touches(const MetaProperty& property) const;
  const std::vector<Change>& changes() const;

private:
  void requireStep() const;
  template <class Visit>
  void forEachRecord(const Visit& visit) const;

  ModelData& model_;
  Step* step_ = nullptr;
  std::size_t from_ = 0, end_ = 0;
  bool undone_ = false;
  mutable std::vector<Change> changes_;
  mutable bool known_ = false;
};

} // namespace tavo
