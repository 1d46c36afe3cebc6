// The subcommands that drive the rack.
#include <array>

#include "support/import_faults.h"
#include "tool.h"

namespace {

const std::string kReverb = "--set reverb.room=60 --set reverb.dry=100 ";

TEST_F(Tool, ARackPlaysInPlaceAndATimedChangeComesAtItsTime) {
  const audio in = tone(48000, 1000, 0.25, 3);
  write("in.wav", in);
  const std::string late = "--preset '" SONX_PRESETS "/late-evening.toml' ";
  ASSERT_EQ(run("play in.wav out.wav --bypass " + late), 0) << output_;
  EXPECT_NE(output_.find("a latency of 720 frames"), std::string::npos) << output_;
  EXPECT_EQ(read_text(path("in.wav")), read_text(path("out.wav")));

  ASSERT_EQ(run("play in.wav out.wav --channels 2 --at 1:parametric-equalizer.preamp=-12 "
                "--set parametric-equalizer.preamp=0"),
            0)
      << output_;
  const auto out = read("out.wav");
  const double level = 20 * std::log10(0.25);
  EXPECT_NEAR(power_db(out, 0, 96000), level, 0.01);
  EXPECT_NEAR(power_db(out, 144000, 288000), level - 12, 0.01);
}

TEST_F(Tool, SeveralFilesComeOutTheSameHoweverManyAreWorkedOnAtOnce) {
  write("a.wav", noise(48000, 2, 0.3));
  write("b.wav", noise(44100, 1, 0.2));
  write("c.wav", noise(48000, 1, 0.1));
  const std::string singing = "--preset '" SONX_PRESETS "/karaoke-club.toml'";
  ASSERT_EQ(run("play a.wav b.wav c.wav one --jobs 1 " + singing), 0) << output_;
  ASSERT_EQ(run("play a.wav b.wav c.wav three --jobs 3 " + singing), 0) << output_;
  ASSERT_EQ(run("play c.wav alone.wav " + singing), 0) << output_;
  for (const std::string name : {"a.wav", "b.wav", "c.wav"}) {
    EXPECT_FALSE(read_text(path("one/" + name)).empty());
    EXPECT_EQ(read_text(path("one/" + name)), read_text(path("three/" + name))) << name;
  }
  EXPECT_EQ(read_text(path("one/c.wav")), read_text(path("alone.wav")));
}

TEST_F(Tool, APresetThatIsSavedSoundsAsWhatItWasSavedFrom) {
  write("in.wav", noise(48000, 2, 0.3));
  ASSERT_EQ(run("preset save room.toml " + kReverb), 0) << output_;
  ASSERT_EQ(run("preset check room.toml"), 0) << output_;
  EXPECT_EQ(output_, "room.toml: fine: 1 effect, at 44100, 48000, 96000 and 192000 Hz\n");
  ASSERT_EQ(run("play in.wav a.wav " + kReverb), 0) << output_;
  ASSERT_EQ(run("play in.wav b.wav --preset room.toml"), 0) << output_;
  EXPECT_EQ(read_text(path("a.wav")), read_text(path("b.wav")));
}

TEST_F(Tool, WhatIsWrongWithARackIsSaidInOneLine) {
  write("in.wav", noise(48000, 2, 0.1));
  write("slow.wav", noise(22050, 2, 0.1));
  std::ofstream(path("voice.toml")) << "sonx = 1\n[[effect]]\nid = \"karaoke\"\n";
  std::ofstream(path("bad.toml")) << "sonx = 1\n[[effect]]\nid = \"reverb\"\nromo = 1\n";
  std::ofstream(path("eq.txt")) << "Filter: ON NO Fc 50 Hz\n";
  std::ofstream(path("two.toml")) << "sonx = 1\n[[effect]]\nid = \"reverb\"\n[[effect]]\nid = "
                                     "\"reverb\"\n";
  expect_refused(
      {{"play in.wav", "IN and OUT are needed"},
       {"play in.wav in.wav --set reverb.room=1", "'in.wav' is the input itself"},
       {"play in.wav o.wav --set revreb.room=1", "no effect 'revreb'; did you mean 'reverb'?"},
       {"play in.wav o.wav --set reverb.romo=1", "no parameter 'romo'; did you mean 'room'?"},
       {"play in.wav o.wav --set reverb.room=101", "it goes from 0 to 100 %"},
       {"play in.wav o.wav --set reverb.room=x", "room takes a number, not 'x'"},
       {"play in.wav o.wav --set reverb=1", "is not EFFECT.PARAMETER=VALUE"},
       {"play in.wav o.wav --set reverb.enabled=maybe", "enabled is on or off"},
       {"play in.wav o.wav --set parametric-equalizer.band1_type=paek", "did you mean 'peak'?"},
       {"play in.wav o.wav --set reverb.room=1 --at 1:echo.wet=3", "the rack has no echo"},
       {"play in.wav o.wav --set reverb.room=1 --at reverb.room=3", "--at takes SECONDS:"},
       {"play in.wav o.wav --preset two.toml --set reverb.room=1", "write reverb#1 to reverb#2"},
       {"play in.wav o.wav --preset two.toml --set reverb#3.room=1", "stands there 2 times"},
       {"play in.wav o.wav --preset two.toml --set 3.room=1", "slots 1 to 2"},
       {"play in.wav o.wav --preset nothing", "there is no preset 'nothing'"},
       {"play in.wav o.wav --preset bad.toml", "'bad.toml': line 4: unknown key \"romo\""},
       {"play slow.wav o.wav --preset two.toml --no-convert", "works at 44100, 48000, 96000 and"},
       {"play in.wav in.wav o --preset two.toml", "two files would become 'o/in.wav'"},
       {"preset check bad.toml", "line 4"},
       {"preset show", "PRESET, or a --set, is required ('sonx preset show --help' tells more)"},
       {"import eq.txt -o o.wav", "'eq.txt': line 1: filter type 'NO' isn't supported"},
       {"import eq.txt -o eq.txt", "'eq.txt' is the file that is read"},
       {"import .", "'.' is a folder"},
       {"export two.toml --as d", "d not in"},
       {"export voice.toml --as pipewire", "can't hold 'karaoke'"},
       {"effects revreb", "did you mean 'reverb'?"}});
  EXPECT_FALSE(fs::exists(path("o.wav")));
}

TEST_F(Tool, EveryFaultOfATextEndsItsCommandInOneLineWithTheLinesNumber) {
  for (const auto& [text, message] : kImportFaults) {
    std::ofstream(path("eq.txt")) << text;
    EXPECT_EQ(run("import eq.txt -o eq.toml"), 1) << text;
    EXPECT_TRUE(output_.starts_with(std::string("sonx: 'eq.txt': ") + message)) << output_;
    EXPECT_EQ(output_.find('\n'), output_.size() - 1) << output_;
  }
  EXPECT_FALSE(fs::exists(path("eq.toml")));
  const std::array<const char*, 2> presets[] = {
      {"name = 'x'", "line 1: the version is missing"},
      {"sonx = 9", "line 1: preset version 9 is newer"},
      {"sonx = 1\nname = 'x", "line 2: "},
      {"sonx = 1\n[[effect]]\nid = 'revreb'", "line 3: unknown effect \"revreb\", did you mean"},
      {"sonx = 1\n[[effect]]\nid = 'reverb'\nroom = 'big'", "line 4: room takes a number"},
      {"sonx = 1\n[[effect]]\nid = 'reverb'\nroom = 101", "line 4: room = 101 is out of range"}};
  for (const auto& [text, message] : presets) {
    std::ofstream(path("p.toml")) << text;
    for (const char* command :
         {"preset check p.toml", "preset show p.toml", "export p.toml", "response --preset p.toml",
          "report --preset p.toml --in x -o r.html"}) {
      EXPECT_EQ(run(command), 1) << text;
      EXPECT_TRUE(output_.starts_with(std::string("sonx: 'p.toml': ") + message)) << output_;
      EXPECT_EQ(output_.find('\n'), output_.size() - 1) << output_;
    }
  }
}

}  // namespace
