// The view frustum against planes computed by hand: a camera at the origin looking down -z with
// a 90 degree field of view, square aspect, near 1 and far 100.
#include "ViewFrustum.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

class ViewFrustumTest : public ::testing::Test {
protected:
    void SetUp() override {
        f.setCamInternals(90.0f, 1.0f, 1.0f, 100.0f);
        f.setCamDef(Vector3D(0, 0, 0), Vector3D(0, 0, -1), Vector3D(0, 1, 0));
    }
    ViewFrustum f;
};

TEST_F(ViewFrustumTest, PlanesPointInwardsWhereExpected) {
    const float h = std::sqrt(0.5f);
    const struct {
        int plane;
        Vector3D normal;
        float d;
    } expected[] = {
        {ViewFrustum::kNear, {0, 0, -1}, -1.0f}, {ViewFrustum::kFar, {0, 0, 1}, 100.0f},
        {ViewFrustum::kLeft, {h, 0, -h}, 0.0f},  {ViewFrustum::kRight, {-h, 0, -h}, 0.0f},
        {ViewFrustum::kTop, {0, -h, -h}, 0.0f},  {ViewFrustum::kBottom, {0, h, -h}, 0.0f},
    };
    for (const auto& e : expected) {
        const ViewFrustum::Plane& p = f.planes[e.plane];
        EXPECT_NEAR(p.normal.x, e.normal.x, 1e-5f) << e.plane;
        EXPECT_NEAR(p.normal.y, e.normal.y, 1e-5f) << e.plane;
        EXPECT_NEAR(p.normal.z, e.normal.z, 1e-5f) << e.plane;
        EXPECT_NEAR(p.d, e.d, 1e-4f) << e.plane;
    }
    EXPECT_NEAR(f.ntl.x, -1.0f, 1e-5f);
    EXPECT_NEAR(f.ntl.y, 1.0f, 1e-5f);
    EXPECT_NEAR(f.fbr.x, 100.0f, 1e-3f);
    EXPECT_NEAR(f.fbr.z, -100.0f, 1e-3f);
}

TEST_F(ViewFrustumTest, PointsInsideAndOutside) {
    const struct {
        Vector3D p;
        int result;
    } cases[] = {
        {{0, 0, -50}, ViewFrustum::kInside},   {{49, 0, -50}, ViewFrustum::kInside},
        {{0, -49, -50}, ViewFrustum::kInside}, {{51, 0, -50}, ViewFrustum::kOutside},
        {{0, 51, -50}, ViewFrustum::kOutside}, {{0, 0, -0.5f}, ViewFrustum::kOutside},
        {{0, 0, -101}, ViewFrustum::kOutside}, {{0, 0, 10}, ViewFrustum::kOutside},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(f.pointInFrustum(c.p), c.result) << c.p.x << "," << c.p.y << "," << c.p.z;
    }
}

TEST_F(ViewFrustumTest, SpheresInsideIntersectingOutside) {
    const struct {
        Vector3D c;
        float r;
        int result;
    } cases[] = {
        {{0, 0, -50}, 1.0f, ViewFrustum::kInside},
        {{50, 0, -50}, 1.0f, ViewFrustum::kIntersect}, // centre on the right plane
        {{51, 0, -50}, 1.0f, ViewFrustum::kIntersect}, // 0.71 outside, radius 1
        {{52, 0, -50}, 1.0f, ViewFrustum::kOutside},   // 1.41 outside
        {{0, 0, -100.5f}, 1.0f, ViewFrustum::kIntersect},
        {{0, 0, -0.5f}, 1.0f, ViewFrustum::kIntersect}, // reaches past the near plane
        {{0, 0, 3}, 1.0f, ViewFrustum::kOutside},
        {{0, 0, -50}, 200.0f, ViewFrustum::kIntersect}, // encloses the whole frustum
    };
    for (const auto& c : cases) {
        EXPECT_EQ(f.sphereInFrustum(c.c, c.r), c.result) << c.c.x << "," << c.c.z << " r " << c.r;
    }
}

TEST(ViewFrustumPoseTest, FollowsTheCameraPose) {
    ViewFrustum f;
    f.setCamInternals(45.0f, 4.0f / 3.0f, 1.0f, 10000.0f);
    // Looking along +x from (10, 2, 0): a point ahead is in, one behind is out.
    f.setCamDef(Vector3D(10, 2, 0), Vector3D(20, 2, 0), Vector3D(0, 1, 0));
    EXPECT_EQ(f.pointInFrustum(Vector3D(50, 2, 0)), ViewFrustum::kInside);
    EXPECT_EQ(f.pointInFrustum(Vector3D(0, 2, 0)), ViewFrustum::kOutside);
    // 45 degrees vertical: at distance 10 the half height is 4.14.
    EXPECT_EQ(f.pointInFrustum(Vector3D(20, 2 + 4.0f, 0)), ViewFrustum::kInside);
    EXPECT_EQ(f.pointInFrustum(Vector3D(20, 2 + 4.3f, 0)), ViewFrustum::kOutside);
    // and the wider horizontal half width of 5.52 (4:3).
    EXPECT_EQ(f.pointInFrustum(Vector3D(20, 2, 5.4f)), ViewFrustum::kInside);
    EXPECT_EQ(f.pointInFrustum(Vector3D(20, 2, -5.7f)), ViewFrustum::kOutside);
}

} // namespace
