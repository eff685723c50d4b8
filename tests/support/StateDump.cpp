#include "tests/support/StateDump.h"

#include "tavo/meta/MetaRegistry.h"
#include "tavo/model/ModelElementDatatype.h"
#include "tavo/value/Value.h"

namespace testsupport {

std::string dumpState(const tavo::Model& model, bool withHistory) {
  std::string text;
  std::vector<tavo::ModelElement> waiting = model.topLevel();
  text += std::to_string(waiting.size()) + " top-level, " + std::to_string(model.objectCount()) + " in all\n";
  if (withHistory)
    text += "undo " + std::to_string(model.undoSerial()) + ", redo " + std::to_string(model.redoSerial()) + "\n";
  for (std::size_t i = 0; i < waiting.size(); ++i) {
    const tavo::ModelElement object = waiting[i];
    text += std::string(object.objectClass().name()) + " " + tavo::toText(object.Uuid()) +
            (object.isProxy() ? " stand-in" : "");
    for (const tavo::MetaProperty* property : object.objectClass().properties()) {
      if (property->kind() == tavo::FeatureKind::derived)
        continue;
      text += std::string(" ") + std::string(property->name()) + "=";
      const tavo::Value value = object.getPropertyValue(*property);
      text += value.toText();
      if (!property->isContainment())
        continue;
      if (value.holds<tavo::ModelElement>()) {
        if (const auto& child = value.as<tavo::ModelElement>())
          waiting.push_back(child);
      } else {
        for (const auto& child : value.as<std::vector<tavo::ModelElement>>())
          waiting.push_back(child);
      }
    }
    text += "\n";
  }
  return text;
}

} // namespace testsupport
