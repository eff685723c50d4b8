// Files that end too early, or in which something was changed: refused with an error of ours, or taken as a sound
// model; and nothing of a refused one stays behind.
#include "tests/arch/ModelFixture.h"

#include "zelkor/evolution/Evolver.h"
#include "zelkor/evolution/ReleaseRegistry.h"

#include <random>

namespace zelkor {
namespace {

namespace fs = std::filesystem;
using profile::Profile;

#if defined(__SANITIZE_ADDRESS__)
constexpr bool isSanitized = true;
#elif defined(__has_feature)
constexpr bool isSanitized = __has_feature(address_sanitizer);
#else
constexpr bool isSanitized = false;
#endif

/// Sanitizers slow all of it down by ten; there, each so many-th byte has to do.
constexpr std::size_t stride = isSanitized ? 29 : 1;

class DamageTest : public ModelFixture {
protected:
  DamageTest() {
    for (const char16_t* name : {u"Valve", u"Tank"}) {
      const auto stereotype = add(plant, name, u"Plant.Machine");
      define(stereotype, u"size", u"double", u"[1 2;3 4]", u"m")
          .setMinAndMax(kavra::HostArray::scalar(0.0), kavra::HostArray::scalar(1e3));
      define(stereotype, u"maker", u"string", u"'Cope & Sons'");
      define(stereotype, u"tested", u"boolean", u"true");
    }
    modelFile.synchronize();
    for (int number = 1; number <= 8; ++number) {
      auto element = hall.addComponent(profile::text("Valve" + std::to_string(number)));
      element.applyPrototype(stereotype(u"Valve"));
      element.setPropVal(u"Plant.Valve.size", u"12", u"cm");
      element.setPropVal(u"Plant.Valve.maker", u"'Cope & Daughters'", u"*");
      element.setPropVal(u"Plant.Machine.label", u"'a \"b\"'", u"*");
    }
    save(plant);
    modelFile.saveAs(file("works.xml"));
  }

  /// Whether a text is taken; the model is sound then, else an error of ours says why not.
  static bool isTaken(std::string_view content) {
    const tavo::Model model = tavo::Model::create();
    tavo::MemorySource source(content);
    bool taken = false;
    try {
      tavo::readModel(source, "damaged", model);
      taken = true;
    } catch (const tavo::Error&) {
      EXPECT_EQ(model.objectCount(), 0u);
    }
    tavo::checkInvariants(model);
    model.destroy();
    return taken;
  }

  /// Reads all beginnings of a text, and the text with one byte missing or another, for each byte. What the reader
  /// takes is a file that is then opened, with what belongs to that, and some of what it does not take as well.
  template <class Open>
  void damage(const std::string& content, const Open& open) {
    constexpr std::string_view likely = "0123456789abcdef-. \"'<>/&=;:#xUuNn\n\t";
    constexpr std::size_t opened = 16 * stride;
    const auto place = file("Damaged.xml");
    const auto models = tavo::Constellation::process().models().size();
    const auto names = catalog().getLoadedProfileNames();
    std::mt19937 random(20260);
    std::size_t taken = 0, refused = 0;
    const auto expectSound = [&](std::string_view damaged, std::size_t at) {
      const bool isGood = isTaken(damaged);
      ++(isGood ? taken : refused);
      if (isGood || at % opened == 0) {
        fs::remove(place); // to write over a file waits for the disk
        write(place, damaged);
        try {
          open(place);
        } catch (const tavo::Error&) {
        }
        diagnostics_->diagnostics.clear();
        ASSERT_EQ(catalog().getLoadedProfileNames(), names);
      }
      ASSERT_EQ(tavo::Constellation::process().models().size(), models);
    };
    ASSERT_TRUE(isTaken(content));
    for (std::size_t at = random() % stride; at < content.size(); at += stride) {
      SCOPED_TRACE(at);
      ASSERT_NO_FATAL_FAILURE(expectSound(std::string_view(content).substr(0, at), at));
      std::string damaged = content;
      switch (random() % 4) {
      case 0:
        damaged.erase(at, 1);
        break;
      case 1:
        damaged[at] = static_cast<char>(damaged[at] ^ (1 << random() % 8));
        break;
      default:
        damaged[at] = likely[random() % likely.size()];
      }
      ASSERT_NO_FATAL_FAILURE(expectSound(damaged, at));
    }
    EXPECT_GT(taken, content.size() / stride / 20) << "of " << content.size(); // else only the parser was tried
    EXPECT_GT(refused, taken);
  }

  std::string inRelease(const char16_t* release, const std::string& content) const {
    const tavo::String present(property::evolution::ReleaseRegistry::releases().back().release);
    return property::evolution::Evolver::evolve(present, release, profile::text(content), {}).toUtf8();
  }
};

TEST_F(DamageTest, ADamagedProfileIsRefusedOrSound) {
  const auto present = contentOf(file("Plant.xml"));
  catalog().unloadAllProfiles();
  for (const auto& content : {present, inRelease(u"Plover", present)})
    damage(content, [](const fs::path& path) {
      Profile::loadFromFile(profile::text(path));
      for (const auto& each : catalog().getProfilesInCatalog())
        tavo::checkInvariants(each.model());
      catalog().unloadAllProfiles();
    });
}

TEST_F(DamageTest, ADamagedModelIsRefusedOrSound) {
  const auto present = contentOf(file("works.xml"));
  for (const auto& content : {present, inRelease(u"Plover", present)})
    damage(content, [](const fs::path& path) {
      auto file = ModelFile::open(path);
      tavo::checkInvariants(file.model());
    });
}

} // namespace
} // namespace zelkor
