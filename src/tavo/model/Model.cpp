#include "tavo/model/Model.h"

#include "tavo/core/Errors.h"
#include "tavo/model/ModelData.h"

namespace tavo {

// Listeners

ListenerToken& ListenerToken::operator=(ListenerToken&& other) noexcept {
  if (this != &other) {
    reset();
    entry_ = std::move(other.entry_);
  }
  return *this;
}

ListenerToken::~ListenerToken() { reset(); }

void ListenerToken::reset() noexcept {
  if (const auto entry = std::move(entry_))
    entry->stop();
}

// Models

Model::Model(ModelData* data) noexcept : data_(data) {
  if (data_)
    ++data_->handles;
}

ModelData* Model::get() const noexcept { return static_cast<ModelData*>(data_); }
void Model::dropLast() noexcept { get()->dropLastHandle(); }

Model Model::create() { return create(Constellation::process()); }
Model Model::create(Constellation& constellation) { return Model(new ModelData(&constellation)); }

Model::operator bool() const noexcept { return data_ && get()->isOpen(); }

void Model::destroy() const noexcept {
  if (data_)
    get()->close();
}

ModelData& Model::data() const {
  if (!*this)
    raise(FrameworkError::CannotCreateWithoutModel, "ModelElement");
  return *get();
}

ModelElement Model::create(const MetaClass& metaClass, const Uuid& uuid, const Birth& birth) const {
  if (!*this)
    raise(FrameworkError::CannotCreateWithoutModel, metaClass.name());
  return ModelElement(get()->create(metaClass, uuid, nullptr, nullptr, false, birth));
}

ModelElement Model::createProxy(const MetaClass& metaClass, const Uuid& uuid) const {
  return ModelElement(data().create(metaClass, uuid, nullptr, nullptr, true));
}

ModelElement Model::find(const Uuid& uuid) const {
  ModelElement::Impl* object = data().find(uuid);
  return ModelElement(object && !object->isProxy() ? object : nullptr);
}

void Model::foresee(const Uuid& uuid) const { data().foresee(uuid); }

std::vector<ModelElement> Model::topLevel() const {
  ItemList& list = data().topLevel();
  std::vector<ModelElement> objects;
  objects.reserve(list.size());
  for (void* item = list.first(); item; item = list.nextOf(item))
    objects.emplace_back(static_cast<ModelElement::Impl*>(item));
  return objects;
}

ModelElement::Impl* Model::findTopLevel(const MetaClass& metaClass) const { return data().findTopLevel(metaClass); }

std::size_t Model::objectCount() const { return data().objectCount(); }
void Model::moveContentsTo(const Model& target) const { target.data().adoptContents(data()); }

bool Model::isOpenForWriting() const { return *this && get()->isOpenForWriting(); }
void Model::setFrozen(bool frozen) const { data().setFrozen(frozen); }
unsigned Model::frameworkUpdateDepth() const { return data().frameworkUpdateDepth(); }

bool Model::canUndo() const { return data().log().canUndo(); }
bool Model::canRedo() const { return data().log().canRedo(); }

bool Model::undo() const {
  if (!canUndo() && !data().inTransaction())
    return false;
  data().undo(false);
  return true;
}

bool Model::redo() const {
  if (!canRedo() && !data().inTransaction())
    return false;
  data().undo(true);
  return true;
}

std::uint64_t Model::undoSerial() const { return canUndo() ? data().log().lastDone()->serial : 0; }
std::uint64_t Model::redoSerial() const { return canRedo() ? data().log().firstUndone()->serial : 0; }
std::size_t Model::undoDepth() const { return data().log().depth(); }
void Model::setUndoDepth(std::size_t steps) const {
  data().requireStillHistory();
  get()->log().setDepth(steps);
}
void Model::clearHistory() const {
  data().requireStillHistory();
  get()->log().clear();
}
std::uint64_t Model::recordsWritten() const { return data().log().recordsWritten; }

ListenerToken Model::addListener(std::function<void(const ChangeSet&)> listener) const {
  return ListenerToken(data().listen(std::move(listener)));
}

ListenerToken Model::addShallowListener(std::function<void()> listener) const {
  return addListener([listener = std::move(listener)](const ChangeSet&) { listener(); });
}

void Model::afterCommit(Action action) const { data().afterCommit(std::move(action)); }
void Model::atEnd(std::function<void()> action) const { data().atEnd(std::move(action)); }

const String& Model::name() const { return data().name(); }
void Model::setName(const String& name) const { data().setName(name); }
Constellation& Model::constellation() const {
  Constellation* home = data().constellation();
  return home ? *home : Constellation::process(); // its own may have ended before it
}

// Constellations

Constellation::~Constellation() {
  for (ModelData* model : models_)
    model->setConstellation(nullptr);
}

Constellation& Constellation::process() {
  static auto* const constellation = new Constellation; // models may outlive every static object
  return *constellation;
}

std::vector<Model> Constellation::models() const {
  std::vector<Model> models;
  models.reserve(models_.size());
  for (ModelData* model : models_)
    models.emplace_back(model);
  return models;
}

void Constellation::adopt(const Model& model) {
  ModelData& data = model.data();
  if (data.constellation() == this)
    return;
  models_.push_back(&data);
  if (data.constellation())
    std::erase(data.constellation()->models_, &data);
  data.setConstellation(this);
}

// Kinds of updates

UnloggedUpdate::UnloggedUpdate(const Model& model)
    : model_(model), before_(model.data().setRecording(Recording::silent)) {}
UnloggedUpdate::~UnloggedUpdate() { model_.get()->setRecording(before_); }

FrameworkUpdate::FrameworkUpdate(const Model& model) : model_(model) { model_.data().beginFrameworkUpdate(); }
FrameworkUpdate::~FrameworkUpdate() { model_.get()->endFrameworkUpdate(); }

} // namespace tavo
