// Uses each library across its boundary: calls, objects, and exceptions that are caught outside.
#include "kavra/Error.h"
#include "kavra/Host.h"
#include "tavo/core/Error.h"
#include "tavo/core/Errors.h"
#include "tavo/model/Model.h"

#include <iostream>

int main() {
  try {
    tavo::Model().data();
    return 1;
  } catch (const tavo::Error& error) {
    std::cout << error.id().text() << '\n';
  }
  try {
    kavra::host().units().checkUnit(u"furlongg");
    return 1;
  } catch (const kavra::Error& error) {
    std::cout << error.id() << '\n';
  }
  auto model = tavo::Model::create();
  std::cout << model.objectCount() << " objects, " << kavra::host().units().convert(1, u"km", u"m") << " m\n";
}
