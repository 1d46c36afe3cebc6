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
      t.set<equalizer_set_gain, equalizer_setstatus>(e);
      break;
    default:
      t.note(equalizer_set_param_index(e, gains, any_rate(t)));
  }
  equalizer_getparameter(e, rows);
  for (const auto& row : rows) t.note_all(row);
  equalizer_get_param_index(e, gains);
  t.note_all(gains);
  t.get<equalizer_get_gain, equalizer_getstatus>(e);
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
    t.set<parameter_equalizer_set_gain_left, parameter_equalizer_set_gain_right,
          parameter_equalizer_setstatus>(&e);
    t.get<parameter_equalizer_get_gain_left, parameter_equalizer_get_gain_right,
          parameter_equalizer_getstatus>(&e);
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
    t.set<reverb_setroomsize, reverb_setdamp, reverb_setwet, reverb_setdry, reverb_setwidth,
          reverb_setgain, reverb_setstatus>(&r);
    t.get<reverb_getroomsize, reverb_getdamp, reverb_getwet, reverb_getdry, reverb_getwidth,
          reverb_getgain, reverb_getstatus>(&r);
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
        t.set<early_reflector_set_wet_gain, early_reflector_set_dry_gain,
              early_reflector_set_roomsize, early_reflector_set_damp>(&r);
        t.get<early_reflector_get_wet_gain, early_reflector_get_dry_gain,
              early_reflector_get_roomsize, early_reflector_get_damp>(&r);
        early_reflector_update(&r);
        if (t.once_in(4)) early_reflector_set_sample_rate(&r, any_rate(t));
        if (t.once_in(8)) early_reflector_reset(&r);
      });
}

void crossfeed(trial& t) {
  held<crossfeed_network, crossfeed_network_init, crossfeed_network_end> r;
  run_stereo<process_either<crossfeed_network_process_32, crossfeed_network_process_block,
                            crossfeed_network>>(t, &r, [&] {
    t.set<crossfeed_network_set_gain>(&r);
    t.get<crossfeed_network_get_gain>(&r);
    if (t.once_in(2)) crossfeed_network_set_sample_rate(&r, any_rate(t));
    if (t.once_in(8)) crossfeed_network_reset(&r);
  });
}

void difference(trial& t) {
  held<difference_circuit, difference_circuit_init, difference_circuit_end> r;
  run_stereo<process_either<difference_circuit_process_32, difference_circuit_process_block,
                            difference_circuit>>(t, &r, [&] {
    t.set<difference_circuit_set_side_gain>(&r);
    t.get<difference_circuit_get_side_gain>(&r);
    if (t.once_in(2)) difference_circuit_set_sample_rate(&r, any_rate(t));
    if (t.once_in(8)) difference_circuit_reset(&r);
    for (const IIR* section : r.section) t.note_all(section->coef, 5);
  });
}

void widening(trial& t) {
  held<stereo_widening_system, stereo_widening_system_init, stereo_widening_system_end> s;
  run_stereo<stereo_widening_system_process>(t, &s, [&] {
    t.set<stereo_widening_system_dc_set_side_gain, stereo_widening_system_cfn_set_gain,
          stereo_widening_system_er_set_dry_gain, stereo_widening_system_er_set_wet_gain,
          stereo_widening_system_er_set_roomsize, stereo_widening_system_er_set_damp,
          stereo_widening_system_setstatus>(&s);
    t.get<stereo_widening_system_dc_get_side_gain, stereo_widening_system_cfn_get_gain,
          stereo_widening_system_er_get_dry_gain, stereo_widening_system_er_get_wet_gain,
          stereo_widening_system_er_get_roomsize, stereo_widening_system_er_get_damp,
          stereo_widening_system_getstatus>(&s);
    if (t.once_in(3)) stereo_widening_system_set_sample_rate(&s, any_rate(t));
    if (t.once_in(8)) stereo_widening_system_reset(&s);
  });
}

void dynamic_range(trial& t) {
  constexpr int kFrames[] = {0, 60, 220, 240, 480};
  held<dynamic_range_control_t, dynamic_range_control_init, dynamic_range_control_end> drc(
      static_cast<int>(t.number % 4), kFrames[1 + t.roll(4)]);
  run_mono<dynamic_range_control_process>(t, &drc, [&] {
    t.set<dynamic_range_control_set_threshold, dynamic_range_control_set_denoise_threshold,
          dynamic_range_control_set_volume, dynamic_range_control_set_attact_order,
          dynamic_range_control_set_release_order>(&drc);
    t.get<dynamic_range_control_get_threshold, dynamic_range_control_get_denoise_threshold,
          dynamic_range_control_get_volume, dynamic_range_control_get_attact_order,
          dynamic_range_control_get_release_order>(&drc);
    if (t.once_in(4)) dynamic_range_control_reinit(&drc, kFrames[t.roll(5)]);
    if (t.once_in(8)) dynamic_range_control_reset(&drc);
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
    t.set<compressor_set_volume, compressor_set_volume, compressor_setstatus>(&c);
    t.get<compressor_get_volume, compressor_getstatus>(&c);
    if (t.once_in(2)) compressor_set_sample_rate(&c, any_rate(t));
    if (t.once_in(8)) compressor_reset(&c);
  });
}

void bass_compressor(trial& t) {
  held<compressor_bass, compressor_bass_init, compressor_bass_end> c;
  run_mono<compressor_bass_process>(t, &c, [&] {
    t.set<compressor_bass_setstatus>(&c);
    t.get<compresso_bassr_getstatus>(&c);
    if (t.once_in(8)) compressor_bass_reset(&c);
    t.note(c.default_gain, c.gain, c.level, c.reserved);
    std::vector<int> x = t.signal<int>(100, t.number);
    t.note(find_current_max_bass(x.data(), static_cast<int>(t.roll(102)) - 1));
  });
}

void smart_volume(trial& t) {
  held<smart_volume_control_t, smart_volume_control_init, smart_volume_control_end> c;
  run_stereo<smart_volume_control_process>(t, &c, [&] {
    t.set<smart_volume_control_set_attact_order, smart_volume_control_set_release_order,
          smart_volume_control_setstatus>(&c);
    if (t.once_in(2)) smart_volume_control_set_level(&c, static_cast<int>(t.value() * 8LL));
    t.get<smart_volume_control_get_level, smart_volume_control_get_attact_order,
          smart_volume_control_get_release_order, smart_volume_control_getstatus>(&c);
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
      t.set<speaker_boost_system_set_nld_gain_left, speaker_boost_system_set_nld_gain_right,
            speaker_boost_system_set_channel_num,
            speaker_boost_system_setstatus SPEAKER_BOOST_FOR_EACH_ACCESSOR(SETTER)>(&b);
    t.get<speaker_boost_system_get_nld_gain_left, speaker_boost_system_get_nld_gain_right,
          speaker_boost_system_get_channel_num,
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
    t.set<virtual_bass_system_set_nld_gain, virtual_bass_system_set_origin_gain,
          virtual_bass_system_set_high_band_gain, virtual_bass_system_set_nld_clip_level,
          virtual_bass_system_setstatus>(&b);
    t.get<virtual_bass_system_get_nld_gain, virtual_bass_system_get_origin_gain,
          virtual_bass_system_get_high_band_gain, virtual_bass_system_get_nld_clip_level,
          virtual_bass_system_getstatus>(&b);
    int row[5];
    draw_row(t, row);
    if (t.once_in(3)) virtual_bass_system_set_nld_band_param(&b, row);
    virtual_bass_system_get_nld_band_param(&b, row);
    t.note_all(row);
    if (t.once_in(3)) virtual_bass_system_set_sample_rate(&b, any_rate(t));
    if (t.once_in(8)) virtual_bass_system_reset(&b);
    t.note_all(b.bass_buffer, 256);
  });
}

template <bool mono>
void balance(trial& t) {
  held<channel_balance_t, channel_balance_init, channel_balance_end> b;
  const auto change = [&] {
    t.set<channel_balance_set_channel_ration, channel_balance_set_channel_num,
          channel_balance_setstatus>(&b);
    t.get<channel_balance_get_channel_ration, channel_balance_get_channel_num,
          channel_balance_getstatus>(&b);
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
    t.set<smooth_volume_set_volume, smooth_volume_set_volume, smooth_volume_set_soft_volume>(&v);
    if (t.once_in(3))
      smooth_volume_set_smooth_buffer_num(&v, t.wild() ? t.any() : static_cast<int>(t.roll(6)));
    t.get<smooth_volume_get_volume, smooth_volume_get_smooth_buffer_num>(&v);
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
