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
#include <type_traits>
#include <typeinfo>

#include "effects/memory.h"
#include "hp/sonx_hp_effect.h"
#include "hp/teka_hp_effect.h"
#include "ktv/memory.h"
#include "ktv/sonx_ktv.h"

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
// in turn. use(record, sound) calls settings and processes.
template <typename Record, typename Use, typename End>
void starve(void (*init)(Record*), Use use, End end) {
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
    use(record, s);
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

template <typename Record, typename Count>
void starve_stereo(void (*init)(Record*),
                   std::type_identity_t<void (*)(Record*, SampleRateType)> set_rate,
                   void (*reset)(Record*), void (*process)(Record*, int*, int*, int*, int*, Count),
                   void (*end)(Record*)) {
  const auto use = [=](Record* record, sound& s) {
    if (set_rate) set_rate(record, SAMPLE_RATE_44100);
    reset(record);
    process(record, s.left, s.right, s.left, s.right, kFrames);
  };
  starve(init, use, end);
}

template <typename Process>
void each(sound& s, Process process) {
  for (int& x : s.left) x = process(x);
}

constexpr int kUnity[13] = {1 << 20};

}  // namespace

TEST(ShortMemory, LeavesAPrimitiveThatPassesItsSamples) {
  const auto section = [](IIR* f, sound& s) {
    int16_t word = 5;
    IIR_reinit(f, kUnity);
    IIR_process_16(f, &word, &word);
    for (int& x : s.left) IIR_process_32(f, &x, &x);
  };
  const auto sixth_order = [](elliptic* f, sound& s) {
    elliptic_resetstate(f);
    for (int& x : s.left) elliptic_process(f, &x, &x);
  };
  const auto notched = [](notch* f, sound& s) {
    notch_setcoef(f, 8000, 100);
    for (int& x : s.left) notch_process(f, &x, &x);
  };
  const auto combed = [](comber* c, sound& s) {
    comb_reset(c);
    each(s, [=](int x) { return comb_process_24(comb_process_16(x, c), c); });
  };
  const auto allpassed = [](allpass* a, sound& s) {
    allpass_reset(a);
    each(s, [=](int x) { return allpass_process(x, a); });
  };
  const auto echoed = [](iircomber* c, sound& s) {
    iircomber_reset(c);
    each(s, [=](int x) { return iircomber_process(x, c); });
  };
  const auto delayed = [](audio_delay* d, sound& s) {
    audio_delay_reinit(d, -1);
    each(s, [=](int x) { return audio_delay_process(d, x); });
  };
  const auto analysed = [](fft_int* f, sound& s) {
    int peaks[5] = {-1, -1, -1, -1, -1};
    fft_do_process(f);
    fft_int_dowin_process(f, s.left, peaks, 256);
    EXPECT_GE(*std::min_element(peaks, peaks + 5), 0);
  };
  const auto split = [](spectral_band_split* p, sound& s) {
    int low, high;
    spectral_band_split_reinit(p, kUnity, kUnity);
    spectral_band_split_process(p, s.left, &low, &high);
  };
  starve<IIR>([](IIR* f) { IIR_init(f, kUnity); }, section, IIR_end);
  starve<elliptic>([](elliptic* f) { elliptic_init(f, kUnity); }, sixth_order, elliptic_end);
  starve<notch>([](notch* f) { notch_init(f, 8000, 0); }, notched, notch_end);
  starve<comber>([](comber* c) { comb_init(c, 100); }, combed, comb_end);
  starve<allpass>([](allpass* a) { allpass_init(a, 100); }, allpassed, allpass_end);
  starve<iircomber>([](iircomber* c) { iircomber_init(c, 100); }, echoed, iircomber_end);
  starve<audio_delay>([](audio_delay* d) { audio_delay_init(d, 100); }, delayed, audio_delay_end);
  starve<fft_int>([](fft_int* f) { fft_int_init(f, 256); }, analysed, fft_int_end);
  starve<spectral_band_split>(
      [](spectral_band_split* p) { spectral_band_split_init(p, kUnity, kUnity); }, split,
      spectral_band_split_end);
}

TEST(ShortMemory, LeavesAModuleThatPassesItsSamples) {
  starve_stereo<compressor_t>([](compressor_t* c) { compressor_init(c, 8192, 2); },
                              compressor_set_sample_rate, compressor_reset, compressor_process,
                              compressor_end);
  starve_stereo(difference_circuit_init, difference_circuit_set_sample_rate,
                difference_circuit_reset, difference_circuit_process_block, difference_circuit_end);
  starve_stereo(crossfeed_network_init, crossfeed_network_set_sample_rate, crossfeed_network_reset,
                crossfeed_network_process_block, crossfeed_network_end);
  starve_stereo(early_reflector_init, early_reflector_set_sample_rate, early_reflector_reset,
                early_reflector_process_block, early_reflector_end);
  starve_stereo(stereo_widening_system_init, stereo_widening_system_set_sample_rate,
                stereo_widening_system_reset, stereo_widening_system_process,
                stereo_widening_system_end);
  starve_stereo(equalizer_init, nullptr, equalizer_reset, equalizer_process_stereo, equalizer_end);
  starve_stereo(reverb_init, nullptr, reverb_reset, reverb_process_stereo_24, reverb_end);
  starve_stereo(virtual_bass_system_init, virtual_bass_system_set_sample_rate,
                virtual_bass_system_reset, virtual_bass_system_process, virtual_bass_system_end);
  starve_stereo(smart_volume_control_init, smart_volume_control_set_sample_rate,
                smart_volume_control_reset, smart_volume_control_process, smart_volume_control_end);
  starve_stereo(speaker_boost_system_init, speaker_boost_system_set_sample_rate,
                speaker_boost_system_reset, speaker_boost_system_process_stereo,
                speaker_boost_system_end);
  starve_stereo(iirecho_init, nullptr, iirecho_update, iirecho_processStereo, iirecho_end);
  const auto colour = [](gramophone* p, sound& s) {
    gramophone_process(p, s.left, s.left, kFrames);
  };
  starve(gramophone_init, colour, gramophone_end);
  const auto cancel = [](howlingCancel* p, sound& s) {
    howling_canceling_reset(p);
    howling_canceling_process(p, s.left, s.left, kFrames);
  };
  starve(howling_canceling_init, cancel, howling_canceling_end);
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
  const auto headphone = [](teka_hp_effect_t* p, sound& s) {
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
    teka_hp_effect_core_process(p, s.left, s.right, kFrames);
    teka_hp_effect_process_24(p, s.left, s.right, s.left, s.right, kFrames);
  };
  starve(teka_hp_effect_init, headphone, teka_hp_effect_end);
  const auto karaoke = [](teka_audio_tx_ktv_t* p, sound& s) {
    int curve[10] = {}, copied[kFrames];
    teka_audio_tx_ktv_set_sample_rate(p, 48000);
    teka_audio_tx_ktv_set_volume(p, 4096);
    teka_audio_tx_ktv_eq_set_param_index(p, curve);
    teka_audio_tx_ktv_noise_canceling_setstatus(p, 1);
    teka_audio_tx_ktv_process_24(p, s.left, s.left, copied, kFrames);
    teka_audio_tx_ktv_core_process(p, s.left, copied, kFrames);
    EXPECT_TRUE(has_memory(p) || std::equal(copied, copied + kFrames, s.left));
  };
  starve(teka_audio_tx_ktv_init, karaoke, teka_audio_tx_ktv_end);
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

// A header's figure is what init takes, the record included, in whole KB.
template <typename Init, typename End>
void expect_claimed(const std::string& header, size_t record, Init init, End end) {
  forget(-1);
  init();
  const double kilobytes = static_cast<double>(bytes_taken + record) / 1000.0;
  end();
  std::printf("%-34s %8.1f KB, header %6.1f KB\n", header.c_str(), kilobytes,
              claimed_kilobytes(header));
  EXPECT_NEAR(claimed_kilobytes(header), kilobytes, 0.5) << header;
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
  expect_claimed("hp/teka_hp_effect.h", teka_hp_effect_init, teka_hp_effect_end);
  expect_claimed("ktv/teka_audio_tx_ktv.h", teka_audio_tx_ktv_init, teka_audio_tx_ktv_end);
  expect_claimed("ktv/howling_cancel.h", howling_canceling_init, howling_canceling_end);
  expect_claimed("effects/reverb.h", reverb_init, reverb_end);
  expect_claimed("effects/early_reflector.h", early_reflector_init, early_reflector_end);
  expect_claimed("effects/stereo_widening_system.h", stereo_widening_system_init,
                 stereo_widening_system_end);
  expect_claimed("effects/speaker_boost_system.h", speaker_boost_system_init,
                 speaker_boost_system_end);
}
