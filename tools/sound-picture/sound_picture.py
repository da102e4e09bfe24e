#!/usr/bin/env python3
"""Draws sounds as pictures, so the mix can be judged by eye as well as by ear.

  sound_picture.py effects <SoundFacts.h> <data folder> <out.png>
      every generated effect on one sheet, all on the same time and level scale: the waveform's
      extent per column in grey, its RMS envelope in dark blue, the -6 and -20 dBFS lines, and the
      name, length, peak and RMS of each.
  sound_picture.py stream <stream.wav> <times file> <out.png>
      a stereo stream that OpenAL Soft's wave backend wrote while the game played (see
      tests/e2e/sound.sh): the left and right RMS envelopes in dB over time, with the driver's
      events ("<name> <seconds>" lines) marked.

Python's wave module reads the effects; the stream is read by the sound test's own reader
(tests/e2e/check_stream.py: it is WAVE_FORMAT_EXTENSIBLE, which wave refuses). The text is set
by ImageMagick's convert with the DejaVu font.
"""
import array
import math
import os
import re
import subprocess
import sys
import wave

# The stream reader the sound test uses, from the source tree beside this tool.
sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "tests",
                                "e2e"))
import check_stream  # noqa: E402

# Effects sheet: one row a sound, all rows on one time scale.
ROW_HEIGHT = 70
LABEL_WIDTH = 230
PIXELS_PER_SECOND = 200
# Stream picture.
STREAM_HEIGHT = 300
STREAM_PIXELS_PER_SECOND = 25
STREAM_WINDOW_SECONDS = 0.05
DB_FLOOR = -60.0

WHITE = (255, 255, 255)
GRID = (215, 215, 215)
EXTENT = (170, 170, 170)
ENVELOPE = (20, 40, 150)
LEFT = (200, 40, 30)
RIGHT = (30, 120, 40)
EVENT = (120, 60, 160)

ENTRY = re.compile(r'\{Sound::\w+,\s*"([^"]+)",\s*(true|false),\s*[0-9.]+f?,\s*([0-9.]+)f?\}')


class Canvas:
    def __init__(self, width, height):
        self.width, self.height = width, height
        self.pixels = bytearray(WHITE * (width * height))

    def put(self, x, y, colour):
        if 0 <= x < self.width and 0 <= y < self.height:
            at = 3 * (y * self.width + x)
            self.pixels[at:at + 3] = bytes(colour)

    def vertical(self, x, y0, y1, colour):
        for y in range(min(y0, y1), max(y0, y1) + 1):
            self.put(x, y, colour)

    def horizontal(self, y, x0, x1, colour):
        for x in range(x0, x1):
            self.put(x, y, colour)

    def save(self, path, labels):
        """Writes the picture through convert, setting each (x, y, text) label."""
        ppm = b"P6 %d %d 255\n" % (self.width, self.height) + bytes(self.pixels)
        args = ["convert", "ppm:-", "-font", "DejaVu-Sans", "-pointsize", "12", "-fill", "black"]
        for x, y, text in labels:
            args += ["-annotate", "+%d+%d" % (x, y), text]
        subprocess.run(args + [path], input=ppm, check=True)


def decibels(level):
    return 20 * math.log10(level) if level > 0 else DB_FLOOR


def rms(values):
    return math.sqrt(sum(v * v for v in values) / len(values)) if values else 0.0


def read_effect(path):
    with wave.open(path, "rb") as wav:
        samples = array.array("h", wav.readframes(wav.getnframes()))
        if sys.byteorder != "little":
            samples.byteswap()
        return wav.getframerate(), [s / 32768.0 for s in samples]


def draw_effect_row(canvas, top, rate, samples):
    """Waveform extent and RMS envelope of one effect, in the row starting at top."""
    middle = top + ROW_HEIGHT // 2
    half = ROW_HEIGHT // 2 - 4
    for db in (-6.0, -20.0):
        offset = int(round(half * 10 ** (db / 20)))
        canvas.horizontal(middle - offset, LABEL_WIDTH, canvas.width, GRID)
        canvas.horizontal(middle + offset, LABEL_WIDTH, canvas.width, GRID)
    step = rate // PIXELS_PER_SECOND
    for column in range(len(samples) // step):
        chunk = samples[column * step:(column + 1) * step]
        x = LABEL_WIDTH + column
        canvas.vertical(x, middle - int(max(chunk) * half), middle - int(min(chunk) * half), EXTENT)
        level = int(rms(chunk) * half)
        canvas.put(x, middle - level, ENVELOPE)
        canvas.put(x, middle + level, ENVELOPE)
    canvas.horizontal(top + ROW_HEIGHT - 1, 0, canvas.width, GRID)


def effects(header, folder, out):
    sounds = [(name, loop == "true", float(gain)) for name, loop, gain in
              ENTRY.findall(open(header, encoding="utf-8").read())]
    rows = [(name, loop, gain) + read_effect(os.path.join(folder, name))
            for name, loop, gain in sounds]
    longest = max(len(samples) / rate for _, _, _, rate, samples in rows)
    canvas = Canvas(LABEL_WIDTH + int(longest * PIXELS_PER_SECOND) + 10, ROW_HEIGHT * len(rows))
    labels = []
    for index, (name, loop, gain, rate, samples) in enumerate(rows):
        top = index * ROW_HEIGHT
        draw_effect_row(canvas, top, rate, samples)
        peak = max(abs(s) for s in samples)
        labels.append((8, top + 22, name + (" (loop)" if loop else "")))
        labels.append((8, top + 40, "%.2f s, mix gain %.2f (%.1f dB)" %
                       (len(samples) / rate, gain, decibels(gain))))
        labels.append((8, top + 58, "peak %.1f dB, RMS %.1f dB" %
                       (decibels(peak), decibels(rms(samples)))))
    for second in range(int(longest) + 1):
        x = LABEL_WIDTH + second * PIXELS_PER_SECOND
        labels.append((x + 2, 12, "%d s" % second))
    canvas.save(out, labels)


def stream(path, times_file, out):
    rate, left, right = check_stream.read(path)
    seconds = len(left) / rate
    canvas = Canvas(60 + int(seconds * STREAM_PIXELS_PER_SECOND) + 10, STREAM_HEIGHT)
    bottom = STREAM_HEIGHT - 20

    def y_of(db):
        return bottom - int((db - DB_FLOOR) / -DB_FLOOR * (bottom - 10))

    labels = []
    for db in range(int(DB_FLOOR), 1, 10):
        canvas.horizontal(y_of(db), 60, canvas.width, GRID)
        labels.append((4, y_of(db) + 4, "%d dB" % db))
    window = int(rate * STREAM_WINDOW_SECONDS)
    for channel, colour in ((left, LEFT), (right, RIGHT)):
        for column in range(canvas.width - 70):
            start = int(column / STREAM_PIXELS_PER_SECOND * rate)
            canvas.put(60 + column, y_of(max(DB_FLOOR, decibels(rms(channel[start:start + window])))),
                       colour)
    for line in open(times_file):
        parts = line.split()
        if len(parts) == 2:
            x = 60 + int(float(parts[1]) * STREAM_PIXELS_PER_SECOND)
            canvas.vertical(x, 10, bottom, EVENT)
            labels.append((x + 3, 22 + 14 * (len(labels) % 3), parts[0]))
    for second in range(0, int(seconds) + 1, 5):
        labels.append((60 + second * STREAM_PIXELS_PER_SECOND, STREAM_HEIGHT - 4, "%d s" % second))
    labels.append((canvas.width - 150, 12, "red: left, green: right"))
    canvas.save(out, labels)


if __name__ == "__main__":
    if len(sys.argv) == 5 and sys.argv[1] == "effects":
        effects(*sys.argv[2:])
    elif len(sys.argv) == 5 and sys.argv[1] == "stream":
        stream(*sys.argv[2:])
    else:
        raise SystemExit(__doc__)
