// Walking the real level with scripted input: the herder turns with the mouse and walks with the
// forward key, through the input manager, from the start down to the den, along the canyon past
// every waypoint, and up to the power plant's gate, never falling through or getting stuck.
#include "CharacterController.h"
#include "Engine.h"
#include "InputManager.h"
#include "LevelFixture.h"
#include "LevelLayout.h"
#include "LevelMeshes.h"
#include "Object3D.h"
#include "PhysicsWorld.h"
#include "Scene.h"
#include "TestSupport.h"
#include "Timer.h"

#include <cmath>

namespace {

constexpr float kArrival = 2.0f;
// Cycles without getting 0.5 units closer before the walk counts as stuck.
constexpr int kStuckCycles = 120;

class LevelWalkTest : public LevelFixture {
protected:
    void SetUp() override {
        LevelFixture::SetUp();
        engine_->mouseSensPitch = 1;
        herder_ = scene_->getPlayer();
        for (int i = 0; i < 60; ++i) {
            play();
        }
    }
    Vector3D at() const { return herder_->controller->getPosition(); }

    // Walks to the target; false (with the reason recorded) if the herder falls or gets stuck.
    bool walkTo(const aiVector3D& target, const char* name) {
        InputManager* input = InputManager::getInstance();
        float best = 1e9f;
        int sinceProgress = 0;
        for (int i = 0; i < 3000; ++i) {
            const Vector3D p = at();
            const float distance = std::hypot(target.x - p.x, target.z - p.z);
            if (distance < kArrival) {
                input->forwardHeld = false;
                return true;
            }
            if (p.y < -40.0f) {
                ADD_FAILURE() << "fell through the level on the way to " << name;
                return false;
            }
            sinceProgress = distance < best - 0.5f ? 0 : sinceProgress + 1;
            best = std::min(best, distance);
            if (sinceProgress > kStuckCycles) {
                ADD_FAILURE() << "stuck at " << p.x << "," << p.y << "," << p.z << " before "
                              << name << " (" << distance << " away)";
                return false;
            }
            face(target.x, target.z);
            // Close to the target, shorter steps: one cycle's walk is 2.4 units.
            input->forwardHeld = distance > 1.0f;
            play();
        }
        ADD_FAILURE() << "never reached " << name;
        return false;
    }

    Object3D* herder_ = nullptr;
};

TEST_F(LevelWalkTest, FromTheStartThroughTheDenToTheEndOfTheCanyon) {
    for (size_t i = 0; i < assets::kWaypoints.size(); ++i) {
        const std::string name = "W" + std::to_string(i);
        ASSERT_TRUE(walkTo(assets::kWaypoints[i], name.c_str()));
        const float floor = assets::kWaypoints[i].y - assets::kFloorBelowWaypoint;
        EXPECT_NEAR(at().y, floor + 1.5f, 1.0f) << "standing on the canyon floor at " << name;
    }
}

TEST_F(LevelWalkTest, FromTheStartUpToThePowerPlantGate) {
    const aiVector3D gate = assets::kPowerPlantCentre + aiVector3D(0, 0, 28);
    ASSERT_TRUE(walkTo(gate, "the power plant's gate"));
    EXPECT_NEAR(at().y, gate.y + 1.5f, 1.5f) << "up on the plateau";
}

} // namespace
