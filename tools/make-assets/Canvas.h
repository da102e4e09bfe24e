// Canvas: an RGB picture that the generator paints textures on, with deterministic value noise
// for natural surfaces. Saved through the game's own TGA writer.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace assets {

struct Rgb {
    float r, g, b; // 0..1
};

// Mixes a and b by t (0 gives a).
Rgb mix(const Rgb& a, const Rgb& b, float t);

class Canvas {
public:
    Canvas(int width, int height, const Rgb& fill = {0, 0, 0});

    int width() const { return width_; }
    int height() const { return height_; }
    // Pixel at (x, y) with y = 0 the bottom row (texture v = 0); coordinates wrap around.
    Rgb get(int x, int y) const;
    void set(int x, int y, const Rgb& c);
    // Fills the rectangle [x0, x1) x [y0, y1) by calling paint(x, y) for every pixel.
    template <class F> void paint(int x0, int y0, int x1, int y1, F paintPixel) {
        for (int y = y0; y < y1; ++y) {
            for (int x = x0; x < x1; ++x) {
                set(x, y, paintPixel(x, y));
            }
        }
    }
    // Writes a 24-bit TGA (run-length encoded when rle); false on failure.
    bool save(const std::string& path, bool rle) const;

private:
    int width_;
    int height_;
    std::vector<Rgb> pixels_;
};

// Smooth value noise in [0, 1] at (x, y), tiling with the given period, from a fixed seed.
float valueNoise(float x, float y, int period, uint32_t seed);
// Several octaves of valueNoise (fractal sum), normalised to [0, 1].
float fractalNoise(float x, float y, int period, int octaves, uint32_t seed);
// A hash of integer coordinates in [0, 1).
float hash01(int x, int y, uint32_t seed);

} // namespace assets
