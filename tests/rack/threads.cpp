// Four threads on one rack for some seconds: one processes, one moves parameters and reads the
// meters, one switches, one loads and saves. Built with ThreadSanitizer it finds races; in any
// build the sound must stay finite and what is saved must load.
//   rack_threads [SECONDS]
#include <sonx/rack.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr int kRate = 48000, kFrames = 256;

std::atomic<bool> running = true;
std::atomic<int> faults = 0;

void expect(bool fine, const char* what) {
  if (fine) return;
  std::fprintf(stderr, "%s\n", what);
  ++faults;
}

// All effects that have the rate, a few at a time.
std::vector<std::string> presets() {
  std::vector<std::string> texts = {"sonx = 1\n"};
  for (int k = 0; k < sonx_effect_count(); ++k) {
    const sonx_effect* const effect = sonx_effect_at(k);
    bool fits = false;
    for (int r = 0; r < effect->rate_count; ++r) fits = fits || effect->rates[r] == kRate;
    if (!fits) continue;
    if (k % 3 == 0) texts.push_back("sonx = 1\n");
    texts.back() += std::string("[[effect]]\nid = \"") + effect->id + "\"\n";
  }
  return texts;
}

long process_all(sonx_rack* rack) {
  std::mt19937 random(1);
  std::vector<float> left(kFrames), right(kFrames);
  long calls = 0;
  for (; running; ++calls) {
    const int frames = calls % 50 == 0 ? kFrames : 1 + static_cast<int>(random() % kFrames);
    for (float& v : left) v = static_cast<float>(random()) / 4294967296.0f - 0.5f;
    right = left;
    float* const channels[] = {left.data(), right.data()};
    sonx_rack_process_f32(rack, channels, channels, 2, frames);
    for (const float v : left) expect(std::abs(v) <= 1.0f, "a sample beyond full scale");
    if (calls % 3000 == 2999) sonx_rack_reset(rack);
  }
  return calls;
}

long set_and_get(sonx_rack* rack) {
  std::mt19937 random(2);
  long calls = 0;
  for (; running; ++calls) {
    const int slot = static_cast<int>(random() % 4), parameter = static_cast<int>(random() % 100);
    const double value = static_cast<double>(random()) / 2e7 - 100.0;
    sonx_rack_set(rack, slot, parameter, value);
    expect(!std::isinf(sonx_rack_get(rack, slot, parameter)), "an endless value");
    float in[2], out[2];
    sonx_rack_meters(rack, in, out);
    expect(out[0] >= 0.0f && out[0] <= 1.0f && in[1] >= 0.0f, "a meter beyond its range");
    if (sonx_rack_slot_meters(rack, slot, in, out) == 0)
      expect(in[0] >= 0.0f && out[1] >= 0.0f && out[1] <= 8.0f, "a slot's meter beyond its range");
    expect(sonx_rack_latency(rack) >= 0 && sonx_rack_tail(rack) >= -1, "no latency or tail");
  }
  return calls;
}

long enable(sonx_rack* rack) {
  std::mt19937 random(3);
  long calls = 0;
  for (; running; ++calls) {
    const int slot = static_cast<int>(random() % 4) - 1;
    sonx_rack_enable(rack, slot, random() % 2 == 0);
    expect(sonx_rack_enabled(rack, -1) >= 0, "a rack neither on nor off");
    expect(sonx_rack_slot_count(rack) < 16, "too many slots");
    std::this_thread::sleep_for(std::chrono::microseconds(random() % 2000));
  }
  return calls;
}

long load_and_save(sonx_rack* rack) {
  const std::vector<std::string> texts = presets();
  std::vector<char> text(1 << 16);
  long calls = 0;
  for (; running; ++calls) {
    char error[200] = "";
    expect(sonx_rack_load(rack, texts[static_cast<size_t>(calls) % texts.size()].c_str(), error,
                          sizeof error) == 0,
           error);
    expect(sonx_rack_load(rack, "sonx = 9", error, sizeof error) == -1, "a newer preset loaded");
    const int needed = sonx_rack_save(rack, text.data(), text.size());
    expect(needed > 0 && needed < static_cast<int>(text.size()), "no text saved");
    sonx_rack* const other = sonx_rack_create(kRate, kFrames);
    expect(sonx_rack_load(other, text.data(), error, sizeof error) == 0, error);
    sonx_rack_destroy(other);
  }
  return calls;
}

}  // namespace

int main(int count, char** words) {
  const double seconds = count > 1 ? std::atof(words[1]) : 2.0;
  sonx_rack* const rack = sonx_rack_create(kRate, kFrames);
  if (rack == nullptr) return EXIT_FAILURE;
  long calls[4] = {};
  std::thread threads[] = {
      std::thread([&] { calls[0] = process_all(rack); }),
      std::thread([&] { calls[1] = set_and_get(rack); }),
      std::thread([&] { calls[2] = enable(rack); }),
      std::thread([&] { calls[3] = load_and_save(rack); }),
  };
  std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
  running = false;
  for (std::thread& thread : threads) thread.join();
  sonx_rack_destroy(rack);
  std::printf("%ld blocks, %ld values, %ld switches, %ld presets, %d faults\n", calls[0], calls[1],
              calls[2], calls[3], faults.load());
  return faults == 0 && calls[0] > 0 && calls[3] > 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
