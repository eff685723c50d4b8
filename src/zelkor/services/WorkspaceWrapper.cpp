#include "zelkor/services/WorkspaceWrapper.h"

#include "kavra/Host.h"
#include "zelkor/framework/HostCalls.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace zelkor::services::proxy {
namespace {

/// Which hosts hold a workspace for which models: it is released when the model ends, since a later model at the same
/// address must not see the variables of an earlier one.
class KnownModels {
public:
  void remember(const tavo::Model& model, const std::shared_ptr<kavra::Workspaces>& workspaces) {
    const Use use{model.get(), workspaces.get()};
    if (use == last_)
      return;
    if (std::find(uses_.begin(), uses_.end(), use) == uses_.end()) {
      uses_.push_back(use);
      model.atEnd([this, use, host = std::weak_ptr(workspaces)] { forget(use, host.lock()); });
    }
    last_ = use;
  }

private:
  using Use = std::pair<const void*, const kavra::Workspaces*>;

  void forget(const Use& use, const std::shared_ptr<kavra::Workspaces>& workspaces) {
    std::erase(uses_, use);
    last_ = {};
    if (workspaces)
      workspaces->release(use.first);
  }

  std::vector<Use> uses_;
  Use last_; // values are set model by model
};

KnownModels& knownModels() {
  static auto& models = *new KnownModels; // models may end after everything else
  return models;
}

} // namespace

WorkspaceWrapper WorkspaceWrapper::get(const tavo::Model& model) {
  if (!kavra::isHostAvailable())
    return WorkspaceWrapper(nullptr);
  const auto& workspaces = kavra::host().parts().workspaces;
  knownModels().remember(model, workspaces);
  return WorkspaceWrapper(callHost([&] { return workspaces->of(model.get()); }));
}

WorkspaceWrapper::~WorkspaceWrapper() = default;

kavra::HostArray WorkspaceWrapper::evalExpression(const tavo::String& text) const {
  try {
    return workspace_ ? workspace_->evaluate(text) : kavra::HostArray();
  } catch (const kavra::Error&) {
    // A host that does not answer has not evaluated the text; whoever needs its value says so.
    return {};
  }
}

std::string WorkspaceWrapper::whyNot(const tavo::String& text) const {
  kavra::EvaluationFailure failure;
  try {
    if (!workspace_ || workspace_->evaluate(text, &failure) || failure.text.empty())
      return {};
    return failure.text + " (at character " + std::to_string(failure.position + 1) + ")";
  } catch (const kavra::Error& error) {
    return error.what();
  }
}

} // namespace zelkor::services::proxy
