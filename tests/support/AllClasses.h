// What must hold for all classes, over all classes: each package that declares some has a test that calls these.
#pragma once

#include "tavo/meta/MetaRegistry.h"

#include <initializer_list>
#include <string_view>
#include <vector>

namespace testsupport {

/// The classes of these packages that can be created.
std::vector<const tavo::MetaClass*> concreteClasses(std::initializer_list<std::string_view> packages);

/// For each of them: an object with something in every writable feature comes back from its file as it was; filling and
/// destroying it is undone and redone to the letter; reflection refuses what is read-only or of another type and
/// changes nothing; keyed features find their objects by their present keys only, after a change, a clash, undo and
/// redo.
void expectWhatMustHoldForAll(const std::vector<const tavo::MetaClass*>& classes);

} // namespace testsupport
