// Linnet brought units, enumerations, and numbers of all sizes.
#include "zelkor/evolution/PropertyRecords.h"

#include "kavra/Host.h"
#include "tavo/core/Utf.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>

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

/// What an expression without variables comes to; null where nobody can say.
kavra::HostArray evaluated(std::string_view expression) {
  if (!kavra::isHostAvailable())
    return {};
  struct Nobody { // has no variables
    kavra::Workspaces& workspaces = kavra::host().workspaces();
    ~Nobody() { workspaces.release(this); }
  } nobody;
  return nobody.workspaces.of(&nobody)->evaluate(tavo::toUtf16Lenient(expression));
}

/// Whether an expression comes to a number that is too large for "int32". Of one that cannot be evaluated, the numbers
/// that stand in it are looked at.
bool holdsLargeNumber(std::string_view expression) {
  constexpr double lowest = -2147483648.0, highest = 2147483647.0;
  if (const auto array = evaluated(expression); array && kavra::isNumeric(array.arrayClass())) {
    for (std::uint64_t i = 0; i < array.count(); ++i)
      if (const double number = array.numberAt(i); number < lowest || number > highest)
        return true;
    return false;
  }
  constexpr std::string_view digits = "0123456789";
  for (auto at = expression.find_first_of(digits); at < expression.size(); at = expression.find_first_of(digits, at)) {
    std::uint64_t number = 0;
    const auto [end, fault] = std::from_chars(expression.data() + at, expression.data() + expression.size(), number);
    if (fault != std::errc() || static_cast<double>(number) > -lowest)
      return true;
    at = static_cast<std::size_t>(end - expression.data());
  }
  return false;
}

/// A type without bounds had those of the one that it stands on. What takes its place may be wider.
void keepBounds(Document& document, Object& type, const Object& former, std::string_view instead) {
  const auto *was = widestRangeOf(former.text(records().name)), *is = widestRangeOf(instead);
  if (!was || !is)
    return;
  const auto number = [](std::string_view text) {
    double value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
  };
  const auto& range = type.record->feature("range");
  const auto text = type.find(range) ? type.text(range) : std::string_view("- -");
  const auto blank = std::min(text.find(' '), text.size());
  std::string lower(text.substr(0, blank)), upper(text.substr(std::min(blank + 1, text.size())));
  if (lower == "-" && number(was->lowest) > number(is->lowest))
    lower = was->lowest;
  if (upper == "-" && number(was->highest) < number(is->highest))
    upper = was->highest;
  if (const auto bounds = lower + " " + upper; bounds != "- -")
    document.set(type, range, bounds);
}

/// Whether calls are left in an expression of which the members have become texts.
bool holdsCall(std::string_view expression) { return expression.find('(') != expression.npos; }

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
  if (const auto* member = value.find(expression)) {
    const auto text = membersAsTexts(*member);
    if (sort == "IntegerType" && holdsLargeNumber(text))
      account.note(element, withName("the value of", property), "stays, and is out of range");
    else if (sort == "Enumeration" && holdsCall(text))
      account.note(element, withName("the value of", property), "stays, and is no value of a string");
    if (text != *member) {
      account.note(element, withName("the value of", property), "becomes a text");
      document.set(value, expression, text);
    }
  }
  if (!value.text(units).empty() || hasValue(value, units) || remark.ends_with(unlikeDefault))
    account.note(element, withName("the units of", property), "are left out");
  Document::clear(value, units);
}

/// The default of a property whose members of an enumeration become texts.
void useTextInDefault(Document& document, Object& value, Account& account) {
  const auto& expression = records().value.feature("storedExpression");
  const auto* member = value.find(expression);
  if (!member)
    return;
  const auto text = membersAsTexts(*member);
  if (holdsCall(text))
    account.note(value, withName("the default", text), "stays, and is no value of a string");
  document.set(value, expression, text);
}

/// Tells of a default that is too large for its type, which `object` has got or, being the type of one property, stands
/// on.
void tellLargeDefault(const Object& object, Account& account) {
  const auto& r = records();
  const auto& range = library("property.IntegerType").feature("range");
  // A type that a property has for itself, without bounds, is no wider than the one that it stands on.
  const bool isOwned = object.in == &r.definition.feature("ownedType") && !object.find(range);
  const auto* definition = isOwned ? object.owner : &object;
  const auto* value = definition->isA(r.definition) ? definition->child(r.definition.feature("defaultValue")) : nullptr;
  const auto text = value ? value->text(r.value.feature("storedExpression")) : std::string_view();
  if (holdsLargeNumber(text))
    account.note(*definition, withName("the default", text), "stays, and is out of range");
}

void useFormerTypes(Document& document, Account& account) {
  const auto& r = records();
  const auto& ofDefinition = r.definition.feature("valueType");
  const auto& ofValue = r.value.feature("valueType");
  const auto& ofType = r.type.feature("baseType");
  const auto& ownedType = r.definition.feature("ownedType");
  SharedTypes types(document);

  std::vector<Object*> unknown;
  document.each([&](Object& object) {
    for (const auto* feature : {&ofDefinition, &ofValue, &ofType}) {
      const auto* type = document.target(object.text(*feature));
      const auto instead = type ? formerTypeFor(*type) : std::string_view();
      auto* former = instead.empty() ? nullptr : types.builtIn(instead);
      if (!former)
        continue;
      document.set(object, *feature, document.referenceTo(*former));
      if (feature != &ofValue)
        account.note(object, withName(feature == &ofType ? "the base type" : "the type", nameOf(*type)),
                     withName("becomes", instead));
      if (feature == &ofValue && type->record->name() == "Enumeration")
        useTextInDefault(document, object, account);
      else if (feature != &ofValue && instead == "int32")
        tellLargeDefault(object, account);
      if (feature == &ofType)
        keepBounds(document, object, *type, instead);
    }
    if (object.isA(r.elementValue))
      useFormerValue(document, object, account);
    if (object.isA(r.type) && !formerTypeFor(object).empty()) {
      unknown.push_back(&object);
      if (object.record->name() == "Enumeration" && object.in != &ownedType)
        account.note(object, "the enumeration " + std::string(nameOf(object)), "is left out");
    }
  });
  for (auto* type : unknown)
    document.remove(*type);
}

constexpr Step step{.to = "Linnet", .down = &useFormerTypes};
[[maybe_unused]] const bool registered = registerSteps("zelkor_property", {&step, 1});

} // namespace
} // namespace zelkor::property::evolution
