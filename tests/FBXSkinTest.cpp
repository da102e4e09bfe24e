// Skin evaluation: key interpolation and weight handling on small scenes built by hand, Blender's
// own exported frames of a third-party skinned file, and the frames baked for our characters.
#include "FBXModel.h"
#include "FBXTestSupport.h"
#include "SkinEvaluator.h"
#include "TestSupport.h"

#include <assimp/Importer.hpp>
#include <assimp/scene.h>

#include <cmath>
#include <sstream>

namespace {


aiNode* addChild(aiNode* parent, const char* name, const aiVector3D& position) {
    aiNode* child = new aiNode(name);
    aiMatrix4x4::Translation(position, child->mTransformation);
    child->mParent = parent;
    parent->addChildren(1, &child);
    return child;
}

// Root > Mesh (at z = 7) and Root > Parent (at y = 5) > Moving (at x = 1). The take moves
// "Moving" from x = 1 to x = 11 and turns it by 90 degrees about z over ticks 0 to 10; only
// its rotation keys are used when `rotationOnly`.
struct HandScene {
    aiScene scene;
    aiNode* meshNode = nullptr;
    aiNode* moving = nullptr;

    explicit HandScene(bool rotationOnly = false) {
        scene.mRootNode = new aiNode("Root");
        meshNode = addChild(scene.mRootNode, "Mesh", {0, 0, 7});
        moving = addChild(addChild(scene.mRootNode, "Parent", {0, 5, 0}), "Moving", {1, 0, 0});
        auto* ch = new aiNodeAnim;
        ch->mNodeName = aiString("Moving");
        if (!rotationOnly) {
            ch->mNumPositionKeys = 2;
            ch->mPositionKeys = new aiVectorKey[2]{{0, {1, 0, 0}}, {10, {11, 0, 0}}};
        }
        ch->mNumRotationKeys = 2;
        ch->mRotationKeys = new aiQuatKey[2]{
            {0, aiQuaternion()}, {10, aiQuaternion(aiVector3D(0, 0, 1), float(M_PI / 2))}};
        auto* take = new aiAnimation;
        take->mDuration = 10;
        take->mNumChannels = 1;
        take->mChannels = new aiNodeAnim* [1] { ch };
        scene.mNumAnimations = 1;
        scene.mAnimations = new aiAnimation* [1] { take };
    }
    const aiAnimation* take() const { return scene.mAnimations[0]; }
};

aiVector3D originOf(const aiMatrix4x4& m) {
    return m * aiVector3D(0, 0, 0);
}

TEST(FBXSkinEvaluatorTest, NodeTransformsInterpolateClampAndStackUpTheHierarchy) {
    HandScene hand;
    const aiVector3D up(0, 5, 0);
    EXPECT_TRUE(originOf(nodeGlobalTransform(hand.moving, hand.take(), 2.5))
                    .Equal(up + aiVector3D(3.5f, 0, 0), 1e-5f));
    EXPECT_TRUE(originOf(nodeGlobalTransform(hand.moving, hand.take(), -4))
                    .Equal(up + aiVector3D(1, 0, 0), 1e-5f));
    EXPECT_TRUE(originOf(nodeGlobalTransform(hand.moving, hand.take(), 30))
                    .Equal(up + aiVector3D(11, 0, 0), 1e-5f));
    EXPECT_TRUE(originOf(nodeGlobalTransform(hand.moving, nullptr, 5))
                    .Equal(up + aiVector3D(1, 0, 0), 1e-5f))
        << "without a take every node keeps its own transform";
    // A quarter of the way, the rotation is a quarter of 90 degrees: slerp, which a normalised
    // blend of the quaternions' components only approximates.
    const aiMatrix4x4 quarter = nodeGlobalTransform(hand.moving, hand.take(), 2.5);
    const aiVector3D x = quarter * aiVector3D(1, 0, 0) - originOf(quarter);
    EXPECT_NEAR(x.x, std::cos(M_PI / 8), 1e-5f);
    EXPECT_NEAR(x.y, std::sin(M_PI / 8), 1e-5f);

    HandScene turning(true);
    EXPECT_TRUE(originOf(nodeGlobalTransform(turning.moving, turning.take(), 5))
                    .Equal(up + aiVector3D(1, 0, 0), 1e-5f))
        << "a channel without position keys keeps the node's own position";
}

// Four vertices: one on "Moving" with weight 0.3, one shared 0.2 / 0.2 with the static "Mesh"
// node, one without weights, one named only by a weight past the end of the vertex array.
TEST(FBXSkinEvaluatorTest, WeightsAreNormalisedAndUnweightedVerticesFollowTheMeshNode) {
    HandScene hand;
    auto* mesh = new aiMesh;
    mesh->mNumVertices = 3;
    mesh->mVertices = new aiVector3D[3]{{0, 0, 0}, {0, 1, 0}, {0, 2, 0}};
    aiMatrix4x4 meshGlobal, moverBind;
    aiMatrix4x4::Translation({0, 0, 7}, meshGlobal);
    aiMatrix4x4::Translation({1, 5, 0}, moverBind);
    auto* mover = new aiBone;
    mover->mName = aiString("Moving");
    mover->mOffsetMatrix = moverBind.Inverse() * meshGlobal;
    mover->mNumWeights = 3;
    mover->mWeights = new aiVertexWeight[3]{{0, 0.3f}, {1, 0.2f}, {99, 1.0f}};
    auto* still = new aiBone;
    still->mName = aiString("Mesh");
    still->mNumWeights = 1;
    still->mWeights = new aiVertexWeight[1]{{1, 0.2f}};
    mesh->mNumBones = 2;
    mesh->mBones = new aiBone* [2] { mover, still };
    hand.scene.mNumMeshes = 1;
    hand.scene.mMeshes = new aiMesh* [1] { mesh };

    std::vector<aiVector3D> out;
    evaluateSkin(&hand.scene, mesh, hand.meshNode, nullptr, 0, &out);
    ASSERT_EQ(out.size(), 3u);
    for (unsigned v = 0; v < 3; ++v) {
        EXPECT_TRUE(out[v].Equal(mesh->mVertices[v] + aiVector3D(0, 0, 7), 1e-5f))
            << "at rest every vertex sits where the mesh node puts it, vertex " << v;
    }
    // At tick 10 "Moving" has moved by 10 in x and turned 90 degrees about its own origin.
    auto moved = [](const aiVector3D& p) {
        const aiVector3D r = p - aiVector3D(1, 5, 0);
        return aiVector3D(1 - r.y, 5 + r.x, r.z) + aiVector3D(10, 0, 0);
    };
    evaluateSkin(&hand.scene, mesh, hand.meshNode, hand.take(), 10, &out);
    EXPECT_TRUE(out[0].Equal(moved({0, 0, 7}), 1e-4f));
    EXPECT_TRUE(out[1].Equal((moved({0, 1, 7}) + aiVector3D(0, 1, 7)) * 0.5f, 1e-4f))
        << "0.2 and 0.2 count as a half each";
    EXPECT_TRUE(out[2].Equal({0, 2, 7}, 1e-5f));
}

std::vector<aiVector3D> objVertices(const std::string& path) {
    std::vector<aiVector3D> points;
    std::istringstream in(fileBytes(path));
    std::string line;
    while (std::getline(in, line)) {
        std::istringstream words(line);
        std::string tag;
        aiVector3D p;
        if (words >> tag && tag == "v" && words >> p.x >> p.y >> p.z) {
            points.push_back(p);
        }
    }
    return points;
}

struct BlenderFrame {
    const char* take;
    const char* obj; // Blender's export of that frame
    int frame;
    int otherFrame; // a frame of the same take that looks different, or -1
};

void PrintTo(const BlenderFrame& f, std::ostream* os) {
    *os << f.obj;
}

class FBXSkinBlenderTest : public ::testing::TestWithParam<BlenderFrame> {};

// Blender wrote this file at 24 frames per second with every take starting at frame 0, so frame
// n is tick n (Wiggle's keys end at frame 19: at frame 20 both hold the last key). Its mesh data is
// Z-up under a node turned -90 degrees about x, and its offset matrices already hold that node's
// bind transform: skinning in root space is Blender's world space with Y up, which its OBJ exporter
// writes. UnitScaleFactor 100 says one unit is a metre in the file, as in Blender, so no scaling is
// needed either.
TEST_P(FBXSkinBlenderTest, SkinMatchesBlendersExportedFrame) {
    SKIP_WITHOUT_THIRD_PARTY_FILES();
    const ImportedModel model = importModel(kThirdParty + "blender_279_sausage_7400_binary.fbx");
    ASSERT_NE(model.scene, nullptr) << model.error;
    const aiAnimation* take = nullptr;
    for (unsigned a = 0; a < model.scene->mNumAnimations; ++a) {
        if (model.scene->mAnimations[a]->mName == aiString(GetParam().take)) {
            take = model.scene->mAnimations[a];
        }
    }
    ASSERT_NE(take, nullptr) << GetParam().take;
    ASSERT_EQ(take->mTicksPerSecond, 24.0);
    const aiNode* skin = model.scene->mRootNode->FindNode("Skin");
    ASSERT_NE(skin, nullptr);
    const std::vector<aiVector3D> reference = objVertices(kThirdParty + GetParam().obj);
    ASSERT_EQ(reference.size(), 290u);
    std::vector<aiVector3D> skinned;
    evaluateSkin(model.scene, model.scene->mMeshes[0], skin, take, GetParam().frame, &skinned);
    const float size = extent(reference);
    EXPECT_LT(pointSetGap(skinned, reference), 1e-3f * size);
    if (GetParam().otherFrame >= 0) {
        evaluateSkin(model.scene, model.scene->mMeshes[0], skin, take, GetParam().otherFrame,
                     &skinned);
        EXPECT_GT(pointSetGap(skinned, reference), 1e-2f * size) << "frame numbers matter";
    }
}

INSTANTIATE_TEST_SUITE_P(
    Takes, FBXSkinBlenderTest,
    ::testing::Values(BlenderFrame{"Skeleton|Base", "blender_279_sausage_base_0.obj", 0, -1},
                      BlenderFrame{"Skeleton|Spin", "blender_279_sausage_spin_15.obj", 15, 14},
                      BlenderFrame{"Skeleton|Wiggle", "blender_279_sausage_wiggle_20.obj", 20,
                                   15}));

using FBXSkinFramesTest = DataFolderTest;

// The sausage's first take stands still. Baked frames are in the mesh node's own space like the
// bind-pose arrays: Blender's Y-up world turned back into the file's Z-up mesh data.
TEST_F(FBXSkinFramesTest, FramesAreInTheMeshNodesSpace) {
    SKIP_WITHOUT_THIRD_PARTY_FILES();
    FBXModel model;
    model.animated = true;
    model.loadModel(testReader(), kThirdParty + "blender_279_sausage_7400_binary.fbx");
    ASSERT_EQ(model.frameCount, FBXModel::kSkinFrames);
    std::vector<aiVector3D> reference;
    for (const aiVector3D& p : objVertices(kThirdParty + "blender_279_sausage_base_0.obj")) {
        reference.emplace_back(p.x, -p.z, p.y);
    }
    const float size = extent(reference);
    for (int frame : {0, 15, 30}) {
        EXPECT_LT(pointSetGap(asPoints(model.frames[frame]), reference), 1e-3f * size) << frame;
    }
}

// Summed area of the triangles of a flat position array, and the share of them whose winding
// agrees with the (bind-pose) normals at their corners.
struct Surface {
    float area = 0.0f;
    float agreeing = 0.0f;
};

Surface surfaceOf(const std::vector<float>& positions, const std::vector<float>& normals) {
    const std::vector<aiVector3D> p = asPoints(positions), n = asPoints(normals);
    Surface s;
    for (size_t i = 0; i + 2 < p.size(); i += 3) {
        const aiVector3D cross = (p[i + 1] - p[i]) ^ (p[i + 2] - p[i]);
        s.area += cross.Length() * 0.5f;
        s.agreeing += cross * (n[i] + n[i + 1] + n[i + 2]) > 0.0f ? 3.0f / p.size() : 0.0f;
    }
    return s;
}

struct Character {
    const char* name;
    const level::ModelAsset* asset;
};

void PrintTo(const Character& c, std::ostream* os) {
    *os << c.name;
}

class FBXSkinCharacterTest : public FBXSkinFramesTest,
                             public ::testing::WithParamInterface<Character> {};

// The run takes loop, move in between, and keep the surface together: mixing up the polygon
// vertex order would tear the triangles and change their area many times over, or turn them
// inside out.
TEST_P(FBXSkinCharacterTest, FramesLoopMoveAndKeepTheSurface) {
    FBXModel model(testReader(), *GetParam().asset);
    ASSERT_EQ(model.frameCount, FBXModel::kSkinFrames);
    ASSERT_EQ(model.frames.size(), size_t(FBXModel::kSkinFrames));
    const float size = extent(asPoints(model.vertices));
    auto largestMove = [&](int a, int b) {
        float most = 0.0f;
        for (size_t i = 0; i < model.vertices.size(); ++i) {
            most = std::max(most, std::fabs(model.frames[a][i] - model.frames[b][i]));
        }
        return most;
    };
    const Surface bind = surfaceOf(model.vertices, model.normals);
    EXPECT_GT(bind.agreeing, 0.99f);
    for (const std::vector<float>& frame : model.frames) {
        ASSERT_EQ(frame.size(), model.vertices.size());
        const Surface s = surfaceOf(frame, model.normals);
        EXPECT_NEAR(s.area / bind.area, 1.0f, 0.25f);
        EXPECT_GT(s.agreeing, 0.9f);
    }
    EXPECT_LT(largestMove(0, 30), 1e-3f * size);
    EXPECT_GT(largestMove(0, 15), 2e-2f * size);
}

INSTANTIATE_TEST_SUITE_P(Characters, FBXSkinCharacterTest,
                         ::testing::Values(Character{"Herder", &level::kHerder},
                                           Character{"Sheep", &level::kSheep},
                                           Character{"Wolf", &level::kWolf}));

} // namespace
