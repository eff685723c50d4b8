// A file system that fails where a test wants it to.
#pragma once

#include "tavo/core/Error.h"
#include "tavo/io/FileSystem.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <optional>
#include <string>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace testsupport {

/// The operating system's file system, but the n-th call fails, or all calls from the n-th on, or the process is gone
/// instead of the n-th call; it keeps a list of its calls.
class FaultyFileSystem final : public tavo::FileSystem {
public:
  static constexpr std::size_t never = static_cast<std::size_t>(-1);

  /// In bits, as a file system may: so many bytes are taken by one write.
  explicit FaultyFileSystem(std::size_t taken = 5) : mostAtOnce(taken) {}

  std::optional<tavo::FileInfo> find(const Path& path) override { return call("find"), real_.find(path); }
  Path followLinks(const Path& path) override { return call("followLinks"), real_.followLinks(path); }
  Handle open(const Path& path) override { return call("open"), real_.open(path); }
  Handle create(const Path& path, std::uint32_t mode) override { return call("create"), real_.create(path, mode); }
  void giveName(Handle file, const Path& path) override { call("giveName"), real_.giveName(file, path); }
  Handle openFolder(const Path& path) override { return call("openFolder"), real_.openFolder(path); }
  void lock(Handle folder) noexcept override {
    real_.lock(folder);
    locked_ = true;
  }
  tavo::FileInfo info(Handle file) override { return call("info"), real_.info(file); }
  std::size_t read(Handle file, char* to, std::size_t size) override {
    return call("read"), real_.read(file, to, size);
  }
  std::size_t write(Handle file, std::string_view bytes) override {
    call("write");
    std::string taken(bytes.substr(0, mostAtOnce));
    if (const auto at = garbled.empty() ? taken.npos : taken.find(garbled); at != taken.npos)
      taken.replace(at, garbled.size(), garbled.size(), '?');
    return real_.write(file, taken);
  }
  void copyAccess(Handle file, const tavo::FileInfo& from) override {
    call("copyAccess"), real_.copyAccess(file, from);
  }
  void sync(Handle file) override { call("sync"), real_.sync(file); }
  void close(Handle file) override {
    real_.close(file); // it is gone, even when that fails
    call("close");
  }
  void rename(const Path& from, const Path& to) override {
    call(locked_ ? "rename" : "rename without lock"), real_.rename(from, to);
  }
  void link(const Path& file, const Path& name) override {
    call("link");
    if (!linking)
      throw std::system_error(EPERM, std::generic_category());
    real_.link(file, name);
  }
  void remove(const Path& path) override {
    // Cleaning up comes after a failure and does not fail as well.
    calls.emplace_back("remove");
    real_.remove(path);
  }

  std::size_t failing = never;
  bool fromThereOn = false;
  bool killing = false;
  bool linking = true; ///< files may have two names
  std::size_t mostAtOnce;
  std::string garbled{}; ///< reaches the disk as something else
  int error = EIO;
  std::vector<std::string> calls;

private:
  void call(const char* name) {
    const std::size_t number = calls.size();
    calls.emplace_back(name);
    if (killing && number == failing)
      ::kill(::getpid(), SIGKILL);
    if (number == failing || (fromThereOn && number > failing))
      throw std::system_error(error, std::generic_category());
  }

  tavo::FileSystem& real_ = operatingSystem();
  bool locked_ = false;
};

/// Acts with the 1st, 2nd, ... call of the file system failing, until there are no more of them. After each time,
/// `check` is given the error, or nothing where the failure did no harm, and prepares the next time. Answers how often
/// there was an error.
template <class Action, class Check>
std::size_t failEachCall(const FaultyFileSystem& kind, const Action& action, const Check& check) {
  std::size_t errors = 0;
  for (std::size_t failing = 0;; ++failing) {
    auto faulty = kind;
    faulty.failing = failing;
    std::optional<tavo::Error> raised;
    try {
      const tavo::ScopedFileSystem installed(faulty);
      action();
    } catch (const tavo::Error& error) {
      raised = error;
      ++errors;
    }
    const bool isLast = faulty.calls.size() <= failing;
    SCOPED_TRACE("call " + std::to_string(failing) + ", " + (isLast ? "none" : faulty.calls[failing]));
    check(raised);
    if (isLast) {
      EXPECT_FALSE(raised) << raised->what();
      return errors;
    }
  }
}

} // namespace testsupport
