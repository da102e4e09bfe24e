// Waypoint edges and the per-node cost step of the A* search.
#include "Waypoint.h"

#include "connection.h"

#include <cmath>

// Returned by costTo when no edge leads to the asked-for node.
static const int kNoEdge = -1;

Waypoint::Waypoint(const Vector3D& position) : position(position) {
}

Waypoint::~Waypoint() {
    for (connection* c : connections) {
        delete c;
    }
}

void Waypoint::connect(Waypoint* other) {
    // Truncation (not rounding) keeps costs whole; both directions share the one cost.
    const int cost = static_cast<int>(distanceTo(other->position));
    addConnection(other, cost);
    other->addConnection(this, cost);
}

float Waypoint::distanceTo(const Vector3D& point) const {
    const float dx = position.x - point.x;
    const float dy = position.y - point.y;
    const float dz = position.z - point.z;
    return std::sqrt(dx * dx + dy * dy + dz * dz);
}

void Waypoint::updateCost(const Waypoint& goal) {
    // The start has no parent and keeps the g it was reset to.
    if (parent != nullptr) {
        const int back = costTo(parent);
        if (back != kNoEdge) {
            g = parent->g + back;
        }
    }
    h = static_cast<int>(distanceTo(goal.position));
    f = g + h;
}

int Waypoint::costTo(const Waypoint* target) const {
    for (const connection* c : connections) {
        if (c->target == target) {
            return c->cost;
        }
    }
    return kNoEdge;
}

void Waypoint::addConnection(Waypoint* target, int cost) {
    connections.push_back(new connection(target, cost));
    ++connectionCount;
}
