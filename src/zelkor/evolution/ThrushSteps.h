// The parts of the step to 2.2: references that became proxies, and what elements say of themselves.
#pragma once

#include "zelkor/evolution/PropertyRecords.h"

#include <set>
#include <string_view>

namespace zelkor::property::evolution {

/// Types, base types and parents are found by what proxies say of them.
void referenceByProxy(Document& document);
/// The other way: what is in another profile is replaced or left out, and told. Answers what has another type, or base,
/// now.
std::set<const Object*> referencePlainly(Document& document, Account& account);
/// The name of the class of what a source of a proxy leads to; empty where the file does not say.
std::string_view sortOf(const Object& source);

/// What elements said of stereotypes and values themselves is kept until the profiles are at hand.
void keepElementData(Document& document);
/// The other way: usages go, and what they held for the elements goes back into these.
void returnElementData(Document& document, Account& account);

} // namespace zelkor::property::evolution
