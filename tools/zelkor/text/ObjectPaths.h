// Every object of a model by its path: the class of the top-level object, then features and names:
// "Profile/prototypes/Computer/propertySet/properties/mass/defaultValue".
#pragma once

#include "tavo/core/Uuid.h"
#include "tavo/model/Model.h"

#include <map>
#include <string>
#include <unordered_map>
#include <vector>

namespace zelkor::text {

/// The objects in a containment, or those that a reference leads to.
std::vector<tavo::ModelElement> objectsIn(const tavo::ModelElement& owner, const tavo::MetaProperty& feature);

class ObjectPaths {
public:
  ObjectPaths() = default;
  explicit ObjectPaths(const tavo::Model& model);

  const std::map<std::string, tavo::ModelElement>& objects() const { return objects_; }
  /// The object at a path, or an empty handle.
  tavo::ModelElement find(const std::string& path) const;
  /// Empty for what is not in the model.
  const std::string& pathOf(const tavo::ModelElement& object) const;
  /// The paths of the top-level objects, in the model's order.
  const std::vector<std::string>& topLevel() const { return topLevel_; }
  /// The last parts of the paths of all that is in a sequence, in its order; by the path of the feature.
  const std::map<std::string, std::vector<std::string>>& sequences() const { return sequences_; }

private:
  void visit(const tavo::ModelElement& object, const std::string& path);
  void visitTargets();
  void enter(const tavo::ModelElement& object, const std::string& path);

  std::map<std::string, tavo::ModelElement> objects_;
  std::unordered_map<tavo::Uuid, std::string, tavo::UuidHash> paths_;
  std::vector<std::string> topLevel_;
  std::map<std::string, std::vector<std::string>> sequences_;
  /// Far ends of references, which get their paths last, and the paths of the features that hold them.
  std::vector<std::pair<std::string, tavo::ModelElement>> targets_;
};

} // namespace zelkor::text
