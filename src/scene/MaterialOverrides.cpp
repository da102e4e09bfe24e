// Applying an object's or a model's own colour and material values.
#include "MaterialOverrides.h"

void MaterialOverrides::apply(GLenum face) const {
    if (useColour) {
        glColor4fv(colour);
    }
    if (useAmbient) {
        glMaterialfv(face, GL_AMBIENT, ambient);
    }
    if (useDiffuse) {
        glMaterialfv(face, GL_DIFFUSE, diffuse);
    }
    if (useSpecular) {
        glMaterialfv(face, GL_SPECULAR, specular);
    }
    if (useShininess) {
        glMaterialf(face, GL_SHININESS, shininess);
    }
}
