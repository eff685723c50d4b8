// Setting the text of a value: evaluation, validation, cast, record and commit, against reading the number and storing
// text and number in a flat map.
#include "bench/Harness.h"

#include "tavo/core/Uuid.h"
#include "tavo/model/Transaction.h"
#include "zelkor/property/TypeCatalog.h"
#include "zelkor/property/Value.h"
#include "zelkor/property/ValueType.h"

#include <boost/unordered/unordered_flat_map.hpp>

#include <charconv>

namespace bench {
namespace {

using tavo::String;
using zelkor::property::Value;
using zelkor::property::ValueType;

struct Form {
  const char* name;
  std::u16string_view type;
  /// The text for an object in a round, and what the numbers in it come to.
  String (*text)(unsigned number);
  double (*sum)(unsigned number);
};

String textFrom(std::string_view ascii) { return String::fromUtf8(ascii); }
std::string digits(unsigned number) { return std::to_string(number); }

/// Numbers that differ from one round to the next.
unsigned numberOf(std::size_t object, std::size_t round) {
  return static_cast<unsigned>((object * 7 + round * 13) % 90 + 10);
}

const Form forms[] = {
    {"57, double", u"double", [](unsigned n) { return textFrom(digits(n)); }, [](unsigned n) { return double(n); }},
    {"57, cast to int32", u"int32", [](unsigned n) { return textFrom(digits(n)); },
     [](unsigned n) { return double(n); }},
    {"12.34, double", u"double", [](unsigned n) { return textFrom(digits(n) + ".25"); },
     [](unsigned n) { return n + 0.25; }},
    {"1:3, double", u"double", [](unsigned n) { return textFrom(digits(n) + ":" + digits(n + 2)); },
     [](unsigned n) { return 3.0 * n + 3; }},
    {"[1 2 3], double", u"double",
     [](unsigned n) { return textFrom("[" + digits(n % 10) + " " + digits(n / 10) + " 3]"); },
     [](unsigned n) { return n % 10 + n / 10 + 3.0; }},
};

ValueType builtIn(const tavo::Model& model, std::u16string_view name) {
  const auto catalog = zelkor::property::TypeCatalog::createTypeCatalog(model);
  for (const auto& type : catalog.getValueTypes())
    if (type.p_Name() == name)
      return type;
  return {};
}

double sumOf(const kavra::HostArray& array) {
  double sum = 0;
  for (std::uint64_t i = 0; i < array.count(); ++i)
    sum += array.numberAt(i);
  return sum;
}

void setExpressions(Table& table, const Setting& setting, const Form& form) {
  struct Stored {
    String text;
    double number = 0;
  };
  const Scene scene;
  std::vector<Value> values;
  values.reserve(setting.objects);
  std::size_t bytes = 0;
  {
    const ValueType type = builtIn(scene.model, form.type);
    const std::size_t before = heapBytes();
    tavo::Transaction transaction(scene.model);
    for (std::size_t i = 0; i < setting.objects; ++i) {
      values.push_back(Value::make(scene.model, type));
      values.back().setExpression(form.text(numberOf(i, 0)));
    }
    transaction.commit();
    bytes = heapBytes() - before;
  }
  boost::unordered_flat_map<tavo::Uuid, Stored, tavo::UuidHash> map;
  for (const Value& value : values)
    map.emplace(value.Uuid(), Stored());
  std::vector<Stored*> entries;
  for (const Value& value : values)
    entries.push_back(&map.find(value.Uuid())->second);
  std::vector<String> texts[4];
  for (std::size_t round = 0; round < 4; ++round)
    for (std::size_t i = 0; i < setting.objects; ++i)
      texts[round].push_back(form.text(numberOf(i, round)));
  scene.remember(setting);

  measureChange(table, setting, scene.model,
                {
                    .name = form.name,
                    .change =
                        [&](const auto& order, std::size_t round) {
                          for (const std::size_t i : order)
                            values[i].setExpression(texts[round % 4][i]);
                        },
                    .floor =
                        [&](const auto& order, std::size_t round) {
                          for (const std::size_t i : order) {
                            const String& text = texts[round % 4][i];
                            char narrow[32];
                            char* end = narrow;
                            for (const char16_t unit : text.view())
                              *end++ = static_cast<char>(unit);
                            std::from_chars(narrow, end, entries[i]->number);
                            entries[i]->text = text;
                          }
                        },
                    .sum =
                        [&] {
                          double sum = 0;
                          for (const Value& value : values)
                            sum += sumOf(value.cachedValue());
                          return static_cast<std::uint64_t>(sum * 4);
                        },
                    .expected =
                        [&](std::size_t round) {
                          double sum = 0;
                          for (std::size_t i = 0; i < setting.objects; ++i)
                            sum += form.sum(numberOf(i, round % 4));
                          return static_cast<std::uint64_t>(sum * 4);
                        },
                    .records = 2,
                });
  Table::addBytes(setting, "  a stored value", bytes, setting.objects);
}

} // namespace

void runValueCases(Table& table, const Setting& setting) {
  // The texts are those of the forms, so one of the two lengths that names have will do.
  if (setting.textUnits != 5 && setting.undoDepth != Setting::unlimited)
    return;
  for (const Form& form : forms)
    setExpressions(table, setting, form);
}

} // namespace bench
