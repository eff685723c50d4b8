// Properties stood in a list, which let two have one name. Today the second of them has a number behind its name, and
// models of that time, which say only that a value is the second one of a name, have to find it. Internal.
#pragma once

#include <boost/unordered/unordered_flat_map.hpp>

#include <set>
#include <string>
#include <string_view>

namespace zelkor::property::evolution {

/// The names of a set. A number stands behind more underscores than before any name that has one of its own
/// ("power__2" beside "power_2"); and where names differ in the underscores at their ends only, each keeps to numbers
/// of underscores that leave a remainder of its own ("x__2" and "x___2" for the second "x" and the second "x_").
class NumberedNames {
public:
  void add(std::string_view name);
  /// What the number-th property of a name, which is among the names, is to be called.
  std::string newName(std::string_view name, std::size_t number) const;
  /// What it is called among the names; one that nothing has if there is none.
  std::string knownName(std::string_view name, std::size_t number) const;

private:
  /// The underscores at the end of a name, among those that differ in nothing else.
  struct Place {
    std::size_t underscores, index, count;
    bool mayHave(std::size_t number) const { return number > underscores && number % count == index; }
  };
  Place placeOf(std::string_view name) const;
  using Counts = std::set<std::size_t>;
  boost::unordered_flat_map<std::string, Counts> ends_{};     ///< of names, by the rest of them
  boost::unordered_flat_map<std::string, Counts> numbered_{}; ///< before numbers, by "power 2"
};

} // namespace zelkor::property::evolution
