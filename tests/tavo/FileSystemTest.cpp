#include "tavo/io/FileSystem.h"

#include "tests/support/FaultyFileSystem.h"

#include "tavo/core/Error.h"
#include "tavo/core/Errors.h"
#include "tavo/core/Uuid.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace tavo {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;
using testsupport::FaultyFileSystem;

class FileSystemTest : public testing::Test {
protected:
  FileSystemTest() { fs::create_directory(folder_); }
  ~FileSystemTest() override { fs::remove_all(folder_); }

  fs::path path(const std::string& name) const { return folder_ / name; }
  static void put(const fs::path& path, std::string_view content) { std::ofstream(path) << content; }
  static std::string get(const fs::path& path) {
    InputFile file(path);
    std::string content, block(3, '\0');
    while (const auto size = file.read(block.data(), block.size()))
      content.append(block, 0, size);
    return content;
  }
  static Fingerprint save(const fs::path& path, std::string_view content,
                          const Expectation& expected = Expectation::anything()) {
    return saveAtomically(
        path, [&](ByteSink& sink) { sink.write(content); }, expected);
  }
  /// The names in the folder, in order: what is left behind shows up here.
  std::vector<std::string> names() const {
    std::vector<std::string> all;
    for (const auto& entry : fs::directory_iterator(folder_))
      all.push_back(entry.path().filename());
    std::ranges::sort(all);
    return all;
  }
  static mode_t modeOf(const fs::path& path) {
    struct stat status;
    return ::stat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
  }

  const fs::path folder_ = fs::path(testing::TempDir()) / ("tavo-" + toText(randomUuid()));
  const std::string old_ = "the old content", new_ = "the new content, which is longer";
};

#define EXPECT_ERROR(statement, expectedId, expectedPath)                                                              \
  try {                                                                                                                \
    statement;                                                                                                         \
    ADD_FAILURE() << "no error from " #statement;                                                                      \
  } catch (const Error& error) {                                                                                       \
    EXPECT_EQ(error.id().text(), expectedId.text()) << error.what();                                                   \
    EXPECT_EQ(error.arguments().at(0).toUtf8(), (expectedPath).string());                                              \
  }

TEST_F(FileSystemTest, ReadsRegularFilesOnlyAndWaitsForNoOther) {
  put(path("file"), "content");
  fs::create_symlink("file", path("link"));
  EXPECT_EQ(get(path("file")), "content");
  EXPECT_EQ(get(path("link")), "content");

  ASSERT_EQ(::mkfifo(path("pipe").c_str(), 0600), 0);
  fs::create_symlink("pipe", path("link to pipe"));
  for (const auto& refused : {path("pipe"), path("link to pipe"), folder_, fs::path("/dev/zero")}) {
    EXPECT_ERROR(InputFile{refused}, FrameworkError::NotARegularFile, refused);
    EXPECT_ERROR(save(refused, "x"), FrameworkError::NotARegularFile, refused);
  }
  for (const auto& missing : {path("none"), path("none/either"), path("file/below")})
    EXPECT_ERROR(InputFile{missing}, FrameworkError::FileNotFound, missing);
}

TEST_F(FileSystemTest, FailuresWhileReadingAreErrorsWithTheName) {
  put(path("file"), "content");
  FaultyFileSystem faulty;
  const ScopedFileSystem installed(faulty);
  get(path("file"));
  const auto calls = faulty.calls;
  EXPECT_THAT(calls, ElementsAre("find", "open", "info", "read", "read", "read", "read", "close"));
  for (faulty.failing = 0; faulty.failing + 1 < calls.size(); ++faulty.failing) {
    faulty.calls.clear();
    EXPECT_ERROR(get(path("file")), FrameworkError::CannotRead, path("file"));
  }
}

TEST_F(FileSystemTest, SavingBringsContentToTheDiskBeforeItTakesTheOldOnesPlace) {
  put(path("file"), old_);
  FaultyFileSystem faulty;
  const ScopedFileSystem installed(faulty);
  save(path("file"), "12345");
  EXPECT_THAT(faulty.calls, ElementsAre("followLinks", "find", "openFolder", "create", "copyAccess", "write", "sync",
                                        "giveName", "info", "close", "find", "rename", "sync", "close"));
}

TEST_F(FileSystemTest, LockKeepsOthersOutUntilTheFolderIsClosed) {
  auto& system = FileSystem::operatingSystem();
  const auto mine = system.openFolder(folder_), other = system.openFolder(folder_);
  system.lock(mine);
  EXPECT_EQ(::flock(other, LOCK_EX | LOCK_NB), -1);
  EXPECT_EQ(errno, EWOULDBLOCK);
  system.close(mine);
  EXPECT_EQ(::flock(other, LOCK_EX | LOCK_NB), 0);
  system.close(other);
}

TEST_F(FileSystemTest, WhicheverCallFailsTheFileIsOldOrNewAndNothingIsLeft) {
  for (const bool existed : {true, false}) {
    for (const bool fromThereOn : {false, true}) {
      const auto prepare = [&] {
        fs::remove(path("file"));
        if (existed)
          put(path("file"), old_);
      };
      prepare();
      FaultyFileSystem faulty;
      faulty.fromThereOn = fromThereOn;
      testsupport::failEachCall(
          faulty, [&] { save(path("file"), new_); },
          [&](const auto& error) {
            if (!error || error->id() == FrameworkError::SavedButNotSynced) {
              EXPECT_EQ(get(path("file")), new_);
            } else {
              EXPECT_EQ(error->id(), FrameworkError::CannotWrite);
              if (existed)
                EXPECT_EQ(get(path("file")), old_);
              else
                EXPECT_THAT(names(), IsEmpty());
            }
            EXPECT_LE(names().size(), 1u);
            prepare();
          });
    }
  }
}

TEST_F(FileSystemTest, WhicheverCallFailsABackupIsThereIfAndOnlyIfTheFileIsNew) {
  for (const bool linking : {true, false}) {
    put(path("file"), old_);
    fs::permissions(path("file"), fs::perms(0640));
    FaultyFileSystem faulty;
    faulty.linking = linking;
    const auto replace = [&] { saveWithBackup(path("file"), path("backup"), [&] { save(path("file"), new_); }); };
    const auto errors = testsupport::failEachCall(faulty, replace, [&](const auto& error) {
      if (error && error->id() != FrameworkError::SavedButNotSynced) {
        EXPECT_THAT(names(), ElementsAre("file"));
        EXPECT_EQ(get(path("file")), old_);
        return;
      }
      EXPECT_EQ(get(path("file")), new_);
      EXPECT_EQ(get(path("backup")), old_);
      EXPECT_EQ(modeOf(path("backup")), 0640u);
      fs::rename(path("backup"), path("file"));
    });
    EXPECT_GT(errors, 15u);
    for (const bool isCopy : {false, true}) { // as an attempt leaves it that was killed
      fs::remove(path("backup"));
      put(path("file"), old_);
      if (isCopy)
        fs::copy_file(path("file"), path("backup"));
      else
        fs::create_hard_link(path("file"), path("backup"));
      replace();
      EXPECT_EQ(get(path("backup")), old_);
    }
    for (const auto& other : {old_, std::string(new_.size(), 'x')}) {
      put(path("backup"), other);
      EXPECT_ERROR(replace(), FrameworkError::BackupExists, path("backup"));
      EXPECT_EQ(get(path("backup")), other);
    }
    for (const auto* target : {"file", "nothing"}) {
      fs::remove(path("backup"));
      fs::create_symlink(target, path("backup"));
      EXPECT_ERROR(replace(), FrameworkError::BackupExists, path("backup"));
    }
    fs::remove(path("backup"));
    EXPECT_THAT(names(), ElementsAre("file"));
  }
}

TEST_F(FileSystemTest, ProcessThatIsKilledWhileItWritesLeavesNothing) {
  if (const int unnamed = ::open(folder_.c_str(), O_WRONLY | O_TMPFILE, 0600); unnamed >= 0)
    ::close(unnamed);
  else
    GTEST_SKIP() << "this file system has no unnamed files";
  put(path("file"), old_);
  const auto child = ::fork();
  if (child == 0)
    saveAtomically(path("file"), [](ByteSink& sink) {
      sink.write("half of");
      ::kill(::getpid(), SIGKILL);
    });
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFSIGNALED(status));
  EXPECT_EQ(get(path("file")), old_);
  EXPECT_THAT(names(), ElementsAre("file"));
}

TEST_F(FileSystemTest, FullDiskIsCalledSo) {
  FaultyFileSystem faulty;
  faulty.failing = 4, faulty.error = ENOSPC;
  const ScopedFileSystem installed(faulty);
  try {
    save(path("file"), new_);
    FAIL();
  } catch (const Error& error) {
    EXPECT_EQ(faulty.calls.at(4), "write");
    EXPECT_EQ(error.arguments().at(1), u"the disk is full");
  }
}

TEST_F(FileSystemTest, WriterThatThrowsLeavesEverythingAsItWas) {
  put(path("file"), old_);
  struct Stop {};
  EXPECT_THROW(saveAtomically(path("file"),
                              [](ByteSink& sink) {
                                sink.write("half of");
                                throw Stop();
                              }),
               Stop);
  EXPECT_EQ(get(path("file")), old_);
  EXPECT_THAT(names(), ElementsAre("file"));
}

TEST_F(FileSystemTest, SavingKeepsModeAndLinks) {
  for (const mode_t mode : {0600u, 0640u, 0755u}) {
    fs::remove(path("file"));
    put(path("file"), old_);
    ASSERT_EQ(::chmod(path("file").c_str(), mode), 0);
    save(path("file"), new_);
    EXPECT_EQ(modeOf(path("file")), mode);
  }
  ASSERT_EQ(::chmod(path("file").c_str(), 0444), 0);
  EXPECT_ERROR(save(path("file"), "other"), FrameworkError::CannotWrite, path("file"));
  EXPECT_EQ(get(path("file")), new_);
  ASSERT_EQ(::chmod(path("file").c_str(), 0644), 0);
  const mode_t mask = ::umask(027);
  save(path("new"), new_);
  ::umask(mask);
  EXPECT_EQ(modeOf(path("new")), 0640u);

  fs::create_directories(path("sub/deep"));
  fs::create_symlink("../../file", path("sub/deep/link"));
  fs::create_symlink("deep/link", path("sub/chain"));
  fs::create_symlink(path("not yet"), path("dangling"));
  save(path("sub/chain"), "through two links");
  save(path("dangling"), "made by a link");
  EXPECT_TRUE(fs::is_symlink(path("sub/chain")) && fs::is_symlink(path("sub/deep/link")) &&
              fs::is_symlink(path("dangling")));
  EXPECT_EQ(get(path("file")), "through two links");
  EXPECT_EQ(get(path("not yet")), "made by a link");

  fs::create_symlink("round", path("round"));
  EXPECT_ERROR(save(path("round"), "x"), FrameworkError::CannotWrite, path("round"));
}

TEST_F(FileSystemTest, FileWithoutFolderIsSavedInTheCurrentOne) {
  const auto before = fs::current_path();
  fs::current_path(folder_);
  save("file", new_);
  EXPECT_EQ(get("file"), new_);
  fs::current_path(before);
  EXPECT_THAT(names(), ElementsAre("file"));
}

TEST_F(FileSystemTest, SavesOverWhatItLoadedAndOverWhatItSaved) {
  put(path("file"), old_);
  auto fingerprint = InputFile(path("file")).fingerprint();
  for (const auto* content : {"one", "two", "three"})
    fingerprint = save(path("file"), content, Expectation::unchanged(fingerprint));
  EXPECT_EQ(InputFile(path("file")).fingerprint(), fingerprint);
  EXPECT_EQ(get(path("file")), "three");
}

TEST_F(FileSystemTest, DoesNotOverwriteWhatSomeoneElseHasDone) {
  const auto file = path("file");
  const struct {
    const char* what;
    std::function<void()> change;
    std::string left;
  } changes[] = {
      {"written, same size", [&] { put(file, "the odd content"); }, "the odd content"},
      {"replaced", [&] { put(path("x"), old_), fs::rename(path("x"), file); }, old_},
      {"touched", [&] { fs::last_write_time(file, fs::last_write_time(file) + std::chrono::nanoseconds(1)); }, old_},
      {"removed", [&] { fs::remove(file); }, ""},
  };
  for (const auto& row : changes) {
    for (const bool whileSaving : {false, true}) {
      SCOPED_TRACE(row.what);
      put(file, old_);
      // Away from now, so that a write within the clock's grain shows.
      fs::last_write_time(file, fs::last_write_time(file) - std::chrono::hours(1));
      const auto loaded = InputFile(file).fingerprint();
      if (!whileSaving)
        row.change();
      EXPECT_ERROR(saveAtomically(
                       file,
                       [&](ByteSink& sink) {
                         sink.write(new_);
                         if (whileSaving)
                           row.change();
                       },
                       Expectation::unchanged(loaded)),
                   FrameworkError::FileChangedOnDisk, file);
      EXPECT_EQ(fs::exists(file) ? get(file) : "", row.left);
      EXPECT_LE(names().size(), 1u);
    }
  }
  put(file, old_);
  EXPECT_ERROR(save(file, new_, Expectation::nothing()), FrameworkError::FileChangedOnDisk, file);
  save(path("other"), new_, Expectation::nothing());
}

TEST_F(FileSystemTest, RacingWritersNeitherMixNorOverwriteEachOther) {
  const auto file = path("file");
  save(file, std::string(1, 'x'));
  std::atomic<int> saved = 0, refused = 0, torn = 0;
  const auto race = [&](char letter) {
    for (int i = 0; i < 50; ++i) {
      Expectation expected = Expectation::anything();
      std::string content;
      {
        InputFile loaded(file);
        expected = Expectation::unchanged(loaded.fingerprint());
        content.resize(10'000);
        content.resize(loaded.read(content.data(), content.size()));
      }
      torn += content.find_first_not_of(content[0], 1) != std::string::npos;
      try {
        // One unit more than was read: the size counts the saves, unless one was lost.
        save(file, std::string(content.size() + 1, letter), expected);
        ++saved;
      } catch (const Error& error) {
        refused += error.id() == FrameworkError::FileChangedOnDisk;
      }
    }
  };
  std::thread a(race, 'a'), b(race, 'b');
  a.join(), b.join();
  EXPECT_EQ(torn, 0);
  EXPECT_EQ(saved + refused, 100);
  EXPECT_EQ(get(file).size(), static_cast<std::size_t>(saved) + 1);
  EXPECT_THAT(names(), ElementsAre("file"));
}

} // namespace
} // namespace tavo
