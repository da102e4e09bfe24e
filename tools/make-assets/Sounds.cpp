// Sounds: one short function per sound effect, each building its samples from the blocks in
// SoundSynth from a fixed seed, so the files are the same on every run. One-shots end at rest;
// loops fold their overlong tail into their start so the join is seamless, and their slow
// modulations run a whole number of cycles per loop.
#include "Sounds.h"

#include "SoundFacts.h"
#include "SoundSynth.h"

#include <cmath>
#include <filesystem>
#include <iterator>

namespace assets {

namespace {

constexpr double kPi = 3.14159265358979323846;
// One-shots peak here, a little under full scale so nothing clips when the game mixes them.
constexpr double kOneShotPeakDb = -1.5;
// The loops play under everything else.
constexpr double kFlightPeakDb = -9.0;
constexpr double kFootstepsPeakDb = -6.0;
constexpr double kWindPeakDb = -10.0;
// How much overlong render a loop folds into its start.
constexpr double kLoopFoldSeconds = 0.05;
constexpr double kWindFoldSeconds = 0.25;
// Where the first footstep falls: the second, half a loop later, then rings over the join.
constexpr double kFirstStepSeconds = 0.3;
// One-shot edge fades: a click-free start and end.
constexpr double kFadeInSeconds = 0.002;
constexpr double kFadeOutSeconds = 0.02;

// A loop's slow modulation: cycles whole cycles over the loop of n samples.
double loopWave(int i, int n, int cycles) {
    return std::sin(2.0 * kPi * cycles * i / n);
}

// A voiced tone: the oscillator's harmonics 1..count with the given weights, then one step on.
float voiced(Oscillator& osc, double hz, const float* weights, int count) {
    float sum = 0.0f;
    for (int k = 0; k < count; ++k) {
        sum += weights[k] * osc.harmonic(k + 1);
    }
    osc.next(hz);
    return sum;
}

// A resonance of the nose and mouth at centre Hz: what makes a tone sound like a voice.
double formant(double hz, double centre, double width) {
    const double x = (hz - centre) / width;
    return std::exp(-x * x);
}

Samples rocketLaunch(int n) {
    Samples s(n);
    Noise noise(0x5eed0001);
    Filter hiss(1.2);
    for (int i = 0; i < n; ++i) {
        const double t = timeOf(i);
        hiss.step(noise.next(), glide(6000.0, 700.0, t / 0.5));
        s[i] = (hiss.band() + 0.3f * hiss.high()) * attackDecay(t, 0.012, 0.18);
    }
    return s;
}

Samples rocketFlight(int n) {
    Samples s(n + sampleCount(kLoopFoldSeconds));
    Noise noise(0x5eed0002);
    Filter whoosh(1.5);
    for (int i = 0; i < static_cast<int>(s.size()); ++i) {
        const double sway = loopWave(i, n, 2);
        whoosh.step(noise.next(), 1300.0 + 500.0 * sway);
        s[i] = whoosh.band() * static_cast<float>(0.8 + 0.2 * loopWave(i, n, 3));
    }
    foldLoop(s, n);
    return s;
}

Samples explosion(int n) {
    Samples s(n);
    Noise noise(0x5eed0003);
    Filter rumble(0.8);
    Oscillator thump;
    for (int i = 0; i < n; ++i) {
        const double t = timeOf(i);
        rumble.step(noise.next(), glide(3500.0, 250.0, t / 1.0));
        const float burst = rumble.low() * attackDecay(t, 0.004, 0.35);
        const float low = thump.next(glide(90.0, 52.0, t / 0.4)) * attackDecay(t, 0.006, 0.4);
        s[i] = 0.8f * burst + 0.9f * low;
    }
    return s;
}

Samples wolfHowl(int n) {
    static const float kHarmonics[] = {1.0f, 0.55f, 0.3f, 0.15f, 0.08f};
    Samples s(n);
    Noise breath(0x5eed0004);
    Filter air(0.7);
    Oscillator voice;
    for (int i = 0; i < n; ++i) {
        const double t = timeOf(i);
        const double rise = glide(380.0, 640.0, t / 0.55);
        const double pitch = glide(rise, 400.0, (t - 0.9) / 0.9);
        const double depth = 0.025 * smoothRamp(t, 0.2, 0.8);
        const double vibrato = 1.0 + depth * std::sin(2.0 * kPi * 5.5 * t);
        air.step(breath.next(), 1500.0);
        const float tone = voiced(voice, pitch * vibrato, kHarmonics, std::size(kHarmonics));
        const float envelope = smoothRamp(t, 0.0, 0.25) * (1.0f - smoothRamp(t, 1.2, 1.78));
        s[i] = (tone + 0.08f * air.band()) * envelope;
    }
    return s;
}

Samples sheepBleat(int n) {
    constexpr int kHarmonicCount = 24;
    Samples s(n);
    Oscillator voice;
    for (int i = 0; i < n; ++i) {
        const double t = timeOf(i);
        const double pitch = glide(330.0, 280.0, t / 0.75);
        float tone = 0.0f;
        for (int k = 1; k <= kHarmonicCount && k * pitch < 9000.0; ++k) {
            const double nasal =
                0.3 + formant(k * pitch, 1100.0, 300.0) + 0.7 * formant(k * pitch, 2600.0, 450.0);
            tone += static_cast<float>(nasal / k) * voice.harmonic(k);
        }
        voice.next(pitch);
        const float tremolo = static_cast<float>(0.65 + 0.35 * std::sin(2.0 * kPi * 28.0 * t));
        const float envelope = smoothRamp(t, 0.0, 0.04) * (1.0f - smoothRamp(t, 0.45, 0.78));
        s[i] = tone * tremolo * envelope;
    }
    return s;
}

Samples wolfHit(int n) {
    static const float kHarmonics[] = {1.0f, 0.6f, 0.35f, 0.2f};
    Samples s(n);
    Noise noise(0x5eed0006);
    Oscillator voice;
    for (int i = 0; i < n; ++i) {
        const double t = timeOf(i);
        const double pitch =
            t < 0.04 ? glide(700.0, 1150.0, t / 0.04) : glide(1150.0, 600.0, (t - 0.04) / 0.3);
        const float tone = voiced(voice, pitch, kHarmonics, std::size(kHarmonics));
        s[i] = (tone + 0.15f * noise.next()) * attackDecay(t, 0.005, 0.09);
    }
    return s;
}

Samples wolfDeath(int n) {
    static const float kHarmonics[] = {1.0f, 0.3f, 0.12f};
    Samples s(n);
    Oscillator voice;
    for (int i = 0; i < n; ++i) {
        const double t = timeOf(i);
        const double depth = 0.01 + 0.04 * t;
        const double pitch =
            glide(950.0, 240.0, t / 1.15) * (1.0 + depth * std::sin(2.0 * kPi * 7.0 * t));
        const float tone = voiced(voice, pitch, kHarmonics, std::size(kHarmonics));
        s[i] = tone * smoothRamp(t, 0.0, 0.03) * attackDecay(t, 0.0, 0.45);
    }
    return s;
}

// Two notes a fourth apart, with a quick slide between them as a real whistle has.
Samples whistle(int n) {
    Samples s(n);
    Noise breath(0x5eed0008);
    Filter air(2.0);
    Oscillator tone;
    for (int i = 0; i < n; ++i) {
        const double t = timeOf(i);
        const double pitch = glide(1800.0, 2400.0, (t - 0.27) / 0.04);
        air.step(breath.next(), pitch);
        const float first = smoothRamp(t, 0.0, 0.02) * (1.0f - smoothRamp(t, 0.22, 0.27));
        const float second = smoothRamp(t, 0.28, 0.31) * (1.0f - smoothRamp(t, 0.55, 0.69));
        s[i] = (tone.next(pitch) + 0.1f * air.band()) * (first + second);
    }
    return s;
}

// One soft step on grass: a rustle of high noise over a dull thud.
Samples footstep(std::uint32_t seed) {
    Samples s(sampleCount(0.35));
    Noise noise(seed);
    Filter rustle(0.9);
    Filter thud(0.7);
    for (int i = 0; i < static_cast<int>(s.size()); ++i) {
        const double t = timeOf(i);
        const float x = noise.next();
        rustle.step(x, 3500.0);
        thud.step(x, 180.0);
        s[i] = 0.7f * rustle.band() * attackDecay(t, 0.015, 0.07) +
               1.5f * thud.low() * attackDecay(t, 0.005, 0.04);
    }
    return s;
}

Samples footsteps(int n) {
    Samples bed(n + sampleCount(kLoopFoldSeconds));
    Noise noise(0x5eed0009);
    Filter grass(0.7);
    for (float& v : bed) {
        grass.step(noise.next(), 2500.0);
        v = 0.05f * grass.band();
    }
    foldLoop(bed, n);
    // Steps half a loop apart; the second runs over the end and wraps to the start.
    const int stride = n / 2;
    const int first = sampleCount(kFirstStepSeconds);
    const Samples left = footstep(0x5eed000a);
    const Samples right = footstep(0x5eed000b);
    Samples steps(first + stride + right.size());
    for (std::size_t i = 0; i < left.size(); ++i) {
        steps[first + i] += left[i];
        steps[first + stride + i] += 0.9f * right[i];
    }
    addWrapped(bed, steps);
    return bed;
}

Samples wind(int n) {
    Samples s(n + sampleCount(kWindFoldSeconds));
    Noise noise(0x5eed000c);
    Filter air(1.1);
    for (int i = 0; i < static_cast<int>(s.size()); ++i) {
        const double gust = 0.6 * loopWave(i, n, 1) + 0.4 * loopWave(i, n, 3);
        air.step(noise.next(), 550.0 + 300.0 * gust);
        s[i] = air.low() * static_cast<float>(0.75 + 0.25 * gust);
    }
    foldLoop(s, n);
    return s;
}

// A short phrase of plucked notes (Hz, start second); the last rings to the end.
Samples phrase(int n, const double (&notes)[4][2], double decay) {
    static const float kHarmonics[] = {1.0f, 0.4f, 0.2f, 0.1f};
    Samples s(n);
    for (const auto& note : notes) {
        Oscillator tone;
        for (int i = sampleCount(note[1]); i < n; ++i) {
            const double t = timeOf(i) - note[1];
            s[i] += voiced(tone, note[0], kHarmonics, std::size(kHarmonics)) *
                    smoothRamp(t, 0.0, 0.015) * attackDecay(t, 0.0, decay);
        }
    }
    return s;
}

// Up a major arpeggio: C5, E5, G5, C6.
Samples win(int n) {
    static const double kNotes[4][2] = {
        {523.25, 0.0}, {659.26, 0.18}, {783.99, 0.36}, {1046.5, 0.54}};
    return phrase(n, kNotes, 0.35);
}

// Down through C minor, slower: G4, Eb4, D4, C4.
Samples loss(int n) {
    static const double kNotes[4][2] = {{392.0, 0.0}, {311.13, 0.3}, {293.66, 0.6}, {261.63, 0.9}};
    return phrase(n, kNotes, 0.45);
}

struct Synth {
    Samples (*make)(int n);
    double peakDb;
};

// In the order of sound::Sound.
const Synth kSynths[] = {
    {rocketLaunch, kOneShotPeakDb}, {rocketFlight, kFlightPeakDb},
    {explosion, kOneShotPeakDb},    {wolfHowl, kOneShotPeakDb},
    {sheepBleat, kOneShotPeakDb},   {wolfHit, kOneShotPeakDb},
    {wolfDeath, kOneShotPeakDb},    {whistle, kOneShotPeakDb},
    {footsteps, kFootstepsPeakDb},  {wind, kWindPeakDb},
    {win, kOneShotPeakDb},          {loss, kOneShotPeakDb},
};
static_assert(std::size(kSynths) == std::size(sound::kSounds), "one synth per sound");

} // namespace

bool writeSounds(const std::string& dir) {
    bool ok = true;
    for (const sound::SoundAsset& asset : sound::kSounds) {
        const Synth& synth = kSynths[static_cast<int>(asset.id)];
        Samples s = synth.make(sampleCount(asset.seconds));
        if (!asset.loop) {
            fadeEnds(s, kFadeInSeconds, kFadeOutSeconds);
        }
        normalise(s, synth.peakDb);
        ok = writeWav((std::filesystem::path(dir) / asset.file).string(), s) && ok;
    }
    return ok;
}

} // namespace assets
