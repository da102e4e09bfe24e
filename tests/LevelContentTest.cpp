// The level contract, measured on the generated files placed as the level places them: ground
// where the characters start, the canyon floor under every waypoint, the power plant's plateau,
// no holes in the play area, a walkable ramp from the den, the sheep fold lying on the ground
// over its win zone and a sky that encloses it all.
#include "LevelMeshes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace {

using assets::kWaypoints;

// Steepest slope a character may still walk up, in degrees.
constexpr float kWalkableDegrees = 35.0f;
// The far clipping distance of the renderer.
constexpr float kFarPlane = 10000.0f;
// The fold's floor lies on the terrain, above it by no more than this.
constexpr float kFloorAboveGround = 0.3f;
// The fence leaves at least this wide a way in on the fold's +z side, towards the meadow.
constexpr float kFoldOpening = 11.0f;
// Fence posts are sunk into the ground, but not this deep, and rise at least this high.
constexpr float kPostDeepest = 0.6f;
constexpr float kFenceLowest = 1.0f;

class LevelContentTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        terrain_ = load(level::kTerrain.file, assets::kTerrainPlacement);
        canyon_ = load(level::kCanyon.file, assets::kCanyonPlacement);
        plant_ = load(level::kPowerPlant.file, assets::kPowerPlantPlacement);
        fold_ = load(level::kFold.file, assets::kFoldPlacement);
        std::vector<Triangle> all = terrain_;
        all.insert(all.end(), canyon_.begin(), canyon_.end());
        all.insert(all.end(), plant_.begin(), plant_.end());
        ground_ = std::make_unique<VerticalRayCaster>(terrain_);
        level_ = std::make_unique<VerticalRayCaster>(all);
    }
    static std::vector<Triangle> load(const char* file, const assets::Placement& placement) {
        const ImportedModel m = importModel(dataFile(file));
        return m.scene != nullptr ? placedTriangles(m.scene, placement) : std::vector<Triangle>();
    }
    // Height of the terrain alone at (x, z), NAN where there is none.
    static float groundAt(float x, float z) {
        const auto ys = ground_->hits(x, z);
        return ys.empty() ? NAN : ys.front();
    }
    // The highest surface of terrain, canyon and power plant at (x, z).
    static float topAt(float x, float z) {
        const auto ys = level_->hits(x, z);
        return ys.empty() ? NAN : ys.front();
    }

    static inline std::vector<Triangle> terrain_, canyon_, plant_, fold_;
    static inline std::unique_ptr<VerticalRayCaster> ground_, level_;
};

TEST_F(LevelContentTest, MeadowCarriesTheGoalTheHerderAndTheFlock) {
    ASSERT_FALSE(terrain_.empty());
    EXPECT_NEAR(topAt(0, 0), 0.0f, 1.0f) << "the goal marker stands at the origin";
    const aiVector3D h = assets::kHerderStart;
    EXPECT_NEAR(topAt(h.x, h.z), 0.0f, 1.5f);
    for (int i = 0; i < 6; ++i) {
        const aiVector3D s = assets::sheepStart(i);
        EXPECT_NEAR(topAt(s.x, s.z), 0.0f, 1.5f) << "sheep" << i;
    }
    // The goal zone is level enough to stand on everywhere.
    for (float a = 0; a < 6.28f; a += 0.5f) {
        EXPECT_NEAR(topAt(14.0f * std::cos(a), 14.0f * std::sin(a)), 0.0f, 1.5f) << a;
    }
}

TEST_F(LevelContentTest, CanyonFloorRunsJustBelowEveryWaypoint) {
    ASSERT_FALSE(canyon_.empty());
    for (size_t i = 0; i < kWaypoints.size(); ++i) {
        const aiVector3D& w = kWaypoints[i];
        EXPECT_NEAR(topAt(w.x, w.z), w.y - assets::kFloorBelowWaypoint, 0.5f) << "W" << i;
        // Within the arrival radius nothing hangs over the floor.
        for (float a = 0; a < 6.28f; a += 0.8f) {
            const float x = w.x + 2.0f * std::cos(a), z = w.z + 2.0f * std::sin(a);
            const auto ys = level_->hits(x, z);
            ASSERT_FALSE(ys.empty());
            EXPECT_LT(ys.front(), w.y + 1.0f) << "W" << i << " at angle " << a;
        }
    }
}

TEST_F(LevelContentTest, CanyonWallsRiseAboveTheFloorOnBothSides) {
    // Midway between W2 and W3 the walls stand well above the floor 12 units to either side.
    const aiVector3D mid = (kWaypoints[2] + kWaypoints[3]) * 0.5f;
    aiVector3D along = kWaypoints[3] - kWaypoints[2];
    along.y = 0;
    along.Normalize();
    const aiVector3D side(-along.z, 0, along.x);
    for (float s : {-11.0f, 11.0f}) {
        const aiVector3D p = mid + side * s;
        EXPECT_GT(topAt(p.x, p.z), mid.y + 4.0f) << s;
    }
}

TEST_F(LevelContentTest, PowerPlantStandsOnItsPlateau) {
    ASSERT_FALSE(plant_.empty());
    const aiVector3D c = assets::kPowerPlantCentre;
    EXPECT_NEAR(groundAt(c.x, c.z), c.y, 1.0f);
    EXPECT_NEAR(groundAt(c.x + 30, c.z + 25), c.y, 1.0f);
    float lowest = 1e9f, highest = -1e9f;
    for (const Triangle& t : plant_) {
        lowest = std::min({lowest, t.a.y, t.b.y, t.c.y});
        highest = std::max({highest, t.a.y, t.b.y, t.c.y});
    }
    EXPECT_LT(lowest, c.y) << "its base reaches into the ground";
    EXPECT_GT(lowest, 13.0f);
    EXPECT_GT(highest, 40.0f) << "the chimney can be seen from afar";
}

TEST_F(LevelContentTest, GroundHasNoHoleInThePlayArea) {
    int misses = 0;
    for (float x = assets::kWorldMinX + 2; x < assets::kWorldMaxX - 2; x += 4.0f) {
        for (float z = assets::kWorldMinZ + 2; z < assets::kWorldMaxZ - 2; z += 4.0f) {
            misses += std::isnan(groundAt(x, z)) ? 1 : 0;
        }
    }
    EXPECT_EQ(misses, 0);
}

TEST_F(LevelContentTest, BorderHillsCloseThePlayArea) {
    for (float t = 0.05f; t < 1.0f; t += 0.1f) {
        const float x = assets::kWorldMinX + t * (assets::kWorldMaxX - assets::kWorldMinX);
        const float z = assets::kWorldMinZ + t * (assets::kWorldMaxZ - assets::kWorldMinZ);
        EXPECT_GT(groundAt(x, assets::kWorldMinZ + 3), 25.0f);
        EXPECT_GT(groundAt(x, assets::kWorldMaxZ - 3), 25.0f);
        EXPECT_GT(groundAt(assets::kWorldMinX + 3, z), 25.0f);
        EXPECT_GT(groundAt(assets::kWorldMaxX - 3, z), 25.0f);
    }
}

// Nobody walks off the level: spreading out from the goal over the level's top surface in steps
// of 2 units, never climbing more than a 45 degree slope allows (plus the character's 0.5 step),
// never reaches the outermost ring of the ground.
TEST_F(LevelContentTest, NoWalkableWayLeadsOffTheGround) {
    constexpr float kStep = 2.0f;
    constexpr float kClimb = kStep * 1.0f + 0.5f; // tan 45 degrees, and the step offset
    const int nx = static_cast<int>((assets::kWorldMaxX - assets::kWorldMinX) / kStep) + 1;
    const int nz = static_cast<int>((assets::kWorldMaxZ - assets::kWorldMinZ) / kStep) + 1;
    const auto xAt = [&](int i) { return std::min(assets::kWorldMinX + i * kStep, assets::kWorldMaxX - 0.1f); };
    const auto zAt = [&](int j) { return std::min(assets::kWorldMinZ + j * kStep, assets::kWorldMaxZ - 0.1f); };
    std::vector<float> height(static_cast<size_t>(nx) * nz);
    for (int j = 0; j < nz; ++j) {
        for (int i = 0; i < nx; ++i) {
            height[static_cast<size_t>(j) * nx + i] = topAt(xAt(i), zAt(j));
        }
    }
    std::vector<char> reached(height.size(), 0);
    std::vector<std::pair<int, int>> open{{static_cast<int>(-assets::kWorldMinX / kStep),
                                           static_cast<int>(-assets::kWorldMinZ / kStep)}};
    reached[static_cast<size_t>(open[0].second) * nx + open[0].first] = 1;
    int escapes = 0;
    while (!open.empty() && escapes < 5) {
        const auto [i, j] = open.back();
        open.pop_back();
        if (i == 0 || j == 0 || i == nx - 1 || j == nz - 1) {
            ADD_FAILURE() << "walked to the edge at " << xAt(i) << ", " << zAt(j);
            escapes += 1;
            continue;
        }
        const float h = height[static_cast<size_t>(j) * nx + i];
        for (const auto& [di, dj] : {std::pair{1, 0}, {-1, 0}, {0, 1}, {0, -1}}) {
            const size_t next = static_cast<size_t>(j + dj) * nx + (i + di);
            if (!reached[next] && height[next] - h < kClimb) {
                reached[next] = 1;
                open.push_back({i + di, j + dj});
            }
        }
    }
    EXPECT_GT(std::count(reached.begin(), reached.end(), 1), 10000) << "the meadow is open";
}

// Slope in degrees between two points of the level's top surface.
float slopeDegrees(float (*height)(float, float), const aiVector3D& a, const aiVector3D& b) {
    const float rise = std::fabs(height(b.x, b.z) - height(a.x, a.z));
    const float run = std::hypot(b.x - a.x, b.z - a.z);
    return std::atan2(rise, run) * 180.0f / 3.1415927f;
}

TEST_F(LevelContentTest, DenRampClimbsToTheMeadowUnder35Degrees) {
    const aiVector3D den = kWaypoints[0];
    const aiVector3D top(-6.0f, 0.0f, 44.0f);
    aiVector3D along = top - den;
    along.y = 0;
    const float length = along.Length();
    along.Normalize();
    const aiVector3D side(-along.z, 0, along.x);
    float steepest = 0;
    for (float s = 0; s + 1.0f <= length; s += 1.0f) {
        for (float o : {-4.0f, 0.0f, 4.0f}) {
            const aiVector3D a = den + along * s + side * o;
            const aiVector3D b = den + along * (s + 1.0f) + side * o;
            steepest = std::max(steepest, slopeDegrees(topAt, a, b));
            steepest = std::max(steepest, slopeDegrees(topAt, a, a + side * 1.0f));
        }
    }
    EXPECT_LT(steepest, kWalkableDegrees);
    EXPECT_NEAR(topAt(top.x, top.z), 0.0f, 2.0f) << "the ramp ends on the meadow";
}

// The fold marks the win zone: its floor lies just over the terrain everywhere in the zone and
// ends at the zone's edge.
TEST_F(LevelContentTest, FoldFloorCoversTheWinZoneJustOverTheGround) {
    ASSERT_FALSE(fold_.empty());
    const aiVector3D c = assets::kFoldPlacement.position;
    const VerticalRayCaster fold(fold_);
    const auto lowestAbove = [&](float x, float z) {
        const auto ys = fold.hits(x, z);
        return ys.empty() ? NAN : ys.back() - groundAt(x, z);
    };
    for (float r : {0.0f, 3.5f, 7.0f, 10.5f, 14.0f, 14.7f}) {
        for (float a = 0; a < 6.28f; a += 0.2f) {
            const float floor = lowestAbove(c.x + r * std::sin(a), c.z + r * std::cos(a));
            ASSERT_FALSE(std::isnan(floor)) << "no floor " << r << " from the centre at " << a;
            EXPECT_GT(floor, 0.0f) << r << " from the centre at " << a;
            EXPECT_LT(floor, kFloorAboveGround) << r << " from the centre at " << a;
        }
    }
    // Beyond the fence nothing lies on the ground: the floor's edge is the zone's.
    for (float a = 0; a < 6.28f; a += 0.2f) {
        const float beyond = lowestAbove(c.x + 16.5f * std::sin(a), c.z + 16.5f * std::cos(a));
        EXPECT_FALSE(beyond < kFloorAboveGround) << "floor beyond the edge at " << a;
    }
}

// The fold's fence stands in the ground around the win zone, all the way round except for the
// way in from the meadow; none of the fold stands in the power plant's yard.
TEST_F(LevelContentTest, FoldFenceStandsInTheGroundOpenTowardsTheMeadow) {
    ASSERT_FALSE(fold_.empty());
    const aiVector3D c = assets::kFoldPlacement.position;
    // The fence by the sectors of the circle it stands in, in degrees from +z towards +x.
    constexpr int kSectorDegrees = 20, kSectors = 360 / kSectorDegrees;
    std::vector<bool> sunk(kSectors, false), tall(kSectors, false);
    float minX = 1e9f, maxX = -1e9f, minZ = 1e9f, maxZ = -1e9f;
    for (const Triangle& t : plant_) {
        for (const aiVector3D* p : {&t.a, &t.b, &t.c}) {
            minX = std::min(minX, p->x), maxX = std::max(maxX, p->x);
            minZ = std::min(minZ, p->z), maxZ = std::max(maxZ, p->z);
        }
    }
    for (const Triangle& t : fold_) {
        for (const aiVector3D* p : {&t.a, &t.b, &t.c}) {
            EXPECT_FALSE(p->x > minX && p->x < maxX && p->z > minZ && p->z < maxZ)
                << "in the power plant's yard: " << p->x << ", " << p->z;
            const aiVector3D d = *p - c;
            const float r = std::hypot(d.x, d.z), above = p->y - groundAt(p->x, p->z);
            if (r < level::kGoalRadius || r > level::kGoalRadius + 1.0f) {
                continue;
            }
            EXPECT_GT(above, -kPostDeepest) << "sunk too deep at " << p->x << ", " << p->z;
            EXPECT_FALSE(above > kFloorAboveGround && d.z > 0 && std::fabs(d.x) < kFoldOpening / 2)
                << "the fence closes the way in at " << p->x << ", " << p->z;
            const float degrees = std::atan2(d.x, d.z) * 180.0f / 3.1415927f + 360.0f;
            const int sector = static_cast<int>(degrees) % 360 / kSectorDegrees;
            sunk[sector] = sunk[sector] || above < 0.0f;
            tall[sector] = tall[sector] || above > kFenceLowest;
        }
    }
    // The sectors that lie wholly beside or behind the way in have posts.
    for (int s = 0; s < kSectors; ++s) {
        const float from = s * kSectorDegrees * 3.1415927f / 180.0f;
        const float to = (s + 1) * kSectorDegrees * 3.1415927f / 180.0f;
        const float beside =
            level::kGoalRadius * std::min(std::fabs(std::sin(from)), std::fabs(std::sin(to)));
        if (beside > kFoldOpening / 2 + 1.0f || (std::cos(from) < 0.0f && std::cos(to) < 0.0f)) {
            EXPECT_TRUE(sunk[s]) << "no post in the ground at " << s * kSectorDegrees << " degrees";
            EXPECT_TRUE(tall[s]) << "no fence rising at " << s * kSectorDegrees << " degrees";
        }
    }
}

TEST(SkyTest, DomeEnclosesTheLevelFacingInwards) {
    const ImportedModel m = importModel(dataFile(level::kSky.file));
    ASSERT_NE(m.scene, nullptr) << m.error;
    const auto triangles = placedTriangles(m.scene, assets::kSkyPlacement);
    ASSERT_FALSE(triangles.empty());
    const aiVector3D centre = assets::kSkyPlacement.position;
    float nearest = 1e9f, farthest = 0;
    int outward = 0;
    for (const Triangle& t : triangles) {
        for (const aiVector3D* p : {&t.a, &t.b, &t.c}) {
            nearest = std::min(nearest, (*p - centre).Length());
            farthest = std::max(farthest, p->Length());
        }
        const aiVector3D normal = (t.b - t.a) ^ (t.c - t.a);
        outward += normal * ((t.a + t.b + t.c) / 3.0f - centre) > 0 ? 1 : 0;
    }
    EXPECT_GT(nearest, 600.0f) << "beyond the corners of the play area";
    EXPECT_LT(farthest, kFarPlane * 0.9f) << "inside the far plane";
    EXPECT_EQ(outward, 0) << "every triangle faces the inside";
}

} // namespace
