// Far sheep and wolves are drawn from coarser versions of their models, picked by their size on
// the screen. Where each version takes over, and farther, the picture must stay that of the full
// model: the character is drawn through the game's own choice and at full detail, and the two
// must share their outline to a pixel and their mean colour to a few steps. The character turned
// a little must not pass, so the comparison is known to tell.
#include "FBXModel.h"
#include "LevelFacts.h"
#include "List.h"
#include "Object3D.h"
#include "Renderer.h"
#include "Scene.h"
#include "TGAImage.h"
#include "TestSupport.h"

#include <GL/gl.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace {

constexpr int kWidth = 1024;
constexpr int kHeight = 768;
// Where it takes over and farther, a coarser version may move this share of the character's
// outline by more than a pixel, and its mean colour by this many steps of 255 (4%: the wolf's
// thin legs lose a little of their light cross-section with fewer sides, which shows most in
// its mean colour where it is a few dozen pixels long).
constexpr double kOutlineLimit = 0.03;
constexpr double kMeanColourLimit = 10.0;
// Degrees of a turn that the comparison must see.
constexpr float kTurnSeen = 30.0f;
// The search for a switching distance stops when the bracket is this much of the distance.
constexpr float kSearchPrecision = 0.002f;
// Just past a switch: this much farther than where it happens.
constexpr float kPastSwitch = 1.01f;
// The side of the square cut around the character for the pictures, in pixels.
constexpr int kCrop = 160;

using Image = std::vector<unsigned char>;

struct Character {
    const char* name;
    const level::ModelAsset& full;
    const level::ModelAsset* coarser;
};
const Character kCharacters[] = {{"sheep", level::kSheep, level::kSheepCoarser},
                                 {"wolf", level::kWolf, level::kWolfCoarser}};

// A model of the build's data folder, loaded with its texture, scale and run.
std::unique_ptr<FBXModel> loadModel(const level::ModelAsset& asset) {
    const std::string file = dataFile(asset.file);
    const std::string texture = dataFile(asset.texture);
    return std::make_unique<FBXModel>(testReader(), level::ModelAsset{file.c_str(), texture.c_str(),
                                                                      asset.scale, asset.animated});
}

// Whether the pixel at (x, y) shows something other than the clear colour.
bool covered(const Image& image, const Image& background, int x, int y) {
    const size_t i = (static_cast<size_t>(y) * kWidth + x) * 3;
    return image[i] != background[i] || image[i + 1] != background[i + 1] ||
           image[i + 2] != background[i + 2];
}

// Whether `image` covers a pixel within one step of (x, y).
bool coveredNearby(const Image& image, const Image& background, int x, int y) {
    for (int dy = -1; dy <= 1; ++dy) {
        for (int dx = -1; dx <= 1; ++dx) {
            if (covered(image, background, x + dx, y + dy)) {
                return true;
            }
        }
    }
    return false;
}

// How two pictures of a character differ where a player would see it: the share of the pixels
// either covers that the other does not cover within a pixel (the outline moved), and the
// largest difference of the two mean colours, in steps of 255 (it got darker or changed
// colour). Texture detail that shifts across fewer, larger triangles counts in neither.
struct Difference {
    double outline = 0.0;
    double meanColour = 0.0;
};

Difference compare(const Image& a, const Image& b, const Image& background) {
    size_t either = 0, moved = 0, inA = 0, inB = 0;
    double sumA[3] = {0, 0, 0}, sumB[3] = {0, 0, 0};
    for (int y = 1; y + 1 < kHeight; ++y) {
        for (int x = 1; x + 1 < kWidth; ++x) {
            const bool coversA = covered(a, background, x, y);
            const bool coversB = covered(b, background, x, y);
            const size_t i = (static_cast<size_t>(y) * kWidth + x) * 3;
            for (int c = 0; c < 3; ++c) {
                sumA[c] += coversA ? a[i + c] : 0;
                sumB[c] += coversB ? b[i + c] : 0;
            }
            inA += coversA ? 1 : 0;
            inB += coversB ? 1 : 0;
            either += (coversA || coversB) ? 1 : 0;
            moved += (coversA && !coveredNearby(b, background, x, y)) ||
                             (coversB && !coveredNearby(a, background, x, y))
                         ? 1
                         : 0;
        }
    }
    Difference d;
    d.outline = either == 0 ? 1.0 : static_cast<double>(moved) / static_cast<double>(either);
    for (int c = 0; c < 3 && inA > 0 && inB > 0; ++c) {
        d.meanColour = std::max(d.meanColour, std::abs(sumA[c] / inA - sumB[c] / inB));
    }
    return d;
}

class CharacterDetailTest : public TempDirTest {
protected:
    void SetUp() override {
        TempDirTest::SetUp();
        openTestWindow();
        Renderer::windowWidth = kWidth;
        Renderer::windowHeight = kHeight;
        scene_ = std::make_unique<Scene>(); // an empty level: nothing to load in this folder
        scene_->setPlayer(&herder_);
        herder_.setPosition({0, 0, 0});
        herder_.setDirection({0, 0, -1});
        renderer_ = std::make_unique<Renderer>(scene_.get());
        renderer_->reshape();
        scene_->getSceneList()->attach(&shown_);
        background_ = draw();
    }
    void TearDown() override {
        shown_.unlink(); // it dies after the scene
        renderer_.reset();
        scene_.reset();
        TempDirTest::TearDown();
    }

    // The character `distance` units ahead of the herder, side on; the picture of one frame.
    Image drawAt(FBXModel* model, float distance, float turn = 0.0f) {
        shown_.setModel(model);
        shown_.setPosition({0, 0, -distance});
        shown_.rotationY = 90.0f + turn;
        return draw();
    }
    // The same with no coarser version to choose: full detail (the chain is put back after).
    Image drawFull(const std::vector<FBXModel*>& chain, float distance, float turn = 0.0f) {
        chain.front()->setCoarser(nullptr, 0.0f);
        const Image image = drawAt(chain.front(), distance, turn);
        chain.front()->setCoarser(chain[1], level::kCoarserBelowPixels[0]);
        return image;
    }
    Image draw() {
        renderer_->render();
        glFinish();
        return readPixels(kWidth, kHeight);
    }
    // How many draws each model of the chain got in one frame at this distance: which one the
    // game chose.
    int chosenAt(const std::vector<FBXModel*>& chain, float distance) {
        std::vector<unsigned> before;
        for (const FBXModel* m : chain) {
            before.push_back(m->drawCount);
        }
        drawAt(chain.front(), distance);
        for (size_t i = 0; i < chain.size(); ++i) {
            if (chain[i]->drawCount != before[i]) {
                return static_cast<int>(i);
            }
        }
        return -1;
    }
    // The distance at which the game starts drawing chain[detail] (a bisection on its choice).
    float switchDistance(const std::vector<FBXModel*>& chain, int detail) {
        float near = 1.0f, far = 1000.0f;
        EXPECT_LT(chosenAt(chain, near), detail);
        EXPECT_GE(chosenAt(chain, far), detail);
        while (far - near > kSearchPrecision * far) {
            const float middle = 0.5f * (near + far);
            (chosenAt(chain, middle) < detail ? near : far) = middle;
        }
        return far;
    }

    // Writes the square around the character in the first picture, cut from each picture, side
    // by side (TGA).
    void saveCrops(const std::string& path, const std::vector<const Image*>& images) const {
        const int width = kCrop * static_cast<int>(images.size());
        std::vector<uint8_t> bgr(static_cast<size_t>(width) * kCrop * 3);
        int centreX = kWidth / 2, centreY = kHeight / 2;
        coveredCentre(*images.front(), &centreX, &centreY);
        const int left = std::clamp(centreX - kCrop / 2, 0, kWidth - kCrop);
        const int bottom = std::clamp(centreY - kCrop / 2, 0, kHeight - kCrop);
        for (int y = 0; y < kCrop; ++y) {
            for (int x = 0; x < width; ++x) {
                const Image& from = *images[static_cast<size_t>(x / kCrop)];
                const size_t src =
                    (static_cast<size_t>(bottom + y) * kWidth + left + x % kCrop) * 3;
                const size_t dst = (static_cast<size_t>(y) * width + x) * 3;
                for (int c = 0; c < 3; ++c) {
                    bgr[dst + c] = from[src + 2 - c];
                }
            }
        }
        writeTGATrueColour(path.c_str(), bgr.data(), width, kCrop, 24, false);
    }

    // The centre of the box around the pixels that are not the clear colour, if any.
    void coveredCentre(const Image& image, int* x, int* y) const {
        int left = kWidth, right = -1, bottom = kHeight, top = -1;
        for (int py = 0; py < kHeight; ++py) {
            for (int px = 0; px < kWidth; ++px) {
                const size_t i = (static_cast<size_t>(py) * kWidth + px) * 3;
                if (image[i] != background_[i] || image[i + 1] != background_[i + 1] ||
                    image[i + 2] != background_[i + 2]) {
                    left = std::min(left, px);
                    right = std::max(right, px);
                    bottom = std::min(bottom, py);
                    top = std::max(top, py);
                }
            }
        }
        if (right >= 0) {
            *x = (left + right) / 2;
            *y = (bottom + top) / 2;
        }
    }

    Object3D herder_;
    Object3D shown_;
    std::unique_ptr<Scene> scene_;
    std::unique_ptr<Renderer> renderer_;
    Image background_;
};

TEST_F(CharacterDetailTest, EachVersionLooksLikeFullDetailWhereItTakesOver) {
    // Set HERDER_LEVEL_PICTURES to a folder to keep full detail beside what the game draws, where
    // each version takes over and twice and four times as far.
    const char* pictures = std::getenv("HERDER_LEVEL_PICTURES");
    for (const Character& character : kCharacters) {
        std::vector<std::unique_ptr<FBXModel>> owned;
        owned.push_back(loadModel(character.full));
        for (int detail = 0; detail < level::kCoarserLevels; ++detail) {
            owned.push_back(loadModel(character.coarser[detail]));
            ASSERT_GT(owned.back()->vertexCount, 0) << character.coarser[detail].file;
            EXPECT_LT(owned.back()->vertexCount, owned[owned.size() - 2]->vertexCount * 6 / 10)
                << "a coarser version has at most about half the triangles";
        }
        std::vector<FBXModel*> chain;
        for (const auto& m : owned) {
            chain.push_back(m.get());
        }
        FBXModel* full = chain.front();
        for (int detail = 0; detail < level::kCoarserLevels; ++detail) {
            chain[detail]->setCoarser(chain[detail + 1], level::kCoarserBelowPixels[detail]);
        }
        float previous = 0.0f;
        for (int detail = 1; detail <= level::kCoarserLevels; ++detail) {
            const float at = switchDistance(chain, detail) * kPastSwitch;
            EXPECT_GT(at, previous) << "coarser versions take over farther away";
            previous = at;
            ASSERT_EQ(chosenAt(chain, at), detail) << character.name;
            for (const float farther : {1.0f, 2.0f, 4.0f}) {
                const Image chosen = drawAt(full, at * farther);
                const Image fullDetail = drawFull(chain, at * farther);
                const Difference d = compare(chosen, fullDetail, background_);
                std::printf("%s: version %d from %.1f units; %.0f units away its outline differs "
                            "from full detail in %.3f, its mean colour by %.1f\n",
                            character.name, detail, at, at * farther, d.outline, d.meanColour);
                EXPECT_LT(d.outline, kOutlineLimit) << character.name << " version " << detail;
                EXPECT_LT(d.meanColour, kMeanColourLimit) << character.name << " " << detail;
                if (pictures != nullptr) {
                    saveCrops(std::string(pictures) + "/" + character.name + "-" +
                                  std::to_string(detail) + "-" +
                                  std::to_string(static_cast<int>(farther)) + ".tga",
                              {&fullDetail, &chosen});
                }
            }
            // The same comparison sees a real change of shape: the character turned a little.
            const Image chosen = drawAt(full, at);
            EXPECT_GT(compare(chosen, drawFull(chain, at, kTurnSeen), background_).outline,
                      kOutlineLimit)
                << character.name << ": the comparison cannot see a turn";
        }
    }
}

} // namespace
