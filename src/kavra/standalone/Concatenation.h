// Putting arrays together: [a b; c d] and {a b; c d}.
#pragma once

#include "kavra/standalone/Operand.h"

namespace kavra::standalone {

/// The pieces one after the other along a dimension, counted from zero (0 below each other, 1 side by side). Classes
/// mix as the host mixes them: cells take in everything, then strings, char, the leftmost integer, single, double,
/// logical. A 0-by-0 piece counts for the class only.
HostArray concatenate(Budget& budget, std::size_t dimension, std::span<const HostArray> pieces);

} // namespace kavra::standalone
