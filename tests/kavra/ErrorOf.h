// What an action is refused with.
#pragma once

#include "kavra/Error.h"

namespace kavra {

/// The error that the action raises; without identifier and text when it raises none.
template <class Action>
Error errorOf(Action&& action) {
  try {
    action();
  } catch (const Error& error) {
    return error;
  }
  return {"", ""};
}

} // namespace kavra
