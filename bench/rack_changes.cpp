// Listens for clicks and gaps while a rack's settings change, and prints a table: for every effect
// the worst of all its parameters. See usage() for more.
//
// Three runs over the same signal are compared by the measures of rack/clicks.h: with the settings
// before, with those after, and with the change in between, at kChange.
// A jump sets the new value at once. A drag sets another one every 10 ms, half a second long, from
// one end of the range to the other; the steady runs are then those of eleven values on its way.
//
// After another preset there are two runs with the one after: what follows loudness and holds its
// gain in soft passages remembers how its music began, for ever if no loud one comes. A rack that
// plays since the beginning has heard the tone set in with a click, the preset that comes in hasn't.
// So a second rack begins later, with a rise like that of what comes in, and has long filled its
// tails when the change comes.
#include <sonx/rack.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <string>
#include <utility>

#include "rack/clicks.h"

namespace {

constexpr int kBlock = 480;                  // frames in a call; 10 ms at 48000 Hz
constexpr double kChange = 2.2, kEnd = 4.2;  // seconds
constexpr double kLate = 0.2, kRise = 0.02;  // of the rack that begins later
constexpr int kDragSteps = 50;
constexpr const char* kHeader =
    "| effect | step | where | dB below | allowed | where | holds |\n"
    "|---|---:|---|---:|---:|---|---|\n";

// Instead of the rack's change the plainest one: the second steady run's sound from the change on,
// after a gap of kGap. What it does must be seen by the measures.
bool cut = false;
constexpr double kGap = 0.007;  // seconds

// What an effect is given besides its initial values, so that its parameters are heard.
std::string audible(const std::string& effect) {
  if (effect == "parametric-equalizer") {
    std::string text = "separate = true\n";
    for (const char* list : {"band", "right"}) {
      text += std::string(list) + " = [";
      for (int k = 0; k < 10; ++k)
        text += "{ type = \"peak\", frequency = " + std::to_string(35 << k) +
                ", gain = " + (k % 2 ? "-4" : "4") + " }, ";
      text += "]\n";
    }
    return text;
  }
  return "";
}

std::string preset_of(const std::string& effect) {
  return "sonx = 1\n[[effect]]\nid = \"" + effect + "\"\n" + audible(effect);
}

struct rack_deleter {
  void operator()(sonx_rack* rack) const { sonx_rack_destroy(rack); }
};
using rack_owner = std::unique_ptr<sonx_rack, rack_deleter>;

rack_owner rack_with(const std::string& preset, int rate) {
  rack_owner rack(sonx_rack_create(rate, kBlock));
  char error[200];
  if (!rack || sonx_rack_load(rack.get(), preset.c_str(), error, sizeof error) != 0) {
    std::fprintf(stderr, "%s\n%s\n", rack ? error : "no rack", preset.c_str());
    std::exit(EXIT_FAILURE);
  }
  return rack;
}

// A signal and the rate it's played at.
struct source {
  const char* name;
  int rate;
  stereo in;
  size_t change() const { return static_cast<size_t>(kChange * rate) / kBlock * kBlock; }
};

using action = std::function<void(sonx_rack*, int call)>;  // call 0: the one after the change

stereo play(sonx_rack* rack, const source& s, const action& act = {}) {
  stereo out = {channel(s.in[0].size()), channel(s.in[0].size())};
  for (size_t i = 0; i + kBlock <= s.in[0].size(); i += kBlock) {
    if (act && i >= s.change()) act(rack, static_cast<int>((i - s.change()) / kBlock));
    const float* const in[] = {&s.in[0][i], &s.in[1][i]};
    float* const to[] = {&out[0][i], &out[1][i]};
    sonx_rack_process_f32(rack, in, to, 2, kBlock);
  }
  return out;
}

stereo cut_between(const stereo& before, stereo after, const source& s) {
  const auto gap = static_cast<size_t>(kGap * s.rate);
  for (size_t side = 0; side < 2; ++side) {
    std::copy_n(before[side].begin(), s.change(), after[side].begin());
    std::fill_n(after[side].begin() + static_cast<std::ptrdiff_t>(s.change()), gap, 0.0f);
  }
  return after;
}

finding compare(stereo changed, const std::vector<stereo>& steady, const source& s,
                const std::string& what) {
  if (cut) changed = cut_between(steady.front(), steady.back(), s);
  steady_sounds sounds(s.change(), s.rate);
  for (const stereo& run : steady) sounds.add(run);
  return sounds.compare(changed, what + ", " + s.name);
}

// ---- The changes of one effect.

class effect_trial {
 public:
  effect_trial(const sonx_effect* effect, const source& s)
      : effect_(effect), source_(s), preset_(preset_of(effect->id)) {}

  finding run(bool all) {
    finding worst;
    const auto take = [&](const char* what, const finding& f) {
      if (all) print(what, f);
      worst.take(f);
    };
    for (int k = 0; k < effect_->parameter_count; ++k)
      take(effect_->parameters[k].id, try_parameter(k));
    take("(slot)", try_switch(0));
    take("(rack)", try_switch(-1));
    return worst;
  }

 private:
  void print(const char* what, const finding& f) const {
    std::printf("%s\t%s\t%s\t%.3f\t%s\t%.2f\t%s\n", effect_->id, source_.name, what, f.step,
                f.step_at.c_str(), f.level, f.level_at.c_str());
    std::fflush(stdout);
  }

  stereo steady(int parameter, double value) const {
    const rack_owner rack = rack_with(preset_, source_.rate);
    sonx_rack_set(rack.get(), 0, parameter, value);
    return play(rack.get(), source_);
  }

  finding try_parameter(int parameter) const {
    finding worst;
    const sonx_parameter& p = effect_->parameters[parameter];
    std::vector<double> way;  // the values of the steady runs
    if (p.kind == SONX_NUMBER)
      for (int k = 0; k <= 10; ++k) way.push_back(between(p, k / 10.0));
    else
      for (int k = 0; k <= static_cast<int>(p.maximum); ++k) way.push_back(k);
    std::vector<stereo> runs;
    for (const double value : way) runs.push_back(steady(parameter, value));

    const auto jump = [&](size_t from, size_t to) {
      if (from == to) return;
      const stereo changed = change(parameter, way[from], [&](sonx_rack* rack, int call) {
        if (call == 0) sonx_rack_set(rack, 0, parameter, way[to]);
      });
      char text[80];
      std::snprintf(text, sizeof text, "%s %g to %g", p.id, way[from], way[to]);
      worst.take(compare(changed, {runs[from], runs[to]}, source_, text));
    };
    const size_t last = way.size() - 1, middle = last / 2;
    if (p.kind == SONX_NUMBER) {
      for (const auto& [from, to] :
           {std::pair{size_t{0}, last}, {last, size_t{0}}, {middle, last}, {middle, size_t{0}}})
        jump(from, to);
    } else {
      for (size_t k = 0; k <= last; ++k) {
        jump(k, k == last ? 0 : k + 1);
        jump(k == last ? 0 : k + 1, k);
      }
    }
    const stereo dragged = change(parameter, way[0], [&](sonx_rack* rack, int call) {
      if (call > kDragSteps) return;
      const double place = static_cast<double>(call) / kDragSteps;
      const double value = p.kind == SONX_NUMBER ? between(p, place)
                                                 : way[static_cast<size_t>(call + 1) % way.size()];
      sonx_rack_set(rack, 0, parameter, value);
    });
    worst.take(compare(dragged, runs, source_, std::string(p.id) + " dragged"));
    return worst;
  }

  static double between(const sonx_parameter& p, double place) {
    if (p.logarithmic && p.minimum > 0.0) return p.minimum * std::pow(p.maximum / p.minimum, place);
    return p.minimum + place * (p.maximum - p.minimum);
  }

  stereo change(int parameter, double from, const action& act) const {
    const rack_owner rack = rack_with(preset_, source_.rate);
    sonx_rack_set(rack.get(), 0, parameter, from);
    return play(rack.get(), source_, act);
  }

  finding try_switch(int slot) const {
    const auto with = [&](bool first, const action& act) {
      const rack_owner rack = rack_with(preset_, source_.rate);
      sonx_rack_enable(rack.get(), slot, first);
      return play(rack.get(), source_, act);
    };
    const std::vector<stereo> steady = {with(false, {}), with(true, {})};
    finding worst;
    for (const bool on : {false, true}) {
      const stereo changed = with(!on, [&](sonx_rack* rack, int call) {
        if (call == 0) sonx_rack_enable(rack, slot, on);
      });
      worst.take(compare(changed, steady, source_,
                         std::string(slot < 0 ? "rack " : "slot ") + (on ? "on" : "off")));
    }
    return worst;
  }

  const sonx_effect* effect_;
  const source& source_;
  std::string preset_;
};

// ---- One preset after another.

std::vector<std::pair<std::string, std::string>> presets_in(const char* folder, int rate) {
  std::vector<std::pair<std::string, std::string>> presets = {{"nothing", "sonx = 1\n"}};
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    if (entry.path().extension() != ".toml") continue;
    std::ifstream file(entry.path());
    const std::string text((std::istreambuf_iterator<char>(file)), {});
    const rack_owner rack(sonx_rack_create(rate, kBlock));
    if (sonx_rack_load(rack.get(), text.c_str(), nullptr, 0) == 0)  // has the rate
      presets.emplace_back(entry.path().stem().string(), text);
  }
  std::sort(presets.begin() + 1, presets.end());
  return presets;
}

source beginning_late(source s) {
  const double late = kLate * s.rate;
  for (channel& c : s.in)
    for (size_t i = 0; i < c.size(); ++i) {
      const double t = std::clamp((double(i) - late) / (kRise * s.rate), 0.0, 1.0);
      c[i] *= static_cast<float>(t * t * (3.0 - 2.0 * t));
    }
  return s;
}

finding try_presets(const char* folder, const source& s) {
  finding worst;
  const auto presets = presets_in(folder, s.rate);
  const source late = beginning_late(s);
  std::vector<stereo> runs, late_runs;
  for (const auto& [name, text] : presets) {
    runs.push_back(play(rack_with(text, s.rate).get(), s));
    late_runs.push_back(play(rack_with(text, s.rate).get(), late));
  }
  for (size_t from = 0; from < presets.size(); ++from)
    for (const size_t ahead : {size_t{1}, presets.size() / 2}) {
      const size_t to = (from + ahead) % presets.size();
      const rack_owner rack = rack_with(presets[from].second, s.rate);
      const stereo changed = play(rack.get(), s, [&](sonx_rack* r, int call) {
        if (call == 0) sonx_rack_load(r, presets[to].second.c_str(), nullptr, 0);
      });
      worst.take(compare(changed, {runs[from], late_runs[to], runs[to]}, s,
                         presets[from].first + " to " + presets[to].first));
    }
  return worst;
}

void row(const std::string& name, const finding& f, double limit, bool& failed) {
  const bool bad = !f.holds(limit);
  failed = failed || bad;
  std::printf("| %s | %.3f | %s | %.2f | %g | %s | %s |\n", name.c_str(), f.step, f.step_at.c_str(),
              f.level, limit, f.level_at.c_str(), bad ? "**no**" : "yes");
  std::fflush(stdout);
}

void usage() {
  std::printf(
      "usage: rack_changes [--effect ID] [--presets FOLDER] [--all] [--cut]\n"
      "  Without options, every effect: its parameters, its switch and the rack's.\n"
      "  --effect ID       this one alone; none for none\n"
      "  --presets FOLDER  the presets of a folder, one loaded after another, as well\n"
      "  --all             a line for each parameter before each effect's row\n"
      "  --cut             measure a plain cut with a gap instead, to see that it's found\n"
      "Ends with 1 if anything clicks or drops.\n");
}

// Both signals, at a rate.
template <typename Try>
finding worst_of(int rate, Try attempt) {
  const auto frames = static_cast<size_t>(kEnd * rate);
  finding worst;
  worst.take(attempt(source{"sine", rate, low_sine(frames, rate)}));
  worst.take(attempt(source{"music", rate, music(frames, rate)}));
  return worst;
}

// 48000 Hz, or the highest below it.
int rate_of(const sonx_effect* effect) {
  int rate = effect->rates[0];
  for (int r = 0; r < effect->rate_count; ++r)
    if (effect->rates[r] <= 48000) rate = effect->rates[r];
  return rate;
}

}  // namespace

int main(int count, char** words) {
  std::string only, folder;
  bool all = false;
  for (int k = 1; k < count; ++k) {
    const bool more = k + 1 < count;
    if (std::strcmp(words[k], "--all") == 0) {
      all = true;
    } else if (std::strcmp(words[k], "--cut") == 0) {
      cut = true;
    } else if (std::strcmp(words[k], "--effect") == 0 && more) {
      only = words[++k];
    } else if (std::strcmp(words[k], "--presets") == 0 && more) {
      folder = words[++k];
    } else {
      usage();
      return EXIT_FAILURE;
    }
  }

  std::printf(
      "| effect | step | where | dB below | allowed | where | holds |\n"
      "|---|---:|---|---:|---:|---|---|\n");
  bool failed = false;
  for (int k = 0; k < sonx_effect_count(); ++k) {
    const sonx_effect* const effect = sonx_effect_at(k);
    if (!only.empty() && only != effect->id) continue;
    const finding f = worst_of(rate_of(effect),
                               [&](const source& s) { return effect_trial(effect, s).run(all); });
    row(effect->id, f, level_limit(effect->id), failed);
  }
  if (!folder.empty()) {
    const finding f =
        worst_of(48000, [&](const source& s) { return try_presets(folder.c_str(), s); });
    row("another preset", f, kPresetLevel, failed);
  }
  return failed ? EXIT_FAILURE : EXIT_SUCCESS;
}
