#include "tests/support/ErrorMatchers.h"
#include "tests/tavo/fixture/Author.h"
#include "tests/tavo/fixture/Book.h"
#include "tests/tavo/fixture/Shelf.h"

#include "tavo/core/Utf.h"
#include "tavo/model/Transaction.h"
#include "tavo/xml/ModelXml.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>

namespace {

using namespace library;

class ModelXmlTest : public testing::Test {
protected:
  Book book(const Shelf& shelf, std::u16string_view name, std::uint32_t index) {
    auto made = Book::create(model);
    made.setName(name);
    made.setNumber(index);
    shelf.getBooksMutable().add(made);
    return made;
  }

  /// A shelf with something of every kind in it.
  Shelf fill() {
    auto shelf = Shelf::create(model);
    shelf.setName(u"S\u00FC\u00DF & <sour>\r\n\t\" ");
    auto first = book(shelf, u"Zebra", 0);
    auto second = book(shelf, std::u16string_view(u"a\0b\xD800", 4), 1);
    first.setEditions({1, 0, 18446744073709551615ull});
    first.setPrice(1e-9);
    second.setPrice(std::nan(""));
    second.setNote(tavo::String(u""));
    first.setGenre(Genre::LETTERS);
    second.setGenre(static_cast<Genre>(7)); // of another build, perhaps
    auto writer = Author::create(model);
    shelf.getAuthorsMutable().add(writer);
    writer.setName(u"W");
    first.getWritersMutable().add(writer);
    second.getWritersMutable().add(writer);
    first.setSequel(second);
    shelf.getDisplayMutable().add(Book::create(model));
    return shelf;
  }

  tavo::Model model = tavo::Model::create();
};

TEST_F(ModelXmlTest, AModelComesBackAsItWasAndGivesTheSameBytesAgain) {
  fill();
  const auto text = tavo::modelText(model);
  auto again = tavo::Model::create();
  tavo::readModel(text, "again.xml", again);
  tavo::checkInvariants(again);
  EXPECT_FALSE(again.canUndo());
  EXPECT_EQ(tavo::modelText(again), text) << text;
  EXPECT_EQ(again.objectCount(), model.objectCount());
  const auto shelf = again.findTopLevel<Shelf>();
  const auto zebra = shelf.books().find(u"Zebra");
  EXPECT_EQ(zebra.price(), 1e-9);
  EXPECT_EQ(zebra.editions().back(), 18446744073709551615ull);
  EXPECT_EQ(zebra.sequel(), shelf.books().findSecond(1));
  EXPECT_EQ(zebra.sequel().name().size(), 4u);
  EXPECT_TRUE(zebra.sequel().note().has_value());
  EXPECT_FALSE(zebra.note().has_value());
  EXPECT_EQ(zebra.genre(), Genre::LETTERS);
  EXPECT_EQ(zebra.sequel().genre(), static_cast<Genre>(7));
}

TEST_F(ModelXmlTest, EveryUnitOfTextComesBackAndIsFound) {
  auto shelf = Shelf::create(model);
  tavo::Transaction transaction(model);
  for (std::uint32_t unit = 0; unit <= 0xFFFF; ++unit)
    book(shelf, std::u16string(1, static_cast<char16_t>(unit)), unit);
  transaction.commit();
  auto again = tavo::Model::create();
  tavo::readModel(tavo::modelText(model), "again.xml", again);
  const auto books = again.findTopLevel<Shelf>().books();
  ASSERT_EQ(books.size(), 0x10000u);
  for (std::uint32_t unit = 0; unit <= 0xFFFF; ++unit)
    ASSERT_EQ(books.find(std::u16string(1, static_cast<char16_t>(unit))), books.findSecond(unit)) << unit;
}

TEST_F(ModelXmlTest, KeysThatAreElementsDoNotClashWithOneThatIsEmpty) {
  auto shelf = Shelf::create(model);
  book(shelf, u"", 0);
  book(shelf, u"\x01", 1);
  book(shelf, u"\x02", 2);
  const auto text = tavo::modelText(model);
  auto again = tavo::Model::create();
  tavo::readModel(text, "again.xml", again);
  EXPECT_EQ(tavo::modelText(again), text);
}

TEST_F(ModelXmlTest, ATreeReadWithFreshIdentitiesIsACopyThatRefersToWhatIsOutside) {
  auto shelf = fill();
  auto other = Shelf::create(model);
  auto zebra = shelf.books().find(u"Zebra");
  zebra.setSequel(book(other, u"outside", 3));
  const auto before = tavo::modelText(model);

  std::map<tavo::Uuid, tavo::Uuid> identities;
  tavo::readModel(tavo::treeText(zebra), "copy", model,
                  {.freshIdentities = [&](const auto& old, const auto& fresh) { identities[old] = fresh; }});
  tavo::checkInvariants(model);
  const auto copy = model.find<Book>(identities.at(zebra.Uuid()));
  ASSERT_TRUE(copy);
  EXPECT_EQ(copy.name(), u"Zebra");
  EXPECT_EQ(copy.sequel(), zebra.sequel());
  EXPECT_EQ(copy.writers().toVector(), zebra.writers().toVector());
  model.undo();
  EXPECT_EQ(tavo::modelText(model), before);
}

/// Replaces text in a good document and expects the error, with nothing left in the model.
TEST_F(ModelXmlTest, FaultyDocumentsAreRefusedWhole) {
  auto shelf = Shelf::create(model, *tavo::parseUuid("11111111-1111-4111-8111-111111111111"));
  auto first = book(shelf, u"A", 0);
  const auto second = book(shelf, u"B", 1);
  const auto secondId = "\"" + tavo::toText(second.Uuid()) + "\"";
  first.setSequel(second);
  first.setPrice(2);
  first.setGenre(Genre::NOVEL);
  first.setEditions({7});
  const std::string good = tavo::toUtf8(tavo::modelText(model));
  struct Fault {
    std::string what, with, id;
    int later = 0; ///< lines after the fault where it shows
  };
  const Fault faults[] = {
      {"<tavo format=\"1\">", "<tavo format=\"2\">", "tavo_evo:messages:InvalidFamilyVersion"},
      {"<tavo format", "<other format", "tavo:messages:InvalidText"},
      {"</tavo>", "", "tavo:messages:MalformedXml", 1},
      {"version=\"1.0\" uri", "version=\"1.1\" uri", "tavo_evo:messages:InvalidFamilyVersion"},
      {"version=\"1.0\" uri", "version=\"0.9\" uri", "tavo_evo:messages:OldFamilyVersion"},
      {"<family name=\"fixture\"", "<family name=\"archive\"", "tavo:messages:UnknownFamily"},
      {"id=\"00000000-0000-3000-8000-000000000030\"", "id=\"00000000-0000-3000-8000-000000000099\"",
       "tavo:messages:UnknownClass"},
      {"id=\"00000000-0000-3000-8000-000000000033\"", "id=\"00000000-0000-3000-8000-000000000099\"",
       "tavo:messages:UnknownFeature"},
      {"<family name=\"fixture\" version=\"1.0\" uri=\"http://schema.zelkor.example/tavo/fixture/1.0\"/>", "",
       "tavo:messages:InvalidText", 3},
      {"<feature name=\"price\"",
       "<feature name=\"prize\" id=\"00000000-0000-3000-8000-000000000033\"/><feature name=\"price\"",
       "tavo:messages:InvalidText"},
      {"price=\"2\"", "price=\"two\"", "tavo:messages:InvalidText"},
      {"price=\"2\"", "prize=\"2\"", "tavo:messages:UnknownFeature"},
      {"genre=\"NOVEL\"", "genre=\"Novel\"", "tavo:messages:InvalidText"},
      {"genre=\"NOVEL\"", "genre=\"1\"", "tavo:messages:InvalidText"}, // a number is for a value without literal
      {"genre=\"NOVEL\"", "genre=\"4294967297\"", "tavo:messages:InvalidText"},
      {"editions=\"7\"", "editions=\"7  8\"", "tavo:messages:InvalidText"},
      {"editions=\"7\"", "editions=\"-7\"", "tavo:messages:InvalidText"},
      {"name=\"B\"", "name=\"A\"", "tavo:messages:InvalidText"},
      {"uuid=\"11111111-1111-4111-8111-111111111111\"", "uuid=\"11111111\"", "tavo:messages:InvalidText"},
      {"uuid=\"11111111-1111-4111-8111-111111111111\"", "", "tavo:messages:InvalidText"},
      {"uuid=" + secondId, "uuid=\"11111111-1111-4111-8111-111111111111\"", "tavo:messages:DuplicateIdentity"},
      {"sequel=" + secondId, "sequel=\"99999999-9999-4999-8999-999999999999\"", "tavo:messages:DanglingReference"},
      {"sequel=\"", "sequel=\"11111111-1111-4111-8111-111111111111\" was=\"", "tavo:messages:InvalidText"},
      {"<books ", "<books class=\"Shelf\" ", "tavo:messages:InvalidText"},
      {"<objects>", "<objects>text", "tavo:messages:InvalidText", 1},
      {"<objects>", "<objects><Ghost/>", "tavo:messages:InvalidText"},
      {"<families>", "<!DOCTYPE x><families>", "tavo:messages:MalformedXml"},
  };
  for (const auto& fault : faults) {
    const auto at = static_cast<std::ptrdiff_t>(good.find(fault.what));
    ASSERT_GE(at, 0) << fault.what << " in " << good;
    std::string bad = good;
    bad.replace(static_cast<std::size_t>(at), fault.what.size(), fault.with);
    auto target = tavo::Model::create();
    tavo::MemorySource source(bad);
    std::string raised, place;
    try {
      tavo::readModel(source, "bad.xml", target);
    } catch (const tavo::Error& error) {
      raised = error.id().text();
      const bool namesVersionFirst = fault.id.starts_with("tavo_evo:");
      place = error.arguments().at(namesVersionFirst ? 3 : 0).toUtf8() + ":";
    }
    EXPECT_EQ(raised, fault.id) << fault.with;
    const auto line = std::to_string(1 + fault.later + std::count(bad.begin(), bad.begin() + at, '\n'));
    EXPECT_EQ(place.rfind("bad.xml:" + line + ":", 0), 0u) << fault.with << " at " << place;
    EXPECT_EQ(target.objectCount(), 0u);
    EXPECT_TRUE(target.topLevel().empty());
    tavo::checkInvariants(target);
    // The model is as good as new.
    tavo::MemorySource again(good);
    tavo::readModel(again, "good.xml", target);
    EXPECT_EQ(tavo::toUtf8(tavo::modelText(target)), good);
  }
}

TEST_F(ModelXmlTest, EveryCutAndEveryChangedByteIsRefusedOrGivesASoundModel) {
  fill();
  const std::string good = tavo::toUtf8(tavo::modelText(model));
  for (std::size_t i = 0; i < good.size(); ++i)
    for (const bool cut : {true, false}) {
      std::string bad = cut ? good.substr(0, i) : good;
      if (!cut)
        bad[i] = static_cast<char>(bad[i] ^ static_cast<char>(1 + i % 7));
      auto target = tavo::Model::create();
      tavo::MemorySource source(bad);
      try {
        tavo::readModel(source, "bad.xml", target);
      } catch (const tavo::Error&) {
        EXPECT_EQ(target.objectCount(), 0u);
      }
      tavo::checkInvariants(target);
    }
}

} // namespace
