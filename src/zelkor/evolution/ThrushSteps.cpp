// 2.2 brought stereotypes that reach across profiles, and sets of properties in use, which hold the values of the
// elements.
#include "zelkor/evolution/ThrushSteps.h"

#include "tavo/core/Errors.h"
#include "zelkor/evolution/NumberedNames.h"

#include <charconv>
#include <tuple>

namespace zelkor::property::evolution {
namespace {

void placeProperties(Document& document) {
  const auto& r = records();
  const auto& properties = r.set.feature("properties");
  const auto& index = r.definition.feature("p_Index");
  document.each(r.set, [&](Object& set) {
    const auto all = set.childrenIn(properties);
    NumberedNames names;
    for (const auto* property : all)
      names.add(property->text(r.name));
    boost::unordered_flat_map<std::string_view, std::size_t> named;
    std::size_t place = 0;
    for (auto* property : all) {
      document.set(*property, index, std::to_string(place++));
      const auto name = property->text(r.name);
      if (const auto number = ++named[name]; number > 1)
        document.set(*property, r.name, names.newName(name, number));
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

/// An open end of a type without a base would be closed on the way up, so it is closed here, and told.
void joinRanges(Document& document, Account& account) {
  for (const auto* name : {"property.IntegerType", "property.FloatType"}) {
    const auto& record = library(name);
    const auto& lower = record.feature("minValue");
    const auto& upper = record.feature("maxValue");
    document.each(record, [&](Object& type) {
      const bool hasBase = type.find(records().type.feature("baseType"));
      const auto& widest = widestRangeOf(type);
      const auto textOf = [&](const FeatureRecord& bound, std::string_view end) {
        const auto* text = type.find(bound);
        if (!text && !hasBase)
          account.note(type, bound.name(), withName("becomes that of", widest.type));
        return std::string(text ? *text : hasBase ? "-" : end);
      };
      if (!hasBase || type.find(lower) || type.find(upper))
        document.set(type, record.feature("range"),
                     textOf(lower, widest.lowest).append(" ") + textOf(upper, widest.highest));
      Document::clear(type, lower);
      Document::clear(type, upper);
    });
  }
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
  const auto changed = referencePlainly(document, account);
  joinRanges(document, account);
  tellDefaultsOutOfRange(document, changed, account);
  listProperties(document);
}

constexpr Step step{.to = "2.2", .up = &useSets, .down = &useNoSets};
[[maybe_unused]] const bool registered = registerSteps("zelkor_property", {&step, 1});

} // namespace
} // namespace zelkor::property::evolution
