// The objects of one class in one model: a pool of equal blocks, which is also what queries run over.
#pragma once

#include "tavo/meta/MetaRegistry.h"
#include "tavo/model/ModelElement.h"

#include <memory>
#include <vector>

namespace tavo {

/// Internal. Blocks never move. An extent outlives its model for as long as handles count on blocks of it.
class Extent : private ObjectHome {
public:
  Extent(ModelData* model, const MetaClass& metaClass);
  Extent(const Extent&) = delete;
  Extent& operator=(const Extent&) = delete;

  /// Null once the model is gone.
  ModelData* model() const { return ObjectHome::model; }
  const MetaClass& metaClass() const { return *ObjectHome::metaClass; }
  /// The extent that an object belongs to.
  static Extent& of(const ModelElement::Impl& object) { return *static_cast<Extent*>(object.home_); }
  /// Objects that are alive or dead (kept by the log).
  std::size_t size() const { return used_; }

  /// Constructs an object; may raise, and then nothing has changed.
  ModelElement::Impl* create(const Uuid& uuid);
  /// Destroys an object's storage and frees its block, at once or when its last handle lets go.
  void release(ModelElement::Impl& object) noexcept;
  void releaseZombie(ModelElement::Impl& object) noexcept;

  /// Calls `visit(object)` for each block that holds an object, alive or dead, in the order of memory. It may create
  /// and destroy objects; whether it sees new ones is open. Where it answers, false ends the walk, and then the extent
  /// may be gone.
  template <class Visit>
  void forEach(const Visit& visit) const {
    for (std::size_t c = 0; c < chunks_.size(); ++c)
      for (std::size_t i = 0; c < chunks_.size() && i < chunks_[c].count; ++i) {
        ModelElement::Impl& object = block(chunks_[c], i);
        if (object.state() != ObjectState::alive && object.state() != ObjectState::dead)
          continue;
        if constexpr (std::is_void_v<decltype(visit(object))>)
          visit(object);
        else if (!visit(object))
          return;
      }
  }

  /// Takes over all blocks of an extent of the same class in another model; `reserveAdoption` has made the room.
  void adopt(Extent& other) noexcept;
  void reserveAdoption(const Extent& other) { chunks_.reserve(chunks_.size() + other.chunks_.size()); }
  /// The end of the model: destroys all objects; deletes the extent itself now or with its last zombie.
  static void orphan(std::unique_ptr<Extent> extent) noexcept;

private:
  struct Chunk {
    std::unique_ptr<std::byte[]> memory;
    std::size_t count;
  };

  ModelElement::Impl& block(const Chunk& chunk, std::size_t index) const {
    return *std::launder(reinterpret_cast<ModelElement::Impl*>(chunk.memory.get() + index * blockSize_));
  }
  void addChunk();
  void putOnFreeList(void* block) noexcept;

  std::size_t blockSize_;
  std::vector<Chunk> chunks_;
  std::size_t nextChunk_; ///< blocks of the next chunk
  ModelElement::Impl* free_ = nullptr;
  std::size_t used_ = 0;
  std::size_t zombies_ = 0;
};

} // namespace tavo
