// What the versions of the library's schema did to files, beyond what the schemas say; docs/schema-history.md tells
// why.
#include "tavo/core/Errors.h"
#include "tavo/evolution/Evolution.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
#include <set>
#include <tuple>

namespace zelkor::property::evolution {
namespace {

using namespace tavo::evolution;

const ClassRecord& library(const char* name) { return classNamed(std::string("zelkor.") + name); }

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
  const ClassRecord& table = library("property.ValueTable");
  const ClassRecord& entry = library("property.ValueTableEntry");
  const ClassRecord& elementValue = library("property.evolution.ElementValue");
  const ClassRecord& v1Data = library("property.evolution.V1EvolutionData");
  const ClassRecord& v1Stereotype = library("property.evolution.PrototypeToPrototypableEntry");
  const ClassRecord& v1Value = library("property.evolution.PrototypableToValueEntry");
  const ClassRecord& source = library("services.proxy.ProxySource");
  const FeatureRecord& name = profile.feature("Name");
};

const Records& records() {
  static const Records all;
  return all;
}

/// The names from the top down to an object, with dots between them.
std::string pathOf(const Object& object) {
  std::string path(object.text(records().name));
  for (const auto* owner = object.owner; owner; owner = owner->owner)
    if (const auto name = owner->text(records().name); !name.empty() && !owner->isA(records().set))
      path.insert(0, ".").insert(0, name);
  return path;
}

/// The texts of a list.
std::vector<std::string_view> itemsOf(const Object& object, const FeatureRecord& feature) {
  std::vector<std::string_view> texts;
  for (const auto& value : object.values)
    if (value.feature == &feature)
      for (const auto& item : value.items)
        texts.push_back(item.fields.empty() ? std::string_view() : item.fields.front().second);
  return texts;
}

void addItem(Document& document, Object& object, const FeatureRecord& feature, std::string_view text) {
  auto found = std::ranges::find(object.values, &feature, &ElementValue::feature);
  if (found == object.values.end())
    found = object.values.insert(found, ElementValue{&feature});
  found->items.push_back({{{"value", document.keep(text)}}});
}

//----------------------------------------------------------------------------------------------------------------------
// Linnet: units, enumerations, and numbers of all sizes

/// The type that takes the place of one that there was not yet.
std::string_view formerTypeFor(const Object& type) {
  const auto& r = records();
  const auto name = type.text(r.name);
  if (type.record->name() == "Enumeration")
    return "string";
  if (type.find(r.type.feature("baseType")))
    return {}; // made by the profile, on a base that is dealt with itself
  if (name == "single")
    return "double";
  static constexpr std::array wholes = {"int8", "int16", "int64", "uint8", "uint16", "uint32", "uint64"};
  return std::ranges::find(wholes, name) != wholes.end() ? "int32" : std::string_view();
}

/// An enumeration goes by the name that it has with the host.
std::string nameOf(const Object& type) {
  const bool isEnumeration = type.record->name() == "Enumeration";
  return std::string(type.text(isEnumeration ? type.record->feature("nameProxy") : records().name));
}

void useFormerTypes(Document& document, Account& account) {
  const auto& r = records();
  const auto& ofDefinition = r.definition.feature("valueType");
  const auto& ofValue = r.value.feature("valueType");
  const auto& ofType = r.type.feature("baseType");
  const auto& text = r.value.feature("storedExpression");
  boost::unordered_flat_map<std::string_view, Object*> byName;
  document.each(r.type, [&](Object& type) { byName.try_emplace(type.text(r.name), &type); });

  std::vector<Object*> former;
  document.each([&](Object& object) {
    for (const auto* feature : {&ofDefinition, &ofValue, &ofType}) {
      const auto* type = document.target(object.text(*feature));
      const auto instead = type ? formerTypeFor(*type) : std::string_view();
      const auto found = byName.find(instead);
      if (instead.empty() || found == byName.end())
        continue;
      document.set(object, *feature, document.referenceTo(*found->second));
      if (feature == &ofDefinition)
        account.note(document, object, "the type " + nameOf(*type), "becomes " + std::string(instead));
      if (const auto member = object.text(text);
          feature == &ofValue && type->record->name() == "Enumeration" && !member.empty() && member.front() != '\'')
        document.set(object, text, "'" + std::string(member.substr(member.rfind('.') + 1)) + "'");
    }
    if (object.isA(r.type) && !formerTypeFor(object).empty())
      former.push_back(&object);
  });
  for (auto* type : former)
    document.remove(*type);
}

//----------------------------------------------------------------------------------------------------------------------
// 2.2: stereotypes that reach across profiles, and sets of properties in use, which hold the values of the elements

/// The references that became sources of proxies.
struct Converted {
  const FeatureRecord *plain, *proxy;
};

std::array<Converted, 4> converted() {
  const auto& r = records();
  return {{{&r.definition.feature("valueType"), &r.definition.feature("typeProxy")},
           {&r.value.feature("valueType"), &r.value.feature("valueTypeProxy")},
           {&r.type.feature("baseType"), &r.type.feature("typeProxy")},
           {&r.stereotype.feature("parent"), &r.stereotype.feature("parentProxy")}}};
}

/// One resolver serves all references inside a document.
class OwnResolver {
public:
  explicit OwnResolver(Document& document) : document_(document) {}
  std::string_view reference() {
    if (!resolver_) {
      const auto& record = library("services.proxy.CurrentModelResolver");
      // The identity has to be the same each time the file is read.
      const auto& first = *document_.top().front();
      resolver_ = &document_.add(record, nullptr, nullptr, tavo::nameUuid(first.uuid, record.qualifiedName));
      const auto& family = *record.family;
      const auto& known = document_.families();
      if (std::ranges::none_of(known, [&](const auto& each) { return each.family == &family; }))
        document_.setVersion(family, family.find("Linnet"));
    }
    return document_.referenceTo(*resolver_);
  }

private:
  Document& document_;
  Object* resolver_ = nullptr;
};

void referenceByProxy(Document& document) {
  const auto& source = records().source;
  const auto features = converted();
  OwnResolver resolver(document);
  document.each([&](Object& object) {
    for (const auto& [plain, proxy] : features) {
      const auto* reference = object.find(*plain);
      if (!reference)
        continue;
      const auto* target = document.target(*reference);
      if (!target)
        raise(tavo::FrameworkError::DanglingReference, document.placeOf(object), plain->name(), *reference);
      auto& made = document.addPart(source, object, *proxy);
      document.set(made, source.feature("targetId"), tavo::toText(target->uuid));
      document.set(made, source.feature("targetClassId"), tavo::toText(target->record->id));
      document.set(made, source.feature("targetName"), pathOf(*target));
      document.set(made, source.feature("resolver"), resolver.reference());
      Document::clear(object, *plain);
    }
  });
}

void referencePlainly(Document& document, Account& account) {
  const auto& r = records();
  const auto features = converted();
  boost::unordered_flat_map<std::string_view, const Object*> types;
  document.each(r.type, [&](Object& type) {
    if (type.in != &r.definition.feature("ownedType"))
      types.try_emplace(type.text(r.name), &type);
  });
  // A type of the profile by the same name, else the built-in one of its sort.
  const auto typeLike = [&](const Object& source, const std::string& name) -> const Object* {
    const auto id = tavo::parseUuid(source.text(r.source.feature("targetClassId")));
    const auto* record = id ? findClass(*id) : nullptr;
    const std::string_view sort = record ? record->name() : std::string_view();
    for (const auto& each :
         {std::string_view(name).substr(name.rfind('.') + 1), std::string_view(sort == "FloatType"     ? "double"
                                                                               : sort == "IntegerType" ? "int32"
                                                                               : sort == "BooleanType" ? "boolean"
                                                                                                       : "string")})
      if (const auto found = types.find(each); found != types.end() && found->second != source.owner)
        return found->second;
    return nullptr;
  };
  document.each([&](Object& object) {
    for (const auto& [plain, proxy] : features) {
      auto* made = object.child(*proxy);
      if (!made)
        continue;
      const auto uuid = tavo::parseUuid(made->text(r.source.feature("targetId")));
      const auto* target = uuid ? document.find(*uuid) : nullptr;
      const std::string name(made->text(r.source.feature("targetName")));
      if (!target && plain->target == &r.type) {
        target = typeLike(*made, name);
        if (target && object.isA(r.definition))
          account.note(document, object, "the type " + name, "becomes " + std::string(target->text(r.name)));
      } else if (!target) {
        account.note(document, object, "the parent " + name, "is left out, with what the stereotype inherits from it");
      }
      if (target)
        document.set(object, *plain, document.referenceTo(*target));
      document.remove(*made);
    }
  });
}

/// Properties stood in a list, which told their places and let two have one name.
void placeProperties(Document& document) {
  const auto& r = records();
  const auto& properties = r.set.feature("properties");
  const auto& index = r.definition.feature("p_Index");
  document.each(r.set, [&](Object& set) {
    std::set<std::string> names;
    std::size_t place = 0;
    for (auto* property : set.childrenIn(properties)) {
      document.set(*property, index, std::to_string(place++));
      const std::string name(property->text(r.name));
      std::string unique = name;
      for (int number = 2; !names.insert(unique).second; ++number)
        unique = name + "_" + std::to_string(number);
      if (unique != name)
        document.set(*property, r.name, unique);
    }
  });
}

void listProperties(Document& document) {
  const auto& r = records();
  const auto& index = r.definition.feature("p_Index");
  const auto placeOf = [&](const Object* object) {
    std::uint32_t place = 0;
    const auto text = object->isA(r.definition) ? object->text(index) : std::string_view();
    std::from_chars(text.data(), text.data() + text.size(), place);
    return place;
  };
  document.each(r.set, [&](Object& set) {
    std::ranges::stable_sort(set.children, {}, placeOf);
    for (auto* property : set.children)
      Document::clear(*property, index);
  });
}

/// What bounds a number that nothing else bounds: the end of all numbers of the type that it stands on.
struct WidestRange {
  std::string_view type, lowest, highest;
};
constexpr WidestRange widestRanges[] = {{"int32", "-2147483648", "2147483647"},
                                        {"double", "-1.7976931348623157e+308", "1.7976931348623157e+308"},
                                        {"single", "-3.4028234663852886e+38", "3.4028234663852886e+38"},
                                        {"int8", "-128", "127"},
                                        {"uint8", "0", "255"},
                                        {"int16", "-32768", "32767"},
                                        {"uint16", "0", "65535"},
                                        {"uint32", "0", "4294967295"},
                                        {"int64", "-9223372036854775808", "9223372036854775807"},
                                        {"uint64", "0", "9223372036854775807"}};

const WidestRange& widestRangeOf(const Object& type) {
  const auto named = [](std::string_view name) { return std::ranges::find(widestRanges, name, &WidestRange::type); };
  const auto found = named(type.text(records().name));
  return found != std::end(widestRanges) ? *found : *named(type.record->name() == "FloatType" ? "double" : "int32");
}

/// "0 100": the bounds of a type stood in one text, a dash for an open end. An end may stay open where a base type says
/// it, and nowhere else.
void splitRanges(Document& document) {
  for (const auto* name : {"property.IntegerType", "property.FloatType"}) {
    const auto& record = library(name);
    const auto& range = record.feature("range");
    document.each(record, [&](Object& type) {
      const auto text = type.find(range) ? type.text(range) : std::string_view("- -");
      const auto blank = text.find(' ');
      if (blank == text.npos)
        raise(tavo::FrameworkError::InvalidText, document.placeOf(type),
              "the range \"" + std::string(text) + "\" has no second bound");
      const bool hasBase = type.find(records().type.feature("baseType"));
      const auto& widest = widestRangeOf(type);
      for (const auto& [feature, bound, end] : {std::tuple("minValue", text.substr(0, blank), widest.lowest),
                                                std::tuple("maxValue", text.substr(blank + 1), widest.highest)})
        if (bound != "-" || !hasBase)
          document.set(type, record.feature(feature), bound == "-" ? end : bound);
      Document::clear(type, range);
    });
  }
}

void joinRanges(Document& document) {
  for (const auto* name : {"property.IntegerType", "property.FloatType"}) {
    const auto& record = library(name);
    const auto& [lower, upper] = std::pair(&record.feature("minValue"), &record.feature("maxValue"));
    document.each(record, [&, lower = lower, upper = upper](Object& type) {
      const auto textOf = [&](const FeatureRecord& bound) {
        const auto* text = type.find(bound);
        return text ? std::string(*text) : std::string("-");
      };
      if (type.find(*lower) || type.find(*upper))
        document.set(type, record.feature("range"), textOf(*lower) + " " + textOf(*upper));
      Document::clear(type, *lower);
      Document::clear(type, *upper);
    });
  }
}

/// What elements said of stereotypes and values themselves is kept until the profiles are at hand.
void keepElementData(Document& document) {
  const auto& r = records();
  const auto& stereotypes = r.element.feature("p_StereotypeNames");
  const auto& values = r.element.feature("p_Values");
  Object* data = nullptr;
  const auto add = [&](const ClassRecord& record, const char* list, const Object& element,
                       std::string_view of) -> Object& {
    if (!data)
      data = &document.add(r.v1Data, nullptr, nullptr,
                           tavo::nameUuid(document.top().front()->uuid, r.v1Data.qualifiedName));
    auto& made = document.add(record, data, &r.v1Data.feature(list),
                              tavo::nameUuid(element.uuid, std::string(list) + " " + std::string(of)));
    document.set(made, record.feature("p_ElemUUID"), tavo::toText(element.uuid));
    return made;
  };
  document.each(r.element, [&](Object& element) {
    for (const auto name : itemsOf(element, stereotypes)) {
      auto& made = add(r.v1Stereotype, "p_PrototypeEntries", element, name);
      document.set(made, r.v1Stereotype.feature("p_ProfileName"), name.substr(0, name.find('.')));
      document.set(made, r.v1Stereotype.feature("p_PrototypeFullyQualifiedName"), name);
    }
    Document::clear(element, stereotypes);
    for (auto* value : element.childrenIn(values)) {
      const auto property = value->text(r.elementValue.feature("p_PropertyName"));
      auto& made = add(r.v1Value, "p_ValueEntries", element, property);
      for (const auto* feature : {"p_PropertyName", "p_Expression", "p_Units"})
        if (const auto* text = value->find(r.elementValue.feature(feature)))
          document.set(made, r.v1Value.feature(feature), *text);
      document.remove(*value);
    }
  });
}

void addElementValue(Document& document, Object& element, std::string_view property, const Object& from,
                     const FeatureRecord& expression, const FeatureRecord& units) {
  const auto& r = records();
  auto& made =
      document.add(r.elementValue, &element, &r.element.feature("p_Values"), tavo::nameUuid(element.uuid, property));
  document.set(made, r.elementValue.feature("p_PropertyName"), property);
  document.set(made, r.elementValue.feature("p_Expression"), from.text(expression));
  if (const auto* text = from.find(units))
    document.set(made, r.elementValue.feature("p_Units"), *text);
}

/// The other way: usages go, and what they held for the elements goes back into these.
void returnElementData(Document& document, Account& account) {
  const auto& r = records();
  const auto elementOf = [&](const Object& entry, const FeatureRecord& feature) {
    const auto uuid = tavo::parseUuid(entry.text(feature));
    auto* element = uuid ? document.find(*uuid) : nullptr;
    return element && element->isA(r.element) ? element : nullptr;
  };
  document.each(r.entry, [&](Object& entry) {
    const auto* usage = entry.owner->owner;
    const auto* value = entry.child(r.entry.feature("p_Value"));
    if (!usage || !usage->isA(r.usage) || !usage->owner || !value)
      return;
    const auto property = std::string(usage->owner->text(r.name)) + "." + std::string(usage->text(r.name));
    if (auto* element = elementOf(entry, r.entry.feature("p_ElemUUID")))
      addElementValue(document, *element, property, *value, r.value.feature("storedExpression"),
                      r.value.feature("units"));
    else
      account.note(document, *usage, "the value of an element that is not in the file", "is left out");
  });
  document.each(r.v1Value, [&](Object& entry) {
    if (auto* element = elementOf(entry, r.v1Value.feature("p_ElemUUID")))
      addElementValue(document, *element, entry.text(r.v1Value.feature("p_PropertyName")), entry,
                      r.v1Value.feature("p_Expression"), r.v1Value.feature("p_Units"));
  });
  document.each(r.v1Stereotype, [&](Object& entry) {
    if (auto* element = elementOf(entry, r.v1Stereotype.feature("p_ElemUUID")))
      addItem(document, *element, r.element.feature("p_StereotypeNames"),
              entry.text(r.v1Stereotype.feature("p_PrototypeFullyQualifiedName")));
  });
  const auto& proxies = r.element.feature("_PrototypeProxy");
  const auto& applied = library("property.PropertyOwner").feature("p_PropertySets");
  document.each(r.element, [&](Object& element) {
    for (auto* source : element.childrenIn(proxies)) {
      addItem(document, element, r.element.feature("p_StereotypeNames"), source->text(r.source.feature("targetName")));
      document.remove(*source);
    }
    Document::clear(element, applied);
  });
  // All of this is made anew from the profiles.
  const auto& checker = library("property.RealType").feature("unitChecker");
  const auto& catalog = library("property.TypeCatalog");
  const auto& units = library("property.UnitQueryClientWrapper");
  document.each([&](Object& object) {
    if (object.isA(r.setUsage) || object.isA(r.v1Data) || object.isA(catalog) || object.isA(units))
      document.remove(object);
    else if (object.isA(r.type))
      Document::clear(object, checker);
  });
}

void useSets(Document& document) {
  placeProperties(document);
  splitRanges(document);
  referenceByProxy(document);
  keepElementData(document);
}

void useNoSets(Document& document, Account& account) {
  returnElementData(document, account);
  referencePlainly(document, account);
  joinRanges(document);
  listProperties(document);
}

//----------------------------------------------------------------------------------------------------------------------
// 2.6: colours for components and for lines, defaults for new elements, lists of names

/// Moves what stands under one feature, or a copy of it, to another.
void copyValue(Object& object, const FeatureRecord& from, const FeatureRecord& to) {
  for (std::size_t i = 0; i < object.values.size(); ++i)
    if (object.values[i].feature == &from) {
      auto copy = object.values[i];
      copy.feature = &to;
      object.values.push_back(std::move(copy));
      return;
    }
}

bool hasValue(const Object& object, const FeatureRecord& feature) {
  return std::ranges::find(object.values, &feature, &ElementValue::feature) != object.values.end();
}

void splitColors(Document& document) {
  const auto& r = records();
  const auto& color = r.stereotype.feature("color");
  document.each(r.stereotype, [&](Object& stereotype) {
    const auto kinds = itemsOf(stereotype, r.stereotype.feature("appliesTo"));
    const auto lines = std::ranges::count(kinds, "Connector");
    if (lines == 0 || lines < std::ssize(kinds))
      copyValue(stereotype, color, r.stereotype.feature("componentHeaderColor"));
    if (lines != 0 || kinds.empty())
      copyValue(stereotype, color, r.stereotype.feature("connectorLineColor"));
    Document::clear(stereotype, color);
  });
}

void joinColors(Document& document, Account& account) {
  const auto& r = records();
  const auto& color = r.stereotype.feature("color");
  const auto& header = r.stereotype.feature("componentHeaderColor");
  const auto& line = r.stereotype.feature("connectorLineColor");
  const auto fieldsOf = [](const Object& object, const FeatureRecord& feature) {
    return std::ranges::find(object.values, &feature, &ElementValue::feature)->own.fields;
  };
  document.each(r.stereotype, [&](Object& stereotype) {
    const bool both = hasValue(stereotype, header) && hasValue(stereotype, line);
    if (both && fieldsOf(stereotype, header) != fieldsOf(stereotype, line))
      account.note(document, stereotype, "the colour of connectors", "is left out");
    copyValue(stereotype, hasValue(stereotype, header) ? header : line, color);
    Document::clear(stereotype, header);
    Document::clear(stereotype, line);
  });
}

void leaveOutEmptyDefaults(Document& document) {
  const auto& map = library("profile.DefaultStereotypeMap");
  document.each(map, [&](Object& object) {
    if (object.children.empty())
      document.remove(object);
  });
}

/// Lists of names become texts, which may be lists of texts.
void useTextsForLists(Document& document, Account& account) {
  const auto& r = records();
  const auto& list = library("property.StringArrayType");
  const auto& id = r.source.feature("targetId");
  const Object* text = nullptr;
  document.each(library("property.StringType"), [&](Object& type) {
    if (type.text(r.name) == "string" && !text)
      text = &type;
  });
  std::vector<Object*> lists;
  document.each(list, [&](Object& type) { lists.push_back(&type); });
  document.each(r.source, [&](Object& source) {
    if (source.text(r.source.feature("targetClassId")) != tavo::toText(list.id))
      return;
    if (source.owner->isA(r.definition))
      account.note(document, *source.owner, "the type stringArray", "becomes string");
    const auto uuid = tavo::parseUuid(source.text(id));
    if (text && uuid && document.find(*uuid)) {
      document.set(source, id, tavo::toText(text->uuid));
      document.set(source, r.source.feature("targetClassId"), tavo::toText(text->record->id));
      document.set(source, r.source.feature("targetName"), pathOf(*text));
    }
  });
  for (auto* type : lists)
    document.remove(*type);
}

void importDependencies(Document& document, Account& account) {
  const auto& r = records();
  const auto& dependent = r.profiles.feature("p_DependentProfileProxy");
  document.each(r.profiles, [&](Object& profiles) {
    for (const auto* source : profiles.childrenIn(dependent))
      account.note(document, profiles, "the profile " + std::string(source->text(r.source.feature("targetName"))),
                   "becomes an import of its own");
    Document::rename(profiles, dependent, r.profiles.feature("ProfileProxy"));
  });
}

void withoutLooks(Document& document, Account& account) {
  joinColors(document, account);
  leaveOutEmptyDefaults(document);
  useTextsForLists(document, account);
  importDependencies(document, account);
}

//----------------------------------------------------------------------------------------------------------------------
// 2.8: versions of defaults, so that a change is seen without a comparison; the index of elements by stereotype

void addCaches(Document& document) {
  const auto& r = records();
  const auto& cache = library("profile.PrototypeToPrototypableCache");
  const auto& entry = library("profile.PrototypeToPrototypableCacheEntry");
  document.each(r.profiles, [&](Object& profiles) {
    auto& made = document.add(cache, &profiles, &r.profiles.feature("p_PrototypeToPrototypableCache"),
                              tavo::nameUuid(profiles.uuid, cache.qualifiedName));
    for (const auto* usage : profiles.childrenIn(library("property.PropertySetOwner").feature("p_PropertySets"))) {
      const auto name = usage->text(r.name);
      document.set(document.add(entry, &made, &cache.feature("p_Entries"), tavo::nameUuid(made.uuid, name)),
                   entry.feature("p_PrototypeName"), name);
    }
  });
}

void withoutVersions(Document& document, Account&) {
  const auto& r = records();
  const auto& cache = library("profile.PrototypeToPrototypableCache");
  document.each([&](Object& object) {
    if (object.isA(cache))
      document.remove(object);
    else if (object.isA(r.definition))
      Document::clear(object, r.definition.feature("currentVersionId"));
    else if (object.isA(r.usage))
      Document::clear(object, r.usage.feature("lastDefVersionSynced"));
  });
}

constexpr Step steps[] = {{.to = "Linnet", .down = &useFormerTypes},
                          {.to = "2.2", .up = &useSets, .down = &useNoSets},
                          {.to = "2.6", .up = &splitColors, .down = &withoutLooks},
                          {.to = "2.8", .up = &addCaches, .down = &withoutVersions}};
[[maybe_unused]] const bool registered = registerSteps("zelkor_property", steps);

} // namespace
} // namespace zelkor::property::evolution
