#include "tavo/model/ModelElementDatatype.h"

namespace tavo {

const Datatype& DatatypeOf<ModelElement>::get() {
  static const Datatype type = [] {
    Datatype made = detail::basicDatatype<ModelElement>("object", Datatype::Kind::object);
    made.saved = false;
    made.equal = [](const void* a, const void* b) {
      return *static_cast<const ModelElement*>(a) == *static_cast<const ModelElement*>(b);
    };
    made.compare = [](const void* a, const void* b) {
      return detail::compareValues(static_cast<const ModelElement*>(a)->get(),
                                   static_cast<const ModelElement*>(b)->get());
    };
    made.hash = [](const void* value) {
      return std::hash<const void*>{}(static_cast<const ModelElement*>(value)->get());
    };
    made.write = [](const void* value, std::string& out) {
      const auto& element = *static_cast<const ModelElement*>(value);
      out += element ? toText(element.Uuid()) : std::string("none");
    };
    return made;
  }();
  return type;
}

} // namespace tavo
