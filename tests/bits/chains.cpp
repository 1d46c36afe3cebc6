#include "bits/karaoke_settings.h"
#include "bits/module.h"
#include "hp/sonx_hp_effect.h"
#include "hp/teka_hp_effect.h"
#include "ktv/howling_cancel.h"
#include "ktv/iirecho.h"
#include "ktv/sonx_ktv.h"
#include "ktv/teka_audio_tx_ktv.h"

namespace {

constexpr auto begin_headphone = [](trial& t, teka_hp_effect_t* c) {
  teka_hp_effect_init(c);
  teka_hp_effect_setstatus(c, 1);
  if (t.once_in(4)) teka_hp_effect_debug_enable_setstatus(c, 1);
};
// The planar chain, by each of its forms. Whoever drives it counts the switch-over down.
template <typename Sample, auto process_planar>
constexpr auto headphone =
    [](teka_hp_effect_t* c, Sample* a, Sample* b, Sample* out_a, Sample* out_b, int n) {
      if constexpr (sizeof(Sample) == 4) {
        if (n % 3 == 2 && out_a != out_b) {
          int left[trial::kLongestBlock], right[trial::kLongestBlock];
          std::copy_n(a, n, left);
          std::copy_n(b, n, right);
          std::copy_n(left, n, out_a);
          std::copy_n(right, n, out_b);
          teka_hp_effect_core_process(c, out_a, out_b, n);
          c->switch_counter -= c->switch_counter >= 0;
          return;
        }
      }
      if (n % 3 == 0)
        teka_hp_effect_process_v2(c, 8 * sizeof(Sample), a, b, out_a, out_b, n);
      else
        process_planar(c, a, b, out_a, out_b, n);
      c->switch_counter -= c->switch_counter >= 0;
    };

constexpr auto debug = [](trial& t, teka_hp_effect_t* c) {
  teka_hp_effect_debug_enable_setstatus(c, t.once_in(4));
};
constexpr auto slow_down = [](trial& t, teka_hp_effect_t* c) {
  teka_hp_effect_sv_set_smooth_buffer_num(c, static_cast<int>(t.roll(6)));
};
#define OF_MODULE(name, kind) SETTING(teka_hp_effect_##name##_, parameter##kind)
template <typename Sample, auto process>
constexpr auto headphone_chain =
    module<teka_hp_effect_t, begin_headphone, teka_hp_effect_end, headphone<Sample, process>,
           teka_hp_effect_set_sample_rate, STATUS(teka_hp_effect_), debug,
           teka_hp_effect_debug_enable_getstatus, SETTING(teka_hp_effect_, parameter),
           teka_hp_effect_setparameter, teka_hp_effect_setparameter, teka_hp_effect_setparameter,
           teka_hp_effect_reset, teka_hp_effect_update_parameter,
           teka_hp_effect_update_smooth_status, OF_MODULE(eq, _data), OF_MODULE(eq, _index),
           OF_MODULE(p_eq, ), OF_MODULE(reverb, ), OF_MODULE(vbs, ), OF_MODULE(sws, ),
           OF_MODULE(svc, ), OF_MODULE(cb, ), SETTING(teka_hp_effect_sv_, _volume), slow_down,
           teka_hp_effect_sv_get_smooth_buffer_num, &teka_hp_effect_t::active_status,
           &teka_hp_effect_t::switch_counter, &teka_hp_effect_t::volume,
           &teka_hp_effect_t::sample_rate_type>;

// Every effect with every adapter at every rate, as the fixed tuning has them.
void tuning(trial& t) {
  for (const unsigned rate : {44100u, 48000u, 96000u, 192000u, 32000u})
    for (int effect = 0; effect <= 6; ++effect)
      for (int adapter = 0; adapter <= 8; ++adapter) {
        held<teka_hp_effect_t, LIFE(teka_hp_effect)> c;
        audio_effect_control_acdb_t record = {effect, adapter, {3000, 3000, 3000, 3000, 8192, 200}};
        teka_hp_effect_set_sample_rate(&c, rate);
        teka_hp_effect_setparameter(&c, &record);
        teka_hp_effect_update_parameter(&c);
        std::vector<int> left = t.signal<int>(256, 1), right = t.signal<int>(256, 1);
        for (int i = 0; i < 4; ++i) {
          watched(teka_hp_effect_core_process, &c, left.data(), right.data(), 256);
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
      audio_effect_control_acdb_t record;
      draw(t, record);
      if (t.once_in(25) || start == 0) watched(sonx_hp_effect_set_parameters, s.effect, &record);
      if (t.once_in(100)) watched(sonx_hp_effect_reset, s.effect);
      const size_t tail = t.once_in(8) ? 1 + t.roll(2 * sizeof(Word) - 1) : 0;
      watched(sonx_hp_effect_process, s.effect, &s.x[2 * start], 2 * period * sizeof(Word) + tail);
      t.note_all(&s.x[2 * start], 2 * period + 4);
      sonx_hp_effect_get_parameters(s.effect, &record);
      t.note(record.effect_type, record.data[28]);
    }
  }
  for (auto& s : streams) sonx_hp_effect_deinit(s.effect);
}

// A room that feeds back: what the canceller puts out returns some 400 samples
// later through a resonance that moves now and then. Besides there are tones
// from outside, or short noises. The first trial goes on until its notches have
// been given up again. With reserves the shift and the last resort are at work, as drawn.
template <bool reserves>
void howling(trial& t) {
  constexpr int kPeriod = 240, kOne = 1 << 28;
  held<howlingCancel, LIFE(howling_canceling)> canceller;
  int row[5] = {kOne / 100, 0, -kOne / 100, 0, -(kOne / 100 * 98)};  // poles at 0.99
  held<IIR, LIFE(IIR)> resonance(row);
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
    watched(howling_canceling_process, &canceller, heard.data(), out, cut);
    watched(howling_canceling_process, &canceller, heard.data() + cut, out + cut, kPeriod - cut);
    t.note_all(out, kPeriod + 4);
    if (t.once_in(8000)) howling_canceling_reset(&canceller);
  }
  use_some<STATUS(howling_canceling_)>(t, &canceller);
  if (reserves)
    use_some<SETTING(howling_canceling_, _shift), SETTING(howling_canceling_, _shift_mode),
             SETTING(howling_canceling_, _last_resort), howling_canceling_get_gain>(t, &canceller);
}

// The reserves' settings on the chain and on the handle, over a tone that counts as a howl.
void howling_settings(trial& t) {
  constexpr int kPeriod = 256;
  held<teka_audio_tx_ktv_t, LIFE(teka_audio_tx_ktv)> c;
  void* const handle = sonx_ktv_init();
  sonx_ktv_iirecho_enable(handle, 0);
  teka_audio_tx_ktv_iirecho_setstatus(&c, 0);
  std::vector<short> x(kPeriod), left(kPeriod), right(kPeriod);
  for (int start = 0; start + kPeriod <= t.frames; start += kPeriod) {
    for (int i = 0; i < kPeriod; ++i) x[size_t(i)] = (start + i) % 40 < 20 ? 20000 : -20000;
    if (t.once_in(16)) {
#define RESERVE(name) SETTING(teka_audio_tx_ktv_howling_canceling_, name)
      use_some<RESERVE(_shift), RESERVE(_shift_mode), RESERVE(_last_resort),
               teka_audio_tx_ktv_howling_canceling_get_gain>(t, &c);
      use_some<sonx_ktv_howling_canceling_set_shift, sonx_ktv_howling_canceling_set_shift_mode,
               sonx_ktv_howling_canceling_set_last_resort>(t, handle);
    }
    watched(teka_audio_tx_ktv_process_16, &c, x.data(), left.data(), right.data(), kPeriod);
    t.note_all(left.data(), kPeriod);
    watched(sonx_ktv_process_16, handle, x.data(), left.data(), right.data(), kPeriod);
    t.note_all(left.data(), kPeriod);
    t.note(sonx_ktv_howling_canceling_gain(handle));
  }
  sonx_ktv_deinit(handle);
}

constexpr auto delay_echo = [](trial& t, iirecho* e) {
  iirecho_setdelay(e, t.wild() ? t.any() : static_cast<int>(t.roll(360)) - 2);
};
constexpr auto delay_karaoke = [](trial& t, teka_audio_tx_ktv_t* c) {
  teka_audio_tx_ktv_iirecho_setdelay(c, static_cast<int>(t.roll(360)));
};

// The chain by each of its forms.
template <typename Sample, auto process_planar>
constexpr auto karaoke =
    [](teka_audio_tx_ktv_t* c, Sample* in, Sample* left, Sample* right, int n) {
      if constexpr (sizeof(Sample) == 4) {
        if (n % 3 == 2 && left != right) {
          if (left != in) std::copy_n(in, n, left);
          return teka_audio_tx_ktv_core_process(c, left, right, n);
        }
      }
      if (n % 3 == 0)
        teka_audio_tx_ktv_process(c, 8 * sizeof(Sample), in, left, right, n);
      else
        process_planar(c, in, left, right, n);
    };

#define KTV(name) SETTING(teka_audio_tx_ktv_, name)
#define KTV_STATUS(name) STATUS(teka_audio_tx_ktv_##name##_)
template <typename Sample, auto process>
constexpr auto karaoke_chain =
    module<teka_audio_tx_ktv_t, LIFE(teka_audio_tx_ktv), karaoke<Sample, process>,
           teka_audio_tx_ktv_set_sample_rate, KTV(_volume),
           SETTING(teka_audio_tx_ktv_eq_, parameter), SETTING(teka_audio_tx_ktv_eq_, _param_index),
           SETTING(teka_audio_tx_ktv_reverb_, roomsize), SETTING(teka_audio_tx_ktv_reverb_, damp),
           SETTING(teka_audio_tx_ktv_reverb_, wet), SETTING(teka_audio_tx_ktv_reverb_, dry),
           SETTING(teka_audio_tx_ktv_reverb_, width), SETTING(teka_audio_tx_ktv_reverb_, gain),
           SETTING(teka_audio_tx_ktv_iirecho_, feedback), SETTING(teka_audio_tx_ktv_iirecho_, wet),
           SETTING(teka_audio_tx_ktv_iirecho_, dry), delay_karaoke,
           teka_audio_tx_ktv_iirecho_getdelay, KTV_STATUS(reverb), KTV_STATUS(eq),
           KTV_STATUS(noise_canceling), KTV_STATUS(howling_canceling), KTV_STATUS(gramophone),
           KTV_STATUS(compressor), KTV_STATUS(iirecho)>;

void karaoke_handles(trial& t) {
  void* const handles[] = {sonx_ktv_init(), sonx_ktv_init()};
  std::vector<short> x = t.signal<short>(t.frames, t.number), left(x.size()), right(x.size());
  for (int start = 0, n = 0; start + n <= t.frames; start += n) {
    for (void* handle : handles) {
      if (t.once_in(4)) {
        use_some_karaoke_settings(t, handle);
        // Only one canceller may be at work in a process.
        sonx_ktv_hw_howling_canceling_enable(handle, handle == handles[0] && t.once_in(2));
      } else if (start == 0) {
        sonx_ktv_hw_howling_canceling_enable(handle, 0);
      }
      watched(sonx_ktv_process_16, handle, &x[size_t(start)], left.data(), right.data(), n);
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
     headphone_chain<short, teka_hp_effect_process_16>},
    {"hp-chain-24", "the same with 24-bit samples 4 bits up", 70, 12000,
     headphone_chain<int, teka_hp_effect_process_24>},
    {"hp-tuning", "every effect with every adapter at every rate", 1, 0, tuning},
    {"hp-handles-16", "two handles, periods, records", 24, 24000, headphone_handles<short, 1>},
    {"hp-handles-24", "24 bits in 32", 24, 24000, headphone_handles<int, 2>},
    {"hp-handles-32", "32 bits, unknown formats", 24, 24000, headphone_handles<int, 3>},
    {"hp-handles-8.24", "8.24", 12, 24000, headphone_handles<int, 4>},
    {"echo", "delays to 350 ms, feedback, gains", 35, 40000,
     module<iirecho, LIFE(iirecho), iirecho_processStereo, SETTING(iirecho_, feedback),
            SETTING(iirecho_, wet), SETTING(iirecho_, dry), STATUS(iirecho_), iirecho_getdelay,
            delay_echo, delay_echo, iirecho_update>},
    {"howling-loop", "closed loops, tones from outside; 15 seconds each, one of 75", 20, 720000,
     howling<false>},
    {"howling-reserves", "loops beyond what notches hold: shift, last resort", 12, 720000,
     howling<true>},
    {"howling-settings", "of the reserves, on chain and handle", 4, 96000, howling_settings},
    {"howling-blocks", "streams of all kinds", 35, 20000,
     module<howlingCancel, LIFE(howling_canceling), howling_canceling_process,
            howling_canceling_reset, howling_canceling_getstatus, howling_canceling_getstatus>},
    {"ktv-chain-16", "every stage and setting", 70, 12000,
     karaoke_chain<short, teka_audio_tx_ktv_process_16>},
    {"ktv-chain-24", "24-bit samples 4 bits up", 70, 12000,
     karaoke_chain<int, teka_audio_tx_ktv_process_24>},
    {"ktv-handles", "two handles", 24, 24000, karaoke_handles},
};
