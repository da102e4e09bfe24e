// The sheep fold's texture: trampled earth strewn with straw (bright against the grass, so the
// floor reads from across the level), a rim of dark earth set with pale stones, weathered wood,
// a sign with a white sheep on it and baled straw. Regions that repeat are painted with a
// period of their inner size and padded with their own wrap-around, so that tiles meet without
// a seam under linear filtering.
#include "FoldAtlas.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace assets {

static constexpr int kSize = 256;
// Texels around each region that belong to it but lie outside its UVs.
static constexpr int kMargin = 2;
static constexpr uint32_t kSeed = 808;

struct Region {
    int x0, y0, x1, y1;
    int innerWidth() const { return x1 - x0 - 2 * kMargin; }
    int innerHeight() const { return y1 - y0 - 2 * kMargin; }
};
static constexpr Region kStrawPixels{0, 0, 192, 192};
static constexpr Region kWoodPixels{192, 0, 256, 128};
static constexpr Region kBannerPixels{192, 128, 256, 160};
static constexpr Region kWoodEndPixels{192, 160, 256, 192};
static constexpr Region kRimPixels{0, 192, 128, 256};
static constexpr Region kBalePixels{128, 192, 192, 256};
static constexpr Region kSignPixels{192, 192, 256, 256};

static constexpr UvRect uvOf(const Region& r) {
    constexpr float s = static_cast<float>(kSize);
    return {static_cast<float>(r.x0 + kMargin) / s, static_cast<float>(r.y0 + kMargin) / s,
            static_cast<float>(r.x1 - kMargin) / s, static_cast<float>(r.y1 - kMargin) / s};
}

const UvRect kFoldStraw = uvOf(kStrawPixels);
const UvRect kFoldRim = uvOf(kRimPixels);
const UvRect kFoldWood = uvOf(kWoodPixels);
const UvRect kFoldBanner = uvOf(kBannerPixels);
const UvRect kFoldWoodEnd = uvOf(kWoodEndPixels);
const UvRect kFoldSign = uvOf(kSignPixels);
const UvRect kFoldBale = uvOf(kBalePixels);

static const Rgb kEarthDark{0.36f, 0.27f, 0.16f};
static const Rgb kEarthLight{0.50f, 0.39f, 0.24f};
static const Rgb kStrawDark{0.74f, 0.59f, 0.28f};
static const Rgb kStrawLight{0.95f, 0.84f, 0.50f};
static const Rgb kWoodDark{0.34f, 0.25f, 0.16f};
static const Rgb kWoodLight{0.58f, 0.47f, 0.33f};

static Rgb scaled(const Rgb& c, float f) {
    return {c.r * f, c.g * f, c.b * f};
}

static int wrap(int v, int n) {
    return ((v % n) + n) % n;
}

// A picture of w x h texels that repeats, drawn into a region with its wrap-around as padding.
class Tile {
public:
    Tile(int w, int h) : w_(w), h_(h), pixels_(static_cast<size_t>(w) * h) {}
    Rgb& at(int x, int y) { return pixels_[static_cast<size_t>(wrap(y, h_)) * w_ + wrap(x, w_)]; }
    int width() const { return w_; }
    int height() const { return h_; }
    void drawInto(Canvas& c, const Region& r) {
        c.paint(r.x0, r.y0, r.x1, r.y1,
                [&](int x, int y) { return at(x - r.x0 - kMargin, y - r.y0 - kMargin); });
    }

private:
    int w_, h_;
    std::vector<Rgb> pixels_;
};

// Noise over the tile that repeats with it: `cells` noise cells across.
static float tiledNoise(const Tile& t, int x, int y, int cells, uint32_t seed) {
    const float fx = static_cast<float>(x) * cells / t.width();
    const float fy = static_cast<float>(y) * cells / t.height();
    return fractalNoise(fx, fy, cells, 3, seed);
}

// Trampled earth under loose straw: thousands of short stalks in every direction, each with a
// shadow, thinner where the ground is worn bare.
static void paintStraw(Canvas& c) {
    Tile t(kStrawPixels.innerWidth(), kStrawPixels.innerHeight());
    for (int y = 0; y < t.height(); ++y) {
        for (int x = 0; x < t.width(); ++x) {
            t.at(x, y) = mix(kEarthDark, kEarthLight,
                             0.6f * tiledNoise(t, x, y, 8, kSeed) + 0.4f * hash01(x, y, kSeed));
        }
    }
    constexpr int kStalks = 5200;
    for (int i = 0; i < kStalks; ++i) {
        const auto seed = static_cast<uint32_t>(i);
        const int x0 = static_cast<int>(hash01(i, 1, kSeed) * t.width());
        const int y0 = static_cast<int>(hash01(i, 2, kSeed) * t.height());
        if (tiledNoise(t, x0, y0, 12, kSeed + 1) < 0.1f + 0.4f * hash01(i, 3, kSeed)) {
            continue; // a bare, trodden patch
        }
        const float angle = hash01(i, 4, kSeed) * 3.1415927f;
        const float length = 4.0f + 8.0f * hash01(i, 5, kSeed);
        const Rgb colour = mix(kStrawDark, kStrawLight, hash01(i, 6, kSeed + seed));
        for (float s = 0.0f; s < length; s += 0.7f) {
            const int x = x0 + static_cast<int>(std::lround(s * std::cos(angle)));
            const int y = y0 + static_cast<int>(std::lround(s * std::sin(angle)));
            t.at(x + 1, y - 1) = scaled(t.at(x + 1, y - 1), 0.8f);
            t.at(x, y) = mix(colour, kStrawLight, 0.25f * s / length);
        }
    }
    t.drawInto(c, kStrawPixels);
}

// Dark, trodden earth with a row of pale stones along its middle; repeats along u.
static void paintRim(Canvas& c) {
    Tile t(kRimPixels.innerWidth(), kRimPixels.innerHeight());
    const int w = t.width(), h = t.height();
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
            t.at(x, y) = scaled(
                mix(kEarthDark, kEarthLight,
                    0.5f * tiledNoise(t, x, y, 4, kSeed + 2) + 0.3f * hash01(x, y, kSeed + 2)),
                0.75f);
        }
    }
    constexpr int kStones = 9;
    for (int i = 0; i < kStones; ++i) {
        const float cx = (static_cast<float>(i) + 0.3f * hash01(i, 7, kSeed)) * w / kStones;
        const float cy = h * (0.35f + 0.3f * hash01(i, 8, kSeed));
        const float rx = 5.0f + 3.0f * hash01(i, 9, kSeed), ry = rx * 2.6f;
        const Rgb stone =
            mix(Rgb{0.60f, 0.58f, 0.53f}, Rgb{0.76f, 0.74f, 0.68f}, hash01(i, 10, kSeed));
        for (int y = static_cast<int>(cy - ry) - 1; y <= static_cast<int>(cy + ry) + 1; ++y) {
            for (int x = static_cast<int>(cx - rx) - 1; x <= static_cast<int>(cx + rx) + 1; ++x) {
                const float u = (x - cx) / rx, v = (y - cy) / ry;
                const float d = u * u + v * v;
                if (d < 1.0f && y >= 0 && y < h) {
                    // Lit from above and to the side: lighter towards one edge.
                    t.at(x, y) = scaled(stone, 1.05f - 0.25f * (u + v + 1.0f) * 0.5f - 0.2f * d);
                }
            }
        }
    }
    t.drawInto(c, kRimPixels);
}

// Weathered wood, its grain running along v.
static void paintWood(Canvas& c, const Region& r, float ringScale) {
    c.paint(r.x0, r.y0, r.x1, r.y1, [&](int x, int y) {
        const float grain = fractalNoise(x / 3.0f, y / (24.0f * ringScale), 256, 3, kSeed + 3);
        const float streak = std::fabs(std::sin(grain * 18.0f));
        Rgb wood = mix(kWoodDark, kWoodLight,
                       0.35f + 0.65f * streak * (0.7f + 0.3f * hash01(x, y, kSeed)));
        return mix(wood, Rgb{0.52f, 0.51f, 0.48f},
                   0.3f * fractalNoise(x / 8.0f, y / 8.0f, 256, 2, kSeed + 4));
    });
}

// Baled straw: tight strands across, two bands of blue twine.
static void paintBale(Canvas& c) {
    const Region& r = kBalePixels;
    c.paint(r.x0, r.y0, r.x1, r.y1, [&](int x, int y) {
        const float u = static_cast<float>(x - r.x0) / (r.x1 - r.x0);
        if (std::fabs(u - 0.28f) < 0.03f || std::fabs(u - 0.72f) < 0.03f) {
            return mix(Rgb{0.16f, 0.28f, 0.58f}, Rgb{0.26f, 0.40f, 0.72f}, hash01(x, y, kSeed + 5));
        }
        const float strand = hash01(x / 5, y, kSeed + 6);
        return mix(kStrawDark, kStrawLight, 0.2f + 0.8f * strand * strand);
    });
}

// Yellow cloth with a darker border: it stands out against the hills, the red sky and the white
// tanks behind it from across the level.
static void paintBanner(Canvas& c) {
    const Region& r = kBannerPixels;
    c.paint(r.x0, r.y0, r.x1, r.y1, [&](int x, int y) {
        const int u = x - r.x0, v = y - r.y0;
        const int border = kMargin + 2;
        const bool hem = v < border || v >= r.y1 - r.y0 - border || u >= r.x1 - r.x0 - border;
        return hem ? Rgb{0.78f, 0.50f, 0.08f}
                   : mix(Rgb{0.94f, 0.74f, 0.10f}, Rgb{1.0f, 0.84f, 0.22f},
                         hash01(x, y, kSeed + 9));
    });
}

// Three dark planks with a white sheep painted across them.
static void paintSign(Canvas& c) {
    const Region& r = kSignPixels;
    const float w = static_cast<float>(r.x1 - r.x0), h = static_cast<float>(r.y1 - r.y0);
    c.paint(r.x0, r.y0, r.x1, r.y1, [&](int x, int y) {
        const float u = (x - r.x0) / w, v = (y - r.y0) / h;
        const float bu = (u - 0.45f) / 0.26f, bv = (v - 0.55f) / 0.2f;
        const float hu = (u - 0.77f) / 0.09f, hv = (v - 0.6f) / 0.1f;
        const bool leg =
            v > 0.2f && v < 0.4f && (std::fabs(u - 0.3f) < 0.03f || std::fabs(u - 0.58f) < 0.03f);
        if (hu * hu + hv * hv < 1.0f || leg) {
            return Rgb{0.10f, 0.09f, 0.08f};
        }
        if (bu * bu + bv * bv < 1.0f) {
            return mix(Rgb{0.90f, 0.89f, 0.84f}, Rgb{0.98f, 0.97f, 0.93f}, hash01(x, y, kSeed + 7));
        }
        const bool gap = (y - r.y0) % 21 == 0;
        const Rgb plank =
            mix(Rgb{0.22f, 0.30f, 0.18f}, Rgb{0.28f, 0.38f, 0.22f}, hash01(x / 4, y, kSeed + 8));
        return gap ? scaled(plank, 0.5f) : plank;
    });
}

Canvas foldAtlas() {
    Canvas c(kSize, kSize, kWoodDark);
    paintStraw(c);
    paintRim(c);
    paintWood(c, kWoodPixels, 1.0f);
    paintWood(c, kWoodEndPixels, 0.2f);
    paintBale(c);
    paintBanner(c);
    paintSign(c);
    return c;
}

} // namespace assets
