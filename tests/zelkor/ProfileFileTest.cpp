#include "tests/support/FaultyFileSystem.h"
#include "tests/zelkor/ProfileFixture.h"

#include "zelkor/evolution/ReleaseExport.h"
#include "zelkor/profile/ProfileResolver.h"
#include "zelkor/property/ValueType.h"
#include "zelkor/services/ModelIdentifier.h"

#include <sys/stat.h>

#include <functional>

namespace zelkor::profile {
namespace {

using services::ModelEvent;
using services::ModelEventBroadcastSystem;
using services::ModelEventType;
using testsupport::FaultyFileSystem;
class ProfileFileTest : public ProfileFixture {
protected:
  /// What has been announced since the last call, as "+Name" and "-Name".
  std::string announced() { return std::exchange(announced_, {}); }
  std::string load(const std::string& nameOrPath) { return Profile::loadFromFile(text(nameOrPath)).getName().toUtf8(); }
  static void replace(std::string& in, std::string_view what, std::string_view with) {
    ASSERT_NE(in.find(what), in.npos) << what;
    for (auto at = in.find(what); at != in.npos; at = in.find(what, at + with.size()))
      in.replace(at, what.size(), with);
  }

private:
  std::string announced_;
  const ModelEventBroadcastSystem::Token token_ =
      ModelEventBroadcastSystem::instance().subscribe([this](const ModelEvent& event) {
        if (event.type == ModelEventType::profileLoaded)
          announced_ += "+" + event.name.toUtf8();
        if (event.type == ModelEventType::profileUnloaded && event.element)
          announced_ += "-" + event.name.toUtf8();
      });
};

TEST_F(ProfileFileTest, AProfileIsFoundByNameOnThePathThenInTheWorkingFolderAndByItsPath) {
  const auto elsewhere = workingFolder() / "Elsewhere.xml";
  Profile::newProfile(u"Elsewhere").saveToFile(text(elsewhere));
  save(Profile::newProfile(u"Here"));
  catalog().unloadAllProfiles();
  announced();
  for (const auto& way :
       {std::string("Here"), std::string("Here.xml"), file("Here").string(), std::string("some/Here")}) {
    EXPECT_EQ(load(way), "Here") << way;
    EXPECT_EQ(Profile::loadFromFile(text(way)), Profile::findLoadedProfile(u"Here"));
    Profile::unload(u"Here");
    EXPECT_EQ(announced(), "+Here-Here");
  }
  EXPECT_EQ(load("Elsewhere"), "Elsewhere");
  EXPECT_EQ(Profile::findLoadedProfile(u"Elsewhere").filePath(), text(elsewhere));

  const kavra::ScopedHost none(nullptr);
  EXPECT_ERROR(load("Here"), "Velmora:Profile:ProfileNotFound", text(workingFolder() / "Here.xml"));
}

TEST_F(ProfileFileTest, WhatIsNoProfileFileIsRefusedByNameBeforeAnythingIsRead) {
  for (const auto& row : std::vector<std::array<std::string, 3>>{
           {"P.apfx", "Velmora:Profile:APFXExtensionDeprecated", ""},
           {file("P.apfx"), "Velmora:Profile:APFXExtensionDeprecated", ""},
           {"1P", "Velmora:Profile:InvalidProfileName", "1P"},
           {"1P.apfx", "Velmora:Profile:InvalidProfileName", "1P"},
           {"P.Q.xml", "Velmora:Profile:InvalidProfileName", "P.Q"},
           {"..", "Velmora:Profile:InvalidProfileName", ".."},
           {"", "Velmora:Profile:InvalidProfileName", ""},
           {std::string(64, 'x'), "Velmora:Profile:InvalidProfileName", std::string(64, 'x')},
       }) {
    const std::string argument = row[0], id = row[1], name = row[2];
    FaultyFileSystem untouched;
    const tavo::ScopedFileSystem installed(untouched);
    if (id == "Velmora:Profile:InvalidProfileName")
      EXPECT_ERROR(load(argument), id, name);
    else
      EXPECT_ERROR(load(argument), id);
    EXPECT_TRUE(untouched.calls.empty());
  }
}

TEST_F(ProfileFileTest, OnlyRegularFilesAreOpened) {
  EXPECT_ERROR(load("Missing"), "Velmora:Profile:ProfileNotFound", text(workingFolder() / "Missing.xml"));
  fs::create_directory(file("Folder.xml"));
  EXPECT_ERROR(load(file("Folder.xml")), "tavo:io:NotARegularFile", text(file("Folder.xml")));
  ASSERT_EQ(::mkfifo(file("Pipe.xml").c_str(), 0600), 0);
  EXPECT_ERROR(load(file("Pipe.xml")), "tavo:io:NotARegularFile", text(file("Pipe.xml")));
  EXPECT_EQ(announced(), "");
}

TEST_F(ProfileFileTest, BadFilesAreRefusedWithTheirErrorAndLeaveTheCatalogAsItWas) {
  const auto good = contentOf(fs::path(ZELKOR_TEST_DATA) / "Bad.xml");
  const auto path = text(file("Bad.xml"));
  save(Profile::newProfile(u"Present"));
  announced();
  const auto models = tavo::Constellation::process().models().size();
  const auto expectRefused = [&](const std::string& content, const std::string& id,
                                 const std::vector<tavo::String>& arguments = {}) {
    write(file("Bad.xml"), content);
    EXPECT_TRUE(testsupport::raises([&] { load("Bad"); }, id, arguments));
    EXPECT_EQ(catalog().getLoadedProfileNames(), (Texts{u"Present"}));
    EXPECT_EQ(tavo::Constellation::process().models().size(), models);
    EXPECT_EQ(announced(), "");
  };
  expectRefused(good, "Velmora:Profile:MissingDependentProfile", {u"Q"}); // no other fault is in it
  expectRefused("", "tavo:messages:MalformedXml");
  expectRefused(good.substr(0, good.size() / 2), "tavo:messages:MalformedXml");
  auto without = good;
  const auto profile = good.find("<Profile uuid"), end = good.find("<UnitQueryClientWrapper");
  expectRefused(without.erase(profile, end - profile), "Velmora:Profile:NotAProfile", {path});

  const std::string other = "77d5bb85-42f4-4bd8-b78e-dfd8edbdabfa\" Name=\"", toDefault = "defaultArchPrototype=\"";
  const struct {
    std::string what, with, id;
    std::vector<tavo::String> arguments;
  } rows[] = {
      {"<tavo ", "<!DOCTYPE tavo [<!ENTITY a \"aaaaaaaaaa\">]><tavo ", "tavo:messages:MalformedXml", {}},
      {"2.8", "3.0", "Velmora:Profile:CannotLoadFutureVersion", {path, u"3.0"}},
      {"2.8", "2.1", "Velmora:Profile:CannotLoadFutureVersion", {path, u"2.1"}}, // which never was
      {"zelkor_services_proxy", "somebody_elses", "tavo:messages:UnknownFamily", {}},
      {"7a5ce8f6cc19\">", "7a5ce8f6cc1a\">", "tavo:messages:UnknownClass", {}},
      {"<UnitQueryClientWrapper",
       "<Profile uuid=\"00000000-0000-4000-8000-000000000001\"/><UnitQueryClientWrapper",
       "Velmora:Profile:NotAProfile",
       {path}},
      {other + "Other", other + "Derived", "tavo:messages:InvalidText", {}},
      {toDefault + "798a", toDefault + "798b", "tavo:messages:DanglingReference", {}},
      {"526cf928-2558-4045-b076-0007069c2300",
       "cb060f88-c2b7-4dea-9aec-c1ffcc41727f",
       "tavo:messages:DuplicateIdentity",
       {}},
      {toDefault + "798a18c3-e1d6-4ba6-b3f7-39e11260a75c",
       toDefault + "5b80db3b-1f41-497f-90c9-f46ad1c7da53",
       "tavo:messages:InvalidText",
       {}}, // leads to an object of another class
      {"URI=\"Q\"", "URI=\"../outside/Q\"", "Velmora:Profile:MissingDependentProfile", {u"../outside/Q"}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.with);
    auto content = good;
    replace(content, row.what, row.with);
    expectRefused(content, row.id, row.arguments);
  }
}

TEST_F(ProfileFileTest, WhatCannotBeReadBehindAReferenceIsMissingUntilItIsMended) {
  saveParentAndChild();
  const auto child = Profile::loadFromFile(u"Child");
  const auto derived = child.prototypes().front();
  const auto before = tavo::modelText(child.model());
  Profile::unload(u"Parent");
  const auto good = contentOf(file("Parent.xml"));
  fs::remove(file("Parent.xml"));
  const auto place = workingFolder() / "Parent.xml";
  const std::pair<const char*, std::function<void()>> rows[] = {
      {"Velmora:Profile:ProfileNotFound", [] {}},
      {"tavo:io:NotARegularFile", [&] { fs::create_directory(place); }},
      {"tavo:io:NotARegularFile", [&] { ::mkfifo(place.c_str(), 0600); }},
      {"tavo:messages:MalformedXml", [&] { write(place, good.substr(0, good.size() / 2)); }},
  };
  announced();
  for (const auto& [id, damage] : rows) {
    SCOPED_TRACE(id);
    damage();
    EXPECT_FALSE(derived.getParent());
    try {
      derived.checkHealth();
      ADD_FAILURE();
    } catch (const tavo::Error& error) {
      EXPECT_EQ(error.id(), "Velmora:Property:FailedProxyResolve");
      EXPECT_EQ(error.arguments(), (Texts{u"Parent.Base", u"Parent"}));
      EXPECT_EQ(error.cause()->id(), id);
      EXPECT_EQ(error.cause()->arguments().front().toUtf8().find(place.native()), 0u);
    }
    EXPECT_EQ(catalog().getLoadedProfileNames(), Texts{u"Child"});
    EXPECT_EQ(tavo::modelText(child.model()), before);
    EXPECT_EQ(announced(), "");
    fs::remove(place);
  }
  write(place, good);
  EXPECT_EQ(derived.getParent().getName(), u"Base");
  EXPECT_EQ(tavo::modelText(child.model()), before);
  EXPECT_FALSE(child.dirty());
}

TEST_F(ProfileFileTest, AFailedLoadTakesTheDependenciesThatItBroughtAlong) {
  // Top -> Child -> Parent; and Top -> Lost, which nobody has.
  saveParentAndChild();
  const auto child = Profile::loadFromFile(u"Child");
  const auto lost = Profile::newProfile(u"Lost");
  add(lost, u"S");
  const auto top = Profile::newProfile(u"Top");
  add(top, u"A", u"Child.Derived");
  add(top, u"B", u"Lost.S");
  save(top);
  catalog().unloadAllProfiles();
  announced();

  EXPECT_ERROR(load("Top"), "Velmora:Profile:MissingDependentProfile", "Lost");
  EXPECT_EQ(catalog().getLoadedProfileNames(), Texts{});
  EXPECT_EQ(announced(), "");

  // What was there before stays, with what refers to it.
  load("Parent");
  announced();
  EXPECT_ERROR(load("Top"), "Velmora:Profile:MissingDependentProfile", "Lost");
  EXPECT_EQ(catalog().getLoadedProfileNames(), (Texts{u"Parent"}));
  EXPECT_EQ(announced(), "");

  fs::remove(file("Parent.xml"));
  Profile::unload(u"Parent");
  EXPECT_ERROR_BECAUSE("Velmora:Profile:ProfileNotFound", load("Child"), "Velmora:Profile:MissingDependentProfile");
}

TEST_F(ProfileFileTest, DependenciesAreLoadedFirstAndAnnouncedOnceEverythingIsThere) {
  saveParentAndChild();
  announced();
  std::string seen;
  const auto token = ModelEventBroadcastSystem::instance().subscribe([&](const ModelEvent& event) {
    seen += std::to_string(catalog().getLoadedProfileNames().size()) + event.element.as<Profile>().getName().toUtf8();
    if (event.name == u"Parent")
      throw std::runtime_error("a handler with a fault"); // keeps nobody else from hearing
  });
  const auto child = Profile::loadFromFile(u"Child");
  EXPECT_EQ(announced(), "+Parent+Child");
  EXPECT_EQ(seen, "2Parent2Child");
  EXPECT_EQ(reported(), (std::vector<std::string>{"tavo:messages:ForeignException"}));
  load("Parent");
  load("Child");
  EXPECT_EQ(announced(), "");
  EXPECT_FALSE(child.dirty());
  EXPECT_FALSE(child.model().canUndo());
}

TEST_F(ProfileFileTest, CirclesAmongFilesEndAndAreFaults) {
  saveParentAndChild();
  // Let "Base" of Parent inherit from "Derived" of Child, which inherits from a third stereotype of Parent.
  const auto parent = Profile::loadFromFile(u"Parent");
  const auto other = Profile::newProfile(u"Other");
  add(other, u"Derived");
  add(parent, u"Second", u"Other.Derived");
  save(parent);
  catalog().unloadAllProfiles();
  auto content = contentOf(file("Parent.xml"));
  replace(content, "Other", "Child");
  write(file("Parent.xml"), content);
  announced();

  EXPECT_EQ(load("Child"), "Child");
  EXPECT_EQ(announced(), "+Parent+Child");
  for (const char16_t* name : {u"Child", u"Parent"}) {
    const auto profile = Profile::findLoadedProfile(name);
    EXPECT_TRUE(profile.getIsUnhealthyOnLoad());
    EXPECT_TRUE(catalog().getIsThisOrAnyDependentProfileUnhealthyOnLoad(profile));
  }
}

TEST_F(ProfileFileTest, TheFileNamesTheProfile) {
  const auto profile = Profile::newProfile(u"Original");
  add(profile, u"S");
  save(profile);
  catalog().unloadAllProfiles();
  fs::rename(file("Original.xml"), file("Copy.xml"));
  reported();

  const auto loaded = Profile::loadFromFile(u"Copy");
  EXPECT_EQ(loaded.getName(), u"Copy");
  EXPECT_EQ(loaded.prototypes().front().getFullyQualifiedName(), u"Copy.S");
  EXPECT_EQ(services::proxy::ModelIdentifier::getModelIdentifier(loaded.model()).uRI(), u"Copy");
  EXPECT_EQ(diagnostics_->diagnostics.at(0).arguments,
            (std::vector<std::u16string>{u"Original", u"Copy", std::u16string(text(file("Copy.xml")).view())}));
  EXPECT_EQ(reported(), (std::vector<std::string>{"Velmora:Profile:ProfileNameDiffersFromFile"}));
  EXPECT_FALSE(loaded.model().canUndo());
}

TEST_F(ProfileFileTest, AProfileThatWasRenamedInTheAbsenceOfOthersIsFoundByWhatItHolds) {
  saveParentAndChild();
  const auto parent = Profile::loadFromFile(u"Parent");
  parent.setName(u"Renamed");
  save(parent);
  fs::remove(file("Parent.xml"));
  const auto child = Profile::loadFromFile(u"Child");
  EXPECT_EQ(child.getDependentProfiles(), (Texts{u"Renamed"}));
  EXPECT_EQ(child.prototypes().front().getParent().getFullyQualifiedName(), u"Renamed.Base");
}

TEST_F(ProfileFileTest, WhatCouldNotBeLoadedAgainIsNotSaved) {
  const auto profile = Profile::newProfile(u"P");
  const auto second = Profile::createProfile(profile.model(), u"Q");
  EXPECT_ERROR(save(profile), "Velmora:Profile:NotAProfile", text(file("P.xml")));
  second.destroy();
  save(profile);
}

TEST_F(ProfileFileTest, DirtyIsWhateverDiffersFromTheFileByADeed) {
  const auto profile = Profile::newProfile(u"P");
  EXPECT_TRUE(profile.dirty());
  save(profile);
  EXPECT_FALSE(profile.dirty());
  const auto made = add(profile, u"S");
  EXPECT_TRUE(profile.dirty());
  save(profile);
  ASSERT_TRUE(profile.model().undo());
  EXPECT_TRUE(profile.dirty());
  EXPECT_FALSE(made);
  save(profile);
  {
    const tavo::Transaction abandoned(profile.model());
    add(profile, u"T");
  }
  EXPECT_FALSE(profile.dirty());
  profile.setFriendlyName(u"friendly");
  EXPECT_TRUE(profile.dirty());
}

TEST_F(ProfileFileTest, AFileThatSomebodyElseWroteIsNotOverwritten) {
  saveParentAndChild();
  const auto parent = Profile::loadFromFile(u"Parent");
  add(parent, u"Mine");
  write(file("Parent.xml"), "theirs, and longer than nothing");
  EXPECT_ERROR(parent.saveToFile(u""), "tavo:io:FileChangedOnDisk");
  EXPECT_TRUE(parent.dirty());
  EXPECT_EQ(contentOf(file("Parent.xml")), "theirs, and longer than nothing");
  // Another place, and a place where nothing is any more, are no problem; nor is saving over one's own file.
  parent.saveToFile(text(file("Mine.xml")));
  parent.saveToFile(text(file("Mine.xml")));
  fs::remove(file("Mine.xml"));
  parent.saveToFile(u"");
  EXPECT_TRUE(fs::exists(file("Mine.xml")));
}

TEST_F(ProfileFileTest, ASaveThatFailsAnywhereLeavesTheOldFileOrTheNewOneAndSaysTheTruthAboutIt) {
  const auto profile = Profile::newProfile(u"P");
  save(profile);
  std::string before;
  int round = 0;
  const auto change = [&] {
    profile.saveToFile(u"");
    before = contentOf(file("P.xml"));
    profile.setDescription(text("round " + std::to_string(++round)));
  };
  change();
  const auto failures = testsupport::failEachCall(
      FaultyFileSystem(1000), [&] { profile.saveToFile(u""); },
      [&](const auto& error) {
        const bool isNew = contentOf(file("P.xml")) != before;
        EXPECT_EQ(isNew, !error || error->id() == "tavo:io:SavedButNotSynced");
        EXPECT_EQ(profile.dirty(), !isNew);
        EXPECT_EQ(profile.filePath(), text(file("P.xml")));
        EXPECT_EQ(std::distance(fs::directory_iterator(folder_), {}), 2); // the profile and the working folder
        change();
      });
  EXPECT_GT(failures, 8u);
}

TEST_F(ProfileFileTest, AnExportThatFailsAnywhereLeavesWhatWasThereOrAWholeCopy) {
  const auto profile = Profile::newProfile(u"P");
  save(profile);
  profile.setDescription(u"changed since");
  const auto exportIt = [&] { profile.exportToPrevious(text(file("old.xml")), u"Plover"); };
  exportIt();
  const auto whole = contentOf(file("old.xml"));
  write(file("old.xml"), "what was there");
  testsupport::failEachCall(FaultyFileSystem(1000), exportIt, [&](const auto& error) {
    EXPECT_TRUE(!error || error->id() == "Velmora:Profile:CannotExportToPrevious");
    const bool isNew = !error || error->cause()->id() == "tavo:io:SavedButNotSynced";
    EXPECT_EQ(contentOf(file("old.xml")), isNew ? whole : "what was there");
    EXPECT_EQ(std::distance(fs::directory_iterator(folder_), {}), 3); // both files and the working folder
    write(file("old.xml"), "what was there");
  });
  EXPECT_TRUE(profile.dirty());
  EXPECT_EQ(profile.filePath(), text(file("P.xml")));
}

TEST_F(ProfileFileTest, AnExportThatWouldDoHarmSaysWhyNot) {
  const auto profile = Profile::newProfile(u"P");
  profile.setFriendlyName(u"Pumps");
  profile.setDescription(u"moving water");
  save(profile);
  const auto before = contentOf(file("P.xml"));
  const auto exportTo = [&](const char* name) { profile.exportToPrevious(text(file(name)), u"Plover"); };
  const std::string refused = "Velmora:Profile:CannotExportToPrevious";
  fs::create_symlink("P.xml", file("link.xml"));
  save(Profile::newProfile(u"Other"));
  for (const auto* name : {"P.xml", "link.xml", "Other.xml"})
    EXPECT_ERROR_BECAUSE("Velmora:Profile:ExportOverProfile", exportTo(name), refused, "P", "Plover", text(file(name)));
  const auto old = file("old.xml");
  using namespace property::evolution;
  EXPECT_ERROR_BECAUSE("Velmora:Profile:ReleaseLoses",
                       exportForRelease(profile.model(), u"P", old, u"Plover", Losses::refuse), refused, "P", "Plover",
                       text(old));
  {
    FaultyFileSystem faulty;
    faulty.garbled = "moving", faulty.mostAtOnce = 1'000'000;
    const tavo::ScopedFileSystem installed(faulty);
    EXPECT_ERROR_BECAUSE("Velmora:Profile:ExportDiffers", exportTo("old.xml"), refused, "P", "Plover", text(old));
  }
  EXPECT_EQ(contentOf(file("P.xml")), before);
  EXPECT_FALSE(fs::exists(old));
  EXPECT_EQ(reported(), std::vector<std::string>{});
  exportTo("old.xml");
  EXPECT_EQ(reported(), std::vector<std::string>{"Velmora:Profile:ReleaseLoses"});
}

TEST_F(ProfileFileTest, ALoadWhoseFileCannotBeReadToTheEndLeavesNothing) {
  saveParentAndChildFor(u"Thrush"); // brought up to date on the way
  announced();
  const auto models = tavo::Constellation::process().models().size();
  testsupport::failEachCall(
      FaultyFileSystem(), [&] { load("Child"); },
      [&](const auto& error) {
        EXPECT_EQ(announced(), error ? "" : "+Parent+Child");
        catalog().unloadAllProfiles();
        EXPECT_EQ(announced(), error ? "" : "-Child-Parent");
        EXPECT_EQ(tavo::Constellation::process().models().size(), models);
      });
}

TEST_F(ProfileFileTest, UnloadingNamesOneOrAll) {
  for (const char16_t* all : {u"", u"all"}) {
    Profile::newProfile(u"A");
    Profile::newProfile(u"B");
    Profile::newProfile(u"C");
    Profile::unload(u"B");
    EXPECT_EQ(catalog().getLoadedProfileNames(), (Texts{u"A", u"C"}));
    Profile::unload(u"Nobody");
    Profile::unload(all);
    EXPECT_EQ(catalog().getLoadedProfileNames(), Texts{});
    EXPECT_EQ(announced(), "-B-A-C");
  }
  EXPECT_FALSE(catalog().unloadProfile(u"A"));
}

TEST_F(ProfileFileTest, UnloadingDoesNotWaitForATransactionOfTheProfile) {
  const auto profile = Profile::newProfile(u"P");
  tavo::Transaction open(profile.model());
  add(profile, u"S");
  Profile::unload(u"P");
  EXPECT_EQ(announced(), "-P");
  EXPECT_FALSE(profile);
  open.commit();
  EXPECT_EQ(announced(), "");
}

TEST_F(ProfileFileTest, WithoutAWorkingFolderOnlyThePathCounts) {
  const auto profile = Profile::newProfile(u"P");
  save(profile);
  fs::remove(workingFolder());
  EXPECT_ERROR(load("Missing"), "Velmora:Profile:ProfileNotFound", "Missing.xml");
  EXPECT_ERROR(profile.saveToFile(u"P.xml"), "tavo:io:CannotWrite");
  Profile::unload(u"P");
  EXPECT_EQ(load("P"), "P");
}

TEST_F(ProfileFileTest, AnOlderProfileGetsTheBuiltInTypesThatItDoesNotHave) {
  const auto profile = Profile::newProfile(u"P");
  for (const auto& type : profile.valueTypes().toVector())
    if (type.getName() == u"stringArray")
      type.destroy();
  save(profile);
  catalog().unloadAllProfiles();
  const auto loaded = Profile::loadFromFile(u"P");
  EXPECT_EQ(loaded.valueTypes().size(), 13u);
  EXPECT_EQ(loaded.valueTypes().back().getName(), u"stringArray");
  EXPECT_FALSE(loaded.dirty());
  EXPECT_FALSE(loaded.model().canUndo());

  // Others may refer to the type before the file has it, and a type may have taken another name since.
  const auto identity = loaded.valueTypes().back().Uuid();
  catalog().unloadAllProfiles();
  const auto again = Profile::loadFromFile(u"P");
  EXPECT_EQ(again.valueTypes().back().Uuid(), identity);
  again.valueTypes().back().setName(u"texts");
  save(again);
  catalog().unloadAllProfiles();
  EXPECT_EQ(Profile::loadFromFile(u"P").valueTypes().size(), 14u);
}

} // namespace
} // namespace zelkor::profile
