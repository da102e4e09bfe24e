// Object2D: base of screen-space objects placed in window pixels from the bottom-left corner,
// with the two switches between the scene's perspective and a pixel-exact orthographic view.
#pragma once

#include "Node.h"

class Object2D : public Node {
public:
    Object2D() { layer = Layer::kOverlay; }
    Object2D(int x, int y) : x(x), y(y) { layer = Layer::kOverlay; }

    // Sets the raster position to (x, y).
    void draw() override;
    void update(float dt) override { (void)dt; }

    // Lighting and depth testing off, orthographic projection of the window, identity modelview.
    // Pairs with end2D; pairs may nest.
    static void begin2D();
    // Restores the renderer's perspective projection, identity modelview, lighting on, and the
    // depth testing of before the matching begin2D.
    static void end2D();

    int x = 0;
    int y = 0;
};
