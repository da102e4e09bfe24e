// Controller hits: only a wolf moving into a sheep means something.
#include "ControllerHitReport.h"

#include "AISheep.h"
#include "AIWolf.h"
#include "Engine.h"
#include "Object3D.h"

void ControllerHitReport::onShapeHit(Object3D* mover, Object3D* target) {
    if (mover == nullptr || target == nullptr) {
        return;
    }
    if (mover->type == Object3D::kWolf && target->type == Object3D::kSheep) {
        wolfCaughtSheep(mover, target, Engine::getInstance()->pathSearch);
    }
}

// A wolf touches the sheep it carries again and again. Those touches change nothing: catching
// it anew would search a fresh path from the nearest waypoint, which may lie behind the wolf, and
// turning round runs the wolf into its own sheep, head on.
void ControllerHitReport::wolfCaughtSheep(Object3D* wolf, Object3D* sheep, bool pathSearch) {
    auto* hunter = dynamic_cast<AIWolf*>(wolf);
    auto* prey = dynamic_cast<AISheep*>(sheep);
    const bool carried =
        prey != nullptr && prey->state == AIObject3D::kFollowObject && prey->targetObject == wolf;
    if (hunter != nullptr && prey != nullptr && !carried) {
        hunter->seize(prey, pathSearch);
    }
}
