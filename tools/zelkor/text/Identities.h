// The identities of the objects of a profile: where they come from when a profile is made from a text.
#pragma once

#include "tools/zelkor/text/Findings.h"

#include "tavo/model/Model.h"

#include <functional>
#include <map>

namespace zelkor::text {

/// Every object of a model by its path: the class of the top-level object, then features and names:
/// "Profile/prototypes/Computer/propertySet/properties/mass/defaultValue".
std::map<std::string, tavo::ModelElement> objectsByPath(const tavo::Model& model);

/// The paths of the top-level objects, in the model's order.
std::vector<std::string> topLevelPaths(const tavo::Model& model);

/// What the identities of a freshly built model are taken from, the first source that has one.
struct IdentitySources {
  std::string profileName;                  ///< under which identities are derived
  std::map<std::string, std::string> given; ///< by path; with a feature at the end, the value of an attribute
  std::map<std::string, std::string> was;   ///< the last part of a path in `before`, by path
  tavo::Model before;                       ///< the profile as it was, or empty
  std::vector<std::string> order;           ///< of top-level objects; those not named follow
};

/// A copy of a profile's model in a new model, with identities from the sources. Objects that nothing is known of get
/// one derived from the profile's name and their path.
tavo::Model withIdentities(const tavo::Model& model, const IdentitySources& sources, Findings& findings);

/// What `withIdentities` has to be given, besides the text that `built` was made from, to make `wanted` from it. Raises
/// CannotDescribe when it takes more than that.
void describeDifferences(const tavo::Model& built, const tavo::Model& wanted, ProfileText& profile);

} // namespace zelkor::text
