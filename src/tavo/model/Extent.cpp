#include "tavo/model/Extent.h"

#include "tavo/core/Error.h"
#include "tavo/core/Errors.h"
#include "tavo/core/Pages.h"

#include <algorithm>

namespace tavo {
namespace {

constexpr std::size_t smallestChunk = 4;
constexpr std::size_t largestChunkBytes = 64 * 1024;

} // namespace

/// Internal access to the fields of a block that the pool manages.
struct ObjectAccess {
  static void setFree(ModelElement::Impl& object, ModelElement::Impl* next) {
    object.state_ = ObjectState::free;
    object.container_ = next;
  }
  static ModelElement::Impl* nextFree(const ModelElement::Impl& object) { return object.container_; }
};

namespace {

/// What stands in a block without an object, so that its state can be read.
class FreeBlock final : public ModelElement::Impl {
public:
  FreeBlock() : Impl(ObjectOrigin{Uuid{}, nullptr}) {}
};

} // namespace

Extent::Extent(ModelData* model, const MetaClass& metaClass)
    : ObjectHome{model, &metaClass},
      blockSize_(sizeof(ModelElement::Impl) + (metaClass.declaration().storageSize + 7) / 8 * 8),
      nextChunk_(smallestChunk) {}

void Extent::addChunk() {
  const std::size_t most = std::max(smallestChunk, largestChunkBytes / blockSize_);
  const std::size_t count = std::min(most, nextChunk_);
  chunks_.push_back({std::make_unique_for_overwrite<std::byte[]>(count * blockSize_), count});
  providePages(chunks_.back().memory.get(), count * blockSize_);
  nextChunk_ = count * 2;
  for (std::size_t i = count; i-- > 0;)
    putOnFreeList(chunks_.back().memory.get() + i * blockSize_);
}

void Extent::putOnFreeList(void* block) noexcept {
  auto* free = ::new (block) FreeBlock;
  ObjectAccess::setFree(*free, free_);
  free_ = free;
}

ModelElement::Impl* Extent::create(const Uuid& uuid) {
  if (!metaClass().declaration().construct)
    raise(FrameworkError::NoSuchType, metaClass().qualifiedName());
  if (!free_)
    addChunk();
  ModelElement::Impl* block = free_;
  ModelElement::Impl* next = ObjectAccess::nextFree(*block);
  ModelElement::Impl* object = nullptr;
  try {
    object = metaClass().declaration().construct(block, ObjectOrigin{uuid, this});
  } catch (...) { // a default value that could not be made
    free_ = next;
    putOnFreeList(block);
    throw;
  }
  free_ = next;
  ++used_;
  return object;
}

void Extent::release(ModelElement::Impl& object) noexcept {
  metaClass().declaration().destroyStorage(object);
  --used_;
  if (object.handles_ == 0) {
    putOnFreeList(&object);
    return;
  }
  object.state_ = ObjectState::zombie;
  object.container_ = nullptr;
  object.incoming_ = nullptr;
  ++zombies_;
}

void Extent::releaseZombie(ModelElement::Impl& object) noexcept {
  putOnFreeList(&object);
  --zombies_;
  if (!model() && zombies_ == 0)
    delete this;
}

void Extent::adopt(Extent& other) noexcept {
  for (auto& chunk : other.chunks_) {
    for (std::size_t i = 0; i < chunk.count; ++i)
      block(chunk, i).home_ = this;
    chunks_.push_back(std::move(chunk));
  }
  other.chunks_.clear();
  if (free_ && other.free_) {
    ModelElement::Impl* last = other.free_;
    while (ModelElement::Impl* next = ObjectAccess::nextFree(*last))
      last = next;
    ObjectAccess::setFree(*last, free_);
  }
  if (other.free_)
    free_ = std::exchange(other.free_, nullptr);
  used_ += std::exchange(other.used_, 0);
  zombies_ += std::exchange(other.zombies_, 0);
}

void Extent::orphan(std::unique_ptr<Extent> extent) noexcept {
  extent->forEach([&](ModelElement::Impl& object) { extent->release(object); });
  extent->ObjectHome::model = nullptr;
  if (extent->zombies_ > 0)
    extent.release(); // the last zombie deletes it
}

void ModelElement::Impl::releaseZombie() noexcept { Extent::of(*this).releaseZombie(*this); }

} // namespace tavo
