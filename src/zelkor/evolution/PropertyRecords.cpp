#include "zelkor/evolution/PropertyRecords.h"

#include "tavo/core/Limits.h"
#include "tavo/core/Utf.h"
#include "zelkor/evolution/Expressions.h"

#include <algorithm>
#include <charconv>

namespace zelkor::property::evolution {

const ClassRecord& library(const char* name) { return classNamed(std::string("zelkor.") + name); }

const Records& records() {
  static const Records all;
  return all;
}

std::string pathOf(const Object& object) {
  std::string path(object.text(records().name));
  for (const auto* owner = object.owner; owner; owner = owner->owner)
    if (const auto name = owner->text(records().name); !name.empty() && !owner->isA(records().set))
      path.insert(0, ".").insert(0, name);
  return path;
}

std::string withName(std::string_view what, std::string_view name) {
  constexpr std::size_t longest = 200;
  return std::string(what) + " " + tavo::beginningOf(name, longest);
}

//----------------------------------------------------------------------------------------------------------------------
// Values

namespace {

auto valueOf(auto& values, const FeatureRecord& feature) {
  return std::ranges::find(values, &feature, &ValueElement::feature);
}

constexpr std::string_view itemText = "value";

} // namespace

bool hasValue(const Object& object, const FeatureRecord& feature) {
  return valueOf(object.values, feature) != object.values.end();
}

std::vector<std::string_view> itemsOf(const Object& object, const FeatureRecord& feature) {
  std::vector<std::string_view> texts;
  if (const auto found = valueOf(object.values, feature); found != object.values.end())
    for (const auto& item : found->items) {
      const auto text = std::ranges::find(item.fields, itemText, &std::pair<std::string_view, std::string_view>::first);
      texts.push_back(text == item.fields.end() ? std::string_view() : text->second);
    }
  return texts;
}

void addItem(Document& document, Object& object, const FeatureRecord& feature, std::string_view text) {
  auto found = valueOf(object.values, feature);
  if (found == object.values.end())
    found = object.values.insert(found, ValueElement{&feature});
  found->items.push_back({{{itemText, document.keep(text)}}});
}

void copyValue(Document& document, const Object& from, const FeatureRecord& feature, Object& to,
               const FeatureRecord& as) {
  if (const auto* text = from.find(feature))
    return document.set(to, as, *text);
  const auto found = valueOf(from.values, feature);
  if (found == from.values.end())
    return;
  auto copy = *found;
  copy.feature = &as;
  to.values.push_back(std::move(copy));
}

//----------------------------------------------------------------------------------------------------------------------
// Bounds

const WidestRange* widestRangeOf(std::string_view builtInType) {
  static constexpr WidestRange widestRanges[] = {{"int32", "-2147483648", "2147483647"},
                                                 {"double", "-1.7976931348623157e+308", "1.7976931348623157e+308"},
                                                 {"single", "-3.4028234663852886e+38", "3.4028234663852886e+38"},
                                                 {"int8", "-128", "127"},
                                                 {"uint8", "0", "255"},
                                                 {"int16", "-32768", "32767"},
                                                 {"uint16", "0", "65535"},
                                                 {"uint32", "0", "4294967295"},
                                                 {"int64", "-9223372036854775808", "9223372036854775807"},
                                                 {"uint64", "0", "9223372036854775807"}};
  const auto* found = std::ranges::find(widestRanges, builtInType, &WidestRange::type);
  return found == std::end(widestRanges) ? nullptr : found;
}

const WidestRange& widestRangeOf(const Object& type) {
  const auto* own = widestRangeOf(type.text(records().name));
  return own ? *own : *widestRangeOf(type.record->name() == "FloatType" ? "double" : "int32");
}

double boundOf(std::string_view text) {
  double number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

std::pair<std::string_view, std::string_view> boundsOf(const Object& type) {
  const auto text = type.text(type.record->feature("range"));
  const auto blank = text.find(' ');
  return blank == text.npos ? std::pair<std::string_view, std::string_view>{"-", "-"}
                            : std::pair{text.substr(0, blank), text.substr(blank + 1)};
}

void tellDefaultsOutOfRange(Document& document, const std::set<const Object*>& changed, Account& account) {
  const auto& r = records();
  const auto& number = library("property.RealType");
  const auto& enumeration = library("property.Enumeration");
  document.each(r.definition, [&](Object& definition) {
    const auto* value = definition.child(r.definition.feature("defaultValue"));
    const auto text = value ? value->text(r.value.feature("storedExpression")) : std::string_view();
    if (text.empty())
      return;
    bool hasChanged = changed.contains(&definition);
    std::string_view lowest = "-", highest = "-";
    const auto* type = document.target(definition.text(r.definition.feature("valueType")));
    // A file may lead in circles.
    for (auto left = tavo::Limits::current().nesting; type && type->isA(number) && !type->isA(enumeration) && left > 0;
         --left) {
      hasChanged = hasChanged || changed.contains(type);
      const auto* base = document.target(type->text(r.type.feature("baseType")));
      auto [lower, upper] = boundsOf(*type);
      if (!base) {
        const auto& widest = widestRangeOf(*type);
        lower = lower == "-" ? widest.lowest : lower;
        upper = upper == "-" ? widest.highest : upper;
      }
      lowest = lowest == "-" ? lower : lowest;
      highest = highest == "-" ? upper : highest;
      type = base;
    }
    if (hasChanged && lowest != "-" && highest != "-" && leavesBounds(text, boundOf(lowest), boundOf(highest)))
      account.note(definition, withName("the default", text), "stays, and is out of range");
  });
}

namespace {

/// In the words of the document's version.
void setWidestRange(Document& document, Object& type) {
  const auto& widest = widestRangeOf(type);
  const auto& range = type.record->feature("range");
  if (range.life.holds(document.versionOf(*type.record->family)))
    return document.set(type, range, std::string(widest.lowest) + " " + std::string(widest.highest));
  document.set(type, type.record->feature("minValue"), widest.lowest);
  document.set(type, type.record->feature("maxValue"), widest.highest);
}

} // namespace

//----------------------------------------------------------------------------------------------------------------------
// What a document has one of

std::string_view OwnResolver::reference() {
  if (reference_.empty())
    reference_ = document_.referenceTo(resolver());
  return reference_;
}

Object& OwnResolver::resolver() {
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

SharedTypes::SharedTypes(Document& document) : document_(document) {
  const auto& r = records();
  document.each([&](Object& object) {
    if (object.isA(r.profile) && !profile_)
      profile_ = &object;
    else if (object.isA(r.type) && object.in != &r.definition.feature("ownedType"))
      byName_.try_emplace(object.text(r.name), &object);
  });
}

Object* SharedTypes::find(std::string_view name) const {
  const auto found = byName_.find(name);
  return found == byName_.end() ? nullptr : found->second;
}

Object* SharedTypes::builtIn(std::string_view name) {
  if (auto* known = find(name); known || !profile_)
    return known;
  const auto& record = library(name == "string"    ? "property.StringType"
                               : name == "boolean" ? "property.BooleanType"
                               : name == "double"  ? "property.FloatType"
                                                   : "property.IntegerType");
  const auto uuid = tavo::nameUuid(profile_->uuid, name);
  auto& made = document_.add(record, profile_, &records().profile.feature("valueTypes"), uuid);
  document_.set(made, records().name, name);
  if (record.name() == "FloatType" || record.name() == "IntegerType")
    setWidestRange(document_, made);
  byName_.emplace(made.text(records().name), &made);
  return &made;
}

} // namespace zelkor::property::evolution
