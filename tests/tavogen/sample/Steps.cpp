// What the versions of the sample package did to its files, beyond what the schemas say.
#include "tavo/evolution/Evolution.h"

namespace sample {
namespace {

using namespace tavo::evolution;

const ClassRecord& plant() { return classNamed("sample.Plant"); }
const ClassRecord& nickname() { return classNamed("sample.Nickname"); }

void namesBecomeTexts(Document& document) {
  const auto& nicknames = plant().feature("nicknames");
  document.each(plant(), [&](Object& object) {
    ValueElement aliases{&plant().feature("aliases")};
    for (Object* each : object.childrenIn(nicknames)) {
      aliases.items.push_back({{{"value", each->text(nickname().feature("Name"))}}});
      document.remove(*each);
    }
    if (!aliases.items.empty())
      object.values.push_back(std::move(aliases));
    Document::clear(object, plant().feature("scent"));
  });
}

void textsBecomeNames(Document& document, Account&) {
  const auto& aliases = plant().feature("aliases");
  document.each(plant(), [&](Object& object) {
    for (const auto& value : object.values)
      if (value.feature == &aliases)
        for (const auto& item : value.items) {
          const auto& text = item.fields.front().second;
          const auto uuid = tavo::nameUuid(object.uuid, text);
          document.set(document.add(nickname(), &object, &plant().feature("nicknames"), uuid),
                       nickname().feature("Name"), text);
        }
    Document::clear(object, aliases);
  });
}

constexpr Step steps[] = {{.to = "1.2", .up = &namesBecomeTexts, .down = &textsBecomeNames}};
[[maybe_unused]] const bool registered = registerSteps("sample", steps);

} // namespace
} // namespace sample
