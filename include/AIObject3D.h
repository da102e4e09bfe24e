// AIObject3D: a scene object that moves by itself: it steers its character controller straight
// at a point, follows another object, or walks a path of waypoint positions from the canyon's
// graph. Sheep and wolves derive from it. No flocking, no avoidance: it heads at its current
// steer point at a fixed speed and stops within a fixed arrival radius.
#pragma once

#include "Object3D.h"

#include <deque>

class AIObject3D : public Object3D {
public:
    // States.
    static constexpr int kGoToPoint = 0;
    static constexpr int kFollowObject = 1;
    static constexpr int kIdle = 2;
    static constexpr int kFollowPath = 3;

    // Idle at the object's current position.
    AIObject3D();

    // Animation, the base update, then one step of the current state.
    void update(float dt) override;
    // Whether the object still lives; followers of a dead object give up.
    virtual bool alive() const { return true; }

    void setSpeed(float s) { speed = s; }
    void setState(int s) { state = s; }
    // Forgets the followed object and stands idle.
    void stopFollowing();
    // Heads for point at the given speed from now on.
    void steerTo(const Vector3D& point, float newSpeed);
    void steerTo(const Vector3D& point) { steerTo(point, speed); }
    // Goes to point; ignored while following an object.
    void setGoal(const Vector3D& point);
    // Follows the object's position every frame.
    void follow(Object3D* object);
    // Walks the waypoints from the one nearest to itself to the one nearest to point, then to
    // point itself. The old steer point stays until the next update measures it.
    void goViaPath(const Vector3D& point);
    int pathLength() const { return static_cast<int>(path.size()); }

    int state = kIdle;
    bool steeringAtPathPoint = true;
    Vector3D goal;
    Vector3D steerPoint;
    Object3D* targetObject = nullptr;
    float speed = 1.0f;
    float lastDistance = 1000.0f;
    float arrivalRadius = 2.0f;
    std::deque<Vector3D> path;

private:
    // Sets the motion towards the steer point and turns to face it.
    void move();
    void followPath(float distance);
};
