// What the versions of the library's schema did to files, beyond what the schemas say; docs/schema-history.md tells
// why.
#include "tavo/core/Errors.h"
#include "tavo/core/Limits.h"
#include "tavo/evolution/Evolution.h"

#include <algorithm>
#include <array>
#include <cctype>
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

/// The names of objects are whatever a file says, and may be long.
std::string inWords(std::string_view what, std::string_view name) {
  constexpr std::size_t longest = 200;
  return std::string(what) + " " + std::string(name.substr(0, longest));
}

void addItem(Document& document, Object& object, const FeatureRecord& feature, std::string_view text) {
  auto found = std::ranges::find(object.values, &feature, &ElementValue::feature);
  if (found == object.values.end())
    found = object.values.insert(found, ElementValue{&feature});
  found->items.push_back({{{"value", document.keep(text)}}});
}

/// Lets an object say under one feature what another, or itself, says under another, however the file spells it.
void copyValue(Document& document, const Object& from, const FeatureRecord& feature, Object& to,
               const FeatureRecord& as) {
  if (const auto* text = from.find(feature))
    return document.set(to, as, *text);
  const auto found = std::ranges::find(from.values, &feature, &ElementValue::feature);
  if (found == from.values.end())
    return;
  auto copy = *found;
  copy.feature = &as;
  to.values.push_back(std::move(copy));
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
std::string_view nameOf(const Object& type) {
  const bool isEnumeration = type.record->name() == "Enumeration";
  return type.text(isEnumeration ? type.record->feature("nameProxy") : records().name);
}

/// Members of enumerations in an expression ("LinkColor.Red") become texts of their names, and arrays of them lists.
/// Arguments stay: "int32('Red')" would be another number than "int32(LinkColor.Red)".
std::string membersAsTexts(std::string_view expression) {
  const auto isWord = [](char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '_'; };
  const auto startsName = [&](std::size_t at) {
    return at < expression.size() && isWord(expression[at]) &&
           !std::isdigit(static_cast<unsigned char>(expression[at]));
  };
  std::string result;
  std::vector<std::size_t> brackets;
  std::size_t parentheses = 0; ///< that are open, from that of a call on
  bool found = false;
  for (std::size_t at = 0; at < expression.size();) {
    const auto start = at;
    if (const char first = expression[at]; first == '\'' || first == '"') {
      at = std::min(expression.find(first, at + 1), expression.size() - 1) + 1;
    } else if (isWord(first)) {
      auto last = at;
      const bool isName = startsName(at);
      for (++at; at < expression.size() && (isWord(expression[at]) || (expression[at] == '.' && startsName(at + 1)));
           ++at)
        if (expression[at] == '.')
          last = at + 1;
      if (isName && parentheses == 0 && last != start && (at == expression.size() || expression[at] != '(')) {
        ((result += '\'') += expression.substr(last, at - last)) += '\'';
        found = true;
        continue;
      }
    } else {
      if (parentheses == 0 && (first == '[' || first == ']'))
        brackets.push_back(result.size());
      if (first == '(' && (parentheses > 0 || (at > 0 && isWord(expression[at - 1]))))
        ++parentheses;
      else if (first == ')' && parentheses > 0)
        --parentheses;
      ++at;
    }
    result += expression.substr(start, at - start);
  }
  if (!found)
    return std::string(expression);
  for (const auto at : brackets)
    result[at] = result[at] == '[' ? '{' : '}';
  return result;
}

/// Whether a number stands in an expression that is too large for "int32".
bool holdsLargeNumber(std::string_view expression) {
  constexpr std::string_view digits = "0123456789";
  constexpr std::uint64_t most = 2147483648; // with a sign before it, it fits
  for (auto at = expression.find_first_of(digits); at < expression.size(); at = expression.find_first_of(digits, at)) {
    std::uint64_t number = 0;
    const auto [end, fault] = std::from_chars(expression.data() + at, expression.data() + expression.size(), number);
    if (fault != std::errc() || number > most)
      return true;
    at = static_cast<std::size_t>(end - expression.data());
  }
  return false;
}

void useFormerTypes(Document& document, Account& account) {
  const auto& r = records();
  const auto& ofDefinition = r.definition.feature("valueType");
  const auto& ofValue = r.value.feature("valueType");
  const auto& ofType = r.type.feature("baseType");
  const auto& ownedType = r.definition.feature("ownedType");
  const auto& text = r.value.feature("storedExpression");
  const auto& defaultValue = r.definition.feature("defaultValue");
  const auto& range = library("property.IntegerType").feature("range");
  const auto& property = r.elementValue.feature("p_PropertyName");
  const auto& expression = r.elementValue.feature("p_Expression");
  const auto& units = r.elementValue.feature("p_Units");
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
      if (feature != &ofValue) {
        account.note(document, object, inWords(feature == &ofType ? "the base type" : "the type", nameOf(*type)),
                     inWords("becomes", instead));
        // A type that a property has for itself, without bounds, is no wider than the one that it stands on.
        const bool isOwned = object.in == &ownedType && !object.find(range);
        const auto* definition = isOwned ? object.owner : &object;
        const auto* value = definition->isA(r.definition) ? definition->child(defaultValue) : nullptr;
        if (value && instead == "int32" && holdsLargeNumber(value->text(text)))
          account.note(document, *definition, inWords("the default", value->text(text)), "stays, and is out of range");
      } else if (const auto* member = object.find(text); member && type->record->name() == "Enumeration") {
        const auto asText = membersAsTexts(*member);
        if (asText.find('(') != asText.npos)
          account.note(document, object, inWords("the default", asText), "stays, and is no value of a string");
        document.set(object, text, asText);
      }
    }
    if (object.isA(r.elementValue)) {
      if (const auto* member = object.find(expression))
        document.set(object, expression, membersAsTexts(*member));
      if (object.find(units) && object.owner)
        account.note(document, *object.owner, inWords("the units of", object.text(property)), "are left out");
      Document::clear(object, units);
    }
    if (object.isA(r.type) && !formerTypeFor(object).empty()) {
      former.push_back(&object);
      if (object.record->name() == "Enumeration" && object.in != &ownedType)
        account.note(document, object, "the enumeration " + std::string(nameOf(object)), "is left out");
    }
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
    if (reference_.empty())
      reference_ = document_.referenceTo(resolver());
    return reference_;
  }

private:
  Object& resolver() {
    const auto& record = library("services.proxy.CurrentModelResolver");
    Object* known = nullptr;
    document_.each(record, [&](Object& each) { known = &each; });
    if (known)
      return *known;
    const auto& family = *record.family;
    const auto& families = document_.families();
    if (std::ranges::none_of(families, [&](const auto& each) { return each.family == &family; }))
      document_.setVersion(family, family.find("Linnet"));
    // The identity has to be the same each time the file is read.
    return document_.add(record, nullptr, nullptr, tavo::nameUuid(document_.top().front().uuid, record.qualifiedName));
  }

  Document& document_;
  std::string_view reference_;
};

void referenceByProxy(Document& document) {
  const auto& source = records().source;
  const auto& id = source.feature("targetId");
  const auto& ofClass = source.feature("targetClassId");
  const auto& name = source.feature("targetName");
  const auto& resolvedBy = source.feature("resolver");
  const auto features = converted();
  OwnResolver resolver(document);
  // What references to one object say is the same, and kept once, however many and however long.
  struct Told {
    std::string_view uuid, classId, path;
  };
  boost::unordered_flat_map<const Object*, Told> told;
  const auto tell = [&](const Object& target) -> const Told& {
    const auto [found, isNew] = told.try_emplace(&target);
    if (isNew)
      found->second = {document.referenceTo(target), document.keep(tavo::toText(target.record->id)),
                       document.keep(pathOf(target))};
    return found->second;
  };
  document.each([&](Object& object) {
    for (const auto& [plain, proxy] : features) {
      const auto* reference = object.find(*plain);
      if (!reference)
        continue;
      const auto* target = document.target(*reference);
      if (!target)
        raise(tavo::FrameworkError::DanglingReference, document.placeOf(object), plain->name(), *reference);
      auto& made = document.addPart(source, object, *proxy);
      const auto& [uuid, classId, path] = tell(*target);
      Document::setKept(made, id, uuid);
      Document::setKept(made, ofClass, classId);
      Document::setKept(made, name, path);
      Document::setKept(made, resolvedBy, resolver.reference());
      Document::clear(object, *plain);
    }
  });
}

/// A number whose type stays behind in another profile keeps the units of its default, in a type of its own.
const Object* withUnitsOfDefault(Document& document, Object& definition, const Object& type) {
  const auto& r = records();
  const auto& owned = r.definition.feature("ownedType");
  auto* value = definition.child(r.definition.feature("defaultValue"));
  const auto units = value ? value->text(r.value.feature("units")) : std::string_view();
  if (units.empty() || !type.isA(library("property.RealType")) || definition.child(owned))
    return &type;
  auto& made = document.add(*type.record, &definition, &owned, tavo::nameUuid(definition.uuid, "ownedType"));
  Document::setKept(made, r.name, type.text(r.name));
  document.set(made, r.type.feature("baseType"), document.referenceTo(type));
  document.set(made, library("property.RealType").feature("units"), units);
  document.set(*value, r.value.feature("valueType"), document.referenceTo(made));
  if (auto* proxy = value->child(r.value.feature("valueTypeProxy")))
    document.remove(*proxy);
  return &made;
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
  const auto typeLike = [&](const Object& source, std::string_view name) -> const Object* {
    const auto id = tavo::parseUuid(source.text(r.source.feature("targetClassId")));
    const auto* record = id ? findClass(*id) : nullptr;
    const std::string_view sort = record ? record->name() : std::string_view();
    constexpr std::size_t longest = 1000; // no type has a longer name, but a file may
    name.remove_prefix(name.size() - std::min(name.size(), longest));
    for (const auto& each : {name.substr(name.rfind('.') + 1), std::string_view(sort == "FloatType"     ? "double"
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
      const auto name = made->text(r.source.feature("targetName"));
      if (!target && plain->target == &r.type) {
        target = typeLike(*made, name);
        if (target && !object.isA(r.value))
          account.note(document, object, inWords(object.isA(r.type) ? "the base type" : "the type", name),
                       inWords("becomes", target->text(r.name)));
        if (target && object.isA(r.definition))
          target = withUnitsOfDefault(document, object, *target);
      } else if (!target) {
        account.note(document, object, inWords("the parent", name),
                     "is left out, with what the stereotype inherits from it");
      }
      if (target)
        document.set(object, *plain, document.referenceTo(*target));
      document.remove(*made);
    }
  });
}

/// Properties stood in a list, which let two have one name. The second gets a number; so do the values that elements
/// have for it, which stood in the order of the properties.
class NumberedNames {
public:
  std::string next(std::string_view name) {
    std::string unique(name);
    if (const auto [known, isNew] = last_.try_emplace(unique, 1); !isNew) {
      auto number = known->second;
      do
        unique = std::string(name) + "_" + std::to_string(++number);
      while (last_.contains(unique));
      known->second = number;
      last_.emplace(unique, 1);
    }
    return unique;
  }

private:
  boost::unordered_flat_map<std::string, std::size_t> last_; ///< the number that the last of each name got
};

void placeProperties(Document& document) {
  const auto& r = records();
  const auto& properties = r.set.feature("properties");
  const auto& index = r.definition.feature("p_Index");
  document.each(r.set, [&](Object& set) {
    NumberedNames names;
    std::size_t place = 0;
    for (auto* property : set.childrenIn(properties)) {
      document.set(*property, index, std::to_string(place++));
      const auto name = property->text(r.name);
      if (const auto unique = names.next(name); unique != name)
        document.set(*property, r.name, unique);
    }
  });
}

void listProperties(Document& document) {
  const auto& r = records();
  const auto& index = r.definition.feature("p_Index");
  const auto placeOf = [&](const Object& object) {
    std::uint32_t place = 0;
    const auto text = object.isA(r.definition) ? object.text(index) : std::string_view();
    std::from_chars(text.data(), text.data() + text.size(), place);
    return place;
  };
  document.each(r.set, [&](Object& set) {
    set.children.sort([&](const Object& a, const Object& b) { return placeOf(a) < placeOf(b); }); // a stable one
    for (auto& property : set.children)
      Document::clear(property, index);
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
                           tavo::nameUuid(document.top().front().uuid, r.v1Data.qualifiedName));
    auto& made = document.add(record, data, &r.v1Data.feature(list),
                              tavo::nameUuid(element.uuid, std::string(list) + " " + std::string(of)));
    document.set(made, record.feature("p_ElemUUID"), tavo::toText(element.uuid));
    return made;
  };
  document.each(r.element, [&](Object& element) {
    std::set<std::string_view> carried;
    for (const auto name : itemsOf(element, stereotypes)) {
      if (!carried.insert(name).second)
        continue;
      auto& made = add(r.v1Stereotype, "p_PrototypeEntries", element, name);
      document.set(made, r.v1Stereotype.feature("p_ProfileName"), name.substr(0, name.find('.')));
      document.set(made, r.v1Stereotype.feature("p_PrototypeFullyQualifiedName"), name);
    }
    Document::clear(element, stereotypes);
    NumberedNames names;
    for (auto* value : element.childrenIn(values)) {
      const auto property = names.next(value->text(r.elementValue.feature("p_PropertyName")));
      auto& made = add(r.v1Value, "p_ValueEntries", element, property);
      document.set(made, r.v1Value.feature("p_PropertyName"), property);
      for (const auto* feature : {"p_Expression", "p_Units"})
        copyValue(document, *value, r.elementValue.feature(feature), made, r.v1Value.feature(feature));
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
  copyValue(document, from, expression, made, r.elementValue.feature("p_Expression"));
  copyValue(document, from, units, made, r.elementValue.feature("p_Units"));
}

/// By the name of a stereotype in use, its nearest ancestor in another profile.
boost::unordered_flat_map<std::string_view, std::string_view> parentsInOtherProfiles(Document& document) {
  const auto& r = records();
  const auto profileOf = [](std::string_view name) { return name.substr(0, name.find('.')); };
  boost::unordered_flat_map<std::string_view, std::string_view> found;
  document.each(r.setUsage, [&](Object& usage) {
    const auto name = usage.text(r.name);
    const auto parentOf = [&](const Object& each) {
      return document.target(each.text(r.setUsage.feature("p_Parent")));
    };
    // No further than stereotypes may inherit: a file may lead in circles, or along a line of thousands for each.
    auto left = tavo::Limits::current().nesting;
    for (const auto* at = parentOf(usage); at && left > 0; at = parentOf(*at), --left)
      if (const auto parent = at->text(r.name); profileOf(parent) != profileOf(name)) {
        found.try_emplace(name, parent);
        break;
      }
  });
  return found;
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
    const auto* usage = entry.owner ? entry.owner->owner : nullptr;
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
  const auto& names = r.element.feature("p_StereotypeNames");
  const auto& proxies = r.element.feature("_PrototypeProxy");
  const auto& applied = library("property.PropertyOwner").feature("p_PropertySets");
  const auto farParents = parentsInOtherProfiles(document);
  document.each(r.element, [&](Object& element) {
    for (auto* source : element.childrenIn(proxies)) {
      addItem(document, element, names, source->text(r.source.feature("targetName")));
      document.remove(*source);
    }
    // What a stereotype inherits from another profile, it will not inherit any more.
    auto carried = itemsOf(element, names);
    for (std::size_t i = 0; i < carried.size(); ++i)
      if (const auto found = farParents.find(carried[i]);
          found != farParents.end() && std::ranges::find(carried, found->second) == carried.end()) {
        carried.push_back(found->second);
        addItem(document, element, names, found->second);
        account.note(document, element,
                     "the stereotype " + std::string(found->second) + ", inherited from another profile,",
                     "becomes one of its own");
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

/// Numbers ask the unit service of their model what units they may have.
void giveUnitService(Document& document) {
  const auto& service = library("property.UnitQueryClientWrapper");
  const auto& checker = library("property.RealType").feature("unitChecker");
  std::string_view reference;
  for (const auto* name : {"property.IntegerType", "property.FloatType"})
    document.each(library(name), [&](Object& type) {
      if (reference.empty()) {
        const auto uuid = tavo::nameUuid(document.top().front().uuid, service.qualifiedName);
        reference = document.referenceTo(document.add(service, nullptr, nullptr, uuid));
      }
      document.set(type, checker, reference);
    });
}

void useSets(Document& document) {
  placeProperties(document);
  splitRanges(document);
  giveUnitService(document);
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
      copyValue(document, stereotype, color, stereotype, r.stereotype.feature("componentHeaderColor"));
    if (lines != 0 || kinds.empty())
      copyValue(document, stereotype, color, stereotype, r.stereotype.feature("connectorLineColor"));
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
    copyValue(document, stereotype, hasValue(stereotype, header) ? header : line, stereotype, color);
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
  const auto textId = text ? document.referenceTo(*text) : std::string_view();
  const auto textPath = text ? document.keep(pathOf(*text)) : std::string_view();
  std::vector<Object*> lists;
  document.each(list, [&](Object& type) { lists.push_back(&type); });
  OwnResolver own(document); // the list may be one of another profile
  const auto& resolver = library("services.proxy.CurrentModelResolver");
  const bool hasOwnResolvers = resolver.life.holds(document.versionOf(*resolver.family));
  document.each(r.source, [&](Object& source) {
    if (source.text(r.source.feature("targetClassId")) != tavo::toText(list.id))
      return;
    if (source.owner && source.owner->isA(r.definition))
      account.note(document, *source.owner, "the type stringArray", "becomes string");
    if (!text)
      return;
    Document::setKept(source, id, textId);
    document.set(source, r.source.feature("targetClassId"), tavo::toText(text->record->id));
    Document::setKept(source, r.source.feature("targetName"), textPath);
    if (hasOwnResolvers)
      Document::setKept(source, r.source.feature("resolver"), own.reference());
  });
  for (auto* type : lists)
    document.remove(*type);
}

void importDependencies(Document& document, Account& account) {
  const auto& r = records();
  const auto& dependent = r.profiles.feature("p_DependentProfileProxy");
  document.each(r.profiles, [&](Object& profiles) {
    for (const auto* source : profiles.childrenIn(dependent))
      account.note(document, profiles, inWords("the profile", source->text(r.source.feature("targetName"))),
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
