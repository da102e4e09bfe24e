// WaypointGraph: the level's navigation network, seven fixed points along the canyon joined in
// one chain, and the A* search that the animals use to walk between them.
#pragma once

#include "Vector3D.h"

#include <vector>

class Waypoint;

class WaypointGraph {
public:
    // Builds the level's fixed network: W0 (the den) to W6, each joined to the one before.
    WaypointGraph();
    // Frees every waypoint of the graph.
    ~WaypointGraph();
    WaypointGraph(const WaypointGraph&) = delete;
    WaypointGraph& operator=(const WaypointGraph&) = delete;

    // Appends waypoint to the graph, which takes ownership.
    void add(Waypoint* waypoint);
    // The waypoint closest to point (the earlier one on a tie), or null if none is nearer than
    // the search radius.
    Waypoint* nearest(const Vector3D& point) const;
    // A* from start to goal. On success the result holds the route goal first, start last;
    // otherwise (a null end included) false with the result empty.
    bool search(Waypoint* start, Waypoint* goal);

    // The route of the last search; the walker reads it from the back and pops.
    std::vector<Waypoint*>& getResult() { return result_; }
    // Every waypoint, in the order it was added.
    const std::vector<Waypoint*>& getWaypoints() const { return waypoints_; }

private:
    // Forgets every node's state from the previous search.
    void resetSearch();
    // Moves the cheapest open node to the closed state and returns it.
    static Waypoint* takeCheapest(std::vector<Waypoint*>& open);
    // Opens best's unseen neighbours and re-parents open ones that are cheaper through best.
    static void expand(Waypoint* best, const Waypoint& goal, std::vector<Waypoint*>& open);
    // Fills the result by following parents back from goal.
    void collectRoute(Waypoint* goal);

    std::vector<Waypoint*> waypoints_;
    std::vector<Waypoint*> result_;
};
