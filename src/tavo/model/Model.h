// Models: containers of objects with transactions, undo and listeners.
#pragma once

#include "tavo/core/Action.h"
#include "tavo/core/String.h"
#include "tavo/model/ModelElement.h"

#include <functional>
#include <memory>
#include <span>
#include <vector>

namespace tavo {

class ChangeSet;
class Constellation;
enum class Recording : std::uint8_t;

/// Unregisters its listener when it is destroyed. May outlive the model.
class TAVO_EXPORT ListenerToken {
public:
  ListenerToken() noexcept = default;
  ListenerToken(ListenerToken&&) noexcept = default;
  ListenerToken& operator=(ListenerToken&& other) noexcept;
  ~ListenerToken();

  explicit operator bool() const noexcept { return entry_ != nullptr; }
  void reset() noexcept;

  struct Entry;

private:
  friend class Model;
  explicit ListenerToken(std::shared_ptr<Entry> entry) noexcept : entry_(std::move(entry)) {}
  std::shared_ptr<Entry> entry_;
};

/// Internal. What handles share with the model that they hold.
struct ModelHandles {
  std::size_t handles = 0;
};

/// A counted handle to a model. The model ends when it is destroyed or when its last Model handle is dropped; the
/// handles of its objects are false from then on. A model and everything in it belong to one thread.
class TAVO_EXPORT Model {
public:
  /// An empty handle; tests false, like the handle of a model that has been destroyed.
  Model() noexcept = default;
  explicit Model(ModelData* data) noexcept;
  Model(const Model& other) noexcept : data_(other.data_) {
    if (data_)
      ++data_->handles;
  }
  Model(Model&& other) noexcept : data_(std::exchange(other.data_, nullptr)) {}
  Model& operator=(Model other) noexcept {
    std::swap(data_, other.data_);
    return *this;
  }
  ~Model() {
    if (data_ && data_->handles > 1)
      --data_->handles;
    else if (data_)
      dropLast();
  }

  /// A new, empty model in the process's constellation.
  static Model create();
  static Model create(Constellation& constellation);

  explicit operator bool() const noexcept;
  friend bool operator==(const Model& a, const Model& b) noexcept { return a.data_ == b.data_; }

  /// Ends the model with all its objects; nothing when it has ended already.
  void destroy() const noexcept;

  /// Creates a top-level object; a nil identity asks for a random one. Raises CannotCreateWithoutModel for an empty
  /// handle, NoSuchType for an abstract class, DuplicateIdentity when a live object has the identity.
  ModelElement create(const MetaClass& metaClass, const Uuid& uuid = {}, const Birth& birth = {}) const;
  template <class Facade>
  Facade create(const Uuid& uuid = {}) const {
    return create(Facade::metaClass(), uuid).template as<Facade>();
  }
  /// A stand-in for an object of that class and identity that is not in this model. It may be referred to but not
  /// written.
  ModelElement createProxy(const MetaClass& metaClass, const Uuid& uuid) const;

  /// The object of that identity, or an empty handle; stand-ins are not found.
  ModelElement find(const Uuid& uuid) const;
  template <class Facade>
  Facade find(const Uuid& uuid) const {
    return find(uuid).template as<Facade>();
  }

  /// Says that an object of that identity is going to be looked for, or made, soon: where there are a million of them,
  /// its place in memory can be on its way by then.
  void foresee(const Uuid& uuid) const;

  /// The top-level objects, in the model's order.
  std::vector<ModelElement> topLevel() const;
  /// The first top-level object that has the class, or an empty handle. Cheap where the class has few objects.
  template <class Facade>
  Facade findTopLevel() const {
    return ModelElement(findTopLevel(Facade::metaClass())).template as<Facade>();
  }
  std::size_t objectCount() const;

  /// Moves all contents of this model into another, handles included; both histories forget what they can no longer
  /// take back: this model's is cleared, in the target the arrival is one change. Stand-ins on either side give way to
  /// the objects they stand for. Raises DuplicateIdentity, or UniquenessConstraint where an object cannot take the
  /// place of its stand-in in a map, and MoveInsideTransaction, before anything has moved.
  void moveContentsTo(const Model& target) const;

  /// Whether changes are accepted: unless the host has frozen the model.
  bool isOpenForWriting() const;
  void setFrozen(bool frozen) const;
  /// Above zero while the framework itself writes the model: loading, evolution, undo.
  unsigned frameworkUpdateDepth() const;

  bool canUndo() const;
  bool canRedo() const;
  /// Takes back, or makes again, one step: one outermost transaction. False when there is none. Raises
  /// UndoInsideTransaction.
  bool undo() const;
  bool redo() const;
  /// The number, unique in the process and ascending, of the step that undo() or redo() would take next; 0 for none.
  std::uint64_t undoSerial() const;
  std::uint64_t redoSerial() const;
  /// How many steps are kept; 0 for none. The initial depth is 1000.
  std::size_t undoDepth() const;
  void setUndoDepth(std::size_t steps) const;
  void clearHistory() const;
  /// Records written since the model was made.
  std::uint64_t recordsWritten() const;

  /// `listener` hears one change set per outermost commit, undo and redo. It may change the model: what it changes
  /// joins the same step, and is announced in a further round. An exception from it is reported (see
  /// setListenerErrorHandler) and stops nothing.
  [[nodiscard]] ListenerToken addListener(std::function<void(const ChangeSet&)> listener) const;
  /// The same for listeners that need not know what changed.
  [[nodiscard]] ListenerToken addShallowListener(std::function<void()> listener) const;

  /// Runs `action` once what has been changed so far is committed for good, right after the outermost transaction (at
  /// once without one); never, when it is rolled back. An exception from it is reported like a listener's.
  void afterCommit(Action action) const;
  /// `action` runs when the model has ended, for what others keep beside it. It must not raise.
  void atEnd(std::function<void()> action) const;

  /// What the model is called in messages; empty by default.
  const String& name() const;
  void setName(const String& name) const;
  Constellation& constellation() const;

  /// The model behind the handle; raises CannotCreateWithoutModel when there is none.
  ModelData& data() const;
  ModelData* get() const noexcept;

private:
  ModelElement::Impl* findTopLevel(const MetaClass& metaClass) const;
  void dropLast() noexcept;

  ModelHandles* data_ = nullptr;
};

/// The models among which proxies are resolved: one for the process by default. It knows its models, and does not keep
/// them alive.
class TAVO_EXPORT Constellation {
public:
  Constellation() = default;
  Constellation(const Constellation&) = delete;
  Constellation& operator=(const Constellation&) = delete;
  ~Constellation();

  static Constellation& process();
  std::vector<Model> models() const;
  /// Takes a model over from the constellation that it is in.
  void adopt(const Model& model);

private:
  friend class ModelData;
  std::vector<ModelData*> models_;
};

/// Marks, while it lives, that the framework itself is writing the model: hooks do not run.
class TAVO_EXPORT FrameworkUpdate {
public:
  explicit FrameworkUpdate(const Model& model);
  FrameworkUpdate(const FrameworkUpdate&) = delete;
  FrameworkUpdate& operator=(const FrameworkUpdate&) = delete;
  ~FrameworkUpdate();

private:
  Model model_;
};

/// Marks, while it lives, that a model only follows what happens elsewhere: what is written leaves no history and wakes
/// no listener. For values of attributes; for a model that is not in the middle of its own undo.
class TAVO_EXPORT UnloggedUpdate {
public:
  explicit UnloggedUpdate(const Model& model);
  UnloggedUpdate(const UnloggedUpdate&) = delete;
  UnloggedUpdate& operator=(const UnloggedUpdate&) = delete;
  ~UnloggedUpdate();

private:
  Model model_;
  Recording before_;
};

/// What happens with an exception of a listener, and with listeners that never come to rest. The default prints it to
/// the standard error.
using ListenerErrorHandler = std::function<void(const std::exception& error)>;
TAVO_EXPORT void setListenerErrorHandler(ListenerErrorHandler handler);

/// Raises std::logic_error with a description when the model's inner books do not agree: identities, containers,
/// opposites, keys, orders, counters.
TAVO_EXPORT void checkInvariants(const Model& model);

} // namespace tavo
