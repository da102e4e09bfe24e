// Character controllers: construction and placement; the kinematic capsule that stands for the
// controller in the simulation follows every change of position. Moving is in
// CharacterControllerMove.cpp.
#include "CharacterController.h"

#include "ControllerHitReport.h"
#include "PhysicsActor.h"
#include "PhysicsWorld.h"

#include <btBulletDynamicsCommon.h>

CharacterController::CharacterController(PhysicsWorld* world, PhysicsActor* capsule,
                                         Object3D* owner, float height, float radius,
                                         std::unique_ptr<ControllerHitReport> report)
    : world_(world), capsule_(capsule), owner_(owner), height_(height), radius_(radius),
      report_(std::move(report)) {
}

CharacterController::~CharacterController() = default;

void CharacterController::setPosition(const Vector3D& centre) {
    position_ = centre;
    if (capsule_ != nullptr) {
        capsule_->setGlobalPosition(centre);
    }
}

void CharacterController::setReport(std::unique_ptr<ControllerHitReport> report) {
    report_ = std::move(report);
}
