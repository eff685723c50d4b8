// The root of all model classes: the handle (facade) and the object behind it.
#pragma once

#include "tavo/Export.h"
#include "tavo/core/Uuid.h"

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <new>
#include <optional>
#include <utility>
#include <vector>

namespace tavo {

struct ClassDecl;
class Extent;
class ItemList;
struct Link;
struct LoneLink;
class MetaClass;
class MetaProperty;
class Model;
class ModelData;
class UndoLog;
class Value;

/// The index of a property; it means the same property in a class and all its subclasses.
using PropertyIndex = std::uint16_t;

/// Where an object is at home: the part of its extent that every access goes through.
struct ObjectHome {
  ModelData* model; ///< null once the model is gone
  const MetaClass* metaClass;
};

/// What a new object is born with: an identity and its home.
struct ObjectOrigin {
  Uuid uuid;
  ObjectHome* home;
};

/// What a proxy to an object has to remember in order to find it again.
struct ElementProxy {
  Uuid uuid{};
  const MetaClass* metaClass = nullptr;
  explicit operator bool() const { return metaClass != nullptr; }
};

/// What gives a new object the values that it is born with: attributes only, written straight into its storage before
/// it has its place in the model, so they are no changes that anybody hears of or that the history keeps. It refers to
/// a function that has to outlive it, and may be empty.
class Birth;

/// A counted handle to one model object; every facade derives from it and adds nothing but operations.
///
/// A handle may be empty. It is false when it is empty and when its object has been destroyed; any other use of such a
/// handle raises NonExistentObject. When undo revives the object, its handles are true again. Counts are not atomic: a
/// model and its handles live on one thread. A handle does not keep its object's model alive.
class TAVO_EXPORT ModelElement {
public:
  class Impl;
  /// The builders of query terms; see tavo/query/Query.h.
  class Constrainables;

  ModelElement() noexcept = default;
  explicit ModelElement(Impl* object) noexcept;
  ModelElement(const ModelElement& other) noexcept;
  ModelElement(ModelElement&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
  ModelElement& operator=(ModelElement other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }
  ~ModelElement();

  /// True when there is a live object.
  explicit operator bool() const noexcept;
  /// Whether both are handles of one object (or both empty), alive or not.
  friend bool operator==(const ModelElement& a, const ModelElement& b) noexcept { return a.object_ == b.object_; }

  static const ClassDecl& declaration();
  static const MetaClass& metaClass();

  const tavo::Uuid& Uuid() const;
  Model model() const;
  /// The class of the object itself, which may be a subclass of the facade's.
  const MetaClass& objectClass() const;
  bool isA(const MetaClass& metaClass) const;
  /// The object that contains this one; empty for a top-level object.
  ModelElement container() const;
  /// A stand-in for an object that is not in the model: it has an identity and a class and cannot be written.
  bool isProxy() const;
  /// What a proxy to this object would hold.
  ElementProxy elemProxy() const;
  /// Destroys the object with all that it contains and clears every reference to and from it, as one change.
  void destroy() const;

  Value getPropertyValue(const MetaProperty& property) const;
  void setPropertyValue(const MetaProperty& property, const Value& value) const;
  bool hasPropertyValue(const MetaProperty& property) const;

  /// The object as a `Facade`, or an empty handle when it has not that class (or the handle is empty).
  template <class Facade>
  Facade as() const {
    return object_ && isAlive() && isA(Facade::metaClass()) ? Facade(object_) : Facade();
  }
  /// The same; raises CannotCastIncompatibleTypes when the object has not that class.
  template <class Facade>
  Facade cast() const {
    if (!isA(Facade::metaClass()))
      raiseBadCast(Facade::metaClass());
    return Facade(object_);
  }

  /// The object; raises NonExistentObject.
  Impl& object() const {
    if (!object_ || !isAlive())
      raiseNonExistent();
    return *object_;
  }
  /// The object in whatever state, or null: for comparing and for the framework.
  Impl* get() const noexcept { return object_; }

  void swap(ModelElement& other) noexcept { std::swap(object_, other.object_); }
  friend void swap(ModelElement& a, ModelElement& b) noexcept { a.swap(b); }

protected:
  /// For generated accessors: the object as the class's own Impl.
  template <class ImplType>
  ImplType& impl() const {
    return static_cast<ImplType&>(object());
  }

private:
  bool isAlive() const noexcept;
  [[noreturn]] void raiseNonExistent() const;
  [[noreturn]] void raiseBadCast(const MetaClass& wanted) const;

  Impl* object_ = nullptr;
};

/// The state of an object's block.
enum class ObjectState : std::uint8_t {
  free,   ///< no object
  alive,  ///< in the model
  dead,   ///< destroyed, and kept whole by the undo log
  zombie, ///< gone; only the root of the block is left, because handles still count on it
};

/// The object itself: a root of 64 bytes, followed in the same block by the storage of its features. `Impl` classes add
/// operations, never data; state that is neither saved nor undone is a `runtime` feature of the storage.
class TAVO_EXPORT ModelElement::Impl {
public:
  /// The features' values; each class's Storage derives from its base class's.
  struct Storage {};
  /// The feature values of an object that does not exist yet; see tavo/meta/Builder.h.
  class BuilderImpl;
  /// The properties of this class, inherited ones included.
  static constexpr PropertyIndex propertyCount = 0;

  explicit Impl(const ObjectOrigin& origin) noexcept : uuid_(origin.uuid), home_(origin.home) {}
  Impl(const Impl&) = delete;
  Impl& operator=(const Impl&) = delete;

  ModelElement This() { return ModelElement(this); }
  /// A handle that a view of a constant object keeps.
  ModelElement handle() const { return ModelElement(const_cast<Impl*>(this)); }
  /// Whether setters run their hooks: not while the framework itself writes the model.
  bool runsHooks() const;
  const tavo::Uuid& uuid() const { return uuid_; }
  Model model() const;
  ModelData& data() const { return *home_->model; }
  const MetaClass& objectClass() const { return *home_->metaClass; }
  bool isA(const MetaClass& metaClass) const;
  ObjectState state() const { return state_; }
  bool isAlive() const { return state_ == ObjectState::alive; }
  bool isProxy() const { return isProxy_; }

  Impl* container() const { return container_; }
  /// Whether a reference without an opposite end leads here.
  bool isReferredTo() const { return incoming_ != nullptr; }
  /// The objects that lead here through a reference without an opposite end, in the order in which that was made.
  std::vector<ModelElement> referrers(const MetaProperty& reference) const;
  /// The feature of the container that holds this object; null for a top-level object.
  const MetaProperty* containingProperty() const;

  // Reflection. A property of another class raises NoSuchProperty, a value of the wrong type InvalidValue.

  const MetaProperty& getPropertyByIndex(PropertyIndex index) const;
  /// The value: a copy for values, a handle for to-one features, a vector of handles for to-many ones.
  Value getPropertyValue(const MetaProperty& property) const;
  /// Does what the setter does, with its hook and whatever overrides it; raises CannotSetReadOnlyProperty for what is
  /// read-only or derived. While the framework itself writes, the value is stored as it is.
  void setPropertyValue(const MetaProperty& property, const Value& value);
  /// Whether the feature differs from its default: an attribute that was set, a collection that is not empty.
  bool hasPropertyValue(const MetaProperty& property) const;
  /// The value of an attribute before the running transaction (the present one outside).
  Value getOldValue(const MetaProperty& property) const;

  // Life. `doDestroy` is what ModelElement::destroy does.

  /// Runs before the object is destroyed by a call (never in undo), on each object of the tree, owners first.
  virtual void aboutToDestroy() {}
  /// Destroys the object, with `withHooks` after running aboutToDestroy; without `withContents` its children become
  /// top-level first.
  void doDestroy(bool withHooks = true, bool withContents = true);
  /// Clears every reference to this object, and those from it.
  void disassociateIncoming();
  void basicDisassociateAll();
  /// Creates the children that a builder holds; called once, right after creation.
  void cascadeCreation(const BuilderImpl& builder);

  // Opposite ends, for code that works over the metamodel: what adding or removing at the other end would do.

  void inverseAdd(Impl& element, const MetaProperty& property);
  void inverseRemove(Impl& element, const MetaProperty& property);
  /// Whether `property`, a to-many feature of this object, already holds a stand-in of the identity of `element`.
  bool inverseContainsProxyTo(const Impl& element, const MetaProperty& property) const;

  // The generic forms of all generated accessors.

  template <class StorageType>
  StorageType& storageAs() {
    return *std::launder(reinterpret_cast<StorageType*>(reinterpret_cast<std::byte*>(this) + sizeof(Impl)));
  }
  template <class StorageType>
  const StorageType& storageAs() const {
    return const_cast<Impl*>(this)->storageAs<StorageType>();
  }
  void* field(const MetaProperty& property);
  const void* field(const MetaProperty& property) const { return const_cast<Impl*>(this)->field(property); }

  /// Raises what keeps the feature from being written, whatever the value: NonExistentObject, ModelFrozen or
  /// CannotModifyProxy. Comes before a hook, which then runs for objects only that can be changed.
  void requireWritable(const MetaProperty& property) const;
  /// Writes an attribute; the value at `value` (of the attribute's datatype) is taken. Writing what is there already is
  /// no change.
  void writeAttribute(const MetaProperty& property, void* value);
  /// The same with a value of the attribute's type.
  template <class T>
  void writeValue(const MetaProperty& property, T value) {
    writeAttribute(property, &value);
  }
  /// The object in a to-one feature (containment, reference or container), or null.
  Impl* one(const MetaProperty& property) const;
  /// Sets a to-one feature. Null clears a reference, and takes a child out of a containment: it becomes top-level.
  /// Another child is CannotAddSecondObject while there is one.
  void setOne(const MetaProperty& property, Impl* target);
  /// The list of a to-many feature; null while it is empty.
  ItemList* items(const MetaProperty& property) const;
  /// Adds to a containment or a reference, for sequences before the given position (default: the end); a to-one
  /// reference takes the item in place of what it has.
  void add(const MetaProperty& property, Impl* item, std::size_t position = static_cast<std::size_t>(-1));
  /// Takes an item out of such a feature: a contained object becomes top-level. Nothing when it is not in there.
  void remove(const MetaProperty& property, Impl* item);
  /// Destroys the child of a to-one containment, if there is one, and puts another in, as one change.
  void replace(const MetaProperty& property, Impl* child);
  /// Whether any containment holds something.
  bool hasContents() const;
  /// Creates an object directly in a containment of this one, with the features that the builder holds. A nil identity
  /// asks for the derived one of a class that has such, else for a random one.
  Impl* createInto(const MetaProperty& property, const BuilderImpl& builder, const tavo::Uuid& uuid = {});
  /// The same with what an object of that class is born with. `key` is what it will be known by in a map that is keyed
  /// by identities; its own identity may follow from that.
  Impl* createInto(const MetaProperty& property, const MetaClass& metaClass, const Birth& birth,
                   const tavo::Uuid& key = {});

  void addRef() noexcept { ++handles_; }
  void removeRef() noexcept {
    if (--handles_ == 0 && state_ == ObjectState::zombie)
      releaseZombie();
  }

protected:
  ~Impl() = default;

private:
  friend class ModelElement;
  friend class Extent;
  friend class IdentityIndex;
  friend class ItemList;
  friend class LinkPool;
  friend class ModelData;
  friend class UndoLog;
  friend void checkInvariants(const Model& model);
  friend struct ObjectAccess;

  void releaseZombie() noexcept;
  void requireRoomFor(const MetaProperty& property, const MetaClass& metaClass) const;
  /// The identity that a child takes from its place; nil where there is none.
  tavo::Uuid placeIdentity(const MetaProperty& property, const MetaClass& metaClass, const tavo::Uuid& key) const;

  tavo::Uuid uuid_;
  ObjectHome* home_;
  Impl* container_ = nullptr;
  LoneLink* incoming_ = nullptr; ///< references to this object whose feature has no opposite
  std::uint32_t slot_ = 0;       ///< where the container's list (or the model's list of top-level objects) holds it
  std::uint32_t handles_ = 0;
  PropertyIndex containing_ = 0; ///< index of the containing feature in the container's class
  ObjectState state_ = ObjectState::alive;
  bool isProxy_ : 1 = false;
  bool isPlaced_ : 1 = false; ///< in a list: of its container, or of the top-level objects
};
static_assert(sizeof(ModelElement::Impl) <= 64);

class Birth {
public:
  Birth() = default;
  template <class Function>
  Birth(const Function& function)
      : function_(&function),
        call_([](const void* f, ModelElement::Impl& object) { (*static_cast<const Function*>(f))(object); }) {}

  void operator()(ModelElement::Impl& object) const {
    if (call_)
      call_(function_, object);
  }

private:
  const void* function_ = nullptr;
  void (*call_)(const void* function, ModelElement::Impl& object) = nullptr;
};

inline ModelElement::ModelElement(Impl* object) noexcept : object_(object) {
  if (object_)
    object_->addRef();
}
inline ModelElement::ModelElement(const ModelElement& other) noexcept : ModelElement(other.object_) {}
inline ModelElement::~ModelElement() {
  if (object_)
    object_->removeRef();
}
inline bool ModelElement::isAlive() const noexcept { return object_->isAlive(); }
inline ModelElement::operator bool() const noexcept { return object_ && object_->isAlive(); }
inline const tavo::Uuid& ModelElement::Uuid() const { return object().uuid(); }
inline bool ModelElement::isProxy() const { return object().isProxy(); }

/// A reference: known at both ends. The source's feature holds it; the target finds it through its twin (when the
/// feature has an opposite) or through its chain of incoming links (when not). Twins lie side by side, and what one
/// leads from the other one leads to.
struct Link {
  ModelElement::Impl* target = nullptr;
  std::uint32_t slot = 0;
  PropertyIndex property = 0;
  bool paired = false;
  bool linked = false;

  const MetaProperty& feature() const;
  ModelElement::Impl* source() const;
  Link* twin() const {
    return paired ? reinterpret_cast<Link*>(reinterpret_cast<std::uintptr_t>(this) ^ sizeof(Link)) : nullptr;
  }
};

struct alignas(2 * sizeof(Link)) LinkPair {
  Link ends[2];
};

/// A reference without an opposite, in the chain of those that lead to its target.
struct LoneLink : Link {
  ModelElement::Impl* from = nullptr;
  LoneLink* previous = nullptr;
  LoneLink* next = nullptr;
};
static_assert(sizeof(LinkPair) == 32 && sizeof(LoneLink) == 40);

inline ModelElement::Impl* Link::source() const {
  return paired ? twin()->target : static_cast<const LoneLink*>(this)->from;
}

/// The features of a class as generated storages hold them.
struct TAVO_EXPORT ListField {
  ItemList* list = nullptr;

  ListField() noexcept = default;
  ListField(const ListField&) = delete;
  ListField& operator=(const ListField&) = delete;
  ~ListField();
};
using ChildField = ModelElement::Impl*;
using LinkField = Link*;

/// What a reference to one object leads to, or null.
inline ModelElement::Impl* targetOf(const Link* link) { return link ? link->target : nullptr; }

} // namespace tavo
