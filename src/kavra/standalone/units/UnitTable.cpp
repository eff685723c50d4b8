#include "kavra/standalone/units/UnitTable.h"

#include "kavra/Text.h"
#include "kavra/standalone/units/UnitReader.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <tuple>

namespace kavra::standalone {
namespace {

/// Letters that have a second code point of the same look and meaning: micro, ohm, angstrom.
char16_t unifiedLetter(char16_t c) {
  switch (c) {
  case u'\u03bc':
    return u'\u00b5';
  case u'\u2126':
    return u'\u03a9';
  case u'\u212b':
    return u'\u00c5';
  default:
    return c;
  }
}

char16_t lower(char16_t c) { return c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c + 32) : c; }

/// The cost of the cheapest way from one word to the other. What fingers and readers confuse most costs least.
int spellingDistance(std::u16string_view from, std::u16string_view to) {
  constexpr int caseOnly = 1, doubled = 1, missing = 3, swapped = 3, wrong = 4;
  std::vector<int> beforeLast(to.size() + 1), last(to.size() + 1), row(to.size() + 1);
  for (std::size_t k = 0; k <= to.size(); ++k)
    last[k] = static_cast<int>(k) * missing;
  for (std::size_t i = 1; i <= from.size(); ++i) {
    bool isDoubled = i > 1 && from[i - 1] == from[i - 2];
    row[0] = static_cast<int>(i) * missing;
    for (std::size_t k = 1; k <= to.size(); ++k) {
      char16_t a = from[i - 1], b = to[k - 1];
      int change = a == b ? 0 : lower(a) == lower(b) ? caseOnly : wrong;
      row[k] = std::min({last[k - 1] + change, last[k] + (isDoubled ? doubled : missing), row[k - 1] + missing});
      if (i > 1 && k > 1 && a == to[k - 2] && from[i - 2] == b && a != b)
        row[k] = std::min(row[k], beforeLast[k - 2] + swapped);
    }
    std::swap(beforeLast, last);
    std::swap(last, row);
  }
  return last[to.size()];
}

int largestDistance(std::size_t length) { return length == 1 ? 1 : length == 2 ? 2 : length <= 4 ? 4 : 6; }

} // namespace

const UnitTable& UnitTable::builtIn() {
  static const UnitTable table = [] {
    UnitTable result;
    result.add(builtInToml);
    return result;
  }();
  return table;
}

std::u16string UnitTable::unified(std::u16string_view word) {
  std::u16string result(word);
  std::transform(result.begin(), result.end(), result.begin(), unifiedLetter);
  return result;
}

UnitTable::Match UnitTable::find(std::u16string_view word) const {
  auto found = words_.find(word);
  if (found == words_.end())
    found = words_.find(unified(word));
  if (found == words_.end())
    return {};
  auto& [unit, prefix] = found->second;
  return {&units_[unit], prefix < 0 ? nullptr : &prefixes_[static_cast<std::size_t>(prefix)]};
}

Unit UnitTable::read(std::u16string_view text) const { return UnitReader(*this, text).read(); }

std::vector<std::u16string> UnitTable::spelledLike(std::u16string_view word, std::size_t limit) const {
  constexpr std::size_t longestWord = 64;
  if (word.empty() || word.size() > longestWord || limit == 0)
    return {};
  if (auto found = mistaken_.find(word); found != mistaken_.end())
    return {found->second};
  auto stem = word.substr(0, word.find_last_not_of(u"0123456789") + 1);
  if (stem.size() < word.size() && find(stem)) // "m2"
    return {std::u16string(stem) + u"^" + std::u16string(word.substr(stem.size()))};

  int largest = largestDistance(word.size());
  using Candidate = std::tuple<int, bool, std::uint16_t, std::u16string_view>; // cost, prefixed, unit, word
  std::vector<Candidate> candidates;
  for (auto& [known, meaning] : words_) {
    auto difference = static_cast<int>(known.size()) - static_cast<int>(word.size());
    if (std::abs(difference) > 2)
      continue;
    if (int distance = spellingDistance(word, known); distance <= largest)
      candidates.emplace_back(distance, meaning.prefix >= 0, meaning.unit, known);
  }
  std::sort(candidates.begin(), candidates.end());
  if (candidates.size() > limit)
    candidates.resize(limit);
  std::vector<std::u16string> result;
  for (auto& candidate : candidates)
    result.emplace_back(std::get<std::u16string_view>(candidate));
  return result;
}

std::vector<std::u16string> UnitTable::convertibleTo(const Unit& unit, std::size_t limit) const {
  // A list of all two dozen prefixes would hide what people look for.
  static constexpr std::array<std::u16string_view, 10> usual = {u"n", u"u", u"m",  u"c",  u"k",
                                                                u"M", u"G", u"Ki", u"Mi", u"Gi"};
  auto sizeOf = [](const ExactFactor& factor) { return static_cast<double>(log(factor.approximation())); };
  double size = sizeOf(unit.factor);
  using Candidate = std::tuple<double, std::size_t, std::u16string>; // how far in size, place in the table, word
  std::vector<Candidate> candidates;
  for (std::size_t i = 0; i < units_.size(); ++i) {
    auto& entry = units_[i];
    if (!entry.unit.isConvertible(unit))
      continue;
    double own = sizeOf(entry.unit.factor);
    candidates.emplace_back(std::abs(own - size), i, entry.symbol);
    for (auto index : entry.prefixes) {
      auto& prefix = prefixes_[index];
      if (std::find(usual.begin(), usual.end(), prefix.symbols.front()) != usual.end())
        candidates.emplace_back(std::abs(own + sizeOf(ExactFactor(prefix.factor)) - size), i,
                                prefix.symbols.front() + entry.symbol);
    }
  }
  std::sort(candidates.begin(), candidates.end());
  if (candidates.size() > limit)
    candidates.resize(limit);
  std::vector<std::u16string> result;
  for (auto& candidate : candidates)
    result.push_back(std::get<std::u16string>(candidate));
  return result;
}

std::u16string UnitTable::toText(const Dimension& dimension) const {
  std::u16string result;
  for (auto& [base, exponent] : dimension.powers()) {
    if (!result.empty())
      result += u'*';
    result += units_[baseUnits_[base]].symbol;
    auto number = fromAscii(std::to_string(exponent.numerator()));
    if (exponent.denominator() != 1)
      result += u"^(" + number + u"/" + fromAscii(std::to_string(exponent.denominator())) + u")";
    else if (exponent.numerator() != 1)
      result += u"^" + number;
  }
  return result.empty() ? u"1" : result;
}

} // namespace kavra::standalone
