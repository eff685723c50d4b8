// 2.2 brought stereotypes that reach across profiles, and sets of properties in use, which hold the values of the
// elements.
#include "zelkor/evolution/PropertyRecords.h"

#include "tavo/core/Errors.h"
#include "tavo/core/Limits.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <set>
#include <tuple>

namespace zelkor::property::evolution {
namespace {

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

void referenceByProxy(Document& document) {
  const auto& source = records().source;
  const auto& id = source.feature("targetId");
  const auto& ofClass = source.feature("targetClassId");
  const auto& name = source.feature("targetName");
  const auto& resolvedBy = source.feature("resolver");
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
  for (const auto& [plain, proxy] : converted())
    document.each(*plain->owner, [&, plain = plain, proxy = proxy](Object& object) {
      const auto* reference = object.find(*plain);
      if (!reference)
        return;
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
    });
}

/// The name of the class of what a source leads to; empty where the file does not say.
std::string_view sortOf(const Object& source) {
  const auto id = tavo::parseUuid(source.text(records().source.feature("targetClassId")));
  const auto* record = id ? findClass(*id) : nullptr;
  return record ? record->name() : std::string_view();
}

/// A number whose type stays behind in another profile keeps the units of its default, in a type of its own.
const Object* withUnitsOfDefault(Document& document, Object& definition, const Object& type) {
  const auto& r = records();
  const auto& owned = r.definition.feature("ownedType");
  auto* value = definition.child(r.definition.feature("defaultValue"));
  const auto units = value ? value->text(r.value.feature("units")) : std::string_view();
  const auto& unitsOfType = library("property.RealType").feature("units");
  if (units.empty() || !type.isA(library("property.RealType")) || type.text(unitsOfType) == units ||
      definition.child(owned))
    return &type;
  auto& made = document.add(*type.record, &definition, &owned, tavo::nameUuid(definition.uuid, "ownedType"));
  Document::setKept(made, r.name, type.text(r.name));
  document.set(made, r.type.feature("baseType"), document.referenceTo(type));
  document.set(made, unitsOfType, units);
  document.set(*value, r.value.feature("valueType"), document.referenceTo(made));
  if (auto* proxy = value->child(r.value.feature("valueTypeProxy")))
    document.remove(*proxy);
  return &made;
}

void referencePlainly(Document& document, Account& account) {
  const auto& r = records();
  const auto features = converted();
  const auto& text = r.value.feature("storedExpression");
  SharedTypes types(document);
  // A type of the profile by the same name, else the built-in one of its sort.
  const auto typeLike = [&](const Object& source, std::string_view name) -> const Object* {
    constexpr std::size_t longest = 1000; // no type has a longer name, but a file may
    name.remove_prefix(name.size() - std::min(name.size(), longest));
    const auto own = name.substr(name.rfind('.') + 1); // empty for enumerations, which need not have one
    if (const auto* same = own.empty() ? nullptr : types.find(own); same && same != source.owner)
      return same;
    const auto sort = sortOf(source);
    const auto* builtIn = types.builtIn(sort == "FloatType"     ? "double"
                                        : sort == "IntegerType" ? "int32"
                                        : sort == "BooleanType" ? "boolean"
                                                                : "string");
    return builtIn == source.owner ? nullptr : builtIn;
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
          account.note(object, withName(object.isA(r.type) ? "the base type" : "the type", name),
                       withName("becomes", target->text(r.name)));
        if (target && object.isA(r.definition))
          target = withUnitsOfDefault(document, object, *target);
        if (object.isA(r.value) && sortOf(*made) == "Enumeration" && target && target->record->name() != "Enumeration")
          account.note(object, withName("the default", object.text(text)), "stays, and is no value of a string");
      } else if (!target) {
        account.note(object, withName("the parent", name), "is left out, with what the stereotype inherits from it");
      }
      if (target)
        document.set(object, *plain, document.referenceTo(*target));
      document.remove(*made);
    }
  });
}

/// Properties stood in a list, which let two have one name. The second gets a number, behind more underscores than one
/// that has such a name of its own: models say only that a value is the second one of a name, and have to find it.
class NumberedNames {
public:
  explicit NumberedNames(const std::vector<Object*>& named) {
    for (const auto* each : named) {
      const auto name = each->text(records().name);
      taken_.emplace(name);
      const auto number = name.find_last_not_of("0123456789") + 1; // npos + 1 is 0
      const auto stem = name.find_last_not_of('_', number - 1) + 1;
      if (number != 0 && number < name.size() && stem < number) {
        auto& most = underscores_[std::string(name.substr(0, stem)) + "_" + std::string(name.substr(number))];
        most = std::max(most, number - stem);
      }
    }
  }

  std::string next(std::string_view name) {
    const auto number = ++count_[name];
    if (number == 1)
      return std::string(name);
    const auto digits = std::to_string(number);
    const auto known = underscores_.find(std::string(name) + "_" + digits);
    std::string underscores(known == underscores_.end() ? 1 : known->second + 1, '_');
    while (!taken_.insert(std::string(name) + underscores + digits).second)
      underscores += '_';
    return std::string(name) + underscores + digits;
  }

private:
  std::set<std::string> taken_{};
  boost::unordered_flat_map<std::string, std::size_t> underscores_{}; ///< the most before a number, by "power_2"
  boost::unordered_flat_map<std::string_view, std::size_t> count_{};
};

void placeProperties(Document& document) {
  const auto& r = records();
  const auto& properties = r.set.feature("properties");
  const auto& index = r.definition.feature("p_Index");
  document.each(r.set, [&](Object& set) {
    const auto all = set.childrenIn(properties);
    NumberedNames names(all);
    std::size_t place = 0;
    for (auto* property : all) {
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

/// What elements said of stereotypes and values themselves is kept until the profiles are at hand. Most of a file is
/// such values, so they become entries where they are.
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
void tellSetsOfNoStereotype(const Document& document, const Object& element,
                            const std::vector<std::string_view>& carried, Account& account) {
  const auto& r = records();
  const auto& applied = library("property.PropertyOwner").feature("p_PropertySets");
  const std::set names(carried.begin(), carried.end());
  std::vector<const Object*> sets;
  std::set<const Object*> brought;
  for (const auto& reference : element.references)
    if (const auto* set = reference.feature == &applied ? document.target(reference.target) : nullptr) {
      sets.push_back(set);
      if (names.contains(set->text(r.name)))
        while (set && brought.insert(set).second)
          set = document.target(set->text(r.setUsage.feature("p_Parent")));
    }
  for (const auto* set : sets)
    if (!brought.contains(set))
      account.note(element, withName("the property set", set->text(r.name)), "is left out");
}

/// The other way: usages go, and what they held for the elements goes back into these.
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
    auto carried = itemsOf(element, names);
    for (std::size_t i = 0; i < carried.size(); ++i)
      if (const auto found = farParents.find(carried[i]);
          found != farParents.end() && std::ranges::find(carried, found->second) == carried.end()) {
        carried.push_back(found->second);
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

constexpr Step step{.to = "2.2", .up = &useSets, .down = &useNoSets};
[[maybe_unused]] const bool registered = registerSteps("zelkor_property", {&step, 1});

} // namespace
} // namespace zelkor::property::evolution
