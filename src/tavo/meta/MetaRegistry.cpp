#include "tavo/meta/MetaRegistry.h"

#include "tavo/core/Errors.h"
#include "tavo/model/ModelElementDatatype.h"

#include <algorithm>
#include <stdexcept>

namespace tavo {
namespace {

Uuid requireUuid(std::string_view text, std::string_view what) {
  if (const auto uuid = parseUuid(text))
    return *uuid;
  raise(FrameworkError::InvalidValue, text, what, "uuid");
}

/// The flags that follow from what a feature is.
std::uint32_t impliedFlags(const PropertyDecl& declaration, const Datatype* datatype) {
  std::uint32_t flags = 0;
  const bool isMany = declaration.kind == FeatureKind::containsMany || declaration.kind == FeatureKind::refersMany;
  if (declaration.collection != CollectionKind::sequence)
    flags |= PropertyFlag::unique;
  else if (isMany || (datatype && datatype->kind == Datatype::Kind::sequence))
    flags |= PropertyFlag::ordered;
  switch (declaration.kind) {
  case FeatureKind::derived:
    return flags | PropertyFlag::derived | PropertyFlag::readOnly | PropertyFlag::transient;
  case FeatureKind::container:
  case FeatureKind::runtime:
    return flags | PropertyFlag::transient;
  default:
    return flags;
  }
}

} // namespace

// Properties

std::string MetaProperty::qualifiedName() const {
  return std::string(owner_->qualifiedName()) + "." + std::string(name());
}

bool MetaProperty::isSaved() const { return !has(PropertyFlag::transient) && (!datatype_ || datatype_->saved); }

bool MetaProperty::isWritable() const { return !has(PropertyFlag::readOnly); }

bool MetaProperty::givesIdentityTo(const MetaClass& metaClass) const {
  if (!isContainment() || !metaClass.has(ClassFlag::derivedIdentity))
    return false;
  if (keys_[0])
    return keys_[0]->datatype()->kind == Datatype::Kind::uuid;
  return collection() == CollectionKind::sequence || kind_ == FeatureKind::containsOne;
}

Uuid MetaProperty::derivedIdentity(const Uuid& owner, const Uuid& key, std::size_t position) const {
  const Uuid here = derivedUuid(owner, id());
  if (kind_ == FeatureKind::containsOne)
    return here;
  // Of what is given second some bits are lost: those of the version, if it is an identity itself.
  if (keys_[0])
    return derivedUuid(key, here);
  constexpr std::size_t keptByte = 5;
  Uuid number{};
  for (std::size_t i = 0; i < sizeof(std::uint32_t); ++i)
    number.data[keptByte + i] = static_cast<std::uint8_t>(position >> 8 * i);
  return derivedUuid(here, number);
}

bool MetaProperty::isDefault(const void* value) const {
  if (decl_->defaultValue)
    return datatype_->equal(decl_->defaultValue(), value);
  alignas(8) std::byte made[maxDatatypeSize];
  datatype_->construct(made);
  const bool same = datatype_->equal(made, value);
  datatype_->destroy(made);
  return same;
}

Value MetaProperty::defaultValue() const {
  if (!datatype_)
    return {};
  return decl_->defaultValue ? Value::copyOf(*datatype_, decl_->defaultValue()) : Value(*datatype_);
}

// Operations

Value MetaOperation::call(const ModelElement& object, std::span<Value> arguments) const {
  if (!decl_->call)
    raise(FrameworkError::CannotCallOperation, name(), owner_->name());
  if (arguments.size() != decl_->arguments.size())
    raise(FrameworkError::InvalidValue, static_cast<long long>(arguments.size()), name(),
          static_cast<long long>(decl_->arguments.size()));
  if (has(OperationFlag::isStatic))
    return decl_->call(nullptr, arguments);
  ModelElement::Impl& target = object.object();
  if (!target.isA(*owner_))
    raise(FrameworkError::NoSuchProperty, name(), target.objectClass().name());
  return decl_->call(&target, arguments);
}

// Classes

const MetaProperty* MetaClass::findProperty(std::string_view name) const {
  const auto found = byName_.find(name);
  return found == byName_.end() ? nullptr : found->second;
}

const MetaProperty* MetaClass::findProperty(const Uuid& id) const {
  const auto found = byId_.find(id);
  return found == byId_.end() ? nullptr : found->second;
}

template <class Wanted>
const MetaOperation* MetaClass::findOperationIf(const Wanted& wanted) const {
  for (const MetaClass* at = this; at; at = at->base_)
    for (const MetaOperation* operation : at->operations_)
      if (wanted(*operation))
        return operation;
  return nullptr;
}

const MetaOperation* MetaClass::findOperation(std::string_view name) const {
  return findOperationIf([&](const MetaOperation& operation) { return operation.name() == name; });
}

const MetaOperation* MetaClass::findOperation(const Uuid& id) const {
  return findOperationIf([&](const MetaOperation& operation) { return operation.id() == id; });
}

const MetaProperty& MetaClass::property(std::string_view name) const {
  if (const MetaProperty* found = findProperty(name))
    return *found;
  raise(FrameworkError::NoSuchProperty, name, this->name());
}

const MetaProperty& MetaClass::property(PropertyIndex index) const {
  if (index < properties_.size())
    return *properties_[index];
  raise(FrameworkError::NoSuchProperty, static_cast<unsigned long long>(index), name());
}

const MetaProperty* MetaClass::soleReference() const {
  if (!has(ClassFlag::derivedIdentity))
    return nullptr;
  const MetaProperty* sole = nullptr;
  for (const MetaProperty* property : properties_)
    if (property->isSaved()) {
      if (sole || property->kind() != FeatureKind::refersOne || property->opposite())
        return nullptr;
      sole = property;
    }
  return sole;
}

std::vector<const MetaClass*> MetaClass::withSubclasses() const {
  std::vector<const MetaClass*> found{this};
  for (const MetaPackage* package : MetaRegistry::instance().packages())
    for (const auto& each : package->classes())
      if (each.get() != this && each->isA(*this))
        found.push_back(each.get());
  return found;
}

// The registry

MetaRegistry& MetaRegistry::instance() {
  static auto* const registry = new MetaRegistry; // used by destructors of static objects, so it never goes
  return *registry;
}

/// A package being put together: nothing of it is visible before `publish`.
struct MetaRegistry::Draft {
  explicit Draft(MetaRegistry& into) : registry(into) {}

  MetaRegistry& registry;
  std::unique_ptr<MetaPackage> package = std::make_unique<MetaPackage>();
  boost::unordered_flat_map<const ClassDecl*, MetaClass*> classes;

  const MetaClass& classOf(const ClassDecl& declaration) {
    if (const auto own = classes.find(&declaration); own != classes.end())
      return *own->second;
    const auto found = registry.byDeclaration_.find(&declaration);
    if (found == registry.byDeclaration_.end())
      raise(FrameworkError::NoSuchType, declaration.qualifiedName);
    return *found->second;
  }

  void addClass(const ClassDecl& declaration) {
    auto made = std::make_unique<MetaClass>();
    made->decl_ = &declaration;
    made->package_ = package.get();
    made->id_ = requireUuid(declaration.id, declaration.qualifiedName);
    if (registry.byName_.contains(declaration.qualifiedName) || registry.byId_.contains(made->id_))
      raise(FrameworkError::DuplicateIdentity, declaration.qualifiedName, declaration.id);
    classes.emplace(&declaration, made.get());
    package->classes_.push_back(std::move(made));
  }

  /// Bases before subclasses, whatever the order of declaration.
  void inherit(MetaClass& metaClass) {
    if (!metaClass.ancestors_.empty())
      return;
    if (metaClass.decl_->base) {
      const ClassDecl& base = metaClass.decl_->base();
      if (const auto own = classes.find(&base); own != classes.end())
        inherit(*own->second);
      metaClass.base_ = &classOf(base);
      const auto features = static_cast<PropertyIndex>(metaClass.base_->properties_.size());
      if (metaClass.decl_->builtOn != ClassLayout{base.storageSize, features})
        raise(FrameworkError::IncompatibleLibrary, metaClass.qualifiedName(), base.qualifiedName,
              metaClass.base_->package().version());
      metaClass.ancestors_ = metaClass.base_->ancestors_;
      metaClass.properties_ = metaClass.base_->properties_;
      metaClass.byName_ = metaClass.base_->byName_;
      metaClass.byId_ = metaClass.base_->byId_;
    }
    metaClass.depth_ = metaClass.ancestors_.size();
    metaClass.ancestors_.push_back(&metaClass);
    for (const PropertyDecl& declaration : metaClass.decl_->properties) {
      auto property = std::make_unique<MetaProperty>();
      property->decl_ = &declaration;
      property->owner_ = &metaClass;
      property->kind_ = declaration.kind;
      property->offset_ = declaration.offset;
      property->index_ = static_cast<PropertyIndex>(metaClass.properties_.size());
      property->id_ = requireUuid(declaration.id, declaration.name);
      if (!metaClass.byName_.emplace(declaration.name, property.get()).second ||
          !metaClass.byId_.emplace(property->id_, property.get()).second)
        raise(FrameworkError::DuplicateIdentity, metaClass.qualifiedName(), declaration.name);
      metaClass.properties_.push_back(property.get());
      metaClass.ownProperties_.push_back(std::move(property));
    }
    for (const OperationDecl& declaration : metaClass.decl_->operations) {
      auto operation = std::make_unique<MetaOperation>();
      operation->decl_ = &declaration;
      operation->owner_ = &metaClass;
      operation->id_ = requireUuid(declaration.id, declaration.name);
      metaClass.operations_.push_back(operation.get());
      metaClass.ownOperations_.push_back(std::move(operation));
    }
  }

  void resolve(MetaClass& metaClass) {
    for (const auto& property : metaClass.ownProperties_) {
      const PropertyDecl& declaration = *property->decl_;
      if (declaration.target)
        property->target_ = &classOf(declaration.target());
      if (declaration.datatype)
        property->datatype_ = &declaration.datatype();
      property->flags_ = declaration.flags | impliedFlags(declaration, property->datatype_);
      if (!declaration.opposite.empty())
        property->opposite_ = &property->target_->property(declaration.opposite);
      const std::string_view keys[2] = {declaration.key, declaration.secondKey};
      for (std::size_t which = 0; which < 2; ++which)
        if (!keys[which].empty())
          property->keys_[which] = &property->target_->property(keys[which]);
    }
  }

  /// Keys are marked last: they may belong to classes of packages that are registered already.
  void publish() {
    registry.packages_.reserve(registry.packages_.size() + 1);
    registry.owned_.reserve(registry.owned_.size() + 1);
    registry.byDeclaration_.reserve(registry.byDeclaration_.size() + classes.size());
    registry.byName_.reserve(registry.byName_.size() + classes.size());
    registry.byId_.reserve(registry.byId_.size() + classes.size());
    registry.datatypes_.reserve(registry.datatypes_.size() + package->decl_->datatypes.size());
    for (const DatatypeDecl& datatype : package->decl_->datatypes)
      registry.datatypes_.emplace(datatype.qualifiedName, &datatype);
    for (const auto& metaClass : package->classes_) {
      registry.byDeclaration_.emplace(metaClass->decl_, metaClass.get());
      registry.byName_.emplace(metaClass->qualifiedName(), metaClass.get());
      registry.byId_.emplace(metaClass->id_, metaClass.get());
      for (const auto& property : metaClass->ownProperties_)
        for (const MetaProperty* key : property->keys_)
          if (key) {
            auto& marked = const_cast<MetaProperty&>(*key);
            marked.isKey_ = true;
            marked.keysIncoming_ |= property->isReference() && !property->opposite();
          }
    }
    registry.packages_.push_back(package.get());
    registry.owned_.push_back(std::move(package));
  }
};

const MetaPackage& MetaRegistry::registerPackage(const PackageDecl& declaration) {
  if (const MetaPackage* known = findPackage(declaration.name)) {
    if (known->decl_ != &declaration)
      raise(FrameworkError::DuplicateIdentity, declaration.name, known->version());
    return *known;
  }
  for (const auto& dependency : declaration.depends)
    registerPackage(dependency());
  require(ModelElement::declaration());
  if (const MetaPackage* known = findPackage(declaration.name)) // it was the framework's own
    return *known;

  Draft draft(*this);
  draft.package->decl_ = &declaration;
  for (const DatatypeDecl& datatype : declaration.datatypes)
    if (datatypes_.contains(datatype.qualifiedName))
      raise(FrameworkError::DuplicateIdentity, datatype.qualifiedName, datatype.id);
  for (const auto& metaClass : declaration.classes)
    draft.addClass(metaClass());
  for (const auto& metaClass : draft.package->classes_)
    draft.inherit(*metaClass);
  for (const auto& metaClass : draft.package->classes_)
    draft.resolve(*metaClass);
  for (const auto& metaClass : draft.package->classes_)
    for (const MetaProperty* property : metaClass->properties_) {
      if (property->isContainment())
        metaClass->containments_.push_back(property);
      else if (property->isReference())
        metaClass->references_.push_back(property);
    }
  draft.publish();
  return *packages_.back();
}

bool MetaRegistry::registerWhenLoaded(const PackageDecl& package) noexcept {
  try {
    registerPackage(package);
    return true;
  } catch (...) {
    refused_.push_back(&package); // classNamed tries again, and raises the reason where it can be caught
    return false;
  }
}

const MetaClass& MetaRegistry::require(const ClassDecl& declaration) {
  const auto find = [&]() -> const MetaClass* {
    const auto found = byDeclaration_.find(&declaration);
    return found == byDeclaration_.end() ? nullptr : found->second;
  };
  if (const MetaClass* known = find())
    return *known;
  if (&declaration == &ModelElement::declaration()) {
    Draft draft(*this);
    draft.package->decl_ = &declaration.package();
    draft.addClass(declaration);
    draft.inherit(*draft.package->classes_.front());
    draft.publish();
    return *find();
  }
  registerPackage(declaration.package());
  if (const MetaClass* known = find())
    return *known;
  raise(FrameworkError::NoSuchType, declaration.qualifiedName);
}

const MetaPackage* MetaRegistry::findPackage(std::string_view name) const {
  for (const MetaPackage* package : packages_)
    if (package->name() == name)
      return package;
  return nullptr;
}

const MetaClass* MetaRegistry::findClass(std::string_view qualifiedName) const {
  const auto found = byName_.find(qualifiedName);
  return found == byName_.end() ? nullptr : found->second;
}

const MetaClass* MetaRegistry::findClass(const Uuid& id) const {
  const auto found = byId_.find(id);
  return found == byId_.end() ? nullptr : found->second;
}

const MetaClass& MetaRegistry::classNamed(std::string_view qualifiedName) {
  if (const MetaClass* found = findClass(qualifiedName))
    return *found;
  for (const PackageDecl* package : refused_)
    for (const auto& declaration : package->classes)
      if (declaration().qualifiedName == qualifiedName)
        return require(declaration());
  raise(FrameworkError::NoSuchType, qualifiedName);
}

const DatatypeDecl* MetaRegistry::findDatatype(std::string_view qualifiedName) const {
  const auto found = datatypes_.find(qualifiedName);
  return found == datatypes_.end() ? nullptr : found->second;
}

PackageUri MetaRegistry::parseUri(std::string_view uri) {
  constexpr std::string_view marker = "/tavo/";
  const std::size_t at = uri.find(marker);
  if (at == std::string_view::npos || at == 0)
    raise(FrameworkError::InvalidValue, uri, "uri", "HOST/tavo/NAME/VERSION");
  PackageUri parts;
  parts.host = uri.substr(0, at);
  std::string_view rest = uri.substr(at + marker.size());
  std::string* const into[] = {&parts.package, &parts.version, &parts.space};
  for (std::string* part : into) {
    const std::size_t slash = part == &parts.space ? std::string_view::npos : rest.find('/');
    *part = rest.substr(0, slash);
    rest = slash == std::string_view::npos ? std::string_view{} : rest.substr(slash + 1);
  }
  if (parts.package.empty() || parts.version.empty())
    raise(FrameworkError::InvalidValue, uri, "uri", "HOST/tavo/NAME/VERSION");
  return parts;
}

} // namespace tavo
