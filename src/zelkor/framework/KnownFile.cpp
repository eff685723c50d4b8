#include "zelkor/framework/KnownFile.h"

#include "tavo/core/Errors.h"
#include "tavo/xml/ModelXml.h"

#include <system_error>

namespace zelkor {
namespace {

/// What the file is like; nothing also when the system does not say.
std::optional<tavo::Fingerprint> lookAt(const std::filesystem::path& path) {
  try {
    const auto found = tavo::FileSystem::current().find(path);
    return found ? std::optional(found->fingerprint) : std::nullopt;
  } catch (const std::system_error&) {
    return {};
  }
}

} // namespace

void KnownFile::set(std::filesystem::path path, const std::optional<tavo::Fingerprint>& seen) noexcept {
  path_ = std::move(path);
  seen_ = seen;
}

bool KnownFile::isAt(const std::filesystem::path& path) const {
  std::error_code isNoFile; // then the spelling tells
  return !path_.empty() &&
         (path.lexically_normal() == path_.lexically_normal() || std::filesystem::equivalent(path, path_, isNoFile));
}

void KnownFile::save(const tavo::Model& model, const std::filesystem::path& path) {
  std::filesystem::path known = path; // once the file is there, nothing may keep it from being known
  try {
    const auto seen = tavo::saveModel(model, path, expectationFor(path));
    set(std::move(known), seen);
  } catch (const tavo::Error& error) {
    // Then the file is there, and only the system cannot promise that it stays.
    if (error.id() == tavo::FrameworkError::SavedButNotSynced)
      set(std::move(known), lookAt(path));
    throw;
  }
}

tavo::Expectation KnownFile::expectationFor(const std::filesystem::path& path) const {
  if (!seen_ || !isAt(path))
    return tavo::Expectation::anything();
  try {
    // Where nothing stands any more, nothing can be lost.
    if (!tavo::FileSystem::current().find(path))
      return tavo::Expectation::nothing();
  } catch (const std::system_error&) {
    // Whoever saves will find the same, and say so.
  }
  return tavo::Expectation::unchanged(*seen_);
}

} // namespace zelkor
