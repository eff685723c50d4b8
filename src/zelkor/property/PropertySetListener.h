// What a usage of a property set keeps while it is in memory.
#pragma once

namespace zelkor::property {

class PropertySetListener;

} // namespace zelkor::property
