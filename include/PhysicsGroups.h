// PhysicsGroups: the one set of group numbers the physics world works with, and the plain records
// in which it hands touches on. An actor group says what a body is to the game's rules
// (GameRules.h) and to the table of reported pairs; a shape group decides which bodies collide at
// all. The scene, the rocket and the particles give their bodies these groups; nothing else names
// the numbers.
#pragma once

class Object3D;

// A wolf's, sheep's or rocket's group is given only to the body of a wolf (AIWolf), a sheep
// (AISheep) or a rocket (Rocket) owned by it: the game takes the owner's class from the group.
namespace ActorGroup {
// The herder, particles and anything else the rules ignore.
inline constexpr int kNone = 0;
inline constexpr int kWolf = 2;
inline constexpr int kSheep = 3;
inline constexpr int kRocket = 4;
// The terrain and the power plant.
inline constexpr int kGround = 6;
inline constexpr int kCanyon = 10;
} // namespace ActorGroup

namespace ShapeGroup {
inline constexpr int kDefault = 0;
// Particles pass through each other and through the canyon.
inline constexpr int kParticle = 9;
inline constexpr int kCanyon = 10;
} // namespace ShapeGroup

// One body of a touch as the rules see it: its owner (which physics never looks into) and its
// actor group.
struct Touch {
    Object3D* owner = nullptr;
    int group = ActorGroup::kNone;
};

// Two bodies that started touching, in the order the world found them.
struct ContactBegin {
    Touch a;
    Touch b;
};
