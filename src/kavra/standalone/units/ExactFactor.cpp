#include "kavra/standalone/units/ExactFactor.h"

#include <boost/math/constants/constants.hpp>

#include <cmath>
#include <limits>
#include <numeric>

namespace kavra::standalone {
namespace {

using boost::multiprecision::cpp_int;

// The largest prefix to the largest power fits; what needs more is nobody's unit.
constexpr std::uint64_t maxBits = 16384;
constexpr std::uint64_t maxRoot = 99;

std::uint64_t bitsOf(const Fraction& number) { return msb(numerator(number)) + msb(denominator(number)) + 2; }

Fraction power(const Fraction& number, std::int64_t exponent) {
  auto size = static_cast<unsigned>(std::abs(exponent));
  cpp_int above = pow(numerator(number), size), below = pow(denominator(number), size);
  return exponent < 0 ? Fraction(below, above) : Fraction(above, below);
}

} // namespace

double roundToDouble(const Fraction& number) {
  if (number == 0)
    return 0;
  cpp_int above = abs(numerator(number)), below = denominator(number);
  // Shift so that the quotient has 64 or 65 bits, then let the last of 64 stand for all that is cut off:
  // the one rounding, to 53 bits, is then left to the conversion.
  auto shift = 64 - (static_cast<int>(msb(above)) - static_cast<int>(msb(below)));
  if (shift > 0)
    above <<= shift;
  else
    below <<= -shift;
  cpp_int quotient, rest;
  divide_qr(above, below, quotient, rest);
  bool inexact = rest != 0;
  for (; msb(quotient) > 63; --shift) {
    inexact = inexact || bit_test(quotient, 0);
    quotient >>= 1;
  }
  auto bits = static_cast<std::uint64_t>(quotient) | (inexact ? 1u : 0u);
  double result = std::ldexp(static_cast<double>(bits), -shift);
  return numerator(number) < 0 ? -result : result;
}

ExactFactor ExactFactor::pi() {
  ExactFactor result;
  result.piPower_ = 1;
  return result;
}

bool ExactFactor::multiply(const ExactFactor& other, const Exponent& exponent) {
  piPower_ += other.piPower_ * exponent;
  if (!isWithinLimits(piPower_))
    return false;
  if (other.radicand_ == 1)
    return true;

  auto share = exponent / Exponent(other.root_); // radicand_^(1/root_) * other.radicand_^share
  auto root = std::lcm(static_cast<std::uint64_t>(root_), static_cast<std::uint64_t>(share.denominator()));
  if (root > maxRoot)
    return false;
  auto ownPower = static_cast<std::int64_t>(root / root_);
  auto otherPower = share.numerator() * static_cast<std::int64_t>(root) / share.denominator();
  if (bitsOf(radicand_) * static_cast<std::uint64_t>(ownPower) +
          bitsOf(other.radicand_) * static_cast<std::uint64_t>(std::abs(otherPower)) >
      maxBits)
    return false;
  radicand_ = power(radicand_, ownPower) * power(other.radicand_, otherPower);
  root_ = radicand_ == 1 ? 1 : static_cast<unsigned>(root);
  return true;
}

const Fraction* ExactFactor::fraction() const { return root_ == 1 && piPower_.numerator() == 0 ? &radicand_ : nullptr; }

BigFloat ExactFactor::approximation() const {
  BigFloat result = BigFloat(numerator(radicand_)) / BigFloat(denominator(radicand_));
  if (root_ != 1)
    result = pow(result, BigFloat(1) / root_);
  if (piPower_.numerator() != 0)
    result *=
        pow(boost::math::constants::pi<BigFloat>(), BigFloat(piPower_.numerator()) / BigFloat(piPower_.denominator()));
  return result;
}

bool ExactFactor::operator==(const ExactFactor& other) const {
  if (piPower_ != other.piPower_)
    return false;
  auto common = std::gcd(root_, other.root_);
  return power(radicand_, other.root_ / common) == power(other.radicand_, root_ / common);
}

} // namespace kavra::standalone
