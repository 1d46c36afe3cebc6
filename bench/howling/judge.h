// What a listener would say of a loop: compares what the loudspeaker plays with the voice alone, in
// frames of 20 ms.
//
//   rings   a bin (47 Hz) lies 15 dB above the loudest that the amplified voice had within two bins
//           in the last half second, and within 13 dB of the voice's usual loudness
//   howls   rings for 0.7 s without a pause
#pragma once

#include "loop.h"

class judge {
 public:
  // gain_db is the amplifier's, level_db the voice's.
  judge(double gain_db, double level_db)
      : gain_(std::pow(10.0, gain_db / 10.0)),
        least_(std::pow(10.0, (gain_db + level_db - 13.0) / 10.0)),
        plan_(kiss_fftr_alloc(kFrame, 0, nullptr, nullptr)) {
    for (int i = 0; i < kFrame; ++i) window_[i] = 1.0F - std::cos(6.2831853F * i / kFrame);
  }
  ~judge() { kiss_fftr_free(plan_); }
  judge(const judge&) = delete;
  judge& operator=(const judge&) = delete;

  // One period of 5 ms of both; every fourth makes a frame. Whether that frame rings.
  bool hear(const float* voice, const float* loudspeaker) {
    push(voice_, voice);
    push(heard_, loudspeaker);
    if (++periods_ % 4 != 0) return false;
    std::rotate(recent_.begin(), recent_.end() - 1, recent_.end());
    spectrum(voice_, recent_[0]);
    std::vector<float> heard;
    spectrum(heard_, heard);
    bool found = false;
    for (size_t b = 3; b + 2 < heard.size() && !found; ++b) {
      if (heard[b] < least_) continue;
      float loudest = 0.0F;
      for (const auto& past : recent_)
        for (size_t near = b - 2; near <= b + 2 && near < past.size(); ++near)
          loudest = std::max(loudest, past[near]);
      found = heard[b] > 31.6 * gain_ * loudest;
    }
    run_ = found ? run_ + 1 : 0;
    rings_ = found;
    longest_ = std::max(longest_, run_);
    return found;
  }
  bool rings() const { return rings_; }
  bool howls() const { return run_ >= 35; }

 private:
  static constexpr int kFrame = 1024;
  static void push(float* frame, const float* period) {
    std::copy(frame + kPeriod, frame + kFrame, frame);
    std::copy_n(period, kPeriod, frame + kFrame - kPeriod);
  }
  // Power of a sine of that bin.
  void spectrum(const float* frame, std::vector<float>& powers) const {
    float x[kFrame];
    kiss_fft_cpx bins[kFrame / 2 + 1];
    for (int i = 0; i < kFrame; ++i) x[i] = frame[i] * window_[i];
    kiss_fftr(plan_, x, bins);
    powers.resize(kFrame / 2 + 1);
    for (size_t b = 0; b < powers.size(); ++b)
      powers[b] = (bins[b].r * bins[b].r + bins[b].i * bins[b].i) * 2.0F / kFrame / kFrame;
  }

  double gain_, least_;
  kiss_fftr_cfg plan_;
  float window_[kFrame], voice_[kFrame] = {}, heard_[kFrame] = {};
  std::vector<std::vector<float>> recent_ = std::vector<std::vector<float>>(25);
  int periods_ = 0, run_ = 0, longest_ = 0;
  bool rings_ = false;
};
