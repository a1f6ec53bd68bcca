#!/usr/bin/python3
"""Makes the editor's faces, DSP-Bold.ttf and OpenSans-Regular.ttf, of the letters of Open Sans.

Both are cut down to Latin and get vertical metrics of one em from ascent to descent, with the
middle of the capitals in the middle of the line: a pixel height is then the size of the em. The
bold face also holds the icons, drawn below. A character that a face does not have is blank.

Usage: make_faces.py OUTDIR     needs the Debian packages fonts-open-sans and python3-fonttools;
                                the same files each time
"""

import array
import math
import os
import sys

try:
    from fontTools import subset
    from fontTools.ttLib import TTFont, newTable
    from fontTools.ttLib.tables._c_m_a_p import cmap_format_4
    from fontTools.ttLib.tables._g_l_y_f import Glyph, GlyphCoordinates
    from fontTools.ttLib.tables.ttProgram import Program
except ImportError:
    sys.exit("make_faces.py: needs the Debian package python3-fonttools")

SOURCES = "/usr/share/fonts/truetype/open-sans"
EM = 2048
ASCENT, DESCENT = 1755, -293
MIDDLE = 731  # half the height of the capitals
LATIN = [
    *range(0x20, 0x7F), *range(0xA0, 0x180), *range(0x2010, 0x2016), *range(0x2018, 0x201F),
    0x2022, 0x2026, 0x2039, 0x203A, 0x20AC, 0x2122, 0x2212, 0x221E, 0x2264, 0x2265]

# A contour is a list of points (x, y, on the curve), y up; a piece is an outline, then its holes;
# an icon is a list of pieces, which may overlap, around the middle of the capitals.


def polygon(*points):
    return [(x, y, True) for x, y in points]


def rounded(radius, *points):
    """A polygon whose corners are cut by `radius` and bent."""
    contour = []
    for i, (x, y) in enumerate(points):
        for step in (-1, 0, 1):
            nearX, nearY = points[(i + step) % len(points)]
            share = radius / (math.hypot(nearX - x, nearY - y) or 1)
            contour.append((x + share * (nearX - x), y + share * (nearY - y), step != 0))
    return contour


def arc(radius, begin, end, x=0, y=0):
    """Angles in degrees, counter-clockwise from the right. Steps are small enough to look round
    even where a rasteriser draws them as straight lines."""
    count = math.ceil(abs(end - begin) / 15)
    step = (end - begin) / count

    def point(angle, distance, onCurve):
        angle = math.radians(angle)
        return (x + distance * math.cos(angle), y + distance * math.sin(angle), onCurve)

    bent = radius / math.cos(math.radians(step / 2))
    return [point(begin, radius, True),
            *(point(begin + (i + 0.5) * step, bent, False) for i in range(count)),
            point(end, radius, True)]


def sector(inner, outer, begin, end, x=0, y=0):
    return arc(outer, begin, end, x, y) + arc(inner, end, begin, x, y)


def stadium(half, radius):
    return arc(radius, -90, 90, half) + arc(radius, 90, 270, -half)


def moved(contour, x=0, y=0, degrees=0):
    c, s = math.cos(math.radians(degrees)), math.sin(math.radians(degrees))
    return [(px * c - py * s + x, px * s + py * c + y, on) for px, py, on in contour]


def mirrored(icon):
    return [[[(-x, y, on) for x, y, on in contour] for contour in piece] for piece in icon]


def ofPixels(*contours):
    """Drawn on the pixels of size 18, at which these icons stand, from the base line up."""
    pixel = EM / 18
    return [[(x * pixel, y * pixel - MIDDLE, on) for x, y, on in contour] for contour in contours]


TRIANGLE = [[polygon((-420, 0), (420, 560), (420, -560))]]

POWER = [[sector(470, 640, 125, 415)], [polygon((-85, 60), (-85, 720), (85, 720), (85, 60))]]

LINKS = [[moved(stadium(250, radius), x, 0.62 * x, 32) for radius in (300, 165)]
         for x in (-270, 270)]

HEADPHONES = [
    [[(-640, -300, True), *arc(640, 180, 0, 0, -60), (640, -300, True),
      (500, -300, True), *arc(500, 0, 180, 0, -60), (-500, -300, True)]],
    *([moved(stadium(150, 170), x, -290, 90)] for x in (-530, 530))]

FOLDER = [ofPixels(
    rounded(1.2, (0, 1), (0, 12), (6, 12), (6, 10), (14, 10), (14, 1)),
    rounded(0.5, (1, 2), (1, 11), (5, 11), (5, 9), (13, 9), (13, 2)))]

DISK = [ofPixels(
    rounded(0.7, (0, 0), (0, 13), (9.5, 13), (13, 9.5), (13, 0)),
    polygon((1, 1), (1, 12), (3, 12), (3, 8), (9, 8), (9, 12), (12, 9), (12, 1), (10, 1), (10, 6),
            (3, 6), (3, 1)),
    polygon((6, 9), (6, 12), (8, 12), (8, 9)),
    polygon((4, 1), (4, 5), (9, 5), (9, 1)))]


def turningBack():
    """A ring that is open at the left, with the head of an arrow at its upper end."""
    inner, outer, half, length = 545, 795, 400, 520
    begin, end = -140, 150
    middle, slope = (inner + outer) / 2, math.radians(end)

    def head(distance, ahead):
        return (distance * math.cos(slope) - ahead * math.sin(slope),
                distance * math.sin(slope) + ahead * math.cos(slope), True)

    return [[arc(outer, begin, end) + [head(middle + half, 0), head(middle, length),
                                       head(middle - half, 0)] + arc(inner, end, begin)]]


def arrowLeft(half):
    """An arrow of the text, `half` the thickness of its shaft."""
    return [[polygon((-760, 0), (-200, 480), (-200, half), (760, half), (760, -half),
                     (-200, -half), (-200, -480))]]


def arrows(half):
    return {0x2190: arrowLeft(half), 0x2192: mirrored(arrowLeft(half))}


ICONS = {
    0x0103: LINKS,
    0x0104: POWER,
    0x0145: HEADPHONES,
    0x1E01: TRIANGLE,
    0x1E02: mirrored(TRIANGLE),
    0xF01E: mirrored(turningBack()),
    0xF0C7: DISK,
    0xF0E2: turningBack(),
    0xF114: FOLDER,
}


def wound(contour, clockwise):
    area = sum(x * nextY - nextX * y
               for (x, y, _), (nextX, nextY, _) in zip(contour, contour[1:] + contour[:1]))
    return contour if (area < 0) == clockwise else contour[::-1]


def glyphOf(icon):
    """The glyph with outlines clockwise and holes the other way, and its advance."""
    contours = [wound(contour, i == 0) for piece in icon for i, contour in enumerate(piece)]
    points = [point for contour in contours for point in contour]
    bearing = round(EM / 18)
    left = bearing - min(x for x, _, _ in points)
    glyph = Glyph()
    glyph.numberOfContours = len(contours)
    glyph.coordinates = GlyphCoordinates(
        [(round(x + left), round(y + MIDDLE)) for x, y, _ in points])
    glyph.flags = array.array("B", [on for _, _, on in points])
    glyph.flags[0] |= 0x40  # contours overlap
    ends = [len(contour) for contour in contours]
    glyph.endPtsOfContours = [sum(ends[:i + 1]) - 1 for i in range(len(ends))]
    glyph.program = Program()
    glyph.program.fromBytecode([])
    return glyph, bearing + max(x for x, _ in glyph.coordinates)


def cutDown(font, unicodes):
    options = subset.Options()
    options.drop_tables += ["GDEF", "GPOS", "GSUB", "gasp", "kern"]
    options.hinting = False
    options.notdef_outline = False
    options.glyph_names = False
    options.name_IDs = ["*"]
    options.recalc_bounds = True
    options.recalc_average_width = True
    options.prune_unicode_ranges = True
    subsetter = subset.Subsetter(options)
    subsetter.populate(unicodes=unicodes)
    subsetter.subset(font)


def addGlyphs(font, icons):
    characters = dict(font.getBestCmap())
    for character, icon in icons.items():
        name = characters[character] = "icon%04X" % character
        font["glyf"][name], advance = glyphOf(icon)
        font["glyf"][name].recalcBounds(font["glyf"])
        font["hmtx"][name] = (advance, font["glyf"][name].xMin)
    table = cmap_format_4(4)
    table.platformID, table.platEncID, table.language, table.cmap = 3, 1, 0, characters
    font["cmap"].tables = [table]


def setMetrics(font):
    header, windows = font["hhea"], font["OS/2"]
    header.ascent = windows.sTypoAscender = windows.usWinAscent = ASCENT
    header.descent = windows.sTypoDescender = DESCENT
    windows.usWinDescent = -DESCENT
    header.lineGap = windows.sTypoLineGap = 0


def setNames(font, style):
    """A face of our own name: that of the letters is a trademark."""
    old = {record.nameID: str(record) for record in font["name"].names if record.platformID == 3}
    names = {
        0: old[0],
        1: "DSP",
        2: style,
        3: "Halvekro: DSP %s 1.000" % style,
        4: "DSP %s" % style,
        5: "Version 1.000",
        6: "DSP-%s" % style,
        10: "Changed by Halvekro: cut down to Latin, new vertical metrics, arrows and icons added.",
        13: old[13],
        14: old[14],
    }
    font["name"] = newTable("name")
    for number, text in names.items():
        font["name"].setName(text, number, 3, 1, 0x409)
    font["OS/2"].achVendID = "    "
    font["head"].fontRevision = 1.0
    font["head"].modified = font["head"].created
    font["post"].formatType = 3.0


def make(source, style, icons, path):
    with TTFont(os.path.join(SOURCES, source), recalcTimestamp=False) as font:
        cutDown(font, [character for character in LATIN if character not in icons])
        addGlyphs(font, icons)
        setMetrics(font)
        setNames(font, style)
        font.save(path)


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    if not os.path.isdir(SOURCES):
        sys.exit("make_faces.py: needs the Debian package fonts-open-sans")
    folder = sys.argv[1]
    os.makedirs(folder, exist_ok=True)
    make("OpenSans-Bold.ttf", "Bold", {**ICONS, **arrows(115)},
         os.path.join(folder, "DSP-Bold.ttf"))
    make("OpenSans-Regular.ttf", "Regular", arrows(75),
         os.path.join(folder, "OpenSans-Regular.ttf"))


if __name__ == "__main__":
    main()
