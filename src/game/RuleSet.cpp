// The two rule sets. The classic rules keep the first build's game to the letter; each shepherd
// rule says beside it why the level needs it.
#include "RuleSet.h"

#include "AISheep.h"
#include "AIWolf.h"
#include "LevelFacts.h"
#include "Logfile.h"
#include "Scene.h"

#include <cmath>
#include <cstdlib>
#include <string>

// Classic input step: a walk factor and a controller factor per cycle, turning 20 degrees a
// second on the keys, the mouse scaled by the frame time with its pitch path divided by ten.
static constexpr float kClassicWalkFactor = 3.0f;
static constexpr float kClassicTurnRate = 20.0f;
static constexpr int kClassicLookDivisor = 10;

// Shepherd controls: the herder runs at twice a sheep's pace (a sheep covers 5 units a second
// at game speed 1), q/e turn half round in 1.5 s, and the mouse turns by the pixel, not by the
// frame: at the shipped factor 2, 300 pixels turn the herder round; at factor 3, 500 pixels
// sweep the camera through its whole height range.
static constexpr float kSheepPace = 5.0f;
static constexpr float kHerderPace = 2.0f * kSheepPace;
// The input step hands the controller this share of the walk (RuleSet::kControllerShare).
static constexpr float kWalkForPace = kHerderPace / RuleSet::kControllerShare;
static constexpr float kShepherdTurnRate = 120.0f;
static constexpr float kDegreesPerPixel = 0.3f;
static constexpr float kLookPerPixel = 0.004f;
// Shepherd goal and den: three living sheep in the fold win; fewer than three alive lose; a sheep
// lives 20 s at the den.
static constexpr int kSheepToWin = 3;
static constexpr float kDevourSeconds = 20.0f;

static int livingSheep(const Scene& scene) {
    int living = 0;
    for (const AISheep* sheep : scene.getSheep()) {
        living += sheep->alive() ? 1 : 0;
    }
    return living;
}

namespace {

class ClassicRules : public RuleSet {
public:
    const char* name() const override { return "classic"; }
    // The marker copies the plant object's own position, which only its actor has left: the
    // origin.
    Vector3D goalPosition(const Vector3D& plant) const override { return plant; }
    bool showsFold() const override { return false; }
    // Won while three entries of the sheep list (dead ones too) stand within reach; otherwise
    // lost once no sheep lives.
    Outcome judge(const Scene& scene, const Vector3D& goal) const override {
        if (scene.sheepWithin(goal, level::kGoalRadius) > 2) {
            return Outcome::Won;
        }
        return scene.getSheepCount() < 1 ? Outcome::Lost : Outcome::Open;
    }
    bool latchesOutcome() const override { return false; }
    // Any entry of the list, dead or already carried.
    AISheep* choosePrey(const std::vector<AISheep*>& flock) const override {
        return flock.empty() ? nullptr : flock[static_cast<size_t>(std::rand()) % flock.size()];
    }
    float devourSeconds() const override { return -1.0f; }
    bool wolvesTakeCarriedSheep() const override { return true; }
    bool wolvesCarrySeveralSheep() const override { return true; }
    // Per cycle, whatever the frame rate; two keys together go further than one.
    Vector3D walkDisplacement(const Vector3D& keys, float, int) const override {
        return keys * kClassicWalkFactor;
    }
    float keyTurn(float sign, float dt) const override { return sign * kClassicTurnRate * dt; }
    // Products in 64 bits: no pair of ints can overflow them.
    float mouseTurn(int dx, int factor, float dt) const override {
        return dt * static_cast<float>(-int64_t{factor} * dx);
    }
    float mouseLook(int dy, int factor, float dt) const override {
        return dt * static_cast<float>(int64_t{dy} * factor / kClassicLookDivisor);
    }
    bool aimingAids() const override { return false; }
};

class ShepherdRules : public RuleSet {
public:
    const char* name() const override { return "shepherd"; }
    // The fold before the power plant: the far end of the level, which the goal was meant to be.
    Vector3D goalPosition(const Vector3D&) const override { return level::kFoldCentre; }
    bool showsFold() const override { return true; }
    // Only living sheep count; with fewer than three alive the win is out of reach, so the game
    // is lost then and not only when the last sheep dies.
    Outcome judge(const Scene& scene, const Vector3D& goal) const override {
        if (livingSheep(scene) < kSheepToWin) {
            return Outcome::Lost;
        }
        return scene.livingSheepWithin(goal, level::kGoalRadius) >= kSheepToWin ? Outcome::Won
                                                                                : Outcome::Open;
    }
    bool latchesOutcome() const override { return true; }
    // A living sheep nobody carries yet; wolves that chose a dead sheep stood about for ever.
    AISheep* choosePrey(const std::vector<AISheep*>& flock) const override {
        std::vector<AISheep*> free, living;
        for (AISheep* sheep : flock) {
            if (sheep->alive()) {
                living.push_back(sheep);
                if (sheep->carrier() == nullptr) {
                    free.push_back(sheep);
                }
            }
        }
        const std::vector<AISheep*>& pick = free.empty() ? living : free;
        return pick.empty() ? nullptr : pick[static_cast<size_t>(std::rand()) % pick.size()];
    }
    // Without it wolves only gathered at the den and the game could not be lost.
    float devourSeconds() const override { return kDevourSeconds; }
    // Two wolves at the den took the same sheep from each other many times a second.
    bool wolvesTakeCarriedSheep() const override { return false; }
    // A wolf that ran into the flock with a sheep in its jaws took a second one and lost the
    // shepherd two sheep to one wolf at once: one sheep a wolf.
    bool wolvesCarrySeveralSheep() const override { return false; }
    // Per second, so that the frame rate does not decide how fast the herder runs; diagonals are
    // no faster than straight walking.
    Vector3D walkDisplacement(const Vector3D& keys, float dt, int gameSpeed) const override {
        const float length = std::sqrt(Vector3D::dot(keys, keys));
        if (length <= 0.0f) {
            return Vector3D(0, 0, 0);
        }
        return keys * (kWalkForPace * static_cast<float>(gameSpeed) * dt / length);
    }
    float keyTurn(float sign, float dt) const override { return sign * kShepherdTurnRate * dt; }
    // The pointer moved so many pixels whatever the frame time.
    float mouseTurn(int dx, int factor, float) const override {
        return static_cast<float>(-int64_t{factor} * dx) * kDegreesPerPixel;
    }
    float mouseLook(int dy, int factor, float) const override {
        return static_cast<float>(int64_t{dy} * factor) * kLookPerPixel;
    }
    bool aimingAids() const override { return true; }
};

} // namespace

const RuleSet& RuleSet::classic() {
    static const ClassicRules rules;
    return rules;
}

const RuleSet& RuleSet::shepherd() {
    static const ShepherdRules rules;
    return rules;
}

const RuleSet& RuleSet::forSetting(int value) {
    if (value == 1) {
        return shepherd();
    }
    if (value != 0) {
        Logfile::appendLine(("setting I_RULES=" + std::to_string(value) +
                             " is not a rule set (0 classic, 1 shepherd), playing classic")
                                .c_str());
    }
    return classic();
}
