#include "tavo/core/Limits.h"

namespace tavo {
namespace {

Limits& instance() {
  static Limits limits;
  return limits;
}

} // namespace

const Limits& Limits::current() { return instance(); }
void Limits::setCurrent(const Limits& limits) { instance() = limits; }

} // namespace tavo
