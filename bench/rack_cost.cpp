// Prints what a rack costs: nanoseconds of processor time per stereo frame.
//   rack    a rack with one slot, 24-bit words in and out, calls of one block of the grid
//   slot    what a second slot with the same effect adds to it: the effect within the rack
//   module  the bare module over the same samples, planar, where the library has it as one function
//   fade    the rack's worst while another value comes in: the dearest 10 ms after a change
// Each figure but the last is the fastest of many stretches.
#include <sonx/rack.h>
#include <time.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "plain/modules.h"

namespace {

constexpr int kStretches = 300, kBlocks = 10;  // of blocks, in a stretch

double seconds() {
  timespec t;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
  return static_cast<double>(t.tv_sec) + 1e-9 * static_cast<double>(t.tv_nsec);
}

struct rack_deleter {
  void operator()(sonx_rack* rack) const { sonx_rack_destroy(rack); }
};

// A rack with some slots of one effect, and a signal to play.
class player {
 public:
  player(const sonx_effect* effect, int slots, int rate)
      : block_(rate == 44100 ? 220 : rate / 200),
        words_(static_cast<size_t>(2 * block_ * kBlocks)) {
    std::string preset = "sonx = 1\n";
    for (int k = 0; k < slots; ++k)
      preset += std::string("[[effect]]\nid = \"") + effect->id + "\"\n";
    rack_.reset(sonx_rack_create(rate, block_));
    if (!rack_ || sonx_rack_load(rack_.get(), preset.c_str(), nullptr, 0) != 0) std::exit(1);
    std::mt19937 random(1);
    noise_.resize(words_.size());
    for (int32_t& word : noise_) word = static_cast<int32_t>(random()) / 4;
    run();
  }

  sonx_rack* rack() { return rack_.get(); }
  int frames() const { return block_ * kBlocks; }

  // Nanoseconds per frame of one stretch.
  double run() {
    words_ = noise_;
    const double from = seconds();
    for (size_t at = 0; at < words_.size(); at += static_cast<size_t>(2 * block_))
      sonx_rack_process_s32(rack_.get(), &words_[at], 2, block_);
    return 1e9 * (seconds() - from) / frames();
  }
  double fastest() {
    double least = std::numeric_limits<double>::max();
    for (int k = 0; k < kStretches; ++k) least = std::min(least, run());
    return least;
  }

 private:
  int block_;
  std::unique_ptr<sonx_rack, rack_deleter> rack_;
  std::vector<int32_t> words_, noise_;
};

// The bare module, over kPeriod frames; 0 where the library's module isn't of the same kind.
double bare(const std::string& effect) {
  struct known {
    const char *id, *name;
    int instances;  // for stereo
  };
  static constexpr known kModules[] = {
      {"graphic-equalizer", "graphic equalizer", 1},
      {"parametric-equalizer", "parametric equalizer, 10 bands", 1},
      {"reverb", "reverb", 1},
      {"stereo-widening", "stereo widening", 1},
      {"virtual-bass", "virtual bass", 1},
      {"smart-volume", "smart volume", 1},
      {"compressor", "compressor", 1},
      {"speaker-boost", "speaker boost", 1},
      {"gramophone", "gramophone, mono", 2},
      {"echo", "echo", 1},
      {"howling-canceller", "howling canceller, mono", 2}};
  for (const auto& [id, name, instances] : kModules) {
    if (effect != id) continue;
    for (const module& m : all_modules()) {
      if (std::string(m.name) != name) continue;
      std::mt19937 random(1);
      std::vector<int> left(kPeriod * kBlocks), right = left;
      for (int& v : left) v = static_cast<int>(random()) / 1024;
      for (int& v : right) v = static_cast<int>(random()) / 1024;
      const std::unique_ptr<subject> s = m.make();
      s->load(left, right);
      double least = std::numeric_limits<double>::max();
      for (int k = 0; k < kStretches; ++k) {
        const double from = seconds();
        for (int b = 0; b < kBlocks; ++b) s->run(form::block, b * m.frames, m.frames);
        least = std::min(least, seconds() - from);
      }
      return 1e9 * instances * least / (kPeriod * kBlocks);
    }
  }
  return 0.0;
}

// The dearest stretch of a second after a parameter has jumped, the median of some jumps.
double fading(const sonx_effect* effect, int rate) {
  player p(effect, 1, rate);
  std::vector<double> worst;
  for (int k = 0; k < 15; ++k) {
    const sonx_parameter& first = effect->parameters[0];
    sonx_rack_set(p.rack(), 0, 0, k % 2 ? first.maximum : first.minimum);
    double dearest = 0.0;
    for (int frames = 0; frames < 2 * rate; frames += p.frames())
      dearest = std::max(dearest, p.run());
    worst.push_back(dearest);
  }
  std::nth_element(worst.begin(), worst.begin() + 7, worst.end());
  return worst[7];
}

}  // namespace

int main() {
  constexpr int kRate = 48000;
  std::printf("| effect | rate | rack | slot | module | fade |\n|---|---:|---:|---:|---:|---:|\n");
  {
    player none(sonx_effect_at(0), 0, kRate);
    std::printf("| none | %d | %.1f | | | |\n", kRate, none.fastest());
  }
  for (int k = 0; k < sonx_effect_count(); ++k) {
    const sonx_effect* const effect = sonx_effect_at(k);
    int rate = effect->rates[0];
    for (int r = 0; r < effect->rate_count; ++r)
      if (effect->rates[r] <= kRate) rate = effect->rates[r];
    const double one = player(effect, 1, rate).fastest(), two = player(effect, 2, rate).fastest();
    const double module = bare(effect->id);
    std::printf("| %s | %d | %.1f | %.1f | ", effect->id, rate, one, two - one);
    if (module > 0.0) std::printf("%.1f", module);
    std::printf(" | ");
    if (effect->parameter_count > 0) std::printf("%.1f", fading(effect, rate));
    std::printf(" |\n");
    std::fflush(stdout);
  }
}
