#include "tests/zelkor/ProfileFixture.h"

#include "zelkor/clone/CloneContext.h"
#include "zelkor/profile/DefaultStereotypeMap.h"
#include "zelkor/profile/DefaultStereotypePair.h"
#include "zelkor/profile/ProfileResolver.h"
#include "zelkor/profile/Tag.h"
#include "zelkor/property/PropertySetResolver.h"
#include "zelkor/property/ValueType.h"
#include "zelkor/services/ModelIdentifier.h"
#include "zelkor/services/ProxySource.h"
#include "zelkor/test/PrototypableFixture.h"

namespace zelkor::profile {
namespace {

class ProfileTest : public ProfileFixture {};

TEST_F(ProfileTest, ANewProfileHasTheBuiltInTypesAndNoHistory) {
  const auto profile = Profile::newProfile(u"Avionics");
  EXPECT_EQ(profile.valueTypes().size(), 13u);
  EXPECT_FALSE(profile.model().canUndo());
  EXPECT_EQ(Profile::findLoadedProfile(u"Avionics"), profile);
  EXPECT_EQ(services::proxy::ModelIdentifier::getModelIdentifier(profile.model()).uRI(), u"Avionics");
  EXPECT_ERROR(Profile::newProfile(u"Avionics"), "Velmora:Profile:ProfileAlreadyExists", "Avionics");
}

TEST_F(ProfileTest, NamesFollowTheRulesOfTheHost) {
  const auto profile = Profile::newProfile(u"P");
  const auto model = profile.model();
  add(profile, u"S");
  for (const char16_t* bad : {u"1st", u"_x", u"a b", u"a.b", u"é", u"a/b"}) {
    EXPECT_ERROR(Profile::newProfile(bad), "Velmora:Profile:InvalidProfileName", tavo::String(bad));
    EXPECT_ERROR_UNCHANGED(model, profile.setName(bad), "Velmora:Profile:InvalidProfileName", tavo::String(bad));
    EXPECT_ERROR_UNCHANGED(model, add(profile, bad), "Velmora:Profile:InvalidPrototypeName", tavo::String(bad));
    EXPECT_ERROR_UNCHANGED(model, profile.addPropertySet(bad), "Velmora:Profile:InvalidPropertySetName",
                           tavo::String(bad));
    EXPECT_ERROR_UNCHANGED(model, profile.prototypes().front().setName(bad), "Velmora:Profile:InvalidPrototypeName",
                           tavo::String(bad));
  }
  EXPECT_ERROR(Profile::newProfile(u""), "Velmora:Profile:InvalidProfileName", "");
  EXPECT_EQ(catalog().getLoadedProfileNames(), (Texts{u"P"}));
}

TEST_F(ProfileTest, NamesAreUniqueWithinAProfile) {
  const auto profile = Profile::newProfile(u"P");
  const auto model = profile.model();
  add(profile, u"S");
  const auto other = add(profile, u"T");
  profile.addPropertySet(u"Free");
  profile.addTag(u"label");
  EXPECT_ERROR_UNCHANGED(model, add(profile, u"S"), "tavo:messages:UniquenessConstraint");
  EXPECT_ERROR_UNCHANGED(model, other.setName(u"S"), "tavo:messages:UniquenessConstraint");
  EXPECT_ERROR_UNCHANGED(model, profile.addPropertySet(u"Free"), "Velmora:Profile:NonUniquePrototypeName", "Free");
  const auto second = profile.addPropertySet(u"Second");
  EXPECT_ERROR_UNCHANGED(model, second.setName(u"Free"), "Velmora:Profile:NonUniquePrototypeName", "Free");
  EXPECT_ERROR_UNCHANGED(model, profile.addTag(u"label"), "tavo:messages:UniquenessConstraint");
  EXPECT_ERROR(profile.checkPrototypeName(u"S"), "Velmora:Profile:NonUniquePrototypeName", "S");
  EXPECT_ERROR(profile.checkPropertySetName(u"Free"), "Velmora:Profile:NonUniquePrototypeName", "Free");
}

TEST_F(ProfileTest, ABaseIsAKindOfElementAParentOrNothing) {
  const auto profile = Profile::newProfile(u"P");
  const struct {
    tavo::String base;
    Texts appliesTo, expected;
    bool hasParent;
  } rows[] = {
      {u"", {}, {}, false},
      {u"built-in", {u"Port"}, {u"Port"}, false},
      {u"zelkor.Port", {u"Port"}, {u"Port"}, false},
      {u"zelkor.Component", {u"Connector", u"Connector"}, {u"Component", u"Connector"}, false},
      {u"zelkor.Architecture", {}, {u"Architecture"}, false},
      {u"P.S0", {u"Port"}, {u"Port"}, true},
  };
  int number = 0;
  for (const auto& row : rows) {
    SCOPED_TRACE(row.base.toUtf8());
    const auto made = profile.addPrototype(text("S" + std::to_string(number++)), row.base, row.appliesTo);
    EXPECT_EQ(made.appliesTo(), row.expected);
    EXPECT_EQ(made.hasParent(), row.hasParent);
    EXPECT_EQ(made.getPropertySet().getName(), made.getName());
    EXPECT_TRUE(made.defaultStereotypeMap());
  }
  for (const char16_t* unknown : {u"zelkor.Wheel", u"P.Nothing", u"Q.S0", u"S0", u"P.S0.more"})
    EXPECT_ERROR_UNCHANGED(profile.model(), add(profile, u"X", unknown), "Velmora:Profile:InvalidBaseStereotype",
                           tavo::String(unknown));
}

TEST_F(ProfileTest, AnInheritedPortStereotypeIsNoDefaultOfComponents) {
  const auto profile = Profile::newProfile(u"P");
  const auto any = add(profile, u"Any");
  add(profile, u"OnPorts", u"zelkor.Port");
  const auto inherited = add(profile, u"Inherited", u"P.OnPorts");
  EXPECT_ERROR_UNCHANGED(profile.model(), profile.setDefaultPrototype(inherited),
                         "Velmora:Profile:InvalidComponentDefault");
  profile.setDefaultPrototype(any);
  EXPECT_EQ(profile.defaultArchPrototype(), any);
  const auto serial = profile.model().undoSerial();
  profile.setDefaultPrototype(any);
  EXPECT_EQ(profile.model().undoSerial(), serial);
}

TEST_F(ProfileTest, EachKindHasOneDefaultThatAppliesToIt) {
  const auto profile = Profile::newProfile(u"P");
  const auto model = profile.model();
  const auto any = add(profile, u"Any");
  add(profile, u"OnPorts", u"zelkor.Port");
  add(profile, u"OnConnectors", u"zelkor.Connector");
  add(profile, u"OnComponents", u"zelkor.Component");
  const auto map = any.defaultStereotypeMap();
  const struct {
    const char16_t *key, *fitting, *other; ///< the stereotype that applies, and one that does not
    void (DefaultStereotypeMap::*set)(const Prototype&) const;
    Prototype (DefaultStereotypeMap::*get)() const;
    void (DefaultStereotypeMap::*remove)() const;
    std::string id;
    Texts arguments;
  } rows[] = {
      {u"component", u"OnComponents", u"OnPorts", &DefaultStereotypeMap::setArchitectureDefault,
       &DefaultStereotypeMap::getArchitectureDefault, &DefaultStereotypeMap::removeArchitectureDefault,
       "Velmora:Profile:InvalidComponentDefault", Texts{}},
      {u"port", u"OnPorts", u"OnConnectors", &DefaultStereotypeMap::setPortDefault,
       &DefaultStereotypeMap::getPortDefault, &DefaultStereotypeMap::removePortDefault,
       "Velmora:Profile:InvalidPortDefault", Texts{u"P.OnConnectors"}},
      {u"connector", u"OnConnectors", u"OnComponents", &DefaultStereotypeMap::setConnectorDefault,
       &DefaultStereotypeMap::getConnectorDefault, &DefaultStereotypeMap::removeConnectorDefault,
       "Velmora:Profile:InvalidConnectorDefault", Texts{u"P.OnComponents"}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.id);
    const auto empty = tavo::modelText(model);
    const auto fitting = profile.prototypes().find(row.fitting), other = profile.prototypes().find(row.other);
    EXPECT_FALSE((map.*row.get)());
    (map.*row.remove)();
    EXPECT_TRUE(testsupport::raises([&] { (map.*row.set)(other); }, row.id, row.arguments));
    EXPECT_EQ(tavo::modelText(model), empty);

    (map.*row.set)(any);
    (map.*row.remove)();
    (map.*row.set)(fitting);
    const auto serial = model.undoSerial();
    (map.*row.set)(fitting);
    EXPECT_EQ(model.undoSerial(), serial) << "the same again is no change";
    EXPECT_ERROR_UNCHANGED(model, (map.*row.set)(any), "tavo:messages:UniquenessConstraint");
    EXPECT_TRUE(testsupport::raises([&] { (map.*row.set)(other); }, row.id, row.arguments));
    EXPECT_EQ((map.*row.get)(), fitting);
    EXPECT_EQ(map.getDefault(row.key), fitting);
  }
  EXPECT_EQ(map.defaults().size(), std::size(rows));
  map.clearAll();
  EXPECT_TRUE(map.defaults().empty());
  ASSERT_TRUE(model.undo()) << "one step";
  EXPECT_EQ(map.getConnectorDefault().getName(), u"OnConnectors");
  EXPECT_FALSE(map.hasDefault(u"Component"));
  profile.prototypes().find(u"OnPorts").destroy();
  EXPECT_FALSE(map.getPortDefault());
  EXPECT_TRUE(map.hasDefault(u"port"));
}

TEST_F(ProfileTest, ADefaultOfAnotherProfileIsHeldByProxyAndSurvivesItsUnloading) {
  saveParentAndChild();
  const auto child = Profile::loadFromFile(u"Child");
  const auto map = child.prototypes().front().defaultStereotypeMap();
  map.setPortDefault(catalog().getPrototype(u"Parent.Base"));
  child.prototypes().front().setParent({});
  save(child);
  catalog().unloadAllProfiles();

  const auto loaded = Profile::loadFromFile(u"Child").prototypes().front().defaultStereotypeMap();
  EXPECT_TRUE(loaded.defaults().front().defaultStereotypeProxy().findTargetElement()) << "bound, since it is at hand";
  Profile::unload(u"Parent");
  EXPECT_EQ(loaded.getPortDefault().getFullyQualifiedName(), u"Parent.Base"); // loaded again for the purpose
  Profile::unload(u"Parent");
  fs::remove(file("Parent.xml"));
  EXPECT_FALSE(loaded.getPortDefault());
  EXPECT_TRUE(loaded.hasDefault(u"port"));
  loaded.removePortDefault();
  EXPECT_FALSE(Profile::findLoadedProfile(u"Child").isDependentOnProfile(u"Parent"));
}

TEST_F(ProfileTest, ATagIsOnAnyNumberOfElementsOfItsModel) {
  const auto profile = Profile::newProfile(u"P");
  const auto model = profile.model();
  const auto tag = profile.addTag(u"reviewed in 2020");
  tag.setDescription(u"by two");
  profile.addTag(u"other");
  const auto one = test::PrototypableFixture::create(model), two = test::PrototypableFixture::create(model);
  EXPECT_TRUE(tag.linkedElements().empty());
  for (const auto& element : {one, two, one})
    tag.setLinkedElements(element);
  EXPECT_EQ(tag.linkedElements().size(), 2u);
  const auto other = tavo::Model::create();
  const auto elsewhere = test::PrototypableFixture::create(other);
  EXPECT_ERROR_UNCHANGED(model, tag.setLinkedElements(elsewhere), "tavo:messages:CannotCreateCrossModelAssociation");
  EXPECT_ERROR_UNCHANGED(model, tag.setLinkedElements({}), "tavo:messages:CannotAddNonExistentObject");
  EXPECT_ERROR_UNCHANGED(model, tag.setName(u"other"), "tavo:messages:UniquenessConstraint", "tags", "other");

  EXPECT_EQ(tag.clone(model, {}).cast<Tag>().linkedElements().size(), 2u);
  const auto copy = tag.clone(other, {}).cast<Tag>();
  EXPECT_EQ(copy.getName(), u"reviewed in 2020");
  EXPECT_EQ(copy.description(), u"by two");
  EXPECT_TRUE(copy.linkedElements().empty());

  one.destroy();
  tag.removeLinkedElement(two);
  tag.removeLinkedElement(two);
  EXPECT_TRUE(tag.linkedElements().empty());
  ASSERT_TRUE(model.undo());
  ASSERT_TRUE(model.undo());
  EXPECT_EQ(tag.linkedElements().size(), 2u);
}

TEST_F(ProfileTest, ANewNameReachesEverybodyWhoRefersToIt) {
  const auto parent = Profile::newProfile(u"Parent");
  const auto base = add(parent, u"Base");
  const auto child = Profile::newProfile(u"Child");
  const auto derived = add(child, u"Derived", u"Parent.Base");
  save(child);
  const auto childHistory = child.model().undoSerial();

  const auto expectNamed = [&](const char16_t* name) {
    EXPECT_EQ(catalog().getLoadedProfileNames(), (Texts{u"Child", name}));
    EXPECT_EQ(services::proxy::ModelIdentifier::getModelIdentifier(parent.model()).uRI(), name);
    EXPECT_EQ(child.getDependentProfiles(), (Texts{name}));
    EXPECT_EQ(derived.getParent(), base);
    EXPECT_EQ(base.getFullyQualifiedName(), tavo::concat(name, u".Base"));
    EXPECT_EQ(child.model().undoSerial(), childHistory); // nothing there that could be undone alone
  };
  parent.setName(u"Renamed");
  expectNamed(u"Renamed");
  EXPECT_TRUE(child.dirty()); // its file still has the old name
  ASSERT_TRUE(parent.model().undo());
  expectNamed(u"Parent");
  ASSERT_TRUE(parent.model().redo());
  expectNamed(u"Renamed");
}

TEST_F(ProfileTest, AReferenceThatRedoBringsBackIsSavedUnderTheNewName) {
  const auto parent = Profile::newProfile(u"Parent"), child = Profile::newProfile(u"Child");
  add(parent, u"Base");
  add(child, u"Derived", u"Parent.Base");
  ASSERT_TRUE(child.model().undo());
  parent.setName(u"Renamed");
  ASSERT_TRUE(child.model().redo());
  save(parent);
  save(child);
  catalog().unloadAllProfiles();
  EXPECT_EQ(Profile::loadFromFile(u"Child").getDependentProfiles(), (Texts{u"Renamed"}));
}

TEST_F(ProfileTest, OnlyACommittedNameCounts) {
  const auto profile = Profile::newProfile(u"P");
  {
    const tavo::Transaction abandoned(profile.model());
    profile.setName(u"Q");
    EXPECT_EQ(catalog().getLoadedProfileNames(), (Texts{u"P"}));
    EXPECT_ERROR(Profile::newProfile(u"P"), "Velmora:Profile:ProfileAlreadyExists", "P");
    const auto other = Profile::newProfile(u"Other");
    EXPECT_ERROR_UNCHANGED(other.model(), other.setName(u"Q"), "Velmora:Profile:ProfileAlreadyExists", "Q");
  }
  EXPECT_EQ(catalog().getLoadedProfileNames(), (Texts{u"Other", u"P"}));
  EXPECT_ERROR_UNCHANGED(profile.model(), profile.setName(u"Other"), "Velmora:Profile:ProfileAlreadyExists", "Other");
}

TEST_F(ProfileTest, UndoOntoANameThatIsTakenMeanwhileLeavesBothProfilesFiled) {
  const auto first = Profile::newProfile(u"P");
  first.setName(u"Q");
  const auto second = Profile::newProfile(u"P");
  ASSERT_TRUE(first.model().undo());
  EXPECT_EQ(Profile::findLoadedProfile(u"P"), second);
  EXPECT_EQ(Profile::findLoadedProfile(u"Q"), first);
  EXPECT_EQ(reported(), (std::vector<std::string>{"Velmora:Profile:ProfileAlreadyExists"}));
  ASSERT_TRUE(first.model().redo());
  EXPECT_EQ(Profile::findLoadedProfile(u"Q"), first);
}

TEST_F(ProfileTest, ANameThatAMissingProfileHadDoesNotMixUpReferences) {
  // Child refers to Missing, then to Parent, which takes the name of the missing one.
  const auto missing = Profile::newProfile(u"Missing"), parent = Profile::newProfile(u"Parent");
  add(missing, u"M");
  add(parent, u"Base");
  const auto child = Profile::newProfile(u"Child");
  const auto lost = add(child, u"Lost", u"Missing.M"), derived = add(child, u"Derived", u"Parent.Base");
  Profile::unload(u"Missing");
  parent.setName(u"Missing");
  EXPECT_EQ(derived.getParent().getName(), u"Base");
  EXPECT_FALSE(lost.getParent());
  parent.setName(u"Another");
  EXPECT_EQ(child.getDependentProfiles(), (Texts{u"Missing", u"Another"}));
}

TEST_F(ProfileTest, AProfileMadeElsewhereIsTakenOver) {
  std::vector<tavo::Model> models;
  const auto make = [&](const tavo::String& name) {
    const auto profile = models.emplace_back(tavo::Model::create()).create<Profile>();
    profile.setPropertyValue(*Profile::metaClass().findProperty("Name"), tavo::Value::of(name));
    return profile;
  };
  const auto profile = make(u"P");
  catalog().addProfile(profile);
  catalog().addProfile(profile);
  EXPECT_EQ(Profile::findLoadedProfile(u"P"), profile);
  EXPECT_EQ(services::proxy::ModelIdentifier::getModelIdentifier(profile.model()).uRI(), u"P");
  save(profile);
  EXPECT_FALSE(profile.dirty());
  profile.addTag(u"label");
  EXPECT_TRUE(profile.dirty());
  const auto namesake = make(u"P"), nameless = make(u"no name");
  EXPECT_ERROR_UNCHANGED(namesake.model(), catalog().addProfile(namesake), "Velmora:Profile:ProfileAlreadyExists", "P");
  EXPECT_ERROR_UNCHANGED(nameless.model(), catalog().addProfile(nameless), "Velmora:Profile:InvalidProfileName",
                         "no name");
}

TEST_F(ProfileTest, ANewNameTakesTheProfileOffItsFile) {
  const auto profile = Profile::newProfile(u"P");
  save(profile);
  profile.setName(u"P");
  profile.setName(u"");
  EXPECT_EQ(profile.filePath(), text(file("P.xml")));
  EXPECT_FALSE(profile.dirty());
  profile.setName(u"Q");
  EXPECT_EQ(profile.filePath(), u"");
  profile.saveToFile(u"");
  EXPECT_TRUE(fs::exists(workingFolder() / "Q.xml"));
  EXPECT_EQ(profile.filePath(), text(workingFolder() / "Q.xml"));
}

TEST_F(ProfileTest, DependenciesAreTheProfilesThatSomethingRefersTo) {
  saveParentAndChild();
  const auto child = Profile::loadFromFile(u"Child");
  const auto parent = Profile::findLoadedProfile(u"Parent");
  EXPECT_TRUE(child.isDependentOnProfile(u"Parent"));
  EXPECT_FALSE(parent.isDependentOnProfile(u"Child"));
  EXPECT_ERROR(parent.checkProfileCircularDependency(child), "Velmora:Profile:CircularProfileDependency", "Parent",
               "Child");
  EXPECT_ERROR_UNCHANGED(parent.model(), add(parent, u"X", u"Child.Derived"),
                         "Velmora:Profile:CircularProfileDependency", "Parent", "Child");
  EXPECT_ERROR_UNCHANGED(parent.model(), parent.prototypes().front().setParent(child.prototypes().front()),
                         "Velmora:Profile:CircularPrototypeInheritance", "Parent.Base", "Child.Derived");
  const auto map = parent.prototypes().front().defaultStereotypeMap();
  EXPECT_ERROR_UNCHANGED(parent.model(), map.setPortDefault(child.prototypes().front()),
                         "Velmora:Profile:CircularProfileDependency", "Parent", "Child");
  child.prototypes().front().setParent({});
  EXPECT_FALSE(child.isDependentOnProfile(u"Parent"));
  parent.checkProfileCircularDependency(child);
  ASSERT_TRUE(child.model().undo());
  EXPECT_TRUE(child.isDependentOnProfile(u"Parent"));

  // One that is not loaded at the moment closes a circle all the same.
  const auto top = Profile::newProfile(u"Top");
  add(top, u"T", u"Child.Derived");
  Profile::unload(u"Child");
  EXPECT_ERROR(parent.checkProfileCircularDependency(top), "Velmora:Profile:CircularProfileDependency", "Parent",
               "Top");
  Profile::unload(u"Child");
  fs::remove(file("Child.xml"));
  parent.checkProfileCircularDependency(top);
}

TEST_F(ProfileTest, AModelHasOneResolverPerNameAndKind) {
  const auto model = tavo::Model::create();
  EXPECT_FALSE(ProfileResolver::findModelResolver(model, u"P"));
  const auto made = ProfileResolver::createResolver(model, u"P");
  const auto otherCase = ProfileResolver::createResolver(model, u"p");
  const auto otherKind = property::PropertySetResolver::createResolver(model, u"P");
  EXPECT_EQ(ProfileResolver::createResolver(model, u"P"), made);
  EXPECT_EQ(ProfileResolver::findModelResolver(model, u"p"), otherCase);
  EXPECT_NE(otherCase, made);

  const auto profile = Profile::newProfile(u"P");
  made.load();
  otherKind.load();
  EXPECT_EQ(made.getReferencedModel(), profile.model());
  EXPECT_FALSE(otherKind.getReferencedModel());
  EXPECT_ERROR(otherCase.load(), "Velmora:Profile:ProfileNotFound");
  EXPECT_ERROR(ProfileResolver::createResolver(model, u"../P").load(), "Velmora:Profile:InvalidProfileName", "../P");
}

TEST_F(ProfileTest, AMissingDependencyIsMissedAndNamed) {
  saveParentAndChild();
  const auto child = Profile::loadFromFile(u"Child");
  EXPECT_FALSE(child.hasMissingArtifact());
  EXPECT_TRUE(catalog().allProfilesReadyForImport({child}));
  Profile::unload(u"Parent");
  fs::remove(file("Parent.xml"));
  EXPECT_TRUE(child.hasMissingArtifact());
  EXPECT_TRUE(catalog().getIsThisOrAnyDependentProfileUnhealthyOnLoad(child));
  EXPECT_FALSE(catalog().allProfilesReadyForImport({child}));
  EXPECT_TRUE(catalog().allProfilesReadyForImport({}));
  EXPECT_ERROR(child.forceResolveDependentProfile(), "Velmora:Profile:ProfileProxyResolveFailed", "Child", "Parent");
}

TEST_F(ProfileTest, TheFirstFaultInTheOrderOfNamesMakesAProfileUnhealthyUntilItIsRepaired) {
  saveParentAndChild();
  const auto child = Profile::loadFromFile(u"Child");
  add(child, u"Another", u"Parent.Base");
  Profile::unload(u"Parent");
  fs::remove(file("Parent.xml"));
  reported();
  child.checkHealth();
  EXPECT_TRUE(child.getIsUnhealthyOnLoad());
  ASSERT_EQ(diagnostics_->diagnostics.size(), 1u);
  const auto& warning = diagnostics_->diagnostics[0];
  EXPECT_EQ(warning.severity, kavra::Severity::HighPriorityWarning);
  EXPECT_EQ(warning.id, "Velmora:Profile:ErrorLoadingProfile");
  EXPECT_EQ(warning.arguments, (std::vector<std::u16string>{u"Child"}));
  ASSERT_EQ(warning.causes.size(), 3u); // the parent that cannot be had, its profile, the file that is not there
  EXPECT_EQ(text(warning.causes[0]), child.healthCheckErrorOnLoad());

  for (const auto& prototype : child.prototypes().toVector())
    prototype.setParent({});
  child.checkHealth();
  EXPECT_EQ(child.healthCheckErrorOnLoad(), u"");
}

TEST_F(ProfileTest, AListenerWithAFaultIsReportedAndStopsNothing) {
  const auto profile = Profile::newProfile(u"P");
  const auto token = profile.model().addShallowListener([] { throw std::runtime_error("a listener with a fault"); });
  profile.setFriendlyName(u"friendly");
  EXPECT_EQ(profile.friendlyName(), u"friendly");
  EXPECT_EQ(reported(), (std::vector<std::string>{"tavo:messages:ForeignException"}));
}

TEST_F(ProfileTest, ExportingToAReleaseThatNobodyKnowsTouchesNoFile) {
  const auto profile = Profile::newProfile(u"P");
  const auto path = text(file("old.xml"));
  EXPECT_ERROR_BECAUSE("Velmora:Profile:NoWayToRelease", profile.exportToPrevious(path, u"Dodo"),
                       "Velmora:Profile:CannotExportToPrevious", "P", "Dodo", path);
  EXPECT_FALSE(fs::exists(file("old.xml")));
}

TEST_F(ProfileTest, TheCatalogKeepsOneDefaultPerClassAndFollowsRenaming) {
  const auto profile = Profile::newProfile(u"P");
  add(profile, u"S");
  catalog().setDefaultPrototype(u"zelkor.Component", u"P.S");
  profile.setName(u"Q");
  EXPECT_EQ(catalog().getDefaultPrototypeClass(u"Q.S"), u"zelkor.Component");
  EXPECT_FALSE(catalog().isDefaultPrototype(u"P.S"));
  catalog().setDefaultPrototype(u"zelkor.Component", u"");
  EXPECT_FALSE(catalog().isDefaultPrototype(u"Q.S"));
}

TEST_F(ProfileTest, PeopleCanSeeWhatIsLoaded) {
  testing::internal::CaptureStdout();
  catalog().dumpLoaded();
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "Profiles loaded:\n");
  add(Profile::newProfile(u"Z"), u"S");
  Profile::newProfile(u"A");
  testing::internal::CaptureStdout();
  catalog().dumpLoaded();
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "Profiles loaded:\nProfile: A\nProfile: Z\n    Prototype: S\n");
}

} // namespace
} // namespace zelkor::profile
