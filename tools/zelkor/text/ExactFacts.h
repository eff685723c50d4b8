// The facts by which a model differs from the one that a text builds: identities, attributes, references and objects,
// each by its path.
#pragma once

#include "tools/zelkor/text/ProfileText.h"

#include "tavo/meta/Datatype.h"
#include "tavo/meta/MetaRegistry.h"
#include "tavo/model/ModelElement.h"

#include <optional>

namespace zelkor::text {

/// The fact at this path lists the top-level objects.
inline constexpr auto topLevelOrder = "order";
/// The fact at the end of an object's path names its class, where that is not the one that the feature declares.
inline constexpr auto classFact = "class";

/// Nothing for structures and what has no text, which are never needed.
std::optional<Fact> factOf(const tavo::Datatype& type, const void* value);
/// Reads a fact into the value, which holds the default of its type. False when it is none of that type.
bool readFact(const Fact& fact, const tavo::Datatype& type, void* value);

/// Whether facts are told of the feature as of an attribute.
bool isAttribute(const tavo::MetaProperty& property);
/// Whether facts tell the order of what the feature holds.
bool isSequence(const tavo::MetaProperty& feature);
/// Whether files leave the identity out, because the owner's and the feature tell it.
bool followsFromOwner(const tavo::ModelElement& object);

/// The facts that `withIdentities` has to be given to make `wanted` from `built`. `file` stands in errors: raises
/// CannotDescribe for what no fact can say.
ExactFacts differences(const tavo::Model& built, const tavo::Model& wanted, const std::string& file);

} // namespace zelkor::text
