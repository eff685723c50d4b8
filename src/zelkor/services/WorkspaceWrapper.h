// The workspace service: where the expressions of a model are evaluated.
#pragma once

#include "kavra/HostArray.h"
#include "kavra/Workspace.h"
#include "tavo/model/Model.h"
#include "zelkor/Export.h"

namespace zelkor::services::proxy {

/// A model's access to its workspace, the set of variables that the host holds for it. Cheap to get and to copy.
class ZELKOR_EXPORT WorkspaceWrapper {
public:
  /// The workspace that the installed host has for the model; without a host, one that evaluates nothing. It ends with
  /// the model.
  static WorkspaceWrapper get(const tavo::Model& model);

  explicit WorkspaceWrapper(std::shared_ptr<kavra::Workspace> workspace) : workspace_(std::move(workspace)) {}
  virtual ~WorkspaceWrapper();

  /// The value of the text, or null when it cannot be evaluated. Never raises.
  virtual kavra::HostArray evalExpression(const tavo::String& text) const;
  /// Where the host's application sets the variables that expressions see; null without a host.
  const std::shared_ptr<kavra::Workspace>& workspace() const { return workspace_; }

  /// Why a text that evaluates to null does so, for people; empty when the host does not tell.
  std::string whyNot(const tavo::String& text) const;

private:
  std::shared_ptr<kavra::Workspace> workspace_;
};

} // namespace zelkor::services::proxy
