// 2D overlay base: raster positioning and the orthographic bracket used by all screen text.
#include "Object2D.h"

#include "Renderer.h"

#include <GL/gl.h>
#include <GL/glu.h>

void Object2D::draw() {
    glRasterPos3i(x, y, 0);
}

void Object2D::begin2D() {
    glDisable(GL_LIGHTING);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    gluOrtho2D(0, Renderer::windowWidth, 0, Renderer::windowHeight);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
}

void Object2D::end2D() {
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    gluPerspective(45.0, Renderer::aspectRatio(), Renderer::nearClip, Renderer::farClip);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glEnable(GL_LIGHTING);
}
