// The level's waypoint network and its A* search. The graph is tiny, so plain arrays scanned
// from the front do: the open list is searched in full for its cheapest entry, and every node is
// reset before each search.
#include "WaypointGraph.h"

#include "LevelFacts.h"
#include "Waypoint.h"
#include "connection.h"

#include <cstddef>

// A waypoint this far away or farther is never the nearest.
static const float kNearestRadius = 100000.0f;

WaypointGraph::WaypointGraph() {
    Waypoint* w[level::kWaypointCount];
    for (int i = 0; i < level::kWaypointCount; ++i) {
        w[i] = new Waypoint(level::kWaypoints[i]);
    }
    // A single chain: each waypoint joins the one before it.
    for (int i = 1; i < level::kWaypointCount; ++i) {
        w[i]->connect(w[i - 1]);
    }
    for (Waypoint* waypoint : w) {
        add(waypoint);
    }
}

WaypointGraph::~WaypointGraph() {
    for (Waypoint* waypoint : waypoints_) {
        delete waypoint;
    }
}

void WaypointGraph::add(Waypoint* waypoint) {
    waypoints_.push_back(waypoint);
}

Waypoint* WaypointGraph::nearest(const Vector3D& point) const {
    Waypoint* best = nullptr;
    float bestDistance = kNearestRadius;
    // Only a strictly smaller distance wins, so ties keep the earlier waypoint.
    for (Waypoint* waypoint : waypoints_) {
        const float d = waypoint->distanceTo(point);
        if (d < bestDistance) {
            bestDistance = d;
            best = waypoint;
        }
    }
    return best;
}

bool WaypointGraph::search(Waypoint* start, Waypoint* goal) {
    resetSearch();
    if (start == nullptr || goal == nullptr) {
        return false;
    }
    std::vector<Waypoint*> open{start};
    start->status = Waypoint::kOpen;
    start->parent = nullptr;
    while (!open.empty()) {
        // The oldest open entry is refreshed each round before the cheapest is picked.
        open.front()->updateCost(*goal);
        Waypoint* best = takeCheapest(open);
        if (best == goal) {
            collectRoute(goal);
            return true;
        }
        expand(best, *goal, open);
    }
    return false;
}

void WaypointGraph::resetSearch() {
    result_.clear();
    for (Waypoint* waypoint : waypoints_) {
        waypoint->f = 0;
        waypoint->g = 0;
        waypoint->h = 0;
        waypoint->parent = nullptr;
        waypoint->status = Waypoint::kUnseen;
    }
}

Waypoint* WaypointGraph::takeCheapest(std::vector<Waypoint*>& open) {
    // Strictly smaller f only, so on a tie the node that was opened first goes.
    std::size_t bestIndex = 0;
    for (std::size_t i = 1; i < open.size(); ++i) {
        if (open[i]->f < open[bestIndex]->f) {
            bestIndex = i;
        }
    }
    Waypoint* best = open[bestIndex];
    open.erase(open.begin() + bestIndex);
    best->status = Waypoint::kClosed;
    return best;
}

void WaypointGraph::expand(Waypoint* best, const Waypoint& goal, std::vector<Waypoint*>& open) {
    for (const connection* edge : best->connections) {
        Waypoint* n = edge->target;
        if (n == nullptr || n->status == Waypoint::kClosed) {
            continue;
        }
        if (n->status == Waypoint::kUnseen) {
            open.push_back(n);
            n->parent = best;
            n->updateCost(goal);
            n->status = Waypoint::kOpen;
            continue;
        }
        // Already open: take best as parent if the way back through it is cheaper.
        for (const connection* back : n->connections) {
            if (back->target == best && best->g + back->cost < n->g) {
                n->parent = best;
                n->updateCost(goal);
            }
        }
    }
}

void WaypointGraph::collectRoute(Waypoint* goal) {
    for (Waypoint* w = goal; w != nullptr; w = w->parent) {
        result_.push_back(w);
    }
}
