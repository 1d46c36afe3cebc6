#!/usr/bin/env python3
"""Draws an effect's response while one of its parameters goes from one end to the other.

    sweep_parameter.py virtual-bass cutoff -o picture.png
    sweep_parameter.py graphic-equalizer band1k --steps 11
"""

import argparse
from typing import Any

import matplotlib
import numpy as np

import sonx


def main() -> None:
    parser = argparse.ArgumentParser(description="Sweeps over one parameter of an effect.")
    parser.add_argument("effect", choices=list(sonx.effects_by_id))
    parser.add_argument("parameter")
    parser.add_argument("--steps", type=int, choices=range(2, 50), default=7, metavar="2..49")
    parser.add_argument("-o", "--out", default="sweep.png")
    options = parser.parse_args()

    effect = sonx.effects_by_id[options.effect]()
    parameter = effect.parameters.get(options.parameter)
    if not isinstance(parameter, sonx.Number):
        parser.error(f"{options.effect} has no number '{options.parameter}'")
    spaced: Any = np.geomspace if parameter.logarithmic else np.linspace

    matplotlib.use("Agg")
    scale: Any = matplotlib.colormaps["viridis"]
    axes: Any = None
    for k, value in enumerate(spaced(parameter.minimum, parameter.maximum, options.steps)):
        setattr(effect, parameter.id, value)
        label = f"{getattr(effect, parameter.id):.4g} {parameter.unit}"
        measured = sonx.response(effect)
        print(f"{label:>12}: {measured.level([100, 1000, 10000]).mean(axis=0).round(2)} dB")
        axes = measured.plot(ax=axes, label=label, color=scale(0.9 * k / (options.steps - 1)))
    axes.set_title(f"{effect.title}: {parameter.name}")
    axes.figure.savefig(options.out, dpi=150)


if __name__ == "__main__":
    main()
