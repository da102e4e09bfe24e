// Controller hits: only a wolf moving into a sheep means something.
#include "ControllerHitReport.h"

void ControllerHitReport::onShapeHit(const Touch& mover, const Touch& target) {
    if (mover.owner == nullptr || target.owner == nullptr) {
        return;
    }
    if (mover.group == ActorGroup::kWolf && target.group == ActorGroup::kSheep) {
        wolfCaughtSheep(mover.owner, target.owner);
    }
}
