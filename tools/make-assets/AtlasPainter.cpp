// The character texture atlas: every texel a part's UVs cover is painted from the rest-pose
// point it shows, and the margins are padded from the parts' edges (see Characters.h).
#include "Characters.h"

#include <algorithm>
#include <cmath>

namespace assets {

// Texels the atlas keeps free around each part, filled from the part's edge by finish().
static constexpr int kAtlasMargin = 2;
static constexpr int kPaddingPasses = 4;

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
