#include "bits/module.h"
#include "dsp/iir.h"
#include "ktv/resampler.h"
#include "ns/band_post.h"
#include "ns/noise_suppressor.h"
#include "spl/by_two.h"
#include "spl/fft.h"
#include "spl/resample.h"
#include "spl/vectors.h"

namespace {

// Syllables: pulses through a resonance, now and then, beside a steady noise.
std::vector<short> speech(trial& t, int n, int level, int noise) {
  std::vector<short> x(static_cast<size_t>(n));
  int y = 0, before = 0, period = 100, left = 0, loud = 0;
  for (int i = 0; i < n; ++i, --left) {
    if (left <= 0) {
      left = 1000 + static_cast<int>(t.roll(4000));
      loud = t.once_in(3) ? 0 : static_cast<int>(t.roll(static_cast<unsigned>(level) + 1));
      period = 50 + static_cast<int>(t.roll(100));
    }
    const int next = (14 * y - 7 * before) / 8 + (i % period == 0 ? loud : 0);
    before = y;
    y = next;
    const int hiss = static_cast<int>(t.roll(2 * static_cast<unsigned>(noise) + 1)) - noise;
    x[static_cast<size_t>(i)] = static_cast<short>(std::clamp(y + hiss, -32768, 32767));
  }
  return x;
}

// Policies, rates and prior sources. With the presence of the band post-processing as the source, 0,
// the sound must be so quiet that the process doesn't end.
void suppressor(trial& t) {
  constexpr unsigned kRates[] = {8000, 16000, 32000};
  constexpr int kSources[] = {0, 1, 2, 1, 2};
  const int source = kSources[t.number % 5];
  NsxInst_t_ ns;
  t.note(tekaNs_InitCore(&ns, 11025));
  t.note(tekaNs_InitCore(&ns, kRates[t.number % 3]));
  const auto policy = [&] { return t.unbounded() ? t.any() : static_cast<int>(t.roll(4)); };
  t.note(tekaNs_set_policy_core(&ns, policy()));
  t.note(tekaNs_set_policy_core(&ns, 4));
  t.note(tekaNs_set_prior_source(&ns, source));
  t.note(tekaNs_set_prior_source(&ns, 3));
  const int block = ns.block_length, level = 1 << t.roll(15);
  std::vector<short> x = source == 0         ? speech(t, t.frames, 20, 40)
                         : t.number % 4 == 3 ? t.signal<short>(t.frames, t.number / 4)
                                             : speech(t, t.frames, level, 1 << t.roll(12));
  std::vector<short> apart(static_cast<size_t>(block) + 1);
  if (t.once_in(3)) std::fill_n(x.begin() + t.frames / 2, std::min(1000, t.frames / 2), short{0});
  for (int start = 0; start + block <= t.frames; start += block) {
    short* const in = &x[size_t(start)];
    short* const out = t.number % 2 ? in : apart.data();
    t.note(watched(tekaNs_ProcessCore, &ns, in, out));
    t.note_all(out, size_t(block));
    t.note(ns.prior_non_speech, ns.energy_in, ns.magnitude_energy, ns.frame_count);
    if (source == 2) t.note_all(ns.noise_power, size_t(ns.bins));
    if (t.once_in(500)) tekaNs_set_policy_core(&ns, policy());
    if (t.once_in(1000)) tekaNs_canceling_setstatus(&ns, t.value());
    if (source == 2 && t.once_in(1000)) tekaNs_set_prior_source(&ns, 1);
    if (ns.prior_source != source && t.once_in(10)) tekaNs_set_prior_source(&ns, source);
    use<tekaNs_canceling_getstatus>(t, &ns);
    use<tekaNs_get_prior_source>(t, &ns);
  }
  // The stages one by one.
  unsigned short magnitudes[kNsxMaxBins] = {}, probability[kNsxMaxBins];  // zeros give none
  unsigned prior[kNsxMaxBins], post[kNsxMaxBins];
  for (int start = 0; start < 20 * block && start + block <= t.frames; start += block) {
    watched(tekaNsx_DataAnalysis, &ns, &x[size_t(start)], magnitudes);
    t.note_all(magnitudes, size_t(ns.bins));
    for (int k = 0; k < ns.bins; ++k) {
      prior[k] = t.unbounded() ? static_cast<unsigned>(t.any()) : t.roll(1 << 20);
      post[k] = t.unbounded() ? static_cast<unsigned>(t.any()) : t.roll(1 << 22);
    }
    watched(tekaNsx_SpeechNoiseProb, &ns, probability, prior, post);
    t.note_all(probability, size_t(ns.bins));
    watched(tekaNsx_DataSynthesis, &ns, apart.data());
    t.note_all(apart.data(), apart.size());
  }
  t.note(tekaNs_FreeCore(&ns));
}

void band_post(trial& t) {
  BPInfo_tag* bp = BP_ns_init(16000, t.once_in(4) ? 65 : 129);
  const bool loud = t.number % 2;  // then presence isn't asked for: it could end the process
  std::vector<short> x =
      loud ? t.signal<short>(t.frames, t.number / 2) : speech(t, t.frames, 20, 40);
  unsigned short spectrum[129];
  for (int start = 0; start + 200 < t.frames; start += 160) {
    const int n = t.once_in(9) ? static_cast<int>(t.roll(200)) : 160;
    short* frame = &x[size_t(start)];
    t.note(watched(BP_ns_pre, bp, frame, n, nullptr));
    const int shift = static_cast<int>(t.roll(6)) - 2;
    unsigned total = 0, level = 1 + t.roll(200);
    for (unsigned short& magnitude : spectrum) {
      magnitude = static_cast<unsigned short>(t.roll(level));
      total += magnitude;
    }
    if (!loud) t.note(watched(BP_ns_app, bp, spectrum, total, static_cast<short>(shift)));
    for (int i = 0; i < n; ++i)
      if (i > 0 && frame[i] == -32768) frame[i] = -32767;
    t.note(watched(BP_ns_post, bp, frame, n, frame));
    t.note_all(frame, size_t(n) + 4);
    t.note_all(bp->peak_history);
    t.note_all(bp->max_history);
    t.note_all(bp->tracker_count);
    t.note(bp->crest, bp->post_gain, bp->frame_count, bp->spread_smooth, bp->spread_floor,
           bp->peak_mean, bp->dev_smooth, bp->dev_floor, bp->presence);
  }
  short gain = static_cast<short>(t.any());
  for (int i = 0; i < t.times(200); ++i) {
    std::vector<short> in = t.signal<short>(64, 1), out = t.signal<short>(64, 1);
    const short target = t.once_in(3) ? 32767 : static_cast<short>(t.roll(32768));
    const int n = static_cast<int>(t.roll(61)) - 1;
    const short step = static_cast<short>(t.once_in(20) ? 32767u : t.roll(2000));
    watched(soft_gain_proc, in.data(), n, t.once_in(2) ? in.data() : out.data(), target, &gain,
            step);
    t.note(gain);
    t.note_all(in.data(), in.size());
    t.note_all(out.data(), out.size());
  }
  t.note(BP_ns_delete(bp));
}

void converter(trial& t) {
  constexpr int kRates[] = {8000, 11000, 16000, 22000, 24000, 32000, 44000, 48000, 96000, 44100, 0};
  const int from = kRates[t.number % 11], to = kRates[t.number / 11 % 11];
  Resampler_t r;
  Resampler_init(&r);
  Resampler_config(&r, from, to);
  t.note(r.in_khz, r.out_khz, r.mode);
  const std::vector<short> x = t.signal<short>(t.frames, t.number % 5);
  std::vector<short> out(12 * 960 + 960 + 4);
  for (int start = 0; start + 960 <= t.frames; start += 960) {
    int made = -7;
    const int n = t.once_in(4) ? static_cast<int>(t.roll(960)) : t.once_in(2) ? 960 : 880;
    const int room = t.once_in(8) ? 100 : 12 * 960;
    const size_t at = t.once_in(3) ? t.roll(200) : 960;  // the input may overlap with the output
    std::copy_n(&x[size_t(start)], 960, &out[at]);
    t.note(Resampler_proc(&r, &out[at], n, out.data(), room, &made));
    t.note(made);
    t.note_all(out.data(), t.fuzzed() ? 1000 : out.size());
  }
  Resampler_delete(&r);
}

// Every pair of rates in place, 10 ms at a time, for which no call takes memory.
void conversion(trial& t) {
  constexpr int kRates[] = {8000, 11000, 16000, 22000, 24000, 32000, 44000, 48000, 96000, 44100};
  for (const int from : kRates)
    for (const int to : kRates) {
      Resampler_t r;
      Resampler_config(&r, from, to);
      for (int i = 0; i < 3; ++i) {
        std::vector<short> x = t.signal<short>(960, t.number);
        int made = 0;
        t.note(watched(Resampler_proc, &r, x.data(), from / 100, x.data(), 960, &made));
        t.note(made);
        t.note_all(x.data(), x.size());
      }
      Resampler_delete(&r);
    }
}

template <auto reset, auto kernel, typename State, int in, int out>
void fixed_ratio(trial& t) {
  State state;
  reset(&state);
  std::vector<int> scratch(496);
  for (int i = 0; i < t.times(12); ++i) {
    const std::vector<short> x = t.signal<short>(in, t.number + (i < 6 ? 0 : 7));
    std::vector<short> y(out + 4);
    watched(kernel, x.data(), y.data(), &state, scratch.data());
    t.note_all(y.data(), y.size());
  }
  t.note_all(state.history);
}

void rate_kernels(trial& t) {
  int up[tekaSpl_kBy2StateWords] = {}, down[tekaSpl_kBy2StateWords] = {};
  for (int i = 0; i < t.times(20); ++i) {
    const int n = static_cast<int>(t.roll(300)) - 1;
    const std::vector<short> x = t.signal<short>(300, t.number + (i < 10 ? 0 : 7));
    std::vector<short> twice(604), half(304);
    watched(tekaSpl_UpsampleBy2, x.data(), n, twice.data(), up);
    watched(tekaSpl_DownsampleBy2, x.data(), n, half.data(), down);
    t.note_all(twice.data(), twice.size());
    t.note_all(half.data(), half.size());
    t.note_all(up);
    t.note_all(down);
  }
#define RATIO(name, in, out) \
  fixed_ratio<tekaSpl_ResetResample##name, tekaSpl_Resample##name, tekaSpl_State##name, in, out>(t)
  RATIO(16khzTo48khz, 160, 480);
  RATIO(48khzTo16khz, 480, 160);
  RATIO(8khzTo22khz, 80, 220);
  RATIO(16khzTo22khz, 160, 220);
  RATIO(22khzTo16khz, 220, 160);
  RATIO(22khzTo8khz, 220, 80);
}

void transforms(trial& t) {
  for (int i = 0; i < t.times(13); ++i) {
    const int stages = t.fuzzed() ? static_cast<int>(t.roll(13)) - 1 : i - 1;
    const int size = t.fuzzed() ? (2 << std::max(stages, 0)) + 2 : 2100;
    const auto data = [&] { return t.signal<short>(size, t.number); };
    const auto run = [&](auto transform) {
      std::vector<short> x = data();
      t.note(watched(transform, x.data(), stages));
      t.note_all(x.data(), x.size());
    };
    run(tekaSpl_ComplexBitReverse);
    run(tekaSpl_ComplexFft);
    run(tekaSpl_ComplexInverseFft);
    run([](short* x, int n) { return tekaSpl_RealFft(x, x, n); });
    run([](short* x, int n) { return tekaSpl_RealInverseFft(x, x, n); });
    const std::vector<short> x = data();
    run([&](short* y, int n) { return tekaSpl_RealFft(x.data(), y, n); });
    run([&](short* y, int n) { return tekaSpl_RealInverseFft(x.data(), y, n); });
  }
}

void vectors(trial& t) {
  for (int i = 0; i < t.times(100); ++i) {
    const int n = static_cast<int>(t.roll(70)) - 1;
    std::vector<short> x = t.signal<short>(80, t.number), y = t.signal<short>(80, t.number);
    std::vector<int> z = t.signal<int>(80, t.number), w = t.signal<int>(80, t.number);
    int scale = -1;
    const watched_call mark;
    t.note(tekaSpl_MaxValue16(x.data(), n), tekaSpl_MinValue16(x.data(), n),
           tekaSpl_MaxAbsValue16(x.data(), n), tekaSpl_MaxValue32(z.data(), n),
           tekaSpl_MinValue32(z.data(), n), tekaSpl_MaxAbsValue32(z.data(), n),
           tekaSpl_MaxIndex16(x.data(), n), tekaSpl_MinIndex16(x.data(), n),
           tekaSpl_MaxAbsIndex16(x.data(), n), tekaSpl_MaxIndex32(z.data(), n),
           tekaSpl_MinIndex32(z.data(), n), tekaSpl_MaxAbsIndex32(z.data(), n));
    t.note(tekaSpl_Energy16(x.data(), n, &scale));
    t.note(scale);
    const int word = t.any() >> t.roll(32);
    t.note(tekaSpl_Norm16(static_cast<short>(word)), tekaSpl_Norm32(word),
           tekaSpl_NormU32(static_cast<unsigned>(word)),
           tekaSpl_SqrtFloor(static_cast<unsigned>(word)));
    tekaSpl_Fill16(x.data() + 1, n, static_cast<short>(word));
    tekaSpl_Fill32(z.data() + 1, n, word);
    tekaSpl_Copy16(y.data(), y.data() + t.roll(4), n);
    tekaSpl_Copy32(w.data() + t.roll(4), w.data(), n);
    t.note_all(x.data(), x.size());
    t.note_all(y.data(), y.size());
    t.note_all(z.data(), z.size());
    t.note_all(w.data(), w.size());
  }
}

void tables(trial& t) {
  t.note_all(kFilterCoefficients);
  t.note_all(tekaNsx_kLogTable);
  t.note_all(tekaNsx_kCounterDiv);
}

}  // namespace

const std::vector<subject> kSpeech = {
    {"suppressor", "rates, policies, prior sources, stages; half a minute each", 35, 500000,
     suppressor},
    {"band-post", "presence, limiter, gain ramp, record", 40, 200000, band_post},
    {"converter", "every pair of eleven rates, lengths, room", 121, 9600, converter},
    {"conversion", "10 ms in place, every pair of ten rates", 8, 0, conversion},
    {"rate-kernels", "by two, six fixed ratios, states", 24, 0, rate_kernels},
    {"spl-fft", "all sizes, complex and real, there and back", 8, 0, transforms},
    {"spl-vectors", "extremes, energy, norms, root, fill, copy", 24, 0, vectors},
    {"tables", "the exported ones", 1, 0, tables},
};
