// Models as XML: how a model is written to a file and read back.
//
// A document has a head, which names the schema families with their versions and, for each class and feature that
// occurs, the short name used in the body and the fixed identifier behind it; the body uses the short names. The reader
// goes by identifier alone. See docs/file-format.md.
#pragma once

#include "tavo/core/Limits.h"
#include "tavo/io/FileSystem.h"
#include "tavo/meta/MetaRegistry.h"
#include "tavo/model/Model.h"

#include <functional>
#include <vector>

namespace tavo {

struct WriteOptions {
  /// Features that this one document leaves out.
  std::vector<const MetaProperty*> transient{};
  /// Whether references are written; containments always are.
  bool associations = true;
};

/// Writes all of a model. The same model gives the same bytes. Raises UncontainedObject for a top-level object whose
/// class is not meant to be a root, LimitExceeded for a tree that is nested more deeply than readers accept.
TAVO_EXPORT void writeModel(const Model& model, ByteSink& sink, const WriteOptions& options = {});
/// Writes one object with all that it contains. References that lead out of the tree are kept as identities.
TAVO_EXPORT void writeTree(const ModelElement& root, ByteSink& sink, const WriteOptions& options = {});
/// The same documents as UTF-16 text.
TAVO_EXPORT String modelText(const Model& model, const WriteOptions& options = {});
TAVO_EXPORT String treeText(const ModelElement& root, const WriteOptions& options = {});
/// Writes a model to a file, atomically; see saveAtomically. The model is not changed by it.
TAVO_EXPORT Fingerprint saveModel(const Model& model, const std::filesystem::path& path,
                                  const Expectation& expected = Expectation::anything());

struct ReadOptions {
  /// Gives every object a fresh identity and reports the old and the new one.
  std::function<void(const Uuid& old, const Uuid& fresh)> freshIdentities{};
  Limits limits = Limits::current();
  /// Whether files of older versions are brought up to date on the way; else they are OldFamilyVersion.
  bool evolve = true;
  /// Told, before anything else happens, of the families and versions of a file that is brought up to date.
  std::function<void(std::string_view family, std::string_view version)> evolved{};
};

/// Reads a document into a model: all of it, or on any error none of it. Reading into an empty model without history
/// leaves no history; into any other model, it is one change. `name` stands in errors.
///
/// A document of an older version is brought up to date on the way, see tavo/evolution/Evolution.h; the file stays what
/// it is. Raises MalformedXml and LimitExceeded (see XmlReader), UnknownFamily, InvalidFamilyVersion and
/// OldFamilyVersion for schemas that this build cannot read, UnknownClass, UnknownFeature, InvalidText,
/// DuplicateIdentity, DanglingReference, and what the model raises for keys that clash.
TAVO_EXPORT void readModel(ByteSource& source, const std::string& name, const Model& model,
                           const ReadOptions& options = {});
TAVO_EXPORT void readModel(std::u16string_view text, const std::string& name, const Model& model,
                           const ReadOptions& options = {});
/// Reads a file; raises FileNotFound, NotARegularFile or CannotRead besides. What the file was like is the result.
TAVO_EXPORT Fingerprint loadModel(const std::filesystem::path& path, const Model& model,
                                  const ReadOptions& options = {});

} // namespace tavo
