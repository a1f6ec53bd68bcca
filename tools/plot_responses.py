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
import subprocess
import sys

FIRST_HZ, LAST_HZ = 10.0, 24000.0
HUGE = 1e100  # no number of a file is larger
DEEPEST = 140.0  # dB below the highest peak that the axis shows by itself

# M. Okabe, K. Ito, Color Universal Design, without its yellow: distinct to all eyes.
PALETTE = ["#0072b2", "#d55e00", "#009e73", "#cc79a7", "#56b4e9", "#e69f00", "#3c3c3c"]


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


def verticalRange(curves, span, impulse):
    """A range around all that lies in `span`; decibels no deeper than `DEEPEST`."""
    seen = [y for c in curves for x, y in zip(c.xs, c.ys)
            if span[0] <= x <= span[1] and y > -math.inf]
    low, high = (min(seen), max(seen)) if seen else (-1.0, 1.0)
    if not impulse:
        low = max(low, high - DEEPEST)
    room = 0.05 * (high - low)
    # Differences that are mere rounding do not fill the picture.
    if room <= 1e-10 * max(abs(low), abs(high), 0.0 if impulse else 1.0):
        room = 1.0
    return low - room, high + room


def frequencyMarks(low, high):
    """Marks of 1 to 9 in each decade for gnuplot, of which 1, 2 and 5 have a label."""
    marks = []
    for exponent in range(math.floor(math.log10(low)), math.floor(math.log10(high)) + 1):
        for digit in range(1, 10):
            hertz = digit * 10.0 ** exponent
            label = f"{hertz / 1000:g}k" if hertz >= 1000 else f"{hertz:g}"
            labelled = digit in (1, 2, 5)
            marks.append(f"'{label if labelled else ''}' {hertz:g} {0 if labelled else 1}")
    return ", ".join(marks)


def quoted(text):
    return "'" + "".join(c if c.isprintable() else "?" for c in text).replace("'", "''") + "'"


def script(curves, options):
    """What gnuplot is told."""
    if options.impulse:
        span = options.x or (min(c.xs[0] for c in curves), max(c.xs[-1] for c in curves))
        axes = ["set xlabel 'Sample'", "set ylabel 'Value'"]
    else:
        span = options.x or (FIRST_HZ, LAST_HZ)
        axes = ["set xlabel 'Frequency (Hz)'", "set ylabel 'dB'", "set logscale x",
                f"set xtics ({frequencyMarks(*span)})"]
    low, high = options.y or verticalRange(curves, span, options.impulse)
    widest = 60 + 9 * max(len(curve.name) for curve in curves)  # pixels of the legend's columns
    columns = max(1, (options.size[0] - 80) // widest)
    lines = ["set encoding utf8",
             f"set terminal pngcairo size {options.size[0]},{options.size[1]} noenhanced",
             # A hair more than asked for, or rounding takes the marks at the ends.
             *axes, f"set xrange [{span[0] * (1 - 1e-9)!r}:{span[1] * (1 + 1e-9)!r}]",
             f"set yrange [{low!r}:{high!r}]",
             "set grid xtics mxtics ytics lc rgb '#c4c9d2' lt 1, lc rgb '#e6e9ee' lt 1",
             f"set key outside top left horizontal Left reverse samplen 2 maxcols {columns}",
             "set clip two",
             f"set title {quoted(options.title)}"]
    for number, curve in enumerate(curves):
        lines.append(f"$curve{number} << END")
        # Silence leads out of the picture, as what lies far below it does.
        lines += [f"{x!r} {max(y, 2 * low - high)!r}" for x, y in zip(curve.xs, curve.ys)]
        lines.append("END")
    lines.append("plot " + ", ".join(
        f"$curve{number} with lines lw 2 lc rgb '{PALETTE[number % len(PALETTE)]}' "
        f"title {quoted(curve.name)}" for number, curve in enumerate(curves)))
    return "\n".join(lines) + "\n"


def draw(curves, options):
    """The picture as the bytes of a PNG."""
    try:
        done = subprocess.run(["gnuplot", "-d"], input=script(curves, options).encode(),
                              capture_output=True, check=False)
    except FileNotFoundError:
        raise BadFile("drawing takes gnuplot (Debian's package gnuplot-nox)") from None
    if done.returncode != 0 or not done.stdout:
        raise BadFile(f"gnuplot: {done.stderr.decode(errors='replace').strip()}")
    return done.stdout


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
