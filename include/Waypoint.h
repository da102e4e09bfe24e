// Waypoint: one node of the level's navigation network. Besides its place and edges it carries
// the bookkeeping of the A* search, which WaypointGraph resets before every search.
#pragma once

#include "Vector3D.h"

#include <vector>

class connection;

class Waypoint {
public:
    // Search states held in status.
    static constexpr int kOpen = 0;
    static constexpr int kClosed = 1;
    static constexpr int kUnseen = 2;

    // A node at position with no edges, not yet seen by any search.
    explicit Waypoint(const Vector3D& position);
    // Frees the edges this node owns.
    ~Waypoint();
    Waypoint(const Waypoint&) = delete;
    Waypoint& operator=(const Waypoint&) = delete;

    // Joins this node and other with an edge each way, costing the distance truncated to whole
    // units.
    void connect(Waypoint* other);
    // Straight-line distance from this node to point.
    float distanceTo(const Vector3D& point) const;
    // Recomputes g through the edge back to parent, h towards goal, and f = g + h.
    void updateCost(const Waypoint& goal);
    // Cost of the first edge from this node to target, or -1 when there is none.
    int costTo(const Waypoint* target) const;

    Vector3D position;
    // Edges leaving this node (owned), in the order they were made.
    std::vector<connection*> connections;
    // Number of edges, kept equal to connections.size().
    int connectionCount = 0;
    int f = 0;
    int g = 0;
    int h = 0;
    // Predecessor on the best route found so far (not owned).
    Waypoint* parent = nullptr;
    int status = kUnseen;

private:
    void addConnection(Waypoint* target, int cost);
};
