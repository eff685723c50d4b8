#include "zelkor/evolution/NumberedNames.h"

#include <algorithm>
#include <iterator>

namespace zelkor::property::evolution {
namespace {

std::string_view withoutUnderscores(std::string_view name) { return name.substr(0, name.find_last_not_of('_') + 1); }

std::string keyOf(std::string_view stem, std::string_view number) {
  return std::string(stem).append(" ").append(number);
}

std::string spelled(std::string_view stem, std::size_t underscores, std::string_view number) {
  return std::string(stem).append(underscores, '_').append(number);
}

} // namespace

void NumberedNames::add(std::string_view name) {
  const auto stem = withoutUnderscores(name);
  ends_[std::string(stem)].insert(name.size() - stem.size());
  const auto number = name.find_last_not_of("0123456789") + 1; // npos + 1 is 0
  if (const auto before = withoutUnderscores(name.substr(0, number)); number < name.size() && before.size() < number)
    numbered_[keyOf(before, name.substr(number))].insert(number - before.size());
}

NumberedNames::Place NumberedNames::placeOf(std::string_view name) const {
  const auto stem = withoutUnderscores(name);
  const auto underscores = name.size() - stem.size();
  const auto found = ends_.find(std::string(stem));
  if (found == ends_.end())
    return {underscores, 0, 1};
  const auto index = std::distance(found->second.begin(), found->second.lower_bound(underscores));
  return {underscores, static_cast<std::size_t>(index), found->second.size()};
}

std::string NumberedNames::newName(std::string_view name, std::size_t number) const {
  const auto stem = withoutUnderscores(name);
  const auto digits = std::to_string(number);
  const auto place = placeOf(name);
  const auto known = numbered_.find(keyOf(stem, digits));
  auto underscores = known == numbered_.end() ? 1 : *known->second.rbegin() + 1;
  underscores = std::max(underscores, place.underscores + 1);
  while (!place.mayHave(underscores))
    ++underscores;
  return spelled(stem, underscores, digits);
}

std::string NumberedNames::knownName(std::string_view name, std::size_t number) const {
  const auto stem = withoutUnderscores(name);
  const auto digits = std::to_string(number);
  const auto place = placeOf(name);
  if (const auto known = numbered_.find(keyOf(stem, digits)); known != numbered_.end())
    for (auto each = known->second.rbegin(); each != known->second.rend(); ++each)
      if (place.mayHave(*each))
        return spelled(stem, *each, digits);
  return newName(name, number);
}

} // namespace zelkor::property::evolution
