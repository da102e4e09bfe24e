// The terrain and the canyon ship simplified (software GL draws every triangle of them every
// frame). Seen from five places the herder can stand, the shipped level must look like the level
// with every sampled triangle; a far coarser simplification, which visibly loses shape, must not,
// so the comparison is known to tell the difference.
#include "FBXModel.h"
#include "HUD.h"
#include "LevelFacts.h"
#include "LevelMeshes.h"
#include "List.h"
#include "Models.h"
#include "Object3D.h"
#include "Renderer.h"
#include "Scene.h"
#include "TGAImage.h"
#include "TestSupport.h"
#include "ViewFrustum.h"

#include <GL/gl.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace {

constexpr int kWidth = 1024;
constexpr int kHeight = 768;
// A pixel differs when a channel moves by more than this (a tenth of the range): below it lies
// the resampling of the textures over larger triangles.
constexpr int kChannelTolerance = 25;
// The shipped level may differ in this share of a view's pixels: silhouettes of hills and rocks
// shift by a pixel or two where the surface moved by its error bound (under a third of a unit).
// The worst view is in the canyon, whose walls fill most of the screen (about 3.5%; the open
// views differ in under 1%). A coarse level that loses shape differs in 10% to 50%.
constexpr double kShippedLimit = 0.05;
// Drawing order alone may change only pixels where two surfaces tie in depth.
constexpr double kSameLimit = 0.0005;

// Where the herder stands and which way he faces.
struct Viewpoint {
    const char* name;
    Vector3D at;
    Vector3D facing;
};
const Viewpoint kViewpoints[] = {
    {"start", {0, 1, 0}, {0, 0, -1}},
    {"ramp-to-den", {-6, 1, 44}, {-34, 0, -36}},
    {"canyon", {-164, -9, -21}, {1, 0, 0.1f}},
    {"power-plant", level::kPowerPlantPlacement.position + Vector3D(0, 2, 50), {0, 0, -1}},
    {"plateau-over-meadow", {-90, 16, -170}, {1, 0, 1.2f}},
};

using Image = std::vector<unsigned char>;

class LevelDetailTest : public TempDirTest {
protected:
    void SetUp() override {
        TempDirTest::SetUp();
        openTestWindow();
        Renderer::windowWidth = kWidth;
        Renderer::windowHeight = kHeight;
        plant_ = load(HERDER_DATA_DIR, level::kPowerPlant);
        sky_ = load(HERDER_DATA_DIR, level::kSky);
    }

    // The level with its terrain and canyon written at this detail, seen from every viewpoint,
    // with the sky drawn in the given layer.
    std::vector<Image> render(assets::Detail detail, const std::string& folder,
                              Layer skyLayer = Layer::kSolid) {
        std::filesystem::create_directory(folder);
        EXPECT_TRUE(assets::writeTerrain(folder, detail));
        EXPECT_TRUE(assets::writeCanyon(folder, detail));
        const std::unique_ptr<FBXModel> terrain = load(folder, level::kTerrain);
        const std::unique_ptr<FBXModel> canyon = load(folder, level::kCanyon);
        Scene scene; // nothing to load here: an empty level whose list holds ours
        Object3D pieces[4];
        place(pieces[0], terrain.get(), level::kTerrainPlacement);
        place(pieces[1], sky_.get(), level::kSkyPlacement);
        pieces[1].materialFace = GL_FRONT_AND_BACK;
        pieces[1].layer = skyLayer;
        place(pieces[2], canyon.get(), level::kCanyonPlacement);
        place(pieces[3], plant_.get(), level::kPowerPlantPlacement);
        for (Object3D& piece : pieces) {
            scene.getSceneList()->attach(&piece);
        }
        Object3D herder;
        scene.setPlayer(&herder);
        Renderer renderer(&scene);
        ViewFrustum frustum;
        renderer.frustum = &frustum;
        renderer.reshape();
        std::vector<Image> views;
        for (const Viewpoint& v : kViewpoints) {
            herder.setPosition(v.at);
            herder.setDirection(v.facing);
            renderer.render();
            glFinish();
            views.push_back(readPixels(kWidth, kHeight));
        }
        for (Object3D& piece : pieces) {
            piece.unlink(); // the pieces die before the scene
        }
        return views;
    }

    // A model of the level, loaded from the folder at its scale.
    static std::unique_ptr<FBXModel> load(const std::string& folder,
                                          const level::ModelAsset& asset) {
        return std::make_unique<FBXModel>(testReader(), folder + "/" + asset.file,
                                          folder + "/" + asset.texture, asset.scale);
    }
    static void place(Object3D& o, FBXModel* model, const level::Placement& placement) {
        o.setModel(model);
        o.setPosition(placement.position);
        o.rotationY = placement.turnDegrees;
    }

    std::unique_ptr<FBXModel> plant_;
    std::unique_ptr<FBXModel> sky_;
};

// Share of pixels of which some channel differs by more than the tolerance.
double differingShare(const Image& a, const Image& b) {
    size_t differing = 0;
    for (size_t i = 0; i + 2 < a.size(); i += 3) {
        bool differs = false;
        for (int c = 0; c < 3; ++c) {
            differs = differs || std::abs(int(a[i + c]) - int(b[i + c])) > kChannelTolerance;
        }
        differing += differs ? 1 : 0;
    }
    return static_cast<double>(differing) / static_cast<double>(a.size() / 3);
}

// Writes the two renders of a view side by side (TGA, bottom row first) for people to look at.
void saveSideBySide(const std::string& path, const Image& left, const Image& right) {
    std::vector<uint8_t> bgr(static_cast<size_t>(kWidth) * 2 * kHeight * 3);
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < 2 * kWidth; ++x) {
            const Image& from = x < kWidth ? left : right;
            const size_t src = (static_cast<size_t>(y) * kWidth + x % kWidth) * 3;
            const size_t dst = (static_cast<size_t>(y) * 2 * kWidth + x) * 3;
            bgr[dst] = from[src + 2];
            bgr[dst + 1] = from[src + 1];
            bgr[dst + 2] = from[src];
        }
    }
    writeTGATrueColour(path.c_str(), bgr.data(), 2 * kWidth, kHeight, 24, false);
}

TEST_F(LevelDetailTest, ShippedLevelLooksLikeTheFullOneFromFivePlaces) {
    const std::vector<Image> full = render(assets::Detail::kFull, "full");
    const std::vector<Image> shipped = render(assets::Detail::kShipped, "shipped");
    const std::vector<Image> coarse = render(assets::Detail::kCoarse, "coarse");
    // Set HERDER_LEVEL_PICTURES to a folder to keep the full and shipped views side by side.
    const char* pictures = std::getenv("HERDER_LEVEL_PICTURES");
    for (size_t i = 0; i < full.size(); ++i) {
        const double shippedShare = differingShare(full[i], shipped[i]);
        const double coarseShare = differingShare(full[i], coarse[i]);
        std::printf("%s: shipped %.4f, coarse %.4f of pixels differ\n", kViewpoints[i].name,
                    shippedShare, coarseShare);
        EXPECT_LT(shippedShare, kShippedLimit) << kViewpoints[i].name;
        if (pictures != nullptr) {
            saveSideBySide(std::string(pictures) + "/" + kViewpoints[i].name + ".tga", full[i],
                           shipped[i]);
        }
    }
    double coarseWorst = 0.0;
    for (size_t i = 0; i < full.size(); ++i) {
        coarseWorst = std::max(coarseWorst, differingShare(full[i], coarse[i]));
    }
    EXPECT_GT(coarseWorst, 2.0 * kShippedLimit) << "the comparison cannot see a coarse level";
}

// The level draws its sky after the solid pieces, so that the depth test rejects the dome's
// pixels behind the ground before they are shaded; the picture must not change.
TEST_F(LevelDetailTest, SkyDrawnAfterTheGroundChangesNoPixel) {
    HUD::getInstance()->visible = false; // its clock text differs from run to run
    const std::vector<Image> skyFirst = render(assets::Detail::kShipped, "sky-first");
    const std::vector<Image> skyLast = render(assets::Detail::kShipped, "sky-last", Layer::kSky);
    for (size_t i = 0; i < skyFirst.size(); ++i) {
        EXPECT_LT(differingShare(skyFirst[i], skyLast[i]), kSameLimit) << kViewpoints[i].name;
    }
}

} // namespace
