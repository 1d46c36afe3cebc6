#!/usr/bin/env python3
"""Plays many files through a preset, on all cores, into a folder.

    batch.py late-evening out *.flac --tail 1
"""

import argparse
import functools
import multiprocessing
import sys
from pathlib import Path

import numpy as np

import sonx


def decibels(samples: sonx.Samples) -> float:
    return float(20 * np.log10(np.abs(samples).max(initial=1e-9)))


def play(preset: str, folder: Path, tail: float, file: Path) -> tuple[bool, str]:
    """Whether that went well, and what to say of it."""
    try:
        samples, rate = sonx.read(file)
        out = sonx.load(preset, rate)(samples, tail=tail)
        sonx.write(folder / file.with_suffix(".wav").name, out, rate)
    except (OSError, ValueError, RuntimeError) as error:  # the other files play on
        return False, f"{file.name}: {error}"
    return True, f"{file.name}: peak {decibels(samples):.1f} -> {decibels(out):.1f} dBFS"


def main() -> None:
    parser = argparse.ArgumentParser(description="Plays many files through a preset.")
    parser.add_argument("preset", help="a file, or a name: " + ", ".join(sonx.presets()))
    parser.add_argument("folder", type=Path)
    parser.add_argument("files", type=Path, nargs="+")
    parser.add_argument("--tail", type=float, default=0.0, help="seconds to append")
    parser.add_argument("--jobs", type=int, help="files at a time [all cores]")
    options = parser.parse_args()

    options.folder.mkdir(exist_ok=True)
    job = functools.partial(play, options.preset, options.folder, options.tail)
    failed = False
    with multiprocessing.Pool(options.jobs) as pool:
        for good, line in pool.imap(job, options.files):
            print(line, file=sys.stdout if good else sys.stderr, flush=True)
            failed = failed or not good
    sys.exit(failed)


if __name__ == "__main__":
    main()
