#include "sample/tools/Tool.impl.h"

namespace sample::tools {

tavo::String Tool::Impl::describe(std::uint32_t) const { return getP_Name(); }

} // namespace sample::tools
