// Every record: its init needs nothing in it, its end leaves no pointer and may be called again. The
// sanitizers watch the memory.
#include <gtest/gtest.h>

#include <cstring>

#include "dsp/elliptic.h"
#include "dsp/fft_int.h"
#include "dsp/iircomber.h"
#include "dsp/notch.h"
#include "effects/compressor.h"
#include "effects/equalizer.h"
#include "effects/reverb.h"
#include "effects/smart_volume_control.h"
#include "effects/speaker_boost_system.h"
#include "effects/stereo_widening_system.h"
#include "effects/virtual_bass_system.h"
#include "ktv/gramophone.h"
#include "ktv/howling_cancel.h"
#include "ktv/iirecho.h"
#include "ktv/sonx_ktv.h"

namespace {

// Begins and ends a record twice over; pointer gives what it owns.
template <typename Record, typename Init, typename Pointer>
void expect_clean(Init init, void (*end)(Record*), Pointer pointer) {
  Record record;
  std::memset(static_cast<void*>(&record), 0x55, sizeof record);
  for (int round = 0; round < 2; ++round) {
    init(&record);
    EXPECT_NE(pointer(record), nullptr);
    end(&record);
    end(&record);
    EXPECT_EQ(pointer(record), nullptr);
  }
}

constexpr int kCoefficients[13] = {1 << 20};

}  // namespace

TEST(Lifecycle, EndLeavesNothing) {
  const auto buffer = [](auto& record) { return record.buffer; };
  const auto state = [](auto& record) { return record.state; };
  const auto of_length = [](auto init) { return [=](auto* record) { init(record, 9); }; };
  const auto with_table = [](auto init) { return [=](auto* r) { init(r, kCoefficients); }; };
  expect_clean<allpass>(of_length(allpass_init), allpass_end, buffer);
  expect_clean<comber>(of_length(comb_init), comb_end, buffer);
  expect_clean<iircomber>(of_length(iircomber_init), iircomber_end, buffer);
  expect_clean<audio_delay>(of_length(audio_delay_init), audio_delay_end, buffer);
  expect_clean<fft_int>(of_length(fft_int_init), fft_int_end, [](auto& f) { return f.data; });
  expect_clean<elliptic>(with_table(elliptic_init), elliptic_end, state);
  expect_clean<IIR>(
      with_table(IIR_init), [](IIR* section) { IIR_end(section); }, state);
  expect_clean<notch>([](notch* n) { notch_init(n, 1, 2); }, notch_end, state);
  expect_clean<NLD>(NLD_init, NLD_end, [](auto& nld) { return nld.coefficients; });
  expect_clean<equalizer_t>(equalizer_init, equalizer_end,
                            [](auto& e) { return e.right_section[9]; });
  expect_clean<reverb_t>(reverb_init, reverb_end, [](auto& r) { return r.dc_right; });
  expect_clean<stereo_widening_system>(stereo_widening_system_init, stereo_widening_system_end,
                                       [](auto& w) { return w.reflector; });
  expect_clean<compressor_t>([](compressor_t* c) { compressor_init(c, 8192, 2); }, compressor_end,
                             [](auto& c) { return c.right; });
  expect_clean<smart_volume_control_t>(smart_volume_control_init, smart_volume_control_end,
                                       [](auto& c) { return c.low_pass_right[2]; });
  expect_clean<speaker_boost_system_t>(speaker_boost_system_init, speaker_boost_system_end,
                                       [](auto& b) { return b.sum_right; });
  expect_clean<virtual_bass_system>(virtual_bass_system_init, virtual_bass_system_end,
                                    [](auto& b) { return b.bass_compressor; });
  expect_clean<gramophone>(gramophone_init, gramophone_end, [](auto& g) { return g.filter; });
  expect_clean<iirecho>(iirecho_init, iirecho_end, [](auto& e) { return e.comb_right; });
  expect_clean<howlingCancel>(howling_canceling_init, howling_canceling_end,
                              [](auto& h) { return h.notches; });
}

TEST(Lifecycle, EmptyCallsTouchNoBuffer) {
  iirecho echo;
  iirecho_init(&echo);
  iirecho_processStereo(&echo, nullptr, nullptr, nullptr, nullptr, -5);
  iirecho_end(&echo);
  void* handle = sonx_ktv_init();
  sonx_ktv_process_16(handle, nullptr, nullptr, nullptr, 0);
  sonx_ktv_deinit(handle);
  sonx_ktv_process_16(nullptr, nullptr, nullptr, nullptr, 10);
  sonx_ktv_reverb_setgain(nullptr, 1);
  sonx_ktv_deinit(nullptr);
}
