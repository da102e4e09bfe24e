// Shape, skin, take and texture helpers shared by the three characters (see Characters.h).
#include "Characters.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <tuple>

namespace assets {

static constexpr float kPi = 3.14159265f;
// Rings of the half sphere that rounds off each end of a limb.
static constexpr int kCapRings = 3;
// Weights below this are dropped (and the rest renormalised): they move nothing visibly.
static constexpr float kMinWeight = 1e-3f;
// Texels the atlas keeps free around each part, filled from the part's edge by finish().
static constexpr int kAtlasMargin = 2;
static constexpr int kPaddingPasses = 4;
// Noise lattice period: large enough that model-space coordinates never visibly repeat.
static constexpr int kNoisePeriod = 4096;

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

float smoothStep(float edge0, float edge1, float x) {
    const float t = std::clamp((x - edge0) / (edge1 - edge0), 0.0f, 1.0f);
    return t * t * (3.0f - 2.0f * t);
}

Rgb vary(const Rgb& c, float noise, float amount) {
    const float f = 1.0f + amount * (2.0f * noise - 1.0f);
    return {c.r * f, c.g * f, c.b * f};
}

Weights chainWeights(const aiVector3D& p, int rootBone, const std::vector<Joint>& joints) {
    std::map<int, float> sums;
    float remaining = 1.0f;
    int current = rootBone;
    for (const Joint& joint : joints) {
        const float past =
            smoothStep(-joint.halfWidth, joint.halfWidth, (p - joint.at) * joint.along);
        sums[current] += remaining * (1.0f - past);
        remaining *= past;
        current = joint.bone;
    }
    sums[current] += remaining;
    Weights weights;
    float total = 0.0f;
    for (const auto& [bone, w] : sums) {
        if (w >= kMinWeight) {
            weights.push_back({bone, w});
            total += w;
        }
    }
    for (BoneWeight& w : weights) {
        w.weight /= total;
    }
    return weights;
}

void skinChain(AssetMesh& part, int rootBone, const std::vector<Joint>& joints) {
    part.weights.resize(part.positions.size());
    for (size_t v = 0; v < part.positions.size(); ++v) {
        part.weights[v] = chainWeights(part.positions[v], rootBone, joints);
    }
}

int addBone(std::vector<Bone>& bones, const std::string& name, int parent, const aiVector3D& head) {
    bones.push_back({name, parent, head});
    return static_cast<int>(bones.size()) - 1;
}

aiQuaternion turn(const aiVector3D& axis, float degrees) {
    return aiQuaternion(axis, degrees * kPi / 180.0f);
}

Take makeLoopTake(const std::string& name, size_t boneCount, const PoseFunction& pose) {
    Take take;
    take.name = name;
    take.seconds = kRunSeconds;
    for (int k = 0; k + 1 < kRunKeys; ++k) {
        std::vector<BonePose> poses(boneCount);
        pose(static_cast<float>(k) / static_cast<float>(kRunKeys - 1), poses);
        take.keys.push_back(poses);
    }
    take.keys.push_back(take.keys.front());
    return take;
}

float solidNoise(const aiVector3D& p, float frequency, int octaves, uint32_t seed) {
    // Three planar noises averaged read as solid noise on curved surfaces.
    const aiVector3D q = p * frequency;
    return (fractalNoise(q.x, q.y, kNoisePeriod, octaves, seed) +
            fractalNoise(q.y, q.z, kNoisePeriod, octaves, seed + 7u) +
            fractalNoise(q.z, q.x, kNoisePeriod, octaves, seed + 13u)) /
           3.0f;
}

AtlasPainter::AtlasPainter(int size, const Rgb& background)
    : canvas_(size, size, background), painted_(static_cast<size_t>(size) * size, 0) {
}

UvRect AtlasPainter::rect(int x0, int y0, int x1, int y1) const {
    const auto size = static_cast<float>(canvas_.width());
    return {
        static_cast<float>(x0 + kAtlasMargin) / size, static_cast<float>(y0 + kAtlasMargin) / size,
        static_cast<float>(x1 - kAtlasMargin) / size, static_cast<float>(y1 - kAtlasMargin) / size};
}

void AtlasPainter::paint(const AssetMesh& part, const SurfaceColour& colour) {
    for (const auto& tri : part.triangles) {
        paintTriangle(part, tri, colour);
    }
}

void AtlasPainter::paintTriangle(const AssetMesh& part, const std::array<uint32_t, 3>& tri,
                                 const SurfaceColour& colour) {
    const auto size = static_cast<float>(canvas_.width());
    aiVector2D t[3];
    for (int k = 0; k < 3; ++k) {
        t[k] = part.uvs[tri[static_cast<size_t>(k)]] * size;
    }
    const float area =
        (t[1].x - t[0].x) * (t[2].y - t[0].y) - (t[2].x - t[0].x) * (t[1].y - t[0].y);
    if (std::fabs(area) < 1e-8f) {
        return;
    }
    const int x0 = std::max(0, static_cast<int>(std::floor(std::min({t[0].x, t[1].x, t[2].x}))));
    const int x1 = std::min(canvas_.width() - 1,
                            static_cast<int>(std::ceil(std::max({t[0].x, t[1].x, t[2].x}))));
    const int y0 = std::max(0, static_cast<int>(std::floor(std::min({t[0].y, t[1].y, t[2].y}))));
    const int y1 = std::min(canvas_.height() - 1,
                            static_cast<int>(std::ceil(std::max({t[0].y, t[1].y, t[2].y}))));
    // Texel centres inside the triangle, or just outside its edges so that neighbours meet.
    const float slack = -0.02f;
    for (int y = y0; y <= y1; ++y) {
        for (int x = x0; x <= x1; ++x) {
            const aiVector2D c(static_cast<float>(x) + 0.5f, static_cast<float>(y) + 0.5f);
            float w[3];
            for (int k = 0; k < 3; ++k) {
                const aiVector2D& a = t[(k + 1) % 3];
                const aiVector2D& b = t[(k + 2) % 3];
                w[k] = ((b.x - a.x) * (c.y - a.y) - (c.x - a.x) * (b.y - a.y)) / area;
            }
            if (w[0] < slack || w[1] < slack || w[2] < slack) {
                continue;
            }
            aiVector3D p, n;
            for (int k = 0; k < 3; ++k) {
                p += part.positions[tri[static_cast<size_t>(k)]] * w[k];
                n += part.normals[tri[static_cast<size_t>(k)]] * w[k];
            }
            canvas_.set(x, y, colour(p, n.Length() > 0.0f ? n.Normalize() : n));
            painted_[static_cast<size_t>(y) * canvas_.width() + x] = 1;
        }
    }
}

const Canvas& AtlasPainter::finish() {
    const int size = canvas_.width();
    for (int pass = 0; pass < kPaddingPasses; ++pass) {
        std::vector<uint8_t> next = painted_;
        for (int y = 0; y < size; ++y) {
            for (int x = 0; x < size; ++x) {
                if (painted_[static_cast<size_t>(y) * size + x]) {
                    continue;
                }
                Rgb sum{0, 0, 0};
                int count = 0;
                for (int dy = -1; dy <= 1; ++dy) {
                    for (int dx = -1; dx <= 1; ++dx) {
                        const int nx = x + dx, ny = y + dy;
                        if (nx < 0 || ny < 0 || nx >= size || ny >= size ||
                            !painted_[static_cast<size_t>(ny) * size + nx]) {
                            continue;
                        }
                        const Rgb c = canvas_.get(nx, ny);
                        sum = {sum.r + c.r, sum.g + c.g, sum.b + c.b};
                        ++count;
                    }
                }
                if (count > 0) {
                    const float f = 1.0f / static_cast<float>(count);
                    canvas_.set(x, y, {sum.r * f, sum.g * f, sum.b * f});
                    next[static_cast<size_t>(y) * size + x] = 1;
                }
            }
        }
        painted_ = next;
    }
    return canvas_;
}

void addPart(ModelFile& model, AtlasPainter& atlas, const AssetMesh& part,
             const SurfaceColour& colour) {
    atlas.paint(part, colour);
    model.mesh.append(part);
}

} // namespace assets
