// Character skin weights: bones, and the weights that hand a vertex from bone to bone across
// each joint of a chain (see Characters.h).
#include "Characters.h"

#include <map>

namespace assets {

// Weights below this are dropped (and the rest renormalised): they move nothing visibly.
static constexpr float kMinWeight = 1e-3f;

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

} // namespace assets
