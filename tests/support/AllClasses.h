// What must hold for all classes, over all classes: each package that declares some has a test that calls these.
#pragma once

#include "tavo/meta/MetaRegistry.h"

#include <initializer_list>
#include <string_view>
#include <vector>

namespace testsupport {

/// The classes of these packages that can be created.
std::vector<const tavo::MetaClass*> concreteClasses(std::initializer_list<std::string_view> packages);

/// An object with something in every writable feature comes back from its file as it was, and gives the same bytes.
void expectXmlRoundTrip(const tavo::MetaClass& metaClass);
/// Filling such an object, and destroying it, is undone and redone to the letter.
void expectUndoAndRedo(const tavo::MetaClass& metaClass);
/// Reflection refuses what is read-only or of another type, and changes nothing.
void expectRefusals(const tavo::MetaClass& metaClass);
/// Each keyed feature finds its objects by their present keys only: after a change of key, a clash, undo and redo.
void expectKeysFollow(const tavo::MetaClass& metaClass);

} // namespace testsupport
