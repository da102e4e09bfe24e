// SoundSynth: the few building blocks the generator makes its sound effects from: a seeded noise
// source, a phase-accumulating oscillator whose pitch may glide, a resonant filter whose cutoff
// may sweep, envelopes, seamless loop folding and a 16-bit PCM WAV writer. Everything works on
// float samples in -1..1 at the game's rate and gives the same bytes on every run.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace assets {

using Samples = std::vector<float>;

// Uniform white noise in -1..1 from a fixed seed (xorshift32).
class Noise {
public:
    explicit Noise(std::uint32_t seed) : state_(seed ? seed : 1u) {}
    float next();

private:
    std::uint32_t state_;
};

// A sine oscillator that keeps its phase while its frequency changes, so glides stay smooth.
class Oscillator {
public:
    // The next sample of sin at hz; harmonic n gives sin(n * phase).
    float next(double hz);
    float harmonic(int n) const;

private:
    double phase_ = 0.0; // in cycles
};

// A state-variable filter with low-, band- and high-pass outputs; the cutoff may change every
// sample. Resonance is the filter's Q: 0.7 is flat, higher rings at the cutoff.
class Filter {
public:
    explicit Filter(double resonance = 0.7) : damping_(1.0 / resonance) {}
    void step(float in, double cutoffHz);
    float low() const { return low_; }
    float band() const { return band_; }
    float high() const { return high_; }

private:
    double damping_;
    double ic1_ = 0.0;
    double ic2_ = 0.0;
    float low_ = 0.0f;
    float band_ = 0.0f;
    float high_ = 0.0f;
};

// Samples in the given number of seconds at the game's rate, rounded.
int sampleCount(double seconds);
// Seconds since the start of sample i.
double timeOf(int i);
// Rises linearly over attack seconds, then decays exponentially with time constant decay.
float attackDecay(double t, double attack, double decay);
// 0 before a, 1 after b, a smoothstep between.
float smoothRamp(double t, double a, double b);
// Interpolates from to to as fraction goes 0..1, exponentially (for pitches and cutoffs).
double glide(double from, double to, double fraction);

// Fades the first and last few milliseconds so a one-shot starts and ends at rest.
void fadeEnds(Samples& s, double inSeconds, double outSeconds);
// Makes a buffer rendered overlong into a seamless loop of n samples: the part after n is
// cross-faded (equal power) into the start, so the last sample flows into the first.
void foldLoop(Samples& s, int n);
// Adds events into a loop of s.size() samples, wrapping what runs past the end to the start.
void addWrapped(Samples& loop, const Samples& events);
// Scales the buffer so its largest magnitude is peakDb decibels below full scale.
void normalise(Samples& s, double peakDb);

// Writes mono 16-bit PCM at the game's rate; false (after printing why) on failure.
bool writeWav(const std::string& path, const Samples& s);

} // namespace assets
