// Operations of several steps happen as a whole or not at all, also when memory runs out in the middle.
#include "tests/support/Allocations.h"
#include "tests/zelkor/PropertyFixture.h"

#include "zelkor/clone/CloneContext.h"

#include <functional>

namespace zelkor::test {

class PropertyFaultTest : public PropertyTest {};

TEST_F(PropertyFaultTest, EachOperationHappensAsAWhole) {
  struct Operation {
    const char* name;
    std::function<void()> call;
  };
  const auto speed = set.addProperty(u"speed", u"double");
  const auto count = set.addProperty(u"count", u"int8");
  set.addProperty(u"name", u"string");
  speed.setDefaultPropertyValue(u"5", u"m");
  const Operation operations[] = {
      {"set a text", [&] { speed.defaultValue().setExpression(u"1234.56789"); }},
      {"set a default", [&] { speed.setDefaultPropertyValue(u"7", u"km"); }},
      {"set bounds", [&] { count.setMinAndMax(int64(0), int64(100)); }},
      {"set dimensions",
       [&] {
         count.setDimensions({1, 1});
       }},
      {"change the base", [&] { count.setBaseType(u"int32"); }},
      {"change the kind", [&] { speed.setBaseType(u"int16"); }},
      {"add", [&] { set.addProperty(u"another_long_name", u"double"); }},
      {"add an enumeration", [&] { set.addEnumProperty(u"color", u"Colors"); }},
      {"move", [&] { set.moveProperty(0, 3); }},
      {"rename", [&] { set.renameProperty(u"speed", u"velocity_of_it"); }},
      {"remove", [&] { set.removeProperty(u"count"); }},
      {"copy a value", [&] { speed.defaultValue().clone(model); }},
      {"copy the set", [&] { set.clone(model, {}); }},
  };
  for (const auto& [name, call] : operations) {
    SCOPED_TRACE(name);
    model.clearHistory();
    const auto before = stateOf(model);
    const auto failures = testsupport::failEachAllocation(call, [&](std::size_t) {
      EXPECT_EQ(stateOf(model), before);
      EXPECT_FALSE(model.canUndo());
      tavo::checkInvariants(model);
    });
    EXPECT_GT(failures, 0u);
    EXPECT_TRUE(model.undo());
    EXPECT_FALSE(model.canUndo()) << "it was more than one step";
    EXPECT_EQ(stateOf(model), before);
    model.redo();
  }
}

} // namespace zelkor::test
