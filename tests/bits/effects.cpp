#include "bits/rows.h"
#include "bits/subjects.h"
#include "effects/compressor.h"
#include "effects/compressor_bass.h"
#include "effects/crossfeed_network.h"
#include "effects/difference_circuit.h"
#include "effects/dynamic_range_control.h"
#include "effects/early_reflector.h"
#include "effects/equalizer.h"
#include "effects/parameter_equalizer.h"
#include "effects/reverb.h"
#include "effects/smart_volume_control.h"
#include "effects/speaker_boost_system.h"
#include "effects/stereo_widening_system.h"
#include "effects/virtual_bass_system.h"
#include "hp/channel_balance.h"
#include "hp/smooth_volume.h"

namespace {

SampleRateType any_rate(trial& t) { return static_cast<SampleRateType>(t.roll(4)); }

// Runs a stereo module block by block. Its process function takes record, four buffers, length.
template <auto process, typename Sample = int, typename Record, typename Change>
void run_stereo(trial& t, Record* record, Change change) {
  t.run<Sample, 2, 2>([&](Sample* a, Sample* b, Sample* c, Sample* d,
                          int n) { process(record, a, b, c, d, static_cast<unsigned>(n)); },
                      change);
}
template <auto process, typename Sample = int, typename Record, typename Change>
void run_mono(trial& t, Record* record, Change change) {
  t.run<Sample, 1, 1>([&](Sample* in, Sample* out, int n) { process(record, in, out, n); }, change);
}

// Modules that have a form for one frame and one for a block: both, in turn.
template <auto frame, auto block, typename Record>
void process_either(Record* record, int* a, int* b, int* c, int* d, unsigned n) {
  if (n % 2)
    for (unsigned i = 0; i < n; ++i) frame(record, a + i, b + i, c + i, d + i);
  else
    block(record, a, b, c, d, static_cast<int>(n));
}

void change_equalizer(trial& t, equalizer_t* e) {
  int rows[10][5], gains[10];
  t.decibels(gains);
  switch (t.roll(4)) {
    case 0:
      draw_rows(t, rows);
      equalizer_setparameter(e, rows);
      break;
    case 1:
      t.access<SETTING(equalizer_, _gain), SETTING(equalizer_, status)>(e);
      break;
    default:
      t.note(equalizer_set_param_index(e, gains, any_rate(t)));
  }
  equalizer_getparameter(e, rows);
  for (const auto& row : rows) t.note_all(row);
  equalizer_get_param_index(e, gains);
  t.note_all(gains);
  t.note(e->gain);
  if (t.once_in(8)) equalizer_reset(e);
}

template <bool mono>
void graphic_equalizer(trial& t) {
  held<equalizer_t, equalizer_init, equalizer_end> e;
  const auto change = [&] { change_equalizer(t, &e); };
  if constexpr (mono)
    run_mono<equalizer_process_mono>(t, &e, change);
  else
    run_stereo<equalizer_process_stereo>(t, &e, change);
}

// All rows of the tables, and the law of the input gain.
void equalizer_tables(trial& t) {
  held<equalizer_t, equalizer_init, equalizer_end> e;
  int rows[10][5], gains[10];
  for (int gain = -16; gain <= 16; ++gain)
    for (const auto set : {equalizer_set_param_index_44100, equalizer_set_param_index_48000,
                           equalizer_set_param_index_96000}) {
      std::fill_n(gains, 10, gain);
      t.note(set(&e, gains));
      equalizer_getparameter(&e, rows);
      for (const auto& row : rows) t.note_all(row);
    }
  for (int i = 0; i < 1000; ++i) {
    t.decibels(gains);
    for (int& gain : gains) gain = std::clamp(gain, -15, 15);
    t.note(calc_gain_from_idxs(gains));
  }
  for (int band = -1; band < 11; ++band)
    t.note(std::bit_cast<unsigned>(weighting_offset(band, static_cast<float>(t.value()))));
}

template <bool mono>
void parametric_equalizer(trial& t) {
  held<parameter_equalizer_t, parameter_equalizer_init, parameter_equalizer_end> e;
  const auto change = [&] {
    int rows[10][5], flagged[10][6];
    draw_rows(t, rows);
    for (int k = 0; k < 10; ++k) {
      flagged[k][0] = static_cast<int>(t.roll(4)) - 1;
      std::copy_n(rows[k], 5, flagged[k] + 1);
    }
    (t.once_in(2) ? parameter_equalizer_setparameter_left : parameter_equalizer_setparameter_right)(
        &e, flagged);
    t.access<SETTING(parameter_equalizer_, _gain_left), SETTING(parameter_equalizer_, _gain_right),
             SETTING(parameter_equalizer_, status)>(&e);
    parameter_equalizer_getparameter_left(&e, flagged);
    parameter_equalizer_getparameter_right(&e, flagged);
    t.note_all(flagged[t.roll(10)]);
    if (t.once_in(8)) parameter_equalizer_reset(&e);
  };
  change();
  if constexpr (mono)
    run_mono<parameter_equalizer_process_mono>(t, &e, change);
  else
    run_stereo<parameter_equalizer_process_stereo>(t, &e, change);
}

template <typename Sample, int channels>
void room(trial& t) {
  held<reverb_t, reverb_init, reverb_end> r;
  const auto change = [&] {
    t.access<SETTING(reverb_, roomsize), SETTING(reverb_, damp), SETTING(reverb_, wet),
             SETTING(reverb_, dry), SETTING(reverb_, width), SETTING(reverb_, gain),
             SETTING(reverb_, status)>(&r);
    if (!t.once_in(4)) reverb_update(&r);
    if (t.once_in(8)) reverb_reset(&r);
    t.note(r.wet_scaled, r.wet1, r.wet2, r.dry_scaled, r.room_scaled, r.damp_scaled);
  };
  change();
  if constexpr (channels == 1)
    run_mono<reverb_processMono, Sample>(t, &r, change);
  else if constexpr (sizeof(Sample) == 2)
    run_stereo<reverb_process_stereo_16, Sample>(t, &r, change);
  else
    run_stereo<reverb_process_stereo_24, Sample>(t, &r, change);
}

void reflector(trial& t) {
  held<early_reflector, early_reflector_init, early_reflector_end> r;
  run_stereo<
      process_either<early_reflector_process_32, early_reflector_process_block, early_reflector>>(
      t, &r, [&] {
        t.access<SETTING(early_reflector_, _wet_gain), SETTING(early_reflector_, _dry_gain),
                 SETTING(early_reflector_, _roomsize), SETTING(early_reflector_, _damp)>(&r);
        early_reflector_update(&r);
        if (t.once_in(4)) early_reflector_set_sample_rate(&r, any_rate(t));
        if (t.once_in(8)) early_reflector_reset(&r);
      });
}

void crossfeed(trial& t) {
  held<crossfeed_network, crossfeed_network_init, crossfeed_network_end> r;
  run_stereo<process_either<crossfeed_network_process_32, crossfeed_network_process_block,
                            crossfeed_network>>(t, &r, [&] {
    t.access<SETTING(crossfeed_network_, _gain)>(&r);
    if (t.once_in(2)) crossfeed_network_set_sample_rate(&r, any_rate(t));
    if (t.once_in(8)) crossfeed_network_reset(&r);
  });
}

void difference(trial& t) {
  held<difference_circuit, difference_circuit_init, difference_circuit_end> r;
  run_stereo<process_either<difference_circuit_process_32, difference_circuit_process_block,
                            difference_circuit>>(t, &r, [&] {
    t.access<SETTING(difference_circuit_, _side_gain)>(&r);
    if (t.once_in(2)) difference_circuit_set_sample_rate(&r, any_rate(t));
    if (t.once_in(8)) difference_circuit_reset(&r);
    for (const IIR* section : r.section) t.note_all(section->coef, 5);
  });
}

void widening(trial& t) {
  held<stereo_widening_system, stereo_widening_system_init, stereo_widening_system_end> s;
  run_stereo<stereo_widening_system_process>(t, &s, [&] {
    t.access<SETTING(stereo_widening_system_dc_, _side_gain),
             SETTING(stereo_widening_system_cfn_, _gain),
             SETTING(stereo_widening_system_er_, _dry_gain),
             SETTING(stereo_widening_system_er_, _wet_gain),
             SETTING(stereo_widening_system_er_, _roomsize),
             SETTING(stereo_widening_system_er_, _damp), SETTING(stereo_widening_system_, status)>(
        &s);
    if (t.once_in(3)) stereo_widening_system_set_sample_rate(&s, any_rate(t));
    if (t.once_in(8)) stereo_widening_system_reset(&s);
  });
}

void dynamic_range(trial& t) {
  constexpr int kFrames[] = {0, 60, 220, 240, 480};
  held<dynamic_range_control_t, dynamic_range_control_init, dynamic_range_control_end> drc(
      static_cast<int>(t.number % 4), kFrames[1 + t.roll(4)]);
  run_mono<dynamic_range_control_process>(t, &drc, [&] {
    t.access<SETTING(dynamic_range_control_, _threshold),
             SETTING(dynamic_range_control_, _denoise_threshold),
             SETTING(dynamic_range_control_, _volume),
             SETTING(dynamic_range_control_, _attact_order),
             SETTING(dynamic_range_control_, _release_order)>(&drc);
    if (t.once_in(4)) dynamic_range_control_reinit(&drc, kFrames[t.roll(5)]);
    if (t.once_in(8)) dynamic_range_control_reset(&drc);
    if (t.wild() && t.once_in(3)) drc.gain = t.any();
    t.note(drc.gain, drc.peak_env, drc.denoise_gain, drc.mean_env, drc.history_len, drc.frame_len);
    t.note_all(drc.history, static_cast<size_t>(drc.history_len) + 1);
    t.note_all(drc.recent_targets);
    std::vector<int> x = t.signal<int>(100, t.number);
    int mean = 0;
    t.note(find_current_max_drc(x.data(), &mean, static_cast<int>(t.roll(102)) - 1));
    t.note(mean);
  });
}

void limiter(trial& t) {
  t.crossing = false;
  held<compressor_t, compressor_init, compressor_end> c(t.value(), static_cast<int>(t.number % 4));
  run_stereo<compressor_process>(t, &c, [&] {
    t.access<SETTING(compressor_, _volume), compressor_set_volume, SETTING(compressor_, status)>(
        &c);
    if (t.once_in(2)) compressor_set_sample_rate(&c, any_rate(t));
    if (t.once_in(8)) compressor_reset(&c);
  });
}

void bass_compressor(trial& t) {
  held<compressor_bass, compressor_bass_init, compressor_bass_end> c;
  run_mono<compressor_bass_process>(t, &c, [&] {
    t.access<compressor_bass_setstatus, compresso_bassr_getstatus>(&c);
    if (t.once_in(8)) compressor_bass_reset(&c);
    if (t.once_in(4)) c.default_gain = t.wild() ? t.any() : t.value() * 8;
    if (t.once_in(4)) c.gain = t.wild() ? t.any() : t.value() * 8;
    t.note(c.default_gain, c.gain, c.level, c.reserved);
    std::vector<int> x = t.signal<int>(100, t.number);
    t.note(find_current_max_bass(x.data(), static_cast<int>(t.roll(102)) - 1));
  });
}

void smart_volume(trial& t) {
  held<smart_volume_control_t, smart_volume_control_init, smart_volume_control_end> c;
  run_stereo<smart_volume_control_process>(t, &c, [&] {
    t.access<SETTING(smart_volume_control_, _attact_order),
             SETTING(smart_volume_control_, _release_order), SETTING(smart_volume_control_, status),
             smart_volume_control_get_level>(&c);
    if (t.once_in(2)) smart_volume_control_set_level(&c, static_cast<int>(t.value() * 8LL));
    if (t.once_in(3)) c.band_shift[t.roll(4)] = static_cast<int>(t.roll(9)) - 4;
    if (t.once_in(4)) smart_volume_control_set_sample_rate(&c, any_rate(t));
    if (t.once_in(8)) smart_volume_control_reset(&c);
    t.note(c.peak_env, c.energy_floor, c.energy_target, c.energy_est);
    t.note_all(c.band_shift);
  });
}

template <bool mono>
void boost(trial& t) {
  held<speaker_boost_system_t, speaker_boost_system_init, speaker_boost_system_end> b;
  const auto change = [&] {
#define SETTER(controller, parameter) , speaker_boost_system_drc_##controller##_set_##parameter
#define GETTER(controller, parameter) , speaker_boost_system_drc_##controller##_get_##parameter
    for (int i = 0; i < 3; ++i)
      t.access<SETTING(speaker_boost_system_, _nld_gain_left),
               SETTING(speaker_boost_system_, _nld_gain_right),
               SETTING(speaker_boost_system_, _channel_num),
               speaker_boost_system_setstatus SPEAKER_BOOST_FOR_EACH_ACCESSOR(SETTER),
               speaker_boost_system_getstatus SPEAKER_BOOST_FOR_EACH_ACCESSOR(GETTER)>(&b);
    int row[5];
    draw_row(t, row);
    if (t.once_in(3)) speaker_boost_system_set_nld_param(&b, row);
    speaker_boost_system_get_nld_param(&b, row);
    t.note_all(row);
    if (t.once_in(3)) speaker_boost_system_set_sample_rate(&b, any_rate(t));
    if (t.once_in(8)) speaker_boost_system_reset(&b);
    for (const int* band : {b.sub_left, b.low_left, b.mid_left, b.high_left, b.sum_left,
                            b.sub_right, b.low_right, b.mid_right, b.high_right, b.sum_right})
      t.note_all(band, 256);
  };
  if constexpr (mono)
    run_mono<speaker_boost_system_process_mono>(t, &b, change);
  else
    run_stereo<speaker_boost_system_process_stereo>(t, &b, change);
}

void virtual_bass(trial& t) {
  held<virtual_bass_system, virtual_bass_system_init, virtual_bass_system_end> b;
  run_stereo<virtual_bass_system_process>(t, &b, [&] {
    t.access<SETTING(virtual_bass_system_, _nld_gain), SETTING(virtual_bass_system_, _origin_gain),
             SETTING(virtual_bass_system_, _high_band_gain),
             SETTING(virtual_bass_system_, _nld_clip_level), SETTING(virtual_bass_system_, status)>(
        &b);
    int row[5];
    draw_row(t, row);
    if (t.once_in(3)) virtual_bass_system_set_nld_band_param(&b, row);
    virtual_bass_system_get_nld_band_param(&b, row);
    t.note_all(row);
    if (t.once_in(3)) virtual_bass_system_set_sample_rate(&b, any_rate(t));
    if (t.once_in(8)) virtual_bass_system_reset(&b);
    if (t.once_in(8)) b.nld->coefficients[t.roll(8)] = t.value();
    if (t.once_in(8)) NLD_set_clip_flag(b.nld, static_cast<int>(t.roll(2)));
    t.note_all(b.bass_buffer, 256);
  });
}

template <bool mono>
void balance(trial& t) {
  held<channel_balance_t, channel_balance_init, channel_balance_end> b;
  const auto change = [&] {
    t.access<SETTING(channel_balance_, _channel_ration), SETTING(channel_balance_, _channel_num),
             SETTING(channel_balance_, status)>(&b);
    channel_balance_reset(&b);
  };
  if constexpr (mono)
    t.run<int, 2, 1>(
        [&](int* a, int* b2, int* out, int n) { channel_balance_process_mono(&b, a, b2, out, n); },
        change);
  else
    run_stereo<channel_balance_process_stereo>(t, &b, change);
}

void smooth(trial& t) {
  held<smooth_volume_t, smooth_volume_init, smooth_volume_end> v;
  run_stereo<smooth_volume_process>(t, &v, [&] {
    t.access<SETTING(smooth_volume_, _volume), smooth_volume_set_soft_volume,
             smooth_volume_get_smooth_buffer_num>(&v);
    if (t.once_in(3))
      smooth_volume_set_smooth_buffer_num(&v, t.wild() ? t.any() : static_cast<int>(t.roll(6)));
    if (t.once_in(8)) smooth_volume_reset(&v);
    t.note(v.soft_volume, v.shift);
  });
}

}  // namespace

const std::vector<subject> kEffects = {
    {"equalizer-stereo", "gains in dB, rows, input gain", 35, 4000, graphic_equalizer<false>},
    {"equalizer-mono", "the left sections", 35, 4000, graphic_equalizer<true>},
    {"equalizer-tables", "every row at every rate, the law of the input gain", 2, 0,
     equalizer_tables},
    {"parametric-stereo", "rows, gains, numbers of bands", 35, 4000, parametric_equalizer<false>},
    {"parametric-mono", "the left channel", 35, 4000, parametric_equalizer<true>},
    {"reverb-16", "16-bit stereo, all settings", 35, 12000, room<short, 2>},
    {"reverb-24", "24-bit stereo, all settings", 35, 12000, room<int, 2>},
    {"reverb-mono", "16-bit mono", 35, 12000, room<short, 1>},
    {"early-reflector", "frames and blocks, rates", 35, 9000, reflector},
    {"crossfeed", "frames and blocks, rates", 35, 4000, crossfeed},
    {"difference", "frames and blocks, rates, coefficients", 35, 4000, difference},
    {"widening", "three stages, all settings, rates", 35, 9000, widening},
    {"drc", "look-ahead, orders, gate, measurement", 70, 9000, dynamic_range},
    {"compressor", "volume, look-ahead, rates", 70, 9000, limiter},
    {"bass-compressor", "peaks, level, gain", 70, 4000, bass_compressor},
    {"smart-volume", "energies, orders, level, rates", 70, 9000, smart_volume},
    {"boost-stereo", "eighty controller settings, harmonics, rates, band buffers", 35, 6000,
     boost<false>},
    {"boost-mono", "the left side", 35, 6000, boost<true>},
    {"virtual-bass", "gains, clip level, harmonics' band, rates", 70, 6000, virtual_bass},
    {"balance-stereo", "ratios", 35, 2000, balance<false>},
    {"balance-mono", "the fold to one channel", 35, 2000, balance<true>},
    {"smooth-volume", "ramps of all speeds", 70, 4000, smooth},
};
