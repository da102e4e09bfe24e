// Object2D: base of screen-space objects placed in window pixels from the bottom-left corner,
// with the two switches between the scene's perspective and a pixel-exact orthographic view.
#pragma once

#include "Node.h"

class Object2D : public Node {
public:
    Object2D() = default;
    Object2D(int x, int y) : x(x), y(y) {}

    // Sets the raster position to (x, y).
    void draw() override;
    void update(float dt) override { (void)dt; }

    // Lighting off, orthographic projection of the window, identity modelview.
    static void begin2D();
    // Restores the renderer's perspective projection, identity modelview, lighting on.
    static void end2D();

    int x = 0;
    int y = 0;
};
