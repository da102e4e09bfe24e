// List: a circular, doubly linked ring of Nodes reached through its head.
// The head is a full member (drawn and updated like any other node); the list never owns nodes.
#pragma once

#include "Node.h"

class List {
public:
    // The head must be an unattached node; the list does not take ownership.
    explicit List(Node* head);

    // Links n just before the head (the tail); logs and ignores a node that is already attached.
    void attach(Node* n);
    // Number of nodes in the ring, the head included.
    int count() const;
    // The node i steps after the head, or null when the walk returns to the head first.
    Node* getAt(int i) const;
    // Draws every visible 3D node, layer by layer (solid, sky, blended) and in ring order within
    // a layer, each inside its own modelview push/pop; the overlays wait for drawOverlays, so
    // that nothing of the scene can cover them.
    void drawAll();
    // Draws every visible overlay node (window-pixel 2D) in ring order, the same way.
    void drawOverlays();
    // Updates every node in ring order; a node may unlink itself during its own update.
    void updateAll(float dt);
    // Whether the head still has a previous link.
    bool hasLinks() const;

    Node* head() const { return head_; }

private:
    void drawPass(Layer layer);
    Node* head_;
};
