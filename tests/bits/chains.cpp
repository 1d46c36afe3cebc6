#include <array>
#include <bit>

#include "bits/rows.h"
#include "bits/subjects.h"
#include "hp/sonx_hp_effect.h"
#include "hp/teka_hp_effect.h"
#include "ktv/howling_cancel.h"
#include "ktv/iirecho.h"
#include "ktv/sonx_ktv.h"
#include "ktv/teka_audio_tx_ktv.h"

namespace {

constexpr unsigned kRates[] = {44100, 48000, 96000, 192000, 32000};

audio_effect_control_acdb_t any_record(trial& t) {
  audio_effect_control_acdb_t record = {
      static_cast<int>(t.roll(7)), static_cast<int>(t.roll(9)), {}};
  int gains[10];
  t.decibels(gains);
  for (int i = 0; i < 29; ++i) record.data[i] = t.value();
  if (record.effect_type == SONX_EFFECT_GRAPHIC_EQUALIZER) std::copy_n(gains, 10, record.data);
  return record;
}

// A module's record of words, by its setter and its getter; draw() gives some
// words of their own.
template <auto setter, auto getter, typename Record>
void set_record(trial& t, teka_hp_effect_t* chain, void (*draw)(trial&, Record&)) {
  std::array<int, sizeof(Record) / sizeof(int)> words;
  for (int& word : words) word = t.value();
  words[0] = static_cast<int>(t.roll(2));  // the status
  Record record = std::bit_cast<Record>(words);
  draw(t, record);
  setter(chain, &record);
  getter(chain, &record);
  t.note_all(reinterpret_cast<const int*>(&record), words.size());
}

void set_module(trial& t, teka_hp_effect_t* c) {
#define RECORD(module, kind)                               \
  set_record<teka_hp_effect_##module##_setparameter##kind, \
             teka_hp_effect_##module##_getparameter##kind>
  switch (t.roll(8)) {
    case 0:
      return RECORD(eq, _data)(
          t, c, +[](trial& u, eq_param_acdb_t& r) { draw_rows(u, r.band); });
    case 1:
      return RECORD(eq, _index)(
          t, c, +[](trial& u, equalizer_params& r) { u.decibels(r.index); });
    case 2:
      return RECORD(p_eq, )(
          t, c, +[](trial& u, param_eq_param_acdb_t& r) {
            int rows[10][5];
            draw_rows(u, rows);
            for (int k = 0; k < 10; ++k) {
              r.left[k][0] = static_cast<int>(u.roll(2));
              r.right[k][0] = static_cast<int>(u.roll(2));
              std::copy_n(rows[k], 5, r.left[k] + 1);
            }
          });
    case 3:
      return RECORD(reverb, )(
          t, c, +[](trial&, reverb_param_acdb_t&) {});
    case 4:
      return RECORD(vbs, )(
          t, c, +[](trial& u, virtual_bass_param_acdb_t& r) { draw_row(u, r.nld_band); });
    case 5:
      return RECORD(sws, )(
          t, c, +[](trial&, stereo_param_acdb_t&) {});
    case 6:
      return RECORD(svc, )(
          t, c, +[](trial&, smart_volume_control_param_acdb_t&) {});
    default:
      return RECORD(cb, )(
          t, c, +[](trial& u, channel_balance_param_acdb_t& r) {
            r.channel_num = static_cast<int>(u.roll(4));
          });
  }
}

// The planar chain: whoever drives it counts the switch-over down.
template <typename Sample>
void headphone_chain(trial& t) {
  held<teka_hp_effect_t, teka_hp_effect_init, teka_hp_effect_end> c;
  teka_hp_effect_setstatus(&c, 1);
  const unsigned form = t.roll(3);
  const auto process = [&](Sample* a, Sample* b, Sample* out_a, Sample* out_b, int n) {
    if constexpr (sizeof(Sample) == 4) {
      if (form == 2 && out_a != out_b) {
        const std::vector<int> left(a, a + n), right(b, b + n);
        std::copy(left.begin(), left.end(), out_a);
        std::copy(right.begin(), right.end(), out_b);
        teka_hp_effect_core_process(&c, out_a, out_b, n);
        if (c.switch_counter >= 0) --c.switch_counter;
        return;
      }
    }
    if (form == 0) {
      teka_hp_effect_process_v2(&c, 8 * sizeof(Sample), a, b, out_a, out_b, n);
    } else if constexpr (sizeof(Sample) == 2) {
      teka_hp_effect_process_16(&c, a, b, out_a, out_b, n);
    } else {
      teka_hp_effect_process_24(&c, a, b, out_a, out_b, n);
    }
    if (c.switch_counter >= 0) --c.switch_counter;
  };
  t.run<Sample, 2, 2>(process, [&] {
    audio_effect_control_acdb_t record = any_record(t);
    switch (t.roll(8)) {
      case 0:
        teka_hp_effect_set_sample_rate(&c, kRates[t.roll(5)]);
        break;
      case 1:
        t.access<teka_hp_effect_sv_set_volume, teka_hp_effect_setstatus>(&c);
        if (t.once_in(2)) teka_hp_effect_sv_set_smooth_buffer_num(&c, static_cast<int>(t.roll(6)));
        break;
      case 2:
        teka_hp_effect_debug_enable_setstatus(&c, t.once_in(4));
        teka_hp_effect_setstatus(&c, !t.once_in(4));
        break;
      case 3:
        (t.once_in(3) ? teka_hp_effect_update_smooth_status : teka_hp_effect_reset)(&c);
        break;
      case 4:
      case 5:
        set_module(t, &c);
        break;
      default:
        teka_hp_effect_setparameter(&c, &record);
        if (t.once_in(4)) teka_hp_effect_update_parameter(&c);
    }
    teka_hp_effect_getparameter(&c, &record);
    t.note(record.effect_type, record.hpadapter_type);
    t.note_all(record.data);
    t.note(c.active_status, c.switch_counter, c.volume, c.sample_rate_type);
    t.access<teka_hp_effect_getstatus, teka_hp_effect_debug_enable_getstatus,
             teka_hp_effect_sv_get_volume, teka_hp_effect_sv_get_smooth_buffer_num>(&c);
  });
}

// Every effect with every adapter at every rate, as the fixed tuning has them.
void tuning(trial& t) {
  for (const unsigned rate : kRates)
    for (int effect = 0; effect <= 6; ++effect)
      for (int adapter = 0; adapter <= 8; ++adapter) {
        held<teka_hp_effect_t, teka_hp_effect_init, teka_hp_effect_end> c;
        audio_effect_control_acdb_t record = {effect, adapter, {3000, 3000, 3000, 3000, 8192, 200}};
        teka_hp_effect_set_sample_rate(&c, rate);
        teka_hp_effect_setparameter(&c, &record);
        teka_hp_effect_update_parameter(&c);
        std::vector<int> left = t.signal<int>(256, 1), right = t.signal<int>(256, 1);
        for (int i = 0; i < 4; ++i) {
          teka_hp_effect_core_process(&c, left.data(), right.data(), 256);
          t.note_all(left.data(), 256);
          t.note_all(right.data(), 256);
        }
        t.note_all(&c.p_eq->coef_left[0][0], 50);
        t.note_all(&c.p_eq->coef_right[0][0], 50);
      }
}

// Two handles in turn, each with its own stream and settings.
template <typename Word, int format>
void headphone_handles(trial& t) {
  constexpr unsigned kHandleRates[] = {48000, 44100, 44050, 48050, 48051, 44049};
  struct {
    void* effect;
    std::vector<Word> x;
  } streams[2];
  for (auto& s : streams) {
    const unsigned rate = kHandleRates[t.once_in(4) ? t.roll(6) : t.roll(2)];
    s.effect = sonx_hp_effect_init(rate, format == 3 && t.once_in(4) ? 7 : format);
    s.x = t.signal<Word>(2 * t.frames, t.number + t.roll(8));
  }
  constexpr size_t kPeriods[] = {240, 256, 480, 512, 100, 441};
  size_t period = kPeriods[t.number % 6];
  for (size_t start = 0; start + 700 < size_t(t.frames); start += period) {
    if (t.once_in(20)) period = t.once_in(2) ? kPeriods[t.roll(6)] : t.roll(600);
    for (auto& s : streams) {
      audio_effect_control_acdb_t record = any_record(t);
      if (t.once_in(25) || start == 0) sonx_hp_effect_set_parameters(s.effect, &record);
      if (t.once_in(100)) sonx_hp_effect_reset(s.effect);
      const size_t tail = t.once_in(8) ? 1 + t.roll(2 * sizeof(Word) - 1) : 0;
      sonx_hp_effect_process(s.effect, &s.x[2 * start], 2 * period * sizeof(Word) + tail);
      t.note_all(&s.x[2 * start], 2 * period + 4);
      sonx_hp_effect_get_parameters(s.effect, &record);
      t.note(record.effect_type, record.data[28]);
    }
  }
  for (auto& s : streams) sonx_hp_effect_deinit(s.effect);
}

void echo(trial& t) {
  held<iirecho, iirecho_init, iirecho_end> e;
  t.run<int, 2, 2>(
      [&](int* a, int* b, int* c, int* d, int n) { iirecho_processStereo(&e, a, b, c, d, n); },
      [&] {
        t.access<SETTING(iirecho_, feedback), SETTING(iirecho_, wet), SETTING(iirecho_, dry),
                 SETTING(iirecho_, status), iirecho_getdelay>(&e);
        if (t.once_in(4))
          iirecho_setdelay(&e, t.wild() ? t.any() : static_cast<int>(t.roll(360)) - 2);
        if (t.once_in(8)) iirecho_update(&e);
      });
}

// A room that feeds back: what the canceller puts out returns some 400 samples
// later through a resonance that moves now and then. Besides there are tones
// from outside, or short noises. The first trial goes on until its notches have
// been given up again. With reserves the shift and the last resort are at work, as drawn.
template <bool reserves>
void howling(trial& t) {
  constexpr int kPeriod = 240, kOne = 1 << 28;
  held<howlingCancel, howling_canceling_init, howling_canceling_end> canceller;
  int row[5] = {kOne / 100, 0, -kOne / 100, 0, -(kOne / 100 * 98)};  // poles at 0.99
  held<IIR, IIR_init, IIR_end> resonance(row);
  const bool loop = reserves || t.number % 3 != 1, tones = t.number % 3 != 0;
  const int gain_q13 = loop ? (11000 + static_cast<int>(t.roll(14000))) << (reserves ? 2 : 0) : 0;
  const int delay = 300 + static_cast<int>(t.roll(500)), long_one = 75 * 48000,
            frames = t.number == 0 ? long_one : t.frames;
  const std::vector<int> bursts = t.signal<int>(48000, 4);
  std::vector<int> heard(kPeriod), played(static_cast<size_t>(frames) + kPeriod);
  struct {
    int64_t step_q28, sine, cosine;  // one multiplication each turns the pair
  } oscillators[6];
  for (auto& o : oscillators)
    o = {1 + t.roll(1 << 26), 0, t.once_in(2) ? 0 : 1 << (16 + t.roll(6))};
  for (int start = 0; start + kPeriod <= frames; start += kPeriod) {
    if (reserves && start % 192000 == 0) {
      howling_canceling_set_shift(&canceller, t.wild() ? t.any() : static_cast<int>(t.roll(9)) - 1);
      howling_canceling_set_shift_mode(&canceller, t.once_in(2));
      howling_canceling_set_last_resort(&canceller, t.once_in(2));
      howling_canceling_set_sample_rate(&canceller, SampleRateType(t.once_in(4) ? t.roll(5) : 1));
    }
    std::fill(heard.begin(), heard.end(), 0);
    if (start % 72000 == 0 && (t.number != 0 || start == 0)) {
      const int angle_q14 = 500 + static_cast<int>(t.roll(9000));  // its cosine is 1 - angle^2 / 2
      row[3] = (kOne - angle_q14 * angle_q14 / 2) / 50 * 99;
      IIR_set_param(&resonance, row);
    }
    for (int i = 0; i < kPeriod && start >= delay; ++i) {
      IIR_process_32(&resonance, &played[size_t(start - delay + i)], &heard[size_t(i)]);
      heard[size_t(i)] = static_cast<int>(int64_t{heard[size_t(i)]} * gain_q13 >> 13);
    }
    const bool silent = start > frames / 8 && start < frames - 96000;
    for (int i = 0; i < kPeriod && !(silent && t.number == 0); ++i) {
      int64_t sum = heard[size_t(i)] + (tones ? 0 : bursts[size_t((start + i) % 48000)] / 8);
      for (auto& o : oscillators) {
        o.sine += o.cosine * o.step_q28 >> 28;
        o.cosine -= o.sine * o.step_q28 >> 28;
        if (tones && (start >> 18) % 2 == 0) sum += o.sine;
      }
      heard[size_t(i)] = static_cast<int>(std::clamp<int64_t>(sum, -8388608, 8388607));
    }
    const int cut = static_cast<int>(t.roll(kPeriod + 1));
    int* out = &played[size_t(start)];
    howling_canceling_process(&canceller, heard.data(), out, cut);
    howling_canceling_process(&canceller, heard.data() + cut, out + cut, kPeriod - cut);
    t.note_all(out, kPeriod + 4);
    if (t.once_in(8000)) howling_canceling_reset(&canceller);
  }
  t.access<SETTING(howling_canceling_, status)>(&canceller);
  if (reserves)
    t.access<SETTING(howling_canceling_, _shift), SETTING(howling_canceling_, _shift_mode),
             SETTING(howling_canceling_, _last_resort), howling_canceling_get_gain>(&canceller);
}

// The settings on the chain and on the handle, over a full-scale tone that counts as a howl.
void howling_settings(trial& t) {
  held<teka_audio_tx_ktv_t, teka_audio_tx_ktv_init, teka_audio_tx_ktv_end> c;
  void* const handle = sonx_ktv_init();
  sonx_ktv_iirecho_enable(handle, 0);
  teka_audio_tx_ktv_iirecho_setstatus(&c, 0);
  std::vector<short> left(256), right(256);
  for (int start = 0; start + 256 <= t.frames; start += 256) {
    std::vector<short> x(256);
    for (int i = 0; i < 256; ++i) x[size_t(i)] = (start + i) % 40 < 20 ? 20000 : -20000;
    if (t.once_in(16)) {
#define DEFENCE(name) SETTING(teka_audio_tx_ktv_howling_canceling_, name)
      t.access<DEFENCE(_shift), DEFENCE(_shift_mode), DEFENCE(_last_resort),
               teka_audio_tx_ktv_howling_canceling_get_gain>(&c);
      t.access<sonx_ktv_howling_canceling_set_shift, sonx_ktv_howling_canceling_set_shift_mode,
               sonx_ktv_howling_canceling_set_last_resort>(handle);
    }
    teka_audio_tx_ktv_process_16(&c, x.data(), left.data(), right.data(), 256);
    t.note_all(left.data(), 256);
    sonx_ktv_process_16(handle, x.data(), left.data(), right.data(), 256);
    t.note_all(left.data(), 256);
    t.note(sonx_ktv_howling_canceling_gain(handle));
  }
  sonx_ktv_deinit(handle);
}

void howling_blocks(trial& t) {
  held<howlingCancel, howling_canceling_init, howling_canceling_end> canceller;
  t.run<int, 1, 1>(
      [&](int* in, int* out, int n) { howling_canceling_process(&canceller, in, out, n); },
      [&] {
        if (t.once_in(4)) howling_canceling_reset(&canceller);
      });
}

void set_karaoke(trial& t, teka_audio_tx_ktv_t* c) {
  int rows[10][5], gains[10];
  t.decibels(gains);
  switch (t.roll(8)) {
    case 0:
      draw_rows(t, rows);
      teka_audio_tx_ktv_eq_setparameter(c, rows);
      break;
    case 1:
      teka_audio_tx_ktv_eq_set_param_index(c, gains);
      break;
    case 2:
      teka_audio_tx_ktv_set_sample_rate(c, kRates[t.roll(5)]);
      break;
    case 3:
      teka_audio_tx_ktv_iirecho_setdelay(c, static_cast<int>(t.roll(360)));
      break;
    default:
      break;
  }
  for (const auto status :
       {teka_audio_tx_ktv_reverb_setstatus, teka_audio_tx_ktv_eq_setstatus,
        teka_audio_tx_ktv_noise_canceling_setstatus, teka_audio_tx_ktv_howling_canceling_setstatus,
        teka_audio_tx_ktv_gramophone_setstatus, teka_audio_tx_ktv_compressor_setstatus,
        teka_audio_tx_ktv_iirecho_setstatus})
    if (t.once_in(4)) status(c, static_cast<int>(t.roll(2)));
  teka_audio_tx_ktv_eq_getparameter(c, rows);
  for (const auto& row : rows) t.note_all(row);
  teka_audio_tx_ktv_eq_get_param_index(c, gains);
  t.note_all(gains);
#define KTV(name) SETTING(teka_audio_tx_ktv_, name)
#define REVERB(name) SETTING(teka_audio_tx_ktv_reverb_, name)
#define ECHO(name) SETTING(teka_audio_tx_ktv_iirecho_, name)
  t.access<KTV(_volume), REVERB(roomsize), REVERB(damp), REVERB(wet), REVERB(dry), REVERB(width),
           REVERB(gain), ECHO(feedback), ECHO(wet), ECHO(dry), teka_audio_tx_ktv_iirecho_getdelay,
           teka_audio_tx_ktv_reverb_getstatus, teka_audio_tx_ktv_eq_getstatus,
           teka_audio_tx_ktv_noise_canceling_getstatus,
           teka_audio_tx_ktv_howling_canceling_getstatus, teka_audio_tx_ktv_gramophone_getstatus,
           teka_audio_tx_ktv_compressor_getstatus, teka_audio_tx_ktv_iirecho_getstatus>(c);
}

template <typename Sample>
void karaoke_chain(trial& t) {
  held<teka_audio_tx_ktv_t, teka_audio_tx_ktv_init, teka_audio_tx_ktv_end> c;
  const unsigned form = t.roll(3);
  t.run<Sample, 1, 2>(
      [&](Sample* in, Sample* left, Sample* right, int n) {
        if constexpr (sizeof(Sample) == 4) {
          if (form == 2 && left != right) {
            std::copy_n(std::vector<int>(in, in + n).begin(), n, left);
            return teka_audio_tx_ktv_core_process(&c, left, right, n);
          }
        }
        if (form == 0)
          teka_audio_tx_ktv_process(&c, 8 * sizeof(Sample), in, left, right, n);
        else if (sizeof(Sample) == 2)
          teka_audio_tx_ktv_process_16(&c, in, left, right, n);
        else
          teka_audio_tx_ktv_process_24(&c, in, left, right, n);
      },
      [&] { set_karaoke(t, &c); });
}

void karaoke_handles(trial& t) {
  void* const handles[] = {sonx_ktv_init(), sonx_ktv_init()};
  std::vector<short> x = t.signal<short>(t.frames, t.number), left(x.size()), right(x.size());
  for (int start = 0, n = 0; start + n <= t.frames; start += n) {
    for (void* handle : handles) {
      int gains[10];
      t.decibels(gains);
      if (t.once_in(8)) sonx_ktv_eq_setparameter(handle, gains);
      if (t.once_in(4)) {
        t.access<sonx_ktv_set_voice_gain, sonx_ktv_reverb_setroomsize, sonx_ktv_reverb_setdamp,
                 sonx_ktv_reverb_setwet, sonx_ktv_reverb_setdry, sonx_ktv_reverb_setwidth,
                 sonx_ktv_reverb_setgain, sonx_ktv_iirecho_setfeedback, sonx_ktv_iirecho_setwet,
                 sonx_ktv_iirecho_setdry, sonx_ktv_iirecho_setdelay, sonx_ktv_reverb_enable,
                 sonx_ktv_eq_enable, sonx_ktv_noise_canceling_enable, sonx_ktv_gramophone_enable,
                 sonx_ktv_compressor_enable, sonx_ktv_iirecho_enable>(handle);
        // Only one canceller may be at work in a process.
        sonx_ktv_hw_howling_canceling_enable(handle, handle == handles[0] && t.once_in(2));
      } else if (start == 0) {
        sonx_ktv_hw_howling_canceling_enable(handle, 0);
      }
      sonx_ktv_process_16(handle, &x[size_t(start)], left.data(), right.data(), n);
      t.note_all(left.data(), size_t(n) + 1);
      t.note_all(right.data(), size_t(n) + 1);
    }
    n = static_cast<int>(t.roll(2) ? 240 : t.roll(600));
  }
  for (void* handle : handles) sonx_ktv_deinit(handle);
}

}  // namespace

const std::vector<subject> kChains = {
    {"hp-chain-16", "records, module access, switch-over, rates", 70, 12000,
     headphone_chain<short>},
    {"hp-chain-24", "the same with 24-bit samples 4 bits up", 70, 12000, headphone_chain<int>},
    {"hp-tuning", "every effect with every adapter at every rate", 1, 0, tuning},
    {"hp-handles-16", "two handles, periods, records", 24, 24000, headphone_handles<short, 1>},
    {"hp-handles-24", "24 bits in 32", 24, 24000, headphone_handles<int, 2>},
    {"hp-handles-32", "32 bits, unknown formats", 24, 24000, headphone_handles<int, 3>},
    {"hp-handles-8.24", "8.24", 12, 24000, headphone_handles<int, 4>},
    {"echo", "delays to 350 ms, feedback, gains", 35, 40000, echo},
    {"howling-loop", "closed loops, tones from outside; 15 seconds each, one of 75", 20, 720000,
     howling<false>},
    {"howling-reserves", "loops beyond what notches hold: shift, last resort", 12, 720000,
     howling<true>},
    {"howling-settings", "of the reserves, on chain and handle", 4, 96000, howling_settings},
    {"howling-blocks", "streams of all kinds", 35, 20000, howling_blocks},
    {"ktv-chain-16", "every stage and setting", 70, 12000, karaoke_chain<short>},
    {"ktv-chain-24", "24-bit samples 4 bits up", 70, 12000, karaoke_chain<int>},
    {"ktv-handles", "two handles", 24, 24000, karaoke_handles},
};
