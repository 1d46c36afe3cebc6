#!/usr/bin/env python3
"""Draws the way of the sound through a filter chain of PipeWire, as an SVG picture that follows a
page's light or dark mode.

    draw_chain.py OUT.svg CHAIN.conf

CHAIN.conf is what `sonx export --as pipewire` writes.
"""

import pathlib
import re
import sys
from xml.sax.saxutils import escape

WIDTH, TOP, HEIGHT, MARGIN, GAP = 900, 64, 72, 24, 44

STYLE = """<style>
text { fill: #1f2328; font: 13px system-ui, -apple-system, 'Segoe UI', 'DejaVu Sans', sans-serif }
.name { font-size: 15px; font-weight: 600 }
.soft { fill: #59636e }
.paper { fill: #ffffff }
.box { fill: #f6f8fa; stroke: #818b98 }
.ours { fill: #ddf4ff; stroke: #0969da }
.frame { fill: none; stroke: #818b98; stroke-dasharray: 5 4 }
.way { stroke: #59636e; stroke-width: 1.75 }
.head { fill: #59636e }
@media (prefers-color-scheme: dark) {
  text { fill: #e6edf3 }
  .soft { fill: #9198a1 }
  .paper { fill: #0d1117 }
  .box { fill: #161b22; stroke: #6e7681 }
  .ours { fill: #0c2d4f; stroke: #58a6ff }
  .frame { stroke: #6e7681 }
  .way { stroke: #9198a1 }
  .head { fill: #9198a1 }
}
</style>
"""


def box(x, width, name, note, kind="box"):
    middle = x + width / 2
    return (f"<rect x='{x:.0f}' y='{TOP}' width='{width:.0f}' height='{HEIGHT}' rx='6' class='{kind}'/>\n"
            f"<text x='{middle:.0f}' y='{TOP + 31}' text-anchor='middle' class='name'>{escape(name)}</text>\n"
            f"<text x='{middle:.0f}' y='{TOP + 53}' text-anchor='middle' class='soft'>{escape(note)}</text>\n")


def arrow(x):
    y, end = TOP + HEIGHT / 2, x + GAP
    return (f"<line x1='{x + 4:.0f}' y1='{y}' x2='{end - 10:.0f}' y2='{y}' class='way'/>\n"
            f"<path d='M {end - 12:.0f} {y - 5} L {end - 3:.0f} {y} L {end - 12:.0f} {y + 5} Z' class='head'/>\n")


def draw(conf):
    description = re.search(r'node\.description = "(.*)"', conf)[1]
    plugins = re.findall(r'plugin = "urn:sonx:effect:([^"]*)"', conf)
    boxes = [("Music", "any program", "box"), (description, "a sound output", "box")]
    boxes += [(plugin.replace("-", " "), "LV2 plugin", "box ours") for plugin in plugins]
    boxes += [("Headphones", "the device", "box")]
    weights = [1.25 if "ours" in kind else 1 for _, _, kind in boxes]
    unit = (WIDTH - 2 * MARGIN - GAP * (len(boxes) - 1)) / sum(weights)
    text, x, edges = "", MARGIN, []
    for (name, note, kind), weight in zip(boxes, weights):
        text += box(x, weight * unit, name, note, kind)
        edges.append((x, x + weight * unit))
        x += weight * unit + GAP
    text += "".join(arrow(right) for _, right in edges[:-1])
    left, right = edges[1][0] - 16, edges[-2][1] + 16
    text += (f"<rect x='{left:.0f}' y='{TOP - 16}' width='{right - left:.0f}' height='{HEIGHT + 32}' "
             "rx='10' class='frame'/>\n"
             f"<text x='{left:.0f}' y='{TOP - 26}' class='soft'>PipeWire's filter chain, "
             "from pipewire.conf.d</text>\n")
    height = TOP + HEIGHT + 40
    return (f"<svg xmlns='http://www.w3.org/2000/svg' viewBox='0 0 {WIDTH} {height}' width='{WIDTH}' "
            f"height='{height}'>\n{STYLE}<rect width='100%' height='100%' rx='6' class='paper'/>\n{text}</svg>\n")


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    pathlib.Path(sys.argv[1]).write_text(draw(pathlib.Path(sys.argv[2]).read_text()))


if __name__ == "__main__":
    main()
