// SolidCube: a plain orange cube, for placeholders and debugging.
#pragma once

#include "Object3D.h"

class SolidCube : public Object3D {
public:
    explicit SolidCube(float size) : size(size) {}

    // Always orange: the colour is set again on every draw.
    void draw() override;

    float size;
};
