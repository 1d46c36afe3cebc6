// A thread that plays and a thread that talks to the user, on one rack.
//
//   live PRESET SOUND | aplay -f dat
//
// SOUND is raw 16-bit stereo at 48000 Hz, played over and over; the result goes to standard output,
// whose reader sets the pace. Lines from standard input act at once:
//
//   set SLOT ID VALUE      a parameter, in its unit; slots count from 0
//   on SLOT, off SLOT      a slot; -1 is the whole rack
//   load FILE              another preset
//   show                   the present settings, as a preset, and the levels
//   quit                   and so does the input's end
#include <sonx/rack.h>

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr int kRate = 48000, kFrames = 480;

std::string contents(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// What a sound card's callback does; here the card is standard output.
void audio_thread(sonx_rack* rack, const std::vector<int16_t>& sound, const std::atomic<bool>& on) {
  std::vector<int16_t> block(2 * kFrames);
  for (size_t next = 0; on;) {
    for (int16_t& word : block) {
      word = sound[next];
      next = (next + 1) % sound.size();
    }
    sonx_rack_process_s16(rack, block.data(), 2, kFrames);
    std::fwrite(block.data(), sizeof block[0], block.size(), stdout);
  }
}

bool set(sonx_rack* rack, int slot, const std::string& id, double value) {
  const sonx_effect* const effect = sonx_rack_slot(rack, slot);
  for (int k = 0; effect != nullptr && k < effect->parameter_count; ++k)
    if (id == effect->parameters[k].id) return sonx_rack_set(rack, slot, k, value) == 0;
  return false;
}

bool load(sonx_rack* rack, const std::string& path) {
  char error[200];
  const bool fine = sonx_rack_load(rack, contents(path).c_str(), error, sizeof error) == 0;
  if (!fine) std::cerr << path << ": " << error << "\n";
  return fine;
}

void show(const sonx_rack* rack) {
  std::string text(static_cast<size_t>(sonx_rack_save(rack, nullptr, 0)), ' ');
  sonx_rack_save(rack, text.data(), text.size() + 1);
  float in[2], out[2];
  sonx_rack_meters(rack, in, out);
  std::cerr << text << "# in " << in[0] << " " << in[1] << ", out " << out[0] << " " << out[1]
            << "\n";
}

// What a window with sliders does; here its events are lines of text.
void user_thread(sonx_rack* rack) {
  for (std::string line, word, id; std::getline(std::cin, line);) {
    std::istringstream words(line);
    int slot = 0;
    double value = 0.0;
    words >> word;
    bool fine = true;
    if (word == "quit") return;
    if (word == "set")
      fine = words >> slot >> id >> value && set(rack, slot, id, value);
    else if (word == "on" || word == "off")
      fine = words >> slot && sonx_rack_enable(rack, slot, word == "on") == 0;
    else if (word == "load")
      fine = words >> id && load(rack, id);
    else if (word == "show")
      show(rack);
    else
      fine = false;
    if (!fine) std::cerr << "not done: " << line << "\n";
  }
}

}  // namespace

int main(int count, char** words) {
  if (count != 3) {
    std::cerr << "usage: live PRESET SOUND\n";
    return 1;
  }
  const std::string bytes = contents(words[2]);
  std::vector<int16_t> sound(bytes.size() / 4 * 2);
  bytes.copy(reinterpret_cast<char*>(sound.data()), sound.size() * sizeof sound[0]);
  sonx_rack* const rack = sonx_rack_create(kRate, kFrames);
  if (sound.empty() || rack == nullptr || !load(rack, words[1])) return 1;

  std::atomic<bool> on = true;
  std::thread audio(audio_thread, rack, std::cref(sound), std::cref(on));
  user_thread(rack);
  on = false;
  audio.join();
  sonx_rack_destroy(rack);
}
