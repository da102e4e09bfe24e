// Steering of the animals: go to a point, follow an object, or walk a waypoint path, one state
// step per frame. The order of the path state is kept as it is: each path point costs one update
// without re-steering, and the removal is judged by the distance to the point being steered at.
#include "AIObject3D.h"

#include "Engine.h"
#include "FBXModel.h"
#include "Scene.h"
#include "Waypoint.h"
#include "WaypointGraph.h"

#include <cmath>

static constexpr float kRadiansToDegrees = 180.0f / 3.1415927f;

static float length(const Vector3D& v) {
    return std::sqrt(Vector3D::dot(v, v));
}

AIObject3D::AIObject3D() {
    type = kAIObject;
    staticPose = false;
    goal = position;
    steerPoint = position;
}

void AIObject3D::stopFollowing() {
    targetObject = nullptr;
    state = kIdle;
}

// The motion vector runs straight at the steer point, height difference included; a controller
// walks it, and the object turns to face it.
void AIObject3D::move() {
    Vector3D towards = steerPoint + position * -1.0f;
    const float d = length(towards);
    if (d <= 0.0f) {
        return;
    }
    towards *= 1.0f / d;
    velocity = towards * speed;
    if (controller != nullptr) {
        walkVector = velocity;
    }
    direction = towards;
    if (towards.x != 0.0f || towards.z != 0.0f) {
        rotationY = std::atan2(-towards.x, -towards.z) * kRadiansToDegrees;
    }
}

void AIObject3D::steerTo(const Vector3D& point, float newSpeed) {
    steerPoint = point;
    speed = newSpeed;
    move();
}

void AIObject3D::setGoal(const Vector3D& point) {
    if (state == kFollowObject) {
        return;
    }
    goal = point;
    steerPoint = point;
    state = kGoToPoint;
}

void AIObject3D::follow(Object3D* object) {
    targetObject = object;
    state = kFollowObject;
    if (object != nullptr) {
        steerPoint = object->getPosition();
    }
}

void AIObject3D::goViaPath(const Vector3D& point) {
    const Scene* scene = Engine::getInstance()->scene;
    WaypointGraph* graph = scene != nullptr ? scene->getWaypoints() : nullptr;
    path.clear();
    if (graph != nullptr) {
        Waypoint* end = graph->nearest(point);
        Waypoint* start = graph->nearest(position);
        graph->search(start, end);
        std::vector<Waypoint*>& route = graph->getResult();
        while (!route.empty()) {
            path.push_back(route.back()->position);
            route.pop_back();
        }
    }
    path.push_back(point);
    state = kFollowPath;
}

void AIObject3D::followPath(float distance) {
    if (distance >= arrivalRadius || !steeringAtPathPoint) {
        if (!path.empty()) {
            steerTo(path.front());
        }
        steeringAtPathPoint = true;
        return;
    }
    if (!path.empty()) {
        path.pop_front();
    }
    steeringAtPathPoint = false;
    if (path.empty()) {
        state = kIdle;
    }
}

void AIObject3D::update(float dt) {
    if (model != nullptr && model->animated) {
        staticPose = (state == kIdle);
    }
    Object3D::update(dt);
    const float distance = length(steerPoint + position * -1.0f);
    switch (state) {
    case kGoToPoint:
        if (distance >= arrivalRadius) {
            steerTo(goal);
        } else {
            state = kIdle;
        }
        break;
    case kFollowObject:
        if (targetObject != nullptr) {
            const auto* other = dynamic_cast<const AIObject3D*>(targetObject);
            if (targetObject->type == kWolf && other != nullptr && !other->alive()) {
                state = kIdle;
            } else {
                steerTo(targetObject->getPosition());
            }
        }
        break;
    case kFollowPath:
        followPath(distance);
        break;
    default:
        break;
    }
    lastDistance = distance;
}
