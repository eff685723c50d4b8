// The seam to the file system, reading through it, and saving so that a failure leaves the old file whole.
#pragma once

#include "tavo/Export.h"
#include "tavo/io/Bytes.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string_view>
#include <utility>

namespace tavo {

/// What a file was like at one moment. Two that are equal mean, as far as a file system can tell, that nobody has
/// written the file in between.
struct Fingerprint {
  std::uint64_t device = 0;
  std::uint64_t inode = 0;
  std::uint64_t size = 0;
  std::int64_t seconds = 0; ///< of the last change of the content
  std::int64_t nanoseconds = 0;

  friend bool operator==(const Fingerprint&, const Fingerprint&) = default;
};

struct FileInfo {
  bool regular = false;
  std::uint32_t mode = 0; ///< permission bits
  std::uint32_t owner = 0;
  std::uint32_t group = 0;
  Fingerprint fingerprint;
};

/// The calls that the framework makes to the file system. Every one of them reports failure as std::system_error of the
/// generic category; the functions below turn these into errors with the file's name. A test installs one that fails
/// where it wants to.
class TAVO_EXPORT FileSystem {
public:
  using Handle = int;
  using Path = std::filesystem::path;

  virtual ~FileSystem() = default;

  /// About what a path leads to, links followed; nothing when there is no such file.
  virtual std::optional<FileInfo> find(const Path& path) = 0;
  /// Where the links lead that the last part of a path consists of; the path itself when it is none.
  virtual Path followLinks(const Path& path) = 0;

  /// Opens for reading and never waits, whatever the path leads to.
  virtual Handle open(const Path& path) = 0;
  /// Creates a file for writing that is going to have a path which nothing has yet; the mode is subject to the
  /// process's mask. Where it can, the file has no name until `giveName`, so that it is gone when the process is killed
  /// before.
  virtual Handle create(const Path& path, std::uint32_t mode) = 0;
  /// Gives a file that was created for that path its name, unless it has it.
  virtual void giveName(Handle file, const Path& path) = 0;
  /// Opens a folder, to be locked and synced.
  virtual Handle openFolder(const Path& folder) = 0;
  /// Keeps others who lock the folder waiting until it is closed. Nothing relies on it alone: where locking is not
  /// possible, or somebody keeps the folder locked for seconds, it returns all the same.
  virtual void lock(Handle folder) noexcept = 0;
  virtual FileInfo info(Handle file) = 0;
  /// Up to `size` bytes; none at the end.
  virtual std::size_t read(Handle file, char* to, std::size_t size) = 0;
  /// How many bytes were taken, at least one.
  virtual std::size_t write(Handle file, std::string_view bytes) = 0;
  /// Gives a file the mode of another and, where the process may, its owner and group.
  virtual void copyAccess(Handle file, const FileInfo& from) = 0;
  /// Returns when the content of a file, or the names in a folder, are on the disk.
  virtual void sync(Handle file) = 0;
  /// The handle is gone, whether or not this raises.
  virtual void close(Handle file) = 0;

  virtual void rename(const Path& from, const Path& to) = 0;
  /// Gives a file a second name, which nothing has yet. Not every file system can, nor between any two folders.
  virtual void link(const Path& file, const Path& name) = 0;
  virtual void remove(const Path& path) = 0;
  /// The file system of the process: the operating system's, unless another one is installed.
  static FileSystem& current();
  static FileSystem& operatingSystem();
};

/// Installs a file system as long as it lives; they nest.
class TAVO_EXPORT ScopedFileSystem {
public:
  explicit ScopedFileSystem(FileSystem& fileSystem);
  ScopedFileSystem(const ScopedFileSystem&) = delete;
  ScopedFileSystem& operator=(const ScopedFileSystem&) = delete;
  ~ScopedFileSystem();

private:
  FileSystem* before_;
};

/// Something open, that the destructor closes; what goes wrong with that is not reported.
class TAVO_EXPORT FileHandle {
public:
  FileHandle(FileSystem& fileSystem, FileSystem::Handle open) : fileSystem_(&fileSystem), handle_(open) {}
  FileHandle(FileHandle&& other) noexcept
      : fileSystem_(other.fileSystem_), handle_(std::exchange(other.handle_, closed)) {}
  FileHandle& operator=(FileHandle&&) = delete;
  ~FileHandle();

  FileSystem::Handle get() const { return handle_; }
  /// Closes now and raises std::system_error when that fails, which can mean that what was written is lost.
  void close();

private:
  static constexpr FileSystem::Handle closed = -1;
  FileSystem* fileSystem_;
  FileSystem::Handle handle_;
};

/// A regular file that is being read.
class TAVO_EXPORT InputFile final : public ByteSource {
public:
  /// Raises FileNotFound, NotARegularFile (a folder, a device, a pipe; without waiting for one) or CannotRead.
  explicit InputFile(std::filesystem::path path);

  /// Raises CannotRead.
  std::size_t read(char* to, std::size_t size) override;
  /// Opens the file again, unless nothing of it has been read yet; raises what the constructor raises.
  bool restart() override;

  const std::filesystem::path& path() const { return path_; }
  /// What the file was like when it was last opened: keep it for saveAtomically.
  const Fingerprint& fingerprint() const { return fingerprint_; }

private:
  FileHandle open();

  std::filesystem::path path_;
  FileSystem& fileSystem_;
  Fingerprint fingerprint_;
  std::optional<FileHandle> file_;
  bool isFresh_ = true; ///< nothing has been read
};

/// What may stand where a file is to be saved.
class Expectation {
public:
  /// Whatever is there may be replaced.
  static Expectation anything() { return Expectation(Kind::anything, {}); }
  /// There must be no file yet.
  static Expectation nothing() { return Expectation(Kind::nothing, {}); }
  /// The file must be the one that was read, or saved, before.
  static Expectation unchanged(const Fingerprint& since) { return Expectation(Kind::unchanged, since); }

  bool holdsFor(const std::optional<FileInfo>& present) const {
    if (kind_ == Kind::anything)
      return true;
    return kind_ == Kind::nothing ? !present : present && present->fingerprint == since_;
  }

private:
  enum class Kind { anything, nothing, unchanged };
  Expectation(Kind kind, const Fingerprint& since) : kind_(kind), since_(since) {}

  Kind kind_;
  Fingerprint since_;
};

/// Replaces the file by what `write` gives, whole or not at all, and returns what the new file is like.
///
/// The bytes go to a temporary file in the same folder, which has the old file's mode; it is synced, renamed over the
/// old file, and the folder is synced. Links are followed, so a link stays a link. When anything fails before the
/// renaming, the old file is as it was and the temporary one is gone (only a process that is killed in the last moment,
/// or on a file system without unnamed files, leaves ".tavo-*.tmp"): what `write` raises passes through, failures of
/// the file system are CannotWrite (a full disk says so), as is a file that is write-protected, and what is no regular
/// file is NotARegularFile. SavedButNotSynced means that the new file is in place, but the folder could not be synced.
///
/// FileChangedOnDisk is raised when the expectation does not hold, before writing or directly before renaming. The
/// folder is locked from that last look to the renaming: of two that save by this function, one comes first and the
/// other one notices. A program that knows nothing of the lock can still slip in.
///
/// `check`, where given, is called with the path of the temporary file once it is on the disk, and may read it; what it
/// raises passes through like what `write` raises.
TAVO_EXPORT Fingerprint saveAtomically(const std::filesystem::path& path, const std::function<void(ByteSink&)>& write,
                                       const Expectation& expected = Expectation::anything(),
                                       const std::function<void(const std::filesystem::path&)>& check = {});

/// Calls `save`, which replaces a file, while what it holds now is kept beside it under another name: the old file
/// itself, or where that cannot have two names, a copy with its mode. The backup is on the disk before `save` is
/// called; it is removed again when `save` raises, unless that says that the new file is in place.
///
/// Raises BackupExists when something else has that name already. The old file itself may have it, or one that holds
/// the same, as after an attempt that was killed; such a one stays, also when `save` raises.
TAVO_EXPORT void saveWithBackup(const std::filesystem::path& path, const std::filesystem::path& backup,
                                const std::function<void()>& save);

/// The path that a text names; raises InvalidUtf16 where it can name none.
TAVO_EXPORT std::filesystem::path toPath(std::u16string_view text);

} // namespace tavo
