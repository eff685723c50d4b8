#include "tests/zelkor/ProfileFixture.h"

#include "zelkor/clone/CloneContext.h"
#include "zelkor/profile/DefaultStereotypeMap.h"
#include "zelkor/profile/ProfileResolver.h"
#include "zelkor/services/ProxySource.h"

namespace zelkor::profile {
namespace {

class PrototypeTest : public ProfileFixture {
protected:
  static void addProperty(const Prototype& prototype, const char16_t* name) {
    prototype.getPropertySet().addProperty(name, u"double");
  }
};

TEST_F(PrototypeTest, WhatAStereotypeAppliesToAddsUpOverItsAncestors) {
  const auto profile = Profile::newProfile(u"P");
  const auto top = add(profile, u"Top", u"zelkor.Port");
  const auto middle = profile.addPrototype(u"Middle", u"P.Top", {u"Connector"});
  const auto bottom = profile.addPrototype(u"Bottom", u"P.Middle", {u"Component", u"Port"});
  EXPECT_EQ(bottom.getCumulativeAppliesTo(), (Texts{u"Component", u"Port", u"Connector"}));
  EXPECT_FALSE(bottom.appliesToKind(u"Architecture"));
  EXPECT_EQ(bottom.getAncestors(), (std::vector{middle, top}));
  EXPECT_EQ(catalog().getDerivedPrototypes(u"P.Top"), (std::vector{bottom, middle}));
  EXPECT_EQ(catalog().getDefaultParentPrototypeFQN(u"P.Bottom"), u"P.Middle");
  EXPECT_EQ(catalog().getDefaultParentPrototypeFQN(u"P.Top"), u"MIXIN");
  EXPECT_EQ(catalog().getDefaultParentPrototypeFQN(u"MIXIN"), u"MIXIN");
  top.removeAppliesTo(u"Port");
  EXPECT_TRUE(add(profile, u"Other", u"P.Top").appliesToKind(u"Architecture"));
}

TEST_F(PrototypeTest, NobodyIsHisOwnAncestor) {
  const auto profile = Profile::newProfile(u"P");
  const auto top = add(profile, u"Top");
  const auto bottom = add(profile, u"Bottom", u"P.Top");
  for (const auto& parent : {top, bottom})
    EXPECT_ERROR_UNCHANGED(profile.model(), top.setParent(parent), "Velmora:Profile:CircularPrototypeInheritance",
                           "P.Top", parent.getFullyQualifiedName());
}

TEST_F(PrototypeTest, AnotherParentIsOneStepAndLeavesNothingOfTheFormer) {
  saveParentAndChild();
  const auto child = Profile::loadFromFile(u"Child");
  const auto derived = child.prototypes().front();
  const auto own = add(child, u"Own");
  const auto before = tavo::modelText(child.model());
  derived.setParent(own);
  EXPECT_EQ(derived.getParent(), own);
  EXPECT_EQ(child.getDependentProfiles(), Texts{});
  const auto serial = child.model().undoSerial();
  derived.setParent(own);
  EXPECT_EQ(child.model().undoSerial(), serial);
  ASSERT_TRUE(child.model().undo());
  EXPECT_EQ(tavo::modelText(child.model()), before);
  EXPECT_EQ(derived.getParent().getFullyQualifiedName(), u"Parent.Base");
}

TEST_F(PrototypeTest, PropertyNamesAreUniqueAlongALineOfInheritance) {
  const auto profile = Profile::newProfile(u"P");
  const auto top = add(profile, u"Top"), middle = add(profile, u"Middle", u"P.Top");
  const auto bottom = add(Profile::newProfile(u"Q"), u"Bottom", u"P.Middle"), stranger = add(profile, u"Stranger");
  addProperty(top, u"mass");
  addProperty(bottom, u"length");
  addProperty(stranger, u"length");

  middle.checkPropertyNameAcrossHierarchy(u"width");
  EXPECT_ERROR(middle.checkPropertyNameAcrossHierarchy(u"mass"), "Velmora:Profile:NonUniquePropertyNamesInHierarchy",
               "mass", "P.Top");
  EXPECT_ERROR(middle.checkPropertyNameAcrossHierarchy(u"length"), "Velmora:Profile:NonUniquePropertyNamesInHierarchy",
               "length", "Q.Bottom");
  EXPECT_ERROR(addProperty(middle, u"mass"), "Velmora:Profile:NonUniquePropertyNamesInHierarchy");
  // A new ancestor must get on with everybody below.
  EXPECT_ERROR_UNCHANGED(profile.model(), top.setParent(stranger), "Velmora:Profile:NonUniquePropertyNamesInHierarchy",
                         "length", "P.Stranger");
}

TEST_F(PrototypeTest, ACircleOfParentsInAFileEndsEveryWalk) {
  const auto profile = Profile::newProfile(u"P");
  const auto a = add(profile, u"A", u"zelkor.Port"), b = add(profile, u"B", u"P.A"), c = add(profile, u"C", u"P.B");
  save(profile);
  // Lead the reference of B, which is to A, to C.
  auto content = contentOf(file("P.xml"));
  const auto lead = [&](const Prototype& from, const Prototype& to) {
    const auto id = "targetId=\"" + tavo::toText(from.Uuid());
    const auto at = content.find(id);
    ASSERT_NE(at, content.npos);
    content.replace(at, id.size(), "targetId=\"" + tavo::toText(to.Uuid()));
  };
  lead(a, c);
  catalog().unloadAllProfiles();
  write(file("P.xml"), content);

  const auto loaded = Profile::loadFromFile(u"P");
  EXPECT_TRUE(loaded.getIsUnhealthyOnLoad());
  EXPECT_EQ(reported(), (std::vector<std::string>{"Velmora:Profile:ErrorLoadingProfile"}));
  const auto circular = loaded.prototypes().find(u"B");
  EXPECT_ERROR(circular.checkHealth(), "Velmora:Profile:CircularPrototypeInheritance", "P.B", "P.C");
  EXPECT_EQ(circular.getAncestors().size(), 1u);
  EXPECT_EQ(circular.getCumulativeAppliesTo(), Texts{});
  circular.checkPropertyNameAcrossHierarchy(u"mass");
  EXPECT_EQ(catalog().getDerivedPrototypes(u"P.C"), (std::vector{circular}));
  EXPECT_EQ(circular.getIconPath(), u"");
}

TEST_F(PrototypeTest, APropertyWithoutValidDefaultIsAFaultOfItsStereotype) {
  const auto profile = Profile::newProfile(u"P");
  const auto made = add(profile, u"S");
  addProperty(made, u"mass");
  made.getPropertySet().getPropertyByName(u"mass").setDefaultPropertyValue(u"12345", u"*");
  profile.checkHealth();
  EXPECT_FALSE(profile.getIsUnhealthyOnLoad());
  save(profile);
  catalog().unloadAllProfiles();
  auto content = contentOf(file("P.xml"));
  ASSERT_NE(content.find("12345"), content.npos);
  write(file("P.xml"), content.replace(content.find("12345"), 5, "]"));

  const auto loaded = Profile::loadFromFile(u"P");
  EXPECT_TRUE(loaded.getIsUnhealthyOnLoad());
  EXPECT_ERROR(loaded.prototypes().front().checkHealth(), "Velmora:Property:InvalidDefaultValue", "P.S.mass", "]");
  EXPECT_TRUE(catalog().getIsThisOrAnyDependentProfileUnhealthyOnLoad(loaded));
}

TEST_F(PrototypeTest, ANewNameIsThatOfItsPropertySetToo) {
  const auto profile = Profile::newProfile(u"P");
  const auto made = add(profile, u"S");
  made.setName(u"T");
  EXPECT_EQ(made.getPropertySet().getFullyQualifiedName(), u"P.T");
  EXPECT_EQ(catalog().getPrototype(u"P.T"), made);
  ASSERT_TRUE(profile.model().undo());
  EXPECT_EQ(made.getPropertySet().getName(), u"S");
}

TEST_F(PrototypeTest, ACustomIconStandsBesideTheProfileAndIsInherited) {
  const auto profile = Profile::newProfile(u"P");
  const auto top = add(profile, u"Top"), bottom = add(profile, u"Bottom", u"P.Top");
  top.setIcon(PrototypeIcon::CUSTOM);
  top.setCustomIconPath(u"icons/top.svg");
  EXPECT_EQ(bottom.getIconPath(), u"icons/top.svg");
  save(profile);
  EXPECT_EQ(bottom.getIconPath(), text(file("icons/top.svg")));
  bottom.setIcon(PrototypeIcon::SENSOR);
  EXPECT_EQ(bottom.getIconPath(), u"");
}

TEST_F(PrototypeTest, ACopyInheritsAndDefaultsLikeTheOriginal) {
  saveParentAndChild();
  const auto profile = Profile::loadFromFile(u"Child"), other = Profile::newProfile(u"Q");
  const auto base = Profile::findLoadedProfile(u"Parent").prototypes().front(), made = profile.prototypes().front();
  const auto own = add(profile, u"Own");
  addProperty(made, u"mass");
  made.getPropertySet().getPropertyByName(u"mass").setDefaultPropertyValue(u"5", u"*");
  made.setAppliesTo({u"Port"});
  made.defaultStereotypeMap().setPortDefault(base);
  made.defaultStereotypeMap().setConnectorDefault(own);
  for (const auto& model : {profile.model(), other.model()}) {
    const auto copy = made.clone(model, {}).cast<Prototype>();
    EXPECT_EQ(copy.getName(), u"Derived");
    EXPECT_EQ(copy.appliesTo(), Texts{u"Port"});
    EXPECT_EQ(copy.getParent(), base);
    EXPECT_EQ(copy.defaultStereotypeMap().getPortDefault(), base);
    EXPECT_EQ(copy.defaultStereotypeMap().getConnectorDefault(), own);
    const auto mass = copy.getPropertySet().getPropertyByName(u"mass");
    EXPECT_EQ(mass.getBaseType(), u"double");
    mass.checkHealth();
    tavo::checkInvariants(model);
    ASSERT_TRUE(model.undo());
    EXPECT_FALSE(copy) << "one step";
  }
  Profile::unload(u"Parent");
  fs::remove(file("Parent.xml"));
  const auto copy = made.clone(other.model(), {}).cast<Prototype>();
  EXPECT_EQ(copy.parentProxy().getTargetName(), u"Parent.Base");
  EXPECT_TRUE(copy.defaultStereotypeMap().hasDefault(u"port")) << "what is missing is not lost";
}

TEST_F(PrototypeTest, ParentsInAnotherProfileBindAgainThroughUnloadingChangeAndReloading) {
  saveParentAndChild();
  const auto child = Profile::loadFromFile(u"Child");
  const auto derived = child.prototypes().front();
  auto parent = Profile::findLoadedProfile(u"Parent");
  const auto before = derived.getParent();
  const auto childText = tavo::modelText(child.model());

  ASSERT_TRUE(catalog().unloadProfile(u"Parent"));
  EXPECT_FALSE(parent);
  EXPECT_FALSE(before);
  EXPECT_TRUE(derived.hasParent());

  // Changed behind the back of the child: another name for the parent, and a stereotype that was not there.
  parent = Profile::loadFromFile(u"Parent");
  parent.prototypes().front().setName(u"Basis");
  add(parent, u"Added", u"zelkor.Port");
  save(parent);
  Profile::unload(u"Parent");
  EXPECT_FALSE(derived.parentProxy().findTargetElement());
  parent = Profile::loadFromFile(u"Parent");
  EXPECT_TRUE(derived.parentProxy().findTargetElement()); // without another look for the file
  EXPECT_EQ(derived.getParent().getFullyQualifiedName(), u"Parent.Basis");
  EXPECT_EQ(derived.getParent().model(), parent.model());

  parent.prototypes().find(u"Basis").destroy();
  EXPECT_FALSE(derived.getParent());
  EXPECT_TRUE(derived.hasMissingArtifact());
  ASSERT_TRUE(parent.model().undo());
  EXPECT_EQ(derived.getParent().getName(), u"Basis");
  EXPECT_EQ(tavo::modelText(child.model()), childText); // none of this is a change of the child
  EXPECT_FALSE(child.dirty());
}

} // namespace
} // namespace zelkor::profile
