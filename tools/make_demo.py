#!/usr/bin/env python3
"""Composes the demo piece that `./run` renders: four bars, ten seconds, which loop without a seam.

A quiet bar, a middle one and two loud ones of drums, bass, wide pads, bells and a singing voice
with sharp sibilants: 30 Hz to 18 kHz, so that every band of a dynamics processor has work to do.
Stereo, 48 kHz, 24 bits (of which the lowest five are 0, which keeps the file small).

Usage: make_demo.py OUT.flac        needs the program flac; the same file each time
"""

import math
import os
import random
import subprocess
import sys
import tempfile
import wave

RATE = 48000
SIXTEENTH = 7500  # samples; 96 beats per minute
BEAT = 4 * SIXTEENTH
BAR = 4 * BEAT
LENGTH = 4 * BAR
TAU = 2 * math.pi
noise = random.Random(1)


class Track:
    """Two channels that close on themselves: what rings past the end is heard at the start."""

    def __init__(self):
        self.left = [0.0] * LENGTH
        self.right = [0.0] * LENGTH

    def add(self, start, samples, gain, pan=0.0):
        """`pan` from -1 (left) to 1 (right), with constant power."""
        angle = (pan + 1) * math.pi / 4
        for channel, share in ((self.left, math.cos(angle)), (self.right, math.sin(angle))):
            factor = gain * share
            if factor > 1e-9:
                for i, x in enumerate(samples, start):
                    channel[i % LENGTH] += factor * x

    def addTrack(self, other, gain):
        for own, its in ((self.left, other.left), (self.right, other.right)):
            for i, x in enumerate(its):
                own[i] += gain * x


def pitch(semitones):
    """Hz of a note that lies this many semitones above the A of 220 Hz."""
    return 220.0 * 2 ** (semitones / 12)


def decay(seconds, frames):
    """An exponential fall over `frames`; `seconds` is its time constant."""
    factor, x = math.exp(-1 / (seconds * RATE)), 1.0
    for _ in range(frames):
        yield x
        x *= factor


def whiteNoise(frames):
    return [noise.uniform(-1, 1) for _ in range(frames)]


def lowPass(samples, hz):
    a, y, out = 1 - math.exp(-TAU * hz / RATE), 0.0, []
    for x in samples:
        y += a * (x - y)
        out.append(y)
    return out


def highPass(samples, hz):
    return [x - low for x, low in zip(samples, lowPass(samples, hz))]


def resonator(samples, hz, bandwidth):
    """A two-pole resonance of unit gain at `hz`."""
    r = math.exp(-math.pi * bandwidth / RATE)
    b1, b2 = 2 * r * math.cos(TAU * hz / RATE), -r * r
    gain = (1 - r) * math.sqrt(1 - 2 * r * math.cos(2 * TAU * hz / RATE) + r * r)
    y1 = y2 = 0.0
    out = []
    for x in samples:
        y1, y2 = gain * x + b1 * y1 + b2 * y2, y1
        out.append(y1)
    return out


def saw(hz, frames, phase=0.0):
    """Rounded at its jump, as far as one sample on both sides, against aliasing."""
    step, out = hz / RATE, []
    for _ in range(frames):
        x = 2 * phase - 1
        if phase < step:
            t = phase / step
            x -= t + t - t * t - 1
        elif phase > 1 - step:
            t = (phase - 1) / step
            x -= t * t + t + t + 1
        out.append(x)
        phase = (phase + step) % 1.0
    return out


def fades(samples, attackSeconds, releaseSeconds):
    attack, release, n = attackSeconds * RATE, releaseSeconds * RATE, len(samples)
    return [x * min(1.0, i / attack, (n - i) / release) for i, x in enumerate(samples)]


def kick():
    phase, out = 0.0, []
    for i, level in enumerate(decay(0.13, 20000)):
        phase += TAU * (44 + 130 * math.exp(-i / (0.022 * RATE))) / RATE
        out.append(level * math.sin(phase))
    for i, (x, level) in enumerate(zip(whiteNoise(300), decay(0.0012, 300))):
        out[i] += 0.5 * level * x
    return fades(out, 0.0004, 0.05)


def snare():
    rattle = highPass(whiteNoise(12000), 1500)
    body = [math.sin(TAU * 186 * i / RATE) for i in range(12000)]
    out = [0.8 * n * a + 0.9 * b * c
           for n, a, b, c in zip(rattle, decay(0.07, 12000), body, decay(0.045, 12000))]
    return fades(out, 0.0003, 0.02)


def cymbal(seconds, frames):
    """Hats and crash: noise and a few inharmonic squares, above 6 kHz."""
    metal = [0.0] * frames
    for hz in (3170.0, 4210.0, 5403.0, 6790.0):
        step = TAU * hz / RATE
        for i in range(frames):
            metal[i] += 0.2 if math.sin(step * i) > 0 else -0.2
    mixed = [m + 0.8 * n for m, n in zip(metal, whiteNoise(frames))]
    bright = highPass(highPass(mixed, 6000), 6000)
    return fades([x * a for x, a in zip(bright, decay(seconds, frames))], 0.0002, 0.01)


def tom(hz):
    phase, out = 0.0, []
    for i, level in enumerate(decay(0.11, 15000)):
        phase += TAU * hz * (1 + 0.5 * math.exp(-i / 1500)) / RATE
        out.append(level * math.sin(phase))
    return fades(out, 0.001, 0.05)


def bass(hz, frames):
    tone = saw(hz, frames)
    bite = lowPass(lowPass(tone, 1400), 1400)
    round_ = lowPass(lowPass(tone, 220), 220)
    plucked = [0.7 * b * a + r for b, r, a in zip(bite, round_, decay(0.08, frames))]
    return fades(plucked, 0.003, 0.02)


def bell(hz):
    out = []
    for i, (level, bright) in enumerate(zip(decay(0.22, 36000), decay(0.06, 36000))):
        t = TAU * hz * i / RATE
        out.append(level * math.sin(t + 2.2 * bright * math.sin(3.01 * t)))
    return fades(out, 0.001, 0.1)


def subDrop():
    phase, out, frames = 0.0, [], int(1.6 * RATE)
    for i in range(frames):
        phase += TAU * (29 + 45 * math.exp(-i / (0.35 * RATE))) / RATE
        out.append(math.sin(phase))
    return fades(out, 0.01, 1.2)


VOWELS = {"a": (730, 1090, 2440, 3400), "e": (530, 1840, 2480, 3500),
          "i": (290, 2250, 3010, 3600), "o": (500, 860, 2410, 3300)}


def sungVowel(vowel, hz, frames):
    phase, pulses = 0.0, []
    for i in range(frames):
        vibrato = 1 + 0.012 * min(1.0, i / 12000) * math.sin(TAU * 5.3 * i / RATE)
        step = hz * vibrato / RATE
        phase = (phase + step) % 1.0
        # The glottis opens slowly and shuts at once.
        opening = phase / 0.6
        pulses.append(opening * opening * (3 - 2 * opening) if opening < 1 else 0.0)
    flow = highPass(pulses, 1500)
    breath = [0.02 * x for x in whiteNoise(frames)]
    source = [f + b for f, b in zip(flow, breath)]
    out = [0.0] * frames
    for formant, bandwidth, gain in zip(VOWELS[vowel], (80, 100, 140, 200), (1.0, 0.7, 0.45, 0.3)):
        for i, x in enumerate(resonator(source, formant, bandwidth)):
            out[i] += gain * x
    return fades(out, 0.03, 0.09)


def sibilant(frames):
    hiss = whiteNoise(frames)
    high = resonator(hiss, 7600, 2600)
    higher = resonator(hiss, 10500, 3500)
    return fades([a + 0.7 * b for a, b in zip(high, higher)], 0.02, 0.025)


def sing(track, start, syllables, gain):
    """`syllables`: (first sixteenth, sixteenths long, vowel, semitones), each begun by an s."""
    hiss = int(0.1 * RATE)
    for at, length, vowel, semitones in syllables:
        begin = start + at * SIXTEENTH
        track.add(begin - hiss + 1200, sibilant(hiss), 1.1 * gain)
        track.add(begin, sungVowel(vowel, pitch(semitones), length * SIXTEENTH), 5.0 * gain)


def pads(track):
    """Every voice is detuned otherwise on either side, so that little of it is common to both."""
    chords = [(0, 3, 7, 14), (-4, 0, 3, 7), (3, 7, 10, 14), (-2, 2, 5, 12)]
    frames = BAR + int(0.5 * RATE)
    for bar, (chord, gain) in enumerate(zip(chords, (0.28, 0.5, 0.75, 0.75))):
        for side in (-0.9, 0.9):
            sound = [0.0] * frames
            for note in chord:
                for cents in (noise.uniform(-14, -3), noise.uniform(3, 14)):
                    tone = saw(pitch(note + cents / 100), frames, noise.random())
                    for i, x in enumerate(tone):
                        sound[i] += x
            soft = lowPass(lowPass(sound, 1800 + 900 * bar), 5000)
            track.add(bar * BAR, fades(soft, 0.35, 0.5), 0.085 * gain, side)


def bells(track):
    pattern = (0, 7, 12, 14, 15, 14, 12, 7)
    for bar, root in enumerate((0, -4, 3, -2)):
        for k in range(16):
            if bar == 0 and k % 2:
                continue
            sound = bell(pitch(12 + root + pattern[k % 8]))
            loud = (0.07, 0.08, 0.11, 0.11)[bar] * (1.3 if k % 4 == 0 else 1.0)
            side = 0.8 if (k if bar else k // 2) % 2 else -0.8
            track.add(bar * BAR + k * SIXTEENTH, sound, loud, side)


def basses(track):
    steps = (0, 3, 6, 8, 10, 11, 14)
    for bar, root in enumerate((-24, -28, -21, -26)):
        if bar == 0:
            track.add(0, bass(pitch(root), BAR - 3000), 0.09)
            continue
        for here, there in zip(steps, steps[1:] + (16,)):
            octave = 12 if here in (6, 11) else 0
            sound = bass(pitch(root + octave), (there - here) * SIXTEENTH - 900)
            track.add(bar * BAR + here * SIXTEENTH, sound, 0.26 if bar == 1 else 0.36)


def drums(track):
    kickSound, snareSound = kick(), snare()
    hat, openHat, crash = cymbal(0.022, 6000), cymbal(0.12, 18000), cymbal(0.7, 96000)
    hits = {  # sixteenths of each bar
        "kick": [(), (0, 8), (0, 3, 8, 10), (0, 3, 8)],
        "snare": [(), (12,), (4, 12), (4, 10, 11)],
        "open": [(), (14,), (6, 14), (6,)],
    }
    for bar in range(4):
        start, level = bar * BAR, (0.0, 0.7, 1.0, 1.0)[bar]
        for k in hits["kick"][bar]:
            track.add(start + k * SIXTEENTH, kickSound, 1.15 * level)
        for k in hits["snare"][bar]:
            track.add(start + k * SIXTEENTH, snareSound, 0.52 * level, -0.08)
        for k in hits["open"][bar]:
            track.add(start + k * SIXTEENTH, openHat, 0.3 * level, 0.35)
        for k in range(0, 16, 4 if bar == 0 else 1):
            accent = (0.28, 0.09, 0.18, 0.12)[k % 4] * (0.4 if bar == 0 else level)
            late = noise.randrange(200)
            track.add(start + k * SIXTEENTH + late, hat, accent, 0.4)
    track.add(2 * BAR, crash, 0.35, -0.5)
    for k, hz, pan in ((12, 165, -0.6), (13, 130, -0.1), (14, 98, 0.5)):
        track.add(3 * BAR + k * SIXTEENTH, tom(hz), 0.7, pan)


def voice(track):
    sing(track, 0, [(2, 5, "a", 0), (8, 3, "i", 3), (12, 4, "o", 2)], 0.13)
    sing(track, BAR, [(2, 3, "e", 0), (6, 3, "a", 3), (10, 5, "o", 5)], 0.18)
    sing(track, 2 * BAR, [(0, 3, "a", 7), (4, 3, "i", 10), (8, 6, "a", 7)], 0.32)
    sing(track, 3 * BAR, [(0, 3, "o", 5), (4, 3, "e", 9), (8, 4, "a", 5)], 0.32)


def comb(samples, delay, feedback):
    """Twice around, so that the tail of the end reaches the start."""
    line, low, at, out = [0.0] * delay, 0.0, 0, []
    for turn in range(2):
        for x in samples:
            y = line[at]
            low += 0.55 * (y - low)
            line[at] = x + feedback * low
            at = at + 1 if at + 1 < delay else 0
            if turn:
                out.append(y)
    return out


def room(dry):
    """A small reverberation (parallel combs after M. Schroeder, 1962), other on either side."""
    wet = Track()
    middle = [0.5 * (l + r) for l, r in zip(dry.left, dry.right)]
    sides = ((wet.left, (1423, 1777, 2053, 2389)), (wet.right, (1471, 1733, 2131, 2297)))
    for channel, delays in sides:
        for k, delay in enumerate(delays):
            sign = 1 if k % 2 else -1
            for i, x in enumerate(comb(middle, delay, 0.82)):
                channel[i] += sign * 0.25 * x
    return wet


def withoutOffset(samples):
    """A high-pass at 18 Hz that has settled before it is heard."""
    return highPass(samples + samples, 18)[LENGTH:]


def bend(x):
    """Straight up to 0.6, then rounded, below 1 for any input."""
    size = abs(x)
    if size <= 0.6:
        return x
    return math.copysign(0.6 + 0.4 * math.tanh((size - 0.6) / 0.4), x)


def compose():
    """The piece as two channels that peak at -1 dBFS."""
    beats, music, singing = Track(), Track(), Track()
    drums(beats)
    pads(music)
    bells(music)
    basses(beats)
    beats.add(2 * BAR, subDrop(), 0.4)
    voice(singing)
    wet = Track()
    wet.addTrack(music, 0.6)
    wet.addTrack(singing, 0.8)
    wet.addTrack(beats, 0.06)
    master = Track()
    for track, gain in ((beats, 0.46), (music, 0.35), (singing, 0.64), (room(wet), 0.15)):
        master.addTrack(track, gain)
    channels = [[bend(x) for x in withoutOffset(c)] for c in (master.left, master.right)]
    channels = [withoutOffset(c) for c in channels]
    scale = 10 ** (-1 / 20) / max(abs(x) for c in channels for x in c)
    return [[x * scale for x in c] for c in channels]


def packed(channels):
    """Interleaved 24-bit words, dithered to 19 bits."""
    out = bytearray()
    for frame in zip(*channels):
        for x in frame:
            steps = math.floor(x * 2 ** 18 + noise.random() + noise.random() - 0.5)
            out += (32 * steps).to_bytes(3, "little", signed=True)
    return bytes(out)


def main():
    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "demo.wav")
        with wave.open(path, "wb") as out:
            out.setnchannels(2)
            out.setsampwidth(3)
            out.setframerate(RATE)
            out.writeframes(packed(compose()))
        flac = ["flac", "-8", "--totally-silent", "-f", "-o", sys.argv[1], path]
        subprocess.run(flac, check=True)


if __name__ == "__main__":
    main()
