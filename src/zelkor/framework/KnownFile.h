// What the library remembers of a file that it has read or written.
#pragma once

#include "tavo/io/FileSystem.h"
#include "tavo/model/Model.h"
#include "zelkor/Export.h"

#include <filesystem>
#include <optional>

namespace zelkor {

/// The file of something in memory, as it was when it was last read or written, so that what others do to it meanwhile
/// is not overwritten without a word.
class ZELKOR_EXPORT KnownFile {
public:
  /// After reading or writing; without a fingerprint, nobody knows what the file was like.
  void set(std::filesystem::path path, const std::optional<tavo::Fingerprint>& seen) noexcept;
  const std::filesystem::path& path() const { return path_; }
  /// Whether a path leads there, however it is spelled and over whatever links.
  bool isAt(const std::filesystem::path& path) const;
  /// Writes a model to a path, which is the file from then on. Raises what `tavo::saveModel` raises, FileChangedOnDisk
  /// for one that others have written; after SavedButNotSynced the file is written and known all the same.
  void save(const tavo::Model& model, const std::filesystem::path& path);

private:
  /// What may stand at a path that is going to be written: the file itself only as it is known.
  tavo::Expectation expectationFor(const std::filesystem::path& path) const;

  std::filesystem::path path_;
  std::optional<tavo::Fingerprint> seen_;
};

} // namespace zelkor
