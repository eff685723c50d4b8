// What the steps of the library's schema have in common: the classes and features that they work on, and how files
// spell them. docs/schema-history.md tells what the steps are for. Internal.
#pragma once

#include "tavo/evolution/Evolution.h"

#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zelkor::property::evolution {

using namespace tavo::evolution;

/// A class of this library: "property.Value".
const ClassRecord& library(const char* name);

struct Records {
  const ClassRecord& element = library("internal.Prototypable");
  const ClassRecord& profile = library("profile.Profile");
  const ClassRecord& stereotype = library("profile.Prototype");
  const ClassRecord& profiles = library("profile.ProfileNamespace");
  const ClassRecord& set = library("property.PropertySet");
  const ClassRecord& definition = library("property.PropertyDefinition");
  const ClassRecord& value = library("property.Value");
  const ClassRecord& type = library("property.ValueType");
  const ClassRecord& setUsage = library("property.PropertySetUsage");
  const ClassRecord& usage = library("property.PropertyUsage");
  const ClassRecord& entry = library("property.ValueTableEntry");
  const ClassRecord& elementValue = library("property.evolution.ElementValue");
  const ClassRecord& v1Data = library("property.evolution.V1EvolutionData");
  const ClassRecord& v1Stereotype = library("property.evolution.PrototypeToPrototypableEntry");
  const ClassRecord& v1Value = library("property.evolution.PrototypableToValueEntry");
  const ClassRecord& source = library("services.proxy.ProxySource");
  const FeatureRecord& name = profile.feature("Name");
};

const Records& records();

/// The names from the top down to an object, with dots between them.
std::string pathOf(const Object& object);

/// For an account: what, and its name, which is whatever a file says and may be long.
std::string withName(std::string_view what, std::string_view name);

/// Whether an object has a value that is an element of its own.
bool hasValue(const Object& object, const FeatureRecord& feature);

/// The texts of a list.
std::vector<std::string_view> itemsOf(const Object& object, const FeatureRecord& feature);
void addItem(Document& document, Object& object, const FeatureRecord& feature, std::string_view text);

/// Lets an object say under one feature what another, or itself, says under another, however the file spells it.
void copyValue(Document& document, const Object& from, const FeatureRecord& feature, Object& to,
               const FeatureRecord& as);

/// Ends what a step remarks on a value of an element, the class of its type, where the default has units and it has
/// not.
inline constexpr std::string_view unlikeDefault = " without units";

/// What bounds a number that nothing else bounds: the ends of all numbers of the type that it stands on.
struct WidestRange {
  std::string_view type, lowest, highest;
};
const WidestRange& widestRangeOf(const Object& type);
/// Null for a type that is not one of the built-in numbers.
const WidestRange* widestRangeOf(std::string_view builtInType);
/// A bound as a number; 0 for what is none.
double boundOf(std::string_view text);
/// What the `range` of a number says, a dash for an open end.
std::pair<std::string_view, std::string_view> boundsOf(const Object& type);
/// Tells of defaults that leave the bounds of their types, where something of these has changed: the type of the
/// property, or the base of a type. Bounds stand in `range`.
void tellDefaultsOutOfRange(Document& document, const std::set<const Object*>& changed, Account& account);

/// One resolver serves all references inside a document.
class OwnResolver {
public:
  explicit OwnResolver(Document& document) : document_(document) {}
  std::string_view reference();

private:
  Object& resolver();

  Document& document_;
  std::string_view reference_{};
};

/// The types of a document by name, other than those that belong to one property.
class SharedTypes {
public:
  explicit SharedTypes(Document& document);
  /// Null when there is none.
  Object* find(std::string_view name) const;
  /// The same for a built-in type, which is made where the document lacks it: releases expect to find it. Null when the
  /// document holds no profile that could have it.
  Object* builtIn(std::string_view name);

private:
  Document& document_;
  Object* profile_ = nullptr;
  boost::unordered_flat_map<std::string_view, Object*> byName_{};
};

} // namespace zelkor::property::evolution
