// Character shapes: lofts (tubes of elliptic rings), limbs with rounded ends, spheroids and
// lathes, smooth-shaded (see Characters.h).
#include "Characters.h"

#include <cmath>
#include <map>
#include <tuple>

namespace assets {

static constexpr float kPi = 3.14159265f;
// Rings of the half sphere that rounds off each end of a limb.
static constexpr int kCapRings = 3;

// Area-weighted face normals averaged over all vertices at the same point, so that UV seams and
// closed ends shade smoothly.
static void smoothNormals(AssetMesh& m) {
    using Key = std::tuple<float, float, float>;
    std::map<Key, aiVector3D> sums;
    auto key = [&](uint32_t v) {
        const aiVector3D& p = m.positions[v];
        return Key(p.x, p.y, p.z);
    };
    for (const auto& t : m.triangles) {
        const aiVector3D n =
            (m.positions[t[1]] - m.positions[t[0]]) ^ (m.positions[t[2]] - m.positions[t[0]]);
        for (uint32_t v : t) {
            sums[key(v)] += n;
        }
    }
    for (size_t v = 0; v < m.positions.size(); ++v) {
        aiVector3D n = sums[key(static_cast<uint32_t>(v))];
        m.normals[v] = n.Length() > 0.0f ? n.Normalize() : aiVector3D(0, 1, 0);
    }
}

// Turns a grid of points (rings x columns, the last column repeating the first) into a mesh.
// Quads that touch a closed end lose their zero-area half.
static AssetMesh stitch(const std::vector<std::vector<aiVector3D>>& grid,
                        const std::vector<float>& along, const UvRect& uv) {
    AssetMesh m;
    const size_t cols = grid[0].size();
    for (size_t j = 0; j < grid.size(); ++j) {
        for (size_t i = 0; i < cols; ++i) {
            const float s = static_cast<float>(i) / static_cast<float>(cols - 1);
            m.addVertex(grid[j][i], aiVector3D(0, 1, 0), uv.at(s, along[j]));
        }
    }
    for (size_t j = 0; j + 1 < grid.size(); ++j) {
        for (size_t i = 0; i + 1 < cols; ++i) {
            const auto a = static_cast<uint32_t>(j * cols + i);
            const uint32_t b = a + 1;
            const auto d = static_cast<uint32_t>(a + cols);
            const uint32_t c = d + 1;
            if (grid[j][i] != grid[j][i + 1]) {
                m.addTriangle(a, b, c);
            }
            if (grid[j + 1][i] != grid[j + 1][i + 1]) {
                m.addTriangle(a, c, d);
            }
        }
    }
    smoothNormals(m);
    return m;
}

// v from 0 to 1 along the rings, by distance travelled (centre movement plus radius change).
static std::vector<float> ringParameters(const std::vector<LoftRing>& rings) {
    std::vector<float> along(rings.size(), 0.0f);
    for (size_t j = 1; j < rings.size(); ++j) {
        const float radial = std::fabs(rings[j].rRef - rings[j - 1].rRef);
        along[j] = along[j - 1] + (rings[j].centre - rings[j - 1].centre).Length() + radial;
    }
    const float total = along.back() > 0.0f ? along.back() : 1.0f;
    for (float& v : along) {
        v /= total;
    }
    return along;
}

AssetMesh makeLoft(const std::vector<LoftRing>& rings, const aiVector3D& reference, int segments,
                   const UvRect& uv) {
    std::vector<std::vector<aiVector3D>> grid;
    aiVector3D tangent(0, 1, 0);
    for (size_t j = 0; j < rings.size(); ++j) {
        const size_t prev = j > 0 ? j - 1 : 0;
        const size_t next = std::min(j + 1, rings.size() - 1);
        const aiVector3D step = rings[next].centre - rings[prev].centre;
        if (step.Length() > 1e-6f) {
            tangent = step / step.Length();
        }
        aiVector3D e1 = reference - tangent * (reference * tangent);
        e1.Normalize();
        const aiVector3D e2 = tangent ^ e1;
        std::vector<aiVector3D> ring;
        for (int i = 0; i <= segments; ++i) {
            const float a =
                2.0f * kPi * static_cast<float>(i % segments) / static_cast<float>(segments);
            ring.push_back(rings[j].centre + e1 * (rings[j].rRef * std::cos(a)) +
                           e2 * (rings[j].rSide * std::sin(a)));
        }
        grid.push_back(ring);
    }
    return stitch(grid, ringParameters(rings), uv);
}

// Rings of a half ellipsoid closing a limb whose end ring is `end`, the limb leaving along dir;
// from the pole towards the end ring (which the caller adds).
static void addCap(std::vector<LoftRing>& rings, const LoftRing& end, const aiVector3D& dir,
                   bool atStart) {
    const float depth = 0.5f * (end.rRef + end.rSide);
    std::vector<LoftRing> cap;
    for (int k = kCapRings; k >= 1; --k) {
        const float angle = 0.5f * kPi * static_cast<float>(k) / static_cast<float>(kCapRings);
        const float scale = k == kCapRings ? 0.0f : std::cos(angle);
        cap.push_back(
            {end.centre - dir * (depth * std::sin(angle)), end.rRef * scale, end.rSide * scale});
    }
    if (!atStart) {
        std::reverse(cap.begin(), cap.end());
    }
    rings.insert(rings.end(), cap.begin(), cap.end());
}

AssetMesh makeLimb(const std::vector<aiVector3D>& points, const std::vector<float>& radii,
                   const aiVector3D& reference, int segments, float maxStep, const UvRect& uv) {
    std::vector<aiVector2D> round;
    for (float r : radii) {
        round.emplace_back(r, r);
    }
    return makeFlatLimb(points, round, reference, segments, maxStep, uv);
}

AssetMesh makeFlatLimb(const std::vector<aiVector3D>& points, const std::vector<aiVector2D>& radii,
                       const aiVector3D& reference, int segments, float maxStep, const UvRect& uv) {
    std::vector<LoftRing> body;
    for (size_t k = 0; k + 1 < points.size(); ++k) {
        const aiVector3D span = points[k + 1] - points[k];
        const int steps = std::max(1, static_cast<int>(std::ceil(span.Length() / maxStep)));
        for (int s = 0; s < steps; ++s) {
            const float f = static_cast<float>(s) / static_cast<float>(steps);
            const aiVector2D r = radii[k] + (radii[k + 1] - radii[k]) * f;
            body.push_back({points[k] + span * f, r.x, r.y});
        }
    }
    body.push_back({points.back(), radii.back().x, radii.back().y});
    std::vector<LoftRing> rings;
    aiVector3D first = points[1] - points[0];
    addCap(rings, body.front(), first.Normalize(), true);
    rings.insert(rings.end(), body.begin(), body.end());
    aiVector3D last = points.back() - points[points.size() - 2];
    addCap(rings, body.back(), -last.Normalize(), false);
    return makeLoft(rings, reference, segments, uv);
}

AssetMesh makeSpheroid(const aiVector3D& from, const aiVector3D& to, float rRef, float rSide,
                       const aiVector3D& reference, int segments, int rings, const UvRect& uv) {
    const aiVector3D centre = (from + to) * 0.5f;
    const aiVector3D half = (to - from) * 0.5f;
    std::vector<LoftRing> loft;
    for (int j = 0; j <= rings; ++j) {
        const float phi = kPi * (static_cast<float>(j) / static_cast<float>(rings) - 0.5f);
        const float c = j == 0 || j == rings ? 0.0f : std::cos(phi);
        loft.push_back({centre + half * std::sin(phi), rRef * c, rSide * c});
    }
    return makeLoft(loft, reference, segments, uv);
}

AssetMesh makeLathe(const aiVector3D& base, const std::vector<aiVector2D>& profile, int segments,
                    const UvRect& uv) {
    std::vector<std::vector<aiVector3D>> grid;
    std::vector<LoftRing> rings;
    for (const aiVector2D& point : profile) {
        std::vector<aiVector3D> ring;
        for (int i = 0; i <= segments; ++i) {
            const float a =
                2.0f * kPi * static_cast<float>(i % segments) / static_cast<float>(segments);
            // Around the y axis from +x towards -z, so that the outside faces outwards.
            ring.push_back(base +
                           aiVector3D(point.x * std::cos(a), point.y, -point.x * std::sin(a)));
        }
        grid.push_back(ring);
        rings.push_back({base + aiVector3D(0, point.y, 0), point.x, point.x});
    }
    return stitch(grid, ringParameters(rings), uv);
}

} // namespace assets
