#!/usr/bin/env python3
"""The manual's pages on effects: make_pages.py SONX FOLDER. Names, units, ranges and explanations come
from the catalogue, signal paths from the sources' sketches; pictures are measured by the tool SONX."""

import json
import pathlib
import re
import shlex
import shutil
import subprocess
import sys

from comments import documentation, escaped, runs, whole_sentences, without_slashes

TOP = pathlib.Path(__file__).resolve().parent.parent.parent
SKETCH = re.compile("[─│►◄▲▼┌└]")

# For each effect its module, files whose sketches are shown, and what is measured: a caption and the
# tool's options, or a picture of docs/pictures. A capital E stands for the effect's id.
EFFECTS = {
    "headphones": ("hp/sonx_hp_effect", ["hp/teka_hp_effect.h"], [
        ("The preset, the virtual bass, and the correction for ear canal phones",
         "--set E.effect=preset --also '--set E.effect=virtual-bass' --also '--set E.adapter=in-ear-deep'")]),
    "karaoke": ("ktv/sonx_ktv", ["ktv/teka_audio_tx_ktv.h"], [
        ("A voice: with some bands, and through the gramophone",
         "--set E.howling=off --set E.echo=off --set E.equalizer=on --set E.band125=-6 --set E.band4k=4"
         " --also '--set E.howling=off --set E.echo=off --set E.gramophone=on'")]),
    "graphic-equalizer": ("effects/equalizer", ["effects/equalizer.cpp"], [
        ("One band up, one band down, and a loudness curve",
         "--set E.band1k=12 --also '--set E.band250=-9' --also"
         " '--set E.band31=9 --set E.band62=6 --set E.band125=3 --set E.band8k=3 --set E.band16k=6'")]),
    "parametric-equalizer": ("effects/parameter_equalizer", ["effects/parameter_equalizer.cpp"], [
        ("A wide and a narrow peak, a shelf, a high-pass: level and group delay",
         "--set E.band1_frequency=1000 --set E.band1_gain=6 --set E.band1_q=0.7 --also"
         " '--set E.band1_frequency=1000 --set E.band1_gain=6 --set E.band1_q=6' --also"
         " '--set E.band1_type=low-shelf --set E.band1_frequency=150 --set E.band1_gain=-6' --also"
         " '--set E.band1_type=high-pass --set E.band1_frequency=80 --set E.band1_q=0.7'"
         " --show level,delay")]),
    "reverb": ("effects/reverb", ["effects/reverb.cpp"], [
        ("How three rooms die away",
         "--set E.room=20 --also '--set E.room=50' --also '--set E.room=80' --show decay")]),
    "stereo-widening": ("effects/stereo_widening_system", ["effects/stereo_widening_system.h"], [
        ("Both ears, when only the left channel plays", "--set E.side=50 --input left")]),
    "virtual-bass": ("effects/virtual_bass_system", ["effects/virtual_bass_system.cpp"], [
        ("What is left of a sweep, without its harmonics", "--set E.harmonics=100"),
        ("The harmonics of a tone of 60 Hz", "--set E.harmonics=100 --show distortion --tone 60")]),
    "smart-volume": ("effects/smart_volume_control", ["effects/smart_volume_control.cpp"], [
        ("Quiet and loud tones come out alike, and how fast", "--set E.level=0 --show curve,step")]),
    "compressor": ("effects/compressor", ["effects/dynamic_range_control.cpp"], [
        ("As it is, and with a threshold of -20 dBFS and 6 dB of make-up",
         "--set E.makeup=0 --also '--set E.threshold=-20 --set E.makeup=6' --show curve,step")]),
    "speaker-boost": ("effects/speaker_boost_system", ["effects/speaker_boost_system.cpp"], [
        ("Without its harmonics, and with the mid band 6 dB up",
         "--set E.harmonics_left=100 --also '--set E.mid_left_makeup=6 --set E.mid_right_makeup=6'")]),
    "balance": ("hp/channel_balance", ["hp/channel_balance.cpp"], [
        ("Both sides, when only the left channel plays, at -50 %", "--set E.balance=-50 --input left")]),
    "volume": ("hp/smooth_volume", ["hp/smooth_volume.cpp"], [
        ("12 dB softer and 6 dB louder; nothing goes beyond full scale",
         "--set E.gain=-12 --also '--set E.gain=6' --show curve")]),
    "gramophone": ("ktv/gramophone", ["ktv/gramophone.cpp"], [
        ("What the horn lets through, and how it distorts", "--set E.enabled=on --show level,distortion")]),
    "echo": ("ktv/iirecho", ["ktv/iirecho.cpp"], [
        ("Repeats at 200 ms that fade slowly and fast",
         "--set E.time=200 --set E.feedback=90 --also '--set E.time=200 --set E.feedback=40' --show decay")]),
    "howling-canceller": ("ktv/howling_cancel", ["ktv/howling_cancel.cpp"], [
        ("A loop that howls: without it, with its notches, with its shift besides", "howling.svg")]),
    "noise-suppressor": ("ns/noise_suppressor", ["ns/noise_suppressor.cpp"], [
        ("A voice beside a fan, before and after", "denoise.svg")]),
}


def comments(file):
    """Blocks of full-line comments of a source file, without their slashes."""
    text = (TOP / "src" / file).read_text()
    blocks = re.findall(r"(?:^//.*\n)+", text, re.MULTILINE)
    return [[without_slashes(line) for line in block.splitlines()] for block in blocks]


def paragraphs(block):
    return [text.splitlines() for text in re.split(r"\n(?:[ ]*\n)+", "\n".join(block))]


def sketch(file):
    """The drawings in a file's comments; of a header the first one."""
    drawings = [text for block in comments(file) for text in paragraphs(block)
                if SKETCH.search("".join(text))]
    if not drawings:
        sys.exit(f"make_pages: no sketch in {file}")
    if file.endswith(".h"):
        drawings = drawings[:1]
    return "\n\n".join(documentation(["  " + line for line in text]) for text in drawings)


def number(value):
    return f"{value:.4f}".rstrip("0").rstrip(".").replace("-", "−")


def with_unit(text, unit):
    """In one line."""
    return f"{text} {unit}".strip().replace(" ", "\u00a0")


def value_text(parameter, value):
    if parameter["kind"] == "switch":
        return "on" if value else "off"
    if parameter["kind"] == "choice":
        return escaped(parameter["choices"][int(value)])
    return with_unit(number(value), parameter["unit"])


def range_text(parameter):
    if parameter["kind"] == "switch":
        return "on, off"
    if parameter["kind"] == "choice":
        return escaped(", ".join(parameter["choices"]))
    return with_unit(f"{number(parameter['minimum'])} to {number(parameter['maximum'])}", parameter["unit"])


def families(parameters):
    """Parameters that are numbered alike, band1_gain to band10_gain, together."""
    rows = {}
    for parameter in parameters:
        key = re.sub(r"\d+_", "#_", parameter["id"]) if re.search(r"\d_", parameter["id"]) else parameter["id"]
        rows.setdefault(key, []).append(parameter)
    return rows.values()


def parameter_table(effect_id, parameters):
    if not parameters:
        return "Nothing to set: it's on, or it's off."
    lines = ["| Parameter | Range | At first | What it does |", "|---|---|---|---|"]
    for family in families(parameters):
        first, last = family[0], family[-1]
        ids = f"`{first['id']}`" + (f" to `{last['id']}`" if last is not first else "")
        start = value_text(first, first["initial"])
        if value_text(last, last["initial"]) != start:
            start += f" to {value_text(last, last['initial'])}"
        about = escaped(first["description"]).replace("|", "&#124;")
        place = f"@anchor parameter_{effect_id.replace('-', '_')}_{first['id']}"
        lines.append(f"| {place} {ids} | {range_text(first)} | {start} | {about} |")
    return "\n".join(lines)


def picture(sonx, folder, name, caption, options):
    """Markdown for a picture, measured or taken over."""
    command = ""
    if options.endswith(".svg"):
        name = options
        shutil.copy(TOP / "docs/pictures" / name, folder / name)
    else:
        subprocess.run([sonx, "response", *shlex.split(options), "--svg", folder / name],
                       check=True, stdout=subprocess.DEVNULL)
        command = f"\n\n```sh\nsonx response {options} --svg picture.svg\n```"
    return (f'@htmlonly\n<figure><img src="{name}" alt="{caption}"/>'
            f"<figcaption>{caption}</figcaption></figure>\n@endhtmlonly{command}")


def delay(sonx, effect):
    """The latency, as the tool says it of a rack with this effect alone."""
    shown = subprocess.check_output([sonx, "preset", "show", "--set", effect["id"] + ".enabled=on"], text=True)
    return f"In a rack, {escaped(shown.splitlines()[0].split(', a tail')[0])}."


def page(sonx, folder, effect):
    module, sketches, pictures = EFFECTS[effect["id"]]
    header = module + ".h"
    opening = next(its for indented, its in runs(comments(header)[0]) if not indented)
    sides = {1: "mono", 2: "stereo"}
    language = "C" if 'extern "C"' in (TOP / "src" / header).read_text() else "C++"
    rates = ", ".join(str(rate) for rate in effect["rates"])
    parts = [
        f"# {escaped(effect['name'])} {{#effect_{effect['id'].replace('-', '_')}}}",
        f"**{escaped(effect['description'])}**",
        documentation(whole_sentences(opening)),
        f"`{effect['id']}` in presets, {sides[effect['inputs']]} to {sides[effect['outputs']]}, "
        f"at {rates} Hz. {delay(sonx, effect)}",
        f"In {language}: @ref {pathlib.Path(header).name}, with latency, memory and limits.",
        "## Parameters",
        "@htmlonly<div class=\"parameters\">@endhtmlonly",
        parameter_table(effect["id"], effect["parameters"]),
        "@htmlonly</div>@endhtmlonly",
        "## Signal path",
        *[sketch(file) for file in sketches],
        "## Measured",
    ]
    for k, (caption, options) in enumerate(pictures):
        name = f"{effect['id']}-{k + 1}.svg"
        parts.append(picture(sonx, folder, name, caption, options.replace("E.", effect["id"] + ".")))
    return "\n\n".join(parts) + "\n"


def overview(effects):
    lines = ["# The effects {#effects}", "", "| Effect | What it does |", "|---|---|"]
    for effect in effects:
        name = f"effect_{effect['id'].replace('-', '_')}"
        lines.append(f"| @subpage {name} | {escaped(effect['description'])} |")
    return "\n".join(lines) + "\n"


def main():
    sonx, folder = pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2])
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    catalogue = json.loads(subprocess.check_output([sonx, "effects", "--json"], text=True))
    effects = catalogue["effects"] if isinstance(catalogue, dict) else catalogue
    known = [effect["id"] for effect in effects]
    if sorted(known) != sorted(EFFECTS):
        sys.exit(f"make_pages: effects without a page: {set(known) ^ set(EFFECTS)}")
    for effect in effects:
        (folder / f"{effect['id']}.md").write_text(page(sonx, folder, effect))
    (folder / "effects.md").write_text(overview(effects))


if __name__ == "__main__":
    main()
