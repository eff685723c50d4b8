// The metamodel at run time: packages, classes, properties and operations, and the one registry that finds them.
#pragma once

#include "tavo/meta/Declarations.h"

#include <boost/unordered/unordered_flat_map.hpp>

#include <memory>

namespace tavo {

class MetaClass;
class MetaPackage;

/// A feature of a class. Owned by its class, alive as long as the process.
class TAVO_EXPORT MetaProperty {
public:
  std::string_view name() const { return decl_->name; }
  const Uuid& id() const { return id_; }
  PropertyIndex index() const { return index_; }
  FeatureKind kind() const { return kind_; }
  CollectionKind collection() const { return decl_->collection; }
  bool has(std::uint32_t flag) const { return (flags_ & flag) != 0; }
  const PropertyDecl& declaration() const { return *decl_; }
  /// The class that declares the feature.
  const MetaClass& owner() const { return *owner_; }
  /// The name with the class's: "zelkor.property.FloatType.minValue".
  std::string qualifiedName() const;

  /// Of features that hold values; null for features that hold objects.
  const Datatype* datatype() const { return datatype_; }
  /// Of features that hold objects; null for features that hold values.
  const MetaClass* target() const { return target_; }
  const MetaProperty* opposite() const { return opposite_; }
  /// The attributes of the target that key this collection: at most two, null where there is none.
  const MetaProperty* key(std::size_t which) const { return keys_[which]; }

  std::size_t offset() const { return offset_; }
  /// Whether an object of that class takes its identity from its place in this feature: it is the only one, or the one
  /// of an identity that keys the feature, or the one at a position of a sequence.
  bool givesIdentityTo(const MetaClass& metaClass) const;
  /// That identity, in an owner. `key` is what such a map has it under.
  Uuid derivedIdentity(const Uuid& owner, const Uuid& key, std::size_t position) const;
  bool isContainment() const { return kind_ == FeatureKind::containsOne || kind_ == FeatureKind::containsMany; }
  bool isReference() const { return kind_ == FeatureKind::refersOne || kind_ == FeatureKind::refersMany; }
  bool isMany() const { return kind_ == FeatureKind::containsMany || kind_ == FeatureKind::refersMany; }
  /// Whether a file holds it.
  bool isSaved() const;
  /// Whether reflection may write it.
  bool isWritable() const;
  /// Whether the value at `value` is the feature's default.
  bool isDefault(const void* value) const;
  /// The default value of a feature that holds values.
  Value defaultValue() const;
  /// Whether some collection is keyed by this attribute, so that changing it must find those collections.
  bool isKey() const { return isKey_; }
  /// Whether such a collection may be a reference without an opposite, which only the chain of incoming links finds.
  bool keysIncoming() const { return keysIncoming_; }

private:
  friend class MetaRegistry;
  const PropertyDecl* decl_ = nullptr;
  std::uint32_t offset_ = 0;
  std::uint32_t flags_ = 0;
  PropertyIndex index_ = 0;
  FeatureKind kind_{};
  bool isKey_ = false;
  bool keysIncoming_ = false;
  const Datatype* datatype_ = nullptr;
  const MetaClass* target_ = nullptr;
  const MetaProperty* opposite_ = nullptr;
  const MetaProperty* keys_[2] = {nullptr, nullptr};
  const MetaClass* owner_ = nullptr;
  Uuid id_{};
};

class TAVO_EXPORT MetaOperation {
public:
  std::string_view name() const { return decl_->name; }
  const Uuid& id() const { return id_; }
  const OperationDecl& declaration() const { return *decl_; }
  const MetaClass& owner() const { return *owner_; }
  bool has(std::uint32_t flag) const { return (decl_->flags & flag) != 0; }

  /// Calls the operation on an object (an empty handle for static ones). The place of an output takes what comes out,
  /// whatever it held. Objects are passed as handles of ModelElement, classes as pointers to their MetaClass. Raises
  /// InvalidValue for arguments that do not fit, CannotCallOperation for an operation that is not public.
  Value call(const ModelElement& object, std::span<Value> arguments) const;

private:
  friend class MetaRegistry;
  const OperationDecl* decl_ = nullptr;
  const MetaClass* owner_ = nullptr;
  Uuid id_{};
};

class TAVO_EXPORT MetaClass {
public:
  std::string_view name() const { return decl_->name; }
  std::string_view qualifiedName() const { return decl_->qualifiedName; }
  const Uuid& id() const { return id_; }
  const MetaClass* base() const { return base_; }
  const MetaPackage& package() const { return *package_; }
  const ClassDecl& declaration() const { return *decl_; }
  bool isAbstract() const { return has(ClassFlag::isAbstract); }
  bool has(std::uint32_t flag) const { return (decl_->flags & flag) != 0; }

  /// Whether this is `other` or derives from it; constant time.
  bool isA(const MetaClass& other) const {
    return other.depth_ < ancestors_.size() && ancestors_[other.depth_] == &other;
  }
  /// All features, inherited ones first, each at its index.
  std::span<const MetaProperty* const> properties() const { return properties_; }
  /// The operations that this class itself declares.
  std::span<const MetaOperation* const> operations() const { return operations_; }
  /// Own or inherited; null when there is none.
  const MetaProperty* findProperty(std::string_view name) const;
  const MetaProperty* findProperty(const Uuid& id) const;
  const MetaOperation* findOperation(std::string_view name) const;
  /// Tells operations of one name apart.
  const MetaOperation* findOperation(const Uuid& id) const;
  /// Raises NoSuchProperty.
  const MetaProperty& property(std::string_view name) const;
  const MetaProperty& property(PropertyIndex index) const;
  /// Without a check, for generated code.
  const MetaProperty& at(PropertyIndex index) const { return *properties_[index]; }
  /// The features whose values are objects: what destruction and traversal visit.
  std::span<const MetaProperty* const> containments() const { return containments_; }
  std::span<const MetaProperty* const> references() const { return references_; }
  /// The one feature that files hold of objects with derived identities, if it is a reference to one object: such an
  /// object says nothing but where it leads. Null for all other classes.
  const MetaProperty* soleReference() const;
  /// Direct and indirect subclasses that are registered by now, this class first.
  std::vector<const MetaClass*> withSubclasses() const;

private:
  friend class MetaRegistry;
  template <class Wanted>
  const MetaOperation* findOperationIf(const Wanted& wanted) const;

  const ClassDecl* decl_ = nullptr;
  const MetaClass* base_ = nullptr;
  const MetaPackage* package_ = nullptr;
  std::size_t depth_ = 0;
  Uuid id_{};
  std::vector<const MetaClass*> ancestors_; ///< from the root to this class itself
  std::vector<const MetaProperty*> properties_;
  std::vector<const MetaProperty*> containments_;
  std::vector<const MetaProperty*> references_;
  std::vector<const MetaOperation*> operations_;
  std::vector<std::unique_ptr<MetaProperty>> ownProperties_;
  std::vector<std::unique_ptr<MetaOperation>> ownOperations_;
  boost::unordered_flat_map<std::string_view, const MetaProperty*> byName_;
  boost::unordered_flat_map<Uuid, const MetaProperty*, UuidHash> byId_;
};

class TAVO_EXPORT MetaPackage {
public:
  std::string_view name() const { return decl_->name; }
  std::string_view version() const { return decl_->version; }
  std::string_view uri() const { return decl_->uri; }
  const PackageDecl& declaration() const { return *decl_; }
  std::span<const std::unique_ptr<MetaClass>> classes() const { return classes_; }

private:
  friend class MetaRegistry;
  const PackageDecl* decl_ = nullptr;
  std::vector<std::unique_ptr<MetaClass>> classes_;
};

/// The parts of a package's or namespace's URI.
struct PackageUri {
  std::string host, package, version, space;
};

/// All packages of the process. Packages register themselves on first use and when their library is loaded, and stay.
/// What is registered never changes: the metamodel needs no freezing, because nothing can thaw it.
class TAVO_EXPORT MetaRegistry {
public:
  static MetaRegistry& instance();

  /// Registers a package with the packages that it depends on, unless it is there already. All or nothing. Raises
  /// IncompatibleLibrary for a class that was compiled on another version of its base class.
  const MetaPackage& registerPackage(const PackageDecl& package);
  /// The same while a library is being loaded, when nobody could catch an error: whoever asks for a class of a package
  /// that was refused hears the reason then.
  bool registerWhenLoaded(const PackageDecl& package) noexcept;
  /// The class of a declaration; registers its package when necessary.
  const MetaClass& require(const ClassDecl& declaration);

  std::span<const MetaPackage* const> packages() const { return packages_; }
  const MetaPackage* findPackage(std::string_view name) const;
  const MetaClass* findClass(std::string_view qualifiedName) const;
  const MetaClass* findClass(const Uuid& id) const;
  /// Raises NoSuchType, or what kept the package of the class from being registered.
  const MetaClass& classNamed(std::string_view qualifiedName);
  /// An enumeration, struct or primitive; null when there is none of that name.
  const DatatypeDecl* findDatatype(std::string_view qualifiedName) const;

  /// "HOST/tavo/NAME/VERSION[/NAMESPACE]" taken apart; raises InvalidValue for other texts.
  static PackageUri parseUri(std::string_view uri);

private:
  MetaRegistry() = default;
  struct Draft;
  std::vector<const MetaPackage*> packages_;
  std::vector<std::unique_ptr<MetaPackage>> owned_;
  boost::unordered_flat_map<const ClassDecl*, const MetaClass*> byDeclaration_;
  boost::unordered_flat_map<std::string_view, const MetaClass*> byName_;
  boost::unordered_flat_map<Uuid, const MetaClass*, UuidHash> byId_;
  boost::unordered_flat_map<std::string_view, const DatatypeDecl*> datatypes_;
  std::vector<const PackageDecl*> refused_; ///< while their libraries were loaded
};

inline void* ModelElement::Impl::field(const MetaProperty& property) {
  return reinterpret_cast<std::byte*>(this) + sizeof(Impl) + property.offset();
}

inline const MetaProperty& Link::feature() const { return source()->objectClass().at(property); }

} // namespace tavo
