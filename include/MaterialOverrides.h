// MaterialOverrides: a colour and material values that an object or a model may impose on what
// it draws, each switched on by its own flag. Objects and models both carry one set.
#pragma once

#include <GL/gl.h>

struct MaterialOverrides {
    // Applies the switched-on values, in the order colour, ambient, diffuse, specular,
    // shininess, to the given face.
    void apply(GLenum face) const;

    GLfloat colour[4] = {1, 1, 1, 1};
    GLfloat ambient[4] = {0.2f, 0.2f, 0.2f, 1};
    GLfloat diffuse[4] = {0.8f, 0.8f, 0.8f, 1};
    GLfloat specular[4] = {0, 0, 0, 1};
    GLfloat shininess = 0.0f;
    bool useColour = false;
    bool useAmbient = false;
    bool useDiffuse = false;
    bool useSpecular = false;
    bool useShininess = false;
};
