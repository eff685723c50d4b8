#include "kavra/NameRules.h"

#include <algorithm>

namespace kavra {
namespace {

bool isLetter(char16_t c) { return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z'); }
bool isDigit(char16_t c) { return c >= u'0' && c <= u'9'; }

} // namespace

bool isValidName(std::u16string_view name) {
  return !name.empty() && name.size() <= maxNameLength && isLetter(name.front()) &&
         std::all_of(name.begin() + 1, name.end(), [](char16_t c) { return isLetter(c) || isDigit(c) || c == u'_'; });
}

} // namespace kavra
