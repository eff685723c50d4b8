// Linnet brought units, enumerations, and numbers of all sizes.
#include "zelkor/evolution/Expressions.h"
#include "zelkor/evolution/PropertyRecords.h"

#include <algorithm>
#include <array>
#include <set>

namespace zelkor::property::evolution {
namespace {

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

/// A type without bounds had those of the one that it stands on. What takes its place may be wider.
void keepBounds(Document& document, Object& type, const Object& former, std::string_view instead) {
  const auto *was = widestRangeOf(former.text(records().name)), *is = widestRangeOf(instead);
  if (!was || !is)
    return;
  const auto& range = type.record->feature("range");
  auto [lower, upper] = boundsOf(type);
  if (lower == "-" && boundOf(was->lowest) > boundOf(is->lowest))
    lower = was->lowest;
  if (upper == "-" && boundOf(was->highest) < boundOf(is->highest))
    upper = was->highest;
  if (const auto bounds = std::string(lower).append(" ").append(upper); bounds != "- -")
    document.set(type, range, bounds);
}

/// What becomes of a value that has no expression, and so is the one that its enumeration starts with.
constexpr std::string_view becomesEmpty = "becomes an empty text";

/// A value that an element has of its own. The type of its property is in a profile, and known from the step before, if
/// at all.
void useFormerValue(Document& document, Object& value, Account& account) {
  const auto& r = records();
  const auto& expression = r.elementValue.feature("p_Expression");
  const auto& units = r.elementValue.feature("p_Units");
  const auto& element = value.owner ? *value.owner : value;
  const auto property = value.text(r.elementValue.feature("p_PropertyName"));
  const auto remark = document.remarkOf(value);
  const auto sort = remark.substr(0, remark.find(' '));
  const auto& int32 = *widestRangeOf("int32");
  const auto* member = value.find(expression);
  if (member && sort == "IntegerType" && leavesBounds(*member, boundOf(int32.lowest), boundOf(int32.highest)))
    account.note(element, withName("the value of", property), "stays, and is out of range");
  const auto text = member ? membersAsTexts(*member) : std::string();
  if (member && text != *member && comesToTexts(text)) { // whatever its sort: a waiting value has none
    account.note(element, withName("the value of", property), "becomes a text");
    document.set(value, expression, text);
  } else if (member && sort == "Enumeration" && !comesToTexts(*member)) {
    account.note(element, withName("the value of", property), "stays, and is no value of a string");
  } else if (sort == "Enumeration" && !member && !hasValue(value, expression)) {
    account.note(element, withName("the value of", property), becomesEmpty);
  }
  if (!value.text(units).empty() || hasValue(value, units) || remark.ends_with(unlikeDefault))
    account.note(element, withName("the units of", property), "are left out");
  Document::clear(value, units);
}

/// The default of a property whose members of an enumeration become texts.
void useTextInDefault(Document& document, Object& value, Account& account) {
  const auto& expression = records().value.feature("storedExpression");
  const auto* member = value.find(expression);
  if (!member) {
    if (!hasValue(value, expression))
      account.note(value, "the default", becomesEmpty);
    return;
  }
  if (const auto text = membersAsTexts(*member); comesToTexts(text))
    document.set(value, expression, text);
  else
    account.note(value, withName("the default", *member), "stays, and is no value of a string");
}

void useFormerTypes(Document& document, Account& account) {
  const auto& r = records();
  const auto& ofDefinition = r.definition.feature("valueType");
  const auto& ofValue = r.value.feature("valueType");
  const auto& ofType = r.type.feature("baseType");
  const auto& ownedType = r.definition.feature("ownedType");
  const auto& dimensions = r.type.feature("dimensions");
  SharedTypes types(document);

  std::vector<Object*> unknown;
  std::set<const Object*> changed;
  document.each([&](Object& object) {
    for (const auto* feature : {&ofDefinition, &ofValue, &ofType}) {
      const auto* type = document.target(object.text(*feature));
      const auto instead = type ? formerTypeFor(*type) : std::string_view();
      auto* former = instead.empty() ? nullptr : types.builtIn(instead);
      if (!former)
        continue;
      document.set(object, *feature, document.referenceTo(*former));
      if (feature == &ofValue) {
        if (type->record->name() == "Enumeration")
          useTextInDefault(document, object, account);
        continue;
      }
      account.note(object, withName(feature == &ofType ? "the base type" : "the type", nameOf(*type)),
                   withName("becomes", instead));
      if (feature == &ofDefinition && !type->text(dimensions).empty())
        account.note(object, "the dimensions", "are left out");
      if (feature == &ofType)
        keepBounds(document, object, *type, instead);
      changed.insert(&object);
    }
    if (object.isA(r.elementValue))
      useFormerValue(document, object, account);
    if (object.isA(r.type) && !formerTypeFor(object).empty()) {
      unknown.push_back(&object);
      if (object.record->name() == "Enumeration" && object.in != &ownedType)
        account.note(object, "the enumeration " + std::string(nameOf(object)), "is left out");
    }
  });
  tellDefaultsOutOfRange(document, changed, account);
  for (auto* type : unknown)
    document.remove(*type);
}

constexpr Step step{.to = "Linnet", .down = &useFormerTypes};
[[maybe_unused]] const bool registered = registerSteps("zelkor_property", {&step, 1});

} // namespace
} // namespace zelkor::property::evolution
