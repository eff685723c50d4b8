#include "zelkor/framework/HostCalls.h"

#include <mutex>
#include <set>
#include <string>

namespace zelkor {
namespace {

/// Identifiers of the library's errors are texts that live for ever; those of the host are not known beforehand.
tavo::ErrorId lastingId(const std::string& id) {
  static std::mutex mutex;
  static std::set<std::string> known;
  const std::lock_guard lock(mutex);
  return tavo::ErrorId(known.insert(id).first->c_str());
}

} // namespace

tavo::Error asLibraryError(const kavra::Error& error) {
  std::vector<tavo::String> arguments(error.arguments().begin(), error.arguments().end());
  return tavo::Error(lastingId(error.id()), std::move(arguments), tavo::Error::asCause(error));
}

} // namespace zelkor
