// The level's waypoint chain, nearest-waypoint lookup and the A* search, checked against the
// level's layout and against a brute-force shortest-path table.
#include "WaypointGraph.h"
#include "LevelFacts.h"
#include "Waypoint.h"
#include "connection.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <vector>

namespace {

using Route = std::vector<Waypoint*>;

const int kUnreachable = INT_MAX / 4;
// A second component far from the canyon: S reaches G through X or Y and then N. The route via
// X looks cheaper at first, but N is cheaper to reach through Y, which is found later.
const float kFar = 5000.0f;

// Cost of the first edge from a to b, or kUnreachable when there is none.
int edgeCost(const Waypoint* a, const Waypoint* b) {
    for (const connection* c : a->connections) {
        if (c->target == b) {
            return c->cost;
        }
    }
    return kUnreachable;
}

// All-pairs shortest costs over the graph's own edges (Floyd-Warshall).
std::vector<std::vector<int>> shortestCosts(const std::vector<Waypoint*>& nodes) {
    const size_t n = nodes.size();
    std::vector<std::vector<int>> d(n, std::vector<int>(n, kUnreachable));
    for (size_t i = 0; i < n; ++i) {
        d[i][i] = 0;
        for (size_t j = 0; j < n; ++j) {
            if (i != j) {
                d[i][j] = std::min(d[i][j], edgeCost(nodes[i], nodes[j]));
            }
        }
    }
    for (size_t k = 0; k < n; ++k) {
        for (size_t i = 0; i < n; ++i) {
            for (size_t j = 0; j < n; ++j) {
                d[i][j] = std::min(d[i][j], d[i][k] + d[k][j]);
            }
        }
    }
    return d;
}

class WaypointGraphTest : public ::testing::Test {
protected:
    Waypoint* w(int i) const { return graph.getWaypoints()[i]; }

    Waypoint* addAt(float x, float y, float z) {
        Waypoint* p = new Waypoint(Vector3D(x, y, z));
        graph.add(p);
        return p;
    }

    // The detour component; returns S, X, Y, N, G.
    std::vector<Waypoint*> addDetour() {
        Waypoint* s = addAt(kFar, 0, 0);
        Waypoint* x = addAt(kFar + 20, 0, 0);
        Waypoint* y = addAt(kFar + 30, 30, 0);
        Waypoint* n = addAt(kFar + 50, 40, 0);
        Waypoint* g = addAt(kFar + 100, 0, 0);
        s->connect(x);
        s->connect(y);
        x->connect(n);
        y->connect(n);
        n->connect(g);
        return {s, x, y, n, g};
    }

    WaypointGraph graph;
};

TEST_F(WaypointGraphTest, LevelNetworkIsOneChainWithWholeNumberCosts) {
    const int linkCost[6] = {60, 34, 34, 37, 41, 26};
    ASSERT_EQ(graph.getWaypoints().size(), 7u);
    // The level's waypoints, W0 (the den the wolves carry sheep to) first.
    for (int i = 0; i < 7; ++i) {
        EXPECT_EQ(w(i)->position.x, level::kWaypoints[i].x) << "W" << i;
        EXPECT_EQ(w(i)->position.z, level::kWaypoints[i].z) << "W" << i;
    }
    for (int i = 0; i < 7; ++i) {
        const int ends = (i == 0 || i == 6) ? 1 : 2;
        EXPECT_EQ(w(i)->connectionCount, ends) << "W" << i;
        EXPECT_EQ(w(i)->connections.size(), static_cast<size_t>(ends)) << "W" << i;
    }
    for (int i = 1; i < 7; ++i) {
        EXPECT_EQ(w(i)->connections[0]->target, w(i - 1)) << "W" << i << " joins W" << i - 1;
        EXPECT_EQ(edgeCost(w(i), w(i - 1)), linkCost[i - 1]) << "W" << i;
        EXPECT_EQ(edgeCost(w(i - 1), w(i)), linkCost[i - 1]) << "W" << i;
    }
    EXPECT_GT(w(1)->distanceTo(w(0)->position), 60.05f) << "the cost truncates, never rounds up";
}

TEST_F(WaypointGraphTest, SearchListsTheRouteGoalFirst) {
    ASSERT_TRUE(graph.search(w(6), w(0)));
    const Route expected{w(0), w(1), w(2), w(3), w(4), w(5), w(6)};
    EXPECT_EQ(graph.getResult(), expected);
    EXPECT_EQ(w(6)->g, 0) << "the start costs nothing";
    EXPECT_EQ(w(6)->h, static_cast<int>(w(6)->distanceTo(w(0)->position)));
    EXPECT_EQ(w(6)->f, w(6)->h);
    EXPECT_EQ(w(0)->g, 60 + 34 + 34 + 37 + 41 + 26);
    EXPECT_EQ(w(0)->h, 0);

    ASSERT_TRUE(graph.search(w(3), w(3)));
    EXPECT_EQ(graph.getResult(), Route{w(3)});
}

TEST_F(WaypointGraphTest, NearestPicksTheClosestAndTheEarlierOnATie) {
    const Vector3D nearW4 = w(4)->position + Vector3D(1, -2, 1);
    EXPECT_EQ(graph.nearest(nearW4), w(4));

    Waypoint* a = addAt(1000, 0, 0);
    Waypoint* b = addAt(1000, 0, 10);
    EXPECT_EQ(graph.nearest(Vector3D(1000, 0, 5)), a);
    EXPECT_EQ(graph.nearest(Vector3D(1000, 0, 6)), b);

    WaypointGraph reversed;
    Waypoint* b2 = new Waypoint(b->position);
    reversed.add(b2);
    reversed.add(new Waypoint(a->position));
    EXPECT_EQ(reversed.nearest(Vector3D(1000, 0, 5)), b2) << "graph order, not position, wins";
}

TEST_F(WaypointGraphTest, NearestIgnoresWaypointsAtTheRadiusOrBeyond) {
    EXPECT_EQ(graph.nearest(Vector3D(0, 1000000, 0)), nullptr);
    // Every level waypoint lies below the origin, so from above the origin one is the closest.
    Waypoint* origin = addAt(0, 0, 0);
    EXPECT_EQ(graph.nearest(Vector3D(0, 100000, 0)), nullptr);
    EXPECT_EQ(graph.nearest(Vector3D(0, 99999, 0)), origin);
}

TEST_F(WaypointGraphTest, EveryPairFindsAShortestConnectedRoute) {
    addDetour();
    const std::vector<Waypoint*>& nodes = graph.getWaypoints();
    const auto best = shortestCosts(nodes);
    for (size_t i = 0; i < nodes.size(); ++i) {
        for (size_t j = 0; j < nodes.size(); ++j) {
            SCOPED_TRACE(testing::Message() << "from " << i << " to " << j);
            const bool found = graph.search(nodes[i], nodes[j]);
            const Route& route = graph.getResult();
            if (best[i][j] == kUnreachable) {
                EXPECT_FALSE(found);
                EXPECT_TRUE(route.empty());
                continue;
            }
            ASSERT_TRUE(found);
            ASSERT_FALSE(route.empty());
            EXPECT_EQ(route.front(), nodes[j]);
            EXPECT_EQ(route.back(), nodes[i]);
            int cost = 0;
            for (size_t k = 0; k + 1 < route.size(); ++k) {
                ASSERT_NE(edgeCost(route[k], route[k + 1]), kUnreachable) << "gap at step " << k;
                cost += edgeCost(route[k], route[k + 1]);
            }
            EXPECT_EQ(cost, best[i][j]);
        }
    }
}

TEST_F(WaypointGraphTest, OpenWaypointReachedMoreCheaplyChangesParent) {
    const auto d = addDetour();
    Waypoint *s = d[0], *y = d[2], *n = d[3], *g = d[4];
    ASSERT_TRUE(graph.search(s, g));
    EXPECT_EQ(graph.getResult(), (Route{g, n, y, s}));
    EXPECT_EQ(n->parent, y);
    EXPECT_EQ(n->g, edgeCost(s, y) + edgeCost(y, n));
}

TEST_F(WaypointGraphTest, EqualCostRoutesGoThroughTheEarlierOpenedWaypoint) {
    // A mirrored diamond s-a-g / s-b-g with equal costs, plus a cheap dead-end spur that is
    // opened first and closed first; a and b must keep their opening order after it leaves.
    Waypoint* s = addAt(kFar, 0, 100);
    Waypoint* spur = addAt(kFar + 5, 0, 100);
    Waypoint* a = addAt(kFar + 10, 10, 100);
    Waypoint* b = addAt(kFar + 10, -10, 100);
    Waypoint* g = addAt(kFar + 20, 0, 100);
    s->connect(spur);
    s->connect(a);
    s->connect(b);
    b->connect(g);
    a->connect(g);
    ASSERT_TRUE(graph.search(s, g));
    EXPECT_EQ(graph.getResult(), (Route{g, a, s}));
}

TEST_F(WaypointGraphTest, NewSearchForgetsThePreviousOne) {
    ASSERT_TRUE(graph.search(w(6), w(0)));
    ASSERT_TRUE(graph.search(w(0), w(6))) << "closed marks of the first search must not remain";
    EXPECT_EQ(graph.getResult(), (Route{w(6), w(5), w(4), w(3), w(2), w(1), w(0)}));

    ASSERT_TRUE(graph.search(w(3), w(4)));
    EXPECT_EQ(graph.getResult(), (Route{w(4), w(3)}));
    for (int i : {0, 1, 5, 6}) {
        EXPECT_EQ(w(i)->status, Waypoint::kUnseen) << "W" << i;
        EXPECT_EQ(w(i)->parent, nullptr) << "W" << i;
        EXPECT_EQ(w(i)->f, 0) << "W" << i;
        EXPECT_EQ(w(i)->g, 0) << "W" << i;
    }
}

TEST_F(WaypointGraphTest, UnreachableGoalGivesFalseAndAnEmptyResult) {
    Waypoint* lone = addAt(-100, 0, 0);
    ASSERT_TRUE(graph.search(w(0), w(6)));
    EXPECT_FALSE(graph.search(w(0), lone));
    EXPECT_TRUE(graph.getResult().empty()) << "the last route must not linger";
    EXPECT_FALSE(graph.search(lone, w(0)));
    EXPECT_TRUE(graph.getResult().empty());
    EXPECT_FALSE(graph.search(nullptr, w(0)));
}

} // namespace
