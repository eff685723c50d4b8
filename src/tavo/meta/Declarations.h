// What generated code says about its classes: constant tables, from which the registry builds the metamodel.
//
// Generated text holds names, types and these tables; all behaviour over them is written once, in the framework.
#pragma once

#include "tavo/meta/Datatype.h"
#include "tavo/model/ModelElement.h"
#include "tavo/value/Value.h"

namespace tavo {

struct ClassDecl;
struct PackageDecl;

enum class FeatureKind : std::uint8_t {
  attribute,    ///< a value in the storage
  containsOne,  ///< ModelElement::Impl*
  containsMany, ///< ItemList<ModelElement::Impl>*
  container,    ///< not stored: the container, when it holds the object in the opposite feature
  refersOne,    ///< Link*
  refersMany,   ///< ItemList<Link>*
  derived,      ///< computed
  runtime,      ///< a value in the storage that is neither saved nor undone
};

enum class CollectionKind : std::uint8_t { sequence, set, map };

/// Flags of a property. Tables name only what does not follow from the rest of the record: a derived feature is
/// read-only and transient anyhow, a set unique, a sequence ordered. MetaProperty::has answers for both.
struct PropertyFlag {
  static constexpr std::uint32_t ordered = 1u << 0;
  static constexpr std::uint32_t unique = 1u << 1;
  static constexpr std::uint32_t readOnly = 1u << 2;
  static constexpr std::uint32_t derived = 1u << 3;
  static constexpr std::uint32_t transient = 1u << 4;
  static constexpr std::uint32_t publicAccessor = 1u << 5;
  static constexpr std::uint32_t publicMutator = 1u << 6;
  static constexpr std::uint32_t hidden = 1u << 7;
};

struct PropertyDecl {
  std::string_view name{};
  std::string_view id{}; ///< UUID text
  FeatureKind kind{};
  std::uint32_t flags = 0;
  std::uint32_t offset = 0;                ///< within the class's Storage; unused for container and derived
  const Datatype& (*datatype)() = nullptr; ///< of attribute, runtime and derived value features
  const ClassDecl& (*target)() = nullptr;  ///< of features that hold objects (derived ones too)
  CollectionKind collection = CollectionKind::sequence;
  std::string_view opposite{}; ///< name of the feature of the target class
  std::string_view key{};      ///< name of the target's attribute that keys a map
  std::string_view secondKey{};
  const void* (*defaultValue)() = nullptr; ///< where it differs from the datatype's own
  Value (*derive)(const ModelElement::Impl&) = nullptr;
  /// The setter, for reflection: where it runs a hook or may be overridden. Null where writing is all that it does.
  void (*set)(ModelElement::Impl&, const Value& value) = nullptr;
  std::string_view since{};
  std::string_view doc{};
};

struct ArgumentDecl {
  std::string_view name;
  std::string_view id;
  std::string_view type; ///< as the schema spells it
  bool input = true;
};

struct OperationFlag {
  static constexpr std::uint32_t isStatic = 1u << 0;
  static constexpr std::uint32_t isPublic = 1u << 1;
  static constexpr std::uint32_t isEvent = 1u << 2;
  static constexpr std::uint32_t isAbstract = 1u << 3;
  static constexpr std::uint32_t isVirtual = 1u << 4;
  static constexpr std::uint32_t isConst = 1u << 5;
};

struct OperationDecl {
  std::string_view name;
  std::string_view id;
  std::uint32_t flags = 0;
  std::span<const ArgumentDecl> arguments{};
  std::string_view returns{}; ///< empty for none
  /// Calls the operation: `object` is null for static ones; the argument count has been checked, each type is checked
  /// here (InvalidValue). Outputs are put into their places. Null for operations that are not public.
  Value (*call)(ModelElement::Impl* object, std::span<Value> arguments) = nullptr;
  std::string_view doc{};
};

struct ClassFlag {
  static constexpr std::uint32_t isAbstract = 1u << 0;
  static constexpr std::uint32_t isRoot = 1u << 1;          ///< instances may stand uncontained in a saved model
  static constexpr std::uint32_t derivedIdentity = 1u << 2; ///< from the place in a containment, where that is possible
};

/// What a class adds up to with its bases, as far as the code of derived classes depends on it.
struct ClassLayout {
  std::uint32_t storageSize = 0;
  PropertyIndex propertyCount = 0;
  friend bool operator==(const ClassLayout&, const ClassLayout&) = default;
};

struct ClassDecl {
  std::string_view name;
  std::string_view qualifiedName;
  std::string_view id;
  std::uint32_t flags;
  const ClassDecl& (*base)(); ///< null for the root class
  const PackageDecl& (*package)();
  std::uint32_t storageSize;
  /// The base class as it was when this one was compiled; on any other the class is refused when it registers.
  ClassLayout builtOn{};
  /// Constructs Impl and, behind it, Storage in a block of sizeof(Impl) + storageSize bytes; null for abstract classes.
  ModelElement::Impl* (*construct)(void* block, const ObjectOrigin& origin);
  void (*destroyStorage)(ModelElement::Impl& object) noexcept;
  std::span<const PropertyDecl> properties;
  std::span<const OperationDecl> operations;
  std::string_view since{};
  std::string_view doc{};
};

namespace detail {

template <class Impl>
constexpr ClassLayout layoutOf() {
  return {sizeof(typename Impl::Storage), Impl::propertyCount};
}

/// What ClassDecl::construct and destroyStorage are for every concrete class.
template <class Impl>
ModelElement::Impl* constructObject(void* block, const ObjectOrigin& origin) {
  static_assert(sizeof(Impl) == sizeof(ModelElement::Impl), "Impl classes have no data members");
  auto* object = ::new (block) Impl(origin);
  ::new (static_cast<std::byte*>(block) + sizeof(Impl)) typename Impl::Storage();
  return object;
}

template <class Impl>
void destroyStorage(ModelElement::Impl& object) noexcept {
  using Storage = typename Impl::Storage;
  object.storageAs<Storage>().~Storage();
}

} // namespace detail

/// An enumeration, struct or primitive of a package.
struct DatatypeDecl {
  std::string_view qualifiedName;
  std::string_view id;
  const Datatype& (*datatype)();
  std::string_view doc{};
};

struct NamespaceDecl {
  std::string_view name; ///< dotted
  std::string_view uri;
  std::string_view doc{};
};

/// What a class or feature was called before some version of its package.
struct FormerName {
  std::string_view until; ///< the version that has the next name
  std::string_view name;
};

/// A class or feature that not all versions of its package have, or have under the name of today. Of what is there
/// today, only what the other tables do not say.
struct HistoryDecl {
  std::string_view metaClass{}; ///< the qualified name; for a feature, of the class that declares it
  std::string_view id{};
  std::string_view feature{}; ///< its name; empty for a class
  FeatureKind kind{};         ///< of a feature that was removed: an attribute, a containment or a reference
  std::string_view target{};  ///< the class of its objects
  std::string_view base{};    ///< of a class that was removed
  bool derivedIdentity = false;
  std::string_view since{};   ///< empty: since the first version
  std::string_view removed{}; ///< the first version without it; empty: it is there
  std::span<const FormerName> names{};
};

struct PackageDecl {
  std::string_view name;
  std::string_view version;
  std::string_view uri;
  std::span<const PackageDecl& (*const)()> depends;
  std::span<const NamespaceDecl> namespaces;
  std::span<const DatatypeDecl> datatypes;
  std::span<const ClassDecl& (*const)()> classes;
  std::span<const std::string_view> versions{}; ///< from the first to the present one; none where it is the only one
  std::span<const HistoryDecl> history{};
};

} // namespace tavo
