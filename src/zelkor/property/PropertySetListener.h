// What a usage of a property set keeps while it is in memory.
#pragma once

#include "tavo/model/Model.h"
#include "zelkor/Export.h"

#include <memory>

namespace zelkor::property {

class PropertySet;
class PropertySetUsage;

/// Tells the model that uses a property set that the model of the set is no longer what the usage was made from.
class ZELKOR_EXPORT PropertySetListener {
public:
  PropertySetListener() = default;
  PropertySetListener(const PropertySetListener&) = delete;
  PropertySetListener& operator=(const PropertySetListener&) = delete;

  /// Nothing when it listens to the set already.
  void listenTo(const PropertySet& set, const PropertySetUsage& usage);
  /// While it is paused it tells nothing.
  void setEnabled(bool enabled) { enabled_ = enabled; }

private:
  tavo::ListenerToken token_;
  tavo::ModelElement set_;
  bool enabled_ = true;
};

} // namespace zelkor::property
