// Both handles for some seconds: one thread processes, another sets. Built with ThreadSanitizer it
// finds races; in any build the last settings are in force afterwards.
//   sonx_handle_threads [SECONDS]
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <random>
#include <thread>

#include "hp/sonx_hp_effect.h"
#include "ktv/sonx_ktv.h"

extern "C" int __android_log_print(int, const char*, const char*, ...) { return 0; }

namespace {

constexpr int kFrames = 240;  // 5 ms
constexpr int kSettled = 80;  // periods, in which a fade and the compressor's recovery are over

int faults;

void expect(bool fine, const char* what) {
  if (fine) return;
  std::fprintf(stderr, "%s\n", what);
  ++faults;
}

// A square wave of 1 kHz and what a handle makes of it: left and right, interleaved.
struct block {
  int16_t words[2 * kFrames];
  block() {
    for (int i = 0; i < 2 * kFrames; ++i) words[i] = i / 48 % 2 ? 8000 : -8000;
  }
  bool operator==(const block&) const = default;
  double level_db() const {
    double squares = 0.0;
    for (const int word : words) squares += word * word;
    return 10.0 * std::log10(squares / (2 * kFrames) + 1e-9);
  }
};

block headphones(void* handle) {
  block heard;
  sonx_hp_effect_process(handle, heard.words, sizeof heard.words);
  return heard;
}

block karaoke(void* handle) {
  block heard;
  int16_t in[kFrames], left[kFrames], right[kFrames];
  for (int i = 0; i < kFrames; ++i) in[i] = heard.words[2 * i];
  sonx_ktv_process_16(handle, in, left, right, kFrames);
  for (int i = 0; i < kFrames; ++i) {
    heard.words[2 * i] = left[i];
    heard.words[2 * i + 1] = right[i];
  }
  return heard;
}

// Rounds of a few settings in another thread. Once that thread rests the last of them must be in
// force.
template <typename Process, typename Set, typename InForce>
long hammer(double seconds, Process process, Set set, InForce in_force) {
  using clock = std::chrono::steady_clock;
  const auto end = clock::now() + std::chrono::duration<double>(seconds);
  std::mt19937 random(1);
  std::atomic<int> asked = 0, answered = 0;  // rounds begun and done by the setting thread
  std::thread setter([&] {
    for (int round = 1;; ++round) {
      while (asked.load() < round) {
        if (asked.load() < 0) return;
        std::this_thread::yield();
      }
      set(random);
      answered = round;
    }
  });
  int round = 0;
  while (clock::now() < end) {
    asked = ++round;
    while (answered.load() < round) process();
    expect(in_force(), "the last settings from another thread are not in force");
  }
  asked = -1;
  setter.join();
  return round;
}

long hammer_headphones(double seconds) {
  void* const handle = sonx_hp_effect_init(48000, SONX_FORMAT_16_BIT);
  audio_effect_control_acdb_t last = {};
  const auto set = [&](std::mt19937& random) {
    for (int k = static_cast<int>(random() % 40); k >= 0; --k) {
      last.effect_type = static_cast<int>(random() % 6);
      last.data[0] = static_cast<int>(random() % 9);
      sonx_hp_effect_set_parameters(handle, &last);
      if (random() % 16 == 0) sonx_hp_effect_reset(handle);
      audio_effect_control_acdb_t got;
      sonx_hp_effect_get_parameters(handle, &got);
      expect(got.effect_type == last.effect_type && got.data[0] == last.data[0], "another record");
    }
    last.effect_type = SONX_EFFECT_GRAPHIC_EQUALIZER;
    for (int band = 0; band < 10; ++band) last.data[band] = static_cast<int>(random() % 31) - 15;
    sonx_hp_effect_set_parameters(handle, &last);
  };
  // The sound is that of a fresh handle that heard of nothing but the last record, when the fade of
  // both is over.
  const auto in_force = [&] {
    void* const fresh = sonx_hp_effect_init(48000, SONX_FORMAT_16_BIT);
    sonx_hp_effect_set_parameters(fresh, &last);
    double apart_db = 0.0;
    for (int k = 0; k < kSettled; ++k)
      apart_db = headphones(handle).level_db() - headphones(fresh).level_db();
    sonx_hp_effect_deinit(fresh);
    return std::abs(apart_db) < 0.01;
  };
  const long rounds = hammer(
      seconds, [&] { headphones(handle); }, set, in_force);
  sonx_hp_effect_deinit(handle);
  return rounds;
}

long hammer_karaoke(double seconds) {
  void* const handle = sonx_ktv_init();
  const auto set = [&](std::mt19937& random) {
    void (*const setters[])(void*, int) = {sonx_ktv_reverb_setroomsize,
                                           sonx_ktv_reverb_setdamp,
                                           sonx_ktv_reverb_setwet,
                                           sonx_ktv_reverb_enable,
                                           sonx_ktv_eq_enable,
                                           sonx_ktv_gramophone_enable,
                                           sonx_ktv_compressor_enable,
                                           sonx_ktv_iirecho_setfeedback,
                                           sonx_ktv_iirecho_setdelay,
                                           sonx_ktv_iirecho_setwet,
                                           sonx_ktv_iirecho_enable,
                                           sonx_ktv_howling_canceling_set_shift,
                                           sonx_ktv_howling_canceling_set_shift_mode,
                                           sonx_ktv_howling_canceling_set_last_resort,
                                           sonx_ktv_noise_canceling_enable};
    for (int k = static_cast<int>(random() % 40); k >= 0; --k) {
      setters[random() % std::size(setters)](handle, static_cast<int>(random() % 4096));
      int indices[10];
      for (int& index : indices) index = static_cast<int>(random() % 5);
      sonx_ktv_eq_setparameter(handle, indices);
      const int gain = sonx_ktv_howling_canceling_gain(handle);
      expect(gain >= 0 && gain <= 8192, "a gain beyond 1.0");
    }
    sonx_ktv_set_voice_gain(handle, 8192);
    for (const auto enable : {sonx_ktv_reverb_enable, sonx_ktv_eq_enable, sonx_ktv_iirecho_enable,
                              sonx_ktv_gramophone_enable, sonx_ktv_compressor_enable,
                              sonx_ktv_hw_howling_canceling_enable})
      enable(handle, 0);
    expect(sonx_ktv_bypasses(handle) == 1, "a stage that was switched off is on");
  };
  // With every stage off the voice comes out as it went in.
  const long rounds = hammer(
      seconds, [&] { karaoke(handle); }, set, [&] { return karaoke(handle) == block(); });
  sonx_ktv_deinit(handle);
  return rounds;
}

}  // namespace

int main(int count, char** words) {
  const double seconds = count > 1 ? std::atof(words[1]) : 2.0;
  const long in_headphones = hammer_headphones(seconds / 2);
  const long in_karaoke = hammer_karaoke(seconds / 2);
  std::printf("%ld and %ld rounds, %d faults\n", in_headphones, in_karaoke, faults);
  return faults == 0 && in_headphones > 0 && in_karaoke > 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
