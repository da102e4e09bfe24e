// Crosshair: the mark on the screen where a rocket fired now would land. The renderer places it
// each frame (it projects the level's aim point) and draws it over everything else.
#pragma once

#include "Object2D.h"

class Crosshair : public Object2D {
public:
    // A ring of four ticks around (x, y) with a dot at the centre, white on a dark outline so it
    // reads on sky and on grass alike.
    void draw() override;
};
