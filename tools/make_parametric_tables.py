#!/usr/bin/env python3
"""The headphone effect's parametric equalizer tables, from headphone_tuning.py.

Sections are those of biquad_design.py, as Q28 words (scale 2^28, truncated toward zero). Makes the
preset's and the adapter corrections' tables and docs/tuning.md, and stops where the tuning breaks
a rule: rows that are fixed, the number of rows per adapter, the largest boost.

See generated_files.py for the arguments.
"""

import math

import biquad_design as bq
import generated_files
import headphone_tuning as tuning

SHAPES = {tuning.PEAK: bq.peaking, tuning.BELOW: bq.low_shelf, tuning.ABOVE: bq.high_shelf}
RATES = (44100, 48000)
BANDS = 10
UNITY_ROW = (0,) + bq.UNITY

PRESET_MAKE_UP = -20 * math.log10(6368 / 8192)  # the gain behind the preset
MEASURED_WITHIN = 0.1  # dB; low sections round, which the computed levels leave out
ADAPTER_BOOST = 1.0  # dB; what rises above full scale is the compressor's
PRESET_FLAGS = (3, 0, 3, 3, 3, 3, 3, 0, 0, 0)
ADAPTER_FLAGS = ((3, 3, 3, 3, 1), (3,) * 6, (3,) * 6, (3,) * 4, (3,) * 4, (3,) * 5, (3,) * 5)
ADAPTER_GAIN = 8192  # Q13

FIXED_PRESET_ROWS = {
    44100: (3, 268066611, -533162405, 265217574, 533162405, -264848730),
    48000: (3, 268096392, -533470927, 265477386, 533470927, -265138322),
}
FIXED_ADAPTER_1_ROW = (3, 268985936, -527539437, 258862062, 527539437, -259412543)  # 44100 Hz


def table(entry, rate):
    """Ten rows of flag and words."""
    rows = []
    for row in entry["rows"]:
        if row is None:
            rows.append(UNITY_ROW)
            continue
        flag, shape, frequency, decibels, q = row
        section = bq.design(SHAPES[shape], rate, frequency, decibels, q)
        rows.append((flag,) + bq.quantise(section, bq.Q28))
    return rows + [UNITY_ROW] * (BANDS - len(rows))


def running(entry, rate):
    """The rows that run: as many of the first ones as there are flags."""
    rows = table(entry, rate)
    return [row[1:] for row in rows[:sum(1 for row in rows if row[0] >= 1)]]


def level(sections, frequency, rate):
    return sum(bq.decibels(bq.response(words, frequency, rate)) for words in sections)


def levels(entry, rate):
    return [level(running(entry, rate), frequency, rate) for frequency in tuning.FREQUENCIES]


def grid(rate):
    return [20 * (0.4999 * rate / 20) ** (step / 400) for step in range(401)]


def largest_boost(sections, rate):
    return max(level(sections, frequency, rate) for frequency in grid(rate))


def impulse_sum(sections, length=20000):
    """The sum of the magnitudes of the impulse response: no input grows by more than this."""
    signal = [1.0] + [0.0] * (length - 1)
    for words in sections:
        b0, b1, b2, c1, c2 = (word / bq.Q28 for word in words)
        x1 = x2 = y1 = y2 = 0.0
        for n, x in enumerate(signal):
            y = b0 * x + b1 * x1 + b2 * x2 + c1 * y1 + c2 * y2
            x1, x2, y1, y2 = x, x1, y, y1
            signal[n] = y
    return sum(abs(value) for value in signal)


def offset(sections):
    """The largest offset at 0 Hz that truncation leaves, in sample steps."""
    total = 0.0
    for b0, b1, b2, c1, c2 in sections:
        poles = (bq.Q28 - c1 - c2) / bq.Q28
        total = total * (b0 + b1 + b2) / bq.Q28 / poles + 1 / poles
    return total


def check():
    for rate, fixed in FIXED_PRESET_ROWS.items():
        rows = table(tuning.PRESET, rate)
        assert rows[0] == fixed, rows[0]
        assert tuple(row[0] for row in rows) == PRESET_FLAGS
        assert rows[1] == rows[7] == rows[8] == rows[9] == UNITY_ROW
        assert largest_boost(running(tuning.PRESET, rate), rate) <= PRESET_MAKE_UP
        computed = [value - PRESET_MAKE_UP for value in levels(tuning.PRESET, rate)]
        measured = tuning.PRESET["measured"][rate]
        assert all(abs(a - b) < MEASURED_WITHIN for a, b in zip(computed, measured, strict=True)), \
            f"the preset at {rate} Hz is to be measured anew; computed: {computed}"
    assert table(tuning.ADAPTERS[0], 44100)[0] == FIXED_ADAPTER_1_ROW
    for adapter, flags in zip(tuning.ADAPTERS, ADAPTER_FLAGS, strict=True):
        assert tuple(row[0] for row in adapter["rows"]) == flags, adapter["title"]
        for rate in RATES:
            assert largest_boost(running(adapter, rate), rate) <= ADAPTER_BOOST, adapter["title"]


def described(row):
    _, shape, frequency, decibels, q = row
    return f"{shape} {frequency} Hz, {decibels:+g} dB" + (f", Q {q:g}" if q else "")


def row_lines(entry, rate):
    lines = []
    for k, words in enumerate(table(entry, rate)):
        row = entry["rows"][k] if k < len(entry["rows"]) else None
        comment = f"  // {described(row)}" if row else ""
        lines.append("        " + "".join(f"{word}, " for word in words).rstrip() + comment)
    return lines


HEADER = ["// Made by tools/make_parametric_tables.py from tools/headphone_tuning.py; do not edit."]


def preset_table():
    lines = HEADER + ["// Rows of flag, b0, b1, b2, -a1, -a2 (Q28)."]
    for rate, name in zip(RATES, ("44100 Hz", "48000 Hz, used for all other rates")):
        lines.append(f"{{  // {name}")
        for line in row_lines(tuning.PRESET, rate):
            words, _, comment = line.strip().partition("  // ")
            lines.append(f"    {{{words.rstrip(',')}}}," + (f"  // {comment}" if comment else ""))
        lines.append("},")
    return "\n".join(lines) + "\n"


def adapter_table():
    lines = HEADER + ["// A word not used, the gains left and right (Q13), then for each channel ten"
                      " rows of flag,", "// b0, b1, b2, -a1, -a2 (Q28)."]
    for rate in RATES:
        lines.append(f"{{  // {rate} Hz")
        for number, adapter in enumerate(tuning.ADAPTERS, 1):
            lines.append(f"    {{  // {number}: {adapter['title']}")
            lines.append(f"        0, {ADAPTER_GAIN}, {ADAPTER_GAIN},")
            for side in ("left", "right"):
                lines.append(f"        // {side}")
                lines += row_lines(adapter, rate)
            lines.append("    },")
        lines.append("},")
    return "\n".join(lines) + "\n"


def document():
    heads = "".join(f" {name(f)} |" for f in tuning.FREQUENCIES)
    lines = ["<!-- Made by tools/make_parametric_tables.py from tools/headphone_tuning.py. -->",
             "# The headphone tuning", "",
             "What the fixed parametric equalizer tables of the headphone effect are meant to do, and"
             " what they do. The tuning is data in `tools/headphone_tuning.py`; the generator"
             " `tools/make_parametric_tables.py` makes the coefficients and this page from it.", "",
             "## Rules", "",
             f"- The preset raises nothing by more than its make-up gain, {PRESET_MAKE_UP:.2f} dB; a"
             f" correction raises nothing by more than {ADAPTER_BOOST:g} dB, which the compressor at"
             " the end of the chain takes. More bass is less of everything above it.",
             "- No section below 100 Hz: a section rounds to whole sample steps, and what this leaves"
             " at 0 Hz grows with the inverse square of its frequency.",
             "- Inside the cascade words have 48.16 dB of room above 24-bit full scale. The tables"
             " below give the worst case of any signal at any point of the cascade (the largest sum"
             " of the magnitudes of an impulse response, every partial cascade and the input gain"
             " included), so none can wrap.",
             "- Corrections are for a type of headphone, not for a model, and stay gentle: they are"
             " meant to take back about half of the type's usual faults. They follow published"
             " descriptions of these faults and of what listeners prefer (below); no particular"
             " device has been measured for them.",
             "- At 96000 and 192000 Hz there are no corrections: all words of their tables are zero,"
             " which silences the output. The preset's second set is made for 48000 Hz and used for"
             " every rate but 44100 Hz; at 96000 Hz its frequencies lie an octave higher.", "",
             "## Preset (effect type 3): " + tuning.PRESET["title"], ""]
    lines += body(tuning.PRESET, heads) + [""] + make_up_lines() + [tuning.PRESET["note"].replace("\n", " ")]
    for number, adapter in enumerate(tuning.ADAPTERS, 1):
        lines += ["", f"## Adapter {number}: {adapter['title']}", ""] + body(adapter, heads)
    return "\n".join(lines + ["", "## Sources", "", tuning.SOURCES]) + "\n"


def name(frequency):
    return f"{frequency / 1000:g}k" if frequency >= 1000 else f"{frequency}"


def level_row(head, values):
    return f"| {head} |" + "".join(f" {value:+.1f} |" for value in values)


def make_up_lines():
    """What stands between the cascade and the ear."""
    frequencies = ",".join(str(f) for f in tuning.FREQUENCIES)
    return ["The upper rows of the table are the cascade alone. Behind it the chain plays the preset"
            f" {PRESET_MAKE_UP:.2f} dB lower (6368 of 8192), so that what the preset raises stays"
            " within full scale: the lower rows are the effect as it is heard, nowhere louder than"
            " its input. They are measured on the library, at the other rate with `--rate 44100`:",
            "", "```sh", f"sonx response hp --effect preset --hertz {frequencies}", "```", "",
            "The make-up gain stays in force when the preset is switched off: with no effect and no"
            f" adapter the chain goes on {PRESET_MAKE_UP:.2f} dB lower, until a record with an effect"
            " or an adapter sets its own. The same holds for the make-up gains of the other effects"
            " (stereo widening -4.0 dB, virtual bass -5.0 dB, reverb -2.0 dB; the graphic equalizer"
            " and an adapter alone set 0 dB, so that a flat graphic equalizer is the way to full"
            " level). `sonx hp` shows the gain in force beside each stretch of"
            " its report.", ""]


def body(entry, heads):
    rows = [f"- row {k}: {described(row)}" for k, row in enumerate(entry["rows"]) if row]
    dont_run = entry.get("dont_run", 0)
    if dont_run:
        rows[-dont_run:] = [row + " (loaded, does not run)" for row in rows[-dont_run:]]
    lines = [entry["intent"].replace("\n", " "), ""] + rows
    lines += ["", "| Hz |" + heads, "|---|" + "---|" * len(tuning.FREQUENCIES)]
    for rate in RATES:
        lines.append(level_row(f"dB at {rate} Hz", levels(entry, rate)))
    for rate, values in entry.get("measured", {}).items():
        lines.append(level_row(f"the effect, measured at {rate} Hz", values))
    worst = max(impulse_sum(running(entry, rate)[:k])
                for rate in RATES for k in range(1, len(running(entry, rate)) + 1))
    assert worst < 2 ** 8, "24-bit samples in 32-bit words"
    boost = max(0, *(largest_boost(running(entry, rate), rate) for rate in RATES))
    steps = max(offset(running(entry, rate)) for rate in RATES)
    return lines + ["", f"Largest boost {boost:+.2f} dB. Worst case inside: {bq.decibels(worst):+.1f} dB."
                    f" Offset at 0 Hz: below {bq.decibels(steps / 2 ** 23):.0f} dB of full scale."]


def report():
    check()
    return document()


def make_files():
    check()
    return {"src/hp/parametric_presets.inc": preset_table(),
            "src/hp/adapter_corrections.inc": adapter_table(),
            "docs/tuning.md": document()}


if __name__ == "__main__":
    generated_files.run(make_files, report)
