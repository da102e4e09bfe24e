// Helpers for the model loader tests: point sets compared without regard to order.
#pragma once

#include "LevelMeshes.h"
#include "TestSupport.h"

#include <assimp/vector3.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

// Third-party model files from the shared test data beside the source tree, with a trailing
// slash; empty where the build found none there, and the tests that read them are skipped.
inline const std::string kThirdParty = HERDER_THIRD_PARTY_DIR;
#define SKIP_WITHOUT_THIRD_PARTY_FILES()                                                            \
    if (kThirdParty.empty()) GTEST_SKIP() << "no third-party model files (see HERDER_SHARED_DIR)"

// The largest distance from a point of one set to the nearest point of the other, both ways.
inline float pointSetGap(const std::vector<aiVector3D>& a, const std::vector<aiVector3D>& b) {
    auto oneWay = [](const std::vector<aiVector3D>& from, const std::vector<aiVector3D>& to) {
        float worst = 0.0f;
        for (const aiVector3D& p : from) {
            float nearest = 1e30f;
            for (const aiVector3D& q : to) {
                nearest = std::min(nearest, (p - q).SquareLength());
            }
            worst = std::max(worst, nearest);
        }
        return std::sqrt(worst);
    };
    return std::max(oneWay(a, b), oneWay(b, a));
}

// Length of the diagonal of the points' bounding box.
inline float extent(const std::vector<aiVector3D>& points) {
    aiVector3D low(1e30f), high(-1e30f);
    for (const aiVector3D& p : points) {
        low = aiVector3D(std::min(low.x, p.x), std::min(low.y, p.y), std::min(low.z, p.z));
        high = aiVector3D(std::max(high.x, p.x), std::max(high.y, p.y), std::max(high.z, p.z));
    }
    return (high - low).Length();
}

// Consecutive triples of a flat array as points.
inline std::vector<aiVector3D> asPoints(const std::vector<float>& flat) {
    std::vector<aiVector3D> points;
    for (size_t i = 0; i + 2 < flat.size(); i += 3) {
        points.emplace_back(flat[i], flat[i + 1], flat[i + 2]);
    }
    return points;
}
