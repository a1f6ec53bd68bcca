#!/usr/bin/env -S python3 -B
"""Draws frequency responses or impulse responses from CSV files as one PNG, a curve for each file.

A response file has the header `frequency,dB` and rows of rising frequency in Hz; `-inf` is silence.
An impulse file (--impulse) has the header `sample,value` and rows of rising sample numbers. The
legend takes the names of the files.

--figures prints what the curves measure instead of drawing them, or besides with -o: the peak, the
corners 3 and 6 dB below the peak going out from it to either side, the slope between 20 and 40 dB
below it, and the lowest level. A dash stands for what a curve does not reach.
"""

import argparse
import csv
import math
import os
import struct
import sys
import zlib

FIRST_HZ, LAST_HZ = 10.0, 24000.0
HUGE = 1e100  # no number of a file is larger
DEEPEST = 140.0  # dB below the highest peak that the axis shows by itself

WHITE, INK = (255, 255, 255), (40, 44, 52)
FRAME, STRONG, FAINT = (110, 116, 128), (196, 201, 210), (230, 233, 238)
# M. Okabe, K. Ito, Color Universal Design, without its yellow: distinct to all eyes.
PALETTE = [(0, 114, 178), (213, 94, 0), (0, 158, 115), (204, 121, 167), (86, 180, 233),
           (230, 159, 0), (60, 60, 60)]

# The characters from space to tilde: five columns of eight bits each, lowest bit on top, the
# highest below the line.
FONT = bytes.fromhex(
    "000000000000005f00000007000700147f147f14242a7f2a12231308646236495520500000070300"
    "001c2241000041221c0014083e081408083e08080050300000080808080800606000002010080402"
    "3e5149453e00427f400042615149462141454b311814127f1027454545393c4a4949300171090503"
    "3649494936064949291e003636000000563600000814224100141414141400412214080201510906"
    "324979413e7e1111117e7f494949363e414141227f4141221c7f494949417f090909013e4149517a"
    "7f0808087f00417f41002040413f017f081422417f404040407f020c027f7f0408107f3e4141413e"
    "7f090909063e4151215e7f09192946464949493101017f01013f4040403f1f2040201f3f4038403f"
    "631408146307087008076151494543007f41410002040810200041417f0004020102044040404040"
    "000102040020545454787f484444383844444420384444487f3854545418087e09010218a4a4a478"
    "7f0804047800447d40004080847d007f1028440000417f40007c041804787c080404783844444438"
    "fc2424241818242424fc7c080404084854545420043f4440203c4040207c1c2040201c3c4030403c"
    "44281028441ca0a0a07c4464544c44000836410000007f000000413608001008081008")
SCALE = 2
ADVANCE, TEXT_HEIGHT = 6 * SCALE, 7 * SCALE


class BadFile(Exception):
    """Files that cannot be used; the text names what and why."""


class Curve:
    def __init__(self, name, xs, ys):
        self.name, self.xs, self.ys = name, xs, ys


def parseRow(row, dB):
    """The two numbers of a row; ValueError says what is wrong with it."""
    if len(row) != 2:
        raise ValueError(f"{len(row)} columns, not 2")
    numbers = []
    for text in row:
        try:
            numbers.append(float(text))
        except ValueError:
            raise ValueError(f"'{text}' is no number") from None
    x, y = numbers
    if not (abs(x) <= HUGE and (abs(y) <= HUGE or (dB and y == -math.inf))):
        raise ValueError(f"'{','.join(row)}' is out of range")
    return x, y


def readCurve(path, header):
    dB = header[1] == "dB"
    xs, ys = [], []
    try:
        with open(path, encoding="utf-8", newline="") as file:
            rows = csv.reader(file)
            if next(rows, None) != header:
                raise BadFile(f"{path}:1: the header is not '{','.join(header)}'")
            for row in filter(None, rows):
                try:
                    x, y = parseRow(row, dB)
                    if x < 0 or (xs and x <= xs[-1]):
                        raise ValueError(f"{header[0]} {x:g} does not rise")
                except ValueError as error:
                    raise BadFile(f"{path}:{rows.line_num}: {error}") from None
                xs.append(x)
                ys.append(y)
    except OSError as error:
        raise BadFile(f"{path}: {error.strerror}") from None
    except (UnicodeDecodeError, csv.Error) as error:
        raise BadFile(f"{path}: not a text of comma-separated values ({error})") from None
    if dB and xs and xs[0] == 0:  # no place on a logarithmic axis
        del xs[0], ys[0]
    if len(xs) < 2:
        raise BadFile(f"{path}: fewer than two rows")
    return Curve(os.path.splitext(os.path.basename(path))[0], xs, ys)


# Figures


def crossing(curve, start, step, level):
    """Index before and frequency at the first fall to `level` from `start` on; None if none."""
    i = start
    while 0 <= i + step < len(curve.xs):
        y0, y1 = curve.ys[i], curve.ys[i + step]
        if y0 > level >= y1:
            share = (level - y0) / (y1 - y0)  # 0 where it falls to silence
            return i, curve.xs[i] * (curve.xs[i + step] / curve.xs[i]) ** share
        i += step
    return None


def sideFigures(curve, top, step):
    """-3 dB and -6 dB corners in Hz and the slope in dB per octave of one side, None if none."""
    peak = curve.ys[top]
    found = [crossing(curve, top, step, peak - depth) for depth in (3, 6, 20)]
    corner3, corner6, upper = (hit and hit[1] for hit in found)
    lower = found[2] and crossing(curve, found[2][0], step, peak - 40)
    octaves = abs(math.log2(lower[1] / upper)) if lower else 0.0
    return corner3, corner6, 20.0 / octaves if octaves > 0 else None


def figures(curve):
    """Peak (dB, Hz), lower and upper side as `sideFigures` gives them, lowest level (dB, Hz)."""
    top = max(range(len(curve.ys)), key=curve.ys.__getitem__)
    bottom = min(range(len(curve.ys)), key=curve.ys.__getitem__)
    return ((curve.ys[top], curve.xs[top]), sideFigures(curve, top, -1),
            sideFigures(curve, top, 1), (curve.ys[bottom], curve.xs[bottom]))


def figuresTable(curves):
    table = [["curve", "peak dB", "at Hz", "-3 dB low", "-3 dB high", "-6 dB low", "-6 dB high",
              "dB/oct low", "dB/oct high", "lowest dB", "at Hz"]]
    for curve in curves:
        peak, low, high, lowest = figures(curve)
        middle = [low[0], high[0], low[1], high[1], low[2], high[2]]
        # 0.0 takes the sign off a zero.
        table.append([curve.name, f"{round(peak[0], 3) + 0.0:.3f}", f"{peak[1]:.1f}"] +
                     ["-" if number is None else f"{number:.1f}" for number in middle] +
                     [f"{round(lowest[0], 2) + 0.0:.2f}", f"{lowest[1]:.1f}"])
    widths = [max(map(len, column)) for column in zip(*table)]
    return "\n".join("  ".join([row[0].ljust(widths[0])] +
                               [cell.rjust(width) for cell, width in zip(row[1:], widths[1:])])
                     for row in table)


# Drawing


class Canvas:
    def __init__(self, width, height):
        self.width, self.height = width, height
        self.pixels = bytearray(bytes(WHITE) * (width * height))

    def blend(self, x, y, colour, share=1.0):
        at = 3 * (y * self.width + x)
        for i in range(3):
            old = self.pixels[at + i]
            self.pixels[at + i] = round(old + (colour[i] - old) * share)

    def fill(self, left, top, width, height, colour):
        row = bytes(colour) * width
        for y in range(top, top + height):
            at = 3 * (y * self.width + left)
            self.pixels[at:at + len(row)] = row

    def text(self, x, y, words, colour=INK):
        for character in words:
            glyph = 5 * (ord(character) - 32 if " " <= character <= "~" else ord("?") - 32)
            for column in range(5):
                for row in range(8):
                    left, top = x + column * SCALE, y + row * SCALE
                    if FONT[glyph + column] >> row & 1 and left + SCALE <= self.width:
                        self.fill(left, top, SCALE, SCALE, colour)
            x += ADVANCE

    def line(self, points, colour, box, width):
        """A polyline with soft edges, cut at `box` (left, top, right, bottom)."""
        covered = {}
        reach = width / 2 + 0.5
        for (x0, y0), (x1, y1) in zip(points, points[1:]):
            cover(covered, (x0, y0, x1, y1), box, reach)
        for (x, y), share in covered.items():
            self.blend(x, y, colour, share)

    def png(self):
        stride = 3 * self.width
        rows = b"".join(b"\0" + self.pixels[y * stride:(y + 1) * stride]
                        for y in range(self.height))

        def chunk(kind, data):
            return (struct.pack(">I", len(data)) + kind + data +
                    struct.pack(">I", zlib.crc32(kind + data)))

        header = struct.pack(">IIBBBBB", self.width, self.height, 8, 2, 0, 0, 0)
        return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) +
                chunk(b"IDAT", zlib.compress(rows, 9)) + chunk(b"IEND", b""))


def cover(covered, segment, box, reach):
    """Notes for each pixel near the segment how much of it the line takes, the most of all."""
    x0, y0, x1, y1 = segment
    dx, dy = x1 - x0, y1 - y0
    square = dx * dx + dy * dy
    for y in range(max(box[1], math.floor(min(y0, y1) - reach)),
                   min(box[3], math.ceil(max(y0, y1) + reach)) + 1):
        left, right = min(x0, x1), max(x0, x1)
        if abs(dy) > 1.0:  # only where the segment passes this row, not its whole bounding box
            ends = sorted(min(max(((y + side - y0) / dy), 0.0), 1.0) * dx + x0
                          for side in (-reach, reach))
            left, right = ends
        for x in range(max(box[0], math.floor(left - reach)),
                       min(box[2], math.ceil(right + reach)) + 1):
            along = ((x - x0) * dx + (y - y0) * dy) / square if square > 0 else 0.0
            along = min(max(along, 0.0), 1.0)
            share = min(reach - math.hypot(x - x0 - along * dx, y - y0 - along * dy), 1.0)
            if share > covered.get((x, y), 0.0):
                covered[x, y] = share


def niceStep(span, most):
    """The smallest of 1, 2, 5 times a power of ten that divides `span` into at most `most`."""
    power = 10.0 ** math.floor(math.log10(span / most))
    return next(power * digit for digit in (1, 2, 5, 10) if span / (power * digit) <= most + 1e-9)


class Axis:
    """Numbers `low` to `high` along pixels `first` to `last`; `marks`: number, label, strong."""

    def __init__(self, low, high, first, last, marks=None):
        self.low, self.high, self.first, self.last = low, high, first, last
        self.logarithmic = marks is not None
        self.marks = marks if self.logarithmic else self.evenMarks()

    def evenMarks(self):
        step = niceStep(self.high - self.low, 10)
        digits = max(0, -math.floor(math.log10(step) + 1e-9))
        plain = digits <= 4 and max(abs(self.low), abs(self.high)) < 1e6
        form = f".{digits}f" if plain else ".3g"  # what the margin has room for
        count = range(math.ceil(self.low / step - 1e-6), math.floor(self.high / step + 1e-6) + 1)
        return [(i * step, f"{i * step:{form}}", i == 0) for i in count]

    def at(self, number):
        if self.logarithmic:
            share = math.log(number / self.low) / math.log(self.high / self.low)
        else:
            share = (number - self.low) / (self.high - self.low)
        # What lies beyond stays outside, near enough for quick drawing of what leads there.
        return self.first + min(max(share, -1.0), 2.0) * (self.last - self.first)


def frequencyAxis(low, high, first, last):
    marks = []
    for exponent in range(math.floor(math.log10(low)), math.floor(math.log10(high)) + 1):
        for digit in range(1, 10):
            hertz = digit * 10.0 ** exponent
            label = (f"{hertz / 1000:g}k" if hertz >= 1000 else f"{hertz:g}")
            if low <= hertz <= high:
                marks.append((hertz, label if digit in (1, 2, 5) else "", digit == 1))
    return Axis(low, high, first, last, marks)


def verticalRange(curves, span, impulse):
    """A range around all that lies in `span`; decibels no deeper than `DEEPEST`."""
    seen = [y for c in curves for x, y in zip(c.xs, c.ys)
            if span[0] <= x <= span[1] and y > -math.inf]
    low, high = (min(seen), max(seen)) if seen else (-1.0, 1.0)
    cut = not impulse and high - low > DEEPEST
    if cut:
        low = high - DEEPEST
    # Differences that are mere rounding do not fill the picture.
    if high - low <= 1e-9 * max(abs(low), abs(high), 0.0 if impulse else 1.0):
        low, high = low - 1.0, high + 1.0
    step = niceStep(high - low, 10)
    low = math.floor(low / step + 1e-6) * step
    high = math.ceil(high / step - 1e-6) * step
    # Half a step of room, so that a flat stretch does not run along the frame.
    return low - (0.0 if cut else step / 2), high + step / 2


def legendRows(curves, width):
    """Curves with their columns, in as many rows as the width asks for."""
    rows, x = [[]], 0
    for index, curve in enumerate(curves):
        need = 34 + ADVANCE * (len(curve.name) + 2)
        if rows[-1] and x + need > width:
            rows.append([])
            x = 0
        rows[-1].append((x, index, curve))
        x += need
    return rows


def colourOf(index):
    return PALETTE[index % len(PALETTE)]


def drawGrid(canvas, box, across, down, titles):
    left, top, right, bottom = box
    # Strong lines last: they are not to be cut by faint ones.
    for strong in (False, True):
        colour = STRONG if strong else FAINT
        for number, _, _ in (mark for mark in across.marks if mark[2] == strong):
            canvas.fill(round(across.at(number)), top, 1, bottom - top, colour)
        for number, _, _ in (mark for mark in down.marks if mark[2] == strong):
            canvas.fill(left, round(down.at(number)), right - left, 1, colour)
    for number, label, _ in across.marks:
        x = round(across.at(number)) - (ADVANCE * len(label) - SCALE) // 2
        canvas.text(x, bottom + 10, label)
    for number, label, _ in down.marks:
        y = round(down.at(number)) - TEXT_HEIGHT // 2
        canvas.text(left - 10 - ADVANCE * len(label), y, label)
    canvas.text((left + right - ADVANCE * len(titles[0])) // 2, bottom + 20 + TEXT_HEIGHT,
                titles[0])
    canvas.text(max(8, left - 10 - ADVANCE * len(titles[1])), top - 12 - TEXT_HEIGHT, titles[1])
    for x, y, width, height in ((left, top, right - left + 1, 1), (left, top, 1, bottom - top),
                                (left, bottom, right - left + 1, 1), (right, top, 1, bottom - top)):
        canvas.fill(x, y, width, height, FRAME)


def polyline(curve, across, down):
    """The curve in pixels, without points too close to the last one to be told from it."""
    points = []
    for x, y in zip(curve.xs, curve.ys):
        point = (across.at(x), down.at(y))
        if not points or math.dist(point, points[-1]) >= 0.3:
            points.append(point)
    return points


def draw(curves, options):
    canvas = Canvas(*options.size)
    legend = legendRows(curves, options.size[0] - 130)
    head = 18 + (TEXT_HEIGHT + 14 if options.title else 0)
    box = (100, head + len(legend) * (TEXT_HEIGHT + 10) + 14 + TEXT_HEIGHT, options.size[0] - 30,
           options.size[1] - 66)
    if box[3] - box[1] < 100:
        raise BadFile(f"{len(curves)} curves: too many for the size of the picture")
    if options.impulse:
        span = options.x or (min(c.xs[0] for c in curves), max(c.xs[-1] for c in curves))
        across = Axis(*span, box[0], box[2])
        titles = ("Sample", "Value")
    else:
        span = options.x or (FIRST_HZ, LAST_HZ)
        across = frequencyAxis(*span, box[0], box[2])
        titles = ("Frequency (Hz)", "dB")
    down = Axis(*(options.y or verticalRange(curves, span, options.impulse)), box[3], box[1])
    if options.title:
        canvas.text(box[0], 16, options.title)
    drawGrid(canvas, box, across, down, titles)
    inside = (box[0] + 1, box[1] + 1, box[2] - 1, box[3] - 1)
    for index, curve in enumerate(curves):
        canvas.line(polyline(curve, across, down), colourOf(index), inside, 2.2)
    for row, entries in enumerate(legend):
        for x, index, curve in entries:
            y = head + row * (TEXT_HEIGHT + 10)
            canvas.fill(box[0] + x, y + TEXT_HEIGHT // 2 - 2, 26, 4, colourOf(index))
            canvas.text(box[0] + x + 34, y, curve.name)
    return canvas.png()


# Command line


def size(text):
    try:
        width, height = (int(part) for part in text.split("x"))
    except ValueError:
        width = height = 0
    if not (400 <= width <= 8000 and 300 <= height <= 8000):
        raise argparse.ArgumentTypeError(f"'{text}' is not WIDTHxHEIGHT of 400x300 to 8000x8000")
    return width, height


def parseOptions(arguments):
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("files", nargs="+", metavar="FILE.csv")
    parser.add_argument("-o", "--output", metavar="OUT.png", help="the picture to write")
    parser.add_argument("--figures", action="store_true", help="print a table of figures")
    parser.add_argument("--impulse", action="store_true", help="the files hold impulse responses")
    parser.add_argument("--title", default="", help="a line above the picture")
    parser.add_argument("--x", type=float, nargs=2, metavar=("LOW", "HIGH"),
                        help="Hz or samples to show")
    parser.add_argument("--y", type=float, nargs=2, metavar=("LOW", "HIGH"),
                        help="dB or values to show")
    parser.add_argument("--size", type=size, default=(1280, 720), metavar="WIDTHxHEIGHT")
    options = parser.parse_args(arguments)
    if not (options.output or options.figures):
        parser.error("nothing to do: -o OUT.png or --figures")
    if options.figures and options.impulse:
        parser.error("--figures measures frequency responses, not impulses")
    for name, span in (("--x", options.x), ("--y", options.y)):
        if span and not -HUGE <= span[0] < span[1] <= HUGE:
            parser.error(f"{name}: {span[0]:g} to {span[1]:g} is no range")
    if options.x and options.x[0] <= 0 and not options.impulse:
        parser.error("--x: a logarithmic axis begins above 0")
    return options


def main(arguments):
    options = parseOptions(arguments)
    header = ["sample", "value"] if options.impulse else ["frequency", "dB"]
    try:
        curves = [readCurve(path, header) for path in options.files]
        if options.figures:
            print(figuresTable(curves))
        if options.output:
            with open(options.output, "wb") as file:
                file.write(draw(curves, options))
    except BadFile as error:
        print(f"{os.path.basename(__file__)}: {error}", file=sys.stderr)
        return 1
    except OSError as error:
        print(f"{os.path.basename(__file__)}: {options.output}: {error.strerror}", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
