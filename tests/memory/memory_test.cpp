// The library's memory: every module without one of its allocations, and the sizes that the headers
// name. The linker puts the functions below between the library and the heap.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <string>
#include <typeinfo>

#include "effects/memory.h"
#include "hp/sonx_hp_effect.h"
#include "hp/teka_hp_effect.h"
#include "ktv/memory.h"
#include "ktv/sonx_ktv.h"
#include "support/run_through.h"

namespace {

std::map<void*, size_t> taken;  // what the library holds, with sizes
size_t bytes_taken;             // since forget()
int until_failure = -1;         // allocations; < 0 = none fails
bool failed;

void forget(int failure) {
  bytes_taken = 0;
  until_failure = failure;
  failed = false;
}

}  // namespace

extern "C" {
void* __real_calloc(size_t count, size_t size);
void __real_free(void* pointer);

void* __wrap_calloc(size_t count, size_t size) {
  if (until_failure >= 0 && until_failure-- == 0) {
    failed = true;
    return nullptr;
  }
  void* pointer = __real_calloc(count, size);
  taken[pointer] = count * size;
  bytes_taken += count * size;
  return pointer;
}

void __wrap_free(void* pointer) {
  taken.erase(pointer);
  __real_free(pointer);
}

int __android_log_print(int, const char*, const char*, ...) { return 0; }
}

namespace {

constexpr int kFrames = 480;

// Stereo, in and out in place; a module of one channel takes the left one.
struct sound {
  int left[kFrames], right[kFrames];
  sound() {
    for (int i = 0; i < kFrames; ++i) {
      left[i] = i * 7919 % 65536 - 32768;
      right[i] = i * 104729 % 65536 - 32768;
    }
  }
};

// Runs a module's life, on a record that held rubbish before, with each of its allocations failing
// in turn: the settings, and the process function over the sound.
template <auto process, auto... settings, typename Init, typename Record>
void starve(Init init, void (*end)(Record*)) {
  SCOPED_TRACE(typeid(Record).name());
  for (int failure = 0;; ++failure) {
    SCOPED_TRACE(failure);
    alignas(Record) unsigned char memory[sizeof(Record)];
    std::memset(memory, 0xA5, sizeof memory);
    auto* record = reinterpret_cast<Record*>(memory);
    sound s;
    forget(failure);
    init(record);
    const bool starved = failed;
    until_failure = -1;
    ASSERT_EQ(taken.empty(), starved) << "all or nothing";
    (settings(record), ...);
    int* const at[] = {s.left, s.right, s.left, s.right};
    run_through(process, record, at, kFrames);
    if (starved) {
      const sound before;
      EXPECT_TRUE(std::equal(s.left, s.left + kFrames, before.left));
      EXPECT_TRUE(std::equal(s.right, s.right + kFrames, before.right));
    }
    end(record);
    end(record);
    ASSERT_TRUE(taken.empty()) << "leaked";
    if (!starved) return;
  }
}

template <auto set>
constexpr auto at_44100 = [](auto* module) { set(module, SAMPLE_RATE_44100); };
#define LIFE(stem) stem##_init, stem##_end
#define RATE_AND_RESET(stem) at_44100<stem##_set_sample_rate>, stem##_reset

constexpr int kUnity[13] = {1 << 20};

}  // namespace

TEST(ShortMemory, LeavesAPrimitiveThatPassesItsSamples) {
  constexpr auto both_words = [](IIR* f, int* in, int* out) {
    int16_t word = 5;
    IIR_reinit(f, kUnity);
    IIR_process_16(f, &word, &word);
    IIR_process_32(f, in, out);
  };
  constexpr auto both_combs = [](int x, comber* c) {
    return comb_process_24(comb_process_16(x, c), c);
  };
  constexpr auto analyse = [](fft_int* f, int* in, int*, int) {
    int peaks[5] = {-1, -1, -1, -1, -1};
    fft_do_process(f);
    fft_int_dowin_process(f, in, peaks, 256);
    EXPECT_GE(*std::min_element(peaks, peaks + 5), 0);
  };
  constexpr auto split = [](spectral_band_split* p, int* in, int*) {
    int low, high;
    spectral_band_split_process(p, in, &low, &high);
  };
  starve<both_words>([](IIR* f) { IIR_init(f, kUnity); }, +[](IIR* f) { IIR_end(f); });
  starve<elliptic_process, elliptic_resetstate>([](elliptic* f) { elliptic_init(f, kUnity); },
                                                elliptic_end);
  starve<notch_process, [](notch* f) { notch_setcoef(f, 8000, 100); }>(
      [](notch* f) { notch_init(f, 8000, 0); }, notch_end);
  starve<both_combs, comb_reset>([](comber* c) { comb_init(c, 100); }, comb_end);
  starve<allpass_process, allpass_reset>([](allpass* a) { allpass_init(a, 100); }, allpass_end);
  starve<iircomber_process, iircomber_reset>([](iircomber* c) { iircomber_init(c, 100); },
                                             iircomber_end);
  starve<audio_delay_process, [](audio_delay* d) { audio_delay_reinit(d, -1); }>(
      [](audio_delay* d) { audio_delay_init(d, 100); }, audio_delay_end);
  starve<analyse>([](fft_int* f) { fft_int_init(f, 256); }, fft_int_end);
  starve<split, [](spectral_band_split* p) { spectral_band_split_reinit(p, kUnity, kUnity); }>(
      [](spectral_band_split* p) { spectral_band_split_init(p, kUnity, kUnity); },
      spectral_band_split_end);
}

TEST(ShortMemory, LeavesAModuleThatPassesItsSamples) {
  starve<compressor_process, RATE_AND_RESET(compressor)>(
      [](compressor_t* c) { compressor_init(c, 8192, 2); }, compressor_end);
  starve<difference_circuit_process_block, RATE_AND_RESET(difference_circuit)>(
      LIFE(difference_circuit));
  starve<crossfeed_network_process_block, RATE_AND_RESET(crossfeed_network)>(
      LIFE(crossfeed_network));
  starve<early_reflector_process_block, RATE_AND_RESET(early_reflector)>(LIFE(early_reflector));
  starve<stereo_widening_system_process, RATE_AND_RESET(stereo_widening_system)>(
      LIFE(stereo_widening_system));
  starve<equalizer_process_stereo, equalizer_reset>(LIFE(equalizer));
  starve<reverb_process_stereo_24, reverb_reset>(LIFE(reverb));
  starve<virtual_bass_system_process, RATE_AND_RESET(virtual_bass_system)>(
      LIFE(virtual_bass_system));
  starve<smart_volume_control_process, RATE_AND_RESET(smart_volume_control)>(
      LIFE(smart_volume_control));
  starve<speaker_boost_system_process_stereo, RATE_AND_RESET(speaker_boost_system)>(
      LIFE(speaker_boost_system));
  starve<iirecho_processStereo, iirecho_update>(LIFE(iirecho));
  starve<gramophone_process>(LIFE(gramophone));
  starve<howling_canceling_process, howling_canceling_reset>(LIFE(howling_canceling));
}

TEST(ShortMemory, MakesASuppressorThatIsNotInitialised) {
  NsxInst_t_ ns;
  short block[160] = {};
  forget(0);
  EXPECT_EQ(tekaNs_InitCore(&ns, 16000), -1);
  EXPECT_EQ(tekaNs_ProcessCore(&ns, block, block), -1);
  EXPECT_EQ(tekaNs_FreeCore(&ns), 0);
  EXPECT_EQ(taken.size(), 0u);
}

// Every ratio, in place so that each takes its temporaries.
TEST(ShortMemory, MakesAConverterRefuse) {
  constexpr int kRates[] = {8000, 11000, 16000, 22000, 24000, 32000, 44000, 48000, 96000};
  short buffer[36 * kFrames] = {};
  for (const int in : kRates)
    for (const int out : kRates)
      for (int failure = 0;; ++failure) {
        Resampler_t r;
        int made = -7;
        forget(failure);
        Resampler_config(&r, in, out);
        const int length = 3 * (in % 11000 == 0 ? 440 : kFrames);
        const int result =
            Resampler_proc(&r, buffer, length, buffer, int{std::size(buffer)}, &made);
        const bool starved = failed;
        if (starved) {
          EXPECT_EQ(result, -1) << in << " to " << out;
          EXPECT_EQ(made, -7);
        }
        until_failure = -1;
        Resampler_delete(&r);
        ASSERT_EQ(taken.size(), 0u) << in << " to " << out;
        if (!starved) break;
      }
}

TEST(ShortMemory, LeavesAChainThatPassesItsSamples) {
  constexpr auto use_headphone = [](teka_hp_effect_t* p) {
    for (int effect = 0; effect <= 5; ++effect) {
      audio_effect_control_acdb_t record = {effect, 1, {1000, 1000, 1000}};
      teka_hp_effect_set_sample_rate(p, 44100);
      teka_hp_effect_setstatus(p, 1);
      teka_hp_effect_setparameter(p, &record);
      teka_hp_effect_getparameter(p, &record);
      teka_hp_effect_update_parameter(p);
    }
    reverb_param_acdb_t reverb = {};
    teka_hp_effect_reverb_setparameter(p, &reverb);
    teka_hp_effect_reset(p);
  };
  constexpr auto headphone = [](teka_hp_effect_t* p, int* left, int* right, int*, int*, int n) {
    teka_hp_effect_core_process(p, left, right, n);
    teka_hp_effect_process_24(p, left, right, left, right, n);
  };
  starve<headphone, use_headphone>(LIFE(teka_hp_effect));
  constexpr auto use_karaoke = [](teka_audio_tx_ktv_t* p) {
    int curve[10] = {};
    teka_audio_tx_ktv_set_sample_rate(p, 48000);
    teka_audio_tx_ktv_set_volume(p, 4096);
    teka_audio_tx_ktv_eq_set_param_index(p, curve);
    teka_audio_tx_ktv_noise_canceling_setstatus(p, 1);
  };
  constexpr auto karaoke = [](teka_audio_tx_ktv_t* p, int* in, int* left, int n) {
    int copied[kFrames];
    teka_audio_tx_ktv_process_24(p, in, left, copied, n);
    teka_audio_tx_ktv_core_process(p, left, copied, n);
    EXPECT_TRUE(has_memory(p) || std::equal(copied, copied + n, left));
  };
  starve<karaoke, use_karaoke>(LIFE(teka_audio_tx_ktv));
}

TEST(ShortMemory, MakesAHandleNull) {
  const auto starve_handle = [](auto init, auto end) {
    for (int failure = 0;; ++failure) {
      forget(failure);
      void* handle = init();
      EXPECT_EQ(handle == nullptr, failed) << failure;
      EXPECT_EQ(taken.empty(), failed) << "leaked; " << failure;
      end(handle);
      if (!failed) break;
    }
    EXPECT_TRUE(taken.empty());
  };
  starve_handle([] { return sonx_hp_effect_init(44100, 3); }, sonx_hp_effect_deinit);
  starve_handle(sonx_ktv_init, sonx_ktv_deinit);
}

// The figure behind "Memory:" in a header; a KB is 1000 bytes.
double claimed_kilobytes(const std::string& header) {
  std::ifstream file(SONX_SOURCE_DIR "/src/" + header);
  const std::string text((std::istreambuf_iterator<char>(file)), {});
  std::smatch match;
  if (!std::regex_search(text, match, std::regex("Memory:[ \n/]*(?:about )?([0-9.]+) KB")))
    return 0;
  return std::stod(match[1]);
}

// A header's figure is what init takes, the record included, in whole KB; with pointers of 32 bits it
// takes less.
template <typename Init, typename End>
void expect_claimed(const std::string& header, size_t record, Init init, End end) {
  forget(-1);
  init();
  const double kilobytes = static_cast<double>(bytes_taken + record) / 1000.0;
  end();
  std::printf("%-34s %8.1f KB, header %6.1f KB\n", header.c_str(), kilobytes,
              claimed_kilobytes(header));
  EXPECT_LT(kilobytes, claimed_kilobytes(header) + 0.5) << header;
  if (sizeof(void*) == 8) {
    EXPECT_GT(kilobytes, claimed_kilobytes(header) - 0.5) << header;
  }
}
template <typename Record>
void expect_claimed(const std::string& header, void (*init)(Record*), void (*end)(Record*)) {
  Record record;
  expect_claimed(
      header, sizeof record, [&] { init(&record); }, [&] { end(&record); });
}

TEST(Memory, IsWhatTheHeadersSay) {
  void* handle = nullptr;
  expect_claimed(
      "hp/sonx_hp_effect.h", 0, [&] { handle = sonx_hp_effect_init(48000, SONX_FORMAT_16_BIT); },
      [&] { sonx_hp_effect_deinit(handle); });
  expect_claimed(
      "ktv/sonx_ktv.h", 0, [&] { handle = sonx_ktv_init(); }, [&] { sonx_ktv_deinit(handle); });
  expect_claimed("hp/teka_hp_effect.h", LIFE(teka_hp_effect));
  expect_claimed("ktv/teka_audio_tx_ktv.h", LIFE(teka_audio_tx_ktv));
  expect_claimed("ktv/howling_cancel.h", LIFE(howling_canceling));
  expect_claimed("effects/reverb.h", LIFE(reverb));
  expect_claimed("effects/early_reflector.h", LIFE(early_reflector));
  expect_claimed("effects/stereo_widening_system.h", LIFE(stereo_widening_system));
  expect_claimed("effects/speaker_boost_system.h", LIFE(speaker_boost_system));
}
