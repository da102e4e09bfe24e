// DebugLayer: something the renderer draws on top of the world when the debug switch is on
// (the physics world's wireframe view).
#pragma once

class DebugLayer {
public:
    virtual ~DebugLayer() = default;
    // Draws the layer in world coordinates with the current view.
    virtual void draw() = 0;
};
