#!/usr/bin/env python3
"""Spectrograms of recordings, one above the other on the same scales, as an SVG picture that follows
a page's light or dark mode.

    draw_spectrograms.py OUT.svg TITLE (CAPTION FILE.wav)...

From 0 to 8 kHz and over 70 dB below the loudest cell of all. Needs numpy; reads 16-bit WAV.
"""

import base64
import pathlib
import struct
import sys
import wave
import zlib

import numpy as np

HIGHEST = 8000  # Hz
RANGE = 70  # dB
WINDOW = 0.032  # s
COLUMNS, ROWS = 560, 152  # of a picture's cells

WIDTH, LEFT, RIGHT, TOP = 900, 64, 96, 48
PANEL, GAP = 190, 44

STYLE = """<style>
text { fill: #1f2328; font: 13px system-ui, -apple-system, 'Segoe UI', 'DejaVu Sans', sans-serif }
.title { font-size: 17px; font-weight: 600 }
.soft { fill: #59636e }
.paper { fill: #ffffff }
.tick { stroke: #818b98 }
@media (prefers-color-scheme: dark) {
  text { fill: #e6edf3 }
  .soft { fill: #9198a1 }
  .paper { fill: #0d1117 }
}
</style>
"""

# From silence to the loudest: position, red, green, blue.
COLOURS = ((0.00, 10, 10, 28), (0.25, 62, 20, 104), (0.50, 160, 42, 112), (0.72, 236, 94, 62),
           (0.88, 252, 180, 76), (1.00, 255, 250, 205))
LEVELS = 64


def palette():
    positions, *channels = zip(*COLOURS)
    steps = np.linspace(0, 1, LEVELS)
    return np.stack([np.interp(steps, positions, c) for c in channels], axis=1).astype(np.uint8)


def read(path):
    """The first channel, full scale 1, and its rate."""
    with wave.open(path) as file:
        assert file.getsampwidth() == 2, f"{path} hasn't 16 bits"
        samples = np.frombuffer(file.readframes(file.getnframes()), "<i2")
        return samples[::file.getnchannels()] / 32768, file.getframerate()


def power(samples, rate):
    """Mean power of COLUMNS x ROWS cells, the lowest row last."""
    length = int(WINDOW * rate)
    window = np.hanning(length)
    starts = np.linspace(0, len(samples) - length, 2 * COLUMNS).astype(int)
    frames = samples[starts[:, None] + np.arange(length)] * window
    bins = np.abs(np.fft.rfft(frames, axis=1)) ** 2 / np.sum(window) ** 2
    edges = np.linspace(0, HIGHEST * length / rate, ROWS + 1)
    middles = (edges[:-1] + edges[1:]) / 2
    rows = np.stack([np.interp(middles, np.arange(bins.shape[1]), frame) for frame in bins])
    return rows.reshape(COLUMNS, 2, ROWS).mean(axis=1).T[::-1]


def png(cells):
    """A picture with a palette."""
    height, width = cells.shape

    def chunk(kind, data):
        return (struct.pack(">I", len(data)) + kind + data
                + struct.pack(">I", zlib.crc32(kind + data)))

    lines = np.hstack([np.zeros((height, 1), np.uint8), cells]).tobytes()
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 3, 0, 0, 0))
            + chunk(b"PLTE", palette().tobytes()) + chunk(b"IDAT", zlib.compress(lines, 9))
            + chunk(b"IEND", b""))


def image(x, y, width, height, cells):
    data = base64.b64encode(png(cells)).decode()
    return (f"<image x='{x}' y='{y}' width='{width}' height='{height}'"
            f" preserveAspectRatio='none' href='data:image/png;base64,{data}'/>\n")


def text(x, y, words, attributes=""):
    return f"<text x='{x:.1f}' y='{y:.1f}' {attributes}>{words}</text>\n"


def tick(x1, y1, x2, y2):
    return f"<line x1='{x1:.1f}' y1='{y1:.1f}' x2='{x2:.1f}' y2='{y2:.1f}' class='tick'/>\n"


def panel(top, caption, decibels, loudest, seconds):
    right = WIDTH - RIGHT
    levels = np.clip((decibels - loudest) / RANGE + 1, 0, 1) * (LEVELS - 1)
    svg = text(LEFT, top - 9, caption)
    svg += image(LEFT, top, right - LEFT, PANEL, np.round(levels).astype(np.uint8))
    for kilohertz in range(0, HIGHEST // 1000 + 1, 2):
        y = top + PANEL * (1 - kilohertz * 1000 / HIGHEST)
        svg += tick(LEFT - 5, y, LEFT, y) + text(LEFT - 9, y + 4.5, kilohertz, "text-anchor='end'")
    step = next(s for s in (0.5, 1, 2, 5, 10, 20) if seconds / s <= 12)
    for second in np.arange(0, seconds + 0.01, step):
        x = LEFT + (right - LEFT) * second / seconds
        svg += tick(x, top + PANEL, x, top + PANEL + 5)
        svg += text(x, top + PANEL + 20, f"{second:g}", "text-anchor='middle'")
    return svg + (f"<text transform='translate(22 {top + PANEL / 2}) rotate(-90)' class='soft'"
                  " text-anchor='middle'>kHz</text>\n")


def scale(top, height):
    """The colours with their levels."""
    x = WIDTH - RIGHT + 24
    svg = image(x, top, 12, height, np.arange(LEVELS, dtype=np.uint8)[::-1, None])
    for decibels in range(0, RANGE + 1, 10):
        y = top + height * decibels / RANGE
        svg += tick(x + 12, y, x + 16, y) + text(x + 20, y + 4.5, f"{-decibels}")
    return svg + text(x, top - 9, "dB", "class='soft'")


def draw(title, panels):
    measured = [(caption, *read(path)) for caption, path in panels]
    decibels = [10 * np.log10(power(samples, rate) + 1e-12) for _, samples, rate in measured]
    loudest = max(cells.max() for cells in decibels)
    tops = [TOP + 30 + i * (PANEL + GAP + 22) for i in range(len(panels))]
    height = tops[-1] + PANEL + 46
    svg = (f"<svg xmlns='http://www.w3.org/2000/svg' viewBox='0 0 {WIDTH} {height}' width='{WIDTH}'"
           f" height='{height}'>\n{STYLE}<rect width='100%' height='100%' rx='6' class='paper'/>\n")
    svg += text(LEFT, 32, title, "class='title'")
    for (caption, samples, rate), cells, top in zip(measured, decibels, tops):
        svg += panel(top, caption, cells, loudest, len(samples) / rate)
    svg += scale(tops[0], tops[-1] + PANEL - tops[0])
    middle = (LEFT + WIDTH - RIGHT) / 2
    return svg + text(middle, height - 8, "seconds", "class='soft' text-anchor='middle'") + "</svg>\n"


if __name__ == "__main__":
    if len(sys.argv) < 5 or len(sys.argv) % 2 == 0:
        sys.exit(__doc__)
    out, name, *rest = sys.argv[1:]
    pathlib.Path(out).write_text(draw(name, list(zip(rest[::2], rest[1::2]))), encoding="utf-8")
