#include "bits/module.h"
#include "dsp/allpass.h"
#include "dsp/audio_delay.h"
#include "dsp/comber.h"
#include "dsp/dc_remove.h"
#include "dsp/elliptic.h"
#include "dsp/fft_int.h"
#include "dsp/fixed_math.h"
#include "dsp/iir.h"
#include "dsp/iircomber.h"
#include "dsp/notch.h"
#include "effects/nld.h"
#include "effects/spectral_band_split.h"
#include "ktv/gramophone.h"

namespace {

template <auto init, int lowest, int most>
constexpr auto of_length =
    [](trial& t, auto* line) { init(line, t.wild() ? lowest : static_cast<int>(t.roll(most))); };
template <int words>
constexpr auto state = [](trial& t, auto* filter) { t.note_all(filter->state, words); };

template <auto process, int fewer_bits>
constexpr auto biquad =
    module<IIR,
           [](trial& t, IIR* section) {
             t.fewer_bits = fewer_bits;
             t.number % 4 == 1 ? IIR_init(section, kFilterCoefficients)
                               : call(t, IIR_init, section);
           },
           IIR_end, process, IIR_set_param, IIR_reinit, IIR_get_param, IIR_reset, state<5>>;

// Feedback that adds up to less than 1.
template <auto set>
constexpr auto sixth_order = [](trial& t, elliptic* filter) {
  static int rows[2][13];  // borrowed by the filter
  auto& row = rows[t.roll(2)];
  for (int k = 0; k < 13; ++k) row[k] = t.wild() ? t.any() : (t.value() - 4096) * (k < 7 ? 64 : 8);
  set(filter, row);
};

template <auto process>
constexpr auto damped_comb =
    module<comber, of_length<comb_init, 0, 900>, comb_end, process, comb_setfeedback,
           comb_setsetdamp, comb_reset, &comber::feedback, &comber::damp1, &comber::damp2,
           &comber::filter_store, &comber::length, &comber::index>;

template <auto process>
constexpr auto dc_blocker = module<dc_remove, LIFE(dc_remove), process, dc_remove_reset,
                                   &dc_remove::x_prev, &dc_remove::y_prev>;

template <auto set>
constexpr auto placed = [](trial& t, notch* filter) {
  const int radius = t.wild() ? t.value() : 8191 - static_cast<int>(t.roll(900));
  set(filter, radius, t.wild() ? t.any() : (t.value() - 8192) * 32768);
};
constexpr auto moved = [](notch* filter, int, int place) { notch_setfi(filter, place); };

template <auto process>
constexpr auto nonlinear =
    module<NLD, LIFE(NLD), process, SETTING(NLD_, _clip_level), switched<NLD_set_clip_flag>,
           NLD_get_clip_flag, NLD_reset, &NLD::clip_level_scaled, &NLD::clip_envelope,
           [](trial& t, NLD* nld) { nld->coefficients[t.roll(8)] = t.value(); }>;

void roots_and_logarithms(trial& t) {
  const watched_call mark;
  for (unsigned x = 0; x < 65536; x += 3) t.note(sqrt_fixed(x + t.number));
  for (int x = 0; x < 681391; x += 61) t.note(exp_fixed(x + static_cast<int>(t.number)));
  for (int i = 0; i < 20000; ++i)
    t.note(log_fixed(1 + (static_cast<unsigned>(t.any()) >> 1 >> t.roll(31))));
}

void transform(trial& t) {
  complex a, b, sum;
  for (int i = 0; i < t.times(200); ++i) {
    const watched_call mark;
    const int re = t.any(), im = t.value();
    complex_init(&a, re, im);
    complex_setvalue(&b, im, t.any());
    complex_swap(&a, &b);
    complex_mul(&a, &b, &sum);
    complex_add(&a, &sum, &a);
    complex_sub(&sum, &b, &sum);
    t.note(a.re, a.im, b.re, b.im, sum.re, sum.im, complex_getpower(&a));
    complex_end(&b);
    t.note(b.re, b.im);
  }
  for (int i = 0; i < t.times(10);
       ++i) {  // sizes that no transform is made for stay in their memory
    held<fft_int, LIFE(fft_int)> odd(static_cast<int>(t.roll(1000)));
    std::vector<int> frame = t.signal<int>(300, t.number);
    watched(fft_int_dowin_process, &odd, frame.data(), nullptr, 300);
  }
  held<fft_int, LIFE(fft_int)> fft(256);
  for (int i = 0; i < 256; ++i) fft.data[i] = {t.any() >> 8, t.any() >> 8};
  watched(fft_do_process, &fft);
  for (int i = 0; i < 256; ++i) t.note(fft.data[i].re, fft.data[i].im);

  const std::vector<int> x = t.signal<int>(t.frames, t.number % 7);
  for (int start = 0; start + 300 < t.frames; start += 150) {
    int peaks[5];
    std::vector<int> frame(&x[size_t(start)], &x[size_t(start) + 300]);
    const int len = t.once_in(4) ? static_cast<int>(t.roll(300)) : 256;
    watched(fft_int_dowin_process, &fft, frame.data(), t.once_in(8) ? nullptr : peaks, len);
    watched(fft_int_dowin_process, &fft, frame.data(), peaks, len);
    t.note_all(frame.data(), frame.size());
    t.note_all(peaks);
    t.note_all(fft_power_current);
    for (const auto& bin : fft_power_history) t.note_all(bin);
  }
}

constexpr auto shape_one = [](trial& t, gramophone*) {
  int x = t.any() >> t.roll(20), y = 0;
  watched(overdrive_process, &x, &y);
  watched(bit_shift_porocess, &x, &x);
  t.note(x, y);
};

}  // namespace

const std::vector<subject> kPrimitives = {
    {"biquad-16", "IIR_process_16, coefficients, state", 35, 4000, biquad<IIR_process_16, 8>},
    {"biquad-32", "IIR_process_32, coefficients, state", 35, 4000, biquad<IIR_process_32, 0>},
    {"elliptic", "sixth-order section, state", 35, 4000,
     module<elliptic, sixth_order<elliptic_init>, elliptic_end, elliptic_process,
            sixth_order<elliptic_setcoef>, elliptic_resetstate, state<13>>},
    {"allpass", "feedback, loops to 700 samples", 35, 6000,
     module<allpass, of_length<allpass_init, -1, 700>, allpass_end, allpass_process,
            SETTING(allpass_, feedback), allpass_reset, &allpass::length, &allpass::index>},
    {"comb-16", "comb_process_16, feedback, damping", 35, 6000,
     damped_comb<[](int x, comber* c) { return comb_process_16(static_cast<short>(x), c); }>},
    {"comb-24", "comb_process_24, feedback, damping", 35, 6000, damped_comb<comb_process_24>},
    {"iircomber", "delay, feedback, loop filter", 35, 6000,
     module<iircomber, of_length<iircomber_init, 1, 900>, iircomber_end, iircomber_process,
            [](trial& t, iircomber* c) { iircomber_setdelay(c, int(t.roll(1000)) - 20); },
            SETTING(iircomber_, feedback), iircomber_getdelay, iircomber_reset, &iircomber::index,
            &iircomber::b0, &iircomber::b1, &iircomber::a1, &iircomber::x1, &iircomber::y1>},
    {"delay", "audio_delay: lengths, positions", 35, 6000,
     module<audio_delay, of_length<audio_delay_init, 300, 600>, audio_delay_end,
            audio_delay_process, of_length<audio_delay_reinit, -20, 700>,
            of_length<audio_delay_set_delay, 700, 700>, audio_delay_reset, audio_delay_get_delay,
            &audio_delay::capacity, &audio_delay::index>},
    {"dc-remove-16", "16-bit samples, state", 35, 4000,
     dc_blocker<[](dc_remove* filter, int* in, int* out) {
       int x = static_cast<short>(*in);
       dc_remove_process_16(filter, &x, out);
     }>},
    {"dc-remove-24", "24-bit samples, state", 35, 4000, dc_blocker<dc_remove_process_24>},
    {"notch", "radius, frequency, state", 35, 4000,
     module<notch, placed<notch_init>, notch_end, notch_process, placed<notch_setcoef>,
            placed<moved>, placed<moved>, notch_resetstate, state<5>>},
    {"fixed-math", "square root, exponential, logarithm", 3, 0, roots_and_logarithms},
    {"fft-int", "complex, transform, window, powers, peaks", 28, 6000, transform},
    {"clipper", "level, flag, envelope", 35, 4000, nonlinear<clip_process>},
    {"polynomial", "coefficients", 35, 4000, nonlinear<multiplier_process>},
    {"nld", "clipper and polynomial", 35, 4000, nonlinear<NLD_process>},
    {"band-split", "both bands", 35, 4000,
     module<spectral_band_split, LIFE(spectral_band_split), spectral_band_split_process,
            spectral_band_split_reinit, spectral_band_split_reset>},
    {"gramophone", "overdrive, bit shift, band-pass", 35, 4000,
     module<gramophone, LIFE(gramophone), gramophone_process, STATUS(gramophone_), shape_one>},
};
