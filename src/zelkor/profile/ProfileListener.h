// What profiles, and the models that use them, keep while they are in memory.
#pragma once

namespace zelkor::profile {

class ProfileDirtyListener;
class ProfileListener;

} // namespace zelkor::profile
