// Elements of arrays by subscript: a(i), a(i,j), a(:), a(mask), c{i}.
#pragma once

#include "kavra/standalone/Operand.h"

namespace kavra::standalone {

/// A subscript: an array of positions or truths, or null for the lone colon, which takes all.
using Subscript = HostArray;

/// The elements at the subscripts, as an array of the same class. Fails for a position that is not there.
HostArray elementsAt(Budget& budget, const HostArray& array, std::span<const Subscript> subscripts);

/// What `end` stands for in the subscript at `place` of `count`: the extent there, of all further dimensions together
/// in the last one.
std::uint64_t lastPosition(const HostArray& array, std::size_t place, std::size_t count);

} // namespace kavra::standalone
