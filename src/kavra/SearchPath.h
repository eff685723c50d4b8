// The folders in which the host finds files by name.
#pragma once

#include "kavra/Export.h"

#include <filesystem>
#include <optional>
#include <string_view>
#include <vector>

namespace kavra {

class KAVRA_EXPORT SearchPath {
public:
  /// The folders of the environment variable ZELKOR_PATH, which are separated by colons; empty ones are skipped.
  static SearchPath fromEnvironment();

  SearchPath() = default;
  explicit SearchPath(std::vector<std::filesystem::path> folders) : folders_(std::move(folders)) {}

  const std::vector<std::filesystem::path>& folders() const { return folders_; }
  void setFolders(std::vector<std::filesystem::path> folders) { folders_ = std::move(folders); }

  /// The first regular file of that bare name, in the order of the folders. A name with a folder part, "." and ".." are
  /// never found, so a name that comes out of a file cannot lead elsewhere.
  std::optional<std::filesystem::path> find(const std::filesystem::path& name) const;

private:
  std::vector<std::filesystem::path> folders_;
};

} // namespace kavra
