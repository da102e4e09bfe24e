// The sheep fold, where the shepherd rules want the flock brought: a floor of trampled straw as
// wide as the win zone with a dark, stony rim at its edge, and a post-and-rail fence around it
// that leaves a wide opening towards the meadow, with a sign beside the opening, a banner on a
// tall pole that shows over the plateau's edge from the meadow, and a stack of straw bales at
// the back. The game draws it without collision, so nothing here has to be
// walkable; it only has to show the player, near and far, where the flock counts.
//
// The floor is the shipped terrain itself, clipped to the disc and lifted a little: it lies on
// the ground the characters walk on exactly, so the grass neither pokes through it nor shows
// under it. Everything is designed in world units around the fold's centre and written in the
// fold model's coordinates.
#include "Canvas.h"
#include "FbxExport.h"
#include "FoldAtlas.h"
#include "LevelGround.h"
#include "Models.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

namespace assets {

static constexpr float kPi = 3.1415927f;
// The floor covers the win zone; its outermost band is the dark rim that marks the zone's edge.
static constexpr float kFloorRadius = level::kGoalRadius;
static constexpr float kRimWidth = 0.7f;
static constexpr int kFloorSides = 48;
// The rim's texture repeats once every this many of its sectors.
static constexpr int kRimSectorsPerRepeat = 2;
// Far enough above the terrain not to fight with it in the depth buffer from across the level.
static constexpr float kFloorLift = 0.06f;
// World units per repeat of the straw: the atlas cannot wrap, so the floor is cut into tiles.
static constexpr float kStrawTile = 10.0f;
// Ground further than this beyond the fence carries nothing of the fold.
static constexpr float kGroundMargin = 4.0f;
// The fence: posts on a circle just outside the floor, the opening centred on +z.
static constexpr float kFenceRadius = 15.4f;
static constexpr float kOpeningWidth = 12.0f;
static constexpr float kPostSpacing = 4.0f;
static constexpr float kPostHalf = 0.11f;
static constexpr float kPostHeight = 1.45f;
static constexpr float kGatePostHalf = 0.16f;
static constexpr float kGatePostHeight = 2.5f;
static constexpr float kPostSunk = 0.3f;
// The west gate post is the banner's pole.
static constexpr float kPoleHeight = 7.0f;
static constexpr float kBannerLength = 2.6f;
static constexpr float kBannerWidth = 1.2f;
static constexpr float kBannerWave = 0.18f;
static constexpr int kBannerColumns = 4;
static constexpr float kRailHeights[] = {0.55f, 1.15f};
static constexpr float kRailHalfWidth = 0.05f;
static constexpr float kRailHalfHeight = 0.08f;
// The sign: a board on the east gate post facing the meadow, above a sheep's back.
static constexpr float kSignBottom = 1.45f;
static constexpr float kSignHalfWidth = 0.8f;
static constexpr float kSignHalfHeight = 0.45f;
static constexpr float kSignHalfThickness = 0.04f;
// Straw bales stacked against the fence at the back, facing the opening.
static constexpr float kBaleHalfLength = 0.6f;
static constexpr float kBaleHalfDepth = 0.35f;
static constexpr float kBaleHeight = 0.5f;
static constexpr float kBaleRadius = 13.9f;
static constexpr float kBaleSunk = 0.1f;

static aiVector3D centre() {
    return kFoldPlacement.position;
}

// Half the angle the opening spans at the fence, around +z.
static float openingHalfAngle() {
    return std::asin(kOpeningWidth / 2.0f / kFenceRadius);
}

// The horizontal direction at angle a around the fold, from +z towards +x.
static aiVector3D around(float a) {
    return aiVector3D(std::sin(a), 0.0f, std::cos(a));
}

// ---- The ground, draped ----

struct GroundVertex {
    aiVector3D p;
    aiVector3D n;
};
using GroundPolygon = std::vector<GroundVertex>;

// The side of the line a point is on: inside where n.x * x + n.z * z >= d.
struct HalfPlane {
    aiVector3D n;
    float d;
    float side(const aiVector3D& p) const { return n.x * p.x + n.z * p.z - d; }
};

static HalfPlane keepTowards(const aiVector3D& normal, const aiVector3D& through) {
    return {normal, normal.x * through.x + normal.z * through.z};
}

// The shipped terrain's triangles whose extent reaches the square around the fold, each upward
// facing (simplified flat ground has large triangles, so a triangle's corners may all lie far off).
static std::vector<GroundPolygon> groundAroundFold() {
    const AssetMesh ground = shippedGround();
    const float reach = kFenceRadius + kGroundMargin;
    std::vector<GroundPolygon> near;
    for (const auto& t : ground.triangles) {
        GroundPolygon polygon;
        float lowX = 1e9f, highX = -1e9f, lowZ = 1e9f, highZ = -1e9f;
        for (uint32_t i : t) {
            const aiVector3D& p = ground.positions[i];
            polygon.push_back({p, ground.normals[i]});
            lowX = std::min(lowX, p.x), highX = std::max(highX, p.x);
            lowZ = std::min(lowZ, p.z), highZ = std::max(highZ, p.z);
        }
        if (highX > centre().x - reach && lowX < centre().x + reach && highZ > centre().z - reach &&
            lowZ < centre().z + reach) {
            near.push_back(polygon);
        }
    }
    return near;
}

// The part of a convex polygon on the inner side of h.
static GroundPolygon clip(const GroundPolygon& polygon, const HalfPlane& h) {
    GroundPolygon out;
    for (size_t i = 0; i < polygon.size(); ++i) {
        const GroundVertex& a = polygon[i];
        const GroundVertex& b = polygon[(i + 1) % polygon.size()];
        const float sa = h.side(a.p), sb = h.side(b.p);
        if (sa >= 0.0f) {
            out.push_back(a);
        }
        if ((sa >= 0.0f) != (sb >= 0.0f)) {
            const float t = sa / (sa - sb);
            out.push_back({a.p + (b.p - a.p) * t, a.n + (b.n - a.n) * t});
        }
    }
    return out;
}

// Height of the ground at (x, z), on the shipped triangles.
static float groundAt(const std::vector<GroundPolygon>& ground, float x, float z) {
    for (const GroundPolygon& t : ground) {
        const aiVector3D &a = t[0].p, &b = t[1].p, &c = t[2].p;
        const float area = (b.x - a.x) * (c.z - a.z) - (c.x - a.x) * (b.z - a.z);
        if (std::fabs(area) < 1e-9f) {
            continue;
        }
        const float wb = ((x - a.x) * (c.z - a.z) - (c.x - a.x) * (z - a.z)) / area;
        const float wc = ((b.x - a.x) * (z - a.z) - (x - a.x) * (b.z - a.z)) / area;
        if (wb >= -1e-5f && wc >= -1e-5f && wb + wc <= 1.0f + 1e-5f) {
            return a.y + (b.y - a.y) * wb + (c.y - a.y) * wc;
        }
    }
    return groundHeight(x, z);
}

// The ground inside a convex region, lifted, with texture coordinates from uv(point).
template <class Uv>
static AssetMesh drape(const std::vector<GroundPolygon>& ground,
                       const std::vector<HalfPlane>& region, Uv uv) {
    AssetMesh m;
    for (const GroundPolygon& t : ground) {
        GroundPolygon piece = t;
        for (const HalfPlane& h : region) {
            piece = clip(piece, h);
            if (piece.size() < 3) {
                break;
            }
        }
        if (piece.size() < 3) {
            continue;
        }
        const uint32_t first = static_cast<uint32_t>(m.positions.size());
        for (const GroundVertex& v : piece) {
            aiVector3D n = v.n;
            m.addVertex(v.p + aiVector3D(0, kFloorLift, 0), n.Normalize(), uv(v.p));
        }
        for (uint32_t i = 1; i + 1 < piece.size(); ++i) {
            m.addTriangle(first, first + i, first + i + 1);
        }
    }
    return m;
}

// The edge k of the regular polygon of radius r around the fold, keeping the inside (or, with
// outside, the outside).
static HalfPlane polygonEdge(int k, float r, bool outside = false) {
    const float mid = 2.0f * kPi * (static_cast<float>(k) + 0.5f) / kFloorSides;
    const aiVector3D out = around(mid);
    const aiVector3D through = centre() + out * (r * std::cos(kPi / kFloorSides));
    return keepTowards(outside ? out : out * -1.0f, through);
}

// Straw tiles over the inner disc.
static AssetMesh strawFloor(const std::vector<GroundPolygon>& ground) {
    const float inner = kFloorRadius - kRimWidth;
    std::vector<HalfPlane> disc;
    for (int k = 0; k < kFloorSides; ++k) {
        disc.push_back(polygonEdge(k, inner));
    }
    AssetMesh m;
    const int tiles = static_cast<int>(std::ceil(2.0f * kFloorRadius / kStrawTile));
    for (int i = 0; i < tiles; ++i) {
        for (int j = 0; j < tiles; ++j) {
            const float x0 = centre().x - kFloorRadius + kStrawTile * static_cast<float>(i);
            const float z0 = centre().z - kFloorRadius + kStrawTile * static_cast<float>(j);
            std::vector<HalfPlane> tile = disc;
            tile.push_back(keepTowards({1, 0, 0}, {x0, 0, 0}));
            tile.push_back(keepTowards({-1, 0, 0}, {x0 + kStrawTile, 0, 0}));
            tile.push_back(keepTowards({0, 0, 1}, {0, 0, z0}));
            tile.push_back(keepTowards({0, 0, -1}, {0, 0, z0 + kStrawTile}));
            m.append(drape(ground, tile, [&](const aiVector3D& p) {
                return kFoldStraw.at((p.x - x0) / kStrawTile, (p.z - z0) / kStrawTile);
            }));
        }
    }
    return m;
}

// The rim, one sector of the polygon at a time: u runs around, v outwards.
static AssetMesh rim(const std::vector<GroundPolygon>& ground) {
    const float inner = kFloorRadius - kRimWidth;
    const float sector = 2.0f * kPi / kFloorSides;
    AssetMesh m;
    for (int k = 0; k < kFloorSides; ++k) {
        const float a0 = sector * static_cast<float>(k), a1 = a0 + sector;
        const std::vector<HalfPlane> region = {
            polygonEdge(k, kFloorRadius), polygonEdge(k, inner, true),
            keepTowards(around(a0 + kPi / 2.0f), centre()),
            keepTowards(around(a1 + kPi / 2.0f) * -1.0f, centre())};
        const float repeat = static_cast<float>(k % kRimSectorsPerRepeat);
        m.append(drape(ground, region, [&](const aiVector3D& p) {
            const aiVector3D d = p - centre();
            const float a = a0 +
                            std::remainder(std::atan2(d.x, d.z) - a0 - sector / 2.0f, 2.0f * kPi) +
                            sector / 2.0f;
            const float s = std::clamp((a - a0) / sector, 0.0f, 1.0f);
            const float t = std::clamp((std::hypot(d.x, d.z) - inner) / kRimWidth, 0.0f, 1.0f);
            return kFoldRim.at((repeat + s) / kRimSectorsPerRepeat, t);
        }));
    }
    return m;
}

// ---- Wooden parts ----

// A four-sided block along the axis a-b with a cross-section of half extents u and v (both
// across the axis), the sides mapped to sides[i] with v along the axis; with a cap over b
// and, if asked, one under a.
static AssetMesh block(const aiVector3D& a, const aiVector3D& b, aiVector3D u, aiVector3D v,
                       const std::array<UvRect, 4>& sides, const UvRect* topCap,
                       const UvRect* bottomCap = nullptr) {
    if (((u ^ v) * (b - a)) < 0.0f) {
        v = v * -1.0f;
    }
    const aiVector3D o[4] = {u + v, u * -1.0f + v, (u + v) * -1.0f, u - v};
    AssetMesh m;
    auto quad = [&](const aiVector3D& p0, const aiVector3D& p1, const aiVector3D& p2,
                    const aiVector3D& p3, const UvRect& uv) {
        aiVector3D n = (p1 - p0) ^ (p3 - p0);
        n.Normalize();
        const uint32_t i = m.addVertex(p0, n, uv.at(0, 0));
        m.addVertex(p1, n, uv.at(1, 0));
        m.addVertex(p2, n, uv.at(1, 1));
        m.addVertex(p3, n, uv.at(0, 1));
        m.addTriangle(i, i + 1, i + 2);
        m.addTriangle(i, i + 2, i + 3);
    };
    for (int i = 0; i < 4; ++i) {
        const aiVector3D& o0 = o[i];
        const aiVector3D& o1 = o[(i + 1) % 4];
        quad(a + o0, a + o1, b + o1, b + o0, sides[static_cast<size_t>(i)]);
    }
    if (topCap != nullptr) {
        quad(b + o[0], b + o[1], b + o[2], b + o[3], *topCap);
    }
    if (bottomCap != nullptr) {
        quad(a + o[3], a + o[2], a + o[1], a + o[0], *bottomCap);
    }
    return m;
}

static std::array<UvRect, 4> allSides(const UvRect& uv) {
    return {uv, uv, uv, uv};
}

// A square post standing at angle a on the fence's circle, sunk into the ground at its lowest
// corner; its faces turned along the fence.
static AssetMesh post(const std::vector<GroundPolygon>& ground, float a, float half, float height) {
    const aiVector3D at = centre() + around(a) * kFenceRadius;
    const aiVector3D u = around(a + kPi / 2.0f) * half, v = around(a) * half;
    float lowest = groundAt(ground, at.x, at.z);
    for (const aiVector3D& o : {u + v, u - v, v - u, (u + v) * -1.0f}) {
        lowest = std::min(lowest, groundAt(ground, at.x + o.x, at.z + o.z));
    }
    const float top = groundAt(ground, at.x, at.z) + height;
    return block(aiVector3D(at.x, lowest - kPostSunk, at.z), aiVector3D(at.x, top, at.z), u, v,
                 allSides(kFoldWood), &kFoldWoodEnd);
}

// A rail between the posts at angles a0 and a1, this high above the ground at each.
static AssetMesh rail(const std::vector<GroundPolygon>& ground, float a0, float a1, float height) {
    aiVector3D p0 = centre() + around(a0) * kFenceRadius;
    aiVector3D p1 = centre() + around(a1) * kFenceRadius;
    p0.y = groundAt(ground, p0.x, p0.z) + height;
    p1.y = groundAt(ground, p1.x, p1.z) + height;
    aiVector3D u = around((a0 + a1) / 2.0f) * kRailHalfWidth;
    aiVector3D v = (p1 - p0) ^ u;
    v.Normalize();
    return block(p0, p1, u, v * kRailHalfHeight, allSides(kFoldWood), nullptr);
}

// The posts and rails around the circle, open over the opening's width at +z.
static AssetMesh fence(const std::vector<GroundPolygon>& ground) {
    const float open = openingHalfAngle();
    const float arc = 2.0f * kPi - 2.0f * open;
    const int spans = static_cast<int>(std::lround(arc * kFenceRadius / kPostSpacing));
    AssetMesh m;
    for (int i = 0; i <= spans; ++i) {
        const float a = open + arc * static_cast<float>(i) / static_cast<float>(spans);
        const bool gate = i == 0 || i == spans;
        const float height = i == spans ? kPoleHeight : gate ? kGatePostHeight : kPostHeight;
        m.append(post(ground, a, gate ? kGatePostHalf : kPostHalf, height));
        if (i == spans) {
            break;
        }
        const float next = open + arc * static_cast<float>(i + 1) / static_cast<float>(spans);
        for (float h : kRailHeights) {
            m.append(rail(ground, a, next, h));
        }
    }
    return m;
}

// The sign on the east gate post's outer side, facing the meadow.
static AssetMesh sign(const std::vector<GroundPolygon>& ground) {
    const float open = openingHalfAngle();
    const aiVector3D gatePost = centre() + around(open) * kFenceRadius;
    const aiVector3D at = gatePost + aiVector3D(kSignHalfWidth + kGatePostHalf, 0.0f,
                                                kGatePostHalf + kSignHalfThickness);
    const float bottom = groundAt(ground, gatePost.x, gatePost.z) + kSignBottom;
    const aiVector3D a(at.x, bottom, at.z);
    const aiVector3D b(at.x, bottom + 2.0f * kSignHalfHeight, at.z);
    const std::array<UvRect, 4> faces = {kFoldWoodEnd, kFoldSign, kFoldWoodEnd, kFoldSign};
    return block(a, b, aiVector3D(0, 0, kSignHalfThickness), aiVector3D(kSignHalfWidth, 0, 0),
                 faces, &kFoldWoodEnd, &kFoldWoodEnd);
}

// The banner at the top of the west gate post, flying away from the opening; two layers so it
// shows from both sides.
static AssetMesh banner(const std::vector<GroundPolygon>& ground) {
    const float open = openingHalfAngle();
    const aiVector3D pole = centre() + around(-open) * kFenceRadius;
    const float top = groundAt(ground, pole.x, pole.z) + kPoleHeight - 0.1f;
    const aiVector3D along = around(-open - kPi / 2.0f), across = around(-open);
    AssetMesh front;
    for (int i = 0; i <= kBannerColumns; ++i) {
        const float s = static_cast<float>(i) / kBannerColumns;
        const float wave = kBannerWave * std::sin(s * 5.0f) * s;
        const float slope = kBannerWave * (5.0f * std::cos(s * 5.0f) * s + std::sin(s * 5.0f));
        // Facing -across, the way its triangles wind.
        aiVector3D n = along * (slope / kBannerLength) - across;
        n.Normalize();
        const aiVector3D p = pole + along * (kGatePostHalf + s * kBannerLength) + across * wave;
        front.addVertex(aiVector3D(p.x, top - kBannerWidth, p.z), n, kFoldBanner.at(s, 0));
        front.addVertex(aiVector3D(p.x, top, p.z), n, kFoldBanner.at(s, 1));
        if (i > 0) {
            const uint32_t b = static_cast<uint32_t>(front.positions.size()) - 4;
            front.addTriangle(b, b + 2, b + 3);
            front.addTriangle(b, b + 3, b + 1);
        }
    }
    AssetMesh back = front;
    back.flipFaces();
    front.append(back);
    return front;
}

// A straw bale at angle a around the fold and distance r, turned along the fence, its bottom
// at `bottom` (or on the ground when NAN).
static AssetMesh bale(const std::vector<GroundPolygon>& ground, float a, float r, float bottom) {
    const aiVector3D at = centre() + around(a) * r;
    const aiVector3D u = around(a + kPi / 2.0f) * kBaleHalfLength;
    const aiVector3D v = around(a) * kBaleHalfDepth;
    if (std::isnan(bottom)) {
        bottom = groundAt(ground, at.x, at.z);
        for (const aiVector3D& o : {u + v, u - v, v - u, (u + v) * -1.0f}) {
            bottom = std::min(bottom, groundAt(ground, at.x + o.x, at.z + o.z));
        }
        bottom -= kBaleSunk;
    }
    return block(aiVector3D(at.x, bottom, at.z), aiVector3D(at.x, bottom + kBaleHeight, at.z), u, v,
                 allSides(kFoldBale), &kFoldBale);
}

// Two bales side by side at the back of the fold and one on top of them.
static AssetMesh bales(const std::vector<GroundPolygon>& ground) {
    const float step = 2.05f * kBaleHalfLength / kBaleRadius;
    AssetMesh left = bale(ground, kPi - step / 2.0f, kBaleRadius, NAN);
    AssetMesh right = bale(ground, kPi + step / 2.0f, kBaleRadius, NAN);
    float top = -1e9f;
    for (const AssetMesh* m : {&left, &right}) {
        for (const aiVector3D& p : m->positions) {
            top = std::max(top, p.y);
        }
    }
    left.append(right);
    left.append(bale(ground, kPi + step * 0.1f, kBaleRadius + 0.05f, top));
    return left;
}

bool writeFold(const std::string& dir) {
    const std::vector<GroundPolygon> ground = groundAroundFold();
    ModelFile model;
    model.nodeName = "Fold";
    model.textureName = level::kFold.texture;
    model.mesh = strawFloor(ground);
    model.mesh.append(rim(ground));
    model.mesh.append(fence(ground));
    model.mesh.append(sign(ground));
    model.mesh.append(banner(ground));
    model.mesh.append(bales(ground));
    toModelSpace(model.mesh, kFoldPlacement);
    return writeModel(dir, level::kFold.file, model, foldAtlas(), true);
}

} // namespace assets
