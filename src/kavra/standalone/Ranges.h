// Ranges: first:last and first:step:last.
#pragma once

#include "kavra/standalone/Operand.h"

namespace kavra::standalone {

/// `step` may be null. The class is that of an integer among the three, else single, else char when both ends are char,
/// else double.
HostArray makeRange(Budget& budget, const HostArray& first, const HostArray& step, const HostArray& last);

} // namespace kavra::standalone
