// Between the versions of schemas: what each version did to files of the one before it, and the engine that brings a
// document from any version to any other, up or down.
//
// What is new or gone in a version, and what has another name, stands in the schemas (`since`, `removed`, `was`) and
// needs no code: names in files are resolved through identifiers, and on the way down whatever the older version does
// not know is left out and put on the account. A step is code for what remains: values that move, split or turn into
// objects.
#pragma once

#include "tavo/evolution/Document.h"
#include "tavo/io/Bytes.h"

#include <functional>
#include <memory>
#include <set>
#include <span>
#include <string>
#include <vector>

namespace tavo::evolution {

/// Something that an older version cannot hold.
struct Loss {
  std::string object; ///< the names from the top down to it, with dots between them
  std::string what;   ///< a feature, or the class of the object
  std::string effect; ///< what becomes of it, as the end of a sentence: "is left out"

  // clang-tidy 14 takes the zero in a defaulted comparison for a null pointer. NOLINTNEXTLINE(modernize-use-nullptr)
  friend auto operator<=>(const Loss&, const Loss&) = default;
};

/// What a way down costs.
class TAVO_EXPORT Account {
public:
  void note(const Object& object, std::string_view what, std::string_view effect);
  /// In the order in which they came, each once.
  const std::vector<Loss>& losses() const { return losses_; }

private:
  std::vector<Loss> losses_;
  std::set<Loss> known_;
};

/// What one version of a family is to the version before it.
struct Step {
  std::string_view to; ///< the version
  /// Makes a document of the version before into one of this version, in the records of the latter; null for nothing.
  void (*up)(Document& document) = nullptr;
  /// The other way; what is then still there and the older version does not know is left out by the engine.
  void (*down)(Document& document, Account& account) = nullptr;
};

/// Says what the versions of a family did. The steps must live as long as the process; called while a library is
/// loaded.
TAVO_EXPORT bool registerSteps(std::string_view family, std::span<const Step> steps) noexcept;

/// Says which versions of two families releases wrote together; an empty one is that of this build. A file that has two
/// others of them is refused: no step has been made for it. Called while a library is loaded.
TAVO_EXPORT bool registerReleases(std::string_view family, std::string_view other,
                                  std::vector<std::pair<std::string_view, std::string_view>> versions) noexcept;

/// Brings one family of a document to another version of it, step by step. The version is not noVersion.
TAVO_EXPORT void evolve(Document& document, const Family& family, Version to, Account& account);

struct FamilyEvolution {
  std::string family, oldVersion, newVersion;
};

/// Reads a document and brings its families to other versions: on the way up in the order in which they are given, on
/// the way down in the opposite one.
class TAVO_EXPORT EvolutionEngine {
public:
  explicit EvolutionEngine(std::vector<FamilyEvolution> families) : families_(std::move(families)) {}

  /// Raises what reading a document raises, and InvalidFamilyVersion for versions that there are not and for a document
  /// whose family has another version than `oldVersion`. A family that the document does not use is passed over.
  std::unique_ptr<Document> run(ByteSource& source, const std::string& name);
  /// What the last run has cost.
  const Account& account() const { return account_; }

private:
  std::vector<FamilyEvolution> families_;
  Account account_;
};

/// The document as text, in the form that the model's own has. Raises FileGrowsTooLarge when that is many times as long
/// as what the document was read from.
TAVO_EXPORT void write(const Document& document, ByteSink& sink);

} // namespace tavo::evolution
