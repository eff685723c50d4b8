// 2.2 brought stereotypes that reach across profiles, and sets of properties in use, which hold the values of the
// elements.
#include "zelkor/evolution/ThrushSteps.h"

#include "tavo/core/Errors.h"

#include <algorithm>
#include <charconv>
#include <set>
#include <tuple>

namespace zelkor::property::evolution {
namespace {

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
