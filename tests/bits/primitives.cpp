#include "bits/rows.h"
#include "bits/subjects.h"
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

template <typename Sample, auto process, int fewer_bits>
void biquad(trial& t) {
  int row[5], seen[5];
  const auto draw = [&] {
    draw_row(t, row);
    for (int& word : row) word >>= fewer_bits;
  };
  draw();
  held<IIR, IIR_init, IIR_end> section(t.number % 4 == 1 ? kFilterCoefficients : row);
  t.run_steps<Sample>(
      [&](Sample x) {
        process(&section, &x, &x);
        return x;
      },
      [&] {
        draw();
        if (t.once_in(8))
          IIR_reset(&section);
        else
          (t.once_in(2) ? IIR_set_param : IIR_reinit)(&section, row);
        IIR_get_param(&section, seen);
        t.note_all(seen);
        t.note_all(section.state, 5);
      });
}

void sixth_order(trial& t) {
  int rows[2][13];
  for (auto& row : rows)  // the feedback adds up to less than 1
    for (int k = 0; k < 13; ++k)
      row[k] = t.wild() ? t.any() : (t.value() - 4096) * (k < 7 ? 64 : 8);
  held<elliptic, elliptic_init, elliptic_end> filter(rows[0]);
  t.run_steps<int>(
      [&](int x) {
        elliptic_process(&filter, &x, &x);
        return x;
      },
      [&] {
        t.note_all(filter.state, 13);
        if (t.once_in(2))
          elliptic_setcoef(&filter, rows[t.roll(2)]);
        else
          elliptic_resetstate(&filter);
      });
}

void diffuser(trial& t) {
  held<allpass, allpass_init, allpass_end> section(t.wild() ? -1 : static_cast<int>(t.roll(700)));
  t.run_steps<int>([&](int x) { return allpass_process(x, &section); },
                   [&] {
                     t.access<SETTING(allpass_, feedback)>(&section);
                     if (t.once_in(8)) allpass_reset(&section);
                     t.note(section.length, section.index);
                   });
}

template <typename Sample, auto process>
void damped_comb(trial& t) {
  held<comber, comb_init, comb_end> comb(t.wild() ? 0 : static_cast<int>(t.roll(900)));
  const auto change = [&] {
    t.access<comb_setfeedback, comb_setsetdamp>(&comb);
    if (t.once_in(8)) comb_reset(&comb);
    t.note(comb.feedback, comb.damp1, comb.damp2, comb.filter_store, comb.length, comb.index);
  };
  change();
  t.run_steps<int>([&](int x) { return process(static_cast<Sample>(x), &comb); }, change);
}

void echo_comb(trial& t) {
  held<iircomber, iircomber_init, iircomber_end> comb(1 + static_cast<int>(t.roll(900)));
  t.run_steps<int>([&](int x) { return iircomber_process(x, &comb); },
                   [&] {
                     iircomber_setdelay(&comb, static_cast<int>(t.roll(1000)) - 20);
                     t.access<SETTING(iircomber_, feedback), iircomber_getdelay>(&comb);
                     if (t.once_in(8)) iircomber_reset(&comb);
                     t.note(comb.index, comb.b0, comb.b1, comb.a1, comb.x1, comb.y1);
                   });
}

void delay_line(trial& t) {
  held<audio_delay, audio_delay_init, audio_delay_end> line(static_cast<int>(t.roll(5) * 150));
  t.run_steps<int>([&](int x) { return audio_delay_process(&line, x); },
                   [&] {
                     const int delay = static_cast<int>(t.roll(700)) - 20;
                     (t.once_in(3) ? audio_delay_reinit : audio_delay_set_delay)(&line, delay);
                     if (t.once_in(8)) audio_delay_reset(&line);
                     t.access<audio_delay_get_delay>(&line);
                     t.note(line.capacity, line.index);
                   });
}

template <typename Sample, auto process>
void dc_blocker(trial& t) {
  held<dc_remove, dc_remove_init, dc_remove_end> filter;
  t.run_steps<int>(
      [&](int x) {
        x = static_cast<Sample>(x);
        process(&filter, &x, &x);
        return x;
      },
      [&] {
        t.note(filter.x_prev, filter.y_prev);
        if (t.once_in(8)) dc_remove_reset(&filter);
      });
}

void tuned_notch(trial& t) {
  const auto place = [&] { return t.wild() ? t.any() : (t.value() - 8192) * 32768; };
  const auto radius = [&] { return t.wild() ? t.value() : 8191 - static_cast<int>(t.roll(900)); };
  int where = place();
  held<notch, notch_init, notch_end> filter(radius(), where);
  t.run_steps<int>(
      [&](int x) {
        notch_process(&filter, &x, &x);
        return x;
      },
      [&] {
        t.note_all(filter.state, 5);
        where = place();
        if (t.once_in(8))
          notch_resetstate(&filter);
        else if (t.once_in(2))
          notch_setcoef(&filter, radius(), where);
        else
          notch_setfi(&filter, where);
      });
}

void roots_and_logarithms(trial& t) {
  for (unsigned x = 0; x < 65536; x += 3) t.note(sqrt_fixed(x + t.number));
  for (int x = 0; x < 681391; x += 61) t.note(exp_fixed(x + static_cast<int>(t.number)));
  for (int i = 0; i < 20000; ++i)
    t.note(log_fixed(1 + (static_cast<unsigned>(t.any()) >> 1 >> t.roll(31))));
}

void transform(trial& t) {
  complex a, b, sum;
  for (int i = 0; i < 200; ++i) {
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
  for (int i = 0; i < 10; ++i) {  // sizes that no transform is made for stay in their memory
    held<fft_int, fft_int_init, fft_int_end> odd(static_cast<int>(t.roll(1000)));
    std::vector<int> frame = t.signal<int>(300, t.number);
    fft_int_dowin_process(&odd, frame.data(), nullptr, 300);
  }
  held<fft_int, fft_int_init, fft_int_end> fft(256);
  for (int i = 0; i < 256; ++i) fft.data[i] = {t.any() >> 8, t.any() >> 8};
  fft_do_process(&fft);
  for (int i = 0; i < 256; ++i) t.note(fft.data[i].re, fft.data[i].im);

  const std::vector<int> x = t.signal<int>(t.frames, t.number % 7);
  for (int start = 0; start + 300 < t.frames; start += 150) {
    int peaks[5];
    std::vector<int> frame(&x[size_t(start)], &x[size_t(start) + 300]);
    const int len = t.once_in(4) ? static_cast<int>(t.roll(300)) : 256;
    fft_int_dowin_process(&fft, frame.data(), t.once_in(8) ? nullptr : peaks, len);
    fft_int_dowin_process(&fft, frame.data(), peaks, len);
    t.note_all(frame.data(), frame.size());
    t.note_all(peaks);
    t.note_all(fft_power_current);
    for (const auto& bin : fft_power_history) t.note_all(bin);
  }
}

void nonlinear_device(trial& t) {
  held<NLD, NLD_init, NLD_end> nld;
  int part = 0;
  t.run_steps<int>(
      [&](int x) {
        (part == 0 ? clip_process : part == 1 ? multiplier_process : NLD_process)(&nld, &x, &x);
        return x;
      },
      [&] {
        part = static_cast<int>(t.roll(4));
        t.access<SETTING(NLD_, _clip_level), SETTING(NLD_, _clip_flag)>(&nld);
        if (t.once_in(8)) NLD_reset(&nld);
        if (t.once_in(3)) nld.coefficients[t.roll(8)] = t.value();
        t.note(nld.clip_level_scaled, nld.clip_envelope);
        t.note_all(nld.coefficients, 8);
      });
}

void band_split(trial& t) {
  int low[5], high[5];
  const auto draw = [&] {
    draw_row(t, low);
    draw_row(t, high);
  };
  draw();
  held<spectral_band_split, spectral_band_split_init, spectral_band_split_end> split(low, high);
  t.run<int, 1, 2>(
      [&](int* in, int* out_low, int* out_high, int n) {
        for (int i = 0; i < n; ++i)
          spectral_band_split_process(&split, in + i, out_low + i, out_high + i);
      },
      [&] {
        draw();
        if (t.once_in(4))
          spectral_band_split_reset(&split);
        else
          spectral_band_split_reinit(&split, low, high);
      });
}

void shellac(trial& t) {
  held<gramophone, gramophone_init, gramophone_end> effect;
  t.run<int, 1, 1>([&](int* in, int* out, int n) { gramophone_process(&effect, in, out, n); },
                   [&] {
                     int x = t.any() >> t.roll(20), y = 0;
                     overdrive_process(&x, &y);
                     bit_shift_porocess(&x, &x);
                     t.note(x, y);
                     t.access<SETTING(gramophone_, status)>(&effect);
                   });
}

}  // namespace

const std::vector<subject> kPrimitives = {
    {"biquad-16", "IIR_process_16, coefficients, state", 35, 4000,
     biquad<short, IIR_process_16, 8>},
    {"biquad-32", "IIR_process_32, coefficients, state", 35, 4000, biquad<int, IIR_process_32, 0>},
    {"elliptic", "sixth-order section, state", 35, 4000, sixth_order},
    {"allpass", "feedback, loops to 700 samples", 35, 6000, diffuser},
    {"comb-16", "comb_process_16, feedback, damping", 35, 6000,
     damped_comb<short, comb_process_16>},
    {"comb-24", "comb_process_24, feedback, damping", 35, 6000, damped_comb<int, comb_process_24>},
    {"iircomber", "delay, feedback, loop filter", 35, 6000, echo_comb},
    {"delay", "audio_delay: lengths, positions", 35, 6000, delay_line},
    {"dc-remove-16", "16-bit samples, state", 35, 4000, dc_blocker<short, dc_remove_process_16>},
    {"dc-remove-24", "24-bit samples, state", 35, 4000, dc_blocker<int, dc_remove_process_24>},
    {"notch", "radius, frequency, state", 35, 4000, tuned_notch},
    {"fixed-math", "square root, exponential, logarithm", 3, 0, roots_and_logarithms},
    {"fft-int", "complex, transform, window, powers, peaks", 28, 6000, transform},
    {"nld", "clipper, polynomial, both; coefficients", 35, 4000, nonlinear_device},
    {"band-split", "both bands", 35, 4000, band_split},
    {"gramophone", "overdrive, bit shift, band-pass", 35, 4000, shellac},
};
