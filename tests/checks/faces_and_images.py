#!/usr/bin/python3
"""Fails if resources/faces or resources/images are not what their scripts make, or lack what the
editor's text counts on."""

import os
import struct
import subprocess
import sys
import tempfile
import zlib

ROOT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..")
FACES = {  # the characters that texts write: letters, icons, and what stands for $, ~ and DEL
    "DSP-Bold.ttf": [0x103, 0x104, 0x145, 0x1E01, 0x1E02, 0xF01E, 0xF0C7, 0xF0E2, 0xF114],
    "OpenSans-Regular.ttf": [0x103, 0x201C, 0x2026],
}


def check(holds, *what):
    if not holds:
        sys.exit("faces_and_images: " + " ".join(map(str, what)))


def contents(folder):
    return {entry.name: open(entry.path, "rb").read() for entry in os.scandir(folder)
            if entry.name.endswith((".ttf", ".png"))}


def checkMade(script, name):
    kept = os.path.join(ROOT, "resources", name)
    with tempfile.TemporaryDirectory() as folder:
        made = subprocess.run([os.path.join(ROOT, "tools", script), folder], capture_output=True)
        if b"needs the Debian package" in made.stderr:
            print("skipped:", made.stderr.decode())
            sys.exit(77)
        check(made.returncode == 0, made.stderr.decode())
        check(contents(folder) == contents(kept), "not what tools/%s makes: %s" % (script, kept))


def checkFace(name, characters):
    from fontTools.ttLib import TTFont

    with TTFont(os.path.join(ROOT, "resources", "faces", name)) as font:
        glyphs, advances, names = font["glyf"], font["hmtx"], font.getBestCmap()
        for code in [*range(0x21, 0x7F), *range(0xC0, 0x100), 0x2022, 0x2190, 0x2192, *characters]:
            check(code in names and glyphs[names[code]].numberOfContours != 0, name, hex(code))
        check(glyphs[".notdef"].numberOfContours == 0, name, "shows what it does not have")
        check(len({advances[names[ord(digit)]][0] for digit in "0123456789"}) == 1, name, "digits")
        line, capital = font["hhea"], glyphs[names[ord("H")]]
        check(line.ascent - line.descent == font["head"].unitsPerEm, name, "size is not the em")
        check(line.ascent + line.descent == capital.yMax, name, "capitals are not in the middle")
        texts = [str(record).replace(" ", "") for record in font["name"].names]
        check(not any("OpenSans" in text for text in texts), name, "bears a trademark")


def checkStrip(name, height):
    data = contents(os.path.join(ROOT, "resources", "images"))[name]
    width, rows = struct.unpack(">II", data[16:24])
    length = struct.unpack(">I", data[33:37])[0]
    pixels = zlib.decompress(data[41:41 + length])
    stride = 4 * width + 1
    full = "".join(" x"[any(pixels[y * stride + 4 * (x + 1)] for y in range(rows))]
                   for x in range(width))
    check(rows == height and len(full.split(" ")) == len(full.split()) == 70, name, full)


def main():
    checkMade("make_faces.py", "faces")
    checkMade("make_images.py", "images")
    for name, characters in FACES.items():
        checkFace(name, characters)
    checkStrip("101.png", 13)
    checkStrip("101@2x.png", 26)


if __name__ == "__main__":
    main()
