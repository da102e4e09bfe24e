// 2D overlay base: raster positioning and the orthographic bracket used by all screen text.
// Text is drawn with depth testing off: the HUD is a member of the scene list, and a sheep or the
// herder's head close to the camera would otherwise hide it. The bracket nests (the HUD's draw
// holds its texts' draws), so the depth state is saved on GL's attribute stack.
#include "Object2D.h"

#include "Renderer.h"

#include <GL/gl.h>
#include <GL/glu.h>

void Object2D::draw() {
    glRasterPos3i(x, y, 0);
}

void Object2D::begin2D() {
    glPushAttrib(GL_DEPTH_BUFFER_BIT);
    glDisable(GL_DEPTH_TEST);
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
    glPopAttrib();
}
