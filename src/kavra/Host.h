// The host environment, as the library sees it: one object that bundles what the host supplies.
#pragma once

#include "kavra/ClassRegistry.h"
#include "kavra/Diagnostics.h"
#include "kavra/NameRules.h"
#include "kavra/SearchPath.h"
#include "kavra/UnitService.h"
#include "kavra/Workspace.h"

#include <memory>

namespace kavra {

/// An embedder makes one of its own parts, a test takes the standalone parts and replaces some.
class KAVRA_EXPORT Host {
public:
  struct Parts {
    std::shared_ptr<Workspaces> workspaces;
    std::shared_ptr<UnitService> units;
    std::shared_ptr<ClassRegistry> classes;
    std::shared_ptr<SearchPath> searchPath;
    std::shared_ptr<Diagnostics> diagnostics;
  };

  /// Raises "kavra:messages:IncompleteHost" when a part is missing.
  explicit Host(Parts parts);
  virtual ~Host();

  Workspaces& workspaces() const { return *parts_.workspaces; }
  UnitService& units() const { return *parts_.units; }
  const std::shared_ptr<UnitService>& sharedUnits() const { return parts_.units; }
  ClassRegistry& classes() const { return *parts_.classes; }
  SearchPath& searchPath() const { return *parts_.searchPath; }
  Diagnostics& diagnostics() const { return *parts_.diagnostics; }
  const Parts& parts() const { return parts_; }

  virtual bool isValidName(std::u16string_view name) const { return kavra::isValidName(name); }

  /// The host function "size": the extents of arrays whose own dimensions say nothing, which are the opaque ones.
  /// Raises kavra::Error when the object does not answer.
  virtual std::vector<double> sizeOf(const HostArray& array) const;

private:
  Parts parts_;
};

/// True when a host is installed. The standalone one is, until another or none takes its place.
KAVRA_EXPORT bool isHostAvailable();

/// The installed host. Raises "kavra:messages:NoHost" when there is none.
KAVRA_EXPORT Host& host();

/// Installs a host, or none, and returns the one before.
KAVRA_EXPORT std::shared_ptr<Host> installHost(std::shared_ptr<Host> host);

/// Another host, or none, for as long as this lives.
class KAVRA_EXPORT ScopedHost {
public:
  explicit ScopedHost(std::shared_ptr<Host> host) : previous_(installHost(std::move(host))) {}
  ~ScopedHost() { installHost(std::move(previous_)); }
  ScopedHost(const ScopedHost&) = delete;
  ScopedHost& operator=(const ScopedHost&) = delete;

private:
  std::shared_ptr<Host> previous_;
};

} // namespace kavra
