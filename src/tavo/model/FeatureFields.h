// The features of an object that hold objects, as its storage keeps them.
#pragma once

#include "tavo/collection/ItemList.h"

namespace tavo {

inline LinkField& linkField(ModelElement::Impl& object, const MetaProperty& property) {
  return *static_cast<LinkField*>(object.field(property));
}
inline ChildField& childField(ModelElement::Impl& object, const MetaProperty& property) {
  return *static_cast<ChildField*>(object.field(property));
}
inline ListField& listField(ModelElement::Impl& object, const MetaProperty& property) {
  return *static_cast<ListField*>(object.field(property));
}

/// Calls `visit(link)` for the links that `object` itself holds in a feature; they may be unlinked meanwhile.
template <class Visit>
void forEachLink(ModelElement::Impl& object, const MetaProperty& property, const Visit& visit) {
  if (property.kind() == FeatureKind::refersOne) {
    if (Link* link = linkField(object, property))
      visit(*link);
  } else if (ItemList* list = listField(object, property).list) {
    for (void* item = list->first(); item;) {
      void* next = list->nextOf(item);
      visit(*static_cast<Link*>(item));
      item = next;
    }
  }
}

template <class Visit>
void forEachChild(ModelElement::Impl& object, const Visit& visit) {
  for (const MetaProperty* property : object.objectClass().containments())
    if (property->kind() == FeatureKind::containsOne) {
      if (ModelElement::Impl* child = childField(object, *property))
        visit(*child);
    } else if (ItemList* list = listField(object, *property).list) {
      for (void* item = list->first(); item; item = list->nextOf(item))
        visit(*static_cast<ModelElement::Impl*>(item));
    }
}

} // namespace tavo
