// Node: the intrusive link that lets any scene object sit in a List ring.
// A fresh node links to itself, which is how the list recognises an unattached node.
#pragma once

#include <string>

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
    // Whether the node draws in window pixels over the scene (drawn after every 3D node).
    virtual bool isOverlay() const { return false; }
    // Takes the node out of its ring (the neighbours close ranks); it is a ring of one after.
    void unlink();

    std::string name = "NoName";
    Node* prev = nullptr;
    Node* next = nullptr;
    bool visible = true;
    // Whether the level's update moves this object's controller (scene objects only).
    bool active = false;
};
