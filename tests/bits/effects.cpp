#include "bits/module.h"
#include "effects/compressor.h"
#include "effects/compressor_bass.h"
#include "effects/crossfeed_network.h"
#include "effects/difference_circuit.h"
#include "effects/dynamic_range_control.h"
#include "effects/early_reflector.h"
#include "effects/parameter_equalizer.h"
#include "effects/reverb.h"
#include "effects/smart_volume_control.h"
#include "effects/speaker_boost_system.h"
#include "effects/stereo_widening_system.h"
#include "effects/virtual_bass_system.h"
#include "hp/channel_balance.h"
#include "hp/smooth_volume.h"

namespace {

template <auto process>
constexpr auto graphic =
    module<equalizer_t, LIFE(equalizer), process, equalizer_setparameter, equalizer_getparameter,
           equalizer_set_param_index, equalizer_set_param_index, equalizer_get_param_index,
           SETTING(equalizer_, _gain), STATUS(equalizer_), equalizer_reset>;

// All rows of the tables, and the law of the input gain.
void equalizer_tables(trial& t) {
  held<equalizer_t, LIFE(equalizer)> e;
  int gains[10];
  for (int gain = -16; gain <= 16; ++gain)
    for (const auto set : {equalizer_set_param_index_44100, equalizer_set_param_index_48000,
                           equalizer_set_param_index_96000}) {
      std::fill_n(gains, 10, t.unbounded() ? t.any() : gain);
      t.note(watched(set, &e, gains));
      call(t, equalizer_getparameter, &e);
    }
  for (int i = 0; i < 1000; ++i) {
    t.decibels(gains);
    for (int& gain : gains)
      if (!t.unbounded()) gain = std::clamp(gain, -15, 15);
    t.note(watched(calc_gain_from_idxs, gains));
  }
  for (int band = -1; band < 11; ++band)
    t.note(std::bit_cast<unsigned>(weighting_offset(band, static_cast<float>(t.value()))));
}

template <auto process>
constexpr auto parametric =
    module<parameter_equalizer_t, LIFE(parameter_equalizer), process,
           SETTING(parameter_equalizer_, parameter_left),
           SETTING(parameter_equalizer_, parameter_right),
           SETTING(parameter_equalizer_, _gain_left), SETTING(parameter_equalizer_, _gain_right),
           STATUS(parameter_equalizer_), parameter_equalizer_reset>;

template <auto process>
constexpr auto room =
    module<reverb_t, LIFE(reverb), process, SETTING(reverb_, roomsize), SETTING(reverb_, damp),
           SETTING(reverb_, wet), SETTING(reverb_, dry), SETTING(reverb_, width),
           SETTING(reverb_, gain), STATUS(reverb_), reverb_update, reverb_update, reverb_update,
           reverb_update, reverb_update, reverb_reset, &reverb_t::wet_scaled, &reverb_t::wet1,
           &reverb_t::wet2, &reverb_t::dry_scaled, &reverb_t::room_scaled, &reverb_t::damp_scaled>;

constexpr int kFrames[] = {0, 60, 220, 240, 480};
constexpr auto begin_control = [](trial& t, dynamic_range_control_t* drc) {
  dynamic_range_control_init(drc, static_cast<int>(t.number % 4), kFrames[1 + t.roll(4)]);
};
constexpr auto measure = [](trial& t, dynamic_range_control_t* drc) {
  t.note(drc->mean_env, drc->history_len, drc->frame_len);
  t.note_all(drc->history, static_cast<size_t>(drc->history_len) + 1);
  std::vector<int> x = t.signal<int>(100, t.number);
  int mean = 0;
  t.note(watched(find_current_max_drc, x.data(), &mean, static_cast<int>(t.roll(102)) - 1));
  t.note(mean);
};
constexpr auto disturb = [](trial& t, dynamic_range_control_t* drc) {
  if (t.once_in(2)) dynamic_range_control_reinit(drc, kFrames[t.roll(5)]);
  if (!t.wild() || t.once_in(2)) return;
  drc->gain = t.any();
  dynamic_range_control_set_volume(drc, t.any());
};

constexpr auto begin_limiter = [](trial& t, compressor_t* c) {
  t.crossing = false;
  compressor_init(c, t.value(), static_cast<int>(t.number % 4));
};

template <auto gain>
constexpr auto set_gain_q17 =
    [](trial& t, compressor_bass* c) { c->*gain = t.wild() ? t.any() : t.value() * 8; };
constexpr auto measure_bass = [](trial& t, compressor_bass*) {
  std::vector<int> x = t.signal<int>(100, t.number);
  t.note(watched(find_current_max_bass, x.data(), static_cast<int>(t.roll(102)) - 1));
};

constexpr auto set_level = [](trial& t, smart_volume_control_t* c) {
  smart_volume_control_set_level(c, static_cast<int>(t.value() * 8LL));
};
constexpr auto shift_band = [](trial& t, smart_volume_control_t* c) {
  c->band_shift[t.roll(4)] = static_cast<int>(t.roll(9)) - 4;
};

constexpr auto set_harmonics = [](trial& t, speaker_boost_system_t* b) {
  int row[5];
  draw_row(t, row);
  speaker_boost_system_set_nld_param(b, row);
};
constexpr auto bands = [](trial& t, speaker_boost_system_t* b) {
  for (const int* band : {b->sub_left, b->low_left, b->mid_left, b->high_left, b->sum_left,
                          b->sub_right, b->low_right, b->mid_right, b->high_right, b->sum_right})
    t.note_all(band, 256);
};
#define SETTER(controller, parameter) , speaker_boost_system_drc_##controller##_set_##parameter
#define GETTER(controller, parameter) , speaker_boost_system_drc_##controller##_get_##parameter
template <auto process>
constexpr auto boost = module<
    speaker_boost_system_t, LIFE(speaker_boost_system), process,
    SETTING(speaker_boost_system_, _nld_gain_left), SETTING(speaker_boost_system_, _nld_gain_right),
    SETTING(speaker_boost_system_, _channel_num), STATUS(speaker_boost_system_), set_harmonics,
    set_harmonics, speaker_boost_system_get_nld_param, speaker_boost_system_set_sample_rate,
    speaker_boost_system_set_sample_rate, speaker_boost_system_reset, bands,
    bands SPEAKER_BOOST_FOR_EACH_ACCESSOR(SETTER) SPEAKER_BOOST_FOR_EACH_ACCESSOR(GETTER)>;

constexpr auto bend = [](trial& t, virtual_bass_system* b) {
  t.once_in(2) ? NLD_set_clip_flag(b->nld, static_cast<int>(t.roll(2)))
               : void(b->nld->coefficients[t.roll(8)] = t.value());
};

template <auto process>
constexpr auto balance =
    module<channel_balance_t, LIFE(channel_balance), process,
           SETTING(channel_balance_, _channel_ration), SETTING(channel_balance_, _channel_num),
           STATUS(channel_balance_), channel_balance_reset>;

}  // namespace

const std::vector<subject> kEffects = {
    {"equalizer-stereo", "gains in dB, rows, input gain", 35, 4000,
     graphic<equalizer_process_stereo>},
    {"equalizer-mono", "the left sections", 35, 4000, graphic<equalizer_process_mono>},
    {"equalizer-tables", "every row at every rate, the law of the input gain", 2, 0,
     equalizer_tables},
    {"parametric-stereo", "rows, gains, numbers of bands", 35, 4000,
     parametric<parameter_equalizer_process_stereo>},
    {"parametric-mono", "the left channel", 35, 4000, parametric<parameter_equalizer_process_mono>},
    {"reverb-16", "16-bit stereo, all settings", 35, 12000, room<reverb_process_stereo_16>},
    {"reverb-24", "24-bit stereo, all settings", 35, 12000, room<reverb_process_stereo_24>},
    {"reverb-mono", "16-bit mono", 35, 12000, room<reverb_processMono>},
    {"early-reflector", "frames and blocks, rates", 35, 9000,
     module<early_reflector, LIFE(early_reflector),
            either<early_reflector_process_32, early_reflector_process_block>,
            SETTING(early_reflector_, _wet_gain), SETTING(early_reflector_, _dry_gain),
            SETTING(early_reflector_, _roomsize), SETTING(early_reflector_, _damp),
            early_reflector_update, early_reflector_update, early_reflector_update,
            early_reflector_set_sample_rate, early_reflector_reset>},
    {"crossfeed", "frames and blocks, rates", 35, 4000,
     module<crossfeed_network, LIFE(crossfeed_network),
            either<crossfeed_network_process_32, crossfeed_network_process_block>,
            SETTING(crossfeed_network_, _gain), crossfeed_network_set_sample_rate,
            crossfeed_network_reset>},
    {"difference", "frames and blocks, rates", 35, 4000,
     module<difference_circuit, LIFE(difference_circuit),
            either<difference_circuit_process_32, difference_circuit_process_block>,
            SETTING(difference_circuit_, _side_gain), difference_circuit_set_sample_rate,
            difference_circuit_reset>},
    {"widening", "three stages, all settings, rates", 35, 9000,
     module<stereo_widening_system, LIFE(stereo_widening_system), stereo_widening_system_process,
            SETTING(stereo_widening_system_dc_, _side_gain),
            SETTING(stereo_widening_system_cfn_, _gain),
            SETTING(stereo_widening_system_er_, _dry_gain),
            SETTING(stereo_widening_system_er_, _wet_gain),
            SETTING(stereo_widening_system_er_, _roomsize),
            SETTING(stereo_widening_system_er_, _damp), STATUS(stereo_widening_system_),
            stereo_widening_system_set_sample_rate, stereo_widening_system_reset>},
    {"drc", "look-ahead, orders, gate, measurement", 70, 9000,
     module<dynamic_range_control_t, begin_control, dynamic_range_control_end,
            dynamic_range_control_process, SETTING(dynamic_range_control_, _threshold),
            SETTING(dynamic_range_control_, _denoise_threshold),
            SETTING(dynamic_range_control_, _volume),
            SETTING(dynamic_range_control_, _attact_order),
            SETTING(dynamic_range_control_, _release_order), dynamic_range_control_reset, measure,
            disturb, &dynamic_range_control_t::gain, &dynamic_range_control_t::peak_env,
            &dynamic_range_control_t::denoise_gain, &dynamic_range_control_t::recent_targets>},
    {"compressor", "volume, look-ahead, rates", 70, 9000,
     module<compressor_t, begin_limiter, compressor_end, compressor_process,
            SETTING(compressor_, _volume), STATUS(compressor_), compressor_set_sample_rate,
            compressor_set_sample_rate, compressor_reset>},
    {"bass-compressor", "peaks, level, gain", 70, 4000,
     module<compressor_bass, LIFE(compressor_bass), compressor_bass_process,
            switched<compressor_bass_setstatus>, compresso_bassr_getstatus, compressor_bass_reset,
            measure_bass, set_gain_q17<&compressor_bass::default_gain>,
            set_gain_q17<&compressor_bass::gain>, &compressor_bass::gain, &compressor_bass::level,
            &compressor_bass::reserved>},
    {"smart-volume", "energies, orders, level, rates", 70, 9000,
     module<smart_volume_control_t, LIFE(smart_volume_control), smart_volume_control_process,
            SETTING(smart_volume_control_, _attact_order),
            SETTING(smart_volume_control_, _release_order), STATUS(smart_volume_control_),
            smart_volume_control_get_level, set_level, shift_band,
            smart_volume_control_set_sample_rate, smart_volume_control_reset,
            &smart_volume_control_t::peak_env, &smart_volume_control_t::energy_floor,
            &smart_volume_control_t::energy_target, &smart_volume_control_t::energy_est,
            &smart_volume_control_t::band_shift>},
    {"boost-stereo", "eighty controller settings, harmonics, rates, band buffers", 35, 6000,
     boost<speaker_boost_system_process_stereo>},
    {"boost-mono", "the left side", 35, 6000, boost<speaker_boost_system_process_mono>},
    {"virtual-bass", "gains, clip level, harmonics' band, rates", 70, 6000,
     module<virtual_bass_system, LIFE(virtual_bass_system), virtual_bass_system_process,
            SETTING(virtual_bass_system_, _nld_gain), SETTING(virtual_bass_system_, _origin_gain),
            SETTING(virtual_bass_system_, _high_band_gain),
            SETTING(virtual_bass_system_, _nld_clip_level),
            SETTING(virtual_bass_system_, _nld_band_param), STATUS(virtual_bass_system_),
            virtual_bass_system_set_sample_rate, virtual_bass_system_reset, bend,
            [](trial& t, virtual_bass_system* b) { t.note_all(b->bass_buffer, 256); }>},
    {"balance-stereo", "ratios", 35, 2000, balance<channel_balance_process_stereo>},
    {"balance-mono", "the fold to one channel", 35, 2000, balance<channel_balance_process_mono>},
    {"smooth-volume", "ramps of all speeds", 70, 4000,
     module<smooth_volume_t, LIFE(smooth_volume), smooth_volume_process,
            SETTING(smooth_volume_, _volume), smooth_volume_set_soft_volume,
            SETTING(smooth_volume_, _smooth_buffer_num), smooth_volume_reset,
            &smooth_volume_t::soft_volume, &smooth_volume_t::shift>},
};
