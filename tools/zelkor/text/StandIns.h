// What a profile refers to and what cannot be had, as far as the profile's own file tells of it.
#pragma once

#include "kavra/standalone/StandaloneHost.h"
#include "tavo/model/Model.h"

#include <set>
#include <string>

namespace zelkor::text {

/// While this exists, the catalog has a profile for every one that `model` refers to: those that cannot be loaded, or
/// that lack something referred to, are replaced by profiles with no more in them than that. The class registry has a
/// class for every enumeration, of no more members than the defaults in the model name.
class StandIns {
public:
  StandIns(const tavo::Model& model, kavra::StandaloneClassRegistry& classes);
  ~StandIns();
  StandIns(const StandIns&) = delete;
  StandIns& operator=(const StandIns&) = delete;

  /// Whether nothing is known of the enumeration class but its name.
  bool isStandIn(const std::string& enumeration) const { return enumerations_.contains(enumeration); }

private:
  void standInForProfiles(const tavo::Model& model);
  void standInForEnumerations(const tavo::Model& model);

  kavra::StandaloneClassRegistry& classes_;
  std::set<tavo::String> profiles_;
  std::set<std::string> enumerations_;
};

} // namespace zelkor::text
