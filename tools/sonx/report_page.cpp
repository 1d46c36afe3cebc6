#include "report_page.h"

#include <nettle/base64.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <map>
#include <utility>

#include "measure.h"
#include "numbered_id.h"
#include "report_assets.h"
#include "spectra.h"

namespace sonx {

namespace {

constexpr plot_shape kFull = {1060, 340}, kHalf = {520, 300}, kNarrow = {380, 290};
constexpr const char *kLoud = "\u22129 dBFS", *kSoft = "\u221240 dBFS";  // the sweeps

// ---- Small parts of HTML.

std::string section(const std::string& id, const std::string& title, const std::string& note,
                    const std::string& content) {
  return "<section id='" + id + "' aria-labelledby='" + id + "-title'>\n<h2 id='" + id +
         "-title'>" + title + "</h2>\n<p class='note'>" + note + "</p>\n" + content +
         "</section>\n";
}

std::string caption(const std::string& title, const std::string& note) {
  return "<figcaption><h3>" + title + "</h3><p>" + note + "</p></figcaption>\n";
}

std::string data_uri(const char* type, const std::string& bytes) {
  std::string text(BASE64_ENCODE_RAW_LENGTH(bytes.size()), '\0');
  base64_encode_raw(text.data(), bytes.size(), reinterpret_cast<const uint8_t*>(bytes.data()));
  return std::string("data:") + type + ";base64," + text;
}

// Tenths where all of it is short.
std::string clock_text(double seconds, double all) {
  if (all < 20) return print("%.1f s", seconds);
  const int whole = static_cast<int>(std::lround(seconds));
  return print("%d:%02d", whole / 60, whole % 60);
}

std::string signed_text(double value) {
  if (!std::isfinite(value)) return "";
  return value < 0 ? "\u2212" + decibels(-value) : "+" + decibels(value);
}

std::string value_of(double value) {
  return value < 0 && std::isfinite(value) ? "\u2212" + decibels(-value)
         : std::isfinite(value)            ? decibels(value)
                                           : "\u2212\u221e";
}

std::string kilohertz(int rate) { return print("%g kHz", rate / 1000.0); }

std::string legend(const std::vector<std::pair<const char*, const char*>>& entries) {
  std::string text = "<ul class='legend' aria-hidden='true'>";
  for (const auto& [style, name] : entries)
    text += std::string("<li><span class='swatch' style='border-color:var(--") + style +
            ")'></span>" + name + "</li>";
  return text + "</ul>\n";
}

// A plot in two shapes, of which the page shows the one that fits.
std::string plot(const plot_panel& panel, const plot_shape& wide, const std::string& words) {
  const auto in_shape = [&](const char* style, const plot_shape& shape) {
    return std::string("<div class='") + style + "'>" + draw_panel(panel, shape, words) +
           "</div>\n";
  };
  return in_shape("wide", wide) + in_shape("narrow", kNarrow) +
         "<p class='reading' aria-hidden='true'></p>\n";
}

std::string plot_card(const std::string& title, const std::string& note, const plot_panel& panel,
                      const plot_shape& shape, const std::string& above = "") {
  return "<figure class='card'>\n" + caption(title, note) + above +
         plot(panel, shape, title + ": " + note) + "</figure>\n";
}

// ---- The head.

std::string title_of(const report& report) {
  const std::string name = report.its->notes().name;
  if (!name.empty()) return name;
  return report.preset.empty() ? "Settings" : std::filesystem::path(report.preset).stem().string();
}

std::string chain(const rack& its) {
  const rack_notes notes = its.notes();
  std::string text =
      "<ol class='chain' aria-label='Way of the sound'><li><span class='end'>in</span></li>";
  for (int k = 0; k < its.slots(); ++k) {
    const bool on = notes.slot_enabled[static_cast<size_t>(k)];
    text += std::string(on ? "<li>" : "<li class='off' title='switched off'>") + "<span>" +
            escape(its.effect(k).name) + "</span></li>";
  }
  return text + "<li><span class='end'>out</span></li></ol>\n";
}

std::string head(const report& report) {
  const std::string file = std::filesystem::path(report.in).filename().string();
  return "<header>\n<p class='kicker'>Sound report</p>\n<h1>" + escape(title_of(report)) +
         "</h1>\n<p class='lede'>" + escape(file) + ", " +
         clock_text(report.recorded, report.recorded) +
         (report.before.channels == 1 ? ", mono, measured as played on both sides," : ", stereo") +
         " at " + kilohertz(report.file_rate) + " · <time>" + report.date + "</time></p>\n" +
         chain(*report.its) + "</header>\n";
}

std::string figure(const char* name, const std::string& value, const char* unit,
                   const std::string& more) {
  return std::string("<div><dt>") + name + "</dt><dd class='value'>" + value +
         "<span class='unit'>" + unit + "</span></dd><dd class='more'>" + more + "</dd></div>\n";
}

std::string change(double before, double after, const char* unit) {
  return "from " + value_of(before) +
         (std::isfinite(after - before) ? ", " + signed_text(after - before) + " " + unit : "");
}

std::string figures(const report& report) {
  const loudness &before = report.before_is, &after = report.after_is;
  const rack& its = *report.its;
  const double ms = 1000.0 / its.rate();
  return "<dl class='figures' aria-label='Figures'>\n" +
         figure("Loudness", value_of(after.integrated), "LUFS",
                change(before.integrated, after.integrated, "LU")) +
         figure("True peak", value_of(after.true_peak), "dBTP",
                change(before.true_peak, after.true_peak, "dB")) +
         figure("Sample peak", value_of(after.peak), "dBFS",
                change(before.peak, after.peak, "dB")) +
         figure("Loudness range", value_of(after.range), "LU",
                change(before.range, after.range, "LU")) +
         figure("Latency", print("%.1f", ms * its.latency()), "ms",
                print("%d frames", its.latency())) +
         (its.tail() < 0
              ? figure("Tail", "endless", "", "silence never follows")
              : figure("Tail", print("%.2f", its.tail() / 1000.0 * ms), "s", "at the most")) +
         figure("Cost", print("%.0f", report.after.nanoseconds), "ns",
                "for a frame of both sides") +
         figure("Speed", print("%.0f", report.after.speed), "×", "real time, on one core") +
         "</dl>\n";
}

// ---- The player.

constexpr size_t kWaveParts = 560;

// With `highest` as high as the picture.
std::string wave(const std::vector<float>& peaks, float highest, const char* style) {
  std::string above, below;
  for (size_t i = 0; i < peaks.size(); ++i) {
    const double height = std::max(49.0 * double{peaks[i] / highest}, 0.4);
    above += print("%c%zu %.1f", i == 0 ? 'M' : 'L', i, 50 - height);
    below = print("L%zu %.1f", i, 50 + height) + below;
  }
  return std::string("<path class='") + style + "' d='" + above + below + "Z'/>";
}

std::string player(const report& report) {
  if (report.listen_seconds <= 0) return "";
  recording before = cut(report.before, report.listen_from, report.listen_seconds),
            after = cut(report.after.sound, report.listen_from, report.listen_seconds);
  const loudness_match turns = match(report.before_is, report.after_is);
  turn(before, turns.first);
  turn(after, turns.second);
  const double turned = turns.first + turns.second;
  const auto peaks_before = outline(before, kWaveParts), peaks_after = outline(after, kWaveParts);
  const float highest =
      std::max({*std::max_element(peaks_before.begin(), peaks_before.end()),
                *std::max_element(peaks_after.begin(), peaks_after.end()), 1e-6F});
  const std::string seconds = print("%.3f", before.seconds());
  std::string note = after.frames() == report.after.sound.frames()
                         ? "The whole recording"
                         : "From " + clock_text(report.listen_from, report.recorded) + " to " +
                               clock_text(report.listen_from + before.seconds(), report.recorded);
  note += std::abs(turned) < 0.05
              ? ", both as loud as they are."
              : std::string(", equally loud: ") + (turns.first < 0 ? "before" : "after") +
                    " is turned down by " + decibels(-turned) + " dB.";
  const auto audio = [](const char* name, const recording& sound) {
    return std::string("<label>") + name + "<audio controls loop preload='metadata' src='" +
           data_uri("audio/flac", to_flac(sound)) + "'></audio></label>\n";
  };
  return section(
      "listen", "Listen", note,
      "<div class='card'>\n<div class='plain'>\n" + audio("Before", before) +
          audio("After", after) +
          "</div>\n<div class='player'>\n<div class='bar'>"
          "<button type='button' aria-label='Play'><svg viewBox='0 0 20 20' aria-hidden='true'>"
          "<path d='M5 2.5v15l13-7.5z'/><path style='display:none' d='M4 2.5h4v15H4zM12 "
          "2.5h4v15h-4z'/>"
          "</svg></button>\n<fieldset class='which'><legend>What is heard</legend>"
          "<input type='radio' name='which' id='before'><label for='before'>Before</label>"
          "<input type='radio' name='which' id='after' checked><label for='after'>After</label>"
          "</fieldset>\n<span class='time'></span></div>\n<div class='wave'>"
          "<svg viewBox='0 0 559 100' preserveAspectRatio='none' aria-hidden='true'>" +
          wave(peaks_before, highest, "before") + wave(peaks_after, highest, "after") +
          "</svg><span class='head'></span><input type='range' aria-label='Position, seconds' "
          "min='0' max='" +
          seconds + "' step='0.1' value='0'></div>\n</div>\n</div>\n");
}

// ---- Parameters in force.

std::string cell(const rack& its, int slot, int parameter) {
  const sonx_parameter& which = its.effect(slot).parameters[parameter];
  const double value = its.get(slot, parameter);
  return std::string("<td") + (value == which.initial ? " class='usual'" : "") + ">" +
         escape(value_text(which, value)) + "</td>";
}

// What is numbered alike, as band1_gain and band1_q, stands in one row each.
struct numbered_rows {
  std::vector<std::string> columns;
  std::map<int, std::map<std::string, int>> rows;  // parameters by number and column
};

std::string numbered_table(const rack& its, int slot, const std::string& name,
                           const numbered_rows& all) {
  std::string text;
  for (const auto& [number, row] : all.rows) {
    const bool changed = std::any_of(row.begin(), row.end(), [&](const auto& one) {
      return its.get(slot, one.second) != its.effect(slot).parameters[one.second].initial;
    });
    if (!changed) continue;
    text += "<tr><th scope='row'>" + escape(name) + " " + std::to_string(number) + "</th>";
    for (const std::string& column : all.columns)
      text += row.count(column) > 0 ? cell(its, slot, row.at(column)) : "<td></td>";
    text += "</tr>\n";
  }
  if (text.empty()) return "";
  std::string titles = "<th scope='col'></th>";
  for (const std::string& column : all.columns)
    titles += "<th scope='col'>" + escape(column.substr(1)) + "</th>";
  return "<div class='scroll'><table><thead><tr>" + titles + "</tr></thead><tbody>\n" + text +
         "</tbody></table></div>\n";
}

std::string slot_card(const rack& its, int slot, bool enabled) {
  const sonx_effect& effect = its.effect(slot);
  std::map<std::string, numbered_rows> groups;
  std::string plain, usual;
  int usual_count = 0;
  for (int k = 0; k < effect.parameter_count; ++k) {
    const sonx_parameter& parameter = effect.parameters[k];
    const double value = its.get(slot, k);
    const numbered_id id(parameter.id);
    const bool in_rows = id.number != 0 && id.after.starts_with('_');  // band1_gain, not band1k
    if (in_rows) {
      numbered_rows& rows = groups[id.before];
      if (rows.rows.empty() || rows.rows.begin()->first == id.number)
        rows.columns.push_back(id.after);
      rows.rows[id.number][id.after] = k;
    }
    if (value == parameter.initial) {
      ++usual_count;
      usual += std::string("<li>") + escape(parameter.id) + " " +
               escape(value_text(parameter, value)) + "</li>";
    } else if (!in_rows) {
      plain += std::string("<tr><th scope='row'>") + escape(parameter.name) + "</th>" +
               cell(its, slot, k) + "<td class='usual'>" +
               escape(value_text(parameter, parameter.initial)) + "</td><td class='about'>" +
               escape(parameter.description) + "</td></tr>\n";
    }
  }
  std::string text = "<article class='card slot'><h3>" + escape(effect.name) +
                     (enabled ? "" : "<span class='tag'>switched off</span>") + "</h3><p>" +
                     escape(effect.description) + "</p>\n";
  if (!plain.empty())
    text +=
        "<div class='scroll'><table><thead><tr><th scope='col'></th><th scope='col'>in force</th>"
        "<th scope='col'>default</th><th scope='col' class='about'></th></tr></thead><tbody>\n" +
        plain + "</tbody></table></div>\n";
  for (const auto& [name, rows] : groups) text += numbered_table(its, slot, name, rows);
  if (usual_count > 0)
    text += "<details><summary>" + std::to_string(usual_count) +
            (usual_count == 1 ? " parameter" : " parameters") +
            " at the default</summary><ul class='usuals'>" + usual + "</ul></details>\n";
  return text + "</article>\n";
}

std::string settings(const report& report) {
  const rack& its = *report.its;
  const rack_notes notes = its.notes();
  std::string text;
  for (int k = 0; k < its.slots(); ++k)
    text += slot_card(its, k, notes.slot_enabled[static_cast<size_t>(k)]);
  text += "<details><summary>The whole preset as text</summary><pre tabindex='0'>" +
          escape(its.save()) + "</pre></details>\n";
  return section("settings", "Settings",
                 notes.enabled ? "What is in force, in the order of the sound's way."
                               : "The whole rack is switched off.",
                 text);
}

// ---- Responses.

std::string aspect_card(const std::vector<bench>& benches, const char* id, int smoothing,
                        const plot_shape& shape) {
  const aspect& of = find_aspect(id);
  plot_panel panel = make_panel(of, benches, smoothing);
  std::string note = of.explanation;
  std::vector<std::pair<const char*, const char*>> names;
  if (benches.size() > 1) names = {{"c0", kLoud}, {"c1", kSoft}};
  bool two = false;
  for (plot_line& line : panel.lines) {
    if (benches.size() > 1) line.name = line.colour == 0 ? kLoud : kSoft;
    two = two || line.dashed;
  }
  if (two) note += " Left solid, right dashed.";
  if (of.over == abscissa::decay_time) {
    const double seconds = time_above(benches.front().decay(), -60);
    note += seconds < 0 ? std::string(" It doesn't fall by 60 dB.")
                        : print(" 60 dB down after %.2f s.", seconds);
  }
  return plot_card(of.name, note, panel, shape, names.empty() ? "" : legend(names));
}

std::string responses(const report& report) {
  const int smoothing = usual_smoothing(report.responses);
  const auto card = [&](const char* id, const plot_shape& shape) {
    return aspect_card(report.responses, id, smoothing, shape);
  };
  const std::string sweeps = report.responses.size() > 1
                                 ? "a loud and a soft sine sweep, since it depends on the level,"
                                 : std::string("a sine sweep of ") + kLoud;
  return section("response", "Response",
                 "Measured by running " + sweeps + " through the rack at " +
                     kilohertz(report.its->rate()) +
                     (smoothing > 0 ? "; the level is the mean over 1/12 octave." : "."),
                 "<div class='grid'>\n" + card("level", kFull) + "<div class='grid two'>\n" +
                     card("phase", kHalf) + card("delay", kHalf) + "</div>\n</div>\n");
}

std::string dynamics(const report& report) {
  const bool linear = report.dynamics.front().linear();
  std::string cards;
  for (const char* id : {"curve", "distortion", "step", "decay"})
    if (!linear || find_aspect(id).over != abscissa::input_level)
      cards += aspect_card(report.dynamics, id, 0, kHalf);
  return section("time", "Levels and time",
                 linear ? "From \u221270 to \u221210 dBFS the level of a 1 kHz tone follows its "
                          "input within 0.1 dB, and its harmonics stay below \u221260 dB."
                        : "A 1 kHz tone at many levels, each after four seconds of it; a step of "
                          "the tone; and the end of a noise.",
                 "<div class='grid two'>\n" + cards + "</div>\n");
}

// ---- The recording.

plot_line line_of(std::vector<double> x, std::vector<double> y, size_t colour, const char* name) {
  return {std::move(x), std::move(y), colour, false, name};
}

std::string over_time(const report& report) {
  constexpr double kFewest = 0.025, kPoints = 300, kFaintest = -70;
  const double window = std::max(kFewest, report.before.seconds() / kPoints);
  std::vector<double> before = levels_over_time(report.before, window),
                      after = levels_over_time(report.after.sound, window), seconds, gain;
  for (size_t i = 0; i < after.size(); ++i) {
    seconds.push_back((static_cast<double>(i) + 0.5) * window);
    gain.push_back(before[i] > kFaintest ? after[i] - before[i] : NAN);
  }
  const std::string windows = print("Power over %.0f ms", 1000 * window);
  plot_panel levels{
      .x_name = "time, s",
      .y_name = "level, dBFS",
      .zero = false,
      .deepest = 60,
      .lines = {line_of(seconds, before, 1, "before"), line_of(seconds, after, 0, "after")}};
  plot_panel gains{.x_name = "time, s",
                   .y_name = "gain, dB",
                   .deepest = 60,
                   .lines = {line_of(seconds, gain, 2, "")}};
  return plot_card("Level", windows + ", both channels.", levels, kFull,
                   legend({{"c1", "before"}, {"c0", "after"}})) +
         plot_card("Gain", "How much louder each moment is after than before.", gains, kFull);
}

std::string spectrum_card(const report& report) {
  const std::vector<double> places = frequencies_around_1_khz(24, report.before.rate);
  plot_panel panel{.x_name = "frequency, Hz",
                   .y_name = "level, dBFS",
                   .frequencies = true,
                   .zero = false,
                   .deepest = 70,
                   .lines = {line_of(places, band_levels(report.before, places), 1, "before"),
                             line_of(places, band_levels(report.after.sound, places), 0, "after")}};
  return plot_card("Spectrum", "The mean of the whole recording, in sixths of an octave.", panel,
                   kFull, legend({{"c1", "before"}, {"c0", "after"}}));
}

// The picture with names of its axes around it, which stand by parts of its size.
std::string spectrogram_card(const char* title, const char* note, const spectrogram& picture,
                             float loudest, float range, double seconds) {
  std::string text = "<figure class='card'>\n" + caption(title, note) +
                     "<div class='spectrogram'><img alt='Spectrogram, " + title + "' src='" +
                     data_uri("image/png", to_png(picture, loudest, range)) + "'>";
  for (const double hertz : {100.0, 1000.0, 10000.0})
    if (hertz < picture.highest)
      text += print(
          "<span class='hz' style='top:%.1f%%'>%gk</span>",
          100 * (1 - std::log(hertz / picture.lowest) / std::log(picture.highest / picture.lowest)),
          hertz / 1000);
  for (int part = 0; part <= 4; ++part)
    text += print("<span class='s%s' style='left:%d%%'>",
                  part == 0   ? " first"
                  : part == 4 ? " last"
                              : "",
                  25 * part) +
            clock_text(seconds * part / 4, seconds) + "</span>";
  return text + "</div></figure>\n";
}

std::string spectrograms(const report& report) {
  constexpr size_t kColumns = 480, kRows = 150;
  constexpr float kRange = 80;
  const spectrogram before = measure_spectrogram(report.before, kColumns, kRows),
                    after = measure_spectrogram(report.after.sound, kColumns, kRows);
  const float loudest = std::max(*std::max_element(before.decibels.begin(), before.decibels.end()),
                                 *std::max_element(after.decibels.begin(), after.decibels.end()));
  return "<div class='grid two'>\n" +
         spectrogram_card("Before", "Frequency in kHz, over time.", before, loudest, kRange,
                          report.before.seconds()) +
         spectrogram_card("After", "In the same colours.", after, loudest, kRange,
                          report.after.sound.seconds()) +
         "</div>\n<p class='scale'>" + print("\u2212%.0f dB", kRange) +
         "<i style='background:" + colour_scale() + "'></i>the loudest</p>\n";
}

std::string recording_section(const report& report) {
  return section("recording", "The recording",
                 "What the settings make of it, the latency taken out.",
                 "<div class='grid'>\n" + over_time(report) + spectrum_card(report) +
                     spectrograms(report) + "</div>\n");
}

// ---- How to have it again.

std::string facts(const report& report) {
  const auto fact = [](const char* name, const std::string& value) {
    return std::string("<dt>") + name + "</dt><dd>" + value + "</dd>\n";
  };
  const std::string rates =
      report.file_rate == report.its->rate()
          ? kilohertz(report.its->rate())
          : kilohertz(report.file_rate) + ", converted to " + kilohertz(report.its->rate());
  return section(
      "again", "The same again", "The rack's output has the same bits on every machine.",
      "<div class='card'><dl class='facts'>\n" +
          fact("Command", "<code>" + escape("sonx play IN OUT" + report.arguments) + "</code>") +
          fact("SHA-256",
               "<code>" + hash(report.after.sound) + "</code>, of its samples as 24-bit words" +
                   (report.file_rate == report.its->rate() ? "" : " at the rack's rate")) +
          fact("Frames",
               std::to_string(report.after.sound.frames()) +
                   (report.tail > 0 ? print(", of which %.1f s after the end", report.tail)
                                    : std::string())) +
          fact("Rate", rates) + fact("sonx", SONX_VERSION) + fact("rack", sonx_rack_version()) +
          "</dl></div>\n");
}

}  // namespace

std::string make_page(const report& report) {
  return "<!doctype html>\n<html lang='en'>\n<head>\n<meta charset='utf-8'>\n<meta name='viewport' "
         "content='width=device-width, initial-scale=1'>\n<title>" +
         escape(title_of(report)) + ": sound report</title>\n<style>\n" + kReportStyle +
         plot_rules() + "</style>\n</head>\n<body>\n" + head(report) + "<main>\n" +
         figures(report) + player(report) + responses(report) + dynamics(report) +
         recording_section(report) + settings(report) + facts(report) +
         "</main>\n<footer>Made by sonx. Everything is in this file.</footer>\n<script>\n" +
         kReportScript + "</script>\n</body>\n</html>\n";
}

}  // namespace sonx
