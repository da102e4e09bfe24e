// Node: the intrusive link that lets any scene object sit in a List ring.
// A fresh node links to itself, which is how the list recognises an unattached node.
#pragma once

#include <string>

// What a node draws, in the order a frame draws it: solid geometry first, then the sky dome
// (where solid geometry covers it, the depth test rejects its pixels before they are shaded),
// then what blends with what lies behind it (it needs the sky drawn), then window-pixel 2D.
enum class Layer { kSolid, kSky, kBlended, kOverlay };

class Node {
public:
    Node();
    // Clears both links; it does not unlink the node from a ring it is in.
    virtual ~Node();
    Node(const Node&) = delete;
    Node& operator=(const Node&) = delete;

    // Draws the node; called by List::drawAll inside its own matrix scope.
    virtual void draw() {}
    // Advances the node by dt seconds; called by List::updateAll.
    virtual void update(float dt) { (void)dt; }
    // Takes the node out of its ring (the neighbours close ranks); it is a ring of one after.
    void unlink();

    std::string name = "NoName";
    Node* prev = nullptr;
    Node* next = nullptr;
    bool visible = true;
    // When the frame draws the node.
    Layer layer = Layer::kSolid;
    // Whether the level's update moves this object's controller (scene objects only).
    bool active = false;
};
