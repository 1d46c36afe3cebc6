#include "preset.h"

#include <gtest/gtest.h>

#include <random>

#include "parameters.h"

namespace {

rack_settings parsed(const std::string& text, int rate = 48000) {
  rack_settings settings;
  std::string error;
  EXPECT_TRUE(parse_preset(text, rate, settings, error)) << error << "\n" << text;
  return settings;
}

std::string error_of(const std::string& text, int rate = 48000) {
  rack_settings settings;
  settings.name = "kept";
  std::string error;
  EXPECT_FALSE(parse_preset(text, rate, settings, error)) << text;
  EXPECT_EQ(settings.name, "kept");
  return error;
}

double value(const slot_settings& slot, std::string_view id) {
  for (size_t k = 0; k < slot.values.size(); ++k)
    if (slot.effect->parameters[k].id == id) return slot.values[k];
  ADD_FAILURE() << "no parameter " << id;
  return 0.0;
}

const std::string kEqualizer = "sonx = 1\n[[effect]]\nid = \"parametric-equalizer\"\n";
const std::string kReverb = "sonx = 1\n[[effect]]\nid = \"reverb\"\n";

}  // namespace

TEST(Preset, ReadsBackWhatItWroteForEveryEffect) {
  std::mt19937 random(1);
  const auto uniform = [&] { return double(random()) / double(random.max()); };
  for (int k = 0; k < sonx_effect_count(); ++k) {
    const sonx_effect* const effect = sonx_effect_at(k);
    for (int round = 0; round < 20; ++round) {
      rack_settings settings = {"a \"b\\\n\x01 \u00E4", round % 2 == 0, {}};
      for (const double often : {0.0, 0.2, 1.0}) {
        slot_settings slot = {effect, often > 0.0, {}};
        for (int p = 0; p < effect->parameter_count; ++p) {
          const sonx_parameter& about = effect->parameters[p];
          const double place = about.minimum + uniform() * (about.maximum - about.minimum);
          slot.values.push_back(uniform() < often ? settled(about, place) : about.initial);
        }
        settings.slots.push_back(slot);
      }
      const std::string text = write_preset(settings);
      const rack_settings back = parsed(text, effect->rates[0]);
      EXPECT_EQ(back.name, settings.name);
      EXPECT_EQ(back.enabled, settings.enabled);
      ASSERT_EQ(back.slots.size(), settings.slots.size());
      for (size_t s = 0; s < back.slots.size(); ++s) {
        EXPECT_EQ(back.slots[s].effect, settings.slots[s].effect);
        EXPECT_EQ(back.slots[s].enabled, settings.slots[s].enabled);
        EXPECT_EQ(back.slots[s].values, settings.slots[s].values) << text;
      }
      EXPECT_EQ(write_preset(back), text);
    }
  }
}

TEST(Preset, TakesInitialValuesForWhatIsLeftOut) {
  const rack_settings settings = parsed(kReverb);
  EXPECT_TRUE(settings.enabled);
  EXPECT_TRUE(settings.name.empty());
  const slot_settings& slot = settings.slots.at(0);
  EXPECT_TRUE(slot.enabled);
  for (int p = 0; p < slot.effect->parameter_count; ++p)
    EXPECT_EQ(slot.values.at(size_t(p)), slot.effect->parameters[p].initial);
  EXPECT_TRUE(parsed("sonx = 1").slots.empty());
}

TEST(Preset, WritesNumberedParametersAsListsAndReadsBothForms) {
  const rack_settings listed = parsed(
      kEqualizer +
      "preamp = -6\nband = [ { type = \"peak\", frequency = 105, gain = -3.2 }, {}, { q = 2 } ]\n");
  const rack_settings flat = parsed(kEqualizer +
                                    "band1_type = \"peak\"\nband1_frequency = 105.0\nband1_gain = "
                                    "-3.2\nband3_q = 2.0\npreamp = -6.0\n");
  EXPECT_EQ(listed.slots[0].values, flat.slots[0].values);
  EXPECT_EQ(value(flat.slots[0], "band1_gain"), -3.2);
  const std::string text = write_preset(flat);
  EXPECT_NE(text.find("band = [\n  { type = \"peak\", frequency = 105.0, gain = -3.2, q = "),
            std::string::npos)
      << text;
  EXPECT_EQ(text.find("right ="), std::string::npos) << "all initial, left out";
}

TEST(Preset, NamesTheLineOfEveryFaultAndTheNearestKnownWord) {
  const std::pair<std::string, std::string> cases[] = {
      {"", "line 1: the version is missing, a preset begins with sonx = 1"},
      {"# none\nname = \"x\"\n", "line 1: the version is missing, a preset begins with sonx = 1"},
      {"\nsonx = 2\nnew = 1",
       "line 2: preset version 2 is newer than this library, which reads version 1"},
      {"sonx = 0", "line 1: there is no preset version 0"},
      {"sonx = \"1\"", "line 1: sonx takes a whole number, not a string"},
      {"sonx = 1\nb = 1\na = 1", "line 2: unknown key \"b\""},
      {"sonx = 1\nnmae = \"x\"", "line 2: unknown key \"nmae\", did you mean \"name\"?"},
      {"sonx = 1 # ä\nname = ä", "line 2: can't read \"name = ä\": a text stands in quotes"},
      {"sonx = 1\nname = 1", "line 2: name takes a string, not a number"},
      {"sonx = 1\n[effect]\nid = \"reverb\"", "line 2: effect takes a list of tables, not a table"},
      {"sonx = 1\n[[effect]]\nroom = 60", "line 2: an effect without an id"},
      {"sonx = 1\n[[effect]]\nid = \"revreb\"",
       "line 3: unknown effect \"revreb\", did you mean \"reverb\"?"},
      {kReverb + "\nrooom = 60", "line 5: unknown key \"rooom\" in reverb, did you mean \"room\"?"},
      {kReverb + "room = \"big\"", "line 4: room takes a number, not a string"},
      {kReverb + "room = nan", "line 4: room = nan is out of range, it goes from 0 to 100 %"},
      {kReverb + "room = 1e9", "line 4: room = 1e+09 is out of range, it goes from 0 to 100 %"},
      {kReverb + "enabled = 1", "line 4: enabled takes true or false, not a number"},
      {kEqualizer + "band = [ { gian = 1 } ]",
       "line 4: unknown key \"gian\" in parametric-equalizer, did you mean \"gain\"?"},
      {kEqualizer + "band = [\n{ type = \"high-self\" } ]",
       "line 5: type has no choice \"high-self\", did you mean \"high-shelf\"?"},
      {kEqualizer + "band = [ {},{},{},{},{},{},{},{},{},{},\n{} ]",
       "line 5: band has 10 tables at the most"},
      {kEqualizer + "band = 1", "line 4: band takes a list of tables, not a number"},
      {kEqualizer + "band = [ { gain = 1 } ]\nband1_gain = 1", "line 5: band1_gain is given twice"},
  };
  for (const auto& [text, error] : cases) EXPECT_EQ(error_of(text), error) << text;
  EXPECT_EQ(error_of("sonx = 1\n\n  name = Late\n"),
            "line 3: can't read \"name = Late\": a text stands in quotes");
  EXPECT_EQ(error_of("sonx = 1\n[[effect]\n").substr(0, 8), "line 2: ");
  EXPECT_EQ(error_of(kReverb, 11025).substr(0, 46),
            "line 3: reverb doesn't run at 11025 Hz, but at");
  const std::string hostile = error_of(kReverb + '"' + std::string(100000, 'x') + "\" = 1");
  EXPECT_LT(hostile.size(), 100u);
}
