#!/usr/bin/env python3
"""Checks the generated sound effects with a reader that is not ours: Python's wave module.

Every file of the sound table (read from SoundFacts.h, so a new sound is checked without
touching this script) must be mono 16-bit at the table's rate, as long as the table says, audible,
below full scale, and the loops must join without a click and without fading out at the ends.
The whole set must stay small enough to ship.

Usage: check_wav.py <SoundFacts.h> <data folder>
"""
import array
import math
import os
import re
import sys
import wave

FULL_SCALE = 32767
# The loudest sample allowed: half a decibel under full scale.
PEAK_LIMIT = FULL_SCALE * 10 ** (-0.5 / 20)
# Quieter than this (about -40 dBFS RMS) counts as silent.
RMS_FLOOR = FULL_SCALE * 10 ** (-40 / 20)
# A loop's join may step no further than this many times the file's typical sample-to-sample step.
JOIN_STEP_FACTOR = 4.0
# The last and first few milliseconds of a loop keep at least this fraction of the loop's RMS: a
# fade to silence, however short, would be heard as a dip at every repeat.
LOOP_END_FRACTION = 0.4
LOOP_END_SECONDS = 0.005
SET_BYTES_LIMIT = 2 * 1024 * 1024

ENTRY = re.compile(r'\{Sound::\w+,\s*"([^"]+)",\s*(true|false),\s*([0-9.]+)f?[,}]')
RATE = re.compile(r'kSampleRate\s*=\s*(\d+)')


def read_table(header):
    text = open(header, encoding="utf-8").read()
    rate = int(RATE.search(text).group(1))
    sounds = [(name, loop == "true", float(seconds))
              for name, loop, seconds in ENTRY.findall(text)]
    return rate, sounds


def rms(samples):
    return math.sqrt(sum(v * v for v in samples) / len(samples)) if samples else 0.0


def read_samples(wav):
    samples = array.array("h", wav.readframes(wav.getnframes()))
    if sys.byteorder != "little":
        samples.byteswap()
    return samples


def check_format(name, wav, rate, seconds):
    problems = []
    if wav.getnchannels() != 1:
        problems.append(f"{wav.getnchannels()} channels, not mono")
    if wav.getsampwidth() != 2:
        problems.append(f"{8 * wav.getsampwidth()}-bit, not 16-bit")
    if wav.getframerate() != rate:
        problems.append(f"rate {wav.getframerate()}, not {rate}")
    if abs(wav.getnframes() - seconds * rate) > 1:
        problems.append(f"{wav.getnframes()} samples, not {seconds} s at {rate}")
    return [f"{name}: {p}" for p in problems]


def check_level(name, samples):
    problems = []
    level = rms(samples)
    if level < RMS_FLOOR:
        problems.append(f"silent (RMS {level:.1f})")
    peak = max(abs(v) for v in samples)
    if peak >= PEAK_LIMIT:
        problems.append(f"peak {peak} reaches full scale (limit {PEAK_LIMIT:.0f})")
    return [f"{name}: {p}" for p in problems]


def check_loop(name, samples, rate):
    problems = []
    steps = [samples[i + 1] - samples[i] for i in range(len(samples) - 1)]
    typical = rms(steps)
    join = abs(samples[-1] - samples[0])
    if join > JOIN_STEP_FACTOR * typical + 1:
        problems.append(f"loop join steps {join}, typical step {typical:.1f}")
    ends = int(LOOP_END_SECONDS * rate)
    level = rms(samples)
    for where, part in (("start", samples[:ends]), ("end", samples[-ends:])):
        if rms(part) < LOOP_END_FRACTION * level:
            problems.append(f"loop fades out at its {where} (RMS {rms(part):.1f} of {level:.1f})")
    return [f"{name}: {p}" for p in problems]


def check_sound(folder, name, loop, seconds, rate):
    path = os.path.join(folder, name)
    try:
        with wave.open(path, "rb") as wav:
            problems = check_format(name, wav, rate, seconds)
            samples = read_samples(wav)
    except (OSError, wave.Error, EOFError) as error:
        return [f"{name}: cannot be read: {error}"]
    if not samples:
        return problems + [f"{name}: no samples"]
    problems += check_level(name, samples)
    if loop:
        problems += check_loop(name, samples, rate)
    return problems


def main():
    if len(sys.argv) != 3:
        print(__doc__)
        return 2
    rate, sounds = read_table(sys.argv[1])
    if not sounds:
        print("no sounds found in the table")
        return 1
    problems = []
    total = 0
    for name, loop, seconds in sounds:
        problems += check_sound(sys.argv[2], name, loop, seconds, rate)
        path = os.path.join(sys.argv[2], name)
        total += os.path.getsize(path) if os.path.exists(path) else 0
    if total >= SET_BYTES_LIMIT:
        problems.append(f"the sounds take {total} bytes, over {SET_BYTES_LIMIT}")
    for problem in problems:
        print(problem)
    print(f"{len(sounds)} sounds, {total} bytes, {len(problems)} problems")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
