// Noise suppressor: src/ns/noise_suppressor.h with prior source 2, which tracks the noise; an
// instance per channel, at 48000 Hz between the sample-rate kernels of src/spl.
#include "ns/noise_suppressor.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>

#include "conversions.h"
#include "effect.h"
#include "ktv/memory.h"
#include "module_state.h"
#include "parameters.h"
#include "spl/by_two.h"
#include "spl/resample.h"

namespace {

constexpr std::array<const char*, 4> kPolicies = {"6 dB", "12 dB", "18 dB", "21 dB"};
constexpr sonx_parameter kParameters[] = {
    choice("policy", "Reduction", kPolicies, 0, "How far steady noise is turned down.")};
constexpr int kRates[] = {8000, 16000, 32000, 48000};

constexpr int kTrackedPrior = 2;

// From 48000 to 32000 Hz and back, in blocks of 240 and 160 samples: the same samples as the
// converter of src/ktv/resampler.h makes, with the states in the record, to be copied with it. Never
// inlined: what lies between the stages takes no stack while the suppressor runs.
struct converter {
  static constexpr int kFast = 240, kSlow = 160, kBetween = 480;  // 96000 Hz

  int up_state[tekaSpl_kBy2StateWords], down_state[tekaSpl_kBy2StateWords];
  tekaSpl_State48khzTo16khz to_slow;
  tekaSpl_State16khzTo48khz to_fast;

  [[gnu::noinline]] void down(const short* in, short* out) {
    short between[kBetween];
    int scratch[tekaSpl_kScratch48khzTo16khz];
    tekaSpl_UpsampleBy2(in, kFast, between, up_state);
    tekaSpl_Resample48khzTo16khz(between, out, &to_slow, scratch);
  }
  [[gnu::noinline]] void up(const short* in, short* out) {
    short between[kBetween];
    int scratch[tekaSpl_kScratch16khzTo48khz];
    tekaSpl_Resample16khzTo48khz(in, between, &to_fast, scratch);
    tekaSpl_DownsampleBy2(between, kBetween, out, down_state);
  }
};

int suppressor_rate(int rate) { return rate == 48000 ? 32000 : rate; }

// One channel.
//
//   24 bits ─► (x + 128) / 256, saturated ─► [down] ─► suppressor ─► [up] ─► × 256
class suppressor {
 public:
  explicit suppressor(int rate) : converts_(rate != suppressor_rate(rate)) {
    tekaNs_InitCore(&core_, static_cast<unsigned>(suppressor_rate(rate)));
    if (!has_memory(&core_)) throw std::bad_alloc();
    tekaNs_set_prior_source(&core_, kTrackedPrior);
    fresh_band_post_ = *core_.band_post;
    fresh_ = core_;
    fresh_.band_post = &fresh_band_post_;
  }
  ~suppressor() { tekaNs_FreeCore(&core_); }
  suppressor(const suppressor&) = delete;
  suppressor& operator=(const suppressor&) = delete;

  void start(int policy) {
    tekaNs_set_policy_core(&core_, policy);
    copy_state(fresh_, core_);
    converter_ = {};
  }
  void take_over(const suppressor& running, int policy) {
    tekaNs_set_policy_core(&core_, policy);
    copy_state(running.core_, core_);
    converter_ = running.converter_;
  }
  void process(int* samples, int n) {
    short words[kLongestBlock];
    for (int i = 0; i < n; ++i)
      words[i] = static_cast<short>(std::clamp((samples[i] + 128) >> 8, -32768, 32767));
    if (converts_) {
      short slow[converter::kSlow];
      converter_.down(words, slow);
      tekaNs_ProcessCore(&core_, slow, slow);
      converter_.up(slow, words);
    } else {
      tekaNs_ProcessCore(&core_, words, words);
    }
    for (int i = 0; i < n; ++i) samples[i] = words[i] * 256;
  }

 private:
  bool converts_;
  converter converter_{};
  NsxInst_t_ core_{}, fresh_{};  // the second as init leaves it, since init takes memory
  BPInfo_tag fresh_band_post_{};
};

class noise_suppressor final : public processor {
 public:
  explicit noise_suppressor(int rate) : rate_(rate), left_(rate), right_(rate) {}

  void start(const double* values) noexcept override {
    left_.start(nearest(values[0]));
    right_.start(nearest(values[0]));
  }
  int take_over(const processor& running, const double* values) noexcept override {
    const auto& from = static_cast<const noise_suppressor&>(running);
    left_.take_over(from.left_, nearest(values[0]));
    right_.take_over(from.right_, nearest(values[0]));
    return frames_of(30, rate_);  // frames overlap, and gains depend on the ones before
  }
  void process(int* left, int* right, int n) noexcept override {
    left_.process(left, n);
    right_.process(right, n);
  }

 private:
  int rate_;
  suppressor left_, right_;
};

// The core's, and at 48000 Hz the kernels' 2 x 35.75 and the by-two samplers' 2.6.
int latency(int rate) {
  switch (rate) {
    case 8000:
      return 48;
    case 48000:
      return 96 * 3 / 2 + 74;
    default:
      return 96;
  }
}

}  // namespace

extern constinit const effect_definition kNoiseSuppressor = {
    .entry = {"noise-suppressor", "Noise suppressor",
              "Takes steady noise, a fan or a street, away from speech; long tones of music are "
              "noise to it.",
              1, 1, std::size(kRates), kRates, std::size(kParameters), kParameters, "voice"},
    .whole_blocks = true,
    .latency = latency,
    .warm_up = fixed_time<1500>,
    .tail = fixed_time<50>,
    .make = [](int rate) -> std::unique_ptr<processor> {
      return std::make_unique<noise_suppressor>(rate);
    }};
