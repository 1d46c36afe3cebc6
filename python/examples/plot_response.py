#!/usr/bin/env python3
"""Draws what presets do to frequencies.

    plot_response.py late-evening mine.toml --show delay -o picture.png
"""

import argparse
from typing import Any

import matplotlib

import sonx


def main() -> None:
    parser = argparse.ArgumentParser(description="Draws what presets do to frequencies.")
    parser.add_argument("presets", nargs="+", help="files, or names of shipped presets: "
                        + ", ".join(sonx.presets()))
    parser.add_argument("--show", choices=["level", "phase", "delay"], default="level")
    parser.add_argument("-o", "--out", default="response.png")
    options = parser.parse_args()

    matplotlib.use("Agg")
    axes: Any = None
    for preset in options.presets:
        measured = sonx.response(sonx.load(preset))
        print(measured)
        axes = measured.plot(options.show, ax=axes)
    axes.figure.savefig(options.out, dpi=150)


if __name__ == "__main__":
    main()
