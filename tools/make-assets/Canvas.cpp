// Texture canvas and deterministic noise: the same seeds always give the same textures.
#include "Canvas.h"

#include "TGAImage.h"

#include <algorithm>
#include <cmath>

namespace assets {

Rgb mix(const Rgb& a, const Rgb& b, float t) {
    return {a.r + (b.r - a.r) * t, a.g + (b.g - a.g) * t, a.b + (b.b - a.b) * t};
}

Canvas::Canvas(int width, int height, const Rgb& fill)
    : width_(width), height_(height), pixels_(static_cast<size_t>(width) * height, fill) {
}

static int wrap(int v, int n) {
    const int m = v % n;
    return m < 0 ? m + n : m;
}

Rgb Canvas::get(int x, int y) const {
    return pixels_[static_cast<size_t>(wrap(y, height_)) * width_ + wrap(x, width_)];
}

void Canvas::set(int x, int y, const Rgb& c) {
    pixels_[static_cast<size_t>(wrap(y, height_)) * width_ + wrap(x, width_)] = c;
}

static uint8_t toByte(float v) {
    return static_cast<uint8_t>(std::clamp(v, 0.0f, 1.0f) * 255.0f + 0.5f);
}

bool Canvas::save(const std::string& path, bool rle) const {
    std::vector<uint8_t> bgr(pixels_.size() * 3);
    for (size_t i = 0; i < pixels_.size(); ++i) {
        bgr[i * 3 + 0] = toByte(pixels_[i].b);
        bgr[i * 3 + 1] = toByte(pixels_[i].g);
        bgr[i * 3 + 2] = toByte(pixels_[i].r);
    }
    return writeTGATrueColour(path.c_str(), bgr.data(), width_, height_, 24, rle) == 0;
}

float hash01(int x, int y, uint32_t seed) {
    uint32_t h = seed * 0x9E3779B1u;
    h ^= static_cast<uint32_t>(x) * 0x85EBCA77u;
    h = (h << 13) | (h >> 19);
    h ^= static_cast<uint32_t>(y) * 0xC2B2AE3Du;
    h *= 0x27D4EB2Fu;
    h ^= h >> 15;
    h *= 0x165667B1u;
    h ^= h >> 13;
    return static_cast<float>(h & 0xFFFFFFu) / 16777216.0f;
}

static float smooth(float t) {
    return t * t * (3.0f - 2.0f * t);
}

float valueNoise(float x, float y, int period, uint32_t seed) {
    const float fx = std::floor(x), fy = std::floor(y);
    const int ix = static_cast<int>(fx), iy = static_cast<int>(fy);
    const float tx = smooth(x - fx), ty = smooth(y - fy);
    auto corner = [&](int dx, int dy) {
        return hash01(wrap(ix + dx, period), wrap(iy + dy, period), seed);
    };
    const float a = corner(0, 0) + (corner(1, 0) - corner(0, 0)) * tx;
    const float b = corner(0, 1) + (corner(1, 1) - corner(0, 1)) * tx;
    return a + (b - a) * ty;
}

float fractalNoise(float x, float y, int period, int octaves, uint32_t seed) {
    float sum = 0.0f, amplitude = 1.0f, total = 0.0f;
    for (int o = 0; o < octaves; ++o) {
        sum += amplitude * valueNoise(x, y, period, seed + static_cast<uint32_t>(o) * 101u);
        total += amplitude;
        amplitude *= 0.5f;
        x *= 2.0f;
        y *= 2.0f;
        period *= 2;
    }
    return sum / total;
}

} // namespace assets
