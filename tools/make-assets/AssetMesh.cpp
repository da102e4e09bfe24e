// Primitive builders for generated models. Normals are computed analytically where the shape is
// smooth and per face where it is flat, so the models light well without a normal pass.
#include "AssetMesh.h"

#include <cmath>

namespace assets {

static constexpr float kPi = 3.14159265f;

uint32_t AssetMesh::addVertex(const aiVector3D& p, const aiVector3D& n, const aiVector2D& uv) {
    positions.push_back(p);
    aiVector3D unit = n;
    unit.Normalize();
    normals.push_back(unit);
    uvs.push_back(uv);
    if (!weights.empty()) {
        weights.emplace_back();
    }
    return static_cast<uint32_t>(positions.size() - 1);
}

void AssetMesh::append(const AssetMesh& other) {
    const uint32_t base = static_cast<uint32_t>(positions.size());
    const bool skinned = !weights.empty() || !other.weights.empty();
    if (skinned) {
        weights.resize(positions.size());
    }
    positions.insert(positions.end(), other.positions.begin(), other.positions.end());
    normals.insert(normals.end(), other.normals.begin(), other.normals.end());
    uvs.insert(uvs.end(), other.uvs.begin(), other.uvs.end());
    if (skinned) {
        if (other.weights.empty()) {
            weights.resize(positions.size());
        } else {
            weights.insert(weights.end(), other.weights.begin(), other.weights.end());
        }
    }
    for (const auto& t : other.triangles) {
        triangles.push_back({t[0] + base, t[1] + base, t[2] + base});
    }
}

void AssetMesh::transform(const aiMatrix4x4& m) {
    const aiMatrix3x3 rotation(m);
    for (auto& p : positions) {
        p = m * p;
    }
    for (auto& n : normals) {
        n = rotation * n;
        n.Normalize();
    }
}

void AssetMesh::flipFaces() {
    for (auto& t : triangles) {
        std::swap(t[1], t[2]);
    }
    for (auto& n : normals) {
        n = -n;
    }
}

void AssetMesh::bindAll(int bone) {
    weights.assign(positions.size(), std::vector<BoneWeight>{{bone, 1.0f}});
}

// One flat quad a-b-c-d (counter-clockwise seen from the front) mapped onto the rect.
static void addQuad(AssetMesh& m, const aiVector3D& a, const aiVector3D& b, const aiVector3D& c,
                    const aiVector3D& d, const UvRect& uv) {
    const aiVector3D n = (b - a) ^ (c - a);
    const uint32_t ia = m.addVertex(a, n, uv.at(0, 0));
    const uint32_t ib = m.addVertex(b, n, uv.at(1, 0));
    const uint32_t ic = m.addVertex(c, n, uv.at(1, 1));
    const uint32_t id = m.addVertex(d, n, uv.at(0, 1));
    m.addTriangle(ia, ib, ic);
    m.addTriangle(ia, ic, id);
}

AssetMesh makeBox(const aiVector3D& c, const aiVector3D& h, const UvRect& uv) {
    AssetMesh m;
    auto p = [&](float sx, float sy, float sz) {
        return aiVector3D(c.x + sx * h.x, c.y + sy * h.y, c.z + sz * h.z);
    };
    addQuad(m, p(-1, -1, 1), p(1, -1, 1), p(1, 1, 1), p(-1, 1, 1), uv);     // +z
    addQuad(m, p(1, -1, -1), p(-1, -1, -1), p(-1, 1, -1), p(1, 1, -1), uv); // -z
    addQuad(m, p(1, -1, 1), p(1, -1, -1), p(1, 1, -1), p(1, 1, 1), uv);     // +x
    addQuad(m, p(-1, -1, -1), p(-1, -1, 1), p(-1, 1, 1), p(-1, 1, -1), uv); // -x
    addQuad(m, p(-1, 1, 1), p(1, 1, 1), p(1, 1, -1), p(-1, 1, -1), uv);     // +y
    addQuad(m, p(-1, -1, -1), p(1, -1, -1), p(1, -1, 1), p(-1, -1, 1), uv); // -y
    return m;
}

// A disc cap at height y, facing up or down.
static void addCap(AssetMesh& m, float r, float y, int segments, bool up, const UvRect& uv) {
    const aiVector3D n(0, up ? 1.0f : -1.0f, 0);
    const uint32_t centre = m.addVertex(aiVector3D(0, y, 0), n, uv.at(0.5f, 0.5f));
    uint32_t first = 0;
    for (int i = 0; i <= segments; ++i) {
        const float a = 2.0f * kPi * static_cast<float>(i) / static_cast<float>(segments);
        const float cx = std::cos(a), sz = std::sin(a);
        const uint32_t v = m.addVertex(aiVector3D(r * cx, y, r * sz), n,
                                       uv.at(0.5f + 0.5f * cx, 0.5f + 0.5f * sz));
        if (i == 0) {
            first = v;
            continue;
        }
        if (up) {
            m.addTriangle(centre, v, v - 1);
        } else {
            m.addTriangle(centre, v - 1, v);
        }
    }
    (void)first;
}

AssetMesh makeCylinder(float r0, float r1, float y0, float y1, int segments, const UvRect& uv,
                       bool caps) {
    AssetMesh m;
    const float slope = (r0 - r1) / (y1 - y0);
    for (int i = 0; i <= segments; ++i) {
        const float s = static_cast<float>(i) / static_cast<float>(segments);
        const float a = 2.0f * kPi * s;
        const float cx = std::cos(a), sz = std::sin(a);
        const aiVector3D n(cx, slope, sz);
        m.addVertex(aiVector3D(r0 * cx, y0, r0 * sz), n, uv.at(s, 0));
        m.addVertex(aiVector3D(r1 * cx, y1, r1 * sz), n, uv.at(s, 1));
        if (i > 0) {
            const uint32_t b = static_cast<uint32_t>(m.positions.size()) - 4;
            m.addTriangle(b, b + 1, b + 3);
            m.addTriangle(b, b + 3, b + 2);
        }
    }
    if (caps) {
        if (r0 > 0) {
            addCap(m, r0, y0, segments, false, uv);
        }
        if (r1 > 0) {
            addCap(m, r1, y1, segments, true, uv);
        }
    }
    return m;
}

AssetMesh makeEllipsoid(const aiVector3D& c, const aiVector3D& r, int segments, int rings,
                        const UvRect& uv) {
    AssetMesh m;
    for (int j = 0; j <= rings; ++j) {
        const float t = static_cast<float>(j) / static_cast<float>(rings);
        const float phi = kPi * (t - 0.5f);
        for (int i = 0; i <= segments; ++i) {
            const float s = static_cast<float>(i) / static_cast<float>(segments);
            const float a = 2.0f * kPi * s;
            const aiVector3D unit(std::cos(phi) * std::cos(a), std::sin(phi),
                                  std::cos(phi) * std::sin(a));
            const aiVector3D p(c.x + r.x * unit.x, c.y + r.y * unit.y, c.z + r.z * unit.z);
            const aiVector3D n(unit.x / r.x, unit.y / r.y, unit.z / r.z);
            m.addVertex(p, n, uv.at(s, t));
        }
    }
    const int row = segments + 1;
    for (int j = 0; j < rings; ++j) {
        for (int i = 0; i < segments; ++i) {
            const uint32_t a = static_cast<uint32_t>(j * row + i);
            const uint32_t b = a + 1;
            const uint32_t d = a + static_cast<uint32_t>(row);
            const uint32_t e = d + 1;
            // The rings at the poles collapse to a point: skip the triangles that would be lines.
            if (j > 0) {
                m.addTriangle(a, e, b);
            }
            if (j < rings - 1) {
                m.addTriangle(a, d, e);
            }
        }
    }
    return m;
}

AssetMesh makeTube(const aiVector3D& a, const aiVector3D& b, float ra, float rb, int segments,
                   const UvRect& uv) {
    AssetMesh m = makeCylinder(ra, rb, 0.0f, 1.0f, segments, uv);
    aiVector3D axis = b - a;
    const float length = axis.Length();
    if (length <= 0.0f) {
        return m;
    }
    for (auto& p : m.positions) {
        p.y *= length;
    }
    axis /= length;
    aiMatrix4x4 rotate;
    aiMatrix4x4::FromToMatrix(aiVector3D(0, 1, 0), axis, rotate);
    aiMatrix4x4 move;
    aiMatrix4x4::Translation(a, move);
    m.transform(move * rotate);
    return m;
}

AssetMesh makeHeightGrid(float x0, float z0, float x1, float z1, int nx, int nz,
                         const std::function<float(float, float)>& h, float tiles) {
    AssetMesh m;
    const float dx = (x1 - x0) / static_cast<float>(nx);
    const float dz = (z1 - z0) / static_cast<float>(nz);
    for (int j = 0; j <= nz; ++j) {
        for (int i = 0; i <= nx; ++i) {
            const float x = x0 + dx * static_cast<float>(i);
            const float z = z0 + dz * static_cast<float>(j);
            const float e = 0.25f * std::fabs(dx);
            const float f = 0.25f * std::fabs(dz);
            // Central differences give the surface normal (-dh/dx, 1, -dh/dz).
            const float gx = (h(x + e, z) - h(x - e, z)) / (2.0f * e);
            const float gz = (h(x, z + f) - h(x, z - f)) / (2.0f * f);
            const float s = static_cast<float>(i) / static_cast<float>(nx);
            const float t = static_cast<float>(j) / static_cast<float>(nz);
            m.addVertex(aiVector3D(x, h(x, z), z), aiVector3D(-gx, 1.0f, -gz),
                        aiVector2D(s * tiles, t * tiles));
        }
    }
    const int row = nx + 1;
    for (int j = 0; j < nz; ++j) {
        for (int i = 0; i < nx; ++i) {
            const uint32_t a = static_cast<uint32_t>(j * row + i);
            const uint32_t b = a + 1;
            const uint32_t c = a + static_cast<uint32_t>(row);
            const uint32_t d = c + 1;
            // Upward-facing when x grows right and z grows towards the viewer.
            m.addTriangle(a, c, d);
            m.addTriangle(a, d, b);
        }
    }
    return m;
}

} // namespace assets
