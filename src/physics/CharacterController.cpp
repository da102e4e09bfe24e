// Character controllers: a capsule moved by the game, represented in the simulation by a
// kinematic capsule actor.
#include "CharacterController.h"

CharacterController::CharacterController(PhysicsActor* capsule, float height, float radius)
    : capsule_(capsule), height_(height), radius_(radius) {
}
