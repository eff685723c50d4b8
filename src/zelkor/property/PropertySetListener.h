// What a usage of a property set keeps while it is in memory.
#pragma once

#include "tavo/model/Model.h"
#include "zelkor/Export.h"

#include <memory>

namespace zelkor::property {

/// Remembers whether the model of a property set has changed since its usage was last in step with it, so that a usage
/// need not compare what cannot have changed.
class ZELKOR_EXPORT PropertySetListener {
public:
  /// Listens from now on; nothing is known of what was before.
  static std::shared_ptr<PropertySetListener> install(const tavo::Model& modelOfSet);

  bool mayHaveChanged() const { return changed_ || !enabled_; }
  /// The usage has just been found, or brought, in step.
  void inStep() { changed_ = false; }
  /// While it is paused it knows nothing.
  void setEnabled(bool enabled);

private:
  tavo::ListenerToken token_;
  bool enabled_ = true;
  bool changed_ = true;
};

} // namespace zelkor::property
