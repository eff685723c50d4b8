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
#include "tavo/core/Error.h"
#include "tavo/meta/MetaRegistry.h"
#include "tavo/model/Model.h"
#include "tavo/model/ModelElementDatatype.h"
#include "tavo/model/Transaction.h"
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
  EXPECT_EQ(plant.properties().size(), Plant::Impl::propertyCount);
  EXPECT_EQ(plant.property("height").index(), Plant::Impl::Index::height);
  EXPECT_EQ(plant.findProperty("scent"), nullptr);
  EXPECT_FALSE(plant.property("secret").has(tavo::PropertyFlag::publicAccessor));
  EXPECT_FALSE(plant.property("code").isWritable());
  EXPECT_FALSE(plant.property("sownAt").isSaved());
  EXPECT_TRUE(Stone::metaClass().has(tavo::ClassFlag::derivedIdentity));
  EXPECT_EQ(Bed::metaClass().property("plants").opposite(), &plant.property("bed"));
}

TEST_F(SampleTest, AttributesStartWithTheirDefaults) {
  EXPECT_TRUE(rose.isPerennial());
  EXPECT_EQ(rose.offset(), -5);
  EXPECT_EQ(rose.height(), 0.25);
  EXPECT_EQ(rose.family(), u"Rosaceae");
  EXPECT_EQ(rose.season(), Season::SUMMER);
  EXPECT_FALSE(rose.maxHeight());
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
  tulip.doSetSpot({u"north", 2, Season::WINTER});
  tulip.doSetNeighbour(rose);
  EXPECT_EQ(tulip.getSpot().row, 2);
  EXPECT_EQ(tulip.getNeighbour(), rose);
  Bed::Builder builder(model);
  builder.doAddPlants(tulip);
  builder.doAddGnome(Stone::Builder());

  const Bed made = builder.doCreate();

  ASSERT_TRUE(made.plants().find(u"Tulip"));
  EXPECT_EQ(made.plants().findSecond(3).spot(), (Spot{u"north", 2, Season::WINTER}));
  EXPECT_EQ(made.plants()[0].neighbour(), rose);
  EXPECT_EQ(made.plants()[0].bed(), made);
  EXPECT_TRUE(implOf(made).hasGnome());
  EXPECT_FALSE(implOf(made).hasMark());
}

TEST_F(SampleTest, ReflectionSeesWhatSettersWroteAndTheOtherWayRound) {
  rose.setSpot(Spot().setLabel(u"gate").setRow(4));
  rose.setYields({3, 1});
  implOf(rose).setURI(u"garden://rose");
  EXPECT_EQ(read(rose, "spot").as<Spot>().label, u"gate");
  EXPECT_EQ(read(rose, "yields").as<std::vector<std::uint64_t>>().size(), 2u);
  EXPECT_EQ(read(rose, "URI").as<tavo::String>(), u"garden://rose");
  EXPECT_EQ(read(rose, "label").as<tavo::String>(), u"Rose");
  EXPECT_EQ(read(rose, "tallest").as<tavo::ModelElement>(), rose);

  rose.setPropertyValue(rose.objectClass().property("season"), tavo::Value::of(Season::WINTER));
  rose.setPropertyValue(rose.objectClass().property("note"), tavo::Value::of(std::optional<tavo::String>(u"")));
  EXPECT_EQ(rose.season(), Season::WINTER);
  EXPECT_TRUE(rose.note().has_value());
}

TEST_F(SampleTest, HooksRunForSettersAndReflection) {
  EXPECT_THROW(rose.setHeight(-1), tavo::Error);
  EXPECT_THROW(rose.setPropertyValue(rose.objectClass().property("height"), tavo::Value::of(-1.0)), tavo::Error);
  EXPECT_EQ(rose.height(), 0.25);
  rose.setLastSeen({90});
  EXPECT_EQ(rose.lastSeen().minutes, 90);
  EXPECT_EQ(rose.visits(), 1u);
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
  const auto call = [&](std::string_view name, std::vector<tavo::Value> arguments) {
    return rose.objectClass().findOperation(name)->call(rose, arguments);
  };
  EXPECT_EQ(call("grow", {tavo::Value::of(0.5)}).as<double>(), 0.75);
  EXPECT_EQ(call("getTallest", {}).as<tavo::ModelElement>(), rose);
  const std::vector<tavo::ModelElement> among{rose};
  EXPECT_EQ(call("plants", {tavo::Value::of(among)}).as<std::vector<tavo::ModelElement>>(), among);
  EXPECT_THROW(call("grow", {tavo::Value::of<tavo::String>(u"much")}), tavo::Error);
  EXPECT_THROW(call("isIn", {tavo::Value(), tavo::Value()}), tavo::Error);

  const std::vector<tavo::Value> arguments{tavo::Value::of<tavo::ModelElement>(bed),
                                           tavo::Value::of<tavo::String>(u"Iris"), tavo::Value::of(std::uint32_t{2})};
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
  for (const auto* metaClass : testsupport::concreteClasses({"sample", "annex"})) {
    testsupport::expectUndoAndRedo(*metaClass);
    testsupport::expectRefusals(*metaClass);
    testsupport::expectKeysFollow(*metaClass);
  }
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
