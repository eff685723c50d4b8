// Elementwise operators, with the host's rules for classes and its expansion of dimensions that are one.
#pragma once

#include "kavra/standalone/Operand.h"
#include "kavra/standalone/Tokenizer.h"

namespace kavra::standalone {

/// Two arrays element by element. `op` is an arithmetic (elementwise), comparison or logical operator; && and || are
/// not for here.
HostArray elementwise(Budget& budget, TokenKind op, const HostArray& a, const HostArray& b);

/// The class of a op b for arithmetic: integers win over floating scalars, single over double, everything else is
/// double. Fails for pairs that the host does not combine.
ArrayClass arithmeticClass(const HostArray& a, const HostArray& b);

/// A function of two numbers, element by element, with the class rules of arithmetic.
struct PairFunction {
  double (*ofDoubles)(double, double);
  float (*ofSingles)(float, float);
  long double (*ofLongs)(long double, long double);
};
HostArray elementwise(Budget& budget, const PairFunction& function, const HostArray& a, const HostArray& b);

/// + - ~ before an array.
HostArray unary(Budget& budget, TokenKind op, const HostArray& array);

/// A function of one number on each element; the class stays, logical and char become double.
HostArray mapped(Budget& budget, double (*function)(double), const HostArray& array);

/// One truth for a scalar that is a condition of && or ||.
bool isTrue(const HostArray& array);

} // namespace kavra::standalone
