// Elements, the stereotypes that they carry, and their copies.
#include "tests/arch/ModelFixture.h"

#include "zelkor/clone/CloneContext.h"
#include "zelkor/framework/Errors.h"

namespace zelkor {
namespace {

using profile::Prototype;

class ElementsTest : public ModelFixture {
protected:
  std::vector<std::string> setNames(const Element& element) const {
    std::vector<std::string> names;
    for (const auto& name : element.getPropertySetNames())
      names.push_back(name.toUtf8());
    return names;
  }
  std::size_t carriers(const char16_t* name, bool includeDerived = false) const {
    return profiles().p_PrototypeToPrototypableCache().getElementsWithPrototype(name, includeDerived).size();
  }
  using Names = std::vector<std::string>;
};

TEST_F(ElementsTest, AStereotypeBringsTheSetsOfItsAncestors) {
  EXPECT_EQ(catalog().getStereotypeReportForTooltip(pump), std::vector{tavo::Error(ProfileError::None, {}).message()});
  pump.applyPrototype(stereotype(u"Pump"));
  pump.applyPrototype(stereotype(u"Pump"));
  EXPECT_EQ(
      catalog().getStereotypeReportForTooltip(pump),
      std::vector{tavo::concat(u"  - ", tavo::Error(ProfileError::StereotypeBadgeTooltip, {u"Plant.Pump"}).message())});
  EXPECT_EQ(setNames(pump), (Names{"Plant.Machine", "Plant.Pump"}));
  EXPECT_EQ(pump.getPrototypes().size(), 1u);
  EXPECT_TRUE(pump.hasPrototype(u"Plant.Machine"));
  EXPECT_EQ(carriers(u"Plant.Machine"), 0u);
  EXPECT_EQ(carriers(u"Plant.Machine", true), 1u);

  pump.applyPrototype(stereotype(u"Machine"));
  pump.removeAllPrototypes();
  EXPECT_TRUE(setNames(pump).empty());
  EXPECT_EQ(carriers(u"Plant.Pump"), 0u);
  checkInvariants(model());
}

TEST_F(ElementsTest, AStereotypeAppliesToItsKindsOnly) {
  stereotype(u"Machine").addAppliesTo(u"Component");
  const auto port = pump.addPort(u"out", PortDirection::OUTPUT);
  EXPECT_ERROR_UNCHANGED(model(), port.applyPrototype(stereotype(u"Pump")), "Velmora:Profile:CannotApplyPrototype",
                         u"Plant.Pump", u"out", u"Port");
  EXPECT_ERROR_UNCHANGED(model(), factory.applyPrototype(stereotype(u"Pump")), "Velmora:Profile:CannotApplyPrototype");
  pump.applyPrototype(stereotype(u"Pump"));

  const auto other = profile::Profile::newProfile(u"Other");
  EXPECT_ERROR_UNCHANGED(model(), pump.applyPrototype(add(other, u"Thing")), "Velmora:Profile:CannotApplyPrototype");
}

TEST_F(ElementsTest, PathsAndNamesFollowTheTree) {
  const auto inlet = pump.addPort(u"inlet", PortDirection::INPUT);
  const auto outlet = hall.addComponent(u"Tank").addPort(u"outlet", PortDirection::OUTPUT);
  const auto pipe = hall.addConnector(u"pipe", outlet, inlet);
  EXPECT_EQ(inlet.getPath().toUtf8(), "Factory/Hall/Main/inlet");
  EXPECT_EQ(factory.findElement(u"Hall/Main/inlet"), inlet);
  EXPECT_EQ(factory.findElement(u"Hall/pipe"), pipe);
  EXPECT_FALSE(factory.findElement(u"Hall/pipe/more"));
  EXPECT_FALSE(factory.findElement(u"Hall//inlet"));

  EXPECT_ERROR_UNCHANGED(model(), hall.addComponent(u"Main"), "tavo:messages:UniquenessConstraint");
  EXPECT_ERROR_UNCHANGED(model(), hall.addPort(u"Main", PortDirection::INPUT), "tavo:messages:UniquenessConstraint");
  EXPECT_ERROR_UNCHANGED(model(), pipe.setName(u"Main"), "tavo:messages:UniquenessConstraint");
  EXPECT_ERROR_UNCHANGED(model(), hall.reparent(pump), "tavo:messages:ContainmentCycle");
  EXPECT_ERROR_UNCHANGED(model(), hall.addComponent(u"a/b"), "Velmora:Architecture:InvalidElementName", u"a/b");
  EXPECT_ERROR_UNCHANGED(model(), pump.addConnector(u"pipe", outlet, inlet),
                         "Velmora:Architecture:ConnectorEndOutside");
  EXPECT_ERROR_UNCHANGED(model(), inlet.reparent(pipe), "Velmora:Architecture:NotAComponent",
                         u"Factory/Hall/Main/inlet", u"Connector");

  // What connectors lead to does not get out of their reach.
  for (const auto& moved : {Element(pump), Element(inlet)})
    EXPECT_ERROR_UNCHANGED(model(), moved.reparent(factory), "Velmora:Architecture:ConnectorEndOutside", u"pipe",
                           u"Factory/Hall/Main/inlet");
  pipe.reparent(factory);
  pump.reparent(factory);
  EXPECT_EQ(inlet.getPath().toUtf8(), "Factory/Main/inlet");
  EXPECT_ERROR_UNCHANGED(model(), pipe.reparent(hall), "Velmora:Architecture:ConnectorEndOutside", u"pipe",
                         u"Factory/Main/inlet");
  inlet.destroy();
  EXPECT_TRUE(pipe) << "and its end dangles";
  EXPECT_FALSE(pipe.target());
}

TEST_F(ElementsTest, ACopyHasStereotypesAndValuesAndConnectsItself) {
  const auto tank = hall.addComponent(u"Tank");
  hall.addConnector(u"pipe", tank.addPort(u"out", PortDirection::OUTPUT), pump.addPort(u"in", PortDirection::INPUT));
  pump.applyPrototype(stereotype(u"Pump"));
  pump.setPropVal(u"Plant.Pump.flow", u"0.125", u"*");

  const auto copy = hall.clone(model(), {}).cast<Component>();
  copy.setName(u"Hall2");
  copy.reparent(factory);
  const auto main = copy.components().find(u"Main");
  EXPECT_EQ(valueOf(main, u"Plant.Pump.flow"), "0.125 m^3/s");
  EXPECT_TRUE(main.isPropValDefault(u"Plant.Machine.power"));
  EXPECT_EQ(carriers(u"Plant.Pump"), 2u);
  EXPECT_EQ(copy.connectors().find(u"pipe").target(), main.ports().find(u"in"));
  main.setPropVal(u"Plant.Pump.flow", u"1", u"*");
  EXPECT_EQ(valueOf(pump, u"Plant.Pump.flow"), "0.125 m^3/s");
  checkInvariants(model());

  auto other = ModelFile::create(u"other");
  const auto context = internal::clone::CloneContext::create(other.model());
  const auto elsewhere = hall.clone(other.model(), context).cast<Component>();
  EXPECT_EQ(pump.clone(other.model(), context), elsewhere.components().find(u"Main")) << "each once";
  EXPECT_EQ(valueOf(elsewhere.components().find(u"Main"), u"Plant.Pump.flow"), "0.125 m^3/s");
  EXPECT_ERROR_UNCHANGED(model(), hall.reparent(elsewhere), "tavo:messages:CannotCreateCrossModelAssociation");
  EXPECT_EQ(other.profiles().getPrototypeNames().size(), 2u) << "the profile has come along";
  checkInvariants(other.model());
}

} // namespace
} // namespace zelkor
