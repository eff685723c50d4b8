#include "tools/zelkor/text/Spelling.h"

#include <algorithm>
#include <numeric>

namespace zelkor::text {
namespace {

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

/// The number of edits between two names; swapped neighbours count as one, case as none.
std::size_t distance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> beforeLast, last(b.size() + 1), current(b.size() + 1);
  std::iota(last.begin(), last.end(), std::size_t{0});
  for (std::size_t i = 1; i <= a.size(); ++i) {
    current[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      std::size_t changed = lower(a[i - 1]) != lower(b[j - 1]);
      current[j] = std::min({last[j] + 1, current[j - 1] + 1, last[j - 1] + changed});
      if (i > 1 && j > 1 && lower(a[i - 1]) == lower(b[j - 2]) && lower(a[i - 2]) == lower(b[j - 1]))
        current[j] = std::min(current[j], beforeLast[j - 2] + 1);
    }
    beforeLast = last;
    last = current;
  }
  return last[b.size()];
}

} // namespace

std::string suggestion(std::string_view wrong, const std::vector<std::string>& names) {
  // A longer text is not a misspelled name, and comparing it would only cost time.
  if (wrong.size() > 200)
    return ".";
  const std::string* nearest = nullptr;
  std::size_t smallest = std::max<std::size_t>(1, wrong.size() / 3) + 1;
  for (auto& name : names) {
    if (auto edits = distance(wrong, name); edits < smallest) {
      smallest = edits;
      nearest = &name;
    }
  }
  return nearest ? "; did you mean \"" + *nearest + "\"?" : ".";
}

} // namespace zelkor::text
