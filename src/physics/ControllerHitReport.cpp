// Controller hits: only a wolf moving into a sheep means something.
#include "ControllerHitReport.h"

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

void ControllerHitReport::wolfCaughtSheep(Object3D*, Object3D*, bool) {
}
