// Character texture noise and colour helpers (see Characters.h).
#include "Characters.h"

#include <algorithm>

namespace assets {

// Noise lattice period: large enough that model-space coordinates never visibly repeat.
static constexpr int kNoisePeriod = 4096;

float smoothStep(float edge0, float edge1, float x) {
    const float t = std::clamp((x - edge0) / (edge1 - edge0), 0.0f, 1.0f);
    return t * t * (3.0f - 2.0f * t);
}

Rgb vary(const Rgb& c, float noise, float amount) {
    const float f = 1.0f + amount * (2.0f * noise - 1.0f);
    return {c.r * f, c.g * f, c.b * f};
}

float solidNoise(const aiVector3D& p, float frequency, int octaves, uint32_t seed) {
    // Three planar noises averaged read as solid noise on curved surfaces.
    const aiVector3D q = p * frequency;
    return (fractalNoise(q.x, q.y, kNoisePeriod, octaves, seed) +
            fractalNoise(q.y, q.z, kNoisePeriod, octaves, seed + 7u) +
            fractalNoise(q.z, q.x, kNoisePeriod, octaves, seed + 13u)) /
           3.0f;
}

} // namespace assets
