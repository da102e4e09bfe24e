#!/usr/bin/env python3
"""Checks the sound stream that OpenAL Soft's wave backend wrote while the game played.

Arguments: the stream (a stereo WAV) and the driver's times file ("<event> <seconds since the
device opened>" lines: level, quiet_end, whistle, rocket, shot). The first wolf appears 30 s of game
time after the level is in, towards the herder's left; its howl starts then and lasts 1.8 s,
before the wolf reaches a sheep.
"""
import math
import struct
import sys

# A window with an event must be this many times louder (RMS) than the quiet before any event.
LOUDER = 3.0
# The howl, to the listener's left, must be this much louder on the left channel.
LEFT_OVER_RIGHT = 1.25
WOLF_SECOND = 30.0
HOWL_DELAY = 0.2
HOWL_SPAN = 1.4


def read(path):
    """The stereo samples of the stream, as floats. OpenAL Soft writes WAVE_FORMAT_EXTENSIBLE,
    which Python's wave module refuses, and a stream whose writer was cut off may not have its
    lengths filled in: the chunks are walked here and the data runs to the end of the file."""
    raw = open(path, "rb").read()
    assert raw[:4] == b"RIFF" and raw[8:12] == b"WAVE", "not a WAV stream"
    at, fmt, data = 12, None, None
    while at + 8 <= len(raw):
        cid, size = raw[at:at + 4], struct.unpack("<I", raw[at + 4:at + 8])[0]
        if cid == b"fmt ":
            fmt = raw[at + 8:at + 8 + size]
        elif cid == b"data":
            end = at + 8 + size if 0 < size <= len(raw) - at - 8 else len(raw)
            data = raw[at + 8:end]
            break
        at += 8 + size + (size & 1)
    assert fmt is not None and data is not None, "no format or no data"
    tag, channels, rate = struct.unpack("<HHI", fmt[:8])
    bits = struct.unpack("<H", fmt[14:16])[0]
    if tag == 0xFFFE:
        tag = struct.unpack("<H", fmt[24:26])[0]  # the sub-format's leading code
    assert channels == 2, "stereo stream expected, got %d channels" % channels
    if tag == 3 and bits == 32:
        values = struct.unpack("<%df" % (len(data) // 4), data[:len(data) // 4 * 4])
        scale = 1.0
    elif tag == 1 and bits == 16:
        values = struct.unpack("<%dh" % (len(data) // 2), data[:len(data) // 2 * 2])
        scale = 32768.0
    else:
        raise AssertionError("unexpected sample format %d/%d bits" % (tag, bits))
    left = [v / scale for v in values[0::2]]
    right = [v / scale for v in values[1::2]]
    return rate, left, right


def rms(samples):
    return math.sqrt(sum(s * s for s in samples) / len(samples)) if samples else 0.0


def span(rate, channel, start, end):
    return channel[max(0, int(start * rate)):max(0, int(end * rate))]


def main():
    rate, left, right = read(sys.argv[1])
    times = {}
    for line in open(sys.argv[2]):
        parts = line.split()
        if len(parts) == 2:
            times[parts[0]] = float(parts[1])
    both = [(l + r) / 2 for l, r in zip(left, right)]
    length = len(both) / rate
    quiet = rms(span(rate, both, 1.0, times["quiet_end"] - 0.3))
    floor = max(quiet, 1e-4)
    failures = []
    report = ["stream %.1f s, quiet before any event %.5f" % (length, quiet)]

    def loud(name, start, end):
        level = rms(span(rate, both, start, end))
        report.append("%s %.5f (%.1fx)" % (name, level, level / floor))
        if level < LOUDER * floor:
            failures.append("%s: %.5f is not %.1f times the quiet %.5f" % (name, level, LOUDER, quiet))

    loud("whistle", times["whistle"], times["whistle"] + 0.7)
    loud("rocket launch and burst", times["rocket"], times["rocket"] + 1.2)
    # The level's clock starts a little after its load is logged.
    howl = times["level"] + WOLF_SECOND + HOWL_DELAY
    if howl + HOWL_SPAN > length:
        failures.append("the stream ends before the first wolf (%.1f s)" % length)
    else:
        loud("wolf's howl", howl, howl + HOWL_SPAN)
        l, r = rms(span(rate, left, howl, howl + HOWL_SPAN)), rms(span(rate, right, howl, howl + HOWL_SPAN))
        report.append("howl left %.5f right %.5f" % (l, r))
        if l < LEFT_OVER_RIGHT * r:
            failures.append("the howl on the left: left %.5f, right %.5f" % (l, r))
    if "shot" in times:
        loud("the shot at the wolf", times["shot"], times["shot"] + 1.2)
    print("; ".join(report))
    for f in failures:
        print("FAIL:", f)
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
