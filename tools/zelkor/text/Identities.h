// What a profile holds beside what its text says in words: identities, and the oddities of one file.
#pragma once

#include "tools/zelkor/text/Findings.h"

#include "tavo/model/Model.h"

namespace zelkor::text {

/// What the identities of a freshly built model are taken from, the first source that has one.
struct IdentitySources {
  std::string profileName;           ///< under which identities are derived
  std::map<std::string, Text> given; ///< by path
  std::map<std::string, Text> was;   ///< the last part of a path in `before`, by path
  tavo::Model before;                ///< the profile as it was, or empty
};

/// A copy of a profile's model in a new model, with identities from the sources, and changed until the facts hold.
/// Objects that no source knows get an identity derived from the profile's name and their path. Empty with findings
/// when the facts and sources contradict each other or the model.
tavo::Model withIdentities(const tavo::Model& model, const IdentitySources& sources, const ExactFacts& facts,
                           Findings& findings);

} // namespace zelkor::text
