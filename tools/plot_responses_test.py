#!/usr/bin/env -S python3 -B
"""Tests of plot_responses.py on curves that are known in closed form."""

import contextlib
import io
import math
import os
import struct
import tempfile
import unittest
import zlib

import plot_responses

BLUE, ORANGE = plot_responses.PALETTE[:2]


class Picture:
    """A PNG of the kind the script writes, read by what the format says."""

    def __init__(self, data):
        assert data[:8] == b"\x89PNG\r\n\x1a\n"
        chunks, at = {}, 8
        while at < len(data):
            length, kind = struct.unpack(">I4s", data[at:at + 8])
            body = data[at + 8:at + 8 + length]
            assert zlib.crc32(kind + body) == struct.unpack(">I", data[at + 8 + length:][:4])[0]
            chunks[kind] = body
            at += 12 + length
        self.width, self.height, *form = struct.unpack(">IIBBBBB", chunks[b"IHDR"])
        assert form == [8, 2, 0, 0, 0]
        self.bytes = zlib.decompress(chunks[b"IDAT"])
        assert len(self.bytes) == (3 * self.width + 1) * self.height

    def places(self, colour):
        """Where the full colour of a curve stands, below the legend: set of (x, y)."""
        found = set()
        for y in range(80, self.height):
            row = self.bytes[(3 * self.width + 1) * y + 1:][:3 * self.width]
            at = row.find(bytes(colour))
            while at >= 0:
                if at % 3 == 0:
                    found.add((at // 3, y))
                at = row.find(bytes(colour), at + 1)
        return found


def logSpaced(count, first=10.0, last=24000.0):
    return [first * (last / first) ** (i / (count - 1)) for i in range(count)]


class PlotResponses(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name

    def file(self, name, content):
        path = os.path.join(self.folder, name)
        with open(path, "wb") as out:
            out.write(content)
        return path

    def response(self, name, decibels, hertz=None):
        rows = [f"{x!r},{decibels(x)!r}" for x in hertz or logSpaced(2000)]
        return self.file(name, "\n".join(["frequency,dB", *rows, ""]).encode())

    def picture(self, *arguments):
        path = os.path.join(self.folder, "out.png")
        self.assertEqual(plot_responses.main([*arguments, "-o", path]), 0)
        with open(path, "rb") as file:
            return Picture(file.read())

    def testFiguresMeetTheClosedForm(self):
        def butterworth(order, lowHz, highHz):
            return lambda hz: 2.5 - 10 * math.log10(
                (1 + (hz / highHz) ** (2 * order)) * (1 + (lowHz / hz) ** (2 * order)))

        def corner(order, depth):  # in units of the cut-off frequency
            return (10 ** (depth / 10) - 1) ** (1 / (2 * order))

        for order in (1, 2, 4):
            with self.subTest(order=order):
                # So far apart that neither side moves the other's figures by a thousandth.
                low, high = 1e2, 1e6
                path = self.response("pass.csv", butterworth(order, low, high),
                                     logSpaced(8000, 1e-1, 1e9))
                curve = plot_responses.readCurve(path, ["frequency", "dB"])
                peak, lower, upper, lowest = plot_responses.figures(curve)
                self.assertAlmostEqual(peak[0], 2.5, 2)
                slope = 20 / math.log2(corner(order, 40) / corner(order, 20))
                for depth, i in ((3, 0), (6, 1)):
                    self.assertAlmostEqual(low / lower[i], corner(order, depth), 2)
                    self.assertAlmostEqual(upper[i] / high, corner(order, depth), 2)
                self.assertAlmostEqual(lower[2], slope, 2)
                self.assertAlmostEqual(upper[2], slope, 2)
                self.assertAlmostEqual(lowest[0], 2.5 - 60 * order, 1)

    def testFiguresTableHasDashesForWhatIsNotReachedAndGoesOutFromThePeak(self):
        steps = [(10, -50), (20, -1), (40, -4), (80, 0), (160, -7), (320, -1), (640, -math.inf)]
        paths = [self.response("steps.csv", dict(steps).get, [hz for hz, _ in steps]),
                 self.response("flat.csv", lambda hz: -0.0)]
        out = io.StringIO()
        with contextlib.redirect_stdout(out):
            self.assertEqual(plot_responses.main(["--figures", *paths]), 0)
        header, first, second = out.getvalue().splitlines()
        self.assertEqual(header[:5], "curve")
        below = lambda depth: 10 * 2 ** ((50 - depth) / 49)
        self.assertEqual(first.split(), [
            "steps", "0.000", "80.0", f"{80 * 2 ** -0.75:.1f}", f"{80 * 2 ** (3 / 7):.1f}",
            f"{below(6):.1f}", f"{80 * 2 ** (6 / 7):.1f}", "49.0", "-", "-inf", "640.0"])
        self.assertEqual(second.split(), ["flat", "0.000", "10.0"] + ["-"] * 6 + ["0.00", "10.0"])

    def testCurvesStandWhereTheirNumbersSay(self):
        middle = math.sqrt(10.0 * 24000.0)
        cliff = self.response("cliff.csv", lambda hz: 0.0 if hz < middle else -30.0)
        flat = self.response("flat.csv", lambda hz: -10.0, [0.0, 5.0, 30000.0])
        picture = self.picture(cliff, flat, "--y", "-40", "10", "--size", "900x500")
        self.assertEqual((picture.width, picture.height), (900, 500))
        blue, orange = picture.places(BLUE), picture.places(ORANGE)
        left, right = min(x for x, _ in orange), max(x for x, _ in orange)
        heights = {y for _, y in orange}
        self.assertLessEqual(len(heights), 3)
        self.assertEqual(len({x for x, _ in orange}), right - left + 1)
        mean = lambda numbers: sum(numbers) / len(numbers)
        high = mean({y for x, y in blue if x < left + 50})
        low = mean({y for x, y in blue if x > right - 50})
        self.assertAlmostEqual((mean(heights) - high) / (low - high), 1 / 3, 1)
        edge = [x for x, y in blue if high + 20 < y < low - 20]
        self.assertAlmostEqual(mean(edge), (left + right) / 2, delta=1.5)

    def testImpulseStandsAtItsSample(self):
        rows = "".join(f"{i},{1.0 if i == 300 else -0.25 if i == 100 else 0}\n" for i in range(401))
        path = self.file("impulse.csv", b"sample,value\n" + rows.encode())
        blue = self.picture("--impulse", path).places(BLUE)
        left, right = min(x for x, _ in blue), max(x for x, _ in blue)
        top, bottom = (pick(blue, key=lambda place: place[1]) for pick in (min, max))
        self.assertAlmostEqual((top[0] - left) / (right - left), 0.75, 2)
        self.assertAlmostEqual((bottom[0] - left) / (right - left), 0.25, 2)

    def testBadFilesAreNamedWithLineAndReason(self):
        good = b"frequency,dB\n10,0\n20,0\n"
        cases = [
            (b"", ":1: the header is not 'frequency,dB'"),
            (b"sample,value\n0,1\n", ":1: the header is not 'frequency,dB'"),
            (b"frequency,dB\n10,0\n", ": fewer than two rows"),
            (good + b"30\n", ":4: 1 columns, not 2"),
            (good + b"30,0,1\n", ":4: 3 columns, not 2"),
            (good + b"\n30,loud\n", ":5: 'loud' is no number"),
            (good + b"20,0\n", ":4: frequency 20 does not rise"),
            (b"frequency,dB\n-10,0\n", ":2: frequency -10 does not rise"),
            (good + b"30,nan\n", ":4: '30,nan' is out of range"),
            (good + b"30,inf\n", ":4: '30,inf' is out of range"),
            (good + b"inf,0\n", ":4: 'inf,0' is out of range"),
            (b"\x89PNG\r\n", ": not a text of comma-separated values"),
            (None, ": No such file or directory"),
        ]
        for content, reason in cases:
            with self.subTest(reason=reason, content=content):
                path = os.path.join(self.folder, "missing.csv")
                if content is not None:
                    path = self.file("bad.csv", content)
                out = os.path.join(self.folder, "none.png")
                errors = io.StringIO()
                with contextlib.redirect_stderr(errors):
                    self.assertEqual(plot_responses.main([path, "-o", out]), 1)
                self.assertIn(path + reason, errors.getvalue())
                self.assertFalse(os.path.exists(out))


if __name__ == "__main__":
    unittest.main()
