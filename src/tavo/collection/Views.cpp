#include "tavo/collection/Views.h"

#include "tavo/collection/ItemList.h"
#include "tavo/core/Errors.h"
#include "tavo/model/Transaction.h"

#include <stdexcept>

namespace tavo {

std::size_t ObjectView::size() const {
  const ItemList* list = owner_.object().items(*property_);
  return list ? list->size() : 0;
}

bool ObjectView::contains(const ModelElement& element) const {
  const ItemList* list = owner_.object().items(*property_);
  if (!list || !element || !element.isA(*property_->target()) || &element.object().data() != &owner_.object().data())
    return false;
  if (property_->isContainment())
    return element.object().container() == owner_.get() && element.object().containingProperty() == property_;
  return list->find(element.object()) != nullptr;
}

ModelElement::Impl* ObjectView::objectAt(std::size_t position) const {
  ItemList* list = owner_.object().items(*property_);
  if (!list || position >= list->size())
    throw std::out_of_range("a position past the end of a collection");
  return list->objectAt(position);
}

ModelElement::Impl* ObjectView::findKey(std::size_t which, const void* key) const {
  const ItemList* list = owner_.object().items(*property_);
  void* item = list ? list->findKey(which, key) : nullptr;
  return item ? list->objectOf(item) : nullptr;
}

ModelElement::Impl* ObjectView::findText(std::size_t which, std::u16string_view key) const {
  const ItemList* list = owner_.object().items(*property_);
  void* item = list ? list->findText(which, key) : nullptr;
  return item ? list->objectOf(item) : nullptr;
}

void ObjectView::add(ModelElement::Impl* item, std::size_t position) const {
  owner_.object().add(*property_, item, position);
}

void ObjectView::remove(ModelElement::Impl* item) const { owner_.object().remove(*property_, item); }

void ObjectView::clear() const {
  ModelElement::Impl& owner = owner_.object();
  ItemList* list = owner.items(*property_);
  if (!list || list->size() == 0)
    return;
  Transaction transaction(owner.model());
  while (void* first = list->first())
    owner.remove(*property_, list->objectOf(first));
  transaction.commit();
}

std::uint32_t ObjectView::version() const {
  const ItemList* list = owner_.object().items(*property_);
  return list ? list->version() : 0;
}

void ObjectView::raiseChanged() const { raise(FrameworkError::CollectionChangedWhileIterating, property_->name()); }

} // namespace tavo
