#include "effects/speaker_boost_system.h"

#include <algorithm>

#include "dsp/block.h"
#include "dsp/kernels/audio_delay.h"
#include "dsp/kernels/iir.h"
#include "dsp/kernels/kernels.h"
#include "effects/block_forms.h"
#include "effects/crossover_tables.h"
#include "effects/memory.h"
#include "effects/rates.h"
#include "fixed.h"

namespace {

constexpr int kSplits = 3;
constexpr const crossover_set* kCrossovers[kSplits] = {kCrossover250, kCrossover950,
                                                       kCrossover2800};

// All sets are Q28: b0, b1, b2, -a1, -a2; given data.

// Band-pass of the harmonics, 0 dB at 400 Hz, -5 dB at 200 and 800 Hz.
constexpr int kHarmonicBand[][5] = {
    {7433276, 0, -7433276, 521156877, -253568901},  // 44100 Hz
    {6845285, 0, -6845285, 522463337, -254744883},  // 48000 Hz
    {3468019, 0, -3468019, 529753275, -261499416},  // 96000 Hz
    {},                                             // 192000 Hz: silence
};

// Treble roll-off: a Butterworth shelf of -6 dB with its zeros at 12 kHz. At 48000 Hz: -2.5 dB at
// 10 kHz, -6 dB at 20 kHz.
constexpr int kPreFilter[][5] = {
    {188765458, 30745136, 33272995, 64448379, -48796514},      // 44100 Hz
    {183560140, 0, 31493941, 107017611, -53636238},            // 48000 Hz
    {157546209, -148535990, 52515403, 326985330, -120075497},  // 96000 Hz
    {},                                                        // 192000 Hz: silence
};

// The parts of one side.
struct channel {
  spectral_band_split* const* split;
  IIR* pre;
  audio_delay* delay;
  dynamic_range_control_t *drc_low, *drc_mid, *drc_high, *drc_full;
  int *sub, *low, *mid, *high, *sum;
  int nld_gain_q13;
};

channel left_of(const speaker_boost_system_t* b) {
  return {b->split_left,    b->pre_left,      b->delay_left,   b->drc_low_left, b->drc_mid_left,
          b->drc_high_left, b->drc_full_left, b->sub_left,     b->low_left,     b->mid_left,
          b->high_left,     b->sum_left,      b->nld_gain_left};
}

channel right_of(const speaker_boost_system_t* b) {
  return {b->split_right,   b->pre_right,      b->delay_right,    b->drc_low_right,
          b->drc_mid_right, b->drc_high_right, b->drc_full_right, b->sub_right,
          b->low_right,     b->mid_right,      b->high_right,     b->sum_right,
          b->nld_gain_right};
}

// Calls use(pointer) with each pointer to a controller, and below, to a work buffer.
template <typename Use>
void for_each_controller(speaker_boost_system_t* b, Use use) {
  for (auto* drc : {&b->drc_low_left, &b->drc_mid_left, &b->drc_high_left, &b->drc_low_right,
                    &b->drc_mid_right, &b->drc_high_right, &b->drc_full_left, &b->drc_full_right})
    use(*drc);
}

template <typename Use>
void for_each_buffer(speaker_boost_system_t* b, Use use) {
  for (int** buffer : {&b->sub_left, &b->low_left, &b->mid_left, &b->high_left, &b->sum_left,
                       &b->sub_right, &b->low_right, &b->mid_right, &b->high_right, &b->sum_right})
    use(*buffer);
}

int look_ahead(const speaker_boost_system_t* boost) {
  return wrap_mul(boost->history_len, boost->frame_len);
}

}  // namespace

void speaker_boost_system_init(speaker_boost_system_t* boost) {
  boost->status = 0;
  boost->nld_gain_left = boost->nld_gain_right = kOneQ13;
  boost->channel_num = 2;
  boost->history_len = 2;
  boost->frame_len = 60;
  bool whole = true;
  for (int k = 0; k < kSplits; ++k) {
    const crossover_set& set = kCrossovers[k][SAMPLE_RATE_48000];
    for (auto* split : {&boost->split_left[k], &boost->split_right[k]})
      whole &= make(*split, spectral_band_split_init, set.low, set.high);
  }
  whole &= make(boost->nld, NLD_init);
  whole &= make(boost->nld_band, IIR_init, kHarmonicBand[SAMPLE_RATE_48000]);
  whole &= make(boost->pre_left, IIR_init, kPreFilter[SAMPLE_RATE_48000]);
  whole &= make(boost->pre_right, IIR_init, kPreFilter[SAMPLE_RATE_48000]);
  whole &= make(boost->delay_left, audio_delay_init, look_ahead(boost));
  whole &= make(boost->delay_right, audio_delay_init, look_ahead(boost));
  for_each_controller(boost, [&](dynamic_range_control_t*& drc) {
    whole &= make(drc, dynamic_range_control_init, boost->history_len, boost->frame_len);
  });
  for_each_buffer(boost, [&](int*& buffer) { whole &= take(buffer, kBlockFrames); });
  if (!whole) speaker_boost_system_end(boost);
}

void speaker_boost_system_set_sample_rate(speaker_boost_system_t* boost, SampleRateType rate) {
  const int row = rate_row(rate), crossover_row = rate_row(rate, 3);
  boost->frame_len = frame_length(rate);
  for (int k = 0; k < kSplits; ++k) {
    const crossover_set& set = kCrossovers[k][crossover_row];
    on(boost->split_left[k], spectral_band_split_reinit, set.low, set.high);
    on(boost->split_right[k], spectral_band_split_reinit, set.low, set.high);
  }
  on(boost->nld_band, IIR_reinit, kHarmonicBand[row]);
  on(boost->pre_left, IIR_reinit, kPreFilter[row]);
  on(boost->pre_right, IIR_reinit, kPreFilter[row]);
  for_each_controller(boost, [=](dynamic_range_control_t* drc) {
    on(drc, dynamic_range_control_reinit, boost->frame_len);
  });
  on(boost->delay_left, audio_delay_reinit, look_ahead(boost));
  on(boost->delay_right, audio_delay_reinit, look_ahead(boost));
}

void speaker_boost_system_reset(speaker_boost_system_t* boost) {
  if (!has_memory(boost)) return;
  for (int k = 0; k < kSplits; ++k) {
    spectral_band_split_reset(boost->split_left[k]);
    spectral_band_split_reset(boost->split_right[k]);
  }
  NLD_reset(boost->nld);
  for (IIR* section : {boost->nld_band, boost->pre_left, boost->pre_right}) IIR_reset(section);
  for_each_controller(boost, dynamic_range_control_reset);
  audio_delay_reset(boost->delay_left);
  audio_delay_reset(boost->delay_right);
  for_each_buffer(boost, [](int* buffer) { std::fill_n(buffer, kBlockFrames, 0); });
}

void speaker_boost_system_end(speaker_boost_system_t* boost) {
  for (int k = 0; k < kSplits; ++k) {
    end_and_release(boost->split_left[k], spectral_band_split_end);
    end_and_release(boost->split_right[k], spectral_band_split_end);
  }
  end_and_release(boost->nld, NLD_end);
  for (IIR** section : {&boost->nld_band, &boost->pre_left, &boost->pre_right})
    end_and_release(*section, IIR_end);
  for_each_controller(boost, [](dynamic_range_control_t*& drc) {
    end_and_release(drc, dynamic_range_control_end);
  });
  end_and_release(boost->delay_left, audio_delay_end);
  end_and_release(boost->delay_right, audio_delay_end);
  for_each_buffer(boost, [](int*& buffer) { release(buffer); });
}

void speaker_boost_system_setstatus(speaker_boost_system_t* boost, int status) {
  boost->status = status;
}
void speaker_boost_system_getstatus(speaker_boost_system_t* boost, int* status) {
  *status = boost->status;
}

void speaker_boost_system_set_nld_gain_left(speaker_boost_system_t* boost, int gain) {
  boost->nld_gain_left = gain;
}
void speaker_boost_system_get_nld_gain_left(speaker_boost_system_t* boost, int* gain) {
  *gain = boost->nld_gain_left;
}

void speaker_boost_system_set_nld_gain_right(speaker_boost_system_t* boost, int gain) {
  boost->nld_gain_right = gain;
}
void speaker_boost_system_get_nld_gain_right(speaker_boost_system_t* boost, int* gain) {
  *gain = boost->nld_gain_right;
}

void speaker_boost_system_set_channel_num(speaker_boost_system_t* boost, int number) {
  boost->channel_num = number;
}
void speaker_boost_system_get_channel_num(speaker_boost_system_t* boost, int* number) {
  *number = boost->channel_num;
}

void speaker_boost_system_set_nld_param(speaker_boost_system_t* boost, int* coefficients) {
  on(boost->nld_band, IIR_set_param, coefficients);
}
void speaker_boost_system_get_nld_param(speaker_boost_system_t* boost, int* coefficients) {
  on(boost->nld_band, IIR_get_param, coefficients);
}

// The eighty accessors of the controllers.
#define SPEAKER_BOOST_DEFINE(controller, parameter)                                           \
  void speaker_boost_system_drc_##controller##_set_##parameter(speaker_boost_system_t* boost, \
                                                               int value) {                   \
    on(boost->drc_##controller, dynamic_range_control_set_##parameter, value);                \
  }                                                                                           \
  void speaker_boost_system_drc_##controller##_get_##parameter(speaker_boost_system_t* boost, \
                                                               int* value) {                  \
    on(boost->drc_##controller, dynamic_range_control_get_##parameter, value);                \
  }
SPEAKER_BOOST_FOR_EACH_ACCESSOR(SPEAKER_BOOST_DEFINE)
#undef SPEAKER_BOOST_DEFINE

// One channel; samples at input scale on all wires. N is common to both: the non-linear device and
// the band-pass on the mean of both sub bands (in mono, on the one sub band).
//
//   in ─► roll-off ─► 250 Hz ─┬─ sub ─► N ─► × nld_gain, Q13 ─► delay ─► + ─► full ─► out
//                             └─► 950 Hz ─┬─ low ─────► low controller ─► +   controller
//                                         └─► 2.8 kHz ─┬─ mid ─► mid controller ─► +
//                                                      └─ high ─► high controller ─► +

namespace {

// c.high holds what is above the crossovers so far.
void split_block(const channel& c, const int* in, int n) {
  iir_block<iir_step_32>(c.pre, in, c.high, n);
  spectral_band_split_block(c.split[0], c.high, c.sub, c.high, n);
  spectral_band_split_block(c.split[1], c.high, c.low, c.high, n);
  spectral_band_split_block(c.split[2], c.high, c.mid, c.high, n);
}

// The same for both channels side by side.
void split_blocks(const channel& left, const int* in_left, const channel& right,
                  const int* in_right, int n) {
  const auto tree_of = [](const channel& c, const int* in) -> band_tree {
    return {in,
            c.pre,
            {c.split[0]->high, c.split[1]->high, c.split[2]->high},
            {c.split[0]->low, c.split[1]->low, c.split[2]->low},
            {c.sub, c.low, c.mid, c.high}};
  };
  const band_tree trees[] = {tree_of(left, in_left), tree_of(right, in_right)};
  kernels().band_tree_32(trees, n);
}

// N of the sketch, in place.
void make_harmonics(const speaker_boost_system_t* boost, int* x, int n) {
  nld_block(boost->nld, x, x, n);
  iir_block<iir_step_32>(boost->nld_band, x, x, n);
}

// c.sum = delayed harmonics + low + mid + high after their controllers; wraps.
void mix_bands(const channel& c, const int* harmonics, int n) {
  kernels().scale_q13(harmonics, c.nld_gain_q13, c.sub, n);
  audio_delay_block(c.delay, c.sub, c.sub, n);
  dynamic_range_control_process(c.drc_low, c.low, c.low, n);
  dynamic_range_control_process(c.drc_mid, c.mid, c.mid, n);
  dynamic_range_control_process(c.drc_high, c.high, c.high, n);
  for (int i = 0; i < n; ++i)
    c.sum[i] = wrap32(int64_t{c.sub[i]} + c.low[i] + c.mid[i] + c.high[i]);
}

}  // namespace

void speaker_boost_system_process_stereo(speaker_boost_system_t* boost, int* in_left, int* in_right,
                                         int* out_left, int* out_right, int n) {
  if (!has_memory(boost)) return pass(in_left, in_right, out_left, out_right, n);
  const channel left = left_of(boost), right = right_of(boost);
  for_each_block_or_empty(n, [&](auto start, int count) {
    int harmonics[kBlockFrames];
    split_blocks(left, in_left + start, right, in_right + start, count);
    for (int i = 0; i < count; ++i) harmonics[i] = wrap_add(left.sub[i], right.sub[i]) >> 1;
    make_harmonics(boost, harmonics, count);
    mix_bands(left, harmonics, count);
    mix_bands(right, harmonics, count);
    dynamic_range_control_process(left.drc_full, left.sum, out_left + start, count);
    dynamic_range_control_process(right.drc_full, right.sum, out_right + start, count);
  });
}

void speaker_boost_system_process_mono(speaker_boost_system_t* boost, int* in, int* out, int n) {
  if (!has_memory(boost)) return pass(in, out, n);
  const channel left = left_of(boost);
  for_each_block_or_empty(n, [&](auto start, int count) {
    split_block(left, in + start, count);
    make_harmonics(boost, left.sub, count);
    mix_bands(left, left.sub, count);
    dynamic_range_control_process(left.drc_full, left.sum, out + start, count);
  });
}
