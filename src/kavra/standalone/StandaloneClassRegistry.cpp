#include "kavra/Error.h"
#include "kavra/standalone/EnumerationFile.h"
#include "kavra/standalone/StandaloneHost.h"

#include <algorithm>

namespace kavra {

StandaloneClassRegistry::StandaloneClassRegistry(std::shared_ptr<SearchPath> searchPath)
    : searchPath_(std::move(searchPath)) {}

StandaloneClassRegistry::~StandaloneClassRegistry() = default;

std::optional<HostClass> StandaloneClassRegistry::findClass(std::u16string_view name) {
  if (auto it = registered_.find(name); it != registered_.end())
    return it->second;
  if (auto it = fromFiles_.find(name); it != fromFiles_.end())
    return HostClass{it->first, it->second};
  if (!isValidClassName(name))
    return {};

  auto fileName = enumerationFileName(name);
  auto file = SearchPath(folders_).find(fileName);
  if (!file && searchPath_)
    file = searchPath_->find(fileName);
  if (!file)
    return {};
  auto& enumeration = EnumerationClass::define(readEnumerationFile(name, *file));
  fromFiles_.emplace(name, &enumeration);
  return HostClass{std::u16string(name), &enumeration};
}

std::int64_t StandaloneClassRegistry::defaultMemberPosition(std::u16string_view enumerationName) {
  auto found = findClass(enumerationName);
  if (!found || !found->isEnumeration())
    throw Error("kavra:messages:NoSuchEnumeration", "There is no enumeration class {0}.",
                {std::u16string(enumerationName)});
  return found->enumeration->defaultPosition();
}

const EnumerationClass& StandaloneClassRegistry::defineEnumeration(EnumerationDefinition definition) {
  auto& enumeration = EnumerationClass::define(std::move(definition));
  registered_[enumeration.name()] = HostClass{enumeration.name(), &enumeration};
  return enumeration;
}

void StandaloneClassRegistry::defineClass(std::u16string name) {
  auto key = name;
  registered_[std::move(key)] = HostClass{std::move(name), nullptr};
}

void StandaloneClassRegistry::removeClass(std::u16string_view name) {
  if (auto it = registered_.find(name); it != registered_.end())
    registered_.erase(it);
}

void StandaloneClassRegistry::addFolder(std::filesystem::path folder) {
  if (std::find(folders_.begin(), folders_.end(), folder) == folders_.end())
    folders_.push_back(std::move(folder));
}

void StandaloneClassRegistry::removeFolder(const std::filesystem::path& folder) {
  std::erase(folders_, folder);
  forgetFiles(); // what came out of that folder must not be found any more
}

} // namespace kavra
