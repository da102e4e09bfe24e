// Character controllers: construction and placement; the kinematic capsule that stands for the
// controller in the simulation follows every change of position. Moving is in
// CharacterControllerMove.cpp.
#include "CharacterController.h"

#include "PhysicsActor.h"
#include "PhysicsWorld.h"

#include <btBulletDynamicsCommon.h>

CharacterController::CharacterController(PhysicsWorld* world, PhysicsActor* capsule,
                                         Object3D* owner, float height, float radius)
    : world_(world), capsule_(capsule), owner_(owner), height_(height), radius_(radius) {
}

CharacterController::~CharacterController() = default;

void CharacterController::setPosition(const Vector3D& centre) {
    position_ = centre;
    resting_ = false;
    if (capsule_ != nullptr) {
        capsule_->setGlobalPosition(centre);
    }
}
