// What the versions of a package had: its classes and features of today, and those of former times.
#pragma once

#include "tavo/meta/MetaRegistry.h"

#include <deque>
#include <limits>
#include <memory>

namespace tavo::evolution {

struct Family;
struct ClassRecord;

/// A version as a position in the list of its family; the first is 0.
using Version = std::size_t;
inline constexpr Version noVersion = std::numeric_limits<Version>::max();

/// From which version on something was there, and under which names.
struct TAVO_EXPORT Lifetime {
  Version since = 0;
  Version removed = noVersion; ///< the first version without it
  std::string_view name;       ///< the last one
  struct Former {
    Version until;
    std::string_view name;
  };
  std::vector<Former> former{}; ///< in the order of versions

  bool holds(Version version) const { return since <= version && version < removed; }
  std::string_view nameIn(Version version) const;
};

struct TAVO_EXPORT FeatureRecord {
  const ClassRecord* owner;
  Uuid id;
  FeatureKind kind;          ///< an attribute, a containment or a reference
  const ClassRecord* target; ///< of features that hold objects
  Lifetime life;
  std::uint32_t order = 0;             ///< among all features of the class, inherited ones first
  const MetaProperty* today = nullptr; ///< null for one that was removed
  std::string_view name() const { return life.name; }
  bool isContainment() const { return kind == FeatureKind::containsOne || kind == FeatureKind::containsMany; }
  bool isReference() const { return kind == FeatureKind::refersOne || kind == FeatureKind::refersMany; }
  /// Whether an object of that class takes its identity from its place in this feature, as MetaProperty says it.
  bool givesIdentityTo(const ClassRecord& record) const;
  Uuid derivedIdentity(const Uuid& owner, const Uuid& key, std::size_t position) const;
  std::string qualifiedName() const;
};

struct TAVO_EXPORT ClassRecord {
  const Family* family;
  std::string_view qualifiedName;
  Uuid id;
  const ClassRecord* base; ///< null for the root class
  bool derivesIdentity;    ///< from the place in a containment, where that is possible
  Lifetime life;
  std::deque<FeatureRecord> features{}; ///< its own, those of today first

  std::string_view name() const { return life.name; }
  bool isA(const ClassRecord& other) const;
  /// Whether objects of this class could have one of the other as a child, in any version.
  bool mayContain(const ClassRecord& other) const;
  /// Own or inherited, of any version; null when there is none.
  const FeatureRecord* find(const Uuid& feature) const;
  /// What objects of the class say if all that they say is where they lead, in a version: see MetaClass. Null for other
  /// classes.
  const FeatureRecord* soleReference(Version version) const;
  /// Own or inherited, by the last name. Raises NoSuchProperty.
  const FeatureRecord& feature(std::string_view name) const;
};

/// A package through all its versions. Alive as long as the process.
struct TAVO_EXPORT Family {
  const MetaPackage* package;
  std::vector<std::string_view> versions{}; ///< the present one last
  std::deque<ClassRecord> classes{};

  std::string_view name() const { return package->name(); }
  Version present() const { return versions.size() - 1; }
  /// noVersion for one that there never was.
  Version find(std::string_view version) const;
  /// The package's URI as it was in a version.
  std::string uriOf(Version version) const;
};

/// The family of a name; null for one that is not registered.
TAVO_EXPORT const Family* findFamily(std::string_view name);
/// A class that some version of some registered package has; null when there is none.
TAVO_EXPORT const ClassRecord* findClass(const Uuid& id);
/// The same by its qualified name of today, or its last one. Raises NoSuchType.
TAVO_EXPORT const ClassRecord& classNamed(std::string_view qualifiedName);

} // namespace tavo::evolution
