#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""Draws the text of a terminal screen from standard input as an SVG picture.

terminal_svg.py COLUMNS <SCREEN >PICTURE
"""

import html
import sys

_CELL_WIDTH = 7.85
_LINE_HEIGHT = 17
_MARGIN = 12
_STYLE = ("font: 13px 'DejaVu Sans Mono', Menlo, Consolas, monospace; "
          "white-space: pre; fill: #d8dee9")


def draw(lines, columns):
    """The picture of the lines, empty ones at the end left out."""
    while lines and not lines[-1].strip():
        lines.pop()
    width = round(2 * _MARGIN + columns * _CELL_WIDTH)
    height = 2 * _MARGIN + len(lines) * _LINE_HEIGHT
    rows = [f'<svg xmlns="http://www.w3.org/2000/svg" width="{width}" '
            f'height="{height}">',
            '<rect width="100%" height="100%" rx="8" fill="#20242c"/>',
            f'<g style="{_STYLE}">']
    for number, line in enumerate(lines):
        if not line:
            continue
        # The length pins the columns down, whatever font is there.
        rows.append(
            f'<text x="{_MARGIN}" y="{_MARGIN + 13 + number * _LINE_HEIGHT}" '
            f'xml:space="preserve" textLength="{len(line) * _CELL_WIDTH:.1f}"'
            f'>{html.escape(line)}</text>')
    return "\n".join([*rows, "</g>", "</svg>", ""])


if __name__ == "__main__":
    sys.stdout.write(draw(sys.stdin.read().split("\n"), int(sys.argv[1])))
