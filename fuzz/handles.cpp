// The handles as a host may use them: any rate, format, record, setting, period and sample.
#include <memory>

#include "bits/karaoke_settings.h"
#include "bits/module.h"
#include "hp/sonx_hp_effect.h"

namespace {

// A buffer at the end of its memory, so that AddressSanitizer sees the first byte beyond it.
class period {
 public:
  template <typename Word>
  Word* last(size_t bytes) {
    return reinterpret_cast<Word*>(memory_.get() + kMost - bytes / sizeof(Word) * sizeof(Word));
  }
  static constexpr size_t kMost = 1 << 14;

 private:
  std::unique_ptr<char[]> memory_ = std::make_unique<char[]>(kMost);
};

// Some hundred frames of a signal, of any length that comes to a host's mind.
int some_frames(trial& t) {
  constexpr int kPeriods[] = {240, 256, 480, 441, 64, 1024, 1, 0};
  return t.once_in(3) ? static_cast<int>(t.roll(700)) : kPeriods[t.roll(8)];
}

template <typename Word>
void headphones(trial& t, unsigned rate, int format) {
  static period memory;
  const std::unique_ptr<void, decltype(&sonx_hp_effect_deinit)> effect(
      sonx_hp_effect_init(rate, format), sonx_hp_effect_deinit);
  t.note(sonx_hp_effect_latency(effect.get()), sonx_hp_effect_bypasses(effect.get()));
  for (int frames = 0; frames < t.frames; ++frames) {
    audio_effect_control_acdb_t record;
    switch (t.roll(8)) {
      case 0:
        draw(t, record);
        if (t.wild())
          for (int& word : record.data) word = t.any();
        if (t.wild() && t.once_in(4)) record.effect_type = t.any();
        sonx_hp_effect_set_parameters(effect.get(), &record);
        break;
      case 1:
        sonx_hp_effect_reset(effect.get());
        break;
      case 2:
        sonx_hp_effect_get_parameters(effect.get(), &record);
        t.note(record.effect_type, record.hpadapter_type);
        t.note_all(record.data);
        break;
      default: {
        const int n = some_frames(t);
        const size_t tail = t.once_in(8) ? t.roll(2 * sizeof(Word)) : 0;
        const size_t bytes = 2 * sizeof(Word) * static_cast<size_t>(n) + tail;
        const std::vector<Word> x = t.signal<Word>(2 * n + 1, t.number + t.roll(2));
        Word* const buffer = memory.last<Word>(bytes);
        std::memcpy(buffer, x.data(), bytes / sizeof(Word) * sizeof(Word));
        sonx_hp_effect_process(effect.get(), buffer, bytes);
        t.note_all(buffer, bytes / sizeof(Word));
        frames += n;
      }
    }
  }
}

void headphone_handle(trial& t) {
  constexpr unsigned kRates[] = {48000, 44100, 44050, 48050};
  const unsigned rate = t.once_in(8) ? static_cast<unsigned>(t.any()) : kRates[t.roll(4)];
  const int format = t.once_in(8) ? t.any() : 1 + static_cast<int>(t.roll(4));
  format == SONX_FORMAT_16_BIT ? headphones<short>(t, rate, format)
                               : headphones<int>(t, rate, format);
}

void karaoke_handle(trial& t) {
  static period memory[3];
  const std::unique_ptr<void, decltype(&sonx_ktv_deinit)> karaoke(sonx_ktv_init(), sonx_ktv_deinit);
  const auto set = [&] {
    use_some_karaoke_settings<
        switched<sonx_ktv_hw_howling_canceling_enable>, sonx_ktv_howling_canceling_set_shift,
        sonx_ktv_howling_canceling_set_shift_mode, sonx_ktv_howling_canceling_set_last_resort>(
        t, karaoke.get());
  };
  for (int frames = 0; frames < t.frames; ++frames) {
    for (unsigned count = t.roll(5); count > 0; --count) set();
    const int n = some_frames(t) - (t.once_in(32) ? 100 : 0);
    const std::vector<short> x = t.signal<short>(std::max(n, 0), t.number + t.roll(2));
    const size_t bytes = sizeof(short) * x.size();
    short* const at[] = {memory[0].last<short>(bytes), memory[1].last<short>(bytes),
                         memory[2].last<short>(bytes)};
    short *const left = at[t.roll(2)], *const right = at[t.once_in(4) ? 0 : 2];
    std::copy(x.begin(), x.end(), at[0]);
    sonx_ktv_process_16(karaoke.get(), at[0], left, right, n);
    t.note_all(left, x.size());
    t.note_all(right, x.size());
    t.note(sonx_ktv_howling_canceling_gain(karaoke.get()), sonx_ktv_bypasses(karaoke.get()));
    frames += std::max(n, 0);
  }
}

}  // namespace

extern const std::vector<subject> kHandles;
const std::vector<subject> kHandles = {
    {"headphone-handle", "rates, formats, records, periods", 0, 0, headphone_handle},
    {"karaoke-handle", "settings, periods, coincidences of buffers", 0, 0, karaoke_handle},
};
