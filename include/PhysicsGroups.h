// PhysicsGroups: the one set of group numbers the physics world works with. An actor group says
// what a body is to the contact rules (ContactReport, ControllerHitReport) and to the table of
// reported pairs; a shape group decides which bodies collide at all. The scene, the rocket and
// the particles give their bodies these groups; nothing else names the numbers.
#pragma once

class Object3D;

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
