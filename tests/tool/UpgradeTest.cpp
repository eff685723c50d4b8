// The command `upgrade` where something fails at any step: the file is the old one, or the new one with all that the
// old one said, and what is told is true.
#include "tests/arch/ModelFixture.h"
#include "tests/support/Allocations.h"
#include "tests/support/FaultyFileSystem.h"
#include "tools/zelkor/command/Commands.h"

#include "zelkor/evolution/ReleaseExport.h"

#include <cstdio>
#include <optional>
#include <sys/wait.h>
#include <unistd.h>

namespace zelkor::command {
namespace {

namespace fs = std::filesystem;

/// A model of the oldest release, whose values need their profile to be upgraded.
class UpgradeTest : public ModelFixture {
protected:
  UpgradeTest() {
    pump.applyPrototype(stereotype(u"Pump"));
    pump.setPropVal(u"Plant.Pump.flow", u"0.123456789012345678", u"*");
    property::evolution::exportForRelease(model(), u"old", path, u"Plover");
    old = contentOf(path);
    ModelFile::open(path).save();
    now = counted(contentOf(path));
    restore();
  }
  void restore() const {
    fs::remove(path);
    fs::remove(backup);
    write(path, old);
  }

  struct Outcome {
    int status = findings;
    std::string out{}, err{};
    bool lacked = false; ///< memory
  };
  /// What the command says and answers when it does not get that allocation.
  Outcome upgrade(bool leaveOut, std::optional<std::size_t> missing = {}) const {
    Outcome outcome;
    const std::vector paths{path.string()};
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    if (missing)
      testsupport::failAllocationAfter(*missing);
    try {
      outcome.status = upgradeFiles(paths, true, leaveOut, false);
    } catch (const std::exception&) {
      // which `main` tells
    }
    outcome.lacked = missing && testsupport::allocationFailed();
    outcome.out = testing::internal::GetCapturedStdout();
    outcome.err = testing::internal::GetCapturedStderr();
    return outcome;
  }
  void expectOld() const {
    EXPECT_EQ(contentOf(path), old);
    EXPECT_FALSE(fs::exists(backup));
  }
  void expectNewWithBackup() const {
    EXPECT_EQ(counted(contentOf(path)), now);
    EXPECT_EQ(contentOf(backup), old);
  }

  const fs::path path = file("old.xml"), backup = file("old.xml.Plover");
  std::string old, now;
};

TEST_F(UpgradeTest, IsDoneOrToldNotToBeWhateverCallOfTheFileSystemFails) {
  for (const auto& [linking, leaveOut] : {std::pair{true, false}, {false, false}, {true, true}}) {
    for (std::size_t failing = 0, called = 1; failing <= called; ++failing) {
      testsupport::FaultyFileSystem faulty(10'000);
      faulty.linking = linking, faulty.failing = failing;
      Outcome outcome;
      {
        const tavo::ScopedFileSystem installed(faulty);
        outcome = upgrade(leaveOut);
      }
      called = faulty.calls.size();
      SCOPED_TRACE("call " + std::to_string(failing) + ", " + (failing < called ? faulty.calls[failing] : "none"));
      const bool isNew = outcome.status == success || outcome.err.find("SavedButNotSynced") != std::string::npos;
      if (isNew)
        expectNewWithBackup();
      else
        expectOld();
      if (outcome.status == success)
        EXPECT_EQ(outcome.out + outcome.err, path.string() + ": was Plover\n");
      else
        EXPECT_TRUE(outcome.status == findings && outcome.out.empty() && outcome.err.starts_with(path.string() + ":"))
            << outcome.out << outcome.err;
      EXPECT_TRUE(failing < called || outcome.status == success);
      restore();
    }
  }
}

TEST_F(UpgradeTest, IsDoneOrToldNotToBeWithoutMemory) {
  std::size_t refused = 0;
  bool lacked = true;
  for (std::size_t missing = 0; lacked; missing += 7) { // all of them would take minutes with the sanitizers
    const auto outcome = upgrade(true, missing);
    lacked = outcome.lacked;
    SCOPED_TRACE(missing);
    if (contentOf(path) != old) {
      expectNewWithBackup(); // perhaps there is no memory left for saying so
      restore();
      continue;
    }
    ++refused;
    expectOld();
    EXPECT_EQ(outcome.status, findings);
  }
  EXPECT_GT(refused, 100u);
}

TEST_F(UpgradeTest, GoesOnWithWhatAKilledOneHasLeft) {
  for (const bool linking : {true, false}) {
    bool killed = true;
    for (std::size_t failing = 0; killed; ++failing) {
      SCOPED_TRACE(failing);
      ASSERT_LT(failing, 1000u);
      const auto child = ::fork();
      if (child == 0) {
        testsupport::FaultyFileSystem faulty(10'000);
        faulty.linking = linking, faulty.failing = failing, faulty.killing = true;
        const tavo::ScopedFileSystem installed(faulty);
        ::_exit(std::freopen("/dev/null", "w", stdout) ? upgradeFiles({path.string()}, true, false, false) : misuse);
      }
      int status = 0;
      ASSERT_EQ(::waitpid(child, &status, 0), child);
      killed = WIFSIGNALED(status);
      EXPECT_TRUE(killed || WEXITSTATUS(status) == success);
      if (contentOf(path) == old) {
        testsupport::FaultyFileSystem whole(10'000);
        whole.linking = linking;
        const tavo::ScopedFileSystem installed(whole);
        EXPECT_EQ(upgrade(false).status, success);
      }
      expectNewWithBackup();
      restore();
    }
  }
}

} // namespace
} // namespace zelkor::command
