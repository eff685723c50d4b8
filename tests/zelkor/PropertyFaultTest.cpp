// Operations of several steps happen as a whole or not at all, also when memory runs out in the middle or the host does
// not answer.
#include "tests/support/Allocations.h"
#include "tests/support/FaultyHost.h"
#include "tests/zelkor/PropertyFixture.h"

#include "zelkor/clone/CloneContext.h"

#include <functional>

namespace zelkor::test {

class PropertyFaultTest : public PropertyTest {
protected:
  struct Operation {
    const char* name;
    std::function<void()> call;
    bool isWhole = true; ///< false when a new version stays although the rest was refused
  };

  PropertyFaultTest() {
    // The model takes its unit service from the host that is there when it is made.
    const kavra::ScopedHost counted(countedHost);
    model = tavo::Model::create();
    set = PropertySet::make(model, u"Motor", true);
    speed = set.addProperty(u"speed", u"double");
    count = set.addProperty(u"count", u"int8");
    text = set.addProperty(u"name", u"string");
    color = set.addEnumProperty(u"color", u"Colors");
    speed.setDefaultPropertyValue(u"5", u"m");
    color.setDefaultPropertyValue(u"'Red'", u"*");
  }

  std::vector<Operation> operations() {
    return {
        {"set a text", [this] { speed.defaultValue().setExpression(u"1234.56789"); }},
        {"set a literal", [this] { color.defaultValue().setExpression(u"'Blue'"); }},
        {"set a default", [this] { speed.setDefaultPropertyValue(u"7", u"km"); }, false},
        {"set units", [this] { speed.setUnit(u"ft"); }},
        {"set bounds", [this] { count.setMinAndMax(int64(0), int64(100)); }},
        {"set dimensions",
         [this] {
           count.setDimensions({1, 1});
         }},
        {"change the base", [this] { count.setBaseType(u"int32"); }},
        {"change the kind", [this] { speed.setBaseType(u"int16"); }},
        {"change to an enumeration", [this] { text.setBaseType(u"paint.Gloss"); }},
        {"add", [this] { set.addProperty(u"another_long_name", u"double"); }},
        {"add an enumeration", [this] { set.addEnumProperty(u"gloss", u"paint.Gloss"); }},
        {"move", [this] { set.moveProperty(0, 3); }},
        {"rename", [this] { set.renameProperty(u"speed", u"velocity_of_it"); }},
        {"remove", [this] { set.removeProperty(u"count"); }},
        {"copy a value", [this] { color.defaultValue().clone(model); }},
        {"copy the set", [this] { set.clone(model, context); }},
    };
  }

  std::vector<kavra::HostArray> arrays() const {
    std::vector<kavra::HostArray> all;
    for (const auto& definition : set.getAllProperties())
      all.push_back(definition.defaultValue().cachedValue());
    return all;
  }

  std::shared_ptr<testsupport::HostCalls> calls = std::make_shared<testsupport::HostCalls>();
  std::shared_ptr<kavra::Host> countedHost = std::make_shared<kavra::Host>(testsupport::countedParts(parts, calls));
  PropertyDefinition speed, count, text, color;
  tavo::Model notes = tavo::Model::create(); ///< of what was copied to where
  internal::clone::CloneContext context = internal::clone::CloneContext::create(notes);
};

TEST_F(PropertyFaultTest, EachOperationHappensAsAWhole) {
  std::size_t failures = 0; // an operation on a short text may need no memory at all
  for (const auto& [name, call, isWhole] : operations()) {
    SCOPED_TRACE(name);
    model.clearHistory();
    notes.clearHistory();
    const auto before = stateOf(model);
    const auto notesBefore = stateOf(notes);
    const auto expectNothingDone = [&](std::size_t) {
      EXPECT_EQ(stateOf(model), before);
      EXPECT_EQ(stateOf(notes), notesBefore);
      EXPECT_FALSE(model.canUndo()) << "it was more than one step";
      tavo::checkInvariants(model);
    };
    const auto takeBack = [&] {
      EXPECT_TRUE(model.undo());
      notes.undo();
      expectNothingDone(0);
    };
    failures += testsupport::failEachAllocation(call, expectNothingDone, takeBack);
    takeBack();
    model.redo();
  }
  EXPECT_GT(failures, 50u);
}

TEST_F(PropertyFaultTest, AHostThatDoesNotAnswerChangesNothing) {
  const kavra::ScopedHost counted(countedHost);
  std::size_t refusals = 0;
  for (const auto& [name, call, isWhole] : operations()) {
    for (std::size_t failing = 0;; ++failing) {
      SCOPED_TRACE(testing::Message() << name << ", call " << failing);
      model.clearHistory();
      const auto before = stateOf(model);
      const auto arraysBefore = arrays();
      calls->restart(failing);
      try {
        call();
      } catch (const tavo::Error&) {
        ASSERT_TRUE(calls->hasFailed()) << "it was refused for another reason";
        ++refusals;
        EXPECT_EQ(model.canUndo(), !isWhole);
        model.undo();
        EXPECT_EQ(stateOf(model), before);
        EXPECT_EQ(arrays(), arraysBefore);
        tavo::checkInvariants(model);
        continue;
      }
      if (!calls->hasFailed())
        break;
      model.undo(); // it did without the answer
    }
  }
  EXPECT_GT(refusals, 20u);
}

} // namespace zelkor::test
