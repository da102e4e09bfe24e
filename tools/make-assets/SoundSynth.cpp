// SoundSynth: oscillators, noise, filters, envelopes, loop folding and the WAV writer behind the
// generated sound effects. The WAV bytes are written by hand (little-endian, the plain 44-byte
// header) so the generator needs no audio library.
#include "SoundSynth.h"

#include "SoundFacts.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>

namespace assets {

namespace {

constexpr double kPi = 3.14159265358979323846;
// The filter's cutoff stays below this fraction of the rate (its prewarp diverges at Nyquist).
constexpr double kMaxCutoffFraction = 0.45;
constexpr int kBitsPerSample = 16;
constexpr double kFullScale = 32767.0;
constexpr std::uint32_t kFmtChunkBytes = 16;
constexpr std::uint16_t kPcmFormat = 1;
constexpr std::uint32_t kHeaderBytesAfterRiffSize = 36;

void putU16(std::string& out, std::uint16_t v) {
    out.push_back(static_cast<char>(v & 0xff));
    out.push_back(static_cast<char>(v >> 8));
}

void putU32(std::string& out, std::uint32_t v) {
    for (int shift = 0; shift < 32; shift += 8) {
        out.push_back(static_cast<char>((v >> shift) & 0xff));
    }
}

std::string wavHeader(std::uint32_t dataBytes) {
    const std::uint16_t blockAlign = kBitsPerSample / 8;
    std::string h = "RIFF";
    putU32(h, kHeaderBytesAfterRiffSize + dataBytes);
    h += "WAVEfmt ";
    putU32(h, kFmtChunkBytes);
    putU16(h, kPcmFormat);
    putU16(h, 1); // mono
    putU32(h, sound::kSampleRate);
    putU32(h, sound::kSampleRate * blockAlign);
    putU16(h, blockAlign);
    putU16(h, kBitsPerSample);
    h += "data";
    putU32(h, dataBytes);
    return h;
}

} // namespace

float Noise::next() {
    state_ ^= state_ << 13;
    state_ ^= state_ >> 17;
    state_ ^= state_ << 5;
    return static_cast<float>(state_ / 2147483647.5 - 1.0);
}

float Oscillator::next(double hz) {
    const float out = static_cast<float>(std::sin(2.0 * kPi * phase_));
    phase_ += hz / sound::kSampleRate;
    phase_ -= std::floor(phase_);
    return out;
}

float Oscillator::harmonic(int n) const {
    return static_cast<float>(std::sin(2.0 * kPi * phase_ * n));
}

// The topology-preserving form: stable for any cutoff and any rate of change.
void Filter::step(float in, double cutoffHz) {
    const double fc = std::clamp(cutoffHz, 1.0, kMaxCutoffFraction * sound::kSampleRate);
    const double g = std::tan(kPi * fc / sound::kSampleRate);
    const double a1 = 1.0 / (1.0 + g * (g + damping_));
    const double a2 = g * a1;
    const double a3 = g * a2;
    const double v3 = in - ic2_;
    const double v1 = a1 * ic1_ + a2 * v3;
    const double v2 = ic2_ + a2 * ic1_ + a3 * v3;
    ic1_ = 2.0 * v1 - ic1_;
    ic2_ = 2.0 * v2 - ic2_;
    low_ = static_cast<float>(v2);
    band_ = static_cast<float>(v1);
    high_ = static_cast<float>(in - damping_ * v1 - v2);
}

int sampleCount(double seconds) {
    return static_cast<int>(std::lround(seconds * sound::kSampleRate));
}

double timeOf(int i) {
    return static_cast<double>(i) / sound::kSampleRate;
}

float attackDecay(double t, double attack, double decay) {
    if (t < 0.0) {
        return 0.0f;
    }
    if (t < attack) {
        return static_cast<float>(t / attack);
    }
    return static_cast<float>(std::exp(-(t - attack) / decay));
}

float smoothRamp(double t, double a, double b) {
    const double x = std::clamp((t - a) / (b - a), 0.0, 1.0);
    return static_cast<float>(x * x * (3.0 - 2.0 * x));
}

double glide(double from, double to, double fraction) {
    return from * std::pow(to / from, std::clamp(fraction, 0.0, 1.0));
}

void fadeEnds(Samples& s, double inSeconds, double outSeconds) {
    const int n = static_cast<int>(s.size());
    const int in = std::min(n, sampleCount(inSeconds));
    const int out = std::min(n, sampleCount(outSeconds));
    for (int i = 0; i < in; ++i) {
        s[i] *= static_cast<float>(i) / in;
    }
    for (int i = 0; i < out; ++i) {
        s[n - 1 - i] *= static_cast<float>(i) / out;
    }
}

void foldLoop(Samples& s, int n) {
    const int fade = static_cast<int>(s.size()) - n;
    for (int i = 0; i < fade; ++i) {
        const double x = (i + 0.5) / fade * 0.5 * kPi;
        s[i] = static_cast<float>(s[i] * std::sin(x) + s[n + i] * std::cos(x));
    }
    s.resize(n);
}

void addWrapped(Samples& loop, const Samples& events) {
    for (std::size_t i = 0; i < events.size(); ++i) {
        loop[i % loop.size()] += events[i];
    }
}

void normalise(Samples& s, double peakDb) {
    float peak = 0.0f;
    for (float v : s) {
        peak = std::max(peak, std::fabs(v));
    }
    if (peak <= 0.0f) {
        return;
    }
    const float gain = static_cast<float>(std::pow(10.0, peakDb / 20.0) / peak);
    for (float& v : s) {
        v *= gain;
    }
}

bool writeWav(const std::string& path, const Samples& s) {
    std::string bytes = wavHeader(static_cast<std::uint32_t>(s.size() * kBitsPerSample / 8));
    for (float v : s) {
        const double scaled = std::clamp(static_cast<double>(v), -1.0, 1.0) * kFullScale;
        putU16(bytes, static_cast<std::uint16_t>(static_cast<std::int16_t>(std::lround(scaled))));
    }
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    out.close();
    if (!out) {
        std::fprintf(stderr, "make-assets: cannot write %s\n", path.c_str());
        return false;
    }
    return true;
}

} // namespace assets
