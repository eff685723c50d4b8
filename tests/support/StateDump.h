// The observable state of a model as text, through reflection alone: two models that dump alike cannot be told apart.
#pragma once

#include "tavo/model/Model.h"

#include <string>

namespace testsupport {

/// All objects from the top level down with every stored feature; collections in their order, and the history's ends.
std::string dumpState(const tavo::Model& model, bool withHistory = true);

} // namespace testsupport
