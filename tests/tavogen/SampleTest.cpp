// The sample package: what is set through facades, builders and operations is seen by reflection, and the other way
// round.
#include "annex/Vine.builder.h"
#include "sample/Bed.builder.h"
#include "sample/Bee.impl.h"
#include "sample/Plant.builder.h"
#include "sample/Plant.query.h"
#include "sample/Spot.h"
#include "sample/Stone.builder.h"
#include "sample/package.h"
#include "sample/tools/Tool.h"
#include "tavo/core/Errors.h"
#include "tavo/meta/CallDatatypes.h"
#include "tavo/model/ChangeSet.h"
#include "tests/support/AllClasses.h"
#include "tests/support/ErrorMatchers.h"

#include <gtest/gtest.h>

namespace sample {
namespace {

class SampleTest : public testing::Test {
protected:
  Plant::Impl& implOf(const Plant& plant) { return static_cast<Plant::Impl&>(plant.object()); }
  Bed::Impl& implOf(const Bed& of) { return static_cast<Bed::Impl&>(of.object()); }
  tavo::Value read(const tavo::ModelElement& element, std::string_view property) {
    return element.getPropertyValue(element.objectClass().property(property));
  }
  void write(const tavo::ModelElement& element, std::string_view property, const tavo::Value& value) {
    element.setPropertyValue(element.objectClass().property(property), value);
  }

  tavo::Model model = tavo::Model::create();
  Bed bed = Bed::create(model);
  Plant rose = Plant::make(bed, u"Rose", 7);
};

TEST_F(SampleTest, ClassesAreKnownByNameWithTheirFlags) {
  const auto& plant = tavo::MetaRegistry::instance().classNamed("sample.Plant");
  EXPECT_EQ(&plant, &Plant::metaClass());
  EXPECT_EQ(tavo::toText(plant.id()), "5d0d0f2e-4b5c-3f6a-8a55-0f5a3c1f9b10");
  EXPECT_TRUE(plant.isA(Named::metaClass()));
  EXPECT_TRUE(Named::metaClass().isAbstract());
  EXPECT_EQ(plant.property("height").index(), Plant::Impl::Index::height);
  EXPECT_EQ(plant.findProperty("scent"), nullptr);
  EXPECT_TRUE(plant.property("label").has(tavo::PropertyFlag::derived | tavo::PropertyFlag::transient));
  EXPECT_TRUE(plant.property("aliases").has(tavo::PropertyFlag::ordered));
  EXPECT_TRUE(Bed::metaClass().property("spades").has(tavo::PropertyFlag::unique));
}

TEST_F(SampleTest, DatatypesAreKnownByName) {
  const auto& registry = tavo::MetaRegistry::instance();
  EXPECT_EQ(registry.findDatatype("sample.Season")->datatype().literals.size(), 4u);
  EXPECT_EQ(registry.findDatatype("sample.Spot")->datatype().fields[1].name, "row");
  EXPECT_EQ(&registry.findDatatype("sample.metres")->datatype(), &tavo::datatypeOf<double>());
  EXPECT_EQ(registry.findDatatype("Season"), nullptr);
}

TEST_F(SampleTest, AttributesStartWithTheirDefaults) {
  EXPECT_TRUE(rose.isPerennial());
  EXPECT_EQ(rose.height(), 0.25);
  EXPECT_EQ(rose.family(), u"Rosaceae");
  EXPECT_EQ(rose.season(), Season::SUMMER);
  const auto stone = Stone::create(model);
  EXPECT_EQ(stone.depth(), -5);
  EXPECT_EQ(stone.age(), 12);
  EXPECT_FALSE(stone.width());
  for (const auto* property : rose.objectClass().properties()) {
    const bool isSet = property->name() == "Name" || property->name() == "number";
    if (property->kind() == tavo::FeatureKind::attribute && !isSet) {
      EXPECT_FALSE(rose.hasPropertyValue(*property)) << property->name();
    }
  }
}

TEST_F(SampleTest, BuildersSetInheritedAndOwnFeaturesAndChildren) {
  Plant::Builder tulip;
  tulip.doSetP_Name(u"Tulip");
  tulip.doSetNumber(3);
  tulip.doSetCode(u"T3");
  EXPECT_ERROR(tulip.setOrAdd(rose.objectClass().property("label"), tavo::Value::of(tavo::String())),
               "tavo:messages:CannotSetReadOnlyProperty", "label", "Plant");
  tulip.doSetSpot({u"north", 2, Season::WINTER});
  tulip.doSetNeighbour(rose);
  tulip.doSetLastSeen({30});
  EXPECT_EQ(tulip.getSpot().row, 2);
  EXPECT_EQ(tulip.getNeighbour(), rose);
  Bed::Builder builder(model);
  builder.doAddPlants(tulip);
  builder.doAddFavorites(rose);
  EXPECT_EQ(builder.getFavorites(), std::vector{rose});
  builder.doAddGnome(Stone::Builder());

  const Bed made = builder.doCreate();

  ASSERT_TRUE(made.plants().find(u"Tulip"));
  EXPECT_EQ(made.plants().findSecond(3).spot(), (Spot{u"north", 2, Season::WINTER}));
  EXPECT_EQ(made.plants()[0].code(), u"T3");
  EXPECT_EQ(made.plants()[0].neighbour(), rose);
  EXPECT_EQ(made.plants()[0].bed(), made);
  EXPECT_EQ(made.plants()[0].lastSeen().minutes, 30);
  EXPECT_EQ(made.plants()[0].visits(), 0u) << "builders run no hooks";
  EXPECT_EQ(made.favorites()[0], rose);
  EXPECT_TRUE(implOf(made).hasGnome());
  EXPECT_FALSE(implOf(made).hasMark());
}

TEST_F(SampleTest, ReflectionSeesWhatSettersWroteAndTheOtherWayRound) {
  rose.setSpot(Spot().setLabel(u"gate").setRow(4));
  const auto stone = Stone::create(model);
  stone.setLayers({3, 1});
  implOf(rose).setURI(u"garden://rose");
  EXPECT_EQ(read(rose, "spot").as<Spot>().label, u"gate");
  EXPECT_EQ(read(stone, "layers").as<std::vector<std::uint64_t>>().size(), 2u);
  EXPECT_EQ(read(rose, "URI").as<tavo::String>(), u"garden://rose");
  EXPECT_EQ(read(rose, "label").as<tavo::String>(), u"Rose");
  EXPECT_EQ(read(rose, "tallest").as<tavo::ModelElement>(), rose);

  write(rose, "season", tavo::Value::of(Season::WINTER));
  write(rose, "note", tavo::Value::of(std::optional<tavo::String>(u"")));
  EXPECT_EQ(rose.season(), Season::WINTER);
  EXPECT_TRUE(rose.note().has_value());
}

TEST_F(SampleTest, ReflectionRunsHooksAndOverriddenSetters) {
  EXPECT_THROW(rose.setHeight(-1), tavo::Error);
  EXPECT_THROW(write(rose, "height", tavo::Value::of(-1.0)), tavo::Error);
  EXPECT_EQ(rose.height(), 0.25);
  rose.setLastSeen({90});
  write(rose, "lastSeen", tavo::Value::of(Clock{95}));
  EXPECT_EQ(rose.lastSeen().minutes, 95);
  EXPECT_EQ(rose.visits(), 2u);
  EXPECT_ERROR(write(rose, "Name", tavo::Value::of<tavo::String>(u"")), "tavo:messages:InvalidValue", "", "Name",
               "a name");
  EXPECT_ERROR(write(rose, "neighbour", tavo::Value::of(1.0)), "tavo:messages:InvalidValue", "1", "neighbour", "Plant");
  write(rose, "Name", tavo::Value::of<tavo::String>(u"Briar"));
  EXPECT_TRUE(bed.plants().find(u"Briar"));
}

TEST_F(SampleTest, WhatCannotBeWrittenIsRefusedBeforeAnyHook) {
  const auto refused = [&](const Plant& plant, std::string_view id) {
    EXPECT_ERROR(implOf(plant).setHeight(-1), id);
    EXPECT_ERROR(write(plant, "height", tavo::Value::of(-1.0)), id);
  };
  refused(model.createProxy(Plant::metaClass(), tavo::randomUuid()).cast<Plant>(), "tavo:messages:CannotModifyProxy");
  model.setFrozen(true);
  refused(rose, "tavo:messages:ModelFrozen");
  model.setFrozen(false);
  auto& gone = implOf(rose);
  rose.destroy();
  EXPECT_ERROR(gone.setHeight(-1), "tavo:messages:NonExistentObject", "Plant");
}

TEST_F(SampleTest, FacadesOfBaseClassesReachOverridingOperations) {
  const Named named = rose;
  EXPECT_EQ(named.describe(2), u"Ro");
  EXPECT_THROW(named.rename(u""), tavo::Error);
  rose.rename(u"Tea");
  rose.rename(u"Tea", u"Rose");
  EXPECT_EQ(bed.plants().find(u"Tea Rose"), rose);
}

TEST_F(SampleTest, OperationsAreCalledByReflection) {
  const auto call = [&](std::string_view name, std::vector<tavo::Value>&& arguments) {
    return rose.objectClass().findOperation(name)->call(rose, arguments);
  };
  EXPECT_EQ(call("grow", {tavo::Value::of(0.5)}).as<double>(), 0.75);
  EXPECT_EQ(call("getTallest", {}).as<tavo::ModelElement>(), rose);
  const std::vector<tavo::ModelElement> among{rose};
  EXPECT_EQ(call("plants", {tavo::Value::of(among)}).as<std::vector<tavo::ModelElement>>(), among);
  EXPECT_THROW(call("grow", {tavo::Value::of<tavo::String>(u"much")}), tavo::Error);
  EXPECT_ERROR(call("wilted", {tavo::Value::of(Clock{1})}), "tavo:messages:CannotCallOperation", "wilted", "Plant");

  const tavo::Value here = tavo::Value::of(model);
  EXPECT_TRUE(call("isIn", {here, tavo::Value::of(&Named::metaClass())}).as<bool>());
  EXPECT_FALSE(call("isIn", {here, tavo::Value::of(&Bed::metaClass())}).as<bool>());
  EXPECT_THROW(call("isIn", {here, tavo::Value::of<const tavo::MetaClass*>(nullptr)}), tavo::Error);
  EXPECT_THROW(call("isIn", {here, tavo::Value()}), tavo::Error);

  std::vector<tavo::Value> seasons{tavo::Value::of(1.0), tavo::Value::of(std::vector{Season::SPRING})};
  const auto growInSeasons = *tavo::parseUuid("37994dbd-e1fa-35a0-a91c-54c1bc2d04c0");
  EXPECT_EQ(rose.objectClass().findOperation(growInSeasons)->call(rose, seasons).as<double>(), 1.75);

  std::vector<tavo::Value> measured{tavo::Value::of(std::optional<tavo::String>()), tavo::Value()};
  EXPECT_EQ(rose.objectClass().findOperation("measure")->call(rose, measured).as<double>(), 1.75);
  EXPECT_TRUE(measured[1].as<bool>());

  std::vector<tavo::Value> arguments{tavo::Value::of<tavo::ModelElement>(bed), tavo::Value::of<tavo::String>(u"Iris"),
                                     tavo::Value::of(std::uint32_t{2})};
  Plant::metaClass().findOperation("make")->call({}, arguments);
  EXPECT_TRUE(bed.plants().find(u"Iris"));
  EXPECT_ERROR(Bee::create(model).dance(rose), "tavo:messages:NotAvailable");
}

TEST_F(SampleTest, CollectionsAndReferencesKeepTheirOtherEnds) {
  const Bee bee = Bee::create(model);
  static_cast<Bee::Impl&>(bee.object()).getVisitedMutable().add(rose);
  EXPECT_EQ(rose.feeds()[0], bee);
  bed.getFavoritesMutable().add(rose);
  bed.getFavoritesMutable().remove(rose);
  EXPECT_TRUE(bed.favorites().empty());
  implOf(bed).getSpadesMutable().add(tools::Tool::create(model));
  EXPECT_EQ(bed.spades().size(), 1u);
  rose.destroy();
  EXPECT_TRUE(bee.visited().empty());
  const Stone stone = Stone::create(model);
  implOf(bed).setGnome(stone);
  implOf(bed).setGnome(stone);
  EXPECT_ERROR(implOf(bed).setGnome(Stone::create(model)), "tavo:messages:CannotAddSecondObject", "gnome", "Stone");
  implOf(bed).setGnome({});
  EXPECT_TRUE(stone && !stone.container() && !bed.gnome());
  tavo::checkInvariants(model);
}

TEST_F(SampleTest, DerivedIdentitiesFollowTheOwnerWhileTheyAreFree) {
  const auto gnome = implOf(bed).createIntoGnome(Stone::Builder());
  const auto derived = tavo::derivedUuid(bed.Uuid(), Bed::metaClass().property("gnome").id());
  EXPECT_EQ(gnome.Uuid(), derived);
  const auto first = implOf(bed).createIntoStones(Stone::Builder());
  const auto second = implOf(bed).createIntoStones(Stone::Builder());
  const auto formerly = second.Uuid();
  EXPECT_NE(first.Uuid(), implOf(bed).createIntoMark(Stone::Builder()).Uuid());
  EXPECT_EQ(first.Uuid(), Bed::metaClass().property("stones").derivedIdentity(bed.Uuid(), {}, 0));
  first.destroy();
  EXPECT_NE(implOf(bed).createIntoStones(Stone::Builder()).Uuid(), formerly) << "which has moved up";

  implOf(bed).setGnome({});
  EXPECT_NE(implOf(bed).createIntoGnome(Stone::Builder()).Uuid(), derived) << "the former one lives on";
  gnome.destroy();
  bed.gnome().destroy();
  EXPECT_EQ(implOf(bed).createIntoGnome(Stone::Builder()).Uuid(), derived);
}

TEST_F(SampleTest, FilesInWhichAnIdentityThatFollowsIsTakenAreRefusedWhereItIs) {
  class OneWay final : public tavo::ByteSource {
  public:
    explicit OneWay(const std::string& text) : text_(text) {}
    std::size_t read(char* to, std::size_t size) override { return text_.read(to, size); }

  private:
    tavo::MemorySource text_;
  };
  const auto gnome = implOf(bed).createIntoGnome(Stone::Builder());
  const auto mark = implOf(bed).createIntoMark(Stone::Builder());
  for (const auto& [taken, tag] : {std::pair(gnome, "<mark"), std::pair(mark, "<gnome")}) {
    std::string text = tavo::modelText(model).toUtf8();
    const auto at = text.find(tag);
    ASSERT_NE(at, std::string::npos) << text;
    text.insert(at + std::string(tag).size(), " uuid=\"" + tavo::toText(taken.Uuid()) + "\"");

    const auto second = text.rfind(">", std::max(text.find("<mark"), text.find("<gnome"))) + 1;
    const auto line = std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(second), '\n') + 2;
    const std::string place = "bed:" + std::to_string(line) + ":";
    OneWay oneWay(text);
    tavo::MemorySource twice(text);
    for (tavo::ByteSource* source : {static_cast<tavo::ByteSource*>(&oneWay), static_cast<tavo::ByteSource*>(&twice)}) {
      const auto read = tavo::Model::create();
      try {
        tavo::readModel(*source, "bed", read);
        ADD_FAILURE() << text;
      } catch (const tavo::Error& error) {
        EXPECT_EQ(error.id(), tavo::FrameworkError::DuplicateIdentity) << error.what();
        EXPECT_TRUE(error.arguments().front().toUtf8().starts_with(place)) << error.what() << text;
      }
      EXPECT_EQ(read.objectCount(), 0u);
    }
  }
}

TEST_F(SampleTest, WhatIsBornWithValuesIsOneThingToListenersAndToUndo) {
  const auto objects = model.objectCount();
  EXPECT_ERROR(Plant::make(bed, u"Rose", 8), "tavo:messages:UniquenessConstraint", "plants", "Rose");
  EXPECT_EQ(model.objectCount(), objects);

  std::string heard;
  const auto token = model.addListener([&](const tavo::ChangeSet& changes) {
    heard += std::to_string(changes.changes().size());
    for (const auto* name : {"Name", "number", "height"})
      heard += changes.touches(Plant::metaClass().property(name)) ? '+' : '-';
  });
  const auto iris = Plant::make(bed, u"Iris", 2);
  EXPECT_TRUE(model.undo() && !iris && model.redo());
  EXPECT_EQ(heard, "2++-2++-2++-") << "made and put into the bed, with the values that it was given";
  EXPECT_EQ(bed.plants().find(u"Iris"), iris);
  EXPECT_EQ(iris.number(), 2u);
  tavo::checkInvariants(model);
}

TEST_F(SampleTest, QueriesAskForOwnAndInheritedFeatures) {
  Plant::make(bed, u"Iris", 2);
  const tavo::Query query(model);
  const Plant::Constrainables plant(query);
  EXPECT_EQ(query.select<Plant>(plant.p_Name().startsWith(u"R") && plant.bed().is(bed)), std::vector{rose});
  EXPECT_EQ(query.select<Plant>(plant.number().less(5)).size(), 1u);
  EXPECT_EQ(query.select<Named>(Named::Constrainables(query)).size(), 3u);
}

TEST_F(SampleTest, ClassesOfOtherLibrariesDeriveFromIt) {
  annex::Vine::Builder builder;
  builder.doSetP_Name(u"Ivy");
  builder.doSetNumber(9);
  builder.doSetLength(4);
  implOf(bed).createIntoPlants(builder);

  const Plant plant = bed.plants().find(u"Ivy");
  const auto vine = plant.cast<annex::Vine>();
  EXPECT_EQ(vine.length(), 4);
  EXPECT_EQ(plant.describe(3), u"climbs");
  EXPECT_EQ(annex::Vine::metaClass().property("trellis").index(), Plant::Impl::propertyCount);
  EXPECT_THROW(rose.cast<annex::Vine>(), tavo::Error);
}

TEST(SampleClassesTest, EachKeepsWhatMustHoldForAll) {
  annex::Vine::metaClass(); // registers both packages
  testsupport::expectWhatMustHoldForAll(testsupport::concreteClasses({"sample", "annex"}));
}

/// A package with one class, whose code was compiled when Bee had `features` features.
const tavo::PackageDecl& packageOn(tavo::PropertyIndex features) {
  static tavo::PackageDecl package = sample::package();
  static tavo::ClassDecl drone = Bee::declaration();
  static const tavo::ClassDecl& (*const classes[])() = {[]() -> const tavo::ClassDecl& { return drone; }};
  drone.name = "Drone";
  drone.qualifiedName = "hive.Drone";
  drone.id = "0e0f8a5c-50a6-3d27-9f20-6a8c6f2b7d11";
  drone.base = &Bee::declaration;
  drone.package = []() -> const tavo::PackageDecl& { return package; };
  drone.builtOn.propertyCount = features;
  drone.builtOn.storageSize = sizeof(Bee::Impl::Storage);
  drone.properties = {};
  package.name = "hive";
  package.datatypes = {};
  package.classes = classes;
  return package;
}

TEST(RegistrationTest, RefusesClassesThatWereCompiledOnAnotherVersionOfTheirBase) {
  auto& registry = tavo::MetaRegistry::instance();
  const auto& other = packageOn(Bee::Impl::propertyCount + 1);
  EXPECT_ERROR(registry.registerPackage(other), "tavo:messages:IncompatibleLibrary", "hive.Drone", "sample.Bee", "1.3");
  EXPECT_EQ(registry.findPackage("hive"), nullptr);
  EXPECT_FALSE(registry.registerWhenLoaded(other));
  EXPECT_ERROR(registry.classNamed("hive.Drone"), "tavo:messages:IncompatibleLibrary", "hive.Drone", "sample.Bee",
               "1.3");

  packageOn(Bee::Impl::propertyCount);
  EXPECT_TRUE(registry.classNamed("hive.Drone").isA(Bee::metaClass())) << "compiled again, it is welcome";
}

TEST(SpotTest, IsOrderedByItsFieldsInTurn) {
  const Spot spot{u"a", 1, Season::SPRING};
  for (const Spot& later :
       {Spot{u"b", 0, Season::SPRING}, Spot{u"a", 2, Season::SPRING}, Spot{u"a", 1, Season::WINTER}}) {
    EXPECT_LT(spot, later);
    EXPECT_EQ(later.compareWith(spot), 1);
    EXPECT_NE(spot, later);
  }
  EXPECT_EQ(spot.hash(), Spot(spot).hash());
}

} // namespace
} // namespace sample
