#include "material.h"

#include <samplerate.h>
#include <sndfile.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <initializer_list>

#include "voice_level.h"

namespace {

namespace fs = std::filesystem;

[[noreturn]] void give_up(const std::string& what) {
  std::fprintf(stderr, "%s\n", what.c_str());
  std::exit(2);
}

signal load(const std::string& path, const char* package, double longest_s = 20.0) {
  SF_INFO info = {};
  SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
  if (!file) give_up("cannot read " + path + " (Debian package " + package + ")");
  const auto channels = static_cast<size_t>(info.channels);
  const auto frames =
      std::min<sf_count_t>(info.frames, static_cast<sf_count_t>(longest_s * info.samplerate));
  signal all(static_cast<size_t>(frames) * channels);
  const auto got = static_cast<size_t>(sf_readf_float(file, all.data(), frames));
  sf_close(file);
  signal mono(got);
  for (size_t i = 0; i < got; ++i)
    for (size_t c = 0; c < channels; ++c)
      mono[i] += all[i * channels + c] / static_cast<float>(channels);
  if (info.samplerate == static_cast<int>(kRate)) return mono;
  const double ratio = kRate / info.samplerate;
  signal out(static_cast<size_t>(static_cast<double>(got) * ratio) + 1);
  SRC_DATA data = {};
  data.data_in = mono.data();
  data.input_frames = static_cast<long>(got);
  data.data_out = out.data();
  data.output_frames = static_cast<long>(out.size());
  data.src_ratio = ratio;
  if (src_simple(&data, SRC_SINC_FASTEST, 1) != 0) give_up("cannot convert the rate of " + path);
  out.resize(static_cast<size_t>(data.output_frames_gen));
  return out;
}

// A singer at a microphone with headroom.
signal levelled(signal x) {
  bring_to(x, -32.0);
  return x;
}

class scratch {
 public:
  scratch() {
    std::string pattern = (fs::temp_directory_path() / "howling_loop.XXXXXX").string();
    if (!mkdtemp(pattern.data())) give_up("cannot make a directory for temporary files");
    path_ = pattern;
  }
  ~scratch() { fs::remove_all(path_); }
  std::string file(const char* name) const { return (path_ / name).string(); }

 private:
  fs::path path_;
};

void run(const std::string& command, const char* package) {
  if (std::system((command + " >/dev/null 2>&1").c_str()) != 0)
    give_up("cannot run: " + command + " (Debian package " + package + ")");
}

signal spoken(const char* voice, int pitch, int speed, const char* text) {
  const scratch dir;
  const std::string wav = dir.file("speech.wav");
  run("espeak-ng -v " + std::string(voice) + " -p " + std::to_string(pitch) + " -s " +
          std::to_string(speed) + " -w " + wav + " \"" + text + "\"",
      "espeak-ng");
  return levelled(load(wav, "espeak-ng"));
}

struct note {
  double start_s, length_s;
  int key;
};

void append(std::string& bytes, std::initializer_list<int> values) {
  for (int v : values) bytes.push_back(static_cast<char>(v));
}

// A standard MIDI file, format 0, 480 ticks to a second.
std::string midi_file(int program, const std::vector<note>& notes) {
  struct event {
    int tick, status, key;
  };
  std::vector<event> events;
  for (const note& n : notes) {
    events.push_back({static_cast<int>(n.start_s * 480), 0x90, n.key});
    events.push_back({static_cast<int>((n.start_s + n.length_s) * 480), 0x80, n.key});
  }
  std::stable_sort(events.begin(), events.end(),
                   [](const event& a, const event& b) { return a.tick < b.tick; });
  std::string track;
  append(track, {0, 0xFF, 0x51, 3, 0x0F, 0x42, 0x40});  // a quarter note lasts a second
  append(track, {0, 0xC0, program});
  int now = 0;
  for (const event& e : events) {
    const int delta = e.tick - now;
    now = e.tick;
    append(track, {0x80 | (delta >> 7 & 127), delta & 127, e.status, e.key, 100});
  }
  append(track, {0, 0xFF, 0x2F, 0});
  std::string bytes = "MThd";
  append(bytes, {0, 0, 0, 6, 0, 0, 0, 1, 480 >> 8, 480 & 255});
  bytes += "MTrk";
  const auto size = static_cast<int>(track.size());
  append(bytes, {size >> 24 & 255, size >> 16 & 255, size >> 8 & 255, size & 255});
  return bytes + track;
}

signal played(int program, const std::vector<note>& notes) {
  const scratch dir;
  const std::string midi = dir.file("notes.mid"), wav = dir.file("notes.wav");
  std::ofstream(midi, std::ios::binary) << midi_file(program, notes);
  run("fluidsynth -ni -R 0 -C 0 -r 48000 -F " + wav + " /usr/share/sounds/sf2/TimGM6mb.sf2 " + midi,
      "fluidsynth, timgm6mb-soundfont");
  return levelled(load(wav, "fluidsynth"));
}

constexpr const char* kText =
    "The sun had set behind the hills, and nobody in the village knew where the music came from. "
    "Please sing the second verse a little louder. We were away a year ago, and all our friends "
    "remember every evening by the sea. How much is the fish? Six pounds, thank you.";

}  // namespace

std::vector<clip> speech() {
  std::vector<clip> clips = {{"male voice", spoken("en-gb", 35, 150, kText)},
                             {"female voice", spoken("en-us+f3", 60, 145, kText)},
                             {"high voice", spoken("en+f5", 85, 160, kText)},
                             {"slow voice", spoken("de+m4", 45, 110, kText)}};
  signal recorded;
  for (const char* name :
       {"Front_Center", "Front_Left", "Rear_Right", "Side_Left", "Rear_Center"}) {
    const signal x = load("/usr/share/sounds/alsa/" + std::string(name) + ".wav", "alsa-utils");
    recorded.insert(recorded.end(), x.begin(), x.end());
  }
  clips.push_back({"recorded announcements", levelled(recorded)});
  return clips;
}

std::vector<clip> singing() {
  std::vector<note> melody, held;
  const int keys[] = {60, 62, 64, 67, 72, 69, 67, 64, 65, 62, 60, 59, 60, 67, 76, 74};
  double at = 0.0;
  for (int key : keys) {
    const double length = key % 3 == 0 ? 1.2 : 0.6;
    melody.push_back({at, length, key});
    at += length;
  }
  const int long_keys[] = {57, 64, 69, 76, 81, 60};
  at = 0.0;
  for (int key : long_keys) {
    held.push_back({at, 2.6, key});
    at += 2.8;
  }
  std::vector<clip> clips;
  const struct {
    const char* name;
    int program;
  } singers[] = {{"voice oohs", 53}, {"choir", 52}, {"flute", 73}, {"violin", 40}, {"whistle", 78}};
  for (const auto& [name, program] : singers) {
    clips.push_back({std::string(name) + ", melody", played(program, melody)});
    clips.push_back({std::string(name) + ", held notes", played(program, held)});
  }
  return clips;
}

std::vector<clip> chords() {
  std::vector<note> notes;
  const int triads[][4] = {{48, 60, 64, 67}, {53, 60, 65, 69}, {55, 62, 67, 71}, {60, 67, 72, 76}};
  for (int t = 0; t < 4; ++t)
    for (int key : triads[t]) notes.push_back({t * 4.0, 3.8, key});
  const struct {
    const char* name;
    int program;
  } instruments[] = {{"church organ", 19}, {"reed organ", 20}, {"accordion", 21},
                     {"strings", 48},      {"choir", 52},      {"brass", 61},
                     {"clarinets", 71},    {"flutes", 73},     {"drawbar organ", 16}};
  std::vector<clip> clips;
  for (const auto& [name, program] : instruments) clips.push_back({name, played(program, notes)});
  return clips;
}

std::vector<clip> music() {
  std::vector<clip> clips;
  for (const char* name : {"frontiers", "machine_wars", "time_to_strike"})
    clips.push_back({name, levelled(load("/usr/share/games/asc/music/" + std::string(name) + ".mp3",
                                         "asc-music", 30.0))});
  return clips;
}
