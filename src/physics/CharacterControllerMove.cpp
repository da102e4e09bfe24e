// Moving a character controller: three convex sweeps of a full-size capsule through the Bullet
// world. Up by the step offset, so that low steps pass under the capsule; sideways with
// collide-and-slide; down again by the lift plus the downward part of the move (the game's
// per-cycle gravity makes that a long way). Walkable ground stops the down pass where it is
// touched, so characters stand still on slopes; steeper ground is a wall that they slide down.
// Every object a move touches is reported once to the world's controller hit report.
// Two cheaper moves cover most of a frame's characters: a walk that meets nothing at the height
// it starts from needs no lift (one sideways sweep and the fall), and a character that stood
// still on the ground and is only asked to fall again is not swept at all.
#include "CharacterController.h"

#include "ControllerHitReport.h"
#include "PhysicsActor.h"
#include "PhysicsWorld.h"

#include <btBulletDynamicsCommon.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <vector>

namespace {

// Slide iterations of the sideways and down passes: a corner of two walls and the floor needs
// three; the bound keeps one move's work small.
constexpr int kSlideIterations = 4;
// Motions shorter than this are not swept: nothing visible would change.
constexpr float kMinMotion = 1.0e-4f;
// A hit blocks only when its normal faces into the motion by more than this (a cosine). A
// capsule that starts touching or slightly inside a body (another controller walked into it, or
// it was placed there) can then move away from it and along it; only motion further in stops.
constexpr float kMinOpposing = 1.0e-3f;
// A lifted move may come down on ground this much higher than the step offset: the capsule's
// rest gap over the ground wavers by the mesh margin and the sweep's tolerance.
constexpr float kStepTolerance = 0.5f * CharacterController::kSkinWidth;
// The edge probe: how far past a hit point, into the body, and from how far above it a ray looks
// for the walkable face the edge belongs to. Both exceed the mesh margin and the sweep's
// tolerance; a slope steeper than 45 degrees rises more than the height over the inset.
constexpr float kEdgeProbeInset = 0.05f;
constexpr float kEdgeProbeHeight = 0.05f;
// The first part of a fall's down sweep: the lift and a little more, where a standing
// character meets its ground.
constexpr float kSettleProbe =
    CharacterController::kStepOffset + 4.0f * CharacterController::kSkinWidth;
// Collision flags.
constexpr unsigned kHitSides = 1;
constexpr unsigned kHitAbove = 2;
constexpr unsigned kHitBelow = 4;

// How much the steepest walkable slope rises per unit walked across it (the slope limit is the
// cosine of its angle).
const float kSteepestRise =
    std::sqrt(1.0f - CharacterController::kSlopeLimit * CharacterController::kSlopeLimit) /
    CharacterController::kSlopeLimit;
// A move that ends this close to where it started, standing, leaves the character resting.
constexpr float kRestDistance = 1.0e-3f;

const btVector3 kUp(0, 1, 0);

btVector3 toBullet(const Vector3D& v) {
    return btVector3(v.x, v.y, v.z);
}

const PhysicsActor* actorOf(const btCollisionObject* object) {
    return static_cast<const PhysicsActor*>(object->getUserPointer());
}

// Another character's capsule.
bool isCharacter(const btCollisionObject* object) {
    const PhysicsActor* actor = actorOf(object);
    return actor != nullptr && (actor->controllerClass & PhysicsWorld::kControllerBit) != 0;
}

bool walkable(const btVector3& normal) {
    return normal.dot(kUp) >= CharacterController::kSlopeLimit;
}

// What blocks the controller. Bullet's broadphase filter does not apply to sweeps and ray
// tests, so the filtering is all here: the controller's own capsule, bodies of classes the move
// does not collide with (rockets and particles have none) and shape groups that the world keeps
// apart are passed through.
struct ControllerFilter {
    const PhysicsWorld& world;
    const PhysicsActor* self;
    unsigned activeGroups;

    bool blocks(const btBroadphaseProxy* proxy) const {
        const auto* object = static_cast<const btCollisionObject*>(proxy->m_clientObject);
        const PhysicsActor* actor = actorOf(object);
        if (actor == nullptr || actor == self || (actor->controllerClass & activeGroups) == 0) {
            return false;
        }
        return self == nullptr || world.groupsCollide(self->shapeGroup, actor->shapeGroup);
    }
};

// Characters meet only side by side, as upright cylinders: the vertical passes pass through
// other capsules, and a capsule walked into deflects horizontally. Standing on another's rounded
// top would slide the rider off it every cycle, carrying both away from where they were going.
ControllerFilter withoutCharacters(const ControllerFilter& filter) {
    return ControllerFilter{filter.world, filter.self,
                            filter.activeGroups & ~PhysicsWorld::kControllerBit};
}

// The closest hit of one sweep that may block the controller; hits whose normal does not face
// the motion are passed through as well.
class ControllerSweep : public btCollisionWorld::ClosestConvexResultCallback {
public:
    ControllerSweep(const btVector3& from, const btVector3& to, const ControllerFilter& filter)
        : ClosestConvexResultCallback(from, to), direction_((to - from).normalized()),
          filter_(filter) {}

    bool needsCollision(btBroadphaseProxy* proxy) const override {
        return ClosestConvexResultCallback::needsCollision(proxy) && filter_.blocks(proxy);
    }

    btScalar addSingleResult(btCollisionWorld::LocalConvexResult& result,
                             bool normalInWorldSpace) override {
        btVector3 normal = result.m_hitNormalLocal;
        if (!normalInWorldSpace) {
            normal = result.m_hitCollisionObject->getWorldTransform().getBasis() * normal;
        }
        if (normal.dot(direction_) > -kMinOpposing * normal.length()) {
            return m_closestHitFraction;
        }
        return ClosestConvexResultCallback::addSingleResult(result, normalInWorldSpace);
    }

private:
    btVector3 direction_;
    const ControllerFilter& filter_;
};

// The closest surface a ray meets among what blocks the controller.
class ControllerRay : public btCollisionWorld::ClosestRayResultCallback {
public:
    ControllerRay(const btVector3& from, const btVector3& to, const ControllerFilter& filter)
        : ClosestRayResultCallback(from, to), filter_(filter) {}

    bool needsCollision(btBroadphaseProxy* proxy) const override {
        return ClosestRayResultCallback::needsCollision(proxy) && filter_.blocks(proxy);
    }

private:
    const ControllerFilter& filter_;
};

struct SweepHit {
    bool blocked = false;
    float fraction = 1.0f;
    btVector3 normal{0, 0, 1};
    btVector3 point{0, 0, 0};
    const btCollisionObject* object = nullptr;
};

// One attempt at a move: the passes advance a position, collecting flags and touched bodies.
class Mover {
public:
    Mover(const ControllerFilter& filter, const btConvexShape& shape, const btVector3& start)
        : filter_(filter), groundFilter_(withoutCharacters(filter)), shape_(shape),
          position_(start) {}

    // Pass 1: straight up; returns how far it got before a ceiling.
    float lift(float distance) {
        const btVector3 from = position_;
        const SweepHit hit = sweep(kUp * distance, groundFilter_);
        advance(kUp * distance, hit);
        if (hit.blocked) {
            touch(hit, kHitAbove);
        }
        return position_.y() - from.y();
    }

    // Pass 2: horizontal motion that slides along what it hits. Walkable surfaces deflect it
    // along their plane (a ramp or a low step edge lifts it); anything steeper is a wall and
    // deflects it horizontally only, so walking never climbs a steep slope.
    void slideSideways(const btVector3& motion) {
        btVector3 remaining = motion;
        for (int i = 0; i < kSlideIterations && remaining.length() > kMinMotion; ++i) {
            const SweepHit hit = sweep(remaining, filter_);
            const btVector3 left = advance(remaining, hit);
            if (!hit.blocked) {
                return;
            }
            touch(hit, kHitSides);
            const bool character = isCharacter(hit.object);
            blockedByLevel_ = blockedByLevel_ || !character;
            btVector3 normal = hit.normal;
            if (!walkable(normal) || character) {
                normal.setY(0);
                if (normal.length2() < kMinMotion * kMinMotion) {
                    return;
                }
                normal.normalize();
            }
            remaining = left - normal * left.dot(normal);
            // Sliding back against the walk (into a corner) would only jitter.
            if (remaining.dot(motion) <= 0) {
                return;
            }
        }
    }

    // Pass 3: down until walkable ground is touched, which holds the capsule where it is; a
    // steeper surface deflects the rest of the fall along itself, down the slope. The rounded
    // bottom meets the edge of a step with a steep normal; that edge still holds it, or a slow
    // walk onto a step would slide back off the edge every cycle.
    void settle(float distance) {
        btVector3 remaining = -kUp * distance;
        for (int i = 0; i < kSlideIterations && remaining.length() > kMinMotion; ++i) {
            const SweepHit hit = sweepDown(remaining);
            const btVector3 left = advance(remaining, hit);
            if (!hit.blocked) {
                return;
            }
            touch(hit, kHitBelow);
            if (walkable(hit.normal) || onWalkableEdge(hit)) {
                landed_ = true;
                landing_ = hit.point;
                withinSkin_ = hit.fraction * remaining.length() < CharacterController::kSkinWidth;
                return;
            }
            remaining = left - hit.normal * left.dot(hit.normal);
        }
    }

    const btVector3& position() const { return position_; }
    // Whether the sideways pass met anything, and whether any of it was not another character.
    bool blockedSideways() const { return (flags_ & kHitSides) != 0; }
    bool blockedByLevel() const { return blockedByLevel_; }
    // Whether the down pass came to stand on something, and where it touches that.
    bool landed() const { return landed_; }
    // Whether it landed closer than the contact skin (the down pass cannot lift it back out).
    bool landedWithinSkin() const { return withinSkin_; }
    const btVector3& landing() const { return landing_; }
    unsigned flags() const { return flags_; }
    const std::vector<const btCollisionObject*>& touched() const { return touched_; }

private:
    // A long fall is swept in two parts, a short probe first: a character standing on the
    // ground finds it within the probe, and a short sweep visits far fewer bodies of the world
    // than the whole fall would. A probe that meets nothing moves the full probe length, so the
    // rest is swept from there and the first hit is the one a single sweep would find.
    SweepHit sweepDown(const btVector3& motion) {
        const float length = motion.length();
        if (length <= kSettleProbe || motion.y() >= 0) {
            return sweep(motion, groundFilter_);
        }
        const btVector3 probe = motion * (kSettleProbe / length);
        SweepHit near = sweep(probe, groundFilter_);
        if (near.blocked) {
            near.fraction *= kSettleProbe / length;
            return near;
        }
        position_ += probe;
        SweepHit far = sweep(motion - probe, groundFilter_);
        far.fraction = (kSettleProbe + far.fraction * (length - kSettleProbe)) / length;
        position_ -= probe;
        return far;
    }

    SweepHit sweep(const btVector3& motion, const ControllerFilter& filter) const {
        SweepHit hit;
        if (motion.length() <= kMinMotion) {
            return hit;
        }
        const btVector3 to = position_ + motion;
        ControllerSweep callback(position_, to, filter);
        const btQuaternion upright = btQuaternion::getIdentity();
        filter.world.dynamicsWorld()->convexSweepTest(&shape_, btTransform(upright, position_),
                                                      btTransform(upright, to), callback);
        if (callback.hasHit()) {
            hit.blocked = true;
            hit.fraction = callback.m_closestHitFraction;
            hit.normal = callback.m_hitNormalWorld.normalized();
            hit.point = callback.m_hitPointWorld;
            hit.object = callback.m_hitCollisionObject;
        }
        return hit;
    }

    // Moves along `motion` to the hit less the contact skin (or all the way); returns the part
    // of the motion not travelled.
    btVector3 advance(const btVector3& motion, const SweepHit& hit) {
        const float length = motion.length();
        if (length <= kMinMotion) {
            return btVector3(0, 0, 0);
        }
        const float travel =
            hit.blocked ? std::max(hit.fraction * length - CharacterController::kSkinWidth, 0.0f)
                        : length;
        position_ += motion * (travel / length);
        return motion * (1.0f - travel / length);
    }

    // Whether the hit point lies on the edge of a walkable face: a short ray down just past the
    // point, into the body, meets a walkable face right there. On a steep slope the ray starts
    // under the surface or meets the steep face itself.
    bool onWalkableEdge(const SweepHit& hit) const {
        btVector3 inward(-hit.normal.x(), 0, -hit.normal.z());
        if (inward.length2() < kMinMotion * kMinMotion) {
            return false;
        }
        const btVector3 from =
            hit.point + inward.normalized() * kEdgeProbeInset + kUp * kEdgeProbeHeight;
        const btVector3 to = from - kUp * (2.0f * kEdgeProbeHeight);
        ControllerRay ray(from, to, filter_);
        filter_.world.dynamicsWorld()->rayTest(from, to, ray);
        return ray.hasHit() && walkable(ray.m_hitNormalWorld);
    }

    void touch(const SweepHit& hit, unsigned flag) {
        flags_ |= flag;
        touched_.push_back(hit.object);
    }

    const ControllerFilter& filter_;
    const ControllerFilter groundFilter_;
    const btConvexShape& shape_;
    btVector3 position_;
    unsigned flags_ = 0;
    bool landed_ = false;
    bool withinSkin_ = false;
    bool blockedByLevel_ = false;
    btVector3 landing_{0, 0, 0};
    std::vector<const btCollisionObject*> touched_;
};

// The three passes with the given lift; an upward part of the move is added to the lift and
// kept, the lift itself is taken back in the down pass.
Mover runPasses(Mover mover, const btVector3& motion, float stepOffset) {
    const float rise = std::max(motion.y(), 0.0f);
    const float lifted = mover.lift(stepOffset + rise);
    mover.slideSideways(btVector3(motion.x(), 0, motion.z()));
    mover.settle(std::max(lifted - rise, 0.0f) + std::max(-motion.y(), 0.0f));
    return mover;
}

// Whether the move came to stand on something more than a step above `ground`. The height is
// that of the point stood on, not of the capsule: a capsule can stand on the edge of a tall step,
// lower than on top of it, and go on from there.
bool standsTooHigh(const Mover& mover, float ground) {
    return mover.landed() &&
           mover.landing().y() > ground + CharacterController::kStepOffset + kStepTolerance;
}

// A walk that meets no part of the level on its way over walkable ground: one sweep along the
// walk, rising as the steepest walkable slope would (and by the skin), then the fall from there.
// On meadow and slopes alike that is two or three sweeps where the lifted move takes six or
// seven. Other characters only deflect it sideways, as they would the lifted move (they are met
// side by side). Where the level blocks the rising sweep (a step, a wall), the lift may be what
// gets over it, and the caller moves with the lift instead; so it does where the fall ends closer
// to the ground than the skin (a capsule that came down on a step's edge), which only the lift's
// down pass sets right, and where it ends on something taller than a step.
std::optional<Mover> moveWithoutLift(const Mover& fresh, const btVector3& motion, float ground) {
    const btVector3 across(motion.x(), 0, motion.z());
    if (motion.y() > 0 || across.length() <= kMinMotion) {
        return std::nullopt;
    }
    // Never more than the lift: the rising sweep must not clear a step the lift could not.
    const float rise = std::min(across.length() * kSteepestRise + CharacterController::kSkinWidth,
                                CharacterController::kStepOffset);
    Mover flat = fresh;
    flat.slideSideways(across + kUp * rise);
    if (flat.blockedByLevel()) {
        return std::nullopt;
    }
    flat.settle(rise - motion.y());
    if (flat.landedWithinSkin() || standsTooHigh(flat, ground)) {
        return std::nullopt;
    }
    return flat;
}

// The three passes with the lift, from a capsule whose bottom is `ground` plus the skin. The
// lift may carry the capsule onto something taller than a step; the move is then done without
// it, where that something is a wall.
Mover moveCapsule(const Mover& fresh, const btVector3& motion, float ground) {
    if (std::optional<Mover> flat = moveWithoutLift(fresh, motion, ground)) {
        return *flat;
    }
    const float step = CharacterController::kStepOffset;
    const float rise = std::max(motion.y(), 0.0f);
    const Mover stepped = runPasses(fresh, motion, step);
    if (!standsTooHigh(stepped, ground + rise)) {
        return stepped;
    }
    // A capsule placed sunk into the ground stands higher than its own bottom: measure from
    // what it stands on where it is.
    const Mover inPlace = runPasses(fresh, btVector3(0, motion.y(), 0), step);
    if (inPlace.landed() && !standsTooHigh(stepped, inPlace.landing().y() + rise)) {
        return stepped;
    }
    return runPasses(fresh, motion, 0.0f);
}

// Each touched object once, with the owners and groups of both sides.
void reportTouches(ControllerHitReport* report, const Touch& mover,
                   const std::vector<const btCollisionObject*>& touched) {
    if (report == nullptr) {
        return;
    }
    std::vector<Object3D*> reported;
    for (const btCollisionObject* object : touched) {
        const PhysicsActor* actor = actorOf(object);
        const Touch target = actor != nullptr ? Touch{actor->userData, actor->group} : Touch{};
        if (std::find(reported.begin(), reported.end(), target.owner) == reported.end()) {
            reported.push_back(target.owner);
            report->onShapeHit(mover, target);
        }
    }
}

} // namespace

void CharacterController::SweepShapeDeleter::operator()(btCapsuleShape* shape) const {
    delete shape;
}

btCapsuleShape* CharacterController::sweepShape() {
    if (!sweepShape_) {
        sweepShape_.reset(new btCapsuleShape(radius_, height_));
    }
    return sweepShape_.get();
}

// `sharpness` is not used: it smooths a lift that is spread over several frames, and this lift
// is a single sweep taken back within the same move, so there is nothing to smooth.
unsigned CharacterController::move(const Vector3D& displacement, unsigned activeGroups,
                                   float minDistance, float sharpness) {
    (void)sharpness;
    const btVector3 motion = toBullet(displacement);
    if (motion.length() < minDistance) {
        return 0;
    }
    if (!collision_ || world_ == nullptr) {
        setPosition(position_ + displacement);
        return 0;
    }
    // Falling only: vertical passes pass through other characters, and the level stands still,
    // so a character resting on it would come down where it is.
    const bool straightDown =
        motion.y() < 0 && btVector3(motion.x(), 0, motion.z()).length() <= kMinMotion;
    if (straightDown && resting_) {
        return kHitBelow;
    }
    const btVector3 start = toBullet(position_);
    const ControllerFilter filter{*world_, capsule_, activeGroups};
    const Mover fresh(filter, *sweepShape(), start);
    const float ground = start.y() - 0.5f * height_ - radius_ - kSkinWidth;
    const Mover result = moveCapsule(fresh, motion, ground);
    const btVector3& end = result.position();
    setPosition(Vector3D(end.x(), end.y(), end.z()));
    resting_ = straightDown && result.landed() && (end - start).length() <= kRestDistance;
    const Touch mover{owner_, capsule_ != nullptr ? capsule_->group : ActorGroup::kNone};
    reportTouches(world_->getControllerHitReport(), mover, result.touched());
    return result.flags();
}
