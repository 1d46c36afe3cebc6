"""Curves against frequency. Takes matplotlib, and is imported when something is drawn."""

from __future__ import annotations

from typing import Any

import matplotlib.pyplot as plt
import numpy as np
from matplotlib.colors import to_rgb
from matplotlib.ticker import FuncFormatter, NullFormatter

_AXES = {"level": "dB", "phase": "degrees", "delay": "ms"}
_TICKS = [20, 50, 100, 200, 500, 1000, 2000, 5000, 10000, 20000]


def _new_axes() -> Any:
    axes = plt.subplots(figsize=(9, 4), layout="constrained")[1]
    axes.set_xscale("log")
    axes.set_xticks(_TICKS)
    axes.xaxis.set_major_formatter(
        FuncFormatter(lambda hz, _: f"{hz / 1000:g}k" if hz >= 1000 else f"{hz:g}"))
    axes.xaxis.set_minor_formatter(NullFormatter())
    axes.grid(True, which="major", alpha=0.35, linewidth=0.8)
    axes.grid(True, which="minor", alpha=0.15, linewidth=0.5)
    for side in ("top", "right"):
        axes.spines[side].set_visible(False)
    axes.set_xlabel("Hz")
    return axes


def draw(response: Any, show: str, axes: Any, label: str, style: dict[str, Any]) -> Any:
    if show not in _AXES:
        raise ValueError(f"show is one of {', '.join(_AXES)}, not '{show}'")
    hertz = response.frequencies
    left, right = getattr(response, show)()
    new = axes is None
    axes = _new_axes() if new else axes
    same = np.allclose(left, right, atol=0.05, equal_nan=True)
    line, = axes.plot(hertz, left, label=label if same else f"{label} left".strip(),
                      **{"linewidth": 2, **style})
    if not same:  # a shade nearer to the ground
        shade = np.mean([to_rgb(line.get_color()), to_rgb(axes.get_facecolor())], axis=0)
        axes.plot(hertz, right, label=f"{label} right".strip(),
                  **{**style, "linewidth": 1.5, "color": shade})
    if new:
        axes.set_xlim(hertz[0], hertz[-1])
        axes.set_ylabel(_AXES[show])
    if show == "level":
        low, high = axes.dataLim.y0, axes.dataLim.y1  # 12 dB at least, so that a little is little
        middle, half = (low + high) / 2, max((high - low) / 2 * 1.1, 6)
        axes.set_ylim(max(middle - half, high - 70), middle + half)
    labels = axes.get_legend_handles_labels()[1]
    if len(axes.lines) > 1 and labels:  # beside the curves, never over them
        axes.set_title("", loc="left")
        axes.legend(frameon=False, loc="upper left", bbox_to_anchor=(1.0, 1.02))
    elif labels:
        axes.set_title(label, loc="left")
    return axes
