// connection: one directed edge of the waypoint graph, owned by the waypoint it leaves.
// Costs are whole numbers so that the path search adds and compares integers only.
#pragma once

class Waypoint;

class connection {
public:
    // An edge to target (not owned) costing cost.
    connection(Waypoint* target, int cost) : target(target), cost(cost) {}

    Waypoint* target;
    int cost;
};
