#include "tavo/query/Query.h"

#include "tavo/collection/Views.h"
#include "tavo/model/ModelData.h"
#include "tavo/model/ModelElementDatatype.h"

namespace tavo {

using Impl = ModelElement::Impl;

Term operator&&(Term a, Term b) {
  return Term([a = std::move(a), b = std::move(b)](const Impl& object) { return a.holds(object) && b.holds(object); });
}

Term operator||(Term a, Term b) {
  return Term([a = std::move(a), b = std::move(b)](const Impl& object) { return a.holds(object) || b.holds(object); });
}

Term operator!(Term term) {
  return Term([term = std::move(term)](const Impl& object) { return !term.holds(object); });
}

Term FeatureTerms::onObject(Term::Predicate predicate) const {
  return Term([property = property_, predicate = std::move(predicate)](const Impl& object) {
    return object.isA(property->owner()) && predicate(object);
  });
}

Term FeatureTerms::onValue(std::function<bool(const void*)> predicate) const {
  return onObject([property = property_, predicate = std::move(predicate)](const Impl& object) {
    return property->kind() == FeatureKind::derived ? predicate(object.getPropertyValue(*property).data())
                                                    : predicate(object.field(*property));
  });
}

Term TextTerms::startsWith(const String& start) const {
  return onValue([start](const void* held) { return static_cast<const String*>(held)->view().starts_with(start); });
}

Term TextTerms::contains(const String& part) const {
  return onValue([part](const void* held) {
    return static_cast<const String*>(held)->view().find(part.view()) != std::u16string_view::npos;
  });
}

Term ObjectTerms::is(const ModelElement& object) const {
  return onObject([property = property_, wanted = object](const Impl& holder) {
    if (property->kind() == FeatureKind::derived)
      return holder.getPropertyValue(*property) == Value::of(wanted);
    return holder.one(*property) == wanted.get();
  });
}

Term ObjectTerms::isEmpty() const { return is(ModelElement()); }

Term CollectionTerms::contains(const ModelElement& object) const {
  return onObject([property = property_, wanted = object](const Impl& holder) {
    return ObjectView(holder.handle(), *property).contains(wanted);
  });
}

Term CollectionTerms::isEmpty() const {
  return onObject([property = property_](const Impl& holder) { return !holder.hasPropertyValue(*property); });
}

void Query::forEach(const MetaClass& metaClass, ClassMatch match, const Term& term,
                    const std::function<bool(ModelElement::Impl&)>& visit) const {
  const ModelData& data = model_.data();
  const auto classes =
      match == ClassMatch::exact ? std::vector<const MetaClass*>{&metaClass} : metaClass.withSubclasses();
  bool goOn = true;
  for (const MetaClass* each : classes)
    if (const Extent* extent = goOn ? data.extentOf(*each) : nullptr)
      extent->forEach([&](Impl& object) {
        if (object.isAlive() && !object.isProxy() && term.holds(object))
          goOn = visit(object) && model_; // the visit may end the model
        return goOn;
      });
}

} // namespace tavo
