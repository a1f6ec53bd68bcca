#!/usr/bin/python3
"""Makes the images of the editor, NUMBER.png: grounds, button strips and a strip of small letters.

Everything is drawn here, each pixel by the exact share of it that a shape covers. The letters are
those of resources/faces/DSP-Bold.ttf (tools/make_faces.py).

Usage: make_images.py OUTDIR     needs the Debian package python3-fonttools; the same files each
                                 time
"""

import math
import os
import struct
import sys
import zlib

try:
    from fontTools.pens.basePen import BasePen
    from fontTools.ttLib import TTFont
except ImportError:
    sys.exit("make_images.py: needs the Debian package python3-fonttools")

FACE = os.path.join(os.path.dirname(__file__), "..", "resources", "faces", "DSP-Bold.ttf")
LETTERS = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz.%-,+#:/"

BLACK, WHITE = 0x000000, 0xFFFFFF
PANEL, BORDER = 0x0D0D0D, 0x1F1F1F
BLUE_PANEL, BLUE_BORDER = 0x151A1E, 0x2A3138
TILE_TOP, TILE_LINE = 0x1B2127, 0x0A0C0E
LIT, LABEL = 0x4E9ACC, 0x848484
CLEAR = (0.0, 0.0, 0.0, 0.0)


def mixed(a, b, share):
    """`share` 0 gives `a`, 1 gives `b`."""
    return sum(round((a >> s & 255) * (1 - share) + (b >> s & 255) * share) << s
               for s in (16, 8, 0))


class Picture:
    """Pixels of red, green, blue and opacity from 0 to 1, colours multiplied by it. A shape is a
    list of rings of points (x, y), y down; a ring that turns the other way round makes a hole."""

    def __init__(self, width, height):
        self.width, self.height = width, height
        self.pixels = [[CLEAR] * width for _ in range(height)]

    def fill(self, rings, colour, alpha=1.0):
        """Lays a shape over what is there."""
        for pixels, shares in zip(self.pixels, self.covered(rings)):
            for x, share in enumerate(shares):
                opacity = alpha * share
                if opacity > 0:
                    ink = [(colour >> s & 255) / 255 * opacity for s in (16, 8, 0)] + [opacity]
                    pixels[x] = tuple(i + (1 - opacity) * p for i, p in zip(ink, pixels[x]))

    def crop(self, width):
        self.width, self.pixels = width, [row[:width] for row in self.pixels]

    def append(self, picture):
        """Sets another of this height at the right, and an empty column."""
        self.width += picture.width + 1
        self.pixels = [row + more + [CLEAR] for row, more in zip(self.pixels, picture.pixels)]

    def covered(self, rings):
        """The share of each pixel that lies inside, row by row."""
        rows = [[0.0] * (self.width + 1) for _ in range(self.height)]
        for ring in rings:
            for begin, end in zip(ring, ring[1:] + ring[:1]):
                self.addEdge(rows, *begin, *end)
        shares = []
        for row in rows:
            total, line = 0.0, []
            for rise in row[:-1]:
                total += rise
                line.append(min(1.0, round(abs(total), 6)))
            shares.append(line)
        return shares

    def addEdge(self, rows, x0, y0, x1, y1):
        """Adds the area that an edge leaves to its right, pixel by pixel that it crosses."""
        cuts = sorted({0.0, 1.0, *crossings(x0, x1), *crossings(y0, y1)})
        for begin, end in zip(cuts, cuts[1:]):
            middle = (begin + end) / 2
            x = min(max(x0 + middle * (x1 - x0), 0.0), float(self.width))
            y = math.floor(y0 + middle * (y1 - y0))
            if 0 <= y < self.height:
                column = min(int(x), self.width - 1)
                rise = (end - begin) * (y1 - y0)
                rows[y][column] += rise * (1 - (x - column))
                rows[y][column + 1] += rise * (x - column)

    def png(self):
        """8 bits a channel, colours not multiplied by opacity."""
        data = bytearray()
        for row in self.pixels:
            data.append(0)  # no filter
            for *colour, opacity in row:
                for channel in colour:
                    data.append(round(channel / opacity * 255) if round(opacity * 255) else 0)
                data.append(round(opacity * 255))

        def chunk(kind, body):
            body = kind + body
            return struct.pack(">I", len(body) - 4) + body + struct.pack(">I", zlib.crc32(body))

        header = struct.pack(">IIBBBBB", self.width, self.height, 8, 6, 0, 0, 0)
        return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header)
                + chunk(b"IDAT", zlib.compress(bytes(data), 9)) + chunk(b"IEND", b""))


def crossings(begin, end):
    """Where, from 0 to 1, a way along one axis crosses from pixel to pixel."""
    low, high = sorted((begin, end))
    return [(edge - begin) / (end - begin) for edge in range(math.floor(low) + 1, math.ceil(high))]


def box(x, y, width, height):
    return [(x, y), (x + width, y), (x + width, y + height), (x, y + height)]


def roundBox(x, y, width, height, radius):
    ring = []
    right, below = x + width - radius, y + height - radius
    for quarter, (cx, cy) in enumerate(((right, below), (x + radius, below),
                                        (x + radius, y + radius), (right, y + radius))):
        for step in range(17):
            angle = (quarter + step / 16) * math.pi / 2
            ring.append((cx + radius * math.cos(angle), cy + radius * math.sin(angle)))
    return ring


def frame(x, y, width, height, radius):
    """A border of one pixel within a round box."""
    return [roundBox(x, y, width, height, radius),
            roundBox(x + 1, y + 1, width - 2, height - 2, radius - 1)[::-1]]


def addPanel(picture, bounds, fill, border):
    picture.fill([roundBox(*bounds)], fill)
    picture.fill(frame(*bounds), border)


def cross(x, y, em):
    """The sign of closing around (x, y)."""
    half, reach, turn = 80 * em / 2048, 480 * em / 2048, math.sqrt(0.5)
    plus = [(-half, -reach), (half, -reach), (half, -half), (reach, -half), (reach, half),
            (half, half), (half, reach), (-half, reach), (-half, half), (-reach, half),
            (-reach, -half), (-half, -half)]
    return [(x + (px - py) * turn, y + (px + py) * turn) for px, py in plus]


class Outline(BasePen):
    """Takes a glyph as rings of short straight lines, in pixels."""

    def __init__(self, glyphs, scale, base):
        super().__init__(glyphs)
        self.scale, self.base, self.rings = scale, base, []

    def toPixel(self, point):
        return (point[0] * self.scale, self.base - point[1] * self.scale)

    def _moveTo(self, point):
        self.rings.append([self.toPixel(point)])

    def _lineTo(self, point):
        self.rings[-1].append(self.toPixel(point))

    def _qCurveToOne(self, control, end):
        begin = self._getCurrentPoint()
        for step in range(1, 9):
            t = step / 8
            self._lineTo(tuple((1 - t) ** 2 * b + 2 * t * (1 - t) * c + t * t * e
                               for b, c, e in zip(begin, control, end)))


def letterStrip(em):
    """All letters in one row, an empty column between; the base line leaves room for the longest
    tail. Each begins where a pixel does, so that stems are sharp."""
    double = em // 11
    strip = Picture(0, 13 * double)
    with TTFont(FACE) as font:
        glyphs, names = font.getGlyphSet(), font.getBestCmap()
        for letter in LETTERS:
            pen = Outline(glyphs, em / font["head"].unitsPerEm, 10 * double)
            glyphs[names[ord(letter)]].draw(pen)
            edges = [x for ring in pen.rings for x, _ in ring]
            left = min(edges)
            picture = Picture(math.ceil(max(edges) - left), strip.height)
            picture.fill([[(x - left, y) for x, y in ring] for ring in pen.rings], WHITE)
            if max(row[-1][3] for row in picture.pixels) < 0.05:  # looks empty
                picture.crop(picture.width - 1)
            strip.append(picture)
    strip.crop(strip.width - 1)
    return strip


def setupGround():
    picture = Picture(632, 403)
    addPanel(picture, (0, 0, 632, 403, 5), BLUE_PANEL, BLUE_BORDER)
    addPanel(picture, (16, 41, 600, 346, 3), PANEL, BORDER)
    picture.fill([box(166, 42, 1, 344)], BORDER)
    picture.fill([cross(603.5, 27.5, 18)], LABEL)
    return picture


def trayGround():
    """Open at the top, where it hangs from the title bar."""
    picture = Picture(282, 54)
    addPanel(picture, (0, -8, 282, 62, 4), BLUE_PANEL, BLUE_BORDER)
    addPanel(picture, (35, 4, 208, 18, 2.5), PANEL, BORDER)
    return picture


def barGround():
    picture = Picture(8, 28)
    picture.fill([box(0, 0, 8, 28)], PANEL)
    picture.fill([box(0, 0, 8, 1)], BORDER)
    return picture


def titleTile():
    picture = Picture(8, 25)
    for y in range(24):
        picture.fill([box(0, y, 8, 1)], mixed(TILE_TOP, BLUE_PANEL, (y + 0.5) / 25))
    picture.fill([box(0, 24, 8, 1)], TILE_LINE)
    return picture


def strip(*frames):
    """Four states of a button, 25 rows each, over the title's tile, whose last row stays: each a
    list of (first row, rows, colour, opacity)."""
    picture = Picture(8, 100)
    for index, layers in enumerate(frames):
        for y, rows, colour, alpha in layers:
            picture.fill([box(0, 25 * index + y, 8, rows)], colour, alpha)
    return picture


ON = [(0, 22, LIT, 0.14), (22, 2, LIT, 1.0)]
HOVER = [(0, 24, WHITE, 0.055)]
IMAGES = {
    "101": lambda: letterStrip(11),
    "101@2x": lambda: letterStrip(22),
    "210": setupGround,
    "211": trayGround,
    "508": barGround,
    "801": titleTile,
    "803": lambda: strip([], [(0, 24, BLACK, 0.30)], HOVER, []),
    "804": lambda: strip([], ON, HOVER, ON + [(0, 22, WHITE, 0.055)]),
}


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    folder = sys.argv[1]
    os.makedirs(folder, exist_ok=True)
    for name, draw in IMAGES.items():
        with open(os.path.join(folder, name + ".png"), "wb") as file:
            file.write(draw().png())


if __name__ == "__main__":
    main()
