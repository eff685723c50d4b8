#include "zelkor/evolution/Expressions.h"

#include "kavra/Host.h"
#include "tavo/core/Utf.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <vector>

namespace zelkor::property::evolution {
namespace {

using kavra::ArrayClass;

bool isWord(char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '_'; }

/// Where the text in quotes that begins there ends; two quotes inside stand for one.
std::size_t endOfText(std::string_view expression, std::size_t at) {
  const char quote = expression[at];
  do
    at = std::min(expression.find(quote, at + 1), expression.size() - 1) + 1;
  while (at < expression.size() && expression[at] == quote);
  return at;
}

/// What an expression without variables comes to; null where nobody can say.
kavra::HostArray evaluated(std::string_view expression) {
  if (!kavra::isHostAvailable())
    return {};
  struct Nobody { // has no variables
    kavra::Workspaces& workspaces = kavra::host().workspaces();
    ~Nobody() { workspaces.release(this); }
  } nobody;
  return nobody.workspaces.of(&nobody)->evaluate(tavo::toUtf16Lenient(expression));
}

bool isText(const kavra::HostArray& array) {
  return array.arrayClass() == ArrayClass::Char || array.arrayClass() == ArrayClass::String;
}

} // namespace

std::string membersAsTexts(std::string_view expression) {
  const auto startsName = [&](std::size_t at) {
    return at < expression.size() && isWord(expression[at]) &&
           !std::isdigit(static_cast<unsigned char>(expression[at]));
  };
  struct Bracket {
    std::size_t at; ///< in the result
    bool holdsOthers = false;
  };
  std::string result;
  std::vector<Bracket> open;
  std::vector<std::pair<std::size_t, std::size_t>> lists; ///< brackets in which there are no others
  std::size_t parentheses = 0;                            ///< that are open, from that of a call on
  bool found = false;
  for (std::size_t at = 0; at < expression.size();) {
    const auto start = at;
    const char first = expression[at];
    const char last = at > 0 ? expression[at - 1] : ' ';
    const bool transposes = first == '\'' && (isWord(last) || last == ')' || last == ']' || last == '}' || last == '.');
    if ((first == '\'' || first == '"') && !transposes) {
      at = endOfText(expression, at);
    } else if (isWord(first)) {
      auto member = at;
      const bool isName = startsName(at);
      for (++at; at < expression.size() && (isWord(expression[at]) || (expression[at] == '.' && startsName(at + 1)));
           ++at)
        if (expression[at] == '.')
          member = at + 1;
      if (isName && parentheses == 0 && member != start && (at == expression.size() || expression[at] != '(')) {
        ((result += '\'') += expression.substr(member, at - member)) += '\'';
        found = true;
        continue;
      }
    } else {
      if (parentheses == 0 && first == '[') {
        if (!open.empty())
          open.back().holdsOthers = true;
        open.push_back({result.size()});
      } else if (parentheses == 0 && first == ']' && !open.empty()) {
        if (!open.back().holdsOthers)
          lists.emplace_back(open.back().at, result.size());
        open.pop_back();
      } else if (first == '(' && (parentheses > 0 || isWord(last))) {
        ++parentheses;
      } else if (first == ')' && parentheses > 0) {
        --parentheses;
      }
      ++at;
    }
    result += expression.substr(start, at - start);
  }
  if (!found)
    return std::string(expression);
  for (const auto& [from, to] : lists) { // those around them join lists
    result[from] = '{';
    result[to] = '}';
  }
  return result;
}

bool comesToTexts(std::string_view expression) {
  if (expression.size() > 1 && expression.front() == '\'' && expression.back() == '\'' &&
      endOfText(expression, 0) == expression.size())
    return true; // as nearly all do
  const auto array = evaluated(expression);
  if (!array)
    return expression.find('(') == expression.npos;
  return isText(array) || (array.arrayClass() == ArrayClass::Cell && std::ranges::all_of(array.cells(), isText));
}

bool leavesBounds(std::string_view expression, double lowest, double highest) {
  if (const auto array = evaluated(expression); array && kavra::isNumeric(array.arrayClass())) {
    for (std::uint64_t i = 0; i < array.count(); ++i)
      if (const double number = array.numberAt(i); number < lowest || number > highest)
        return true;
    return false;
  }
  const double largest = std::max(std::abs(lowest), std::abs(highest));
  constexpr std::string_view digits = "0123456789";
  for (auto at = expression.find_first_of(digits); at < expression.size(); at = expression.find_first_of(digits, at)) {
    std::uint64_t number = 0;
    const auto [end, fault] = std::from_chars(expression.data() + at, expression.data() + expression.size(), number);
    if (fault != std::errc() || static_cast<double>(number) > largest)
      return true;
    at = static_cast<std::size_t>(end - expression.data());
  }
  return false;
}

} // namespace zelkor::property::evolution
