#include "tavo/meta/Builder.h"

#include "tavo/core/Errors.h"
#include "tavo/model/Transaction.h"

#include <algorithm>

namespace tavo {

void ModelElement::Impl::BuilderImpl::setOrAdd(const MetaProperty& property, Value value) {
  if (!class_->isA(property.owner()))
    raise(FrameworkError::NoSuchProperty, property.name(), class_->name());
  if (property.kind() == FeatureKind::derived)
    raise(FrameworkError::CannotSetReadOnlyProperty, property.name(), class_->name());
  const Datatype* type = property.datatype() ? property.datatype() : &datatypeOf<ModelElement>();
  if (!value.type() || !(*value.type() == *type))
    raise(FrameworkError::InvalidValue, value.toText(), property.name(), type->name);
  if (!property.isMany())
    clear(property);
  values_.emplace_back(&property, std::move(value));
}

void ModelElement::Impl::BuilderImpl::setOrAdd(const MetaProperty& property, BuilderImpl child) {
  if (!class_->isA(property.owner()) || !property.isContainment())
    raise(FrameworkError::NoSuchProperty, property.name(), class_->name());
  if (!child.class_->isA(*property.target()))
    raise(FrameworkError::CannotAddIncompatibleTypes, child.class_->name(), property.name(), property.target()->name());
  if (!property.isMany())
    clear(property);
  children_.emplace_back(&property, std::move(child));
}

void ModelElement::Impl::BuilderImpl::clear(const MetaProperty& property) {
  std::erase_if(values_, [&](const auto& set) { return set.first == &property; });
  std::erase_if(children_, [&](const auto& added) { return added.first == &property; });
}

const Value* ModelElement::Impl::BuilderImpl::find(const MetaProperty& property) const {
  const auto found =
      std::find_if(values_.rbegin(), values_.rend(), [&](const auto& set) { return set.first == &property; });
  return found == values_.rend() ? nullptr : &found->second;
}

std::vector<ModelElement> ModelElement::Impl::BuilderImpl::allTargets(const MetaProperty& property) const {
  std::vector<ModelElement> found;
  for (const auto& [feature, value] : values_)
    if (feature == &property)
      found.push_back(value.as<ModelElement>());
  return found;
}

ModelElement ModelElement::Impl::BuilderImpl::create(const Model& model, bool withContents,
                                                     const tavo::Uuid& uuid) const {
  if (!model)
    raise(FrameworkError::CannotCreateWithoutModel, class_->name());
  Transaction transaction(model);
  const auto values = [this](Impl& object) { writeValues(object); };
  ModelElement made = model.create(*class_, uuid, values);
  applyTo(made.object());
  if (withContents)
    made.object().cascadeCreation(*this);
  transaction.commit();
  return made;
}

void ModelElement::Impl::BuilderImpl::writeValues(Impl& object) const {
  for (const auto& [property, value] : values_)
    if (property->datatype()) { // also one that is read-only once it has been set here
      Value copy = value;
      property->datatype()->swap(object.field(*property), copy.data());
    }
}

void ModelElement::Impl::BuilderImpl::applyTo(Impl& object) const {
  const FrameworkUpdate guard(object.model());
  for (const auto& [property, value] : values_)
    if (property->isMany())
      object.add(*property, value.as<ModelElement>().get());
    else if (!property->datatype())
      object.setPropertyValue(*property, value);
}

void ModelElement::Impl::BuilderImpl::createContents(Impl& object) const {
  for (const auto& [property, child] : children_)
    object.createInto(*property, child);
}

} // namespace tavo
