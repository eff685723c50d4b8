#include "zelkor/framework/WorkspaceWrapper.impl.h"

namespace zelkor::internal {

// Values are evaluated by the workspace service of the host; see zelkor/services/WorkspaceWrapper.h.

WorkspaceWrapper WorkspaceWrapper::get(const tavo::Model&) { return {}; }

kavra::HostArray WorkspaceWrapper::Impl::evalExpression(const tavo::String&) const { return {}; }

} // namespace zelkor::internal
