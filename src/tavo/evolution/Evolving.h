// Documents between their text and evolution: read into a Document, and told from it again. Internal.
#pragma once

#include "tavo/evolution/Evolution.h"
#include "tavo/xml/DocumentFrame.h"

namespace tavo::evolution {

/// Whether some family of a document is of an older version that this build can bring up to date.
bool isOld(const DocumentHead& head);

/// A handler that keeps the objects of a document, brings it up to date when it is complete, and tells it to the
/// handler that `open` makes.
std::unique_ptr<ObjectsHandler> evolving(const DocumentHead& head, const std::string& name, const OpenDocument& open);

/// Raises InvalidText if a document has versions of its families that no release wrote together.
void requireVersionsOfOneRelease(const DocumentHead& head);

/// A handler that puts the objects into a document. Raises UnknownFamily, InvalidFamilyVersion, UnknownClass,
/// UnknownFeature and InvalidText for what the versions that the head names do not have.
std::unique_ptr<ObjectsHandler> intoDocument(const DocumentHead& head, Document& document);

/// Tells a document, in the names of its versions, to the handler that `open` makes.
void tell(const Document& document, const OpenDocument& open);

} // namespace tavo::evolution
