#include "kavra/standalone/units/UnitTableService.h"

#include "kavra/Text.h"
#include "kavra/standalone/units/UnitErrors.h"

namespace kavra::standalone {
namespace {

constexpr std::size_t maxRemembered = 4096;
constexpr std::size_t maxSimilar = 24;

} // namespace

UnitTableService::UnitTableService(UnitTable table) : table_(std::move(table)) {}

void UnitTableService::addUnits(std::string_view toml) { table_.add(toml); }

void UnitTableService::checkUnit(std::u16string_view unit) const { read(unit); }

bool UnitTableService::areEquivalent(std::u16string_view a, std::u16string_view b) const {
  auto first = readIfKnown(a), second = readIfKnown(b);
  return first && second && first->isEquivalent(*second);
}

bool UnitTableService::areConvertible(std::u16string_view a, std::u16string_view b) const {
  auto first = readIfKnown(a), second = readIfKnown(b);
  return first && second && first->isConvertible(*second);
}

UnitConversion UnitTableService::conversion(std::u16string_view from, std::u16string_view to) const {
  auto [first, second] = requireConvertible(from, to);
  auto result = first->conversionTo(*second);
  if (!result)
    raise(UnitError::OutOfRange, {std::u16string(from), std::u16string(to)});
  return *result;
}

double UnitTableService::convert(double value, std::u16string_view from, std::u16string_view to) const {
  auto [first, second] = requireConvertible(from, to);
  auto result = first->convert(value, *second);
  if (!result)
    raise(UnitError::OutOfRange, {std::u16string(from), std::u16string(to)});
  return *result;
}

std::vector<std::u16string> UnitTableService::similarUnits(std::u16string_view text) const {
  if (text.empty())
    return {};
  try {
    auto result = table_.convertibleTo(*read(text), maxSimilar + 1);
    std::erase(result, text);
    if (result.size() > maxSimilar)
      result.resize(maxSimilar);
    return result;
  } catch (const Error& error) {
    return corrections(text, error);
  }
}

std::vector<std::u16string> UnitTableService::corrections(std::u16string_view text, const Error& error) const {
  std::vector<std::u16string> result;
  if (error.id() != UnitError::UnknownUnit.id)
    return result;
  auto& word = error.arguments().at(0);
  auto start = std::stoul(toUtf8(error.arguments().at(1))) - 1;
  for (auto& better : table_.spelledLike(word, maxSimilar)) {
    std::u16string corrected(text);
    corrected.replace(start, word.size(), better);
    if (readIfKnown(corrected))
      result.push_back(std::move(corrected));
  }
  return result;
}

const UnitTableService::UnitHandle& UnitTableService::read(std::u16string_view text) const {
  if (auto found = known_.find(text); found != known_.end())
    return found->second;
  auto unit = std::make_shared<const Unit>(table_.read(text));
  if (known_.size() >= maxRemembered)
    known_.clear();
  return known_.emplace(text, std::move(unit)).first->second;
}

UnitTableService::UnitHandle UnitTableService::readIfKnown(std::u16string_view text) const {
  try {
    return read(text);
  } catch (const Error&) {
    return {}; // a text that cannot be read is an answer here: it relates to no unit
  }
}

std::pair<UnitTableService::UnitHandle, UnitTableService::UnitHandle>
UnitTableService::requireConvertible(std::u16string_view from, std::u16string_view to) const {
  auto first = read(from), second = read(to);
  if (!first->isConvertible(*second))
    raise(UnitError::NotConvertible, {std::u16string(from), std::u16string(to), table_.toText(first->dimension),
                                      table_.toText(second->dimension)});
  return {first, second};
}

} // namespace kavra::standalone
