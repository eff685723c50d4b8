#include "zelkor/evolution/ThrushSteps.h"

#include "tavo/core/Limits.h"

#include <algorithm>
#include <array>
#include <set>

namespace zelkor::property::evolution {
namespace {

/// What a value says while its element holds it, and what its entry says.
struct ValueFeatures {
  const FeatureRecord *ofElement, *ofEntry;
};

std::array<ValueFeatures, 3> valueFeatures() {
  const auto& value = records().elementValue;
  const auto& entry = records().v1Value;
  return {{{&value.feature("p_PropertyName"), &entry.feature("p_PropertyName")},
           {&value.feature("p_Expression"), &entry.feature("p_Expression")},
           {&value.feature("p_Units"), &entry.feature("p_Units")}}};
}

Object& addElementValue(Document& document, Object& element, std::string_view property, const Object& from,
                        const FeatureRecord& expression, const FeatureRecord& units) {
  const auto& r = records();
  auto& made =
      document.add(r.elementValue, &element, &r.element.feature("p_Values"), tavo::nameUuid(element.uuid, property));
  document.set(made, r.elementValue.feature("p_PropertyName"), property);
  copyValue(document, from, expression, made, r.elementValue.feature("p_Expression"));
  copyValue(document, from, units, made, r.elementValue.feature("p_Units"));
  return made;
}

/// The class of the type that a property in use has, which is in the profile.
std::string_view sortOfType(const Object& usage) {
  const auto& r = records();
  const auto* value = usage.child(r.usage.feature("initialValue"));
  const auto* type = value ? value->child(r.value.feature("valueTypeProxy")) : nullptr;
  return type ? sortOf(*type) : std::string_view();
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

/// A host may give elements sets of properties that no stereotype brings; there is no word for these.
void tellSetsOfNoStereotype(const Document& document, const Object& element, const std::set<std::string_view>& carried,
                            Account& account) {
  const auto& r = records();
  const auto& applied = library("property.PropertyOwner").feature("p_PropertySets");
  std::vector<const Object*> sets;
  std::set<const Object*> brought;
  for (const auto& reference : element.references)
    if (const auto* set = reference.feature == &applied ? document.target(reference.target) : nullptr) {
      sets.push_back(set);
      if (carried.contains(set->text(r.name)))
        while (set && brought.insert(set).second)
          set = document.target(set->text(r.setUsage.feature("p_Parent")));
    }
  for (const auto* set : sets)
    if (!brought.contains(set))
      account.note(element, withName("the property set", set->text(r.name)), "is left out");
}

} // namespace

/// Most of a file is values, so they become entries where they are.
void keepElementData(Document& document) {
  const auto& r = records();
  const auto& stereotypes = r.element.feature("p_StereotypeNames");
  const auto& values = r.element.feature("p_Values");
  const auto& profile = r.v1Stereotype.feature("p_ProfileName");
  const auto& stereotype = r.v1Stereotype.feature("p_PrototypeFullyQualifiedName");
  const auto& applied = r.v1Data.feature("p_PrototypeEntries");
  const auto& own = r.v1Data.feature("p_ValueEntries");
  const auto& carriedBy = r.v1Stereotype.feature("p_ElemUUID");
  const auto& valueOf = r.v1Value.feature("p_ElemUUID");
  const auto renamed = valueFeatures();
  Object* data = nullptr;
  document.each(r.element, [&](Object& element) {
    const auto names = itemsOf(element, stereotypes);
    const auto valuesOfElement = element.childrenIn(values);
    if (names.empty() && valuesOfElement.empty())
      return Document::clear(element, stereotypes);
    if (!data)
      data = &document.add(r.v1Data, nullptr, nullptr,
                           tavo::nameUuid(document.top().front().uuid, r.v1Data.qualifiedName));
    const auto identity = document.referenceTo(element); // kept once for all entries
    std::set<std::string_view> carried;
    for (const auto name : names) {
      if (!carried.insert(name).second)
        continue;
      auto& made = document.add(r.v1Stereotype, data, &applied,
                                tavo::nameUuid(element.uuid, std::string(applied.name()) + " " + std::string(name)));
      made.attributes.reserve(3);
      Document::setKept(made, carriedBy, identity);
      Document::setKept(made, profile, name.substr(0, name.find('.')));
      Document::setKept(made, stereotype, name);
    }
    Document::clear(element, stereotypes);
    for (auto* value : valuesOfElement) {
      document.become(*value, r.v1Value);
      document.move(*value, data, &own);
      for (const auto& [ofElement, ofEntry] : renamed)
        Document::rename(*value, *ofElement, *ofEntry);
      Document::setKept(*value, valueOf, identity);
    }
  });
}

void returnElementData(Document& document, Account& account) {
  const auto& r = records();
  const auto elementOf = [&](const Object& entry, const FeatureRecord& feature) {
    const auto uuid = tavo::parseUuid(entry.text(feature));
    auto* element = uuid ? document.find(*uuid) : nullptr;
    return element && element->isA(r.element) ? element : nullptr;
  };
  constexpr std::string_view noElement = "is left out: its element is not in the file";
  document.each(r.entry, [&](Object& entry) {
    const auto* usage = entry.owner ? entry.owner->owner : nullptr;
    const auto* value = entry.child(r.entry.feature("p_Value"));
    if (!usage || !usage->isA(r.usage) || !usage->owner || !value)
      return;
    const auto property = std::string(usage->owner->text(r.name)) + "." + std::string(usage->text(r.name));
    if (auto* element = elementOf(entry, r.entry.feature("p_ElemUUID"))) {
      const auto& units = r.value.feature("units");
      auto& made = addElementValue(document, *element, property, *value, r.value.feature("storedExpression"), units);
      auto sort = sortOfType(*usage);
      if (!value->find(units) && !hasValue(*value, units)) { // those of the type, not of the default
        document.set(made, r.elementValue.feature("p_Units"), "");
        const auto* initial = usage->child(r.usage.feature("initialValue"));
        if (initial && !initial->text(units).empty())
          sort = document.keep(std::string(sort) + std::string(unlikeDefault));
      }
      document.remark(made, sort);
    } else
      account.note(*usage, "the value of an element that is not in the file", "is left out");
  });
  const auto& valueOf = r.v1Value.feature("p_ElemUUID");
  const auto& values = r.element.feature("p_Values");
  document.each(r.v1Value, [&, renamed = valueFeatures()](Object& entry) {
    auto* element = elementOf(entry, valueOf);
    if (!element)
      return account.note(entry, withName("the value of", entry.text(r.v1Value.feature("p_PropertyName"))), noElement);
    document.become(entry, r.elementValue);
    document.move(entry, element, &values);
    for (const auto& [ofElement, ofEntry] : renamed)
      Document::rename(entry, *ofEntry, *ofElement);
    Document::clear(entry, valueOf);
  });
  document.each(r.v1Stereotype, [&](Object& entry) {
    const auto name = entry.text(r.v1Stereotype.feature("p_PrototypeFullyQualifiedName"));
    if (auto* element = elementOf(entry, r.v1Stereotype.feature("p_ElemUUID")))
      addItem(document, *element, r.element.feature("p_StereotypeNames"), name);
    else
      account.note(entry, withName("the stereotype", name), noElement);
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
    auto waiting = itemsOf(element, names);
    std::set<std::string_view> carried(waiting.begin(), waiting.end());
    for (std::size_t i = 0; i < waiting.size(); ++i)
      if (const auto found = farParents.find(waiting[i]);
          found != farParents.end() && carried.insert(found->second).second) {
        waiting.push_back(found->second);
        addItem(document, element, names, found->second);
        account.note(element, "the stereotype " + std::string(found->second) + ", inherited from another profile,",
                     "becomes one of its own");
      }
    tellSetsOfNoStereotype(document, element, carried, account);
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

} // namespace zelkor::property::evolution
