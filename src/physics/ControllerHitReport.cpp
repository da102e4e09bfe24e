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

void ControllerHitReport::wolfCaughtSheep(Object3D* wolf, Object3D* sheep, bool pathSearch) {
    auto* hunter = dynamic_cast<AIWolf*>(wolf);
    auto* prey = dynamic_cast<AISheep*>(sheep);
    if (hunter != nullptr && prey != nullptr) {
        hunter->seize(prey, pathSearch);
    }
}
