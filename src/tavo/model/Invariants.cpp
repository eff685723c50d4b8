// Whether the books of a model agree.
#include "tavo/model/FeatureFields.h"
#include "tavo/model/ModelData.h"

#include <stdexcept>

namespace tavo {

using Impl = ModelElement::Impl;

void checkInvariants(const Model& model) {
  ModelData& data = model.data();
  const auto require = [](bool holds, const char* what) {
    if (!holds)
      throw std::logic_error(what);
  };
  std::size_t alive = 0;
  std::size_t known = 0;
  data.topLevel_.check();
  data.forEachExtent([&](const Extent& extent) {
    require(extent.model() == &data, "an extent belongs to another model");
    extent.forEach([&](Impl& object) {
      ++known;
      if (!object.isAlive())
        return;
      ++alive;
      require(data.find(object.uuid()) == &object, "the identity index does not find an object");
      require(object.isPlaced_, "a live object is in no list");
      if (Impl* container = object.container_) {
        require(container->isAlive(), "the container of a live object is dead");
        const MetaProperty& property = container->objectClass().at(object.containing_);
        require(property.isContainment(), "an object is contained by a feature that is no containment");
        require(property.kind() == FeatureKind::containsOne
                    ? childField(*container, property) == &object
                    : listField(*container, property).list->find(object) != nullptr,
                "a container does not hold its child");
      } else {
        require(data.topLevel_.find(object) != nullptr, "an object without a container is not top-level");
      }
      for (const MetaProperty* property : object.objectClass().references())
        forEachLink(object, *property, [&](Link& link) {
          require(link.linked && link.source() == &object && link.property == property->index(),
                  "a link does not know its source");
          require(link.target->isAlive() && &link.target->data() == &data, "a reference leads out of the model");
          require(link.paired == (property->opposite() != nullptr), "a link and its feature differ about the opposite");
          require(!link.paired ||
                      (link.twin()->twin() == &link && link.twin()->source() == link.target && link.twin()->linked),
                  "the two ends of an association disagree");
        });
      for (LoneLink* link = object.incoming_; link; link = link->next)
        require(link->linked && link->target == &object && link->from->isAlive() &&
                    (!link->next || link->next->previous == link),
                "the chain of incoming references is broken");
      for (const MetaProperty* property : object.objectClass().properties())
        if (property->isMany())
          if (ItemList* list = listField(object, *property).list)
            list->check();
    });
  });
  require(alive == data.alive_, "the number of objects is wrong");
  require(known == data.identities_.size(), "the identity index holds another number of objects");
}

} // namespace tavo
