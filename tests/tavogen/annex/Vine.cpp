#include "annex/Vine.impl.h"

namespace annex {

tavo::String Vine::Impl::describe(std::uint32_t) const { return u"climbs"; }

} // namespace annex
