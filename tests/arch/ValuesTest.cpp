// Values of elements: own ones and defaults.
#include "tests/arch/ModelFixture.h"

namespace zelkor {
namespace {

class ValuesTest : public ModelFixture {
protected:
  ValuesTest() { pump.applyPrototype(stereotype(u"Pump")); }
};

TEST_F(ValuesTest, AnElementWithoutAValueOfItsOwnReadsTheDefault) {
  EXPECT_EQ(valueOf(pump, u"Plant.Machine.power"), "100 W");
  EXPECT_TRUE(pump.isPropValDefault(u"Plant.Machine.power"));

  pump.setPropVal(u"Plant.Machine.power", u"100", u"*");
  EXPECT_FALSE(pump.isPropValDefault(u"Plant.Machine.power")) << "the same text is a value of its own all the same";
  pump.setPropVal(u"Plant.Machine.power", u"2.5", u"kW");
  EXPECT_EQ(valueOf(pump, u"Plant.Machine.power"), "2.5 kW");
  EXPECT_EQ(pump.getNormalizedValue(u"Plant.Machine.power").asNumber(), 2500.0);
  pump.setPropVal(u"Plant.Machine.power", u"3", u"*");
  EXPECT_EQ(valueOf(pump, u"Plant.Machine.power"), "3 kW");
  pump.setFromNormalizedValue(u"Plant.Machine.power", kavra::HostArray::scalar(1500.0));
  EXPECT_EQ(valueOf(pump, u"Plant.Machine.power"), "1.5 kW");

  pump.clearPropVal(u"Plant.Machine.power");
  pump.clearPropVal(u"Plant.Machine.power");
  EXPECT_EQ(valueOf(pump, u"Plant.Machine.power"), "100 W");
  EXPECT_TRUE(model().undo());
  EXPECT_EQ(valueOf(pump, u"Plant.Machine.power"), "1.5 kW");
  checkInvariants(model());
}

TEST_F(ValuesTest, UnitsAloneMakeNoValue) {
  const auto usage = pump.findPropertyUsage(u"Plant.Machine.power");
  usage.setPropUnits(pump.Uuid(), u"kW");
  EXPECT_TRUE(pump.isPropValDefault(u"Plant.Machine.power"));
}

TEST_F(ValuesTest, ARefusedValueLeavesTheElementAsItWas) {
  const struct {
    const char16_t *property, *expression, *units;
    const char* cause;
  } refusals[] = {
      {u"Plant.Machine.power", u"]", u"*", "Velmora:Property:CannotEvalExpression"},
      {u"Plant.Machine.power", u"1e7", u"*", "Velmora:Property:InvalidRealPropValueMinMax"},
      {u"Plant.Machine.power", u"1", u"kg", "Velmora:Property:UnitsNotConvertible"},
      {u"Plant.Machine.slots", u"1.5", u"*", "Velmora:Property:InvalidIntegerPropValue"},
      {u"Plant.Machine.weight", u"1", u"*", "Velmora:Property:PropertyNotFound"},
      {u"power", u"1", u"*", "Velmora:Property:PropertyNotFound"},
  };
  for (const bool hasOwn : {false, true}) {
    if (hasOwn) {
      pump.setPropVal(u"Plant.Machine.power", u"7", u"*");
      pump.setPropVal(u"Plant.Machine.slots", u"7", u"*");
    }
    for (const auto& row : refusals) {
      const auto before = testsupport::stateOf(model());
      EXPECT_ERROR_BECAUSE(row.cause, pump.setPropVal(row.property, row.expression, row.units),
                           "Velmora:Property:ErrorSettingPropertyValue", row.property);
      EXPECT_EQ(testsupport::stateOf(model()), before);
    }
  }
  EXPECT_ERROR(pump.getPropVal(u"Plant.Machine.weight"), "Velmora:Property:PropertyNotFound", u"Plant.Machine.weight");
  EXPECT_FALSE(pump.hasPropVal(u"Plant.Machine.weight"));
  EXPECT_TRUE(pump.hasPropVal(u"Plant.Pump.flow"));
}

TEST_F(ValuesTest, OneChangeIsOneStepAndOneEvent) {
  std::vector<std::string> heard;
  const auto token = services::ModelEventBroadcastSystem::instance().subscribe([&](const services::ModelEvent& event) {
    if (event.type == services::ModelEventType::propertyValueChanged)
      heard.push_back(event.name.toUtf8() + " " + valueOf(pump, u"Plant.Machine.slots"));
  });
  pump.setPropVal(u"Plant.Machine.slots", u"5", u"*");
  pump.setPropVal(u"Plant.Machine.slots", u"6", u"*");
  pump.clearPropVal(u"Plant.Machine.slots");
  EXPECT_EQ(heard, (std::vector<std::string>{"plant.cvd 5", "plant.cvd 6", "plant.cvd 2"}));
  EXPECT_TRUE(model().undo());
  EXPECT_TRUE(model().undo());
  EXPECT_EQ(valueOf(pump, u"Plant.Machine.slots"), "5");

  heard.clear();
  {
    tavo::Transaction abandoned(model());
    pump.setPropVal(u"Plant.Machine.slots", u"9", u"*");
  }
  EXPECT_TRUE(heard.empty());
}

TEST_F(ValuesTest, HandlersMayComeAndGoWhileTheyAreTold) {
  auto& events = services::ModelEventBroadcastSystem::instance();
  std::string heard;
  services::ModelEventBroadcastSystem::Token leaving, coming;
  leaving = events.subscribe([&](const auto&) {
    leaving.reset();
    coming = events.subscribe([&](const auto&) { heard += "new "; });
    heard += "old ";
  });
  const auto last = events.subscribe([&](const auto&) { heard += "last "; });
  pump.setPropVal(u"Plant.Machine.slots", u"5", u"*");
  EXPECT_EQ(heard, "old last ");
  pump.setPropVal(u"Plant.Machine.slots", u"6", u"*");
  EXPECT_EQ(heard, "old last last new ");
}

} // namespace
} // namespace zelkor
