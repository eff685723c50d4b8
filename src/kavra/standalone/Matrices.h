// Operations on whole matrices: products, division, powers, transposes.
#pragma once

#include "kavra/standalone/Operand.h"

namespace kavra::standalone {

HostArray transpose(Budget& budget, const HostArray& array);

/// a * b: elementwise when one is a scalar.
HostArray multiply(Budget& budget, const HostArray& a, const HostArray& b);

/// a / b and a \ b: elementwise for a scalar divisor, else the solution of a square system; fails when it has none.
HostArray divide(Budget& budget, const HostArray& a, const HostArray& b);
HostArray leftDivide(Budget& budget, const HostArray& a, const HostArray& b);

/// a ^ b: two scalars, or a square matrix to an integer.
HostArray power(Budget& budget, const HostArray& a, const HostArray& b);

} // namespace kavra::standalone
