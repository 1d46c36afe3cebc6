#!/usr/bin/env python3
"""Puts the page together: make_assets.py WASM FOLDER. Copies the page, the module and the recordings
into the folder, and writes assets.json: what recordings there are, and the presets of this project."""

import json
import pathlib
import shutil
import sys

TOP = pathlib.Path(__file__).resolve().parent.parent
FIRST = "late-evening.toml"  # what the page opens with
RECORDINGS = [
    ("Music", "A song, in stereo.", "/usr/share/games/fretsonfire/data/songs/sectoid/Feelings/song.ogg"),
    ("Voice", "Two spoken words.", "/usr/share/sounds/alsa/Front_Center.wav"),
]


def copy_recordings(folder):
    """The recordings that this machine has."""
    folder.mkdir()
    found = []
    for name, about, path in RECORDINGS:
        source = pathlib.Path(path)
        if source.is_file():
            file = name.lower() + source.suffix
            shutil.copy(source, folder / file)
            found.append({"name": name, "about": about, "file": file})
    return found


def main():
    wasm, folder = map(pathlib.Path, sys.argv[1:])
    shutil.rmtree(folder, ignore_errors=True)
    shutil.copytree(TOP / "web/app", folder)
    shutil.copy(wasm, folder / "rack.wasm")
    presets = {path.name: path.read_text() for path in sorted((TOP / "presets").glob("*.toml"))}
    assets = {
        "recordings": copy_recordings(folder / "recordings"),
        "presets": [{"file": name, "text": text} for name, text in presets.items()],
        "first": presets[FIRST],
    }
    (folder / "assets.json").write_text(json.dumps(assets))


if __name__ == "__main__":
    main()
