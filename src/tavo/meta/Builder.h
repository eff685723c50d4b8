// Builders: the feature values of an object that does not exist yet.
#pragma once

#include "tavo/meta/MetaRegistry.h"
#include "tavo/model/Model.h"
#include "tavo/model/ModelElementDatatype.h"

namespace tavo {

/// The root of all builder implementations; generated ones add typed setters over `setOrAdd`. Hooks do not run for what
/// a builder sets, checks of types and keys do, when the object is created.
class TAVO_EXPORT ModelElement::Impl::BuilderImpl {
public:
  explicit BuilderImpl(const MetaClass& metaClass) : class_(&metaClass) {}

  const MetaClass& metaClass() const { return *class_; }

  /// Sets a value, or the target of a reference; for features to many, adds. Raises NoSuchProperty and InvalidValue.
  void setOrAdd(const MetaProperty& property, Value value);
  /// Adds a child; for a containment to one, sets it. Raises CannotAddIncompatibleTypes.
  void setOrAdd(const MetaProperty& property, BuilderImpl child);
  /// Forgets what was set or added.
  void clear(const MetaProperty& property);
  /// The value that was set last, or null.
  const Value* find(const MetaProperty& property) const;

  /// Creates a top-level object in `model`, with everything that was set and, with `withContents`, the children.
  ModelElement create(const Model& model, bool withContents, const tavo::Uuid& uuid) const;
  /// Writes the values into an object that is being born; see Birth.
  void writeValues(Impl& object) const;
  /// Makes the references of an object; the children are ModelElement::Impl::cascadeCreation's.
  void applyTo(Impl& object) const;
  void createContents(Impl& object) const;

protected:
  template <class T>
  void setValue(PropertyIndex property, T value) {
    setOrAdd(class_->at(property), Value::of<T>(std::move(value)));
  }
  template <class T>
  T value(PropertyIndex property) const {
    const MetaProperty& feature = class_->at(property);
    const Value* set = find(feature);
    return set ? set->as<T>() : feature.defaultValue().template as<T>();
  }
  template <class Facade>
  std::vector<Facade> targets(PropertyIndex property) const {
    std::vector<Facade> found;
    for (const ModelElement& each : allTargets(class_->at(property)))
      found.push_back(each.as<Facade>());
    return found;
  }
  ModelElement target(PropertyIndex property) const {
    const Value* set = find(class_->at(property));
    return set ? set->as<ModelElement>() : ModelElement();
  }

private:
  std::vector<ModelElement> allTargets(const MetaProperty& property) const;

  const MetaClass* class_;
  std::vector<std::pair<const MetaProperty*, Value>> values_;
  std::vector<std::pair<const MetaProperty*, BuilderImpl>> children_;
};

/// What every public builder has: `Type` is the class's BuilderImpl, `Builder` the public builder that derives from
/// this.
template <class Type, class Facade, class Builder>
class BuilderBase : public Type {
public:
  BuilderBase() : Type(Facade::metaClass()) {}
  explicit BuilderBase(const Model& model) : Type(Facade::metaClass()), model_(model) {}

  static const MetaClass& getMetaClass() { return Facade::metaClass(); }

  Builder& setOrAdd(const MetaProperty& property, Value value) {
    Type::setOrAdd(property, std::move(value));
    return static_cast<Builder&>(*this);
  }
  Builder& setOrAdd(const MetaProperty& property, ModelElement::Impl::BuilderImpl child) {
    Type::setOrAdd(property, std::move(child));
    return static_cast<Builder&>(*this);
  }

  /// Creates the object in the builder's model; raises CannotCreateWithoutModel when it was made without one.
  Facade doCreate(bool withContents = true, const Uuid& uuid = {}) const {
    return Type::create(model_, withContents, uuid).template as<Facade>();
  }

private:
  Model model_;
};

} // namespace tavo
