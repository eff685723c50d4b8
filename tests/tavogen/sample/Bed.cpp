#include "sample/Bed.impl.h"

namespace sample {

Bed Bed::get(const tavo::String&) { return {}; }

tavo::String Bed::Impl::describe(std::uint32_t length) const {
  return std::u16string_view(getP_Name()).substr(0, length);
}

} // namespace sample
