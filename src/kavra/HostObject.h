// Objects of the scripting layer that the library holds but does not understand.
#pragma once

#include "kavra/HostArray.h"

namespace kavra {

/// An object of the scripting layer. The library's only wish is to call a method by name, "delete" above all.
class KAVRA_EXPORT HostObject {
public:
  virtual ~HostObject();

  /// True for an object of the host's class system `vessa`; only those have methods.
  virtual bool isVessaObject() const = 0;

  /// Calls a method; null when it returns nothing. Raises kavra::Error when there is no such method.
  virtual HostArray call(std::u16string_view method, std::span<const HostArray> arguments = {}) = 0;
};

} // namespace kavra
