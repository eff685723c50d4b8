#include "tavo/io/FileSystem.h"

#include "tavo/core/Error.h"
#include "tavo/core/Errors.h"
#include "tavo/core/Utf.h"
#include "tavo/core/Uuid.h"

#include <atomic>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <time.h>
#include <unistd.h>
#include <utility>

namespace tavo {
namespace {

[[noreturn]] void fail() { throw std::system_error(errno, std::generic_category()); }

/// Calls until it is not interrupted by a signal; raises what else goes wrong.
template <class Call>
auto retried(Call call) {
  for (;;) {
    const auto result = call();
    if (result >= 0)
      return result;
    if (errno != EINTR)
      fail();
  }
}

FileInfo infoOf(const struct stat& status) {
  FileInfo info;
  info.regular = S_ISREG(status.st_mode);
  info.mode = status.st_mode & 07777;
  info.owner = status.st_uid;
  info.group = status.st_gid;
  info.fingerprint = {status.st_dev, status.st_ino, static_cast<std::uint64_t>(status.st_size), status.st_mtim.tv_sec,
                      status.st_mtim.tv_nsec};
  return info;
}

/// The file system that the process has anyway.
class OperatingSystem final : public FileSystem {
public:
  std::optional<FileInfo> find(const Path& path) override {
    struct stat status;
    if (::stat(path.c_str(), &status) == 0)
      return infoOf(status);
    if (errno != ENOENT && errno != ENOTDIR)
      fail();
    return std::nullopt;
  }

  Path followLinks(const Path& path) override {
    constexpr int mostLinks = 40; // as the kernel's
    Path at = path;
    for (int i = 0; i < mostLinks; ++i) {
      std::error_code error;
      const Path next = std::filesystem::read_symlink(at, error);
      if (error == std::errc::invalid_argument || error == std::errc::no_such_file_or_directory)
        return at;
      if (error)
        throw std::system_error(error);
      at = at.parent_path() / next;
    }
    throw std::system_error(ELOOP, std::generic_category());
  }

  Handle open(const Path& path) override {
    return retried([&] { return ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC); });
  }

  Handle create(const Path& path, std::uint32_t mode) override {
    // Not every file system has files without names; whatever else is wrong shows in the second attempt.
    static const bool canGiveNames = ::access(openFiles, X_OK) == 0;
    if (canGiveNames) {
      const auto folder = path.has_parent_path() ? path.parent_path() : Path(".");
      if (const Handle unnamed = ::open(folder.c_str(), O_WRONLY | O_TMPFILE | O_CLOEXEC, mode); unnamed >= 0)
        return unnamed;
    }
    return retried([&] { return ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode); });
  }

  void giveName(Handle file, const Path& path) override {
    struct stat status;
    if (::fstat(file, &status) != 0)
      fail();
    if (status.st_nlink != 0)
      return;
    const std::string unnamed = std::string(openFiles) + "/" + std::to_string(file);
    if (::linkat(AT_FDCWD, unnamed.c_str(), AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW) != 0)
      fail();
  }

  Handle openFolder(const Path& folder) override {
    return retried([&] { return ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); });
  }

  void lock(Handle folder) noexcept override {
    constexpr int attempts = 500;
    constexpr timespec pause{0, 10'000'000};
    for (int i = 0; i < attempts && ::flock(folder, LOCK_EX | LOCK_NB) != 0; ++i) {
      if (errno != EWOULDBLOCK && errno != EINTR)
        return;
      ::nanosleep(&pause, nullptr);
    }
  }

  FileInfo info(Handle file) override {
    struct stat status;
    if (::fstat(file, &status) != 0)
      fail();
    return infoOf(status);
  }

  std::size_t read(Handle file, char* to, std::size_t size) override {
    return static_cast<std::size_t>(retried([&] { return ::read(file, to, size); }));
  }

  std::size_t write(Handle file, std::string_view bytes) override {
    return static_cast<std::size_t>(retried([&] { return ::write(file, bytes.data(), bytes.size()); }));
  }

  void copyAccess(Handle file, const FileInfo& from) override {
    // Only the superuser may give files away. Where it is refused, the file belongs to who saved it, as with any
    // editor.
    const auto own = info(file);
    if (own.owner != from.owner || own.group != from.group) [[maybe_unused]]
      const int refused = ::fchown(file, from.owner, from.group);
    if (::fchmod(file, from.mode) != 0)
      fail();
  }

  void sync(Handle file) override {
    // Some file systems have nothing to sync for a folder and say so.
    if (::fsync(file) != 0 && errno != EINVAL && errno != ENOTSUP)
      fail();
  }

  void close(Handle file) override {
    // An interrupted close has closed the file all the same.
    if (::close(file) != 0 && errno != EINTR)
      fail();
  }

  void rename(const Path& from, const Path& to) override {
    if (::rename(from.c_str(), to.c_str()) != 0)
      fail();
  }

  void link(const Path& file, const Path& name) override {
    if (::link(file.c_str(), name.c_str()) != 0)
      fail();
  }

  void remove(const Path& path) override {
    if (::unlink(path.c_str()) != 0)
      fail();
  }

private:
  static constexpr const char* openFiles = "/proc/self/fd";
};

std::atomic<FileSystem*>& installed() {
  static std::atomic<FileSystem*> pointer = nullptr;
  return pointer;
}

/// Why something failed, for people.
std::string reasonOf(const std::system_error& error) {
  switch (error.code().value()) {
  case ENOSPC:
    return "the disk is full";
  case EDQUOT:
    return "the disk quota is used up";
  case EACCES:
  case EPERM:
    return "permission denied";
  case EROFS:
    return "the file system is read-only";
  case ENOENT:
  case ENOTDIR:
    return "there is no such folder";
  case EIO:
    return "the disk reports a fault";
  default:
    return error.code().message();
  }
}

/// A file beside its target that takes the new content; removed by the destructor unless it has taken the target's
/// place.
class Temporary {
public:
  Temporary(FileSystem& fileSystem, const FileSystem::Path& target, const std::optional<FileInfo>& old)
      : name_{fileSystem, target.parent_path() / (".tavo-" + toText(randomUuid()) + ".tmp")},
        // A file that is replaced may be private: nobody else gets to open its successor before it has the right mode.
        file_(fileSystem, fileSystem.create(name_.path, old ? 0600 : 0666)) {
    name_.mayExist = true;
    if (old)
      fileSystem.copyAccess(file_.get(), *old);
  }

  void write(std::string_view bytes) {
    while (!bytes.empty())
      bytes.remove_prefix(name_.fileSystem.write(file_.get(), bytes));
  }

  /// Brings the content to the disk and returns what the file is like.
  Fingerprint finish() {
    name_.fileSystem.sync(file_.get());
    name_.fileSystem.giveName(file_.get(), name_.path);
    const auto fingerprint = name_.fileSystem.info(file_.get()).fingerprint;
    file_.close();
    return fingerprint;
  }

  const FileSystem::Path& path() const { return name_.path; }

  void moveTo(const FileSystem::Path& target) {
    name_.fileSystem.rename(name_.path, target);
    name_.mayExist = false;
  }

private:
  /// Stands apart so that it also cleans up after a constructor that fails half-way.
  struct Name {
    FileSystem& fileSystem;
    FileSystem::Path path;
    bool mayExist = false;

    ~Name() {
      try {
        if (mayExist)
          fileSystem.remove(path);
      } catch (const std::exception&) {
        // It never had the name, or else the error that led here says more.
      }
    }
  };
  Name name_;
  FileHandle file_;
};

/// `old` is the file that was to be replaced.
[[noreturn]] void raiseNotWritten(const FileSystem::Path& path, const std::optional<FileInfo>& old,
                                  const std::system_error& error) {
  const std::string reason = reasonOf(error);
  raise(FrameworkError::CannotWrite, path, old ? reason + ". What it held before is unchanged" : reason);
}

/// Hands the bytes on; failures of the file system become CannotWrite here, so that they are told from other errors.
class TemporarySink final : public ByteSink {
public:
  TemporarySink(Temporary& file, const FileSystem::Path& target, const std::optional<FileInfo>& old)
      : file_(file), target_(target), old_(old) {}
  void write(std::string_view bytes) override {
    try {
      file_.write(bytes);
    } catch (const std::system_error& error) {
      raiseNotWritten(target_, old_, error);
    }
  }

private:
  Temporary& file_;
  const FileSystem::Path& target_;
  const std::optional<FileInfo>& old_;
};

/// What stands at the target now. Raises unless it may be replaced.
std::optional<FileInfo> requireReplaceable(FileSystem& fileSystem, const FileSystem::Path& target,
                                           const FileSystem::Path& path, const Expectation& expected) {
  auto present = fileSystem.find(target);
  if (present && !present->regular)
    raise(FrameworkError::NotARegularFile, path);
  // The system would let it be replaced, since that changes the folder; but somebody has said that it is to stay.
  constexpr std::uint32_t writable = 0222;
  if (present && (present->mode & writable) == 0)
    raise(FrameworkError::CannotWrite, path, "the file is write-protected");
  if (!expected.holdsFor(present))
    raise(FrameworkError::FileChangedOnDisk, path);
  return present;
}

} // namespace

FileSystem& FileSystem::operatingSystem() {
  static OperatingSystem instance;
  return instance;
}

FileSystem& FileSystem::current() {
  FileSystem* const other = installed();
  return other ? *other : operatingSystem();
}

ScopedFileSystem::ScopedFileSystem(FileSystem& fileSystem) : before_(installed().exchange(&fileSystem)) {}
ScopedFileSystem::~ScopedFileSystem() { installed() = before_; }

FileHandle::~FileHandle() {
  try {
    close();
  } catch (const std::exception&) {
    // Who needs to know has closed it before.
  }
}

void FileHandle::close() {
  if (handle_ != closed)
    fileSystem_->close(std::exchange(handle_, closed));
}

InputFile::InputFile(std::filesystem::path path)
    : path_(std::move(path)), fileSystem_(FileSystem::current()), file_(open()) {}

FileHandle InputFile::open() {
  try {
    // Looked at before it is opened, since opening a device can do something; and after, since it may have been
    // replaced.
    const auto found = fileSystem_.find(path_);
    if (!found)
      raise(FrameworkError::FileNotFound, path_);
    if (!found->regular)
      raise(FrameworkError::NotARegularFile, path_);
    FileHandle file(fileSystem_, fileSystem_.open(path_));
    const auto info = fileSystem_.info(file.get());
    if (!info.regular)
      raise(FrameworkError::NotARegularFile, path_);
    fingerprint_ = info.fingerprint;
    return file;
  } catch (const std::system_error& error) {
    if (error.code() == std::errc::no_such_file_or_directory)
      raise(FrameworkError::FileNotFound, path_);
    raise(FrameworkError::CannotRead, path_, reasonOf(error));
  }
}

bool InputFile::restart() {
  if (!std::exchange(isFresh_, true))
    file_.emplace(open());
  return true;
}

std::size_t InputFile::read(char* to, std::size_t size) {
  isFresh_ = false;
  try {
    return fileSystem_.read(file_->get(), to, size);
  } catch (const std::system_error& error) {
    raise(FrameworkError::CannotRead, path_, reasonOf(error));
  }
}

namespace {

/// A new file gets the access rights of `example`.
Fingerprint saveLike(const std::optional<FileInfo>& example, const std::filesystem::path& path,
                     const std::function<void(ByteSink&)>& write, const Expectation& expected,
                     const std::function<void(const std::filesystem::path&)>& check) {
  FileSystem& fileSystem = FileSystem::current();
  FileSystem::Path target;
  std::optional<FileInfo> old;
  std::optional<FileHandle> folder;
  std::optional<Temporary> temporary;
  Fingerprint fingerprint;
  try {
    target = fileSystem.followLinks(path);
    old = requireReplaceable(fileSystem, target, path, expected);
    folder.emplace(fileSystem, fileSystem.openFolder(target.has_parent_path() ? target.parent_path() : "."));
    temporary.emplace(fileSystem, target, old ? old : example);
  } catch (const std::system_error& error) {
    raiseNotWritten(path, old, error);
  }

  TemporarySink sink(*temporary, path, old);
  write(sink);

  try {
    fingerprint = temporary->finish();
  } catch (const std::system_error& error) {
    raiseNotWritten(path, old, error);
  }
  if (check)
    check(temporary->path());
  try {
    fileSystem.lock(folder->get());
    requireReplaceable(fileSystem, target, path, expected);
    temporary->moveTo(target);
  } catch (const std::system_error& error) {
    raiseNotWritten(path, old, error);
  }
  try {
    fileSystem.sync(folder->get());
  } catch (const std::system_error& error) {
    raise(FrameworkError::SavedButNotSynced, path, reasonOf(error));
  }
  return fingerprint;
}

bool holdTheSame(const FileSystem::Path& path, const FileSystem::Path& other) {
  InputFile file(path), otherFile(other);
  if (file.fingerprint().size != otherFile.fingerprint().size)
    return false;
  char bytes[1 << 14], otherBytes[sizeof bytes];
  while (const auto size = file.read(bytes, sizeof bytes)) {
    for (std::size_t have = 0; have < size;) {
      const auto more = otherFile.read(otherBytes, size - have);
      if (more == 0 || std::memcmp(bytes + have, otherBytes, more) != 0)
        return false;
      have += more;
    }
  }
  return true;
}

/// What a file held, under another name; removed by the destructor unless it is to be kept.
class Backup {
public:
  Backup(FileSystem& fileSystem, FileSystem::Path name) : fileSystem_(fileSystem), name_(std::move(name)) {}
  Backup(const Backup&) = delete;
  ~Backup() {
    try {
      if (isMade_ && !isNeeded_)
        fileSystem_.remove(name_);
    } catch (const std::exception&) {
      // What led here says more.
    }
  }

  void make(const FileSystem::Path& path) {
    const auto target = fileSystem_.followLinks(path);
    const auto old = fileSystem_.find(target);
    if (const auto there = fileSystem_.find(name_)) {
      // What stands there is whole: it got the name when everything was in it.
      const bool isBackup = old && there->regular && fileSystem_.followLinks(name_) == name_ &&
                            (there->fingerprint == old->fingerprint || holdTheSame(name_, target));
      if (!isBackup)
        raise(FrameworkError::BackupExists, name_);
      return;
    }
    try {
      fileSystem_.link(target, name_); // saving makes a new file, so the old one stays what it is
    } catch (const std::system_error& error) {
      if (error.code() == std::errc::file_exists)
        raise(FrameworkError::BackupExists, name_);
      copy(target, old);
    }
    isMade_ = true;
  }
  void sync() const {
    const FileHandle file(fileSystem_, fileSystem_.open(name_));
    fileSystem_.sync(file.get());
    const FileHandle folder(fileSystem_, fileSystem_.openFolder(name_.has_parent_path() ? name_.parent_path() : "."));
    fileSystem_.sync(folder.get());
  }
  void keep() { isNeeded_ = true; }

private:
  void copy(const FileSystem::Path& target, const std::optional<FileInfo>& old) const {
    const auto write = [&](ByteSink& sink) {
      InputFile file(target);
      char bytes[1 << 14];
      while (const auto size = file.read(bytes, sizeof bytes))
        sink.write({bytes, size});
    };
    try {
      saveLike(old, name_, write, Expectation::nothing(), {});
    } catch (const Error& error) {
      if (error.id() != FrameworkError::SavedButNotSynced) // which is tried again
        throw;
    }
  }

  FileSystem& fileSystem_;
  FileSystem::Path name_;
  bool isMade_ = false, isNeeded_ = false;
};

} // namespace

Fingerprint saveAtomically(const std::filesystem::path& path, const std::function<void(ByteSink&)>& write,
                           const Expectation& expected,
                           const std::function<void(const std::filesystem::path&)>& check) {
  return saveLike({}, path, write, expected, check);
}

void saveWithBackup(const std::filesystem::path& path, const std::filesystem::path& backup,
                    const std::function<void()>& save) {
  Backup kept(FileSystem::current(), backup);
  try {
    kept.make(path);
    kept.sync();
  } catch (const std::system_error& error) {
    raise(FrameworkError::CannotWrite, backup, reasonOf(error));
  }
  try {
    save();
  } catch (const Error& error) {
    if (error.id() == FrameworkError::SavedButNotSynced)
      kept.keep();
    throw;
  }
  kept.keep();
}

std::filesystem::path toPath(std::u16string_view text) { return toUtf8(text); }

} // namespace tavo
