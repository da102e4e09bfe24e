// The debugging cube: orange, drawn with GLUT's solid cube in the object's transform.
#include "SolidCube.h"

#include <GL/freeglut.h>

void SolidCube::draw() {
    setColour(0.7f, 0.3f, 0.0f, 0.0f);
    Object3D::draw();
    if (visible) {
        glutSolidCube(size);
    }
}
